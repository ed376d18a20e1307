// The codes of missing values, and the units of time.
#pragma once

#include <limits>

namespace value_codes {

constexpr long kLevelNumNA = -1;
constexpr long kLevelCodeNA = 65535;           // the level code of NA in a cell: one past the last level
constexpr char kStringNA[4] = "\xEF\xBF\xBF";  // U+FFFF, a noncharacter
constexpr long long kTimeDateNA = std::numeric_limits<long long>::max();
constexpr long long kLastTimeDate = 0x7FFFFFFFFFFFFFF0;  // everything above counts as NA
constexpr double kMsPerDay = 86400000.0;

// 64-bit arithmetic that wraps around, as times near the ends of the range do.
constexpr long long addWrapping(long long a, long long b) {
  return static_cast<long long>(static_cast<unsigned long long>(a) + static_cast<unsigned long long>(b));
}
constexpr long long subtractWrapping(long long a, long long b) {
  return static_cast<long long>(static_cast<unsigned long long>(a) - static_cast<unsigned long long>(b));
}

}  // namespace value_codes
