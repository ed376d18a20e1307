// How are combinations of levels counted with one increment per row?
#include "procs/count_table.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "base/simd.h"
#include "procs/cell_kernels.h"

namespace {

constexpr std::size_t kFirstCapacity = 128;

// Four by four, as loads are cheaper than stores.
void loadCodes(const char* cell, long strideBytes, long count, std::uint16_t* codes) {
  long i = 0;
#pragma GCC unroll 2
  for (; i + 4 <= count; i += 4, cell += 4 * strideBytes) {
    std::uint64_t four = cell::load<std::uint16_t>(cell);
    four |= static_cast<std::uint64_t>(cell::load<std::uint16_t>(cell + strideBytes)) << 16;
    four |= static_cast<std::uint64_t>(cell::load<std::uint16_t>(cell + 2 * strideBytes)) << 32;
    four |= static_cast<std::uint64_t>(cell::load<std::uint16_t>(cell + 3 * strideBytes)) << 48;
    std::memcpy(codes + i, &four, sizeof four);
  }
  for (; i < count; ++i, cell += strideBytes) codes[i] = cell::load<std::uint16_t>(cell);
}

}  // namespace

// The product of the widths; 0 where that is more than a table may have.
std::size_t CountTable::cellsOf(const std::size_t* widths, int positions) {
  std::size_t cells = 1;
  for (int p = 0; p < positions; ++p) {
    if (widths[p] > kMaxCells / cells) return 0;
    cells *= widths[p];
  }
  return cells;
}

// calloc leaves large blocks to the kernel's zero pages: cells that nobody touches take no memory.
CountTable::Cells CountTable::zeroed(std::size_t cells) {
  Cells block(static_cast<std::uint32_t*>(std::calloc(cells, sizeof(std::uint32_t))));
  if (!block) throw std::bad_alloc();
  return block;
}

bool CountTable::layOut(const std::size_t* widths, int positions) {
  clear();
  const std::size_t cells = cellsOf(widths, positions);
  if (cells == 0) return false;
  m_counters = zeroed(cells);
  m_chains = zeroed(cells);
  m_cells = cells;
  m_widths.assign(widths, widths + positions);
  m_touched.reserve(std::min(cells, kFirstCapacity));
  m_records.reserve(m_touched.capacity() * m_widths.size());
  return true;
}

void CountTable::clear() { *this = CountTable(); }

bool CountTable::widen(const std::size_t* slots) {
  if (positions() == 0) return false;
  // Twice the width at least, so that the cost of moving does not grow with the number of new levels.
  CountTable wider;
  Slots widths;
  for (int p = 0; p < positions(); ++p) {
    const std::size_t width = m_widths[static_cast<std::size_t>(p)];
    widths.at[p] = slots[p] < width ? width : std::max(slots[p] + 1, std::min(2 * width, kMaxLevelSlots));
  }
  if (!wider.layOut(widths.at, positions())) return false;
  const auto move = [&](std::size_t cell) {
    const std::size_t target = wider.cellOf(slotsOf(cell));
    wider.m_counters[target] = m_counters[cell];
    wider.m_chains[target] = m_chains[cell];
    return static_cast<std::uint32_t>(target);
  };
  for (std::size_t cell = 0; cell < m_cells; ++cell)
    if (m_chains[cell] != 0) move(cell);
  for (const std::uint32_t cell : m_touched) wider.m_touched.push_back(move(cell));
  wider.m_linked = m_linked;
  wider.m_records = std::move(m_records);
  *this = std::move(wider);
  return true;
}

// One position always has room.
void CountTable::widenTo(std::size_t slot) { widen(&slot); }

long CountTable::countRows(const Rows& rows) {
  if (positions() == 0) return 0;
  std::uint32_t cells[kBlockRows];
  std::uint32_t* const counters = m_counters.get();
  for (long from = 0; from < rows.rows; from += kBlockRows) {
    const long wanted = std::min(rows.rows - from, kBlockRows);
    const long found = findCells(rows, from, wanted, cells);
#pragma GCC unroll 4
    for (long i = 0; i < found; ++i)
      if (counters[cells[i]]++ == 0) touch(cells[i]);
    if (found < wanted) return from + found;
  }
  return rows.rows;
}

// The cells of `count` rows, position by position: everything but the loads of level codes goes several rows at a time.
// How many of the rows come before the first one without a cell.
long CountTable::findCells(const Rows& rows, long from, long count, std::uint32_t* cells) const {
  const cell_kernel::AddPosition addPosition =
      kernelFor(bestSimd(), cell_kernel::kBaselineAddPosition, cell_kernel::kAvx2AddPosition);
  std::fill_n(cells, count, 0);
  for (int p = 0; p < positions(); ++p) {
    const std::uint32_t width = static_cast<std::uint32_t>(m_widths[static_cast<std::size_t>(p)]);
    const char* cell = rows.first + from * rows.strideBytes + rows.offsets[p];
    std::uint16_t slots[kBlockRows];
    loadCodes(cell, rows.strideBytes, count, slots);
    const std::uint16_t greatest = addPosition(slots, count, width, cells);
    if (greatest >= width)
      count = std::find_if(slots, slots + count, [&](std::uint16_t slot) { return slot >= width; }) - slots;
  }
  return count;
}

void CountTable::touch(std::size_t cell) { m_touched.push_back(static_cast<std::uint32_t>(cell)); }

CountTable::Slots CountTable::slotsOf(std::size_t cell) const {
  Slots slots;
  for (std::size_t p = m_widths.size(); p-- > 0; cell /= m_widths[p]) slots.at[p] = cell % m_widths[p];
  return slots;
}

std::size_t CountTable::cellOf(const Slots& slots) const {
  std::size_t cell = 0;
  for (std::size_t p = 0; p < m_widths.size(); ++p) cell = cell * m_widths[p] + slots.at[p];
  return cell;
}

void CountTable::settle(std::vector<ZRBProcCountCountInfo>& records) {
  const std::size_t length = m_widths.size();
  for (const std::uint32_t cell : m_touched) {
    const int* chain = &m_records[(m_chains[cell] - 1) * length];
    for (std::size_t p = 0; p < length; ++p) records[static_cast<std::size_t>(chain[p])].count += m_counters[cell];
    m_counters[cell] = 0;
  }
  m_touched.clear();
  m_linked = 0;
}
