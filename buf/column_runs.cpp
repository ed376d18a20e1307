// Which columns lie side by side in a row?
#include "buf/column_runs.h"

std::vector<ColumnRun> columnRuns(ZRBBuf& buf) {
  const BufAccess access(buf);
  const long columns = buf.getNumColumns();
  std::vector<ColumnRun> runs;
  long end = 0;  // of the cells so far
  for (long column = 0; column < columns; ++column) {
    const BufAccess::Column found = access.column(column);
    if (found.offset < end) return {};
    if (!runs.empty() && runs.back().type == found.type && found.offset == end)
      ++runs.back().columns;
    else
      runs.push_back({found.type, column, 1, found.offset});
    end = found.offset + buf.getColumnWidthBytes(column);
  }
  if (end > access.rowBytes()) return {};
  return runs;
}
