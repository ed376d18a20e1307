// Rows as CSV text on the output.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ZRBBuf.h"
#include "output.h"
#include "zrb/node.h"

namespace zrbtool {

// Appends one cell, in quotes if it holds a comma, a quote or a line end.
void appendCell(std::string& line, std::string_view cell);

// A sink that writes the names of its input's columns and then its rows: numbers in their shortest form, dates as ISO
// 8601, NA as "NA", lines ended by a line feed.  Borrows the output, which the caller flushes.
// Blob columns are written as NA.
class CsvWriter : public zrb::SinkNode {
public:
  explicit CsvWriter(Output& output) : m_output(output) {}

private:
  void prepare() override;
  void work(long rows) override;
  void appendCellOf(long row, long column);

  Output& m_output;
  std::vector<ZRBBuf::column_type> m_types;
  std::string m_line;
};

}  // namespace zrbtool
