// libcsv as a parser of pieces of text.
#pragma once

#include <csv.h>

#include <cstddef>
#include <exception>
#include <string_view>
#include <vector>

#include "record_reader.h"

namespace zrbtool {

// Takes text piece by piece and gives out the records in it; one that a piece leaves open goes on with the next piece.
// Memory is bounded: a piece, the longest record, and never more than kLongestRecord.
class LibcsvParser {
public:
  // Counts in `lines`, which is borrowed.
  LibcsvParser(const CsvFormat& format, LineCounter& lines);
  LibcsvParser(const LibcsvParser&) = delete;
  LibcsvParser& operator=(const LibcsvParser&) = delete;
  ~LibcsvParser();

  // REQUIRES: next() has given null.
  void add(std::string_view piece);
  // The text has ended.
  void finish();

  // The next record of the pieces so far, valid until the next call of add(); null when there is none, or when it has
  // not ended.  Throws CsvError where the text behind the records is malformed.
  const Record* next();

  // Whether the last byte of the last piece ended a line and no record is open.
  bool isBetweenLines() const { return m_between_lines; }

private:
  struct Entry {
    long long line;
    std::size_t firstCell;
    std::size_t numCells;
  };

  static void onCell(void* bytes, std::size_t size, void* data);
  static void onRecordEnd(int terminator, void* data);
  void addCell(std::string_view cell);
  void endRecord(int terminator);

  void dropBatch();
  void checkLength(std::size_t cellBytes);
  void fail(Finding finding);

  std::string_view textOfOpenCell() const;
  std::size_t cellsBegun() const { return m_cells.size() - m_first_open_cell; }

  csv_parser m_parser;
  LineCounter& m_lines;
  bool m_between_lines = true;

  // The records of the last piece, and behind them the cells of the record that has begun.
  std::vector<char> m_text;
  std::vector<Record::Cell> m_cells;
  std::vector<Entry> m_entries;
  std::size_t m_next_entry = 0;
  std::size_t m_first_open_cell = 0;
  std::size_t m_open_text = 0;  // where the text of that record begins
  long long m_open_line = 0;    // the line it began in

  Record m_record;
  std::exception_ptr m_failure;  // comes after the records; nothing more is taken then
};

}  // namespace zrbtool
