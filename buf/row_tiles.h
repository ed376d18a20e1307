// Rows a few at a time, so that they stay in the first-level cache while several kernels pass over them.
#pragma once

#include <algorithm>

constexpr long kTileBytes = 16384;  // half of the cache

// Splits rows 0..rows - 1 into tiles and calls visit(firstRow, rowsOfTile) for each.
template <class Visit>
void forEachTile(long rows, long rowBytes, Visit visit) {
  const long tileRows = std::max(kTileBytes / std::max(rowBytes, 1L), 1L);
  for (long row = 0; row < rows; row += tileRows) visit(row, std::min(tileRows, rows - row));
}
