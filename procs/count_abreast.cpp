// How do columns that have not seen a value yet go along with those that have?
#include "procs/count_abreast.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "procs/running_stats.h"

using count_kernel::kLaneStep;

namespace {

double valueAt(const char* row, int lane) {
  double value;
  std::memcpy(&value, row + lane * static_cast<long>(sizeof value), sizeof value);
  return value;
}

}  // namespace

CountAbreast::CountAbreast(Simd simd, ZRBProcCountColumnInfo* const* infos, int columns)
    : m_infos(infos),
      m_columns(columns),
      m_lanes(columns == 1 ? 1 : (columns + kLaneStep - 1) / kLaneStep * kLaneStep) {
  const count_kernel::Updates& updates = kernelFor(simd, count_kernel::kBaselineUpdates, count_kernel::kAvx2Updates);
  m_update = m_lanes == 1 ? updates.one : updates.byLanes[m_lanes / kLaneStep - 1];
  m_updateLevels = updates.levels;
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (int lane = m_columns; lane < m_lanes; ++lane)
    m_state.n[lane] = m_state.min[lane] = m_state.max[lane] = m_state.mean[lane] = m_state.m2[lane] = nan;
  load();
}

CountAbreast::~CountAbreast() { store(); }

void CountAbreast::load() {
  for (int lane = 0; lane < m_columns; ++lane) {
    const ZRBProcCountColumnInfo& info = *m_infos[lane];
    m_state.n[lane] = static_cast<double>(info.count_ok);
    m_state.min[lane] = info.min;
    m_state.max[lane] = info.max;
    m_state.mean[lane] = info.mean;
    m_state.m2[lane] = info.m2;
  }
}

void CountAbreast::store() {
  for (int lane = 0; lane < m_columns; ++lane) {
    ZRBProcCountColumnInfo& info = *m_infos[lane];
    if (m_state.n[lane] == 0.0) continue;  // keeps its NaNs to the bit
    info.count_ok = static_cast<long long>(m_state.n[lane]);
    info.min = m_state.min[lane];
    info.max = m_state.max[lane];
    info.mean = m_state.mean[lane];
    info.m2 = m_state.m2[lane];
  }
}

void CountAbreast::addRows(const char* firstRow, long strideBytes, long rows) {
  double before[count_kernel::kMaxLanes];
  std::memcpy(before, m_state.n, sizeof before);
  for (long left = rows; left > 0;) {
    const char* row = firstRow + (rows - left) * strideBytes;
    const long quiet = rowsBeforeFirstValue(row, strideBytes, left);
    m_update(row, strideBytes, quiet, m_state);
    left -= quiet;
    if (left < 1) break;
    addRow(row + quiet * strideBytes);
    --left;
  }
  for (int lane = 0; lane < m_columns; ++lane)
    m_infos[lane]->count_na += rows - static_cast<long long>(m_state.n[lane] - before[lane]);
}

void CountAbreast::addLevels(const char* firstCell, long strideBytes, long rows, CountTable& levels) {
  while (rows > 0) {
    const double before = m_state.n[0];
    const std::size_t counters = before > 0.0 ? levels.cells() : 1;  // NA only, up to the first value
    const long taken = m_updateLevels(firstCell, strideBytes, rows, levels.counters(), counters, m_state);
    m_infos[0]->count_na += taken - static_cast<long long>(m_state.n[0] - before);
    firstCell += taken * strideBytes;
    rows -= taken;
    if (rows == 0) return;
    // The first value, or the first row of a level since the records were brought up to date.
    const std::size_t slot = levelSlot(firstCell);
    const double x = slotValue(slot);
    levels.countSlot(slot);
    addRows(reinterpret_cast<const char*>(&x), sizeof x, 1);
    firstCell += strideBytes;
    --rows;
  }
}

// Rows before one in which a column sees its first value: that row is not for the kernel.
long CountAbreast::rowsBeforeFirstValue(const char* firstRow, long strideBytes, long rows) const {
  long quiet = rows;
  for (int lane = 0; lane < m_columns; ++lane) {
    if (m_state.n[lane] != 0.0) continue;
    long row = 0;
    while (row < quiet && std::isnan(valueAt(firstRow + row * strideBytes, lane))) ++row;
    quiet = row;
  }
  return quiet;
}

void CountAbreast::addRow(const char* row) {
  store();
  for (int lane = 0; lane < m_columns; ++lane) {
    const long long countNA = m_infos[lane]->count_na;
    addValue(*m_infos[lane], valueAt(row, lane));
    m_infos[lane]->count_na = countNA;  // addRows counts the NA of all rows
  }
  load();
}
