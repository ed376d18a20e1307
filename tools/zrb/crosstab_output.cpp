// How a cross-tabulation is shown.
#include <fmt/format.h>

#include <nlohmann/json.hpp>
#include <numeric>

#include "crosstab.h"
#include "failure.h"
#include "json_text.h"
#include "text_table.h"

namespace zrbtool {

namespace {

using Json = nlohmann::ordered_json;
using Counts = std::vector<long long>;

constexpr const char* kTotal = "Total";

void add(Counts& sum, const Counts& counts) {
  for (std::size_t i = 0; i < sum.size(); ++i) sum[i] += counts[i];
}

// One variable: a line per level.
std::string oneWayText(const CrossTable& table) {
  TextTable text({Align::left, Align::right});
  text.addRow({table.variables[0].name, "n"});
  for (const CrossLevel& level : table.variables[0].levels) text.addRow({level.name, std::to_string(level.count)});
  text.addRow({kTotal, std::to_string(table.rows)});
  return text.render();
}

// Several: a line per combination of all variables but the last, whose levels are the columns.
class GridText {
public:
  explicit GridText(const CrossTable& table)
      : m_table(table), m_heads(table.variables.size() - 1), m_text(alignments(table)) {
    m_text.addRow(heading());
    const std::size_t levels = table.variables.back().levels.size();
    m_sums.assign(m_heads, Counts(levels, 0));
  }

  std::string render() {
    const std::vector<CrossRow>& rows = m_table.cells;
    for (std::size_t i = 0; i < rows.size(); ++i) {
      addLine(names(rows[i], m_heads), rows[i].counts);
      for (Counts& sum : m_sums) add(sum, rows[i].counts);
      // A group ends where one of its first values changes: the innermost first.
      for (std::size_t head = m_heads - 1; head > 0; --head)
        if (i + 1 == rows.size() || !sameFirst(rows[i], rows[i + 1], head)) addTotal(names(rows[i], head), head);
    }
    addTotal({}, 0);
    return m_text.render();
  }

private:
  static std::vector<Align> alignments(const CrossTable& table) {
    std::vector<Align> columns(table.variables.size() - 1, Align::left);
    columns.insert(columns.end(), table.variables.back().levels.size() + 1, Align::right);
    return columns;
  }

  std::vector<std::string> heading() const {
    std::vector<std::string> cells;
    for (std::size_t i = 0; i < m_heads; ++i) cells.push_back(m_table.variables[i].name);
    for (const CrossLevel& level : m_table.variables.back().levels) cells.push_back(level.name);
    cells.push_back(kTotal);
    return cells;
  }

  static bool sameFirst(const CrossRow& a, const CrossRow& b, std::size_t values) {
    return std::equal(a.levels.begin(), a.levels.begin() + static_cast<std::ptrdiff_t>(values), b.levels.begin());
  }

  std::vector<std::string> names(const CrossRow& row, std::size_t values) const {
    std::vector<std::string> cells;
    for (std::size_t i = 0; i < values; ++i) cells.push_back(m_table.variables[i].levels[row.levels[i]].name);
    return cells;
  }

  void addLine(std::vector<std::string> cells, const Counts& counts) {
    cells.resize(m_heads);
    for (const long long count : counts) cells.push_back(std::to_string(count));
    cells.push_back(std::to_string(std::accumulate(counts.begin(), counts.end(), 0LL)));
    m_text.addRow(std::move(cells));
  }

  // The sum of the rows that share their first `head` values.
  void addTotal(std::vector<std::string> cells, std::size_t head) {
    cells.push_back(kTotal);
    addLine(std::move(cells), m_sums[head]);
    m_sums[head].assign(m_sums[head].size(), 0);
  }

  const CrossTable& m_table;
  std::size_t m_heads;
  TextTable m_text;
  std::vector<Counts> m_sums;  // by number of first values shared; 0 is the whole
};

Json levelJson(const CrossLevel& level) { return level.isNA ? Json() : Json(level.name); }

}  // namespace

std::string crossTableText(const CrossTable& table) {
  std::string text = fmt::format("{}: {} by ", onOneLine(table.file), counted(table.rows, "row"));
  for (std::size_t i = 0; i < table.variables.size(); ++i)
    text += (i > 0 ? ", " : "") + onOneLine(table.variables[i].name);
  text += "\n\n";
  return text + (table.variables.size() == 1 ? oneWayText(table) : GridText(table).render());
}

std::string crossTableJson(const CrossTable& table) {
  Json json;
  json["file"] = table.file;
  json["rows"] = table.rows;
  json["variables"] = Json::array();
  for (const CrossVariable& variable : table.variables) {
    Json levels = Json::array();
    for (const CrossLevel& level : variable.levels)
      levels.push_back({{"level", levelJson(level)}, {"count", level.count}});
    json["variables"].push_back({{"name", variable.name}, {"levels", levels}});
  }
  json["cells"] = Json::array();
  for (const CrossRow& row : table.cells) {
    for (std::size_t last = 0; last < row.counts.size(); ++last) {
      if (row.counts[last] == 0) continue;
      Json levels = Json::array();
      for (std::size_t i = 0; i < row.levels.size(); ++i)
        levels.push_back(levelJson(table.variables[i].levels[row.levels[i]]));
      levels.push_back(levelJson(table.variables.back().levels[last]));
      json["cells"].push_back({{"levels", levels}, {"count", row.counts[last]}});
    }
  }
  return jsonText(json);
}

}  // namespace zrbtool
