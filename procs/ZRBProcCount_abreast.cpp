// How does counting go through a chunk without a call per cell?
//
// The same records, in the same order, and the same bits as the plain loops of ZRBProcCount.cpp: count records come from
// factor columns only, column by column and row by row; statistics do not depend on each other across columns.
#include <algorithm>
#include <cstring>

#include "ZRBProcCount.h"
#include "buf/buf_access.h"
#include "buf/cell_codec.h"
#include "procs/chunk_runs.h"
#include "procs/count_abreast.h"
#include "procs/count_lists.h"
#include "procs/count_tables.h"
#include "procs/measure.h"

namespace {

using count_kernel::kLaneStep;
using count_kernel::kMaxLanes;

// ---- The cells of one column, measured into every `step`-th double ----

struct Cells {
  const char* first;
  long strideBytes;
  long rows;
};

template <class Measure>
void gatherCells(Cells cells, double* values, long step, Measure measure) {
  for (long row = 0; row < cells.rows; ++row, cells.first += cells.strideBytes, values += step)
    *values = measure(cells.first);
}

void gatherDoubles(Cells cells, double* values, long step) {
  gatherCells(cells, values, step, [](const char* cell) { return cell::load<double>(cell); });
}

// kLaneStep columns at once.
void gatherNeighbours(Cells cells, double* values, long step) {
  for (long row = 0; row < cells.rows; ++row, cells.first += cells.strideBytes, values += step)
    std::memcpy(values, cells.first, kLaneStep * sizeof(double));
}

void gatherTimeDates(Cells cells, double* values, long step) {
  gatherCells(cells, values, step, [](const char* cell) { return measureTimeDate(cell::load<long long>(cell)); });
}

void gatherLevels(Cells cells, double* values, long step, CountTable& levels) {
  gatherCells(cells, values, step, [&levels](const char* cell) {
    const std::size_t slot = levelSlot(cell);
    levels.countSlot(slot);
    return slotValue(slot);
  });
}

// ---- Columns that are counted abreast, and where to find them ----

class ColumnGroup {
public:
  ColumnGroup(ZRBBufReader& reader, int firstColumn, int columns, CountTables& tables)
      : m_reader(reader), m_buf(*reader.getBuf()), m_firstColumn(firstColumn), m_columns(columns) {
    for (int i = 0; i < columns; ++i) {
      m_places[i] = m_buf.column(firstColumn + i);
      if (m_places[i].type == ZRBBuf::column_factor) m_levels[i] = &tables.levels(firstColumn + i);
    }
  }

  // Neighbouring doubles need not be gathered.
  bool isPacked() const { return areNeighbours(0, m_columns); }

  // The table of a factor that is the only column; null otherwise.
  CountTable* loneFactor() const {
    return m_columns == 1 && m_places[0].type == ZRBBuf::column_factor ? m_levels[0] : nullptr;
  }

  const char* firstCell(long ringRow) const { return m_buf.at(ringRow, m_places[0]); }
  long rowBytes() const { return m_buf.rowBytes(); }

  // Measures `rows` rows of a run from its row `from` on into rows of `lanes` doubles, and counts the levels.
  void gather(const ChunkRun& run, long from, long rows, double* block, int lanes) const {
    for (int i = 0; i < m_columns; ++i) {
      const BufAccess::Column& place = m_places[i];
      const Cells cells{m_buf.at(run.ringRow + from, place), m_buf.rowBytes(), rows};
      switch (place.type) {
        case ZRBBuf::column_double:
          if (areNeighbours(i, kLaneStep)) {
            gatherNeighbours(cells, block + i, lanes);
            i += kLaneStep - 1;
          } else {
            gatherDoubles(cells, block + i, lanes);
          }
          break;
        case ZRBBuf::column_factor:
          gatherLevels(cells, block + i, lanes, *m_levels[i]);
          break;
        case ZRBBuf::column_timeDate:
          gatherTimeDates(cells, block + i, lanes);
          break;
        default:
          for (long row = 0; row < rows; ++row)
            block[row * lanes + i] = measure(m_reader, place.type, run.chunkRow + from + row, m_firstColumn + i);
      }
    }
  }

private:
  // Whether `columns` columns from the i-th on are doubles, one behind the other in a row.
  bool areNeighbours(int i, int columns) const {
    if (i + columns > m_columns) return false;
    for (int j = i; j < i + columns; ++j)
      if (m_places[j].type != ZRBBuf::column_double || m_places[j].offset != m_places[i].offset + 8L * (j - i))
        return false;
    return true;
  }

  ZRBBufReader& m_reader;
  BufAccess m_buf;
  int m_firstColumn;
  int m_columns;
  BufAccess::Column m_places[kMaxLanes];
  CountTable* m_levels[kMaxLanes];  // of the factors
};

}  // namespace

// The cells may be read in the reader's place, nothing but the node itself links its records, and counters can hold
// what is to be counted.
bool ZRBProcCount::mayCountAbreast(ZRBBufReader& reader, long rows) {
  return isOwnEnd(reader) && !m_lists->isLinkedByHand() && rows <= CountTables::kMaxPending;
}

void ZRBProcCount::countColumnsAbreast(ZRBBufReader& reader, long rows) {
  ZRBBuf& buf = *reader.getBuf();
  const int numColumns = static_cast<int>(buf.getNumColumns());
  if (numColumns < 1) return;
  for (int column = 0; column < numColumns; ++column) getColumnInfo(column);  // one by one, as the results grow
  m_tables->expect(rows);
  for (int column = 0; column < numColumns; ++column)
    if (buf.columnTypeIsFactor(column)) m_tables->makeLevels(column, levelSlots(buf, column));
  for (int column = 0; column < numColumns; column += kMaxLanes)
    countGroup(reader, rows, column, std::min(numColumns - column, kMaxLanes));
  for (int column = 0; column < numColumns; ++column)
    if (buf.columnTypeIsFactor(column)) linkLevels(column);
}

void ZRBProcCount::countGroup(ZRBBufReader& reader, long rows, int firstColumn, int columns) {
  const ColumnGroup group(reader, firstColumn, columns, *m_tables);
  ZRBProcCountColumnInfo* infos[kMaxLanes];
  for (int i = 0; i < columns; ++i) infos[i] = getColumnInfo(firstColumn + i);
  CountAbreast statistics(bestSimd(), infos, columns);
  const int lanes = statistics.lanes();
  if (lanes == columns && group.isPacked()) {
    forEachChunkRun(reader, rows, [&](const ChunkRun& run) {
      statistics.addRows(group.firstCell(run.ringRow), group.rowBytes(), run.rows);
    });
    return;
  }
  if (CountTable* levels = group.loneFactor()) {
    forEachChunkRun(reader, rows, [&](const ChunkRun& run) {
      statistics.addLevels(group.firstCell(run.ringRow), group.rowBytes(), run.rows, *levels);
    });
    return;
  }
  alignas(64) double block[CountAbreast::kBlockRows * kMaxLanes];
  std::fill(std::begin(block), std::end(block), conversions::kDoubleNA);  // for lanes that fill up
  forEachChunkRun(reader, rows, [&](const ChunkRun& run) {
    for (long from = 0; from < run.rows; from += CountAbreast::kBlockRows) {
      const long blockRows = std::min(run.rows - from, CountAbreast::kBlockRows);
      group.gather(run, from, blockRows, block, lanes);
      statistics.addRows(reinterpret_cast<const char*>(block), lanes * static_cast<long>(sizeof(double)), blockRows);
    }
  });
}

// Makes the records of levels that are new in a factor's table.
void ZRBProcCount::linkLevels(int column) {
  m_tables->levels(column).link([&](const std::size_t* slots, int* records) {
    records[0] = m_lists->findOrInsert(getColumnInfo(column)->level_list, slotValue(slots[0]));
  });
}
