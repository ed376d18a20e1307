// The inside of a buffer for its own ends and kernels: what the exported methods answer, inlined.
#pragma once

#include <cstdint>

#include "ZRBBuf.h"

// The ring row of a stream row.  32 bits divide much faster than 64 and nearly always hold both numbers.
inline long ringRowOf(long long streamRow, long capacity) {
  if (capacity < 1) [[unlikely]]
    return 0;
  const auto bits = static_cast<std::uint64_t>(streamRow) | static_cast<std::uint64_t>(capacity);
  if (bits >> 32 == 0) [[likely]]
    return static_cast<std::uint32_t>(streamRow) % static_cast<std::uint32_t>(capacity);
  return streamRow % capacity;
}

// Whether an end is the library's own, so that a kernel may touch the cells in its place.  The virtual operations of an
// end that a host derives must be called.
bool isOwnEnd(ZRBBufReader& reader);
bool isOwnEnd(ZRBBufWriter& writer);

class BufAccess {
public:
  // Where a column's cells are in a row, and what they hold.  A column that does not exist counts as a double at the
  // start of the row.
  struct Column {
    ZRBBuf::column_type type;
    long offset;
    long stringBytes;
  };

  struct Cell {
    ZRBBuf::column_type type;
    char* bytes;
  };

  explicit BufAccess(ZRBBuf& buf) : m_buf(buf) {}

  // Null for a column that does not exist.
  ZRBBuf::ColumnInfo* columnInfo(long index) const {
    if (static_cast<std::size_t>(index) >= m_buf.m_columns.size()) return nullptr;
    return m_buf.m_columns[static_cast<std::size_t>(index)].get();
  }

  static LevelIndex& levelIndex(ZRBBuf::ColumnInfo& info) { return *info.m_level_index; }

  Column column(long index) const {
    if (static_cast<std::size_t>(index) >= m_buf.m_columns.size()) return {ZRBBuf::column_double, 0, 0};
    const ZRBBuf::ColumnInfo& info = *m_buf.m_columns[static_cast<std::size_t>(index)];
    return {info.m_type, info.m_offset_bytes, info.m_string_bytes};
  }

  char* rowAt(long ringRow) const { return m_buf.m_data.get() + ringRow * m_buf.m_bytes_per_row; }
  char* at(long ringRow, const Column& column) const { return rowAt(ringRow) + column.offset; }

  // A cell of a reader at `position` (negative: everything released, ring row 0).
  Cell readerCell(long long position, long row, long index) const {
    const Column found = column(index);
    return {found.type, at(position < 0 ? 0 : ringRowOf(position + row, m_buf.m_num_rows), found)};
  }

  // A cell of the writer.
  Cell writerCell(long row, long index) const {
    const Column found = column(index);
    return {found.type, at(ringRowOf(m_buf.m_input_rows_released + row, m_buf.m_num_rows), found)};
  }

  long capacity() const { return m_buf.m_num_rows; }
  long rowBytes() const { return m_buf.m_bytes_per_row; }
  long long inputRowsReleased() const { return m_buf.m_input_rows_released; }

private:
  ZRBBuf& m_buf;
};
