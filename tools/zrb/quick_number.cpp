#include "quick_number.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>

namespace zrbtool {

namespace {

// A text with the digits w, k of them behind the point, is w / 10^k.  That is taken from the upper half of a product of
// two 64-bit numbers, w with its highest bit at the top and the rounded-down mantissa of 10^-k (after D. Lemire, Number
// Parsing at a Gigabyte per Second, Software: Practice and Experience 51(8), 2021).  The upper half is below the exact
// value by less than 2 units of its last place, by less than 4 once its own highest bit is at the top.  Rounding to the
// 53 bits of a double drops 11 bits of it, and is right unless these lie so close below a half that the error may hide
// the half, or at it: then the answer is none.

__extension__ using Wide = unsigned __int128;

constexpr std::ptrdiff_t kMostDigits = 19;       // fit into 64 bits
constexpr std::ptrdiff_t kMostWholeDigits = 15;  // below 2^53
constexpr std::size_t kLongestText = 1 + static_cast<std::size_t>(kMostDigits) + 1;
// Digits are taken by eights, so the last eight may begin where the text ends.
static_assert(kLongestText + 8 <= kQuickNumberBytes);

constexpr double kNotQuick = std::numeric_limits<double>::quiet_NaN();

struct Digits {
  std::uint64_t value = 0;

  // Appends the digits at `at`, at most 24 of them; returns where they end.
  const char* take(const char* at) {
    for (int eights = 0; eights < 3; ++eights) {
      std::uint64_t bytes;
      std::memcpy(&bytes, at, sizeof bytes);
      bytes ^= 0x3030303030303030;  // digits become their values
      // The lowest high bit is that of the first byte above 9; those behind it may be off by its carry.
      const std::uint64_t others = ((bytes + 0x7676767676767676) | bytes) & 0x8080808080808080;
      const int count = std::countr_zero(others) / 8;  // 8 where there are none
      if (count == 0) return at;
      value = value * kPowers[static_cast<std::size_t>(count)] + valueOfEight(bytes << (64 - 8 * count));
      at += count;
      if (count < 8) return at;
    }
    return at;
  }

  // Of eight digits, the first one in the lowest byte: pairs, fours, all.
  static std::uint64_t valueOfEight(std::uint64_t digits) {
    digits = digits * 10 + (digits >> 8);
    digits = ((digits & 0x000000FF000000FF) * (100 + (std::uint64_t{1'000'000} << 32)) +
              (digits >> 16 & 0x000000FF000000FF) * (1 + (std::uint64_t{10'000} << 32))) >>
             32;
    return digits;
  }

  static constexpr std::array<std::uint64_t, 9> kPowers = {1,       10,        100,        1'000,      10'000,
                                                           100'000, 1'000'000, 10'000'000, 100'000'000};
};

// 10^-k = (mantissa + r) 2^-exponent, 2^63 <= mantissa < 2^64, 0 <= r < 1.
struct NegativePower {
  std::uint64_t mantissa = 0;
  int exponent = 0;
};
constexpr std::array<NegativePower, kMostDigits + 1> kNegativePowers = [] {
  std::array<NegativePower, kMostDigits + 1> powers;
  std::uint64_t power = 1;
  for (std::size_t k = 1; k < powers.size(); ++k) {
    power *= 10;
    powers[k].exponent = 63 + static_cast<int>(std::bit_width(power));
    powers[k].mantissa = static_cast<std::uint64_t>((Wide{1} << powers[k].exponent) / power);
  }
  return powers;
}();

// digits / 10^decimals, rounded to the nearest double; NaN where that needs more care.
double quotient(std::uint64_t digits, std::size_t decimals) {
  if (decimals == 0 || digits == 0) return static_cast<double>(digits);  // exact: there are few digits
  const int shift = std::countl_zero(digits);
  const NegativePower& power = kNegativePowers[decimals];
  const Wide product = static_cast<Wide>(digits << shift) * power.mantissa;
  const int top = static_cast<int>(product >> 127) ^ 1;  // how far the highest bit is from the top
  const std::uint64_t upper = static_cast<std::uint64_t>(product >> (64 - top));

  constexpr std::uint64_t kHalf = 0x400;
  const std::uint64_t dropped = upper & 0x7FF;
  if (dropped >= kHalf - 4 && dropped <= kHalf) return kNotQuick;
  const std::uint64_t mantissa = (upper + kHalf) >> 11 | (upper + kHalf < kHalf ? std::uint64_t{1} << 53 : 0);
  const int exponent = 64 + 11 - shift - power.exponent - top;
  return static_cast<double>(mantissa) * std::bit_cast<double>(static_cast<std::uint64_t>(1023 + exponent) << 52);
}

}  // namespace

double readQuickNumber(std::string_view text) {
  const char* at = text.data();
  const char* const end = at + text.size();
  if (text.empty() || text.size() > kLongestText) return kNotQuick;
  const bool negative = *at == '-';  // half of the numbers may be: no branch on it
  at += negative;

  Digits digits;
  const char* const whole = at;
  at = digits.take(at);
  const std::ptrdiff_t wholeDigits = at - whole;
  std::ptrdiff_t decimals = 0;
  if (*at == '.' && at < end) {
    const char* const fraction = ++at;
    at = digits.take(at);
    decimals = at - fraction;
  }
  if (at != end || wholeDigits + decimals == 0 || wholeDigits + decimals > kMostDigits) return kNotQuick;
  if (wholeDigits > kMostWholeDigits || (*whole == '0' && wholeDigits > 1)) return kNotQuick;

  const double size = quotient(digits.value, static_cast<std::size_t>(decimals));
  return std::bit_cast<double>(std::bit_cast<std::uint64_t>(size) | static_cast<std::uint64_t>(negative) << 63);
}

}  // namespace zrbtool
