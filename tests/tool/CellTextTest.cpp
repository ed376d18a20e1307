#include "cell_text.h"

#include <gtest/gtest.h>

#include "zrb/number_text.h"

namespace {

using zrbtool::NumberKind;

TEST(CellText, a_number_is_plain_when_its_text_says_no_more_than_its_value) {
  const struct {
    const char* text;
    NumberKind kind;
  } cases[] = {
      {"0", NumberKind::plain},
      {"-1.50", NumberKind::plain},
      {"0.5", NumberKind::plain},
      {".5", NumberKind::plain},
      {"5.", NumberKind::plain},
      {"1e+05", NumberKind::plain},
      {"1e-5", NumberKind::plain},
      {"1.0e5", NumberKind::plain},
      {" 12\t", NumberKind::plain},  // blanks around it are no part of it
      {"9007199254740992", NumberKind::plain},
      {"9007199254740993", NumberKind::notPlain},  // would become ...992
      {"-9007199254740993", NumberKind::notPlain},
      {"10000000000000000", NumberKind::notPlain},
      {"9007199254740993.5", NumberKind::notPlain},
      {"007", NumberKind::notPlain},
      {"-00.5", NumberKind::notPlain},
      {"00", NumberKind::notPlain},
      {"+5", NumberKind::notPlain},
      {"1e5", NumberKind::notPlain},
      {"12E3", NumberKind::notPlain},
      {"1,234", NumberKind::none},
      {"1e400", NumberKind::none},
      {"inf", NumberKind::none},
      {"nan", NumberKind::none},
      {"12x", NumberKind::none},
      {"1 2", NumberKind::none},
      {"", NumberKind::none},
      {" ", NumberKind::none},
  };
  for (const auto& c : cases) {
    double value = -1;
    EXPECT_EQ(zrbtool::readNumber(c.text, value), c.kind) << c.text;
  }
}

TEST(CellText, a_number_that_is_not_plain_still_has_its_value) {
  double value = 0;
  zrbtool::readNumber("007", value);
  EXPECT_EQ(value, 7);
}

TEST(CellText, na_is_the_empty_text_and_the_texts_given) {
  const zrbtool::NaTexts usual({"NA"});
  EXPECT_TRUE(usual.contains(""));
  EXPECT_TRUE(usual.contains("NA"));
  for (const char* text : {"na", "NA ", "N", "NAN", "n/a", " "}) EXPECT_FALSE(usual.contains(text)) << text;
  const zrbtool::NaTexts own({"-999", "."});
  EXPECT_TRUE(own.contains(""));
  EXPECT_TRUE(own.contains("-999"));
  EXPECT_TRUE(own.contains("."));
  EXPECT_FALSE(own.contains("NA"));
}

TEST(CellText, blanks_and_tabs_are_trimmed_at_both_ends) {
  EXPECT_EQ(zrbtool::trimmed(" \ta b\t "), "a b");
  EXPECT_EQ(zrbtool::trimmed("\t "), "");
  EXPECT_EQ(zrbtool::trimmed(""), "");
  EXPECT_EQ(zrbtool::trimmed("\n"), "\n");
}

}  // namespace
