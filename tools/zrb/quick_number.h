// Reads the numbers that most cells hold, faster than std::from_chars.
#pragma once

#include <cstddef>
#include <string_view>

namespace zrbtool {

// So many bytes from the beginning of the text on are read.
inline constexpr std::size_t kQuickNumberBytes = 32;

// The value of a text of digits with an optional minus sign and point, the same as zrb::parseNumber() gives; only of plain
// numbers (see isPlainNumber).  NaN for all other texts, and for numbers too long or too close to the middle between
// two doubles.
// REQUIRES: kQuickNumberBytes may be read, whatever they are; the first one behind the text is no digit.
double readQuickNumber(std::string_view text);

}  // namespace zrbtool
