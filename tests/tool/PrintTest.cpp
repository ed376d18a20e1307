#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "ToolRun.h"

namespace {

constexpr const char* kTable =
    "name,when,size,group\n"
    "anna,2026-11-21,1.5,a\n"
    "NA,2026-11-22T12:00:00,NA,b\n"
    "carla,NA,-20,NA\n";

TEST(Print, rows_are_aligned_with_dates_levels_and_NA_as_text) {
  const TempFolder folder;
  folder.write("in.csv", kTable);
  const ToolResult result = runTool(folder, {"print", "in.csv", "--types", "name=string:20"});
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out,
            "name   when                 size  group\n"
            "anna   2026-11-21            1.5  a\n"
            "NA     2026-11-22T12:00:00    NA  b\n"
            "carla  NA                    -20  NA\n");
}

TEST(Print, chosen_columns_come_in_the_order_of_the_choice) {
  const TempFolder folder;
  folder.write("in.csv", kTable);
  EXPECT_EQ(runTool(folder, {"print", "in.csv", "--columns", "size,name", "--rows", "1"}).out,
            "size  name\n"
            " 1.5  anna\n");
}

TEST(Print, no_row_behind_the_wanted_ones_is_read) {
  const TempFolder folder;
  std::string text = "x\n";
  for (int i = 0; i < 2500; ++i) text += std::to_string(i) + "\n";
  // Long enough that the bad row is not in the part that the column types are found out from.
  std::string more;
  while (more.size() < (3u << 20)) more += "12345678\n";
  folder.write("in.csv", text + "1,2\n" + more);
  for (const char* rows : {"0", "1", "7", "1000", "1001", "2500"}) {
    SCOPED_TRACE(rows);
    const ToolResult result = runTool(folder, {"print", "in.csv", "--rows", rows, "--types", "x=double"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 1 + std::stoi(rows));
  }
  EXPECT_EQ(runTool(folder, {"print", "in.csv", "--rows", "2501", "--types", "x=double"}).status, 1);
}

TEST(Print, a_stream_without_end_is_left_after_the_wanted_rows) {
  const TempFolder folder;
  const ToolResult result = runShell(folder, "{ echo x; yes 1; } | zrb print - --rows 3");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "x\n1\n1\n1\n");
}

TEST(Print, a_table_with_fewer_rows_is_printed_whole) {
  const TempFolder folder;
  folder.write("in.csv", "a,b\n1,2\n");
  EXPECT_EQ(runTool(folder, {"print", "in.csv", "--rows", "1000000"}).out, "a  b\n1  2\n");
  folder.write("none.csv", "a,b\n");
  EXPECT_EQ(runTool(folder, {"print", "none.csv"}).out, "a  b\n");
}

TEST(Print, the_trace_is_that_of_the_printf_node) {
  const TempFolder folder;
  folder.write("in.csv", kTable);
  const ToolResult result = runTool(folder, {"print", "in.csv", "--trace", "--rows", "2", "--columns", "size,group"});
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out,
            "ZRBProcPrintf chunk pos=0, rows=2, cols=2\n"
            "0: 1.500000, 0 (a)\n"
            "1: NA, 1 (b)\n");
}

TEST(Print, output_that_cannot_be_written_is_an_output_error) {
  const TempFolder folder;
  folder.write("in.csv", kTable);
  for (const char* command : {"zrb print in.csv", "zrb print in.csv --trace"}) {
    SCOPED_TRACE(command);
    expectFailure(runShell(folder, std::string(command) + " > /dev/full"), 3,
                  "standard output:0:0: cannot write, found No space left on device, expected room for the output");
  }
}

TEST(Print, a_fault_within_the_rows_is_reported_with_its_place) {
  const TempFolder folder;
  folder.write("in.csv", "a,b\n1,2\n3\n");
  expectFailure(runTool(folder, {"print", "in.csv"}), 1,
                "in.csv:3:b: row too short, found 1 cell, expected 2 as in line 1 (--fill takes missing cells as NA, "
                "--delimiter, --skip and --no-quotes change how lines are split)");
  EXPECT_EQ(runTool(folder, {"print", "in.csv", "--rows", "1"}).out, "a  b\n1  2\n");
}

}  // namespace
