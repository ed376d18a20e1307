// How a description is shown.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "describe.h"
#include "failure.h"
#include "json_text.h"
#include "text_table.h"
#include "zrb/column.h"
#include "zrb/iso_date.h"
#include "zrb/number_text.h"

namespace zrbtool {

namespace {

using Json = nlohmann::ordered_json;

// Means and deviations; smallest and largest values are shown in full.
std::string tenDigits(double value) { return fmt::format("{:.10g}", value); }

struct Statistics {
  std::string min, max, mean, sd;
};

Statistics statisticsText(const ColumnSummary& column) {
  if (column.type == ZRBBuf::column_factor) return {};
  if (column.n == 0) return {"NA", "NA", "NA", "NA"};
  switch (column.type) {
    case ZRBBuf::column_timeDate:
      return {dateOfDays(column.min), dateOfDays(column.max), dateOfDays(column.mean), tenDigits(column.sd) + " days"};
    case ZRBBuf::column_string:
    case ZRBBuf::column_blob:
      return {zrb::numberText(column.min) + " bytes", zrb::numberText(column.max) + " bytes",
              tenDigits(column.mean) + " bytes", tenDigits(column.sd) + " bytes"};
    default:
      return {zrb::numberText(column.min), zrb::numberText(column.max), tenDigits(column.mean), tenDigits(column.sd)};
  }
}

std::string levelsText(const ColumnSummary& column, long mostLevels) {
  TextTable table({Align::left, Align::right, Align::right});
  table.addRow({column.name, "n", "%"});
  const std::size_t shown = std::min(column.levels.size(), static_cast<std::size_t>(mostLevels));
  const auto addRow = [&](const std::string& name, long long count) {
    table.addRow({name, std::to_string(count),
                  fmt::format("{:.1f}", 100 * static_cast<double>(count) / static_cast<double>(column.n))});
  };
  for (std::size_t i = 0; i < shown; ++i) addRow(column.levels[i].name, column.levels[i].count);
  long long others = 0;
  for (std::size_t i = shown; i < column.levels.size(); ++i) others += column.levels[i].count;
  if (shown < column.levels.size())
    addRow("(" + counted(static_cast<long long>(column.levels.size() - shown), "more level") + ")", others);
  return table.render();
}

Json statisticsJson(const ColumnSummary& column) {
  Json json;
  if (column.type == ZRBBuf::column_timeDate) {
    json["min"] = column.n > 0 ? Json(dateOfDays(column.min)) : Json();
    json["max"] = column.n > 0 ? Json(dateOfDays(column.max)) : Json();
    json["mean"] = column.n > 0 ? Json(dateOfDays(column.mean)) : Json();
    json["sd_days"] = numberJson(column.sd);
  } else {
    json["min"] = numberJson(column.min);
    json["max"] = numberJson(column.max);
    json["mean"] = numberJson(column.mean);
    json["sd"] = numberJson(column.sd);
  }
  return json;
}

Json levelsJson(const ColumnSummary& column) {
  Json json = Json::array();
  for (const LevelCount& level : column.levels) json.push_back({{"level", level.name}, {"count", level.count}});
  return json;
}

Json columnJson(const ColumnSummary& column) {
  Json json;
  json["name"] = column.name;
  json["type"] = zrb::columnTypeName(column.type);
  json["n"] = column.n;
  json["na"] = column.na;
  if (column.type == ZRBBuf::column_factor)
    json["levels"] = levelsJson(column);
  else if (column.type == ZRBBuf::column_string || column.type == ZRBBuf::column_blob)
    json["length_bytes"] = statisticsJson(column);
  else
    json.update(statisticsJson(column));
  return json;
}

}  // namespace

std::string dateOfDays(double days) {
  constexpr double kLeast = -9223372036854775808.0;  // -2^63
  constexpr double kMost = 9223372036854774784.0;    // the double below 2^63
  const double ms = std::round(days * static_cast<double>(zrb::kMsPerDay));
  return zrb::isoDateText(static_cast<long long>(std::clamp(ms, kLeast, kMost)));
}

std::string descriptionText(const Description& description, long mostLevels) {
  std::string text =
      fmt::format("{}: {}, {}, {}\n\n", onOneLine(description.file), counted(description.rows, "row"),
                  counted(static_cast<long long>(description.columns.size()), "column"), description.formatText);

  TextTable table({Align::left, Align::left, Align::right, Align::right, Align::right, Align::right, Align::right,
                   Align::right, Align::right});
  table.addRow({"column", "type", "n", "NA", "levels", "min", "max", "mean", "sd"});
  for (const ColumnSummary& column : description.columns) {
    const Statistics statistics = statisticsText(column);
    const bool isFactor = column.type == ZRBBuf::column_factor;
    table.addRow({column.name, zrb::columnTypeName(column.type), std::to_string(column.n), std::to_string(column.na),
                  isFactor ? std::to_string(column.levels.size()) : "", statistics.min, statistics.max, statistics.mean,
                  statistics.sd});
  }
  text += table.render();

  for (const ColumnSummary& column : description.columns)
    if (!column.levels.empty() && mostLevels > 0) text += "\n" + levelsText(column, mostLevels);
  return text;
}

std::string descriptionJson(const Description& description) {
  Json json;
  json["file"] = description.file;
  json["format"] = description.formatJson;
  json["rows"] = description.rows;
  json["columns"] = Json::array();
  for (const ColumnSummary& column : description.columns) json["columns"].push_back(columnJson(column));
  return jsonText(json);
}

}  // namespace zrbtool
