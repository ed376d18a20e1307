#include "csv_options.h"

#include <gtest/gtest.h>

#include "failure.h"
#include "generate.h"

namespace {

using zrbtool::ExitStatus;
using zrbtool::Failure;
using zrbtool::parseTypes;

template <class Action>
std::string usageErrorOf(Action action) {
  try {
    action();
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.status(), ExitStatus::usage);
    return failure.what();
  }
  return "nothing was thrown";
}

TEST(CsvOptions, a_delimiter_is_a_name_or_a_character) {
  const struct {
    const char* text;
    char delimiter;
  } cases[] = {{"comma", ','}, {"semicolon", ';'}, {"tab", '\t'}, {"\\t", '\t'}, {"pipe", '|'},
               {"space", ' '}, {",", ','},         {"\t", '\t'},  {":", ':'},    {"a", 'a'}};
  for (const auto& c : cases) EXPECT_EQ(zrbtool::parseDelimiter(c.text), c.delimiter) << c.text;
  for (const char* text : {"", "ab", "\"", "\n", "\r", "\xC3\xA4", "\xE4", "Comma"})
    EXPECT_NE(usageErrorOf([&] { zrbtool::parseDelimiter(text); }), "nothing was thrown") << text;
}

TEST(CsvOptions, types_are_pairs_of_name_and_type) {
  const auto types = parseTypes("a=double,b=factor,c=string,d=timeDate,e=string:100");
  ASSERT_EQ(types.size(), 5u);
  EXPECT_EQ(types[0].column, "a");
  EXPECT_EQ(types[0].type, ZRBBuf::column_double);
  EXPECT_EQ(types[1].type, ZRBBuf::column_factor);
  EXPECT_EQ(types[2].type, ZRBBuf::column_string);
  EXPECT_EQ(types[2].stringBytes, 0);
  EXPECT_EQ(types[3].type, ZRBBuf::column_timeDate);
  EXPECT_EQ(types[4].column, "e");
  EXPECT_EQ(types[4].stringBytes, 100);
}

TEST(CsvOptions, a_name_may_hold_commas_and_equals_signs) {
  const auto types = parseTypes("a,b=c=double,d=factor");
  ASSERT_EQ(types.size(), 2u);
  EXPECT_EQ(types[0].column, "a,b=c");
  EXPECT_EQ(types[1].column, "d");
}

TEST(CsvOptions, types_that_are_none_are_refused) {
  const struct {
    const char* text;
    const char* error;
  } cases[] = {
      {"", "zrb: --types: found '', expected NAME=TYPE"},
      {"a", "zrb: --types: found 'a', expected NAME=TYPE"},
      {"a=double,b", "zrb: --types: found 'b', expected NAME=TYPE"},
      {"a=Double",
       "zrb: --types: column 'a' has type 'Double', expected double, factor, string, string:BYTES or timeDate"},
      {"a=double:8",
       "zrb: --types: column 'a' has type 'double:8', expected double, factor, string, string:BYTES or timeDate"},
      {"a=string:3", "zrb: --types: column 'a' has width '3', expected 4 to 1048576 bytes"},
      {"a=string:1048577", "zrb: --types: column 'a' has width '1048577', expected 4 to 1048576 bytes"},
      {"a=string:", "zrb: --types: column 'a' has width '', expected 4 to 1048576 bytes"},
      {"a=string:12x", "zrb: --types: column 'a' has width '12x', expected 4 to 1048576 bytes"},
  };
  for (const auto& c : cases) EXPECT_EQ(usageErrorOf([&] { parseTypes(c.text); }), c.error);
}

TEST(Schema, pairs_of_name_and_type_are_read) {
  const auto schema = zrbtool::parseSchema("x:double,a,b:c:factor,s:string,d:timeDate");
  ASSERT_EQ(schema.size(), 4u);
  EXPECT_EQ(schema[0], std::make_pair(std::string("x"), ZRBBuf::column_double));
  EXPECT_EQ(schema[1], std::make_pair(std::string("a,b:c"), ZRBBuf::column_factor));
  EXPECT_EQ(schema[2], std::make_pair(std::string("s"), ZRBBuf::column_string));
  EXPECT_EQ(schema[3], std::make_pair(std::string("d"), ZRBBuf::column_timeDate));
}

TEST(Schema, what_is_none_is_refused) {
  const struct {
    const char* text;
    const char* error;
  } cases[] = {
      {"", "zrb: --schema: found '', expected NAME:TYPE,NAME:TYPE,..."},
      {"x", "zrb: --schema: found 'x', expected NAME:TYPE,NAME:TYPE,..."},
      {"x:double,", "zrb: --schema: found '', expected NAME:TYPE,NAME:TYPE,..."},
      {"x:blob", "zrb: --schema: found 'x:blob', expected NAME:TYPE with double, factor, string or timeDate"},
      {"x:double,x:factor", "zrb: --schema: found 'x:factor', expected names that differ"},
      {":double", "zrb: --schema: found ':double', expected a name that is UTF-8 and not empty"},
  };
  for (const auto& c : cases) EXPECT_EQ(usageErrorOf([&] { zrbtool::parseSchema(c.text); }), c.error);
}

}  // namespace
