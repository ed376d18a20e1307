#include "quick_cells.h"

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <random>
#include <string>

#include "cell_text.h"
#include "level_memory.h"
#include "quick_number.h"
#include "zrb/number_text.h"

namespace {

using zrbtool::LevelMemory;
using zrbtool::NumberKind;

// With room behind it, of bytes that would change the number if they counted.
std::string withRoom(const std::string& text) { return text + ",.5e1234567890123456789012345678901234567890"; }

// A text that is taken has to be a plain number, and of the same bits.  Returns whether it is taken.
bool takenRightly(const std::string& text) {
  const std::string room = withRoom(text);
  const double quick = zrbtool::readQuickNumber({room.data(), text.size()});
  double plain = -1;
  if (std::isnan(quick)) return false;
  EXPECT_EQ(zrbtool::readNumber(text, plain), NumberKind::plain) << text;
  EXPECT_EQ(std::bit_cast<std::uint64_t>(quick), std::bit_cast<std::uint64_t>(plain)) << text;
  return true;
}

TEST(QuickNumber, takes_plain_numbers_without_exponent_and_gives_their_bits) {
  for (const char* text : {"0", "-0", "7", "-12", "0.5", "-0.25", ".5", "-.5", "5.", "0.1", "-0.0", "123456789012345",
                           "999999999999999", "0.1234567890123456", "12345678.12345678", "1.7976931",
                           "0.000000000000000001", "-171.62738394145708", "12345.67890123456789"})
    EXPECT_TRUE(takenRightly(text)) << text;
}

TEST(QuickNumber, leaves_everything_else_to_the_path_that_knows_it) {
  for (const char* text : {"",
                           "-",
                           ".",
                           "-.",
                           "+5",
                           "007",
                           "-00.5",
                           "1e5",
                           "1e-5",
                           "1.5E+3",
                           "NA",
                           "nan",
                           "inf",
                           "-inf",
                           "0x10",
                           "1,5",
                           "1.2.3",
                           "1-2",
                           "--1",
                           " 1",
                           "1 ",
                           "\t1",
                           "12a",
                           "1/",
                           "1:",
                           "1234567890123456",
                           "12345678901234567890.5",
                           "0.12345678901234567890",
                           "9007199254740993",
                           "\xB1.5",
                           "1\xB1",
                           "1.\xB9",
                           "\x80\x80\x80\x80\x80\x80\x80\x80"})
    EXPECT_FALSE(takenRightly(text)) << text;
}

TEST(QuickNumber, no_byte_but_a_digit_counts_as_one_wherever_it_stands) {
  for (int byte = 1; byte < 256; ++byte)
    for (std::size_t at = 0; at < 18; ++at) {
      std::string text = "123456.78901234567";
      text[at] = static_cast<char>(byte);
      const bool mayBeTaken = (byte >= '0' && byte <= '9') || byte == '.' || byte == '-';
      EXPECT_TRUE(!takenRightly(text) || mayBeTaken) << text;
    }
}

TEST(QuickNumber, random_numbers_of_every_length_have_the_bits_of_the_plain_path) {
  std::mt19937_64 random(20261121);
  long taken = 0;
  constexpr long kNumbers = 400'000;
  for (long i = 0; i < kNumbers; ++i) {
    std::string digits = std::to_string(random());
    digits.resize(1 + random() % digits.size());
    digits.insert(random() % (digits.size() + 1), ".");
    taken += takenRightly((random() % 2 ? "-" : "") + digits);
  }
  EXPECT_GT(taken, kNumbers / 2);
}

TEST(QuickNumber, the_shortest_texts_of_random_doubles_are_nearly_all_taken) {
  std::mt19937_64 random(7);
  long taken = 0;
  constexpr long kNumbers = 200'000;
  for (long i = 0; i < kNumbers; ++i) {
    const double value = std::ldexp(static_cast<double>(random() >> 11), -53) * 1000 - 300;
    taken += takenRightly(zrb::numberText(value));
  }
  EXPECT_GT(taken, kNumbers * 98 / 100);
}

// The decimal digits of the middle between a double and the next one end in 5 and are many; cut to 19 they lie so close
// to the middle that the plain path has to decide.
TEST(QuickNumber, texts_at_and_beside_the_middle_between_two_doubles_are_rounded_as_on_the_plain_path) {
  std::mt19937_64 random(53);
  for (long i = 0; i < 100'000; ++i) {
    const double low =
        std::ldexp(static_cast<double>(random() >> 11 | std::uint64_t{1} << 52), -53 + static_cast<int>(random() % 12));
    const long double middle = (static_cast<long double>(low) + static_cast<long double>(std::nextafter(low, 1e9))) / 2;
    char text[64];
    std::snprintf(text, sizeof text, "%.*Lf", 15 + static_cast<int>(random() % 4), middle);
    takenRightly(text);
  }
  // Exact ties: 53 bits and one more.
  for (const char* text :
       {"4503599627370496.5", "450359962737049.625", "450359962737049.53125", "70368744177664.0078125"})
    takenRightly(text);
}

TEST(LevelMemory, finds_what_it_remembers_and_nothing_else) {
  LevelMemory memory;
  const auto find = [&](const std::string& text) {
    const std::string room = withRoom(text);
    return memory.find({room.data(), text.size()});
  };
  const auto remember = [&](const std::string& text, long level) {
    const std::string room = withRoom(text);
    memory.remember({room.data(), text.size()}, level);
  };
  EXPECT_EQ(find("a"), -1);
  for (long level = 0; level < 5000; ++level) {
    const std::string text = "level " + std::to_string(level);
    ASSERT_EQ(find(text), -1);
    remember(text, level);
  }
  long found = 0;
  for (long level = 0; level < 5000; ++level) {
    const long known = find("level " + std::to_string(level));
    EXPECT_TRUE(known == level || known == -1);
    found += known == level;
  }
  EXPECT_EQ(found, 4096);
  for (const char* text : {"", "level", "level 1 ", "level  1", "Level 1", "1", "level 99999"})
    EXPECT_EQ(find(text), -1);
}

TEST(LevelMemory, texts_differ_in_every_byte_and_in_their_length_up_to_16_bytes) {
  const std::string longest = "0123456789abcdef";
  LevelMemory memory;
  for (std::size_t size = 1; size <= longest.size(); ++size) {
    const std::string room = withRoom(longest.substr(0, size));
    memory.remember({room.data(), size}, static_cast<long>(size));
  }
  for (std::size_t size = 1; size <= longest.size(); ++size) {
    std::string room = withRoom(longest.substr(0, size));
    EXPECT_EQ(memory.find({room.data(), size}), static_cast<long>(size));
    for (std::size_t at = 0; at < size; ++at) {
      ++room[at];
      EXPECT_EQ(memory.find({room.data(), size}), -1) << size << " " << at;
      --room[at];
    }
  }
  const std::string tooLong = withRoom(longest + "g");
  memory.remember({tooLong.data(), 17}, 17);
  EXPECT_EQ(memory.find({tooLong.data(), 17}), -1);
}

}  // namespace
