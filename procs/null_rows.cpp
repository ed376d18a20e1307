// How are rows that mean nothing written and read quickly?
#include "procs/null_rows.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>
#include <vector>

#include "ZRBBuf.h"
#include "ZRBBufReader.h"
#include "ZRBBufWriter.h"
#include "base/conversions.h"
#include "buf/cell_codec.h"
#include "buf/column_runs.h"
#include "buf/ring_runs.h"
#include "buf/row_tiles.h"

namespace {

constexpr long kCellBytes = 8;

// The columns of a buffer whose cells a kernel may take, and the others.
struct Columns {
  std::vector<ColumnRun> runs;
  std::vector<long> single;
};

template <class IsForKernel>
Columns divide(ZRBBuf& buf, IsForKernel isForKernel) {
  Columns columns{columnRuns(buf), {}};
  if (columns.runs.empty() || buf.getNumRows() < 1) {
    columns.runs.clear();
    for (long column = 0; column < buf.getNumColumns(); ++column) columns.single.push_back(column);
    return columns;
  }
  std::vector<ColumnRun> kept;
  for (const ColumnRun& run : columns.runs) {
    if (isForKernel(run.type))
      kept.push_back(run);
    else
      for (long i = 0; i < run.columns; ++i) columns.single.push_back(run.firstColumn + i);
  }
  columns.runs = std::move(kept);
  return columns;
}

// The number that a cell of column 0 gets in row `row` of a chunk.
double firstNumber(long long rowsDone, long row) { return static_cast<double>(rowsDone) + static_cast<double>(row); }

// Rows of cells that hold a row's first number plus their column.
struct NumberRows {
  char* cells;
  long rowBytes;
  long rows;
  long long rowsDone;
  long firstRow;
  long firstColumn;
};

template <std::size_t kColumns>
void storeNumbers(const NumberRows& at) {
  double columns[kColumns];
  for (std::size_t c = 0; c < kColumns; ++c) columns[c] = static_cast<double>(at.firstColumn + static_cast<long>(c));
  char* cells = at.cells;
  for (long row = 0; row < at.rows; ++row, cells += at.rowBytes) {
    const double first = firstNumber(at.rowsDone, at.firstRow + row);
    for (std::size_t c = 0; c < kColumns; ++c) cell::store(cells + c * kCellBytes, columns[c] + first);
  }
}

using StoreNumbers = void (*)(const NumberRows& at);
template <std::size_t... kIndex>
constexpr std::array<StoreNumbers, sizeof...(kIndex)> storeNumbersTable(std::index_sequence<kIndex...>) {
  return {storeNumbers<kIndex + 1>...};
}
constexpr long kMostColumns = 16;
constexpr auto kStoreNumbers = storeNumbersTable(std::make_index_sequence<kMostColumns>());

void storeTimeDates(const NumberRows& at, long columns) {
  const long long epochMs = ZRBObj::getDoubleDateEpoch();
  char* cells = at.cells;
  for (long row = 0; row < at.rows; ++row, cells += at.rowBytes) {
    const double first = firstNumber(at.rowsDone, at.firstRow + row);
    for (long c = 0; c < columns; ++c)
      cell::store(cells + c * kCellBytes,
                  conversions::doubleToTimeDate(static_cast<double>(at.firstColumn + c) + first, epochMs));
  }
}

void storeRun(const ColumnRun& run, NumberRows at) {
  if (run.type == ZRBBuf::column_timeDate) return storeTimeDates(at, run.columns);
  for (long c = 0; c < run.columns; c += kMostColumns) {
    kStoreNumbers[static_cast<std::size_t>(std::min(kMostColumns, run.columns - c) - 1)](at);
    at.cells += kMostColumns * kCellBytes;
    at.firstColumn += kMostColumns;
  }
}

// Loads bytes into registers, and forgets them.
void loadBytes(const char* bytes, long count) {
  using Pair [[gnu::vector_size(2 * kCellBytes)]] = double;
  long i = 0;
  for (; i + 2 * kCellBytes <= count; i += 2 * kCellBytes) __asm__ volatile("" : : "x"(cell::load<Pair>(bytes + i)));
  for (; i + kCellBytes <= count; i += kCellBytes) __asm__ volatile("" : : "x"(cell::load<double>(bytes + i)));
  for (; i < count; ++i) __asm__ volatile("" : : "r"(bytes[i]));
}

// Neighbouring bytes of a row.
struct Stretch {
  long offset;
  long bytes;
};

std::vector<Stretch> stretchesOf(ZRBBuf& buf, const std::vector<ColumnRun>& runs) {
  std::vector<Stretch> stretches;
  for (const ColumnRun& run : runs) {
    const long bytes = run.columns * buf.getColumnWidthBytes(run.firstColumn);
    if (!stretches.empty() && stretches.back().offset + stretches.back().bytes == run.offset)
      stretches.back().bytes += bytes;
    else
      stretches.push_back({run.offset, bytes});
  }
  return stretches;
}

}  // namespace

void setNullRows(ZRBBufWriter& writer, long long rowsDone, long rows) {
  if (rows < 1) return;
  ZRBBuf& buf = *writer.getBuf();
  const BufAccess access(buf);
  const Columns columns = divide(
      buf, [](ZRBBuf::column_type type) { return type == ZRBBuf::column_double || type == ZRBBuf::column_timeDate; });
  if (!columns.runs.empty()) {
    long done = 0;
    forEachRun(writer.getBufferRowNum(0), rows, access.capacity(), [&](long ringRow, long runRows) {
      forEachTile(runRows, access.rowBytes(), [&](long row, long tileRows) {
        for (const ColumnRun& run : columns.runs)
          storeRun(run, {access.rowAt(ringRow + row) + run.offset, access.rowBytes(), tileRows, rowsDone, done + row,
                         run.firstColumn});
      });
      done += runRows;
    });
  }
  if (columns.single.empty()) return;
  for (long row = 0; row < rows; ++row)
    for (const long column : columns.single)
      writer.setConvertDouble(row, column, static_cast<double>(column) + firstNumber(rowsDone, row));
}

void loadRows(ZRBBufReader& reader, long rows) {
  if (rows < 1) return;
  ZRBBuf& buf = *reader.getBuf();
  const BufAccess access(buf);
  const Columns columns = divide(buf, [](ZRBBuf::column_type type) {
    return type >= ZRBBuf::column_double && type <= ZRBBuf::column_blob && type != ZRBBuf::column_string;
  });
  if (const std::vector<Stretch> stretches = stretchesOf(buf, columns.runs); !stretches.empty()) {
    const bool wholeRows = stretches[0].bytes == access.rowBytes();
    forEachRun(reader.getBufferRowNum(0), rows, access.capacity(), [&](long ringRow, long runRows) {
      const char* row = access.rowAt(ringRow);
      if (wholeRows) return loadBytes(row, runRows * access.rowBytes());
      for (long i = 0; i < runRows; ++i, row += access.rowBytes())
        for (const Stretch& stretch : stretches) loadBytes(row + stretch.offset, stretch.bytes);
    });
  }
  if (columns.single.empty()) return;
  for (long row = 0; row < rows; ++row)
    for (const long column : columns.single) reader.getDouble(row, column);
}
