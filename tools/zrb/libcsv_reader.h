// The record reader on libcsv alone.
#pragma once

#include <vector>

#include "byte_source.h"
#include "libcsv_parser.h"
#include "record_reader.h"

namespace zrbtool {

// Hands its bytes to libcsv in blocks.
class LibcsvReader : public RecordReader {
public:
  // Borrows `bytes`.  Lines count from `firstLine`.
  LibcsvReader(ByteSource& bytes, const CsvFormat& format, long long firstLine = 1, AtEnd atEnd = AtEnd::finish);

  const Record* next() override;
  long long line() const override { return m_lines.line(); }

private:
  ByteSource& m_bytes;
  AtEnd m_at_end;
  LineCounter m_lines;
  LibcsvParser m_parser;
  std::vector<char> m_block;
  bool m_ended = false;
};

}  // namespace zrbtool
