#include "text_table.h"

#include <algorithm>

#include "failure.h"
#include "utf8.h"

namespace zrbtool {

namespace {

constexpr std::size_t kLongestCell = 100;  // bytes

}  // namespace

void TextTable::addRow(std::vector<std::string> cells) {
  for (std::string& cell : cells)
    cell = cell.size() > kLongestCell ? onOneLine(utf8Prefix(cell, kLongestCell)) + "..." : onOneLine(cell);
  m_rows.push_back(std::move(cells));
}

std::string TextTable::render(std::size_t indent) const {
  std::vector<std::size_t> widths(m_columns.size(), 0);
  for (const auto& row : m_rows)
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], utf8Length(row[i]));

  std::string text;
  for (const auto& row : m_rows) {
    std::string line(indent, ' ');
    for (std::size_t i = 0; i < row.size(); ++i) {
      if (i > 0) line += "  ";
      const std::size_t padding = widths[i] - utf8Length(row[i]);
      if (m_columns[i] == Align::right) line.append(padding, ' ');
      line += row[i];
      if (m_columns[i] == Align::left) line.append(padding, ' ');
    }
    const std::size_t end = line.find_last_not_of(' ');
    line.resize(end == std::string::npos ? 0 : end + 1);
    text += line + '\n';
  }
  return text;
}

}  // namespace zrbtool
