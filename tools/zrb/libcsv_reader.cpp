#include "libcsv_reader.h"

#include <fmt/format.h>

#include <cstring>
#include <new>
#include <stdexcept>

namespace zrbtool {

namespace {

constexpr std::size_t kBlockBytes = 64 * 1024;
constexpr unsigned char kNoQuote = '\0';  // never in the text: parseBlock() refuses NULs

int isNoSpace(unsigned char) { return 0; }

Finding strayQuote(std::string_view cellSoFar) {
  return {"stray quote", "'\"' inside an unquoted cell or text after a closing quote, behind " + quote(cellSoFar),
          "a cell enclosed in quotes as a whole, with its own quotes doubled (--no-quotes takes quotes as text, --trim "
          "drops blanks around cells)"};
}

}  // namespace

LibcsvReader::LibcsvReader(ByteSource& bytes, const CsvFormat& format, long long firstLine, AtEnd atEnd)
    : m_bytes(bytes), m_at_end(atEnd), m_block(kBlockBytes), m_line(firstLine) {
  // Strict: a quote where none may be is an error.  Every line end is reported, so that lines can be counted.
  csv_init(&m_parser, CSV_STRICT | CSV_STRICT_FINI | CSV_REPALL_NL);
  csv_set_delim(&m_parser, static_cast<unsigned char>(format.delimiter));
  if (!format.quotes) csv_set_quote(&m_parser, kNoQuote);
  if (!format.trim) csv_set_space_func(&m_parser, isNoSpace);
  csv_set_blk_size(&m_parser, 4096);
}

LibcsvReader::~LibcsvReader() { csv_free(&m_parser); }

const Record* LibcsvReader::next() {
  while (m_next_entry == m_entries.size()) {
    if (m_failure) std::rethrow_exception(m_failure);
    if (m_ended) return nullptr;
    fillBatch();
  }
  const Entry& entry = m_entries[m_next_entry++];
  m_record = Record(entry.line, m_text.data(), m_cells.data() + entry.firstCell, entry.numCells);
  return &m_record;
}

void LibcsvReader::fillBatch() {
  dropBatch();
  const std::size_t size = m_bytes.read(m_block.data(), m_block.size());
  if (size > 0)
    parseBlock(m_block.data(), size);
  else
    finish();
}

// Forgets the records given out, and moves the record that has begun to the front.
void LibcsvReader::dropBatch() {
  m_entries.clear();
  m_next_entry = 0;
  m_text.erase(m_text.begin(), m_text.begin() + static_cast<std::ptrdiff_t>(m_open_text));
  m_cells.erase(m_cells.begin(), m_cells.begin() + static_cast<std::ptrdiff_t>(m_first_open_cell));
  for (Record::Cell& cell : m_cells) cell.offset -= m_open_text;
  m_open_text = 0;
  m_first_open_cell = 0;
}

void LibcsvReader::parseBlock(const char* block, std::size_t size) {
  const void* nul = std::memchr(block, '\0', size);
  const std::size_t usable = nul ? static_cast<std::size_t>(static_cast<const char*>(nul) - block) : size;
  if (csv_parse(&m_parser, block, usable, onCell, onRecordEnd, this) != usable) {
    if (csv_error(&m_parser) != CSV_EPARSE) throw std::bad_alloc();
    m_line += countLineEnds(textOfOpenCell());
    return fail(strayQuote(textOfOpenCell()));
  }
  if (m_failure) return;
  const std::string_view begun = textOfOpenCell();
  if (nul) {
    m_line += countLineEnds(begun);
    return fail({"NUL byte", "a byte 00 behind " + quote(begun),
                 "text (UTF-16 has such bytes: convert it, as with iconv -f UTF-16 -t UTF-8)"});
  }
  if (m_text.size() - m_open_text + begun.size() > kLongestRecord)
    fail({"record too long", fmt::format("more than {} bytes without an end", kLongestRecord),
          "a record of at most so many bytes, each opening quote closed again (--no-quotes takes quotes as text)"});
}

std::string_view LibcsvReader::textOfOpenCell() const {
  return {reinterpret_cast<const char*>(m_parser.entry_buf), m_parser.entry_pos};
}

void LibcsvReader::finish() {
  m_ended = true;
  if (m_at_end == AtEnd::dropCutRecord) return;
  if (csv_fini(&m_parser, onCell, onRecordEnd, this) != 0)
    fail({"unterminated quote", "the end of the file",
          "a closing quote for the cell that begins in this line (--no-quotes takes quotes as text)"});
}

void LibcsvReader::fail(Finding finding) {
  if (!m_failure) m_failure = std::make_exception_ptr(CsvError(m_line, cellsBegun(), std::move(finding)));
}

// No exception may pass through libcsv: it is kept as the reader's failure.
void LibcsvReader::onCell(void* bytes, std::size_t size, void* data) {
  auto& reader = *static_cast<LibcsvReader*>(data);
  try {
    reader.addCell({static_cast<const char*>(bytes), size});
  } catch (...) {
    reader.m_failure = std::current_exception();
  }
}

void LibcsvReader::onRecordEnd(int terminator, void* data) {
  auto& reader = *static_cast<LibcsvReader*>(data);
  try {
    reader.endRecord(terminator);
  } catch (...) {
    reader.m_failure = std::current_exception();
  }
}

void LibcsvReader::addCell(std::string_view cell) {
  if (cellsBegun() == 0) m_open_line = m_line;
  m_cells.push_back({m_text.size(), cell.size()});
  m_text.insert(m_text.end(), cell.begin(), cell.end());
  m_text.push_back('\0');
  m_line += countLineEnds(cell);
  m_after_return = false;
}

// `terminator` is the carriage return or line feed, or -1 at the end of the text.  A line without text ends here as well,
// and so does the second half of a carriage return with line feed.
void LibcsvReader::endRecord(int terminator) {
  if (cellsBegun() > 0) {
    m_entries.push_back({m_open_line, m_first_open_cell, cellsBegun()});
    m_first_open_cell = m_cells.size();
    m_open_text = m_text.size();
  }
  const bool ofReturn = terminator == '\n' && m_after_return;
  if (terminator >= 0 && !ofReturn) ++m_line;
  m_after_return = terminator == '\r';
}

}  // namespace zrbtool
