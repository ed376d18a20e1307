// What columns are there, and how wide is a row?
#include <algorithm>
#include <cstring>

#include "ZRBBuf.h"
#include "buf/saturating.h"

namespace {

constexpr long kMinStringBytes = 4;  // room for the string NA
constexpr long kDoubleBytes = 8;
constexpr long kFactorBytes = 2;
constexpr long kTimeDateBytes = 8;
constexpr long kBlobBytes = 16;

}  // namespace

void ZRBBuf::setNumRows(long rows) { m_num_rows = rows; }
long ZRBBuf::getNumRows() { return m_num_rows; }

void ZRBBuf::setNumColumns(long columns) {
  columns = std::max(columns, 0L);
  m_num_columns = 0;
  const std::size_t kept = std::min(m_columns.size(), static_cast<std::size_t>(columns));
  m_columns.resize(static_cast<std::size_t>(columns));
  std::generate(m_columns.begin() + static_cast<std::ptrdiff_t>(kept), m_columns.end(),
                [] { return std::make_unique<ColumnInfo>(); });
  m_num_columns = columns;
}

long ZRBBuf::getNumColumns() { return m_num_columns; }

ZRBBuf::ColumnInfo* ZRBBuf::getColumnInfo(long column) {
  if (column < 0 || static_cast<std::size_t>(column) >= m_columns.size()) return nullptr;
  return m_columns[static_cast<std::size_t>(column)].get();
}

void ZRBBuf::setColumnName(long column, const char* name) {
  if (ColumnInfo* info = getColumnInfo(column)) info->m_name.reset(copyString(name));
}

const char* ZRBBuf::getColumnName(long column) {
  ColumnInfo* info = getColumnInfo(column);
  return info ? info->m_name.get() : nullptr;
}

long ZRBBuf::getColumnIndex(const char* name) {
  if (!name) return -1;
  const auto found = std::find_if(m_columns.begin(), m_columns.end(), [name](const auto& info) {
    return info->m_name && std::strcmp(info->m_name.get(), name) == 0;
  });
  return found == m_columns.end() ? -1 : found - m_columns.begin();
}

void ZRBBuf::setColumnType(long column, column_type type) {
  const bool known = type > column_double && type <= column_blob;
  if (ColumnInfo* info = getColumnInfo(column)) info->m_type = known ? type : column_double;
}

ZRBBuf::column_type ZRBBuf::getColumnType(long column) {
  ColumnInfo* info = getColumnInfo(column);
  return info ? info->m_type : column_double;
}

int ZRBBuf::columnTypeIsDouble(long column) { return getColumnType(column) == column_double; }
int ZRBBuf::columnTypeIsFactor(long column) { return getColumnType(column) == column_factor; }
int ZRBBuf::columnTypeIsString(long column) { return getColumnType(column) == column_string; }
int ZRBBuf::columnTypeIsTimeDate(long column) { return getColumnType(column) == column_timeDate; }
int ZRBBuf::columnTypeIsBlob(long column) { return getColumnType(column) == column_blob; }

void ZRBBuf::setColumnStringBytes(long column, long bytes) {
  if (ColumnInfo* info = getColumnInfo(column)) info->m_string_bytes = std::max(bytes, kMinStringBytes);
}

long ZRBBuf::getColumnStringBytes(long column) {
  ColumnInfo* info = getColumnInfo(column);
  return info ? info->m_string_bytes : 0;
}

void ZRBBuf::setColumnBlobClassName(long column, const char* name) {
  if (ColumnInfo* info = getColumnInfo(column)) info->m_blob_class_name.reset(copyString(name));
}

const char* ZRBBuf::getColumnBlobClassName(long column) {
  ColumnInfo* info = getColumnInfo(column);
  return info ? info->m_blob_class_name.get() : nullptr;
}

long ZRBBuf::getColumnWidthBytes(long column) {
  ColumnInfo* info = getColumnInfo(column);
  if (!info) return 0;
  switch (info->m_type) {
    case column_factor:
      return kFactorBytes;
    case column_string:
      return info->m_string_bytes;
    case column_timeDate:
      return kTimeDateBytes;
    case column_blob:
      return kBlobBytes;
    default:
      return kDoubleBytes;
  }
}

void ZRBBuf::setColumnOffsetBytes(long column, long bytes) {
  if (ColumnInfo* info = getColumnInfo(column)) info->m_offset_bytes = bytes;
}

long ZRBBuf::getColumnOffsetBytes(long column) {
  ColumnInfo* info = getColumnInfo(column);
  return info ? info->m_offset_bytes : 0;
}

long ZRBBuf::calcBytesPerRow() {
  long bytes = 0;
  for (long column = 0; column < m_num_columns; ++column) bytes = addSaturating(bytes, getColumnWidthBytes(column));
  return bytes;
}

long ZRBBuf::getBytesPerRow() { return m_bytes_per_row; }
