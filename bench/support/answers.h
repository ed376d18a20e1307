// A benchmark with a wrong answer ends with a failure before it prints a number.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "ZRBObj.h"

namespace bench {

[[noreturn, gnu::format(printf, 1, 2)]] inline void fail(const char* format, ...) {
  std::va_list details;
  va_start(details, format);
  std::fputs("benchmark failed: ", stderr);
  std::vfprintf(stderr, format, details);
  std::fputc('\n', stderr);
  va_end(details);
  std::exit(1);
}

inline void requireNoError(ZRBObj& object, const char* what) {
  if (object.hasError()) fail("%s: %s", what, object.getError());
}

inline void requireEqual(long long found, long long expected, const char* what) {
  if (found != expected) fail("%s: %lld, expected %lld", what, found, expected);
}

inline std::uint64_t bitsOf(double value) {
  std::uint64_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

// Bit for bit: the order of the operations is part of the result.
inline void requireSameBits(double found, double expected, const char* what) {
  if (bitsOf(found) != bitsOf(expected)) fail("%s: %.17g, expected %.17g", what, found, expected);
}

}  // namespace bench
