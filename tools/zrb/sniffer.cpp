#include "sniffer.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <unordered_map>
#include <unordered_set>

#include "bounds.h"
#include "byte_source.h"
#include "cell_text.h"
#include "plain_reader.h"
#include "utf8.h"
#include "zrb/iso_date.h"

namespace zrbtool {

namespace {

// How many bytes of the sample choose the delimiter.
constexpr std::size_t kDelimiterSample = 64 * 1024;

// A text column with more different texts is a string column, unless they are few.
constexpr std::size_t kAlwaysFew = 20;
constexpr std::size_t kNeverFew = 5000;

// Width of a string column, unless the sample has longer texts: room for four times the longest.
constexpr std::size_t kUsualStringBytes = 256;

// A reader over part of a sample.
class SampleReader {
public:
  SampleReader(std::string_view sample, bool isAll, const CsvFormat& format, long long line)
      : m_bytes(sample), m_reader(readRecords(m_bytes, format, line, isAll ? AtEnd::finish : AtEnd::dropCutRecord)) {}
  const Record* next() { return m_reader->next(); }

private:
  MemoryBytes m_bytes;
  std::unique_ptr<RecordReader> m_reader;
};

// ---- Delimiter ----

struct Split {
  std::size_t cells = 0;  // of the first record
  long records = 0;
  long agreeing = 0;  // records with as many cells
  bool malformed = false;

  bool isBetterThan(const Split& other) const {
    if ((cells > 1) != (other.cells > 1)) return cells > 1;
    if (malformed != other.malformed) return !malformed;
    // agreeing / records, compared without dividing
    const long long here = static_cast<long long>(agreeing) * other.records;
    const long long there = static_cast<long long>(other.agreeing) * records;
    if (here != there) return here > there;
    return cells > other.cells;
  }
};

Split trySplit(std::string_view sample, bool isAll, const CsvFormat& format) {
  Split split;
  try {
    SampleReader reader(sample, isAll, format, 1);
    while (const Record* record = reader.next()) {
      if (split.records == 0) split.cells = record->size();
      ++split.records;
      split.agreeing += record->size() == split.cells;
    }
  } catch (const CsvError&) {
    split.malformed = true;
  }
  return split;
}

char sniffDelimiter(std::string_view sample, bool isAll, CsvFormat format) {
  if (sample.size() > kDelimiterSample) {
    sample = sample.substr(0, kDelimiterSample);
    isAll = false;
  }
  char best = ',';
  Split bestSplit;
  for (const char delimiter : {',', ';', '\t', '|'}) {
    format.delimiter = delimiter;
    const Split split = trySplit(sample, isAll, format);
    if (delimiter == ',' || split.isBetterThan(bestSplit)) {
      best = delimiter;
      bestSplit = split;
    }
  }
  return best;
}

// ---- Header and names ----

bool looksLikeData(std::string_view cell) {
  double number;
  return readNumber(cell, number) != NumberKind::none || zrb::parseIsoDate(trimmed(cell));
}

bool sniffHeader(const Record& first) {
  for (std::size_t i = 0; i < first.size(); ++i)
    if (looksLikeData(first[i])) return false;
  return true;
}

constexpr const char* kNameHints = "(--names gives other names, --no-header takes the line as data)";

std::vector<std::string> namesOfHeader(const Record& header) {
  std::unordered_map<std::string, std::size_t> seen;
  std::vector<std::string> names;
  for (std::size_t i = 0; i < header.size(); ++i) {
    const std::string_view name = header[i];
    if (name.empty())
      throw CsvError(header.lineOf(i), i,
                     {"column without a name", "an empty cell", fmt::format("a name {}", kNameHints)});
    if (!isUtf8(name))
      throw CsvError(
          header.lineOf(i), i,
          {"name is no UTF-8", quote(name), "UTF-8 text (convert the file, as with iconv -f LATIN1 -t UTF-8)"});
    const auto [first, isNew] = seen.emplace(name, i);
    if (!isNew)
      throw CsvError(header.lineOf(i), i,
                     {"column name used twice", fmt::format("{} as in column {}", quote(name), first->second + 1),
                      fmt::format("names that differ {}", kNameHints)});
    names.emplace_back(name);
  }
  return names;
}

std::vector<std::string> columnNumbers(std::size_t columns) {
  std::vector<std::string> names;
  for (std::size_t i = 1; i <= columns; ++i) names.push_back(std::to_string(i));
  return names;
}

std::vector<std::string> givenNames(const CsvOptions& options, const Record& first, const std::string& file) {
  const std::vector<std::string>& names = *options.names;
  if (names.size() != first.size())
    throw failureAt(ExitStatus::usage, file, first.line(), "0",
                    {"--names does not fit the file", counted(static_cast<long long>(names.size()), "name"),
                     fmt::format("{}, one for each cell of this line", first.size())});
  for (auto name = names.begin(); name != names.end(); ++name)
    if (name->empty() || !isUtf8(*name) || std::find(names.begin(), name, *name) != name)
      throw failureAt(ExitStatus::usage, file, first.line(), std::to_string(name - names.begin() + 1),
                      {"--names does not fit the file", quote(*name), "UTF-8 names that are not empty and differ"});
  return names;
}

// ---- Types ----

// Gathers what the cells of one column can be.
class ColumnSniffer {
public:
  void see(std::string_view cell, const NaTexts& na) {
    if (na.contains(cell)) return;
    ++m_texts;
    m_longest = std::max(m_longest, cell.size());
    if (m_different.size() <= kNeverFew) m_different.emplace(cell);
    const std::string_view value = trimmed(cell);
    if (na.contains(value)) return;  // NA to a number or date, a text of its own to a text column
    m_any_value = true;
    double number;
    m_maybe_number = m_maybe_number && readNumber(value, number) == NumberKind::plain;
    m_maybe_date = m_maybe_date && zrb::parseIsoDate(value);
  }

  ZRBBuf::column_type type() const {
    if (m_any_value && m_maybe_number) return ZRBBuf::column_double;
    if (m_any_value && m_maybe_date) return ZRBBuf::column_timeDate;
    const std::size_t most = std::clamp(m_texts / 4, kAlwaysFew, kNeverFew);
    return m_texts > 0 && m_different.size() <= most ? ZRBBuf::column_factor : ZRBBuf::column_string;
  }

  long stringBytes() const {
    const std::size_t bytes = std::max(kUsualStringBytes, 4 * m_longest + 1);
    return static_cast<long>(std::min(bytes, static_cast<std::size_t>(kMostStringBytes)));
  }

private:
  std::size_t m_texts = 0;
  std::size_t m_longest = 0;
  std::unordered_set<std::string> m_different;
  bool m_any_value = false;
  bool m_maybe_number = true;
  bool m_maybe_date = true;
};

void sniffTypes(SampleReader& reader, const CsvOptions& options, std::vector<ColumnPlan>& columns) {
  const NaTexts na(options.na);
  std::vector<ColumnSniffer> sniffers(columns.size());
  try {
    while (const Record* record = reader.next()) {
      if (record->size() > columns.size()) continue;  // found again, and reported, when the file is read
      for (std::size_t i = 0; i < record->size(); ++i) sniffers[i].see((*record)[i], na);
    }
  } catch (const CsvError&) {
    // Likewise.
  }
  for (std::size_t i = 0; i < columns.size(); ++i) {
    columns[i].type = sniffers[i].type();
    columns[i].stringBytes = sniffers[i].stringBytes();
  }
}

void applyDeclaredTypes(const CsvOptions& options, const std::string& file, CsvLayout& layout) {
  for (const DeclaredType& declared : options.types) {
    const auto column = std::find_if(layout.columns.begin(), layout.columns.end(),
                                     [&](const ColumnPlan& plan) { return plan.name == declared.column; });
    if (column == layout.columns.end()) throw unknownColumn(file, layout, declared.column);
    column->type = declared.type;
    column->declared = true;
    if (declared.stringBytes > 0) column->stringBytes = declared.stringBytes;
  }
}

}  // namespace

CsvLayout sniffCsv(std::string_view sample, bool isAll, const CsvOptions& options, const std::string& file,
                   long long line) try {
  CsvLayout layout;
  layout.format.quotes = options.quotes;
  layout.format.trim = options.trim;
  layout.format.delimiter = options.delimiter ? *options.delimiter : sniffDelimiter(sample, isAll, layout.format);

  SampleReader reader(sample, isAll, layout.format, line);
  const Record* first = reader.next();
  if (!first)
    throw failureAt(ExitStatus::data, file, line, "0",
                    {"no table", isAll ? "no text" : fmt::format("{} bytes without a whole record", sample.size()),
                     "a header line or a row"});
  layout.header = options.header ? *options.header : sniffHeader(*first);
  layout.firstLine = first->line();
  const std::vector<std::string> names = options.names   ? givenNames(options, *first, file)
                                         : layout.header ? namesOfHeader(*first)
                                                         : columnNumbers(first->size());
  for (const std::string& name : names) layout.columns.emplace_back().name = name;

  SampleReader rows(sample, isAll, layout.format, line);
  if (layout.header) rows.next();
  sniffTypes(rows, options, layout.columns);
  applyDeclaredTypes(options, file, layout);
  return layout;
} catch (const CsvError& error) {
  throw failureOf(error, file, {});
}

Failure unknownColumn(const std::string& file, const CsvLayout& layout, const std::string& name) {
  std::vector<std::string> names;
  for (const ColumnPlan& column : layout.columns) names.push_back(column.name);
  return failureAt(ExitStatus::usage, file, layout.firstLine, name, {"unknown column", quote(name), oneOf(names)});
}

Failure failureOf(const CsvError& error, const std::string& file, const std::vector<ColumnPlan>& columns) {
  const std::string column =
      error.column() < columns.size() ? columns[error.column()].name : std::to_string(error.column() + 1);
  return failureAt(ExitStatus::data, file, error.line(), column, error.finding());
}

}  // namespace zrbtool
