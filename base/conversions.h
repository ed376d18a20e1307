// The conversions between cell types that involve no text, inlined for kernels; ZRBObj's functions of similar names are
// these.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include "base/value_codes.h"

namespace conversions {

// A signalling NaN: loads and stores keep its bits, arithmetic does not.
inline constexpr double kDoubleNA = std::bit_cast<double>(std::uint64_t{0x7FF000017FF00001});

inline double levelNumToDouble(long level) { return level < 0 ? kDoubleNA : static_cast<double>(level); }

// Deliberate: a double outside the level numbers becomes level 0, not NA.
inline long doubleToLevelNum(double value) {
  if (std::isnan(value)) return value_codes::kLevelNumNA;
  if (value < 0.0 || value >= static_cast<double>(value_codes::kLevelCodeNA)) return 0;
  return static_cast<long>(value);
}

inline bool isTimeDateNA(long long timeMs) { return timeMs > value_codes::kLastTimeDate; }

inline long long doubleToTimeDate(double days, long long epochMs) {
  if (std::isnan(days)) return value_codes::kTimeDateNA;
  const double ms = days * value_codes::kMsPerDay;
  // What 64 bits cannot hold becomes the lowest value, as the processor's own conversion gives it.
  const bool fits = ms >= -0x1p63 && ms < 0x1p63;
  const long long wholeMs = fits ? static_cast<long long>(ms) : std::numeric_limits<long long>::min();
  return value_codes::addWrapping(epochMs, wholeMs);
}

inline double timeDateToDouble(long long timeMs, long long epochMs) {
  if (isTimeDateNA(timeMs)) return kDoubleNA;
  return static_cast<double>(value_codes::subtractWrapping(timeMs, epochMs)) / value_codes::kMsPerDay;
}

}  // namespace conversions
