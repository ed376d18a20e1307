// What a record reader makes of a text.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

#include "byte_source.h"
#include "libcsv_reader.h"
#include "plain_reader.h"

// Gives out at most `most` bytes at a time.
class SmallReads : public zrbtool::ByteSource {
public:
  SmallReads(std::string text, std::size_t most) : m_text(std::move(text)), m_most(most) {}
  std::size_t read(char* to, std::size_t size) override {
    const std::size_t bytes = std::min({size, m_most, m_text.size() - m_at});
    std::copy_n(m_text.data() + m_at, bytes, to);
    m_at += bytes;
    return bytes;
  }

private:
  std::string m_text;
  std::size_t m_most;
  std::size_t m_at = 0;
};

struct RecordRow {
  long long line;
  std::vector<std::string> cells;
  bool operator==(const RecordRow& other) const { return line == other.line && cells == other.cells; }
};

inline void PrintTo(const RecordRow& row, std::ostream* stream) {
  *stream << row.line << ":";
  for (const std::string& cell : row.cells) *stream << " [" << cell << "]";
}

struct RecordOutcome {
  std::vector<RecordRow> rows;
  std::string error;  // LINE:COLUMN: what, found
  long long lastLine;
  bool operator==(const RecordOutcome& other) const {
    return rows == other.rows && error == other.error && lastLine == other.lastLine;
  }
};

inline RecordOutcome outcomeOf(zrbtool::RecordReader& reader) {
  RecordOutcome outcome;
  try {
    while (const zrbtool::Record* record = reader.next()) {
      RecordRow row{record->line(), {}};
      for (std::size_t i = 0; i < record->size(); ++i) {
        const std::string_view cell = (*record)[i];
        EXPECT_EQ(cell.data()[cell.size()], '\0');
        const std::string readable(cell.data(), zrbtool::Record::kReadableBytes);  // what else they are does not matter
        EXPECT_EQ(readable.substr(0, cell.size()), cell.substr(0, readable.size()));
        row.cells.emplace_back(cell);
      }
      outcome.rows.push_back(std::move(row));
    }
  } catch (const zrbtool::CsvError& error) {
    outcome.error = std::to_string(error.line()) + ":" + std::to_string(error.column()) + ": " + error.finding().what +
                    ", " + error.finding().found;
  }
  outcome.lastLine = reader.line();
  return outcome;
}

// Of the reader that is used; libcsv alone has to agree.
inline RecordOutcome readAll(const std::string& text, const zrbtool::CsvFormat& format = {},
                             std::size_t readBytes = 1 << 20, zrbtool::AtEnd atEnd = zrbtool::AtEnd::finish) {
  SmallReads bytes(text, readBytes), sameBytes(text, readBytes);
  const RecordOutcome outcome = outcomeOf(*zrbtool::readRecords(bytes, format, 1, atEnd));
  zrbtool::LibcsvReader libcsv(sameBytes, format, 1, atEnd);
  const RecordOutcome expected = outcomeOf(libcsv);
  constexpr std::size_t kShown = 200;
  EXPECT_TRUE(outcome == expected) << readBytes << " bytes at a time of "
                                   << testing::PrintToString(text.substr(0, kShown)) << ": " << outcome.rows.size()
                                   << " records, " << outcome.error << ", last line " << outcome.lastLine
                                   << "; by libcsv " << expected.rows.size() << " records, " << expected.error
                                   << ", last line " << expected.lastLine;
  return outcome;
}
