#include "csv_writer.h"

#include "ZRBBufReader.h"
#include "zrb/iso_date.h"
#include "zrb/number_text.h"

namespace zrbtool {

namespace {

constexpr std::string_view kNaText = "NA";

}  // namespace

void appendCell(std::string& line, std::string_view cell) {
  if (cell.find_first_of(",\"\r\n") == std::string_view::npos) {
    line += cell;
    return;
  }
  line += '"';
  for (const char c : cell) {
    if (c == '"') line += '"';
    line += c;
  }
  line += '"';
}

void CsvWriter::prepare() {
  ZRBBuf& buf = *input().getBuf();
  m_types.clear();
  m_na.clear();
  m_line.clear();
  for (long column = 0; column < buf.getNumColumns(); ++column) {
    m_types.push_back(buf.getColumnType(column));
    const std::size_t known = m_na.size();
    appendCell(m_na.emplace_back(), known < m_options.naTexts.size() ? m_options.naTexts[known] : kNaText);
    if (column > 0) m_line += ',';
    const char* name = buf.getColumnName(column);
    appendCell(m_line, name ? name : "");
  }
  if (m_options.header) endLine();
}

void CsvWriter::endLine() {
  if (m_line.empty()) m_line = "\"\"";  // a line without any text is no row
  m_line += '\n';
  m_output.write(m_line);
}

void CsvWriter::work(long rows) {
  for (long row = 0; row < rows; ++row) {
    m_line.clear();
    for (std::size_t column = 0; column < m_types.size(); ++column) {
      if (column > 0) m_line += ',';
      appendCellOf(row, static_cast<long>(column));
    }
    endLine();
  }
}

void CsvWriter::appendCellOf(long row, long column) {
  const std::string& na = m_na[static_cast<std::size_t>(column)];
  char text[std::max(zrb::kNumberTextBytes, zrb::kIsoDateBytes)];
  switch (m_types[static_cast<std::size_t>(column)]) {
    case ZRBBuf::column_double: {
      const double value = input().getDouble(row, column);
      m_line += ZRBObj::isDoubleNA(value) ? na : std::string_view(text, zrb::formatNumber(value, text));
      break;
    }
    case ZRBBuf::column_timeDate: {
      const long long timeMs = input().getTimeDate(row, column);
      m_line += ZRBObj::isTimeDateNA(timeMs) ? na : std::string_view(text, zrb::formatIsoDate(timeMs, text));
      break;
    }
    case ZRBBuf::column_factor:
    case ZRBBuf::column_string: {
      const char* value = input().getString(row, column);  // a factor's level name
      if (ZRBObj::isStringNA(value))
        m_line += na;
      else
        appendCell(m_line, value);
      break;
    }
    case ZRBBuf::column_blob:
      m_line += na;
      break;
  }
}

}  // namespace zrbtool
