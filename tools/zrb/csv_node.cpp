#include "csv_node.h"

#include <fmt/format.h>

#include <utility>

#include "bounds.h"
#include "utf8.h"
#include "zrb/iso_date.h"

namespace zrbtool {

namespace {

// What a cell is, where it is not what it has to be; writeRecord() adds the place.
struct BadCell {
  Finding finding;
};

std::string typesHint(const ColumnPlan& plan, std::string_view type) {
  return optionText("--types", fmt::format("{}={}", plan.name, type));
}

std::string naHint(std::string_view cell) {
  constexpr std::size_t kLongestHint = 20;
  return cell.size() > kLongestHint ? "" : ", " + optionText("--na", cell) + " makes this one NA";
}

// Every text goes into the library as UTF-8 with an end; one text stands for NA there.
void checkText(std::string_view cell) {
  if (!isUtf8(cell))
    throw BadCell{{"text is no UTF-8", quote(cell), "UTF-8 text (convert the file, as with iconv -f LATIN1 -t UTF-8)"}};
  if (cell == ZRBObj::getStringNA())
    throw BadCell{{"text cannot be kept", "the character U+FFFF alone", "other text (--na takes it as NA)"}};
}

}  // namespace

CsvNode::CsvNode(std::string file, CsvLayout layout, std::vector<std::size_t> columns, const CsvOptions& options,
                 RecordReader& reader)
    : m_file(std::move(file)),
      m_layout(std::move(layout)),
      m_columns(std::move(columns)),
      m_options(options),
      m_na(options.na),
      m_reader(reader) {}

void CsvNode::prepare() {
  m_writer = &output();
  m_buf = m_writer->getBuf();
  m_quick.emplace(*m_writer, m_options);
}

long CsvNode::work(long rows) try {
  for (long row = 0; row < rows; ++row) {
    const Record* record = m_reader.next();
    if (!record) return row;
    writeRecord(row, *record);
  }
  return rows;
} catch (const CsvError& error) {
  throw failureOf(error, m_file, m_layout.columns);
}

void CsvNode::writeRecord(long row, const Record& record) {
  const std::size_t expected = m_layout.columns.size();
  if (record.size() != expected && !(m_options.fill && record.size() < expected)) {
    const bool tooLong = record.size() > expected;
    const std::size_t at = tooLong ? expected : record.size();
    throw CsvError(record.lineOf(tooLong ? expected : record.size() - 1), at,
                   {tooLong ? "row too long" : "row too short", counted(static_cast<long long>(record.size()), "cell"),
                    fmt::format("{} as in line {} ({}--delimiter, --skip and --no-quotes change how lines are split)",
                                expected, m_layout.firstLine, tooLong ? "" : "--fill takes missing cells as NA, ")});
  }
  m_quick->startRow(row);
  for (std::size_t i = 0; i < m_columns.size(); ++i) {
    const std::size_t column = m_columns[i];
    const std::string_view cell = column < record.size() ? record[column] : std::string_view("", 0);
    if (m_quick->write(i, cell)) continue;
    try {
      writeCell(row, static_cast<long>(i), m_layout.columns[column], cell);
    } catch (BadCell& bad) {
      throw CsvError(record.lineOf(column), column, std::move(bad.finding));
    }
  }
  if (m_observer) m_observer->onRecord(row, record, *m_writer);
}

void CsvNode::writeCell(long row, long column, const ColumnPlan& plan, std::string_view cell) {
  switch (plan.type) {
    case ZRBBuf::column_factor:
      return writeLevel(row, column, plan, cell);
    case ZRBBuf::column_string:
      return writeText(row, column, plan, cell);
    case ZRBBuf::column_timeDate:
      return writeDate(row, column, plan, cell);
    default:
      return writeNumber(row, column, plan, cell);
  }
}

void CsvNode::writeNumber(long row, long column, const ColumnPlan& plan, std::string_view cell) {
  const std::string_view text = trimmed(cell);
  if (m_na.contains(text)) return m_writer->setDouble(row, column, ZRBObj::getDoubleNA());
  double value;
  const NumberKind kind = readNumber(text, value);
  if (kind == NumberKind::plain || (kind == NumberKind::notPlain && plan.declared))
    return m_writer->setDouble(row, column, value);
  if (kind == NumberKind::notPlain)
    throw BadCell{{"more than a number", quote(cell),
                   fmt::format("a plain number like those before ({} keeps the text, {} takes the value)",
                               typesHint(plan, "string"), typesHint(plan, "double"))}};
  throw BadCell{{"not a number", quote(cell),
                 fmt::format("a number ({} keeps texts{})", typesHint(plan, "factor"), naHint(text))}};
}

void CsvNode::writeDate(long row, long column, const ColumnPlan& plan, std::string_view cell) {
  const std::string_view text = trimmed(cell);
  if (m_na.contains(text)) return m_writer->setTimeDate(row, column, ZRBObj::getTimeDateNA());
  const auto timeMs = zrb::parseIsoDate(text);
  if (timeMs) return m_writer->setTimeDate(row, column, *timeMs);
  throw BadCell{{"not a date", quote(cell),
                 fmt::format("a date like 2026-11-21 or 2026-11-21T15:04:05.123 ({} keeps texts{})",
                             typesHint(plan, "factor"), naHint(text))}};
}

void CsvNode::writeLevel(long row, long column, const ColumnPlan& plan, std::string_view cell) {
  if (m_na.contains(cell)) return m_writer->setLevelNum(row, column, ZRBObj::getLevelNumNA());
  checkText(cell);
  const long level = m_buf->mapStringToLevelNum(column, cell.data());
  if (ZRBObj::isLevelNumNA(level))
    throw BadCell{{"too many levels", fmt::format("{} as the {}th text", quote(cell), kMostLevels + 1),
                   fmt::format("at most {} different texts", kMostLevels) +
                       (plan.onlyFactor ? "" : fmt::format(" ({} has no such limit)", typesHint(plan, "string")))}};
  m_writer->setLevelNum(row, column, level);
  m_quick->rememberLevel(static_cast<std::size_t>(column), cell, level);
}

void CsvNode::writeText(long row, long column, const ColumnPlan& plan, std::string_view cell) {
  if (m_na.contains(cell)) return m_writer->setString(row, column, ZRBObj::getStringNA());
  checkText(cell);
  if (cell.size() >= static_cast<std::size_t>(plan.stringBytes)) {
    const bool fitsString = cell.size() < static_cast<std::size_t>(kMostStringBytes);
    throw BadCell{{"text too long", counted(static_cast<long long>(cell.size()), "byte"),
                   fmt::format("at most {} ({} makes room)", plan.stringBytes - 1,
                               typesHint(plan, fitsString ? fmt::format("string:{}", cell.size() + 1) : "factor"))}};
  }
  m_writer->setString(row, column, cell.data());
}

}  // namespace zrbtool
