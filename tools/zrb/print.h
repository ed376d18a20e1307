// The verb "print": the first rows of a table.
#pragma once

#include <string>

#include "table_source.h"

namespace zrbtool {

// The first `mostRows` rows, aligned; fewer where the table has fewer.  Reads no row behind them.  Throws Failure.
std::string firstRowsText(TableSource& source, long long mostRows);

// The same rows as the library's printf node shows them, on the C library's standard output, with a header for every
// chunk.  Throws Failure, also where that output cannot be written.
void traceFirstRows(TableSource& source, long long mostRows);

}  // namespace zrbtool
