// The fast path of the CSV node: the cells that nearly all rows consist of, written without a call into the library.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <vector>

#include "ZRBBufWriter.h"
#include "csv_options.h"
#include "level_memory.h"
#include "quick_number.h"

namespace zrbtool {

// Takes plain numbers and remembered levels, and nothing else: what it refuses, NA and errors among it, is for the path
// that knows all cells.  What it takes becomes the same bytes there.
class QuickCells {
public:
  // Borrows the writer, whose buffer has been initialised.
  QuickCells(ZRBBufWriter& writer, const CsvOptions& options);

  // The next cells are those of this chunk row.
  void startRow(long row);
  // Writes the cell if it is quick.
  // REQUIRES: Record::kReadableBytes may be read from the beginning of a cell that is not empty, whatever they are.
  bool write(std::size_t column, std::string_view cell);

  // What the buffer said about the text of a factor's cell that was not quick.
  // REQUIRES: the level is not NA; otherwise as for write().
  void rememberLevel(std::size_t column, std::string_view cell, long level);

private:
  enum class Kind { number, level, other };
  struct Column {
    Kind kind;
    long offset;  // within the row
    LevelMemory levels;
  };

  ZRBBufWriter& m_writer;
  std::vector<Column> m_columns;
  char* m_row = nullptr;
};

// In line: once for every cell, it is as short as the call.
inline bool QuickCells::write(std::size_t column, std::string_view cell) {
  const Column& target = m_columns[column];
  char* const bytes = m_row + target.offset;
  if (target.kind == Kind::number) {
    const double value = readQuickNumber(cell);
    if (std::isnan(value)) return false;
    std::memcpy(bytes, &value, sizeof value);
    return true;
  }
  if (target.kind == Kind::level) {
    const long level = target.levels.find(cell);
    if (level < 0) return false;
    bytes[0] = static_cast<char>(level >> 8);
    bytes[1] = static_cast<char>(level & 0xFF);
    return true;
  }
  return false;
}

}  // namespace zrbtool
