// A CSV file is read on a fast path and on a plain one; which one takes a line or a cell shows nowhere.
//
// --trim has libcsv split every line, and a number among the texts that stand for NA has the plain path read every
// number.  The rows have none of either, so the answers have to be the same.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "ToolRun.h"
#include "zrb/number_text.h"

namespace {

const std::vector<std::vector<std::string>> kPaths = {
    {}, {"--trim"}, {"--na", "NA", "--na", "-87654321.5"}, {"--trim", "--na", "NA", "--na", "-87654321.5"}};

ToolResult runWith(const TempFolder& folder, std::vector<std::string> arguments, const std::vector<std::string>& path) {
  arguments.insert(arguments.end(), path.begin(), path.end());
  return runTool(folder, arguments);
}

std::string randomNumber(std::mt19937& random) {
  switch (random() % 8) {
    case 0:
      return "NA";
    case 1:
      return "";
    case 2:
      return std::to_string(static_cast<int>(random() % 2000) - 1000);
    case 3:
      return zrb::numberText(static_cast<double>(random()) * 1e-15);
    case 4:
      return zrb::numberText(static_cast<double>(random()) * 1e30);
    case 5:
      return "-" + zrb::numberText(static_cast<double>(random() % 100'000) / 1e3);
    default:
      return zrb::numberText(static_cast<double>(random()) / 3e6 - 500);
  }
}

std::string randomLevel(std::mt19937& random) {
  static const char* const kLevels[] = {"a", "b", "\"c,\"", "\"d\"\"e\"", "\"f\ng\"", "NA", "", "\xC3\xA4", "h"};
  if (random() % 3 == 0) return "a level of its own length " + std::to_string(random() % 20);
  if (random() % 3 == 0) return "level " + std::to_string(random() % 150);
  return kLevels[random() % std::size(kLevels)];
}

// Usually more rows than a ring and more bytes than a block.
std::string randomTable(unsigned seed, long rows = 7000) {
  std::mt19937 random(seed);
  std::string text = "x,group,y,date,note\n";
  for (long row = 0; row < rows; ++row) {
    text += randomNumber(random) + "," + randomLevel(random) + "," + randomNumber(random);
    text += random() % 10 ? ",2026-11-21T15:04" : ",NA";
    text += ",\"note " + std::to_string(random()) + "\"";
    text += random() % 4 ? "\n" : random() % 2 ? "\r\n" : "\r";
  }
  return text;
}

TEST(CsvPaths, every_path_stores_the_same_bytes) {
  for (unsigned seed = 1; seed <= 3; ++seed) {
    const TempFolder folder;
    folder.write("in.csv", randomTable(seed));
    std::string rows, schema;
    for (const auto& path : kPaths) {
      const ToolResult result = runWith(folder, {"import", "in.csv", "out.zrb"}, path);
      ASSERT_EQ(result.status, 0) << result.err;
      if (rows.empty()) {
        rows = folder.read("out.zrb");
        schema = folder.read("out.zrb.json");
        ASSERT_GT(rows.size(), 7000u);
        ASSERT_NE(schema, "");
      }
      EXPECT_TRUE(folder.read("out.zrb") == rows);
      EXPECT_EQ(folder.read("out.zrb.json"), schema);
    }
  }
}

TEST(CsvPaths, every_path_describes_a_table_with_the_same_digits) {
  const TempFolder folder;
  folder.write("in.csv", randomTable(4));
  const ToolResult expected = runTool(folder, {"describe", "--json", "in.csv"});
  EXPECT_NE(expected.out.find("\"type\": \"double\""), std::string::npos);
  EXPECT_EQ(expected.status, 0);
  for (const auto& path : kPaths) EXPECT_EQ(runWith(folder, {"describe", "--json", "in.csv"}, path).out, expected.out);
  EXPECT_EQ(runShell(folder, "cat in.csv | zrb describe --json - | sed 's/\"file\": \"-\"/\"file\": \"in.csv\"/'").out,
            expected.out);
}

// Behind the sample that chooses the types, and behind chunks that have been handed on.
TEST(CsvPaths, every_path_refuses_the_same_cell_with_the_same_words) {
  const TempFolder folder;
  const std::string table = randomTable(5, 30'000);
  ASSERT_GT(table.size(), std::size_t{1} << 20);
  for (const char* line :
       {"1,a,+5,NA,n", "1,a,007,NA,n", "1,a,1e400,NA,n", "x,a,1,NA,n", "1,a,1.2.3,NA,n", "1,\xFF,1,NA,n",
        "1,a,1,soon,n", "1,a,1,NA", "1,a,1,NA,n,more", "1,a\"b,1,NA,n", "1,\"a\"b,1,NA,n", "1,\"a\nb,1\n"}) {
    folder.write("in.csv", table + line + "\n");
    const ToolResult expected = runTool(folder, {"describe", "in.csv"});
    EXPECT_EQ(expected.status, 1) << line;
    EXPECT_EQ(expected.out, "");
    EXPECT_EQ(expected.err.find("in.csv:"), 0u) << expected.err;
    for (const auto& path : kPaths) {
      const ToolResult result = runWith(folder, {"describe", "in.csv"}, path);
      EXPECT_EQ(result.status, expected.status) << line;
      EXPECT_EQ(result.out, "");
      EXPECT_EQ(result.err, expected.err);
    }
  }
}

TEST(CsvPaths, a_text_is_remembered_for_its_own_column_only) {
  const TempFolder folder;
  folder.write("in.csv", "f,g\na,b\nb,a\na,a\nNA,b\nb,NA\n");
  EXPECT_EQ(runTool(folder, {"print", "in.csv"}).out, "f   g\na   b\nb   a\na   a\nNA  b\nb   NA\n");
}

}  // namespace
