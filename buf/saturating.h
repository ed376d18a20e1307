// Sizes that stay at the largest number instead of wrapping around, so that a limit check still sees them.
#pragma once

#include <limits>

inline long addSaturating(long a, long b) {
  long sum;
  return __builtin_add_overflow(a, b, &sum) ? std::numeric_limits<long>::max() : sum;
}

inline long multiplySaturating(long a, long b) {
  long product;
  if (!__builtin_mul_overflow(a, b, &product)) return product;
  return (a < 0) == (b < 0) ? std::numeric_limits<long>::max() : std::numeric_limits<long>::min();
}
