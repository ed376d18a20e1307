// Input that is not what it has to be: one line with the place, nothing on standard output, and a status that tells the
// kind.  What the line says to do about it is tried as well.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ToolRun.h"

namespace {

// More rows than the sniffer's sample holds: what follows them is a surprise.
std::string longSample(const std::string& header, const std::string& row) {
  std::string csv = header + "\n";
  while (csv.size() < (1 << 20) + 1000) csv += row + "\n";
  return csv;
}

long long linesOf(const std::string& csv) { return std::count(csv.begin(), csv.end(), '\n'); }

TEST(BadInput, a_file_that_is_no_table_is_refused) {
  const TempFolder folder;
  const struct {
    std::string content;
    const char* error;
  } cases[] = {
      {"", "in.csv:1:0: no table, found no text, expected a header line or a row"},
      {"\n\r\n\n", "in.csv:1:0: no table, found no text, expected a header line or a row"},
      {"\xEF\xBB\xBF", "in.csv:1:0: no table, found no text, expected a header line or a row"},
      {"a,b,a\n1,2,3\n",
       "in.csv:1:3: column name used twice, found 'a' as in column 1, expected names that differ (--names gives other "
       "names, --no-header takes the line as data)"},
      {"a,,c\n1,2,3\n",
       "in.csv:1:2: column without a name, found an empty cell, expected a name (--names gives other names, "
       "--no-header "
       "takes the line as data)"},
      {"a,b\n1,2\n3\n",
       "in.csv:3:b: row too short, found 1 cell, expected 2 as in line 1 (--fill takes missing cells as NA, "
       "--delimiter, "
       "--skip and --no-quotes change how lines are split)"},
      {"a,b\n1,2\n3,4,5\n",
       "in.csv:3:3: row too long, found 3 cells, expected 2 as in line 1 (--delimiter, --skip and --no-quotes change "
       "how "
       "lines are split)"},
      {"\n\na,b\n1,\"2\n\n\"\n3\n",
       "in.csv:7:b: row too short, found 1 cell, expected 2 as in line 3 (--fill takes missing cells as NA, "
       "--delimiter, "
       "--skip and --no-quotes change how lines are split)"},
      {"a,b\n1,2\n\"x\n\n",
       "in.csv:3:a: unterminated quote, found the end of the file, expected a closing quote for the cell that begins "
       "in "
       "this line (--no-quotes takes quotes as text)"},
      {"a,b\n1,5\" pipe\n",
       "in.csv:2:b: stray quote, found '\"' inside an unquoted cell or text after a closing quote, behind '5', "
       "expected a "
       "cell enclosed in quotes as a whole, with its own quotes doubled (--no-quotes takes quotes as text, --trim "
       "drops "
       "blanks around cells)"},
      {std::string("a,b\n1,2\0\n", 9),
       "in.csv:2:b: NUL byte, found a byte 00 behind '2', expected text (UTF-16 has such bytes: convert it, as with "
       "iconv "
       "-f UTF-16 -t UTF-8)"},
      {std::string("\xFF\xFE\x61\x00", 4),
       "in.csv:1:1: text is no UTF-8, found the mark of UTF-16 text, expected UTF-8 text (convert the file, as with "
       "iconv "
       "-f UTF-16 -t UTF-8)"},
      {"\x1F\x8B\x08",
       "in.csv:1:1: no CSV text, found the mark of a gzip file, expected text (unpack it first, as with gzip -dc FILE "
       "| "
       "zrb describe -)"},
      {"\xFD\x37zXZ",
       "in.csv:1:1: no CSV text, found the mark of an xz file, expected text (unpack it first, as with xz -dc FILE | "
       "zrb describe -)"},
      {"PK\x03\x04",
       "in.csv:1:1: no CSV text, found the mark of a zip file, expected text (unpack it first, as with unzip -p FILE | "
       "zrb describe -)"},
      {"a,b\nx,\"y\nz\"\nx,\xE4\n",
       "in.csv:4:b: text is no UTF-8, found '\\xE4', expected UTF-8 text (convert the file, as with iconv -f LATIN1 -t "
       "UTF-8)"},
      {"a\nx\n\xEF\xBF\xBF\n",
       "in.csv:3:a: text cannot be kept, found the character U+FFFF alone, expected other text (--na takes it as NA)"},
  };
  for (const auto& c : cases) {
    folder.write("in.csv", c.content);
    SCOPED_TRACE(c.content);
    expectFailure(runTool(folder, {"describe", "in.csv"}), 1, c.error);
  }
}

TEST(BadInput, a_cell_that_contradicts_the_sampled_type_is_refused_and_the_way_out_works) {
  const TempFolder folder;
  const struct {
    const char* header;
    const char* row;   // as in the sample
    const char* last;  // the row that follows it
    const char* place;
    const char* error;
    std::vector<std::string> wayOut;
  } cases[] = {
      {"my x,b",
       "1.5,a",
       "oops,a",
       ":my x: ",
       "not a number, found 'oops', expected a number (--types 'my x=factor' keeps texts, --na oops makes this one NA)",
       {"--types", "my x=factor"}},
      {"x,b",
       "1.5,a",
       "oops,a",
       ":x: ",
       "not a number, found 'oops', expected a number (--types x=factor keeps texts, --na oops makes this one NA)",
       {"--na", "oops"}},
      {"x,b",
       "1.5,a",
       "1e999,a",
       ":x: ",
       "not a number, found '1e999', expected a number (--types x=factor keeps texts, --na 1e999 makes this one NA)",
       {"--types", "x=string"}},
      {"x,b",
       "1.5,a",
       "inf,a",
       ":x: ",
       "not a number, found 'inf', expected a number (--types x=factor keeps texts, --na inf makes this one NA)",
       {"--na", "inf"}},
      {"x,b",
       "15,a",
       "007,a",
       ":x: ",
       "more than a number, found '007', expected a plain number like those before (--types x=string keeps the text, "
       "--types x=double takes the value)",
       {"--types", "x=double"}},
      {"x,b",
       "15,a",
       "1e5,a",
       ":x: ",
       "more than a number, found '1e5', expected a plain number like those before (--types x=string keeps the text, "
       "--types x=double takes the value)",
       {"--types", "x=string"}},
      {"x,b",
       "15,a",
       "9007199254740993,a",
       ":x: ",
       "more than a number, found '9007199254740993', expected a plain number like those before (--types x=string "
       "keeps "
       "the text, --types x=double takes the value)",
       {"--types", "x=string"}},
      {"d,b",
       "2026-11-21,a",
       "2026-02-30,a",
       ":d: ",
       "not a date, found '2026-02-30', expected a date like 2026-11-21 or 2026-11-21T15:04:05.123 (--types d=factor "
       "keeps "
       "texts, --na 2026-02-30 makes this one NA)",
       {"--na", "2026-02-30"}},
      {"d,b",
       "2026-11-21,a",
       "2026-11-21T01:02:03.0004,a",
       ":d: ",
       "not a date, found '2026-11-21T01:02:03.0004', expected a date like 2026-11-21 or 2026-11-21T15:04:05.123 "
       "(--types "
       "d=factor keeps texts)",
       {"--types", "d=factor"}},
  };
  for (const auto& c : cases) {
    const std::string csv = longSample(c.header, c.row);
    folder.write("in.csv", csv + c.last + "\n");
    SCOPED_TRACE(c.last);
    expectFailure(runTool(folder, {"describe", "in.csv"}), 1,
                  "in.csv:" + std::to_string(linesOf(csv) + 1) + c.place + c.error);
    std::vector<std::string> again = {"describe", "in.csv"};
    again.insert(again.end(), c.wayOut.begin(), c.wayOut.end());
    EXPECT_EQ(runTool(folder, again).status, 0);
  }
}

TEST(BadInput, the_line_is_the_true_one_behind_cells_with_line_ends) {
  const TempFolder folder;
  std::string csv = longSample("x,note", "1,\"two\nlines\"");
  folder.write("in.csv", csv + "\"\n7\",\"a\n\nb\"\n8,\"a\nb\"\noops,c\n");
  // The cell '\n7' is no number; it begins in the line behind the sample.
  expectFailure(
      runTool(folder, {"describe", "in.csv"}), 1,
      "in.csv:" + std::to_string(linesOf(csv) + 1) +
          ":x: not a number, found '\\n7', expected a number (--types x=factor keeps texts, --na '\\n7' makes "
          "this one NA)");
  folder.write("in.csv", csv + "8,\"a\nb\"\noops,c\n");
  expectFailure(runTool(folder, {"describe", "in.csv"}), 1,
                "in.csv:" + std::to_string(linesOf(csv) + 3) +
                    ":x: not a number, found 'oops', expected a number (--types x=factor keeps texts, --na oops makes "
                    "this one NA)");
  csv = longSample("note,x", "\"two\nlines\",1");
  folder.write("in.csv", csv + "\"a\nb\r\nc\",oops\n");
  expectFailure(runTool(folder, {"describe", "in.csv"}), 1,
                "in.csv:" + std::to_string(linesOf(csv) + 3) +
                    ":x: not a number, found 'oops', expected a number (--types x=factor keeps texts, --na oops makes "
                    "this one NA)");
}

TEST(BadInput, more_levels_than_the_limit_are_refused_and_the_way_out_works) {
  const TempFolder folder;
  std::string csv = "f\n";
  for (int i = 0; i < 65'535; ++i) csv += "L" + std::to_string(i) + "\n";
  folder.write("in.csv", csv);
  expectFailure(runTool(folder, {"describe", "in.csv", "--types", "f=factor"}), 1,
                "in.csv:65536:f: too many levels, found 'L65534' as the 65535th text, expected at most 65534 different "
                "texts (--types f=string has no such limit)");
  EXPECT_EQ(runTool(folder, {"describe", "in.csv", "--types", "f=string"}).status, 0);
  // The sniffer takes so many different texts for strings by itself.
  EXPECT_EQ(runTool(folder, {"describe", "in.csv"}).status, 0);
}

TEST(BadInput, a_factor_that_outgrows_its_limit_behind_the_sample_is_refused) {
  const TempFolder folder;
  std::string csv = longSample("f", "a");
  const long long lines = linesOf(csv);
  for (int i = 0; i < 65'534; ++i) csv += "L" + std::to_string(i) + "\n";  // with "a", one too many
  folder.write("in.csv", csv);
  expectFailure(runTool(folder, {"describe", "in.csv"}), 1,
                "in.csv:" + std::to_string(lines + 65'534) +
                    ":f: too many levels, found 'L65533' as the 65535th text, expected at most 65534 different texts "
                    "(--types f=string has no such limit)");
}

TEST(BadInput, too_many_levels_to_cross_tabulate_have_no_way_out) {
  const TempFolder folder;
  std::string csv = "f,g\n";
  for (int i = 0; i < 65'535; ++i) csv += "L" + std::to_string(i) + ",x\n";
  folder.write("in.csv", csv);
  expectFailure(runTool(folder, {"crosstab", "in.csv", "--by", "f,g"}), 1,
                "in.csv:65536:f: too many levels, found 'L65534' as the 65535th text, expected at most 65534 different "
                "texts");
}

TEST(BadInput, a_text_too_long_for_any_string_fits_into_a_factor) {
  const TempFolder folder;
  const std::string text(1 << 20, 'x');
  folder.write("in.csv", "s\n" + text + "\n");
  expectFailure(runTool(folder, {"describe", "in.csv", "--types", "s=string:4"}), 1,
                "in.csv:2:s: text too long, found 1048576 bytes, expected at most 3 (--types s=factor makes room)");
  EXPECT_EQ(runTool(folder, {"describe", "in.csv", "--types", "s=factor"}).status, 0);
}

TEST(BadInput, a_text_too_long_for_its_column_is_refused_and_the_way_out_works) {
  const TempFolder folder;
  folder.write("in.csv", "s\nabc\nabcd\n");
  expectFailure(runTool(folder, {"describe", "in.csv", "--types", "s=string:4"}), 1,
                "in.csv:3:s: text too long, found 4 bytes, expected at most 3 (--types s=string:5 makes room)");
  EXPECT_EQ(runTool(folder, {"describe", "in.csv", "--types", "s=string:5"}).status, 0);

  std::string csv = "s\n";
  for (int i = 0; csv.size() < (1 << 20) + 1000; ++i) csv += "text" + std::to_string(i) + "\n";
  const long long lines = linesOf(csv);
  folder.write("in.csv", csv + std::string(256, 'x') + "\n");
  expectFailure(runTool(folder, {"describe", "in.csv"}), 1,
                "in.csv:" + std::to_string(lines + 1) +
                    ":s: text too long, found 256 bytes, expected at most 255 (--types s=string:257 makes room)");
  EXPECT_EQ(runTool(folder, {"describe", "in.csv", "--types", "s=string:257"}).status, 0);
}

TEST(BadInput, a_record_without_end_is_refused_before_it_fills_the_memory) {
  const TempFolder folder;
  folder.write("in.csv", "a,b\n1,\"" + std::string(8 << 20, 'x'));
  expectFailure(
      runTool(folder, {"describe", "in.csv"}), 1,
      "in.csv:2:b: record too long, found more than 4194304 bytes without an end, expected a record of at most "
      "so many bytes, each opening quote closed again (--no-quotes takes quotes as text)");
  folder.write("in.csv", std::string(8 << 20, 'x'));
  expectFailure(runTool(folder, {"describe", "in.csv"}), 1,
                "in.csv:1:0: no table, found 4194304 bytes without a whole record, expected a header line or a row");
}

TEST(BadInput, the_first_fault_of_the_file_is_the_one_reported) {
  const TempFolder folder;
  folder.write("in.csv", "a,b\n1,x\n2\n3,\"y\n");
  expectFailure(runTool(folder, {"describe", "in.csv"}), 1,
                "in.csv:3:b: row too short, found 1 cell, expected 2 as in line 1 (--fill takes missing cells as NA, "
                "--delimiter, --skip and --no-quotes change how lines are split)");
}

TEST(BadInput, a_column_that_the_file_does_not_have_is_a_usage_error) {
  const TempFolder folder;
  folder.write("in.csv", "a,b\n1,2\n");
  expectFailure(runTool(folder, {"crosstab", "in.csv", "--by", "a,c"}), 2,
                "in.csv:1:c: unknown column, found 'c', expected one of 'a', 'b'");
  expectFailure(runTool(folder, {"describe", "in.csv", "--types", "c=double"}), 2,
                "in.csv:1:c: unknown column, found 'c', expected one of 'a', 'b'");
  expectFailure(runTool(folder, {"crosstab", "in.csv", "--by", "a,a"}), 2,
                "in.csv:1:a: column named twice, found 'a', expected each column once");
  expectFailure(runTool(folder, {"crosstab", "in.csv", "--by", "a", "--types", "a=double"}), 2,
                "in.csv:1:a: type does not fit, found --types with another type, expected a factor for this use of the "
                "column");
}

TEST(BadInput, names_with_line_ends_stay_on_the_line) {
  const TempFolder folder;
  folder.write("in.csv", "\"a\nb\",c\n1,2,3\n");
  const ToolResult result = runTool(folder, {"crosstab", "in.csv", "--by", "x\ny"});
  expectFailure(result, 2, "in.csv:1:x\\ny: unknown column, found 'x\\ny', expected one of 'a\\nb', 'c'");
}

TEST(BadInput, what_cannot_be_read_is_an_input_error) {
  const TempFolder folder;
  expectFailure(runTool(folder, {"describe", "missing.csv"}), 3,
                "missing.csv:0:0: cannot open, found No such file or directory, expected a readable CSV file");
  expectFailure(runTool(folder, {"describe", "."}), 3,
                ".:1:0: cannot read, found Is a directory, expected a readable CSV file");
  expectFailure(runShell(folder, "zrb describe - <&-"), 3,
                "-:1:0: cannot read, found Bad file descriptor, expected a readable CSV file");
  expectFailure(runTool(folder, {"describe", "new\nline.csv"}), 3,
                "new\\nline.csv:0:0: cannot open, found No such file or directory, expected a readable CSV file");
}

TEST(BadInput, standard_input_fails_with_its_place_too) {
  const TempFolder folder;
  expectFailure(runShell(folder, "printf 'a,b\\n1,2\\n3\\n' | zrb describe -"), 1,
                "-:3:b: row too short, found 1 cell, expected 2 as in line 1 (--fill takes missing cells as NA, "
                "--delimiter, --skip and --no-quotes change how lines are split)");
}

TEST(BadInput, lines_skipped_are_counted) {
  const TempFolder folder;
  folder.write("in.csv", "one\r\ntwo\nthree\ra,b\n1\n");
  expectFailure(runTool(folder, {"describe", "in.csv", "--skip", "3"}), 1,
                "in.csv:5:b: row too short, found 1 cell, expected 2 as in line 4 (--fill takes missing cells as NA, "
                "--delimiter, --skip and --no-quotes change how lines are split)");
  expectFailure(runTool(folder, {"describe", "in.csv", "--skip", "5"}), 1,
                "in.csv:6:0: no table, found no text, expected a header line or a row");
  expectFailure(runTool(folder, {"describe", "in.csv", "--skip", "6"}), 1,
                "in.csv:6:0: no table, found the end of the file within the lines to skip, expected fewer lines with "
                "--skip");
}

}  // namespace
