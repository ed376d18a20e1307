// Finds out from the first bytes of a CSV file what the user has not said: delimiter, header, names and column types.
//
// Delimiter: of comma, semicolon, tab and pipe the one that splits the first record into several cells and the records
// that follow into as many; comma when there is none.
// Header: the first record holds the names unless one of its cells is a number or a date.  Without a header the names
// are 1, 2, 3, ...
// Types: double if every cell of the sample is a plain number (see isPlainNumber), timeDate if every one is an ISO date,
// else factor if the texts repeat (at most 20 different ones, or at most 5000 and a quarter of the cells), else string.
// Cells that are NA say nothing; a column of nothing else is a string column.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "ZRBBuf.h"
#include "csv_options.h"
#include "failure.h"
#include "record_reader.h"

namespace zrbtool {

// One column of the file.
struct ColumnPlan {
  std::string name;
  ZRBBuf::column_type type = ZRBBuf::column_string;
  bool declared = false;    // by the user, who then also wants numbers that are not plain
  bool onlyFactor = false;  // what it is used for takes no other type
  long stringBytes = 0;     // of a string column, its terminator included
};

struct CsvLayout {
  CsvFormat format;
  bool header = true;
  long long firstLine = 1;  // where the first record begins, which holds the names if there is a header
  std::vector<ColumnPlan> columns;
};

// `sample` begins with the record in line `line`; `isAll` tells that nothing follows it.
// Throws Failure: no record at all, a malformed first record, names that are empty or not unique or no UTF-8, options
// that do not fit.
CsvLayout sniffCsv(std::string_view sample, bool isAll, const CsvOptions& options, const std::string& file,
                   long long line);

// The failure of a column named on the command line that the file does not have.
Failure unknownColumn(const std::string& file, const CsvLayout& layout, const std::string& name);

// A CsvError with the file and the name of the column, where the columns are known.
Failure failureOf(const CsvError& error, const std::string& file, const std::vector<ColumnPlan>& columns);

}  // namespace zrbtool
