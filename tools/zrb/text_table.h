// Aligned columns of text.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace zrbtool {

enum class Align { left, right };

// The first row is the heading.  Cells are put on one line each (see onOneLine), and cut where they are very long; rows
// may be shorter than the heading.
class TextTable {
public:
  explicit TextTable(std::vector<Align> columns) : m_columns(std::move(columns)) {}
  void addRow(std::vector<std::string> cells);
  // Two blanks between columns, none at line ends; every line begins with `indent` blanks.
  std::string render(std::size_t indent = 0) const;

private:
  std::vector<Align> m_columns;
  std::vector<std::vector<std::string>> m_rows;
};

}  // namespace zrbtool
