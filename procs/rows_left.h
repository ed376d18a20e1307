// How many rows may a source still make?
#pragma once

#include <algorithm>

#include "base/value_codes.h"

// Of a chunk of `rows`, when `done` of `total` rows are made.  Negative when a host has counted beyond the total.
inline long rowsLeft(long rows, long long done, long long total) {
  return static_cast<long>(std::min<long long>(rows, value_codes::subtractWrapping(total, done)));
}
