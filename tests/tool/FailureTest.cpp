#include "failure.h"

#include <gtest/gtest.h>

#include "utf8.h"

namespace {

using zrbtool::ExitStatus;

TEST(Failure, a_place_and_three_parts_stand_on_one_line) {
  const zrbtool::Failure failure =
      zrbtool::failureAt(ExitStatus::data, "my\nfile.csv", 12, "co\tl", {"not a number", "'x'", "a number"});
  EXPECT_STREQ(failure.what(), "my\\nfile.csv:12:co\\tl: not a number, found 'x', expected a number");
  EXPECT_EQ(failure.status(), ExitStatus::data);
}

TEST(Failure, quoted_text_shows_what_cannot_be_seen_and_is_cut) {
  EXPECT_EQ(zrbtool::quote(""), "''");
  EXPECT_EQ(zrbtool::quote("a\r\n\x01\x7F"), "'a\\r\\n\\x01\\x7F'");
  EXPECT_EQ(zrbtool::quote("\xC3\xA4\xE2\x82\xAC"), "'\xC3\xA4\xE2\x82\xAC'");
  EXPECT_EQ(zrbtool::quote("\xE4 b\xC3"), "'\\xE4 b\\xC3'");
  EXPECT_EQ(zrbtool::quote(std::string(60, 'x')), "'" + std::string(60, 'x') + "'");
  EXPECT_EQ(zrbtool::quote(std::string(61, 'x')), "'" + std::string(60, 'x') + "'...");
  // Not cut inside a character.
  EXPECT_EQ(zrbtool::quote(std::string(59, 'x') + "\xC3\xA4\xC3\xA4"), "'" + std::string(59, 'x') + "'...");
}

TEST(Failure, options_are_shown_as_they_are_typed) {
  EXPECT_EQ(zrbtool::optionText("--types", "x=factor"), "--types x=factor");
  EXPECT_EQ(zrbtool::optionText("--types", "my x=factor"), "--types 'my x=factor'");
  EXPECT_EQ(zrbtool::optionText("--na", "it's"), "--na 'it'\\''s'");
  EXPECT_EQ(zrbtool::optionText("--na", ""), "--na ''");
  EXPECT_EQ(zrbtool::optionText("--na", "-"), "--na -");
}

TEST(Failure, names_to_choose_from_are_listed_up_to_a_dozen) {
  EXPECT_EQ(zrbtool::oneOf({"a"}), "one of 'a'");
  EXPECT_EQ(zrbtool::oneOf({"a", "b\n"}), "one of 'a', 'b\\n'");
  const std::vector<std::string> dozen(12, "x");
  EXPECT_EQ(zrbtool::oneOf(dozen), "one of 'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x'");
  EXPECT_EQ(zrbtool::oneOf(std::vector<std::string>(13, "x")), zrbtool::oneOf(dozen) + ", ...");
}

TEST(Failure, things_are_counted_in_words) {
  EXPECT_EQ(zrbtool::counted(0, "row"), "0 rows");
  EXPECT_EQ(zrbtool::counted(1, "row"), "1 row");
  EXPECT_EQ(zrbtool::counted(2, "row"), "2 rows");
}

TEST(Utf8, characters_are_told_from_other_bytes) {
  for (const char* text :
       {"", "a", "\x7F", "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80", "\xEF\xBF\xBF",
        "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF", "plain text of more than eight bytes", "12345678\xC3\xA4"})
    EXPECT_TRUE(zrbtool::isUtf8(text)) << text;
  for (const char* text :
       {"\x80", "\xC0\x80", "\xC1\xBF", "\xC2", "\xC2g", "\xE0\x9F\xBF", "\xE2\x82", "\xED\xA0\x80", "\xF0\x8F\xBF\xBF",
        "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFF", "12345678\xE4", "1234567\xE4x"})
    EXPECT_FALSE(zrbtool::isUtf8(text)) << text;
}

TEST(Utf8, length_counts_characters) {
  EXPECT_EQ(zrbtool::utf8Length(""), 0u);
  EXPECT_EQ(zrbtool::utf8Length("a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"), 4u);
}

}  // namespace
