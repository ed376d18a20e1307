// How does counting go through a chunk without a call per cell?
//
// The same records, in the same order, and the same bits as the plain loops of ZRBProcCount.cpp: count records come from
// factor columns only, column by column and row by row; statistics do not depend on each other across columns.
#include <algorithm>
#include <bit>

#include "ZRBProcCount.h"
#include "buf/buf_access.h"
#include "buf/cell_codec.h"
#include "buf/ring_runs.h"
#include "procs/count_abreast.h"
#include "procs/count_cache.h"
#include "procs/count_lists.h"
#include "procs/measure.h"

namespace {

using count_kernel::kLaneStep;
using count_kernel::kMaxLanes;

constexpr std::size_t kCodeNA = static_cast<std::size_t>(value_codes::kLevelCodeNA);

// A run of a reader's chunk in one piece: chunk row of its first row, its ring row, its rows.
struct Run {
  long chunkRow;
  long ringRow;
  long rows;
};

template <class Apply>
void forEachChunkRun(ZRBBufReader& reader, long rows, Apply apply) {
  long chunkRow = 0;
  forEachRun(reader.getBufferRowNum(0), rows, BufAccess(*reader.getBuf()).capacity(), [&](long ringRow, long runRows) {
    apply(Run{chunkRow, ringRow, runRows});
    chunkRow += runRows;
  });
}

std::size_t levelCode(const char* cell) {
  return static_cast<std::size_t>(static_cast<unsigned char>(cell[0]) << 8 | static_cast<unsigned char>(cell[1]));
}
double codeValue(std::size_t code) { return code == kCodeNA ? conversions::kDoubleNA : static_cast<double>(code); }

// Columns that are counted abreast, and where to find them.
class ColumnGroup {
public:
  ColumnGroup(ZRBBufReader& reader, int firstColumn, int columns)
      : m_reader(reader), m_buf(*reader.getBuf()), m_firstColumn(firstColumn), m_columns(columns) {
    for (int i = 0; i < columns; ++i) m_places[i] = m_buf.column(firstColumn + i);
  }

  // Neighbouring doubles that fill their lanes need not be gathered.
  bool isPacked() const {
    for (int i = 0; i < m_columns; ++i)
      if (m_places[i].type != ZRBBuf::column_double || m_places[i].offset != m_places[0].offset + 8L * i) return false;
    return m_columns % kLaneStep == 0;
  }

  const char* firstCell(long ringRow) const { return m_buf.at(ringRow, m_places[0]); }
  long rowBytes() const { return m_buf.rowBytes(); }

  // Measures `rows` rows of a run from its row `from` on into rows of `lanes` doubles.
  void gather(const Run& run, long from, long rows, double* block, int lanes) const {
    for (int i = 0; i < m_columns; ++i) {
      const BufAccess::Column& place = m_places[i];
      const char* cell = m_buf.at(run.ringRow + from, place);
      const auto each = [&](auto value) {
        for (long row = 0; row < rows; ++row, cell += m_buf.rowBytes()) block[row * lanes + i] = value(row);
      };
      switch (place.type) {
        case ZRBBuf::column_double:
          each([&](long) { return cell::load<double>(cell); });
          break;
        case ZRBBuf::column_factor:
          each([&](long) { return codeValue(levelCode(cell)); });
          break;
        case ZRBBuf::column_timeDate:
          each([&](long) { return measureTimeDate(cell::load<long long>(cell)); });
          break;
        default:
          each([&](long row) { return measure(m_reader, place.type, run.chunkRow + from + row, m_firstColumn + i); });
      }
    }
  }

private:
  ZRBBufReader& m_reader;
  BufAccess m_buf;
  int m_firstColumn;
  int m_columns;
  BufAccess::Column m_places[kMaxLanes];
};

}  // namespace

// The cells may be read in the reader's place, and nothing but the node itself links its records.
bool ZRBProcCount::mayCountAbreast(ZRBBufReader& reader) { return isOwnEnd(reader) && !m_lists->isLinkedByHand(); }

void ZRBProcCount::countColumnsAbreast(ZRBBufReader& reader, long rows) {
  const int numColumns = static_cast<int>(reader.getBuf()->getNumColumns());
  if (numColumns < 1) return;
  getColumnInfo(numColumns - 1);
  for (int column = 0; column < numColumns; ++column)
    if (reader.getBuf()->columnTypeIsFactor(column)) countLevels(reader, rows, column);
  for (int column = 0; column < numColumns; column += kMaxLanes)
    countGroup(reader, rows, column, std::min(numColumns - column, kMaxLanes));
}

void ZRBProcCount::countGroup(ZRBBufReader& reader, long rows, int firstColumn, int columns) {
  const ColumnGroup group(reader, firstColumn, columns);
  ZRBProcCountColumnInfo* infos[kMaxLanes];
  for (int i = 0; i < columns; ++i) infos[i] = getColumnInfo(firstColumn + i);
  CountAbreast statistics(bestSimd(), infos, columns);
  if (group.isPacked()) {
    forEachChunkRun(reader, rows, [&](const Run& run) {
      statistics.addRows(group.firstCell(run.ringRow), group.rowBytes(), run.rows);
    });
    return;
  }
  alignas(64) double block[CountAbreast::kBlockRows * kMaxLanes];
  std::fill(std::begin(block), std::end(block), conversions::kDoubleNA);  // for lanes that fill up
  const int lanes = statistics.lanes();
  forEachChunkRun(reader, rows, [&](const Run& run) {
    for (long from = 0; from < run.rows; from += CountAbreast::kBlockRows) {
      const long blockRows = std::min(run.rows - from, CountAbreast::kBlockRows);
      group.gather(run, from, blockRows, block, lanes);
      statistics.addRows(reinterpret_cast<const char*>(block), lanes * static_cast<long>(sizeof(double)), blockRows);
    }
  });
}

void ZRBProcCount::countLevels(ZRBBufReader& reader, long rows, int column) {
  const BufAccess buf(*reader.getBuf());
  const BufAccess::Column place = buf.column(column);
  std::size_t known = static_cast<std::size_t>(reader.getBuf()->getNumLevels(column));
  std::vector<int>& records = m_cache->levels(column, std::min(known, CountCache::kCodes));
  forEachChunkRun(reader, rows, [&](const Run& run) {
    const char* cell = buf.at(run.ringRow, place);
    for (long row = 0; row < run.rows; ++row, cell += buf.rowBytes()) {
      const std::size_t code = levelCode(cell);
      if (code >= records.size()) records.resize(code + 1, CountLists::kNone);
      int& found = records[code];
      if (found == CountLists::kNone)
        found = findOrInsertCountInfo(&getColumnInfo(column)->level_list, codeValue(code));
      ++record(found).count;
    }
  });
}

// False: a cross column is not there, nothing was counted.
bool ZRBProcCount::countCrossByCode(ZRBBufReader& reader, long rows) {
  const BufAccess buf(*reader.getBuf());
  const long numColumns = reader.getBuf()->getNumColumns();
  BufAccess::Column places[kMaxCross];
  std::size_t widths[kMaxCross];  // slots for the levels of a position: NA first
  for (int position = 0; position < m_cross_size; ++position) {
    const int column = m_cross_columns[position];
    if (column < 0 || column >= numColumns || !reader.getBuf()->columnTypeIsFactor(column)) return false;
    places[position] = buf.column(column);
    widths[position] = std::bit_ceil(static_cast<std::size_t>(reader.getBuf()->getNumLevels(column)) + 1);
  }
  m_cache->setWidths(widths, m_cross_size);
  forEachChunkRun(reader, rows, [&](const Run& run) {
    const char* row = buf.at(run.ringRow, {ZRBBuf::column_double, 0, 0});
    for (long i = 0; i < run.rows; ++i, row += buf.rowBytes()) {
      int above = CountLists::kNone;
      for (int position = 0; position < m_cross_size; ++position) {
        const std::size_t code = levelCode(row + places[position].offset);
        const std::size_t slot = code == kCodeNA ? 0 : code + 1;
        const std::size_t width = widths[position];
        int* known = slot < width ? m_cache->child(above, slot, width) : nullptr;
        if (known && *known != CountLists::kNone) {
          above = *known;
          ++record(above).count;
        } else {
          above = countCrossValue(above, codeValue(code));
          if (known) *known = above;
        }
      }
    }
  });
  return true;
}
