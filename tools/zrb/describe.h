// The verb "describe": statistics of every column.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "ZRBBuf.h"
#include "table_source.h"

namespace zrbtool {

struct LevelCount {
  std::string name;
  long long count;
};

struct ColumnSummary {
  std::string name;
  ZRBBuf::column_type type;
  long long n;   // cells that are not NA
  long long na;  // the others
  // Of doubles, of dates in days since 1970, or of the lengths of texts in bytes; NaN without a cell.
  double min;
  double max;
  double mean;
  double sd;
  std::vector<LevelCount> levels;  // of a factor, without NA: most frequent first, then by name
};

struct Description {
  std::string file;
  std::string formatText;  // see TableSource
  nlohmann::ordered_json formatJson;
  long long rows;
  std::vector<ColumnSummary> columns;
};

// Reads the table once.  Throws Failure.
Description describe(TableSource& source);

// A table of the columns, then one of the levels of each factor, at most `mostLevels` of them.
std::string descriptionText(const Description& description, long mostLevels);

// One object, with all levels.
std::string descriptionJson(const Description& description);

// The time-date of a double date, to the millisecond as far as the double tells it.
// REQUIRES: `days` is finite and within the range of time-dates.
std::string dateOfDays(double days);

}  // namespace zrbtool
