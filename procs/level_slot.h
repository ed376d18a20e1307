// Level numbers as places in a table: slot 0 is NA, slot s the level s - 1.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "ZRBBuf.h"
#include "base/conversions.h"
#include "base/value_codes.h"
#include "buf/cell_codec.h"

constexpr std::size_t kMaxLevelSlots = 65536;

// Of a factor's cell.  The code of NA is the last one and wraps to 0.
inline std::size_t levelSlot(const char* cell) {
  static_assert(value_codes::kLevelCodeNA == kMaxLevelSlots - 1);
  return static_cast<std::uint16_t>(__builtin_bswap16(cell::load<std::uint16_t>(cell)) + 1);
}

inline double slotValue(std::size_t slot) { return conversions::levelNumToDouble(static_cast<long>(slot) - 1); }

// Slots for the levels of a column's dictionary.
inline std::size_t levelSlots(ZRBBuf& buf, long column) {
  return std::min(static_cast<std::size_t>(buf.getNumLevels(column)) + 1, kMaxLevelSlots);
}
