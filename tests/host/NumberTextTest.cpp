#include "zrb/number_text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>

namespace {

TEST(NumberText, a_whole_decimal_number_is_read) {
  const struct {
    const char* text;
    double value;
  } cases[] = {
      {"0", 0},
      {"-0", -0.0},
      {"7", 7},
      {"-7.25", -7.25},
      {"+7.25", 7.25},
      {".5", 0.5},
      {"5.", 5},
      {"-.5", -0.5},
      {"007", 7},
      {"1e5", 1e5},
      {"1E-5", 1e-5},
      {"1.5e+300", 1.5e300},
      {"0.1", 0.1},
      {"1e-320", 1e-320},                        // subnormal
      {"9007199254740993", 9007199254740992.0},  // the nearest double
      {"1.7976931348623157e308", 1.7976931348623157e308},
      {"4.9406564584124654e-324", 4.9406564584124654e-324},
  };
  for (const auto& c : cases) {
    const auto value = zrb::parseNumber(c.text);
    ASSERT_TRUE(value) << c.text;
    EXPECT_EQ(*value, c.value) << c.text;
    EXPECT_EQ(std::signbit(*value), std::signbit(c.value)) << c.text;
  }
}

TEST(NumberText, anything_else_is_no_number) {
  for (const char* text : {"",    "-",     "+",        ".",     "e5",    "1e",     "1e+",    "abc", " 1",  "1 ",
                           "1,5", "1.2.3", "0x10",     "1_000", "--1",   "+-1",    "-+1",    "++1", "inf", "-inf",
                           "nan", "NaN",   "infinity", "1f",    "1e400", "-1e400", "1e-400", "NA",  "1\n"})
    EXPECT_FALSE(zrb::parseNumber(text)) << text;
}

TEST(NumberText, numbers_are_written_with_the_fewest_digits) {
  const struct {
    double value;
    const char* text;
  } cases[] = {
      {0, "0"},
      {-0.0, "-0"},
      {0.1, "0.1"},
      {100000, "100000"},  // plain notation although 1e+05 is shorter
      {4201.754385964912, "4201.754385964912"},
      {9e15, "9000000000000000"},  // up to 2^53
      {9007199254740992.0, "9007199254740992"},
      {9007199254740994.0, "9007199254740994"},  // the shorter one
      {1e16, "1e+16"},
      {1e-4, "0.0001"},
      {9.999e-5, "9.999e-05"},
      {-1e300, "-1e+300"},
      {std::numeric_limits<double>::infinity(), "inf"},
      {-std::numeric_limits<double>::infinity(), "-inf"},
  };
  for (const auto& c : cases) EXPECT_EQ(zrb::numberText(c.value), c.text);
}

TEST(NumberText, what_is_written_is_read_back_bit_for_bit_within_its_room) {
  std::mt19937_64 random(20261121);
  for (int i = 0; i < 200'000; ++i) {
    const std::uint64_t bits = random();
    double value;
    std::memcpy(&value, &bits, sizeof value);
    // Every second one near 1, where plain notation is used.
    if (i % 2 == 0) value = static_cast<double>(static_cast<std::int64_t>(bits)) / 4294967296.0;
    if (!std::isfinite(value)) continue;
    const std::string text = zrb::numberText(value);
    ASSERT_LE(text.size(), zrb::kNumberTextBytes);
    const auto back = zrb::parseNumber(text);
    ASSERT_TRUE(back) << text;
    ASSERT_EQ(std::memcmp(&*back, &value, sizeof value), 0) << text;
    ASSERT_EQ(std::strtod(text.c_str(), nullptr), value) << text;  // and by another reader
  }
}

}  // namespace
