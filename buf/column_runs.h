// Which columns lie side by side in a row, so that a kernel may take them together?
#pragma once

#include <vector>

#include "buf/buf_access.h"

// Columns of one type whose cells follow one another without gaps.
struct ColumnRun {
  ZRBBuf::column_type type;
  long firstColumn;
  long columns;
  long offset;  // of the first cell in the row
};

// Every column of the buffer, in column order.  Empty also when cells overlap or leave the row, as they may after a change
// of the schema without a new layout: then the order of stores is part of the result, and no kernel may change it.
std::vector<ColumnRun> columnRuns(ZRBBuf& buf);
