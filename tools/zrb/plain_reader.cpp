#include "plain_reader.h"

#include <algorithm>
#include <cstring>

#include "libcsv_reader.h"

namespace zrbtool {

namespace {

constexpr std::size_t kBlockBytes = 64 * 1024;

// Behind the bytes of a block: no marks, and what may be read behind a cell.
constexpr std::size_t kBehindBytes = std::max(CsvMarks::kStep, Record::kReadableBytes);
constexpr char kNoMark = '\xFF';  // nor is it a delimiter, which is ASCII

// A longer line is not plain.
constexpr std::ptrdiff_t kLongestPlainLine = 1 << 20;

bool isLineEnd(char c) { return c == '\n' || c == '\r'; }

}  // namespace

PlainReader::PlainReader(ByteSource& bytes, const CsvFormat& format, long long firstLine, AtEnd atEnd)
    : m_bytes(bytes),
      m_at_end(atEnd),
      m_delimiter(format.delimiter),
      m_lines(firstLine),
      m_parser(format, m_lines),
      m_block(kBlockBytes + kBehindBytes),
      m_begin(m_block.data()),
      m_end(m_begin),
      m_marks(format) {
  startMarks();
}

const Record* PlainReader::next() {
  for (;;) {
    if (m_handed_over) {
      if (const Record* record = m_parser.next()) return record;
      m_handed_over = false;
    }
    switch (m_parser.isBetweenLines() ? splitLine() : Line::notPlain) {
      case Line::record:
        return &m_record;
      case Line::withoutText:
        break;
      case Line::notPlain:
        if (m_begin < m_end) {
          handOverLine();
          break;
        }
        [[fallthrough]];
      case Line::cut:
        if (m_ended) return nullptr;
        if (m_end - m_begin < kLongestPlainLine)
          readBlock();
        else
          handOverLine();
    }
  }
}

// Splits the line at m_begin, and goes behind it if it is plain.
PlainReader::Line PlainReader::splitLine() {
  m_cells.clear();
  char* cell = m_begin;
  for (;;) {
    char* mark = m_marks.next();
    char* cellEnd = mark;
    if (mark == cell && *mark == '"') {
      ++cell;
      do cellEnd = m_marks.next();
      while (*cellEnd == m_delimiter);
      if (*cellEnd != '"') return cellEnd == m_end ? Line::cut : Line::notPlain;
      mark = m_marks.next();
      if (mark != cellEnd + 1) return Line::notPlain;
    }
    const bool isLast = isLineEnd(*mark);
    if (!isLast && *mark != m_delimiter) return mark == m_end ? Line::cut : Line::notPlain;
    if (isLast && mark == m_begin) {
      m_lines.endLine(*mark);
      m_begin = mark + 1;
      return Line::withoutText;
    }
    m_cells.push_back({static_cast<std::size_t>(cell - m_block.data()), static_cast<std::size_t>(cellEnd - cell)});
    if (isLast) {
      endRecord(mark);
      return Line::record;
    }
    cell = mark + 1;
  }
}

void PlainReader::endRecord(char* lineEnd) {
  m_record = Record(m_lines.line(), m_block.data(), m_cells.data(), m_cells.size());
  m_lines.passText();
  m_lines.endLine(*lineEnd);
  m_begin = lineEnd + 1;
  for (const Record::Cell& cell : m_cells) m_block[cell.offset + cell.bytes] = '\0';
}

// Reads on behind the line that has begun.
void PlainReader::readBlock() {
  const std::size_t begun = static_cast<std::size_t>(m_end - m_begin);
  std::memmove(m_block.data(), m_begin, begun);
  if (begun + kBehindBytes == m_block.size()) m_block.resize(2 * begun + kBehindBytes);
  m_begin = m_block.data();
  m_end = m_begin + begun;
  const std::size_t bytes = m_bytes.read(m_end, m_block.size() - kBehindBytes - begun);
  m_end += bytes;
  startMarks();
  if (bytes == 0) finish();
}

void PlainReader::startMarks() {
  std::memset(m_end, kNoMark, kBehindBytes);
  m_marks.start(m_begin, m_end);
}

void PlainReader::finish() {
  m_ended = true;
  if (m_begin < m_end) handOver(m_end);
  if (m_at_end == AtEnd::finish) m_parser.finish();
  m_handed_over = true;
}

// Up to the end of the line, or as much of it as there is.
void PlainReader::handOverLine() {
  char* const lineEnd = std::find_if(m_begin, m_end, isLineEnd);
  handOver(lineEnd < m_end ? lineEnd + 1 : m_end);
}

void PlainReader::handOver(char* end) {
  m_parser.add({m_begin, static_cast<std::size_t>(end - m_begin)});
  m_handed_over = true;
  m_begin = end;
  m_marks.start(m_begin, m_end);
}

std::unique_ptr<RecordReader> readRecords(ByteSource& bytes, const CsvFormat& format, long long firstLine,
                                          AtEnd atEnd) {
  if (format.trim) return std::make_unique<LibcsvReader>(bytes, format, firstLine, atEnd);
  return std::make_unique<PlainReader>(bytes, format, firstLine, atEnd);
}

}  // namespace zrbtool
