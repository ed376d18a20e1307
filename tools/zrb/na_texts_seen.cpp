#include "na_texts_seen.h"

namespace zrbtool {

NaTextsSeen::NaTextsSeen(const std::vector<ColumnPlan>& columns, const CsvOptions& options)
    : m_na(options.na), m_usual(options.na.empty() ? "" : options.na.front()), m_texts(columns.size(), m_usual) {
  for (std::size_t i = 0; i < columns.size(); ++i)
    m_waiting.push_back({i, columns[i].type == ZRBBuf::column_double || columns[i].type == ZRBBuf::column_timeDate});
}

void NaTextsSeen::look(const Record& record) {
  std::erase_if(m_waiting, [&](const Waiting& waiting) {
    const std::string_view cell = waiting.column < record.size() ? record[waiting.column] : std::string_view();
    const std::string_view text = waiting.trims ? trimmed(cell) : cell;
    if (!m_na.contains(text)) return false;
    m_texts[waiting.column] = text;
    return true;
  });
}

}  // namespace zrbtool
