// Rows, schemas and blobs that are not what they have to be: one line with file and place, and nothing on standard
// output.
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "ToolRun.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kVerbs[] = {"describe out.zrb", "crosstab out.zrb --by f", "export out.zrb",
                                  "export out.zrb -o new.csv"};

// Two rows of 41 bytes: x at 0, f (red, blue) at 8, s (5 bytes) at 10, d at 15, p (a factor) at 23, b at 25.
class StoredRefusals : public testing::Test {
protected:
  void SetUp() override {
    folder.write("blob", "12345");
    folder.write("in.csv", "x,f,s,d,p\n1,red,ab,1970-01-02,blob\n-0,blue,abc,NA,NA\n");
    const ToolResult result =
        runTool(folder, {"import", "in.csv", "out.zrb", "--types", "f=factor,s=string:5", "--blob-column", "b=p"});
    ASSERT_EQ(result.status, 0) << result.err;
    rows = folder.read("out.zrb");
    schema = folder.read("out.zrb.json");
    blobs = folder.read("out.zrb.blobs");
    ASSERT_EQ(rows.size(), 82u);
  }

  void restore() const {
    folder.write("out.zrb", rows);
    folder.write("out.zrb.json", schema);
    folder.write("out.zrb.blobs", blobs);
  }

  // Every verb that reads rows refuses them in the same words, and info does where it looks.
  void expectRefused(int status, const std::string& line, bool infoAsWell = true) const {
    for (const char* verb : kVerbs) {
      SCOPED_TRACE(verb);
      expectFailure(runShell(folder, std::string("zrb ") + verb), status, line);
    }
    if (infoAsWell) expectFailure(runTool(folder, {"info", "out.zrb"}), status, line);
    EXPECT_FALSE(std::filesystem::exists(folder.path() + "/new.csv"));
  }

  TempFolder folder;
  std::string rows, schema, blobs;
};

TEST_F(StoredRefusals, missing_files) {
  std::filesystem::remove(folder.path() + "/out.zrb");
  expectRefused(3, "out.zrb:0:0: cannot open, found No such file or directory, expected a file that zrb import wrote");
  restore();
  std::filesystem::remove(folder.path() + "/out.zrb.json");
  expectRefused(
      3, "out.zrb.json:0:0: cannot open, found No such file or directory, expected the schema that zrb import writes");
  restore();
  std::filesystem::remove(folder.path() + "/out.zrb.blobs");
  expectRefused(3, "out.zrb.blobs:0:0: cannot open, found No such file or directory, expected the blob file, 29 bytes");
  std::filesystem::remove(folder.path() + "/out.zrb");
  std::filesystem::create_directory(folder.path() + "/out.zrb");
  expectRefused(3, "out.zrb:0:0: cannot open, found something that is no file, expected a file that zrb import wrote");
}

TEST_F(StoredRefusals, files_of_another_size) {
  folder.write("out.zrb", rows.substr(0, 81));
  expectRefused(1, "out.zrb:0:0: file does not fit its schema, found 81 bytes, expected 82 (2 rows of 41 bytes)");
  folder.write("out.zrb", rows + rows.substr(0, 41));
  expectRefused(1, "out.zrb:0:0: file does not fit its schema, found 123 bytes, expected 82 (2 rows of 41 bytes)");
  folder.write("out.zrb", "");
  expectRefused(1, "out.zrb:0:0: file does not fit its schema, found 0 bytes, expected 82 (2 rows of 41 bytes)");
  restore();
  folder.write("out.zrb.blobs", blobs.substr(0, 20));  // cut inside the record
  expectRefused(1, "out.zrb.blobs:0:0: file does not fit its schema, found 20 bytes, expected the blob file, 29 bytes");
}

TEST_F(StoredRefusals, schemas_that_are_no_JSON) {
  const struct {
    std::string text;
    const char* place;
    const char* found;
  } cases[] = {
      {"", "1", "the end of the file"},
      {"{\n  \"format\": \"zrb rows\",\n", "3", "the end of the file"},
      {"{\n  \"format\": 'zrb rows'\n}", "2", "'''"},
      {"{\"a\": 1}\n{}", "2", "'{'"},
      {"\xFF", "1", "'\\xFF'"},
      {"{\"a\": 1e999}", "0", "a number out of range"},
      {std::string("{}\0", 3), "1", "'\\x00'"},
  };
  for (const auto& c : cases) {
    folder.write("out.zrb.json", c.text);
    expectFailure(runTool(folder, {"describe", "out.zrb"}), 1,
                  std::string("out.zrb.json:") + c.place + ":0: schema is no JSON, found " + c.found +
                      ", expected the schema that zrb import writes");
  }
}

TEST_F(StoredRefusals, a_schema_nested_without_end_is_refused) {
  folder.write("out.zrb.json", std::string(1 << 20, '['));
  expectFailure(runTool(folder, {"describe", "out.zrb"}), 1,
                "out.zrb.json:1:0: schema is no JSON, found the end of the file, expected the schema that zrb import "
                "writes");
  folder.write("out.zrb.json", std::string(1 << 20, '[') + std::string(1 << 20, ']'));
  expectFailure(runTool(folder, {"describe", "out.zrb"}), 1,
                "out.zrb.json:0:0: schema does not fit, found an array, expected an object");
}

TEST_F(StoredRefusals, a_schema_larger_than_the_limit_is_refused) {
  folder.write("out.zrb.json", std::string((32 << 20) + 1, ' '));
  expectFailure(
      runTool(folder, {"describe", "out.zrb"}), 1,
      "out.zrb.json:0:0: schema too large, found more than 33554432 bytes, expected the schema that zrb import "
      "writes");
}

// What stands in the schema at a JSON pointer, and what is said of another value there.
TEST_F(StoredRefusals, schemas_that_do_not_fit) {
  const Json kNone = Json::value_t::discarded;  // the key is left out
  const struct {
    const char* at;
    Json value;
    const char* line;  // behind the file's name and the line
  } cases[] = {
      {"", Json::array(), "0: schema does not fit, found an array, expected an object"},
      {"/format", "rows", "format: schema does not fit, found 'rows', expected 'zrb rows'"},
      {"/format", 1, "format: schema does not fit, found 1, expected a text"},
      {"/format", kNone, "format: schema does not fit, found no such key, expected the schema that zrb import writes"},
      {"/version", 2, "version: schema does not fit, found 2, expected 1 (the version that this zrb reads)"},
      {"/version", 0, "version: schema does not fit, found 0, expected a whole number from 1 to 9223372036854775807"},
      {"/version", kNone,
       "version: schema does not fit, found no such key, expected the schema that zrb import writes"},
      {"/source", nullptr, "source: schema does not fit, found null, expected a text"},
      {"/rows", -1, "rows: schema does not fit, found -1, expected a whole number from 0 to 224960293581823800"},
      {"/rows", 2.0, "rows: schema does not fit, found 2.0, expected a whole number from 0 to 224960293581823800"},
      {"/rows", "2", "rows: schema does not fit, found '2', expected a whole number from 0 to 224960293581823800"},
      {"/rows", 224960293581823801,
       "rows: schema does not fit, found 224960293581823801, expected a whole number from 0 to 224960293581823800"},
      {"/rows", 18446744073709551615u,
       "rows: schema does not fit, found 18446744073709551615, expected a whole number from 0 to 224960293581823800"},
      {"/rows", 3, "file_bytes: schema does not fit, found 82, expected 123 (rows x row_bytes)"},
      {"/row_bytes", 40, "row_bytes: schema does not fit, found 40, expected 41 (the end of the last cell)"},
      {"/row_bytes", 0, "row_bytes: schema does not fit, found 0, expected 41 (the end of the last cell)"},
      {"/row_bytes", -41,
       "row_bytes: schema does not fit, found -41, expected a whole number from 0 to 9223372036854775807"},
      {"/file_bytes", 81, "file_bytes: schema does not fit, found 81, expected 82 (rows x row_bytes)"},
      {"/columns", Json::object(), "columns: schema does not fit, found an object, expected an array"},
      {"/columns", Json::array(), "columns: schema does not fit, found no column, expected at least one"},
      {"/columns/1", "f", "columns[1]: schema does not fit, found 'f', expected an object"},
      {"/columns/0/name", 7, "columns[0].name: schema does not fit, found 7, expected a text"},
      {"/columns/0/name", "", "columns[0].name: schema does not fit, found '', expected a text that is not empty"},
      {"/columns/0/name", std::string("a\0b", 3),
       "columns[0].name: schema does not fit, found 'a\\x00b', expected a text without NUL"},
      {"/columns/1/name", "x", "columns[1].name: schema does not fit, found 'x', expected names that differ"},
      {"/columns/0/type", "float",
       "columns[0].type: schema does not fit, found 'float', expected double, factor, string, timeDate or blob"},
      {"/columns/0/type", "factor",
       "columns[0].bytes: schema does not fit, found 8, expected 2 (the cell of a factor)"},
      {"/columns/0/bytes", 7, "columns[0].bytes: schema does not fit, found 7, expected 8 (the cell of a double)"},
      {"/columns/2/bytes", 3,
       "columns[2].bytes: schema does not fit, found 3, expected a whole number from 4 to 1048576"},
      {"/columns/2/bytes", 9223372036854775807,
       "columns[2].bytes: schema does not fit, found 9223372036854775807, expected a whole number from 4 to 1048576"},
      {"/columns/2/bytes", -5,
       "columns[2].bytes: schema does not fit, found -5, expected a whole number from 4 to 1048576"},
      {"/columns/2/bytes", 6,
       "columns[3].offset: schema does not fit, found 15, expected 16 (the end of the cell before)"},
      {"/columns/3/offset", 14,
       "columns[3].offset: schema does not fit, found 14, expected 15 (the end of the cell before)"},
      {"/columns/3/offset", -15,
       "columns[3].offset: schema does not fit, found -15, expected a whole number from 0 to 16777216"},
      {"/columns/3/na", false, "columns[3].na: schema does not fit, found false, expected a text"},
      {"/columns/1/levels", kNone,
       "columns[1].levels: schema does not fit, found no such key, expected the schema that zrb import writes"},
      {"/columns/1/levels", "red", "columns[1].levels: schema does not fit, found 'red', expected an array"},
      {"/columns/1/levels/1", 5, "columns[1].levels[1]: schema does not fit, found 5, expected a text"},
      {"/columns/1/levels/1", "",
       "columns[1].levels[1]: schema does not fit, found '', expected a text that is not empty"},
      {"/columns/1/levels/1", "red",
       "columns[1].levels[1]: schema does not fit, found 'red', expected levels that differ"},
      {"/columns/1/levels/0", "\xEF\xBF\xBF",
       "columns[1].levels[0]: schema does not fit, found '\xEF\xBF\xBF', expected a text other than the character "
       "U+FFFF"},
      {"/columns/1/levels", Json(65535, "x"),
       "columns[1].levels: schema does not fit, found 65535 levels, expected at most 65534"},
      {"/blobs", kNone, "blobs: schema does not fit, found no such key, expected the schema that zrb import writes"},
      {"/blobs/file", "../blobs",
       "blobs.file: schema does not fit, found '../blobs', expected the name of a file in the same folder"},
      {"/blobs/file", "..",
       "blobs.file: schema does not fit, found '..', expected the name of a file in the same folder"},
      {"/blobs/bytes", -1,
       "blobs.bytes: schema does not fit, found -1, expected a whole number from 0 to 9223372036854775807"},
  };
  for (const auto& c : cases) {
    Json json = Json::parse(schema);
    const Json::json_pointer at(c.at);
    if (c.value.is_discarded())
      json.at(at.parent_pointer()).erase(at.back());
    else
      json[at] = c.value;
    folder.write("out.zrb.json", json.dump());
    SCOPED_TRACE(c.line);
    expectFailure(runTool(folder, {"describe", "out.zrb"}), 1, std::string("out.zrb.json:0:") + c.line);
  }
}

TEST_F(StoredRefusals, a_row_wider_than_the_limit_is_refused_before_memory_is_asked_for) {
  Json json = Json::parse(schema);
  json.erase("blobs");
  json["columns"] = Json::array();
  for (int i = 0; i < 17; ++i)
    json["columns"].push_back(
        {{"name", std::to_string(i)}, {"type", "string"}, {"offset", i << 20}, {"bytes", 1 << 20}, {"na", "NA"}});
  folder.write("out.zrb.json", json.dump());
  expectFailure(
      runTool(folder, {"describe", "out.zrb"}), 1,
      "out.zrb.json:0:columns: schema does not fit, found a row of more bytes, expected at most 16777216 bytes "
      "in a row");
}

TEST_F(StoredRefusals, a_schema_with_blobs_but_without_a_column_of_them) {
  Json json = Json::parse(schema);
  json["columns"].erase(5);
  json["row_bytes"] = 25;
  json["file_bytes"] = 50;
  folder.write("out.zrb.json", json.dump());
  expectFailure(
      runTool(folder, {"describe", "out.zrb"}), 1,
      "out.zrb.json:0:blobs: schema does not fit, found an object, expected no such key without a blob column");
}

// Bytes of a cell in the second row.
TEST_F(StoredRefusals, cells_that_do_not_fit) {
  const struct {
    std::size_t at;
    std::string bytes;
    const char* line;
  } cases[] = {
      {8, std::string("\0\x02", 2),
       "out.zrb:2:f: level without a name, found 2, expected a number below 2, or 65535 for NA"},
      {8, "\xFF\xFE", "out.zrb:2:f: level without a name, found 65534, expected a number below 2, or 65535 for NA"},
      {10, "abcde",
       "out.zrb:2:s: text without end, found 5 bytes without a NUL, expected a text that ends in its cell"},
      {10, std::string("\xE4\0", 2), "out.zrb:2:s: text is no UTF-8, found '\\xE4', expected UTF-8 text"},
      {25, std::string("\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x06", 16),
       "out.zrb:2:b: blob outside its file, found 6 bytes at 0, expected a record within the 29 bytes of "
       "out.zrb.blobs"},
      {25, std::string("\0\0\0\0\0\0\0\x06\0\0\0\0\0\0\0\0", 16),
       "out.zrb:2:b: blob outside its file, found 0 bytes at 6, expected a record within the 29 bytes of "
       "out.zrb.blobs"},
      {25, std::string("\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF", 16),
       "out.zrb:2:b: blob outside its file, found 9223372036854775807 bytes at 9223372036854775807, expected a record "
       "within the 29 bytes of out.zrb.blobs"},
      {25, std::string("\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\0\0\0\0\0\0\0\x05", 16),
       "out.zrb:2:b: blob outside its file, found 5 bytes at -1, expected a record within the 29 bytes of "
       "out.zrb.blobs"},
      {25, std::string("\0\0\0\0\0\0\0\0\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF", 16),
       "out.zrb:2:b: blob outside its file, found -1 bytes at 0, expected a record within the 29 bytes of "
       "out.zrb.blobs"},
  };
  for (const auto& c : cases) {
    std::string changed = rows;
    changed.replace(41 + c.at, c.bytes.size(), c.bytes);
    folder.write("out.zrb", changed);
    SCOPED_TRACE(c.line);
    expectFailure(runTool(folder, {"describe", "out.zrb"}), 1, c.line);
    // Only the cells of columns that are read are looked at; blobs are no part of an export.
    if (c.at != 25) expectFailure(runTool(folder, {"export", "out.zrb"}), 1, c.line);
    if (c.at == 25) expectFailure(runTool(folder, {"blob", "out.zrb", "--row", "2", "--column", "b"}), 1, c.line);
    if (c.at == 8) expectFailure(runTool(folder, {"crosstab", "out.zrb", "--by", "x,f"}), 1, c.line);
    EXPECT_EQ(runTool(folder, {"crosstab", "out.zrb", "--by", "x"}).status, 0);
  }
}

TEST_F(StoredRefusals, a_bad_cell_behind_many_rows_leaves_nothing_written) {
  std::string csv = "s,i\n";
  for (int i = 0; i < 40'000; ++i) csv += "text" + std::to_string(i) + "," + std::to_string(i) + "\n";
  folder.write("in.csv", csv);
  ASSERT_EQ(runTool(folder, {"import", "in.csv", "out.zrb", "--types", "s=string:16,i=double"}).status, 0);
  rows = folder.read("out.zrb");
  ASSERT_EQ(rows.size(), 40'000u * 24);
  rows.replace(39'999 * 24, 16, std::string(16, 'x'));
  folder.write("out.zrb", rows);
  folder.write("old.csv", "old");
  const char* line =
      "out.zrb:40000:s: text without end, found 16 bytes without a NUL, expected a text that ends in its cell";
  expectFailure(runTool(folder, {"export", "out.zrb"}), 1, line);
  expectFailure(runTool(folder, {"export", "out.zrb", "-o", "old.csv"}), 1, line);
  EXPECT_EQ(folder.read("old.csv"), "old");
}

// Every byte of the record but its data, which could be anything.
TEST_F(StoredRefusals, a_blob_whose_record_is_damaged_is_not_written) {
  for (std::size_t i = 0; i < blobs.size(); ++i) {
    if (i >= 12 && i < 17) continue;
    std::string changed = blobs;
    changed[i] = static_cast<char>(changed[i] ^ 0x40);
    folder.write("out.zrb.blobs", changed);
    SCOPED_TRACE(i);
    expectFailure(
        runTool(folder, {"blob", "out.zrb", "--row", "1", "--column", "b"}), 1,
        std::string("out.zrb.blobs:0:0: no blob for row 1 of 'b', found ZRBBackingFileBuf::") +
            (i < 12 ? "openReadBlobData - incorrect header data: 0" : "closeReadBlobData - incorrect trailer data: 0") +
            ", expected a record of 5 bytes at 0");
  }
  restore();
  EXPECT_EQ(runTool(folder, {"blob", "out.zrb", "--row", "1", "--column", "b"}).out, "12345");
}

}  // namespace
