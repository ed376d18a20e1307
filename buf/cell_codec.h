// The bytes of one cell.  Cells start at any address, hence memcpy: one unaligned move, and no undefined behaviour.
#pragma once

#include <cstring>

#include "base/value_codes.h"

namespace cell {

template <class Value>
Value load(const char* bytes) {
  Value value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

template <class Value>
void store(char* bytes, Value value) {
  std::memcpy(bytes, &value, sizeof value);
}

// A level number is stored high byte first; 0xFFFF is NA.
inline long loadLevelNum(const char* bytes) {
  const long code = static_cast<unsigned char>(bytes[0]) * 256L + static_cast<unsigned char>(bytes[1]);
  return code < value_codes::kLevelCodeNA ? code : value_codes::kLevelNumNA;
}
inline void storeLevelNum(char* bytes, long level) {
  const unsigned long code = static_cast<unsigned long>(level < 0 ? value_codes::kLevelCodeNA : level);
  bytes[0] = static_cast<char>(code >> 8 & 0xFF);
  bytes[1] = static_cast<char>(code & 0xFF);
}

// The first `textBytes` bytes of a text, the rest of the cell zeroed; `textBytes` is below `width`.  The text may lie in
// the cell itself.
inline void storeText(char* bytes, long width, const char* text, std::size_t textBytes) {
  std::memmove(bytes, text, textBytes);
  std::memset(bytes + textBytes, 0, static_cast<std::size_t>(width) - textBytes);
}

// The two fields of a blob cell.
constexpr long kBlobOffsetAt = 0;
constexpr long kBlobLengthAt = 8;
constexpr long long kBlobNA = -1;

inline void reverse8(char* bytes) { store(bytes, __builtin_bswap64(load<unsigned long>(bytes))); }

}  // namespace cell
