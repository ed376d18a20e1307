// CSV text as records of cells.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "failure.h"

namespace zrbtool {

// How the text is split.
struct CsvFormat {
  char delimiter = ',';
  bool quotes = true;  // whether '"' encloses cells; else it is text like any other
  bool trim = false;   // whether blanks and tabs around a cell belong to no cell
};

// Something is wrong with the text in one cell.  Who knows the file and the column names makes a Failure of it.
class CsvError : public std::runtime_error {
public:
  CsvError(long long line, std::size_t column, Finding finding)
      : std::runtime_error(finding.what), m_line(line), m_column(column), m_finding(std::move(finding)) {}

  long long line() const { return m_line; }
  std::size_t column() const { return m_column; }  // from 0
  const Finding& finding() const { return m_finding; }

private:
  long long m_line;
  std::size_t m_column;
  Finding m_finding;
};

// What the end of the bytes means: the end of the text, or only of a sample of it, whose last record may be cut.
enum class AtEnd { finish, dropCutRecord };

// Lines that begin inside the text: line feeds, and carriage returns without one.
long long countLineEnds(std::string_view text);

// Counts the lines of a text that is split from its beginning to its end.
class LineCounter {
public:
  explicit LineCounter(long long firstLine) : m_line(firstLine) {}

  long long line() const { return m_line; }
  // Text within a line, or of a cell that holds line ends of its own.
  void passText() { m_after_return = false; }
  void passCell(std::string_view cell) {
    m_line += countLineEnds(cell);
    m_after_return = false;
  }
  // A carriage return or line feed; one of each in this order ends one line.
  void endLine(char terminator) {
    const bool ofReturn = terminator == '\n' && m_after_return;
    if (!ofReturn) ++m_line;
    m_after_return = terminator == '\r';
  }

private:
  long long m_line;
  bool m_after_return = false;  // the last thing seen was a carriage return that ended a line
};

// One record, borrowed from its reader.
class Record {
public:
  // So many bytes from the beginning of a cell on may be read, whatever they are.
  static constexpr std::size_t kReadableBytes = 32;

  // Where a cell lies behind `base`; the byte after it is a NUL.
  struct Cell {
    std::size_t offset;
    std::size_t bytes;
  };

  Record() = default;
  Record(long long line, const char* base, const Cell* cells, std::size_t numCells)
      : m_line(line), m_base(base), m_cells(cells), m_num_cells(numCells) {}

  std::size_t size() const { return m_num_cells; }
  // Without quotes and, inside, with single quotes for doubled ones.  Terminated: data()[size()] is a NUL, and there is no
  // other one in it.
  std::string_view operator[](std::size_t cell) const { return {m_base + m_cells[cell].offset, m_cells[cell].bytes}; }
  long long line() const { return m_line; }  // where the record begins, from 1
  // Where a cell begins: cells before it may hold line ends.
  long long lineOf(std::size_t cell) const;

private:
  long long m_line = 0;
  const char* m_base = nullptr;
  const Cell* m_cells = nullptr;
  std::size_t m_num_cells = 0;
};

// Splits text into records, one after the other.  Lines without any text are no records.
class RecordReader {
public:
  virtual ~RecordReader() = default;
  // The next record, valid until the next call; null at the end.  Throws CsvError where the text is malformed, and
  // Failure where it cannot be read.
  virtual const Record* next() = 0;
  // The line reached, for what has no record: the end of the text, a failure to read.
  virtual long long line() const = 0;
};

}  // namespace zrbtool
