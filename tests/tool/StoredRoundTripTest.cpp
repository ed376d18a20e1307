// A table that is imported is the same table: exported it is the CSV file again, and every verb says of it what it says
// of the CSV file.
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <vector>

#include "ToolRun.h"

namespace {

using Json = nlohmann::json;

std::string penguins() {
  std::ifstream file(ZRB_DATA_DIR "/penguins.csv", std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

void expectSuccess(const ToolResult& result) {
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
}

// What an export of the imported text says.
std::string thereAndBack(const TempFolder& folder, const std::string& csv, std::vector<std::string> options = {}) {
  folder.write("in.csv", csv);
  std::vector<std::string> arguments = {"import", "in.csv", "out.zrb"};
  arguments.insert(arguments.end(), options.begin(), options.end());
  expectSuccess(runTool(folder, arguments));
  const ToolResult exported = runTool(folder, {"export", "out.zrb"});
  expectSuccess(exported);
  return exported.out;
}

// Without the file's name and how it was read.
Json description(const TempFolder& folder, const std::string& file) {
  const ToolResult result = runTool(folder, {"describe", "--json", file});
  expectSuccess(result);
  Json json = Json::parse(result.out, nullptr, false);
  json.erase("file");
  json.erase("format");
  return json;
}

TEST(StoredRoundTrip, real_data_comes_back_byte_for_byte) {
  const TempFolder folder;
  EXPECT_EQ(thereAndBack(folder, penguins()), penguins());
}

TEST(StoredRoundTrip, a_canonical_file_of_every_type_comes_back_byte_for_byte) {
  const TempFolder folder;
  const struct {
    const char* reason;
    std::string csv;
    std::vector<std::string> options;
  } cases[] = {
      {"numbers at the ends of their range",
       "x,id\n-0,a\n0,b\n5e-324,c\n-2.2250738585072014e-308,d\n1.7976931348623157e+308,e\n0.1,f\n9007199254740992,g\n"
       "0.0001,h\n9.999e-05,i\n1e+23,j\nNA,k\n",
       {}},
      {"dates before 1970, before the year 0, and to the millisecond",
       "d\n1969-12-31\n1969-12-31T23:59:59.999\n0000-01-01\n-000044-03-15\n+012345-06-07T08:09:10\n2026-11-21T00:00:00."
       "1"
       "\n9999-12-31\nNA\n",
       {}},
      {"quotes, commas and line ends in cells, and in a name",
       "\"a\nb\",\"c,\"\"d\"\"\"\n\"x,y\",\"\"\"\"\n\"two\nlines\",\"\r\"\n\"\r\n\",plain\n",
       {"--types", "a\nb=string"}},
      {"text beyond ASCII", "s,t\nÜnïcode,日本語\n\xF0\x9F\x90\xA7,é\n", {"--types", "s=string"}},
      {"the names of special numbers are texts", "s,i\ninf,1\nnan,2\n-inf,3\nInfinity,4\nNaN,5\n", {}},
      {"codes that look like numbers are texts", "s,i\n007,1\n1e5,2\n+1,3\n0x1F,4\n", {}},
      {"blanks belong to texts", "s,t\n a , b\n  ,c\n\t,d\n", {"--types", "s=string,t=string"}},
      {"no rows", "a,b\n", {}},
      {"one column", "s\nx\ny\n", {"--types", "s=string"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.reason);
    EXPECT_EQ(thereAndBack(folder, c.csv, c.options), c.csv);
  }
}

TEST(StoredRoundTrip, NA_comes_back_as_the_text_it_had) {
  const TempFolder folder;
  const struct {
    const char* reason;
    std::string csv;
    std::vector<std::string> options;
  } cases[] = {
      {"another text than NA", "x,f,s\n1,-,-\n-,a,b\n", {"--na", "-"}},
      {"a text that needs quotes", "x,f\n1,\"n,a\"\n\"n,a\",b\n", {"--na", "n,a"}},
      {"no text at all", "x,f,d\n,a,2026-11-21\n1,,\n", {}},
      {"another one in every column", "x,f,d\nNA,,-\n1,a,2026-11-21\n", {"--na", "NA", "--na", "-"}},
      {"NA is a text when something else stands for NA", "f\nNA\n-\n", {"--na", "-"}},
      {"an empty cell is a row of its own in a table of one column", "s\nx\n\"\"\ny\n", {}},
      {"a column of nothing else", "x,y\n1,NA\n2,NA\n", {}},
      {"the character that stands for NA inside",
       "s,i\n\xEF\xBF\xBF"
       "a,1\nNA,2\n",
       {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.reason);
    EXPECT_EQ(thereAndBack(folder, c.csv, c.options), c.csv);
  }
}

TEST(StoredRoundTrip, what_was_not_canonical_comes_back_so) {
  const TempFolder folder;
  EXPECT_EQ(thereAndBack(folder, "x;d;\"f\"\r\n1.50;2026-11-21T01:00+01:00;\"a\"\r\n-0.0;2026-11-21 12:30;NA\r\n"),
            "x,d,f\n1.5,2026-11-21,a\n-0,2026-11-21T12:30:00,NA\n");
  EXPECT_EQ(thereAndBack(folder, "x,y\n1,NA\n2,\n", {"--types", "y=double"}), "x,y\n1,NA\n2,NA\n");
}

TEST(StoredRoundTrip, without_a_header_the_names_are_left_out_on_request) {
  const TempFolder folder;
  EXPECT_EQ(thereAndBack(folder, "1,a\n2,b\n", {"--no-header"}), "1,2\n1,a\n2,b\n");
  EXPECT_EQ(runTool(folder, {"export", "out.zrb", "--no-header"}).out, "1,a\n2,b\n");
}

TEST(StoredRoundTrip, random_tables_come_back_byte_for_byte) {
  const TempFolder folder;
  for (const int seed : {1, 2, 3}) {
    const ToolResult csv = runTool(folder, {"generate", "--rows", "20011", "--seed", std::to_string(seed), "--schema",
                                            "x:double,f:factor,s:string,d:timeDate,y:double"});
    expectSuccess(csv);
    EXPECT_EQ(thereAndBack(folder, csv.out), csv.out);
  }
}

TEST(StoredRoundTrip, random_texts_come_back_byte_for_byte) {
  const TempFolder folder;
  const std::vector<std::string> pieces = {"a", "\"", ",", "\n", "\r", " ", "é", "日", ";", "'", "\t", "NA", "0"};
  std::mt19937 random(20261121);
  std::string csv = "s,t\n";
  for (int row = 0; row < 3000; ++row)
    for (int column = 0; column < 2; ++column) {
      std::string text;
      for (auto left = random() % 6 + 1; left > 0; --left) text += pieces[random() % pieces.size()];
      if (text.find_first_of(",\"\r\n") != std::string::npos) {
        for (std::size_t at = 0; (at = text.find('"', at)) != std::string::npos; at += 2) text.insert(at, 1, '"');
        text = '"' + text + '"';
      }
      csv += text + (column == 0 ? ',' : '\n');
    }
  EXPECT_EQ(thereAndBack(folder, csv, {"--types", "s=string,t=factor"}), csv);
}

TEST(StoredRoundTrip, a_factor_may_have_65534_levels) {
  const TempFolder folder;
  std::string csv = "f\n";
  for (int i = 0; i < 65'534; ++i) csv += "L" + std::to_string(i) + "\n";
  EXPECT_EQ(thereAndBack(folder, csv + "NA\n", {"--types", "f=factor"}), csv + "NA\n");
  folder.write("in.csv", csv + "more\n");
  expectFailure(runTool(folder, {"import", "in.csv", "out.zrb", "--types", "f=factor"}), 1,
                "in.csv:65536:f: too many levels, found 'more' as the 65535th text, expected at most 65534 different "
                "texts (--types f=string has no such limit)");
}

TEST(StoredRoundTrip, standard_input_is_imported) {
  const TempFolder folder;
  folder.write("in.csv", penguins());
  expectSuccess(runShell(folder, "cat in.csv | zrb import - out.zrb"));
  EXPECT_EQ(runTool(folder, {"export", "out.zrb"}).out, penguins());
}

TEST(StoredRoundTrip, export_writes_a_file_on_request) {
  const TempFolder folder;
  thereAndBack(folder, penguins());
  folder.write("old.csv", "old");
  const ToolResult result = runTool(folder, {"export", "out.zrb", "-o", "old.csv"});
  expectSuccess(result);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(folder.read("old.csv"), penguins());
}

TEST(StoredRoundTrip, describe_says_of_the_rows_what_it_says_of_the_CSV_file) {
  const TempFolder folder;
  for (const std::string& csv :
       {penguins(),
        runTool(folder, {"generate", "--rows", "15000", "--schema", "x:double,f:factor,s:string,d:timeDate"}).out}) {
    thereAndBack(folder, csv);
    EXPECT_EQ(description(folder, "out.zrb"), description(folder, "in.csv"));
  }
  EXPECT_NE(runTool(folder, {"describe", "out.zrb"}).out.find("out.zrb: 15000 rows, 4 columns, stored as rows of "),
            std::string::npos);
}

TEST(StoredRoundTrip, crosstab_says_of_any_column_what_it_says_of_the_CSV_file) {
  const TempFolder folder;
  thereAndBack(folder, penguins());
  // Numbers, factors, an order of columns other than the file's, and columns in between that are not asked for.
  for (const char* by : {"sex", "year", "year,species", "sex,island,species", "body_mass_g"}) {
    Json stored = Json::parse(runTool(folder, {"crosstab", "--json", "out.zrb", "--by", by}).out, nullptr, false);
    Json csv = Json::parse(runTool(folder, {"crosstab", "--json", "in.csv", "--by", by}).out, nullptr, false);
    EXPECT_EQ(stored["file"], "out.zrb");
    stored.erase("file");
    csv.erase("file");
    EXPECT_EQ(stored, csv) << by;
  }
  thereAndBack(folder, "d,s\n2026-11-21,a\nNA,b\n2026-11-21,NA\n1969-12-31T23:00:00,b\n", {"--types", "s=string"});
  EXPECT_EQ(runTool(folder, {"crosstab", "out.zrb", "--by", "d,s"}).out,
            "out.zrb: 4 rows by d, s\n\n"
            "d                    a  b  NA  Total\n"
            "1969-12-31T23:00:00  0  1   0      1\n"
            "2026-11-21           1  0   1      2\n"
            "NA                   0  1   0      1\n"
            "Total                1  2   1      4\n");
}

TEST(StoredRoundTrip, rows_and_schema_have_the_documented_bytes) {
  const TempFolder folder;
  folder.write("in.csv", "x,f,s,d\n1,red,ab,1970-01-02\nNA,NA,NA,NA\n-0,blue,abc,1969-12-31T23:59:59.999\n");
  expectSuccess(runTool(folder, {"import", "in.csv", "out.zrb", "--types", "f=factor,s=string:5"}));
  const std::string rows[] = {// x, high byte first        f            s                    d, high byte first
                              std::string("\x3F\xF0\0\0\0\0\0\0", 8) + std::string("\0\0", 2) +
                                  std::string("ab\0\0\0", 5) + std::string("\0\0\0\0\x05\x26\x5C\0", 8),
                              std::string("\x7F\xF0\0\x01\x7F\xF0\0\x01", 8) + "\xFF\xFF" +
                                  std::string("\xEF\xBF\xBF\0\0", 5) + "\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF",
                              std::string("\x80\0\0\0\0\0\0\0", 8) + std::string("\0\x01", 2) +
                                  std::string("abc\0\0", 5) + "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"};
  EXPECT_EQ(folder.read("out.zrb"), rows[0] + rows[1] + rows[2]);
  EXPECT_EQ(folder.read("out.zrb.json"), R"({
  "format": "zrb rows",
  "version": 1,
  "rows": 3,
  "row_bytes": 23,
  "file_bytes": 69,
  "source": "in.csv",
  "columns": [
    {
      "name": "x",
      "type": "double",
      "offset": 0,
      "bytes": 8,
      "na": "NA"
    },
    {
      "name": "f",
      "type": "factor",
      "offset": 8,
      "bytes": 2,
      "na": "NA",
      "levels": [
        "red",
        "blue"
      ]
    },
    {
      "name": "s",
      "type": "string",
      "offset": 10,
      "bytes": 5,
      "na": "NA"
    },
    {
      "name": "d",
      "type": "timeDate",
      "offset": 15,
      "bytes": 8,
      "na": "NA"
    }
  ]
}
)");
}

TEST(StoredRoundTrip, info_shows_schema_and_layout) {
  const TempFolder folder;
  folder.write("in.csv", "x,f,s\n1,red,ab\nNA,NA,NA\n-0,blue,abc\n");
  expectSuccess(runTool(folder, {"import", "in.csv", "out.zrb", "--types", "f=factor,s=string:5"}));
  EXPECT_EQ(runTool(folder, {"info", "out.zrb"}).out,
            "out.zrb: 3 rows of 15 bytes, 45 in all\n"
            "imported from in.csv\n"
            "\n"
            "column  type    offset  bytes  levels  NA\n"
            "x       double       0      8          'NA'\n"
            "f       factor       8      2       2  'NA'\n"
            "s       string      10      5          'NA'\n");
  const Json json = Json::parse(runTool(folder, {"info", "--json", "out.zrb"}).out, nullptr, false);
  EXPECT_EQ(json["file"], "out.zrb");
  EXPECT_EQ(json["schema_file"], "out.zrb.json");
  EXPECT_EQ(json["schema"], Json::parse(folder.read("out.zrb.json")));
}

TEST(StoredRoundTrip, a_table_may_be_moved_with_its_schema) {
  const TempFolder folder;
  thereAndBack(folder, penguins());
  std::filesystem::create_directory(folder.path() + "/other");
  std::filesystem::rename(folder.path() + "/out.zrb", folder.path() + "/other/new.zrb");
  std::filesystem::rename(folder.path() + "/out.zrb.json", folder.path() + "/other/new.zrb.json");
  EXPECT_EQ(runTool(folder, {"export", "other/new.zrb"}).out, penguins());
}

}  // namespace
