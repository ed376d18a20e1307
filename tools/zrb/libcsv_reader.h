// The record reader on libcsv.
#pragma once

#include <csv.h>

#include <cstddef>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "byte_source.h"
#include "record_reader.h"

namespace zrbtool {

// Takes its bytes in blocks and hands each block to libcsv, whose calls back fill a batch of records; next() gives them
// out one by one.  What libcsv has begun at the end of a block goes on with the next one.  Memory is bounded: a block, the
// longest record, and never more than kLongestRecord.
class LibcsvReader : public RecordReader {
public:
  static constexpr std::size_t kLongestRecord = std::size_t{4} << 20;

  // What the end of the bytes means: the end of the text, or only of a sample of it, whose last record may be cut.
  enum class AtEnd { finish, dropCutRecord };

  // Borrows `bytes`.  Lines count from `firstLine`.
  LibcsvReader(ByteSource& bytes, const CsvFormat& format, long long firstLine = 1, AtEnd atEnd = AtEnd::finish);
  LibcsvReader(const LibcsvReader&) = delete;
  LibcsvReader& operator=(const LibcsvReader&) = delete;
  ~LibcsvReader() override;

  const Record* next() override;
  long long line() const override { return m_line; }

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

  void fillBatch();
  void dropBatch();
  void parseBlock(const char* block, std::size_t size);
  void finish();
  void fail(Finding finding);

  std::string_view textOfOpenCell() const;
  std::size_t cellsBegun() const { return m_cells.size() - m_first_open_cell; }

  ByteSource& m_bytes;
  AtEnd m_at_end;
  csv_parser m_parser;
  std::vector<char> m_block;

  // The batch, and behind its last record the cells of the record that has begun.
  std::vector<char> m_text;
  std::vector<Record::Cell> m_cells;
  std::vector<Entry> m_entries;
  std::size_t m_next_entry = 0;
  std::size_t m_first_open_cell = 0;
  std::size_t m_open_text = 0;  // where the text of that record begins
  long long m_open_line = 0;    // the line it began in

  Record m_record;
  long long m_line;
  bool m_after_return = false;  // the last thing seen was a carriage return that ended a line
  bool m_ended = false;
  std::exception_ptr m_failure;  // comes after the records of the batch
};

}  // namespace zrbtool
