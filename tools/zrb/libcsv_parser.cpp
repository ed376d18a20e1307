#include "libcsv_parser.h"

#include <fmt/format.h>

#include <new>

#include "bounds.h"

namespace zrbtool {

namespace {

constexpr unsigned char kNoQuote = '\0';  // never in the text: add() refuses NULs

int isNoSpace(unsigned char) { return 0; }

Finding strayQuote(std::string_view cellSoFar) {
  return {"stray quote", "'\"' inside an unquoted cell or text after a closing quote, behind " + quote(cellSoFar),
          "a cell enclosed in quotes as a whole, with its own quotes doubled (--no-quotes takes quotes as text, --trim "
          "drops blanks around cells)"};
}

}  // namespace

LibcsvParser::LibcsvParser(const CsvFormat& format, LineCounter& lines) : m_lines(lines) {
  // Strict: a quote where none may be is an error.  Every line end is reported, so that lines can be counted.
  csv_init(&m_parser, CSV_STRICT | CSV_STRICT_FINI | CSV_REPALL_NL);
  csv_set_delim(&m_parser, static_cast<unsigned char>(format.delimiter));
  if (!format.quotes) csv_set_quote(&m_parser, kNoQuote);
  if (!format.trim) csv_set_space_func(&m_parser, isNoSpace);
  csv_set_blk_size(&m_parser, 4096);
}

LibcsvParser::~LibcsvParser() { csv_free(&m_parser); }

const Record* LibcsvParser::next() {
  if (m_next_entry == m_entries.size()) {
    if (m_failure) std::rethrow_exception(m_failure);
    return nullptr;
  }
  const Entry& entry = m_entries[m_next_entry++];
  m_record = Record(entry.line, m_text.data(), m_cells.data() + entry.firstCell, entry.numCells);
  return &m_record;
}

// Forgets the records given out, and moves the record that has begun to the front.
void LibcsvParser::dropBatch() {
  m_entries.clear();
  m_next_entry = 0;
  m_text.erase(m_text.begin(), m_text.begin() + static_cast<std::ptrdiff_t>(m_open_text));
  m_cells.erase(m_cells.begin(), m_cells.begin() + static_cast<std::ptrdiff_t>(m_first_open_cell));
  for (Record::Cell& cell : m_cells) cell.offset -= m_open_text;
  m_open_text = 0;
  m_first_open_cell = 0;
}

void LibcsvParser::add(std::string_view piece) {
  dropBatch();
  const std::size_t nul = piece.find('\0');
  const std::string_view usable = piece.substr(0, nul);
  m_between_lines = false;
  if (csv_parse(&m_parser, usable.data(), usable.size(), onCell, onRecordEnd, this) != usable.size()) {
    if (csv_error(&m_parser) != CSV_EPARSE) throw std::bad_alloc();
    m_lines.passCell(textOfOpenCell());
    return fail(strayQuote(textOfOpenCell()));
  }
  if (m_failure) return;
  const std::string_view begun = textOfOpenCell();
  if (nul != std::string_view::npos) {
    m_lines.passCell(begun);
    return fail({"NUL byte", "a byte 00 behind " + quote(begun),
                 "text (UTF-16 has such bytes: convert it, as with iconv -f UTF-16 -t UTF-8)"});
  }
  checkLength(begun.size());
}

// Of the record that has begun, with a cell of so many bytes as its last one.
void LibcsvParser::checkLength(std::size_t cellBytes) {
  if (m_text.size() - m_open_text + cellBytes > kLongestRecord)
    fail({"record too long", fmt::format("more than {} bytes without an end", kLongestRecord),
          "a record of at most so many bytes, each opening quote closed again (--no-quotes takes quotes as text)"});
}

std::string_view LibcsvParser::textOfOpenCell() const {
  return {reinterpret_cast<const char*>(m_parser.entry_buf), m_parser.entry_pos};
}

void LibcsvParser::finish() {
  if (m_failure) return;
  dropBatch();
  if (csv_fini(&m_parser, onCell, onRecordEnd, this) != 0)
    fail({"unterminated quote", "the end of the file",
          "a closing quote for the cell that begins in this line (--no-quotes takes quotes as text)"});
}

void LibcsvParser::fail(Finding finding) {
  if (!m_failure) m_failure = std::make_exception_ptr(CsvError(m_lines.line(), cellsBegun(), std::move(finding)));
}

// No exception may pass through libcsv: it is kept as the parser's failure.
void LibcsvParser::onCell(void* bytes, std::size_t size, void* data) {
  auto& parser = *static_cast<LibcsvParser*>(data);
  try {
    parser.addCell({static_cast<const char*>(bytes), size});
  } catch (...) {
    parser.m_failure = std::current_exception();
  }
}

void LibcsvParser::onRecordEnd(int terminator, void* data) {
  auto& parser = *static_cast<LibcsvParser*>(data);
  try {
    parser.endRecord(terminator);
  } catch (...) {
    parser.m_failure = std::current_exception();
  }
}

void LibcsvParser::addCell(std::string_view cell) {
  if (m_failure) return;
  if (cellsBegun() == 0) m_open_line = m_lines.line();
  checkLength(cell.size());
  m_cells.push_back({m_text.size(), cell.size()});
  m_text.insert(m_text.end(), cell.begin(), cell.end());
  m_text.push_back('\0');
  m_lines.passCell(cell);
  m_between_lines = false;
}

// `terminator` is the carriage return or line feed, or -1 at the end of the text.  A line without text ends here as well,
// and so does the second half of a carriage return with line feed.
void LibcsvParser::endRecord(int terminator) {
  if (m_failure) return;
  if (cellsBegun() > 0) {
    m_entries.push_back({m_open_line, m_first_open_cell, cellsBegun()});
    m_first_open_cell = m_cells.size();
    m_text.insert(m_text.end(), Record::kReadableBytes, '\0');
    m_open_text = m_text.size();
  }
  if (terminator >= 0) m_lines.endLine(static_cast<char>(terminator));
  m_between_lines = true;
}

}  // namespace zrbtool
