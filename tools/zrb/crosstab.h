// The verb "crosstab": how often the values of some columns occur together.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "csv_options.h"

namespace zrbtool {

// One value of a variable; NA is a value like any other.
struct CrossLevel {
  std::string name;  // "NA" for NA
  bool isNA;
  long long count;  // rows with this value, whatever the other variables are
};

struct CrossVariable {
  std::string name;
  std::vector<CrossLevel> levels;  // numbers by size, other texts by their bytes, NA last
};

// The rows of the table that agree in every variable but the last.
struct CrossRow {
  std::vector<std::size_t> levels;  // of the variables before the last
  std::vector<long long> counts;    // by level of the last variable
};

struct CrossTable {
  std::string file;
  long long rows;
  std::vector<CrossVariable> variables;
  std::vector<CrossRow> cells;  // in the order of the levels; without rows that hold zeros only
};

// Reads the table once.  `by` chooses the variables, as TableRequest::columns does.  Throws Failure.
CrossTable crossTabulate(const std::string& file, const CsvOptions& options, const std::vector<std::string>& by);

// With a total for every row, for every group of rows that share their first values, and for the whole.
std::string crossTableText(const CrossTable& table);

// One object: the variables with the counts of their levels, and the combinations that occur.
std::string crossTableJson(const CrossTable& table);

}  // namespace zrbtool
