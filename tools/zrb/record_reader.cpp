#include "record_reader.h"

namespace zrbtool {

long long countLineEnds(std::string_view text) {
  long long lines = 0;
  for (std::size_t i = 0; i < text.size(); ++i)
    lines += text[i] == '\n' || (text[i] == '\r' && (i + 1 == text.size() || text[i + 1] != '\n'));
  return lines;
}

long long Record::lineOf(std::size_t cell) const {
  long long line = m_line;
  for (std::size_t i = 0; i < cell && i < m_num_cells; ++i) line += countLineEnds((*this)[i]);
  return line;
}

}  // namespace zrbtool
