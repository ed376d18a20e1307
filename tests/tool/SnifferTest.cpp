#include "sniffer.h"

#include <gtest/gtest.h>

#include <string>

#include "zrb/column.h"

namespace {

using zrbtool::CsvLayout;
using zrbtool::CsvOptions;

CsvLayout sniff(const std::string& sample, const CsvOptions& options = {}, bool isAll = true) {
  return zrbtool::sniffCsv(sample, isAll, options, "f.csv", 1);
}

// "name:type name:type ..."
std::string columnsOf(const CsvLayout& layout) {
  std::string text;
  for (const auto& column : layout.columns)
    text += (text.empty() ? "" : " ") + column.name + ":" + zrb::columnTypeName(column.type);
  return text;
}

std::string failureOf(const std::string& sample, const CsvOptions& options = {}) {
  try {
    sniff(sample, options);
  } catch (const zrbtool::Failure& failure) {
    return failure.what();
  }
  return "nothing was thrown";
}

TEST(Sniffer, the_delimiter_splits_the_first_record_and_the_others_alike) {
  const struct {
    const char* text;
    char delimiter;
  } cases[] = {
      {"a,b\n1,2\n", ','},
      {"a;b\n1;2\n", ';'},
      {"a\tb\n1\t2\n", '\t'},
      {"a|b\n1|2\n", '|'},
      {"a;b\n1,5;2,5\n", ';'},              // commas are decimal points
      {"a,b;c\n1,2;3\n4,5;6\n7,8\n", ','},  // all records have one comma, not all a semicolon
      {"a;b\n\"x,y,z\";2\n", ';'},
      {"\"a,b\";c\n1;2\n", ';'},
      {"a,b;c\n1,2,3;4\n5,6,7;8\n", ';'},
      {"a b\n1 2\n", ','},  // one column
      {"a\n1\n", ','},
      {"a", ','},
  };
  for (const auto& c : cases) EXPECT_EQ(sniff(c.text).format.delimiter, c.delimiter) << c.text;
}

TEST(Sniffer, a_delimiter_given_is_taken) {
  CsvOptions options;
  options.delimiter = ':';
  EXPECT_EQ(columnsOf(sniff("a:b,c\n1:2\n", options)), "a:double b,c:double");
}

TEST(Sniffer, a_first_record_without_numbers_and_dates_is_a_header) {
  const struct {
    const char* text;
    bool header;
  } cases[] = {
      {"a,b\n1,2\n", true},      {"a,b\nc,d\n", true},  {"a,b\n", true},
      {"1,2\n3,4\n", false},     {"a,2\nb,3\n", false}, {"2026-11-21,a\n2026-11-22,b\n", false},
      {"007,a\n008,b\n", false},  // a number, if not a plain one
      {"NA,b\nc,d\n", true},
  };
  for (const auto& c : cases) EXPECT_EQ(sniff(c.text).header, c.header) << c.text;
}

TEST(Sniffer, a_header_can_be_demanded_or_denied) {
  CsvOptions with, without;
  with.header = true;
  without.header = false;
  EXPECT_EQ(columnsOf(sniff("2019,2020\n1,2\n", with)), "2019:double 2020:double");
  EXPECT_EQ(columnsOf(sniff("a,b\n1,2\n", without)), "1:factor 2:factor");
}

TEST(Sniffer, names_given_replace_those_of_the_header) {
  CsvOptions options;
  options.names = {{"p", "q"}};
  EXPECT_EQ(columnsOf(sniff(",x\n1,2\n", options)), "p:double q:double");
  EXPECT_TRUE(sniff(",x\n1,2\n", options).header);
  EXPECT_EQ(columnsOf(sniff("1,2\n3,4\n", options)), "p:double q:double");
  EXPECT_FALSE(sniff("1,2\n3,4\n", options).header);
}

TEST(Sniffer, types_fit_every_cell_of_the_sample) {
  const struct {
    const char* cells;  // one column, a cell a line
    const char* type;
  } cases[] = {
      {"1\n-2.5\n1e+10\n", "double"},
      {"1\nNA\n\"\"\n", "double"},
      {" 1\n2 \n", "double"},
      {"1\n NA\n", "double"},  // blanks around NA of a number
      {"1\nx\n", "factor"},
      {"007\n12\n", "factor"},              // would lose zeros
      {"1e5\n2e5\n", "factor"},             // may be codes
      {"9007199254740993\n1\n", "factor"},  // would lose digits
      {"1,5\n", "factor"},                  // split below by another delimiter
      {"+49\n+1\n", "factor"},
      {"inf\nnan\n", "factor"},
      {"0x10\n", "factor"},
      {"2026-11-21\n2026-11-22T01:02:03\n", "timeDate"},
      {"2026-11-21\nNA\n", "timeDate"},
      {"2026-11-21\n2026-02-30\n", "factor"},
      {"2026-11-21\n5\n", "factor"},
      {"NA\nNA\n", "string"},  // nothing is known
      {"\n", "string"},
      {"TRUE\nFALSE\n", "factor"},
  };
  CsvOptions options;
  options.delimiter = '|';
  for (const auto& c : cases)
    EXPECT_EQ(columnsOf(sniff("c\n" + std::string(c.cells), options)), "c:" + std::string(c.type)) << c.cells;
}

// `rows` cells of `different` texts in turn.
std::string texts(int rows, int different) {
  std::string text = "c\n";
  for (int i = 0; i < rows; ++i) text += "t" + std::to_string(i % different) + "\n";
  return text;
}

TEST(Sniffer, texts_are_a_factor_when_they_are_few_or_repeat) {
  const struct {
    int rows, different;
    const char* columns;
  } cases[] = {
      {20, 20, "c:factor"},                        // few
      {21, 21, "c:string"}, {84, 21, "c:factor"},  // a quarter of the cells
      {83, 21, "c:string"}, {20'000, 5000, "c:factor"}, {30'000, 5001, "c:string"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(columnsOf(sniff(texts(c.rows, c.different))), c.columns) << c.rows << " " << c.different;
}

TEST(Sniffer, string_columns_have_room_for_four_times_the_longest_text) {
  std::string text = texts(21, 21);
  EXPECT_EQ(sniff(text).columns[0].stringBytes, 256);
  EXPECT_EQ(sniff(text + std::string(63, 'x') + "\n").columns[0].stringBytes, 256);
  EXPECT_EQ(sniff(text + std::string(64, 'x') + "\n").columns[0].stringBytes, 257);
  EXPECT_EQ(sniff(text + std::string(1000, 'x') + "\n").columns[0].stringBytes, 4001);
  EXPECT_EQ(sniff(text + std::string(500'000, 'x') + "\n").columns[0].stringBytes, 1 << 20);
}

TEST(Sniffer, types_given_are_taken_and_marked) {
  CsvOptions options;
  options.types = {{"b", ZRBBuf::column_string, 40}, {"a", ZRBBuf::column_factor, 0}};
  const CsvLayout layout = sniff("a,b,c\n1,2,3\n", options);
  EXPECT_EQ(columnsOf(layout), "a:factor b:string c:double");
  EXPECT_EQ(layout.columns[1].stringBytes, 40);
  EXPECT_TRUE(layout.columns[0].declared);
  EXPECT_FALSE(layout.columns[2].declared);
}

TEST(Sniffer, the_cut_last_record_of_a_sample_says_nothing) {
  EXPECT_EQ(columnsOf(sniff("a\n1\nx", {}, false)), "a:double");
  EXPECT_EQ(columnsOf(sniff("a\n1\nx", {}, true)), "a:factor");
}

TEST(Sniffer, records_that_are_malformed_or_of_another_length_are_left_to_the_reader) {
  EXPECT_EQ(columnsOf(sniff("a,b\n1,2\n3,4,5\n6\n")), "a:double b:double");
  EXPECT_EQ(columnsOf(sniff("a,b\n1,2\n3,\"x\n")), "a:double b:double");
}

TEST(Sniffer, what_makes_no_table_is_refused_with_a_way_out) {
  const std::string hints = " (--names gives other names, --no-header takes the line as data)";
  EXPECT_EQ(failureOf(""), "f.csv:1:0: no table, found no text, expected a header line or a row");
  EXPECT_EQ(failureOf("\n\n"), "f.csv:1:0: no table, found no text, expected a header line or a row");
  EXPECT_EQ(failureOf("\na,b,a\n"),
            "f.csv:2:3: column name used twice, found 'a' as in column 1, expected names that differ" + hints);
  EXPECT_EQ(failureOf("a,\"x\ny\",\n"),
            "f.csv:2:3: column without a name, found an empty cell, expected a name" + hints);
  EXPECT_EQ(
      failureOf("a,\xE4\n"),
      "f.csv:1:2: name is no UTF-8, found '\\xE4', expected UTF-8 text (convert the file, as with iconv -f LATIN1 "
      "-t UTF-8)");
  EXPECT_EQ(
      failureOf("a,\"b\n"),
      "f.csv:1:2: unterminated quote, found the end of the file, expected a closing quote for the cell that begins "
      "in this line (--no-quotes takes quotes as text)");
}

TEST(Sniffer, options_that_do_not_fit_the_file_are_usage_errors) {
  CsvOptions names, unknown, twice;
  names.names = {{"p"}};
  unknown.types = {{"z", ZRBBuf::column_double, 0}};
  twice.names = {{"p", "p"}};
  EXPECT_EQ(failureOf("a,b\n1,2\n", names),
            "f.csv:1:0: --names does not fit the file, found 1 name, expected 2, one for each cell of this line");
  EXPECT_EQ(failureOf("a,b\n1,2\n", unknown), "f.csv:1:z: unknown column, found 'z', expected one of 'a', 'b'");
  EXPECT_EQ(failureOf("a,b\n1,2\n", twice),
            "f.csv:1:2: --names does not fit the file, found 'p', expected UTF-8 names that are not empty and differ");
}

}  // namespace
