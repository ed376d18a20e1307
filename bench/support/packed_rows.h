// Rows made once, as a buffer of their schema holds them: the columns of a row back to back, doubles and time-dates as
// the machine has them, levels high byte first, texts padded with NULs.
#pragma once

#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "ZRBBuf.h"
#include "answers.h"

namespace bench {

struct ColumnSpec {
  ZRBBuf::column_type type = ZRBBuf::column_double;
  long levels = 0;  // a factor's: "level0", "level1", ...
  long stringBytes = 16;

  long width() const {
    switch (type) {
      case ZRBBuf::column_factor:
        return 2;
      case ZRBBuf::column_string:
        return stringBytes;
      case ZRBBuf::column_blob:
        return 16;
      default:
        return 8;
    }
  }
};

inline std::vector<ColumnSpec> doubleColumns(long count) {
  return std::vector<ColumnSpec>(static_cast<std::size_t>(count));
}
inline ColumnSpec factorColumn(long levels) { return {ZRBBuf::column_factor, levels, 16}; }

class PackedRows {
public:
  PackedRows(std::vector<ColumnSpec> columns, long numRows) : m_columns(std::move(columns)), m_num_rows(numRows) {
    for (const ColumnSpec& column : m_columns) {
      m_offsets.push_back(m_row_bytes);
      m_row_bytes += column.width();
    }
    m_bytes.resize(static_cast<std::size_t>(m_row_bytes * numRows));
  }

  long numRows() const { return m_num_rows; }
  long numColumns() const { return static_cast<long>(m_columns.size()); }
  long rowBytes() const { return m_row_bytes; }
  long offset(long column) const { return m_offsets[static_cast<std::size_t>(column)]; }
  const char* row(long row) const { return m_bytes.data() + row * m_row_bytes; }
  const char* cell(long row, long column) const { return this->row(row) + offset(column); }
  char* cell(long row, long column) { return m_bytes.data() + row * m_row_bytes + offset(column); }

  void setDouble(long row, long column, double value) { std::memcpy(cell(row, column), &value, 8); }
  void setTimeDate(long row, long column, long long timeMs) { std::memcpy(cell(row, column), &timeMs, 8); }
  void setLevel(long row, long column, long level) {  // negative: NA
    const unsigned code = level < 0 ? 0xFFFFu : static_cast<unsigned>(level);
    cell(row, column)[0] = static_cast<char>(code >> 8);
    cell(row, column)[1] = static_cast<char>(code & 0xFF);
  }
  void setText(long row, long column, const std::string& text) {
    char* const target = cell(row, column);
    const std::size_t width = static_cast<std::size_t>(m_columns[static_cast<std::size_t>(column)].width());
    if (text.size() >= width) fail("text '%s' does not fit", text.c_str());
    std::memset(target, 0, width);
    std::memcpy(target, text.data(), text.size());
  }

  double getDouble(long row, long column) const {
    double value;
    std::memcpy(&value, cell(row, column), 8);
    return value;
  }
  long getLevel(long row, long column) const {  // -1: NA
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(cell(row, column));
    const long code = bytes[0] * 256L + bytes[1];
    return code == 0xFFFF ? -1 : code;
  }
  // What a count node measures: a level number as it is, NA as NaN.
  double measured(long row, long column) const {
    if (m_columns[static_cast<std::size_t>(column)].type != ZRBBuf::column_factor) return getDouble(row, column);
    const long level = getLevel(row, column);
    return level < 0 ? std::numeric_limits<double>::quiet_NaN() : static_cast<double>(level);
  }

  void setSchemaOf(ZRBBuf& buf) const {
    buf.setNumColumns(numColumns());
    for (long column = 0; column < numColumns(); ++column) {
      const ColumnSpec& spec = m_columns[static_cast<std::size_t>(column)];
      buf.setColumnType(column, spec.type);
      buf.setColumnStringBytes(column, spec.stringBytes);
      for (long level = 0; level < spec.levels; ++level)
        buf.addLevel(column, ("level" + std::to_string(level)).c_str());
    }
    requireEqual(buf.calcBytesPerRow(), m_row_bytes, "bytes per row");
  }

private:
  std::vector<ColumnSpec> m_columns;
  std::vector<long> m_offsets;
  long m_row_bytes = 0;
  long m_num_rows;
  std::vector<char> m_bytes;
};

}  // namespace bench
