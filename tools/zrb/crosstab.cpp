#include "crosstab.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "bounds.h"
#include "failure.h"
#include "table_source.h"
#include "zrb/handle.h"
#include "zrb/number_text.h"
#include "zrb/property.h"
#include "zrb/run.h"

namespace zrbtool {

namespace {

// A level with its position in the count node's list of the column.
struct ListedLevel {
  CrossLevel level;
  long position;
  std::optional<double> number;
};

// By size where every level is a number, else by the bytes of the name; NA last.
void sortLevels(std::vector<ListedLevel>& levels) {
  const bool allNumbers = std::all_of(levels.begin(), levels.end(),
                                      [](const ListedLevel& listed) { return listed.level.isNA || listed.number; });
  std::sort(levels.begin(), levels.end(), [&](const ListedLevel& a, const ListedLevel& b) {
    if (a.level.isNA != b.level.isNA) return b.level.isNA;
    if (allNumbers && !a.level.isNA && *a.number != *b.number) return *a.number < *b.number;
    return a.level.name < b.level.name;
  });
}

std::vector<ListedLevel> listLevels(ZRBProcCount& count, long column) {
  std::vector<ListedLevel> levels;
  const long seen = zrb::get<long>(count, "col.num.levels", column);
  for (long position = 0; position < seen; ++position) {
    ListedLevel listed;
    listed.level.isNA = ZRBObj::isLevelNumNA(zrb::get<long>(count, "col.level.int", column, position)) != 0;
    listed.level.name = zrb::get<std::string>(count, "col.level.name", column, position);
    listed.level.count = zrb::get<long long>(count, "col.level.count", column, position);
    listed.position = position;
    if (!listed.level.isNA) listed.number = zrb::parseNumber(listed.level.name);
    levels.push_back(std::move(listed));
  }
  sortLevels(levels);
  return levels;
}

// Asks the count node for every combination, from the first variable to the last; what does not occur is not followed.
class CrossCollector {
public:
  CrossCollector(ZRBProcCount& count, const std::vector<std::vector<ListedLevel>>& variables, std::string file)
      : m_count(count), m_variables(variables), m_file(std::move(file)) {}

  std::vector<CrossRow> collect() {
    if (m_variables.size() == 1)
      addRow();
    else
      visit(0);
    return std::move(m_rows);
  }

private:
  // The rows that begin with m_levels.
  void visit(std::size_t position) {
    const std::vector<ListedLevel>& levels = m_variables[position];
    for (std::size_t i = 0; i < levels.size(); ++i) {
      if (countOf(position, levels[i]) == 0) continue;
      m_levels.push_back(i);
      if (position + 2 == m_variables.size())
        addRow();
      else
        visit(position + 1);
      m_levels.pop_back();
    }
  }

  void addRow() {
    CrossRow row;
    row.levels = m_levels;
    for (const ListedLevel& last : m_variables.back()) row.counts.push_back(countOf(m_variables.size() - 1, last));
    m_rows.push_back(std::move(row));
  }

  // Rows of the file with the values chosen before `position`, and this one at it.
  long long countOf(std::size_t position, const ListedLevel& listed) {
    if (++m_asked > kMostCrossCells)
      throw failureAt(ExitStatus::data, m_file, 0, "0",
                      {"cross-tabulation too large", fmt::format("more than {} cells", kMostCrossCells),
                       "columns with fewer different texts"});
    // A prefix of the variables is asked for by leaving out the rest.
    zrb::set(m_count, "cross.size", position + 1);
    zrb::set(m_count, "cross.index", position, listed.position);
    return static_cast<long long>(zrb::get<double>(m_count, "cross.count"));
  }

  ZRBProcCount& m_count;
  const std::vector<std::vector<ListedLevel>>& m_variables;
  std::string m_file;
  std::vector<std::size_t> m_levels;
  std::vector<CrossRow> m_rows;
  long long m_asked = 0;
};

}  // namespace

CrossTable crossTabulate(const std::string& file, const CsvOptions& options, const std::vector<std::string>& by) {
  TableRequest request;
  request.columns = by;
  request.asFactors = true;
  const std::unique_ptr<TableSource> source = openTable(file, options, request);
  const long variables = zrb::get<long>(source->buf(), "num.columns");
  if (variables > kMostCrossColumns)
    throw Failure(ExitStatus::usage,
                  fmt::format("zrb: --by: found {} columns, expected at most {}", variables, kMostCrossColumns));

  auto count = zrb::make<ZRBProcCount>();
  zrb::set(count, "name", "count");
  zrb::set(count, "num.rows", source->chunkRows());
  zrb::set(count, "inbuf", source->buf());
  zrb::set(count, "cross.size", variables);
  for (long i = 0; i < variables; ++i) zrb::set(count, "cross.column", i, i);
  auto pipeline = zrb::make<ZRBPipeline>();
  source->addTo(*pipeline);
  zrb::set(pipeline, "add.proc", count);
  zrb::run(*pipeline);

  CrossTable table;
  table.file = file;
  table.rows = zrb::get<long long>(count, "rows.done");
  std::vector<std::vector<ListedLevel>> levels;
  for (long i = 0; i < variables; ++i) {
    levels.push_back(listLevels(*count, i));
    CrossVariable& variable = table.variables.emplace_back();
    variable.name = zrb::get<std::string>(source->buf(), "column.name", i);
    for (const ListedLevel& listed : levels.back()) variable.levels.push_back(listed.level);
  }
  table.cells = CrossCollector(*count, levels, file).collect();
  return table;
}

}  // namespace zrbtool
