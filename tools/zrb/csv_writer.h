// Rows as CSV text on the output.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ZRBBuf.h"
#include "output.h"
#include "zrb/node.h"

namespace zrbtool {

// Appends one cell, in quotes if it holds a comma, a quote or a line end.
void appendCell(std::string& line, std::string_view cell);

struct CsvWriterOptions {
  bool header = true;                // whether the names come first
  std::vector<std::string> naTexts;  // by column, what stands for NA; "NA" where there is none
};

// A sink that writes the names of its input's columns and then its rows: numbers in their shortest form, dates as ISO
// 8601, lines ended by a line feed.  Borrows the output, which the caller flushes.
// Blob columns are written as NA.
class CsvWriter : public zrb::SinkNode {
public:
  explicit CsvWriter(Output& output, CsvWriterOptions options = {}) : m_output(output), m_options(std::move(options)) {}

private:
  void prepare() override;
  void work(long rows) override;
  void appendCellOf(long row, long column);

  void endLine();

  Output& m_output;
  CsvWriterOptions m_options;
  std::vector<ZRBBuf::column_type> m_types;
  std::vector<std::string> m_na;  // by column, as it is written
  std::string m_line;
};

}  // namespace zrbtool
