#include "quick_cells.h"

#include <algorithm>
#include <cstring>

#include "cell_text.h"
#include "quick_number.h"
#include "record_reader.h"

namespace zrbtool {

static_assert(kQuickNumberBytes <= Record::kReadableBytes);
static_assert(LevelMemory::kReadableBytes <= Record::kReadableBytes);

namespace {

bool isNumber(const std::string& text) {
  double value;
  return readNumber(text, value) != NumberKind::none;
}

}  // namespace

QuickCells::QuickCells(ZRBBufWriter& writer, const CsvOptions& options) : m_writer(writer) {
  // A number may then stand for NA.
  const bool mayBeNA = std::any_of(options.na.begin(), options.na.end(), isNumber);
  ZRBBuf& buf = *writer.getBuf();
  for (long i = 0; i < buf.getNumColumns(); ++i) {
    const ZRBBuf::column_type type = buf.getColumnType(i);
    const Kind kind = type == ZRBBuf::column_double && !mayBeNA ? Kind::number
                      : type == ZRBBuf::column_factor           ? Kind::level
                                                                : Kind::other;
    m_columns.push_back({kind, buf.getColumnOffsetBytes(i), {}});
  }
}

void QuickCells::startRow(long row) {
  if (m_columns.empty()) return;
  m_row = m_writer.getBuf()->getDataPtr(m_writer.getBufferRowNum(row), 0, 0) - m_columns.front().offset;
}

void QuickCells::rememberLevel(std::size_t column, std::string_view cell, long level) {
  m_columns[column].levels.remember(cell, level);
}

}  // namespace zrbtool
