// The record reader for usual texts.
#pragma once

#include <memory>
#include <vector>

#include "byte_source.h"
#include "csv_marks.h"
#include "libcsv_parser.h"
#include "record_reader.h"

namespace zrbtool {

// Splits the plain lines of a text itself: the cells stay where they are in the block, and nothing is copied.  Plain is a
// line whose cells are without quotes, or in quotes with neither quotes nor line ends inside.  What is not plain goes to
// libcsv, line by line, until that has ended its record; so does what is malformed, and the last line if it has no end.
class PlainReader : public RecordReader {
public:
  // Borrows `bytes`.  Lines count from `firstLine`.
  // REQUIRES: !format.trim.
  PlainReader(ByteSource& bytes, const CsvFormat& format, long long firstLine = 1, AtEnd atEnd = AtEnd::finish);

  const Record* next() override;
  long long line() const override { return m_lines.line(); }

private:
  // What the next line is.
  enum class Line { record, withoutText, cut, notPlain };

  Line splitLine();
  void endRecord(char* lineEnd);
  void readBlock();
  void startMarks();
  void finish();
  void handOverLine();
  void handOver(char* end);

  ByteSource& m_bytes;
  AtEnd m_at_end;
  char m_delimiter;
  LineCounter m_lines;
  LibcsvParser m_parser;
  bool m_handed_over = false;  // whether the parser may have something to give

  std::vector<char> m_block;
  char* m_begin;  // of the line that comes next
  char* m_end;    // of the bytes in the block
  CsvMarks m_marks;
  std::vector<Record::Cell> m_cells;
  Record m_record;
  bool m_ended = false;
};

// The reader for the format: plain, or libcsv alone where blanks around cells have to go.
std::unique_ptr<RecordReader> readRecords(ByteSource& bytes, const CsvFormat& format, long long firstLine,
                                          AtEnd atEnd = AtEnd::finish);

}  // namespace zrbtool
