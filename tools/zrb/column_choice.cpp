#include "column_choice.h"

#include <algorithm>

#include "csv_options.h"
#include "failure.h"

namespace zrbtool {

std::vector<std::size_t> chooseColumns(const TableRequest& request, const std::string& file, const CsvLayout& layout) {
  const std::vector<ColumnPlan>& columns = layout.columns;
  const auto find = [&](const std::string& name) {
    return static_cast<std::size_t>(
        std::find_if(columns.begin(), columns.end(), [&](const ColumnPlan& plan) { return plan.name == name; }) -
        columns.begin());
  };
  std::vector<std::size_t> chosen;
  const auto choose = [&](const std::string& name) {
    const std::size_t column = find(name);
    if (column == columns.size()) throw unknownColumn(file, layout, name);
    if (std::find(chosen.begin(), chosen.end(), column) != chosen.end())
      throw failureAt(ExitStatus::usage, file, layout.firstLine, name,
                      {"column named twice", quote(name), "each column once"});
    chosen.push_back(column);
  };
  for (const std::string& text : request.columns)
    if (find(text) < columns.size())
      choose(text);
    else
      for (const std::string& name : splitAtCommas(text)) choose(name);
  if (request.columns.empty())
    for (std::size_t i = 0; i < columns.size(); ++i) chosen.push_back(i);
  return chosen;
}

}  // namespace zrbtool
