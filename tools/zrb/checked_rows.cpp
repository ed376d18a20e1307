#include "checked_rows.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "bounds.h"
#include "failure.h"
#include "library_failure.h"
#include "utf8.h"
#include "zrb/iso_date.h"
#include "zrb/number_text.h"

namespace zrbtool {

namespace {

constexpr std::size_t kLevelNA = 0xFFFF;

Failure badCell(const std::string& file, long long row, const StoredColumn& column, Finding finding) {
  return failureAt(ExitStatus::data, file, row, column.name, finding);
}

}  // namespace

CheckedRows::CheckedRows(std::string file, const StoredSchema& schema, std::vector<std::size_t> columns)
    : m_file(std::move(file)), m_schema(schema), m_columns(std::move(columns)) {}

// What goes wrong in the library while rows are loaded is an error of the buffer.
void CheckedRows::checkFile() {
  ZRBBuf& buf = *input().getBuf();
  if (buf.hasError()) throw readFailure(m_file, buf);
}

void CheckedRows::prepare() {
  checkFile();
  ZRBBuf& from = *input().getBuf();
  ZRBBuf& to = *output().getBuf();
  m_next_row = 1;
  m_same = m_columns.size() == m_schema.columns.size();
  m_converts.clear();
  for (std::size_t i = 0; i < m_columns.size(); ++i) {
    const long column = static_cast<long>(i);
    m_converts.push_back(from.getColumnType(static_cast<long>(m_columns[i])) != to.getColumnType(column));
    m_same = m_same && m_columns[i] == i && !m_converts[i];
  }
}

long CheckedRows::runChunk() {
  const long result = TransformNode::runChunk();
  checkFile();
  return result;
}

long CheckedRows::work(long rows) {
  ZRBBuf& from = *input().getBuf();
  ZRBBuf& to = *output().getBuf();
  const long inStride = from.getBytesPerRow();
  const long outStride = to.getBytesPerRow();
  long done = 0;
  while (done < rows) {
    const long inRow = input().getBufferRowNum(done);
    const long outRow = output().getBufferRowNum(done);
    const long run = std::min({rows - done, from.getNumRows() - inRow, to.getNumRows() - outRow});
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
      const StoredColumn& column = m_schema.columns[m_columns[i]];
      const Cells cells = {from.getDataPtr(inRow, static_cast<long>(m_columns[i]), column.bytes), inStride, run,
                           m_next_row};
      check(cells, column);
      if (m_converts[i]) {
        convert(inRow, outRow, run, i);
      } else if (!m_same) {
        char* target = to.getDataPtr(outRow, static_cast<long>(i), column.bytes);
        for (long row = 0; row < run; ++row)
          std::memcpy(target + row * outStride, cells.first + row * inStride, static_cast<std::size_t>(column.bytes));
      }
    }
    if (m_same)
      std::memcpy(to.getDataPtr(outRow, 0, outStride), from.getDataPtr(inRow, 0, inStride),
                  static_cast<std::size_t>(run * inStride));
    done += run;
    m_next_row += run;
  }
  return rows;
}

void CheckedRows::check(const Cells& cells, const StoredColumn& column) const {
  switch (column.type) {
    case ZRBBuf::column_factor:
      return checkLevels(cells, column);
    case ZRBBuf::column_string:
      return checkTexts(cells, column);
    case ZRBBuf::column_blob:
      return checkBlobs(cells, column);
    default:
      return;
  }
}

void CheckedRows::checkLevels(const Cells& cells, const StoredColumn& column) const {
  const char* cell = cells.first;
  for (long row = 0; row < cells.rows; ++row, cell += cells.stride) {
    const std::size_t level =
        static_cast<unsigned char>(cell[0]) * std::size_t{256} + static_cast<unsigned char>(cell[1]);
    if (level < column.levels.size() || level == kLevelNA) continue;
    throw badCell(m_file, cells.firstRow + row, column,
                  {"level without a name", std::to_string(level),
                   fmt::format("a number below {}, or {} for NA", column.levels.size(), kLevelNA)});
  }
}

void CheckedRows::checkTexts(const Cells& cells, const StoredColumn& column) const {
  const std::size_t width = static_cast<std::size_t>(column.bytes);
  const char* cell = cells.first;
  for (long row = 0; row < cells.rows; ++row, cell += cells.stride) {
    const void* end = std::memchr(cell, '\0', width);
    if (!end)
      throw badCell(m_file, cells.firstRow + row, column,
                    {"text without end", fmt::format("{} bytes without a NUL", width), "a text that ends in its cell"});
    const std::string_view text(cell, static_cast<std::size_t>(static_cast<const char*>(end) - cell));
    if (!isUtf8(text))
      throw badCell(m_file, cells.firstRow + row, column, {"text is no UTF-8", quote(text), "UTF-8 text"});
  }
}

void CheckedRows::checkBlobs(const Cells& cells, const StoredColumn& column) const {
  const long long fileBytes = m_schema.blobs->bytes;
  const char* cell = cells.first;
  for (long row = 0; row < cells.rows; ++row, cell += cells.stride) {
    long long offset, length;
    std::memcpy(&offset, cell, sizeof offset);
    std::memcpy(&length, cell + sizeof offset, sizeof length);
    const bool isNA = offset == -1 && length == -1;
    const bool fits = offset >= 0 && length >= 0 && offset <= fileBytes - kBlobMarkBytes &&
                      length <= fileBytes - kBlobMarkBytes - offset;
    if (isNA || fits) continue;
    throw badCell(
        m_file, cells.firstRow + row, column,
        {"blob outside its file", counted(length, "byte") + " at " + std::to_string(offset),
         fmt::format("a record within the {} of {}", counted(fileBytes, "byte"), onOneLine(m_schema.blobs->file))});
  }
}

// Other columns as factors of their texts.
void CheckedRows::convert(long inRow, long outRow, long rows, std::size_t i) {
  ZRBBuf& from = *input().getBuf();
  ZRBBuf& to = *output().getBuf();
  const StoredColumn& stored = m_schema.columns[m_columns[i]];
  const long inColumn = static_cast<long>(m_columns[i]);
  const long outColumn = static_cast<long>(i);
  std::string text;
  const auto textOf = [&](long row) {  // empty for NA
    if (stored.type == ZRBBuf::column_double) {
      const double value = from.getRawDouble(row, inColumn);
      text = ZRBObj::isDoubleNA(value) ? "" : zrb::numberText(value);
    } else if (stored.type == ZRBBuf::column_timeDate) {
      const long long timeMs = from.getRawTimeDate(row, inColumn);
      text = ZRBObj::isTimeDateNA(timeMs) ? "" : zrb::isoDateText(timeMs);
    } else {
      const char* value = from.getRawString(row, inColumn);
      text = ZRBObj::isStringNA(value) ? "" : value;
    }
    return text.c_str();
  };
  for (long row = 0; row < rows; ++row) {
    const char* name = textOf(inRow + row);
    const bool isNA = *name == '\0';
    const long level = isNA ? ZRBObj::getLevelNumNA() : to.mapStringToLevelNum(outColumn, name);
    if (!isNA && ZRBObj::isLevelNumNA(level))
      throw badCell(m_file, m_next_row + row, stored,
                    {"too many levels", fmt::format("{} as the {}th text", quote(name), kMostLevels + 1),
                     fmt::format("at most {} different texts", kMostLevels)});
    to.setRawLevelNum(outRow + row, outColumn, level);
  }
}

}  // namespace zrbtool
