// Numbers as text: strict reading, shortest writing.
#pragma once

#include <charconv>
#include <cmath>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace zrb {

// Room that formatNumber() needs at most.
inline constexpr std::size_t kNumberTextBytes = 32;

// The decimal number that the whole text is: digits with an optional sign, point and exponent, rounded to the nearest
// double.  Empty for anything else (blanks, hexadecimal numbers, "inf", "nan", "1,5") and for numbers beyond the range
// of a double at either end.
inline std::optional<double> parseNumber(std::string_view text) {
  const bool plus = !text.empty() && text.front() == '+';
  if (plus) text.remove_prefix(1);
  const std::size_t first = !text.empty() && text.front() == '-' && !plus ? 1 : 0;
  // Digits or a point after the sign rule out "inf" and "nan", which from_chars reads as well.
  if (first >= text.size() || !((text[first] >= '0' && text[first] <= '9') || text[first] == '.')) return std::nullopt;
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

// Writes the fewest digits that read back as the same double, and returns the end of the text; not terminated.  Plain
// notation from 0.0001 up to 2^53 (so every exact integer looks like one), elsewhere the shorter of plain and exponent
// notation; "inf", "-inf", "nan".
// REQUIRES: room for kNumberTextBytes.
inline char* formatNumber(double value, char* text) {
  const double size = std::fabs(value);
  const bool plain = value == 0 || (size >= 1e-4 && size <= 9007199254740992.0);
  const auto result = plain ? std::to_chars(text, text + kNumberTextBytes, value, std::chars_format::fixed)
                            : std::to_chars(text, text + kNumberTextBytes, value);
  return result.ptr;
}

inline std::string numberText(double value) {
  char text[kNumberTextBytes];
  return std::string(text, formatNumber(value, text));
}

}  // namespace zrb
