// The contents of files as blobs: in by import, out by blob.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "ToolRun.h"

namespace {

void expectSuccess(const ToolResult& result) {
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
}

// Three rows: 5 bytes, none, 7 bytes; and one without a blob.
void importPictures(const TempFolder& folder) {
  std::filesystem::create_directory(folder.path() + "/pictures");
  folder.write("pictures/a", "12345");
  folder.write("pictures/empty", "");
  folder.write("pictures/c", std::string("\0\n\r\"\xFF,7", 7));
  folder.write("pictures/in.csv", "id,path\n1,a\n2,empty\n3,NA\n4,c\n");
  expectSuccess(runTool(folder, {"import", "pictures/in.csv", "out.zrb", "--blob-column", "picture=path"}));
}

TEST(StoredBlob, the_files_named_in_a_column_become_blobs) {
  const TempFolder folder;
  importPictures(folder);
  const ToolResult first = runTool(folder, {"blob", "out.zrb", "--row", "1", "--column", "picture"});
  expectSuccess(first);
  EXPECT_EQ(first.out, "12345");
  const ToolResult second = runTool(folder, {"blob", "out.zrb", "--row", "2", "--column", "picture"});
  expectSuccess(second);
  EXPECT_EQ(second.out, "");
  expectSuccess(runTool(folder, {"blob", "out.zrb", "--row", "4", "--column", "picture", "-o", "copy"}));
  EXPECT_EQ(folder.read("copy"), folder.read("pictures/c"));
  expectFailure(runTool(folder, {"blob", "out.zrb", "--row", "3", "--column", "picture"}), 1,
                "out.zrb:3:picture: no blob, found NA, expected a row with a blob");
}

TEST(StoredBlob, the_blob_file_holds_one_record_after_the_other) {
  const TempFolder folder;
  importPictures(folder);
  const auto record = [](char offset, const std::string& data) {
    return std::string("BLB\0\0\0\0\0\0\0\0", 11) + offset + data + std::string("\0\0\0\0\0\0\0", 7) +
           static_cast<char>(data.size()) + std::string("ELB\0", 4);
  };
  EXPECT_EQ(folder.read("out.zrb.blobs"), record(0, "12345") + record(29, "") + record(53, folder.read("pictures/c")));
  EXPECT_EQ(folder.read("out.zrb.blobs").size(), 84u);
  EXPECT_EQ(runTool(folder, {"info", "out.zrb"}).out,
            "out.zrb: 4 rows of 26 bytes, 104 in all\n"
            "imported from pictures/in.csv\n"
            "blobs in out.zrb.blobs: 84 bytes\n"
            "\n"
            "column   type    offset  bytes  levels  NA\n"
            "id       double       0      8          'NA'\n"
            "path     factor       8      2       3  'NA'\n"
            "picture  blob        10     16\n");
}

TEST(StoredBlob, other_verbs_know_blobs_by_their_lengths_or_leave_them_out) {
  const TempFolder folder;
  importPictures(folder);
  const ToolResult described = runTool(folder, {"describe", "out.zrb"});
  expectSuccess(described);
  EXPECT_NE(described.out.find("picture  blob    3   1          0 bytes  7 bytes  4 bytes  3.605551275 bytes"),
            std::string::npos)
      << described.out;
  EXPECT_EQ(runTool(folder, {"export", "out.zrb"}).out, folder.read("pictures/in.csv"));
  expectFailure(runTool(folder, {"crosstab", "out.zrb", "--by", "picture"}), 2,
                "out.zrb:0:picture: type does not fit, found a blob column, expected a column of texts, numbers or "
                "dates");
}

TEST(StoredBlob, a_blob_longer_than_any_piece_comes_back) {
  const TempFolder folder;
  std::string data;
  for (unsigned i = 0; i < 100'003; ++i) data += static_cast<char>(i * i % 251);
  folder.write("large", data);
  folder.write("in.csv", "path\nlarge\nlarge\n");
  expectSuccess(runTool(folder, {"import", "in.csv", "out.zrb", "--blob-column", "b=path"}));
  for (const char* row : {"1", "2"})
    EXPECT_EQ(runTool(folder, {"blob", "out.zrb", "--row", row, "--column", "b"}).out, data);
}

TEST(StoredBlob, several_columns_of_blobs_share_the_file) {
  const TempFolder folder;
  folder.write("a", "aa");
  folder.write("b", "bbb");
  folder.write("in.csv", "p=1,q\na,b\nb,a\n");
  expectSuccess(runTool(folder, {"import", "in.csv", "out.zrb", "--blob-column", "x=q", "--blob-column", "y=q"}));
  EXPECT_EQ(runTool(folder, {"blob", "out.zrb", "--row", "1", "--column", "x"}).out, "bbb");
  EXPECT_EQ(runTool(folder, {"blob", "out.zrb", "--row", "2", "--column", "y"}).out, "aa");
}

TEST(StoredBlob, a_table_imported_again_without_blobs_has_no_blob_file) {
  const TempFolder folder;
  importPictures(folder);
  expectSuccess(runTool(folder, {"import", "pictures/in.csv", "out.zrb"}));
  EXPECT_FALSE(std::filesystem::exists(folder.path() + "/out.zrb.blobs"));
}

TEST(StoredBlob, the_tables_may_be_in_another_folder_than_the_tool_runs_in) {
  const TempFolder folder;
  std::filesystem::create_directory(folder.path() + "/sub");
  folder.write("a", "12345");
  folder.write("in.csv", "path\na\n");
  expectSuccess(runTool(folder, {"import", "in.csv", "sub/out.zrb", "--blob-column", "b=path"}));
  EXPECT_EQ(runTool(folder, {"blob", "sub/out.zrb", "--row", "1", "--column", "b"}).out, "12345");
  // Paths of standard input are seen from where the tool runs; others may be absolute.
  expectSuccess(runShell(folder, "printf 'path\\n'\"$PWD\"'/a\\na\\n' | zrb import - out.zrb --blob-column b=path"));
  EXPECT_EQ(runTool(folder, {"blob", "out.zrb", "--row", "1", "--column", "b"}).out, "12345");
  EXPECT_EQ(runTool(folder, {"blob", "out.zrb", "--row", "2", "--column", "b"}).out, "12345");
}

TEST(StoredBlob, a_file_that_cannot_be_read_is_refused_with_its_line_and_nothing_is_written) {
  const TempFolder folder;
  std::filesystem::create_directory(folder.path() + "/folder");
  mkfifo((folder.path() + "/pipe").c_str(), 0600);
  folder.write("a", "12345");
  const struct {
    const char* path;
    const char* found;
  } cases[] = {
      {"missing", "'missing' with No such file or directory"},
      {"folder", "'folder' with something that is no file"},
      {"pipe", "'pipe' with something that is no file"},
      {"a/b", "'a/b' with Not a directory"},
  };
  for (const auto& c : cases) {
    folder.write("in.csv", std::string("note,path\n\"two\nlines\",a\nx,") + c.path + "\n");
    expectFailure(runTool(folder, {"import", "in.csv", "out.zrb", "--blob-column", "b=path"}), 3,
                  std::string("in.csv:4:path: cannot read the file named here, found ") + c.found +
                      ", expected the path of a file, seen from the folder of the CSV file");
    EXPECT_FALSE(std::filesystem::exists(folder.path() + "/out.zrb"));
    EXPECT_FALSE(std::filesystem::exists(folder.path() + "/out.zrb.blobs"));
  }
}

TEST(StoredBlob, a_minus_is_standard_output) {
  const TempFolder folder;
  importPictures(folder);
  EXPECT_EQ(runTool(folder, {"blob", "out.zrb", "--row", "1", "--column", "picture", "-o", "-"}).out, "12345");
  EXPECT_EQ(runTool(folder, {"export", "out.zrb", "--output", "-"}).out, folder.read("pictures/in.csv"));
  EXPECT_FALSE(std::filesystem::exists(folder.path() + "/-"));
  expectSuccess(runTool(folder, {"export", "out.zrb", "-o", "./-"}));
  EXPECT_EQ(folder.read("-"), folder.read("pictures/in.csv"));
}

TEST(StoredBlob, a_request_that_makes_no_sense_is_a_usage_error) {
  const TempFolder folder;
  importPictures(folder);
  expectSuccess(runTool(folder, {"import", "pictures/in.csv", "plain.zrb"}));
  const struct {
    std::vector<std::string> arguments;
    const char* error;
  } cases[] = {
      {{"blob", "out.zrb", "--row", "5", "--column", "picture"},
       "out.zrb:0:0: no such row, found 5, expected one of its 4 rows, counted from 1"},
      {{"blob", "out.zrb", "--row", "0", "--column", "picture"},
       "zrb blob: --row: found '0', expected a whole number from 1 (zrb blob --help tells more)"},
      {{"blob", "out.zrb", "--row", "1", "--column", "none"},
       "out.zrb:0:none: unknown column, found 'none', expected one of 'picture'"},
      {{"blob", "out.zrb", "--row", "1", "--column", "id"},
       "out.zrb:0:id: type does not fit, found a double column, expected one of 'picture'"},
      {{"blob", "plain.zrb", "--row", "1", "--column", "id"},
       "plain.zrb:0:id: type does not fit, found a double column, expected a table with a blob column, as zrb import "
       "--blob-column makes it"},
      {{"blob", "plain.zrb", "--row", "1", "--column", "none"},
       "plain.zrb:0:none: unknown column, found 'none', expected a table with a blob column, as zrb import "
       "--blob-column makes it"},
      {{"blob", "in.csv", "--row", "1", "--column", "id"},
       "zrb blob: found 'in.csv', expected the name of a file that ends in .zrb"},
      {{"export", "out.zrb", "-o", ""},
       "zrb export: --output: found '', expected the name of a file, or - for standard output (zrb export --help tells "
       "more)"},
      {{"export", "in.csv"}, "zrb export: found 'in.csv', expected the name of a file that ends in .zrb"},
      {{"info", "in.csv"}, "zrb info: found 'in.csv', expected the name of a file that ends in .zrb"},
      {{"import", "pictures/in.csv", "new.zrb", "--blob-column", "x"},
       "zrb import: --blob-column: found 'x', expected NAME=PATHCOLUMN"},
      {{"import", "pictures/in.csv", "new.zrb", "--blob-column", "x=y"},
       "pictures/in.csv:1:y: unknown column, found 'y', expected one of 'id', 'path'"},
      {{"import", "pictures/in.csv", "new.zrb", "--blob-column", "id=path"},
       "zrb import: --blob-column: found 'id', which is the name of another column, expected names that differ"},
      {{"import", "pictures/in.csv", "new.zrb", "--blob-column", "b=path", "--blob-column", "b=path"},
       "zrb import: --blob-column: found 'b', which is the name of another column, expected names that differ"},
      {{"import", "pictures/in.csv", "new.csv"},
       "zrb import: found 'new.csv', expected a name for the rows that ends in .zrb"},
      {{"import", "out.zrb", "new.zrb"}, "zrb import: found 'out.zrb', expected a CSV file to import"},
      {{"describe", "out.zrb", "--header"},
       "zrb: --header: found 'out.zrb', expected a CSV file (types, names and NA of a .zrb file are those of its "
       "import)"},
      {{"crosstab", "--by", "id", "--na", "NA", "--types", "id=factor", "out.zrb", "--skip", "0"},
       "zrb: --na: found 'out.zrb', expected a CSV file (types, names and NA of a .zrb file are those of its import)"},
      {{"crosstab", "out.zrb", "--by", "none"},
       "out.zrb:0:none: unknown column, found 'none', expected one of 'id', 'path', 'picture'"},
  };
  for (const auto& c : cases) expectFailure(runTool(folder, c.arguments), 2, c.error);
  EXPECT_FALSE(std::filesystem::exists(folder.path() + "/new.zrb"));
}

}  // namespace
