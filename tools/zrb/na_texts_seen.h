// Which text stands for NA in each column of a CSV file?
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "cell_text.h"
#include "csv_options.h"
#include "record_reader.h"
#include "sniffer.h"

namespace zrbtool {

// The text of the first NA cell of each column.
class NaTextsSeen {
public:
  NaTextsSeen(const std::vector<ColumnPlan>& columns, const CsvOptions& options);
  void look(const Record& record);
  // Of the file's columns; of a column without NA, and of any further one, the first text that the options tell.
  const std::string& text(std::size_t column) const { return column < m_texts.size() ? m_texts[column] : m_usual; }

private:
  struct Waiting {
    std::size_t column;
    bool trims;  // whether blanks around the text do not matter
  };

  NaTexts m_na;
  std::string m_usual;
  std::vector<std::string> m_texts;
  std::vector<Waiting> m_waiting;  // columns without an NA cell so far
};

}  // namespace zrbtool
