// ZRBObj: the missing value (NA) of every cell type and what counts as one.
#include <climits>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "zrbbase.h"

namespace {

std::uint64_t bitsOf(double value) {
  std::uint64_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

double withBits(std::uint64_t bits) {
  double value;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

// The bytes in an allocation of exactly their size, so that a read beyond them is found.
int isStringNAOf(std::initializer_list<int> bytes) {
  const auto text = std::make_unique<char[]>(bytes.size());
  std::size_t i = 0;
  for (const int byte : bytes) text[i++] = static_cast<char>(byte);
  return ZRBObj::isStringNA(text.get());
}

TEST(ObjMissingValues, the_double_NA_is_one_bit_pattern) {
  EXPECT_EQ(bitsOf(ZRBObj::getDoubleNA()), 0x7FF000017FF00001u);
  EXPECT_EQ(bitsOf(ZRBObj::getDoubleNA()), 0x7FF000017FF00001u) << "and again";
  EXPECT_EQ(bitsOf(ZRBObj::getDoubleNaN()), 0x7FF000017FF00001u);
  const double na = ZRBObj::getDoubleNA();
  unsigned char bytes[8];
  std::memcpy(bytes, &na, sizeof bytes);
  const unsigned char expected[8] = {0x01, 0x00, 0xF0, 0x7F, 0x01, 0x00, 0xF0, 0x7F};
  EXPECT_EQ(std::memcmp(bytes, expected, sizeof bytes), 0);
}

TEST(ObjMissingValues, every_NaN_counts_as_the_double_NA) {
  for (const std::uint64_t bits :
       {0x7FF000017FF00001u,  // the NA itself
        0x7FF8000000000000u,  // the default quiet NaN
        0xFFF8000000000000u,  // negative
        0x7FF0000000000001u,  // the least signalling one
        0xFFF0000000000001u, 0x7FFFFFFFFFFFFFFFu, 0xFFFFFFFFFFFFFFFFu, 0x7FF800017FF00001u}) {
    EXPECT_EQ(ZRBObj::isDoubleNA(withBits(bits)), 1) << std::hex << bits;
    EXPECT_EQ(ZRBObj::isDoubleNaN(withBits(bits)), 1) << std::hex << bits;
  }
}

TEST(ObjMissingValues, no_other_double_is_NA) {
  using Limits = std::numeric_limits<double>;
  for (const double value : {0.0, -0.0, 1.0, -1.0, Limits::infinity(), -Limits::infinity(), Limits::max(),
                             Limits::lowest(), Limits::min(), Limits::denorm_min()}) {
    EXPECT_EQ(ZRBObj::isDoubleNA(value), 0) << value;
    EXPECT_EQ(ZRBObj::isDoubleNaN(value), 0) << value;
  }
}

TEST(ObjMissingValues, every_negative_level_number_is_NA) {
  EXPECT_EQ(ZRBObj::getLevelNumNA(), -1);
  for (const long level : {-1L, -2L, -5L, -65535L, -4294967296L, LONG_MIN})
    EXPECT_EQ(ZRBObj::isLevelNumNA(level), 1) << level;
  for (const long level : {0L, 1L, 65534L, 65535L, 4294967295L, LONG_MAX})
    EXPECT_EQ(ZRBObj::isLevelNumNA(level), 0) << level;
}

TEST(ObjMissingValues, the_string_NA_is_the_noncharacter_FFFF_in_UTF8) {
  EXPECT_EQ(std::memcmp(ZRBObj::getStringNA(), "\xEF\xBF\xBF", 4), 0);
  EXPECT_EQ(ZRBObj::isStringNA(ZRBObj::getStringNA()), 1);
}

TEST(ObjMissingValues, the_string_NA_is_recognised_by_its_bytes_and_not_by_its_address) {
  EXPECT_EQ(isStringNAOf({0xEF, 0xBF, 0xBF, 0x00}), 1);
}

TEST(ObjMissingValues, a_null_string_is_NA) { EXPECT_EQ(ZRBObj::isStringNA(nullptr), 1); }

TEST(ObjMissingValues, a_text_that_only_begins_like_the_string_NA_is_not_NA) {
  EXPECT_EQ(isStringNAOf({0xEF, 0xBF, 0xBF, 'x', 0x00}), 0);
  EXPECT_EQ(isStringNAOf({0xEF, 0xBF, 0xBF, 0xEF, 0x00}), 0);
  EXPECT_EQ(isStringNAOf({0xEF, 0xBF, 0x00}), 0);
  EXPECT_EQ(isStringNAOf({0xEF, 0x00}), 0);
  EXPECT_EQ(isStringNAOf({0x00}), 0) << "an empty text is a value";
  EXPECT_EQ(isStringNAOf({0xEF, 0xBF, 0xBE, 0x00}), 0);
  EXPECT_EQ(isStringNAOf({0xEF, 0xBE, 0xBF, 0x00}), 0);
  EXPECT_EQ(isStringNAOf({0xEE, 0xBF, 0xBF, 0x00}), 0);
  EXPECT_EQ(isStringNAOf({'N', 'A', 0x00}), 0);
  EXPECT_EQ(isStringNAOf({' ', 0xEF, 0xBF, 0xBF, 0x00}), 0);
}

TEST(ObjMissingValues, no_single_other_byte_makes_a_string_NA) {
  for (std::size_t place = 0; place < 4; ++place) {
    for (int byte = 0; byte < 256; ++byte) {
      char text[5] = {'\xEF', '\xBF', '\xBF', '\0', '\0'};
      const bool unchanged = text[place] == static_cast<char>(byte);
      text[place] = static_cast<char>(byte);
      EXPECT_EQ(ZRBObj::isStringNA(text), unchanged ? 1 : 0) << "byte " << byte << " at " << place;
    }
  }
}

TEST(ObjMissingValues, the_fifteen_largest_time_dates_are_NA) {
  EXPECT_EQ(ZRBObj::getTimeDateNA(), 0x7FFFFFFFFFFFFFFFLL);
  for (long long timeMs = 0x7FFFFFFFFFFFFFF1LL; timeMs < LLONG_MAX; ++timeMs)
    EXPECT_EQ(ZRBObj::isTimeDateNA(timeMs), 1) << timeMs;
  EXPECT_EQ(ZRBObj::isTimeDateNA(LLONG_MAX), 1);
  for (const long long timeMs : {0x7FFFFFFFFFFFFFF0LL, 0x7FFFFFFFFFFFFFEFLL, 0x7FFFFFFFLL, 0LL, -1LL, LLONG_MIN})
    EXPECT_EQ(ZRBObj::isTimeDateNA(timeMs), 0) << timeMs;
}

}  // namespace
