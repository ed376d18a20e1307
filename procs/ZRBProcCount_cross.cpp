// How is a cross-tabulation counted by level slots?
//
// Three ways, each taken where the one before cannot: a table of counters for whole combinations; remembered records,
// position by position; the lists.  A row makes the records that the plain loop of ZRBProcCount.cpp makes, in its order.
#include <algorithm>
#include <array>

#include "ZRBProcCount.h"
#include "buf/buf_access.h"
#include "procs/chunk_runs.h"
#include "procs/count_cache.h"
#include "procs/count_lists.h"
#include "procs/count_tables.h"

namespace {

using Rows = CountTable::Rows;

void skip(Rows& rows, long count) {
  rows.first += count * rows.strideBytes;
  rows.rows -= count;
}

using Slots = std::array<std::size_t, CountTable::kMaxPositions>;

Slots slotsOf(const char* row, const long* offsets, int positions) {
  Slots slots;
  for (int p = 0; p < positions; ++p) slots[static_cast<std::size_t>(p)] = levelSlot(row + offsets[p]);
  return slots;
}

}  // namespace

// False: a cross column is not there, nothing was counted.
bool ZRBProcCount::countCrossByCode(ZRBBufReader& reader, long rows) {
  static_assert(kMaxCross == CountTable::kMaxPositions);
  const BufAccess buf(*reader.getBuf());
  long offsets[kMaxCross];
  std::size_t widths[kMaxCross];  // slots for the levels of a position
  for (int position = 0; position < m_cross_size; ++position) {
    const int column = m_cross_columns[position];
    if (!reader.getBuf()->columnTypeIsFactor(column)) return false;
    offsets[position] = buf.column(column).offset;
    widths[position] = levelSlots(*reader.getBuf(), column);
  }
  CountTable& table = m_tables->cross();
  if (table.positions() == 0) table.layOut(widths, m_cross_size);
  m_cache->setWidths(widths, m_cross_size);
  forEachChunkRun(reader, rows, [&](const ChunkRun& run) {
    Rows left{buf.rowAt(run.ringRow), buf.rowBytes(), run.rows, offsets};
    while (true) {
      skip(left, table.countRows(left));
      if (left.rows == 0) break;
      if (table.widen(slotsOf(left.first, offsets, m_cross_size).data())) continue;
      // The table stays as it is.  A block of rows goes without it, so that looking for its cells costs little per row.
      linkCross();
      const long without = table.positions() > 0 ? std::min(left.rows, CountTable::kBlockRows) : left.rows;
      for (long row = 0; row < without; ++row, skip(left, 1))
        countCrossRow(slotsOf(left.first, offsets, m_cross_size).data());
    }
  });
  linkCross();
  return true;
}

// Makes the records of combinations that are new in the table.
void ZRBProcCount::linkCross() {
  m_tables->cross().link([&](const std::size_t* slots, int* records) {
    int above = CountLists::kNone;
    for (int position = 0; position < m_cross_size; ++position)
      records[position] = above = crossRecord(above, slotValue(slots[position]));
  });
}

// Counts a row in the records.
void ZRBProcCount::countCrossRow(const std::size_t* slots) {
  int above = CountLists::kNone;
  for (int position = 0; position < m_cross_size; ++position) {
    int* known = m_cache->child(above, slots[position], position);
    if (known && *known != CountCache::kNone) {
      above = *known;
    } else {
      above = crossRecord(above, slotValue(slots[position]));
      if (known) *known = above;
    }
    ++record(above).count;
  }
}
