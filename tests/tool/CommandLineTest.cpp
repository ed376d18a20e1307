#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ToolRun.h"

namespace {

TEST(CommandLine, a_command_line_that_makes_no_sense_is_a_usage_error_of_one_line) {
  const TempFolder folder;
  folder.write("in.csv", "a,b\n1,2\n");
  const struct {
    std::vector<std::string> arguments;
    const char* error;
  } cases[] = {
      {{}, "zrb: A subcommand is required (zrb --help tells more)"},
      {{"summarise"},
       "zrb: found 'summarise', expected describe, crosstab, generate, print, fit, import, export, info or blob"},
      {{"--json", "describe", "in.csv"},
       "zrb: found '--json', expected describe, crosstab, generate, print, fit, import, export, info or blob"},
      {{"describe"}, "zrb describe: FILE is required (zrb describe --help tells more)"},
      {{"describe", "in.csv", "in.csv"},
       "zrb describe: The following argument was not expected: in.csv (zrb describe --help tells more)"},
      {{"describe", "in.csv", "--wrong"},
       "zrb describe: The following argument was not expected: --wrong (zrb describe --help tells more)"},
      {{"describe", "in.csv", "--column", "a", "more.csv"},
       "zrb describe: The following arguments were not expected: --column a more.csv (zrb describe --help tells more)"},
      {{"describe", ""},
       "zrb describe: FILE: found '', expected the name of a file, or - for standard input (zrb describe --help tells "
       "more)"},
      {{"info", ""}, "zrb info: FILE: found '', expected the name of a .zrb file (zrb info --help tells more)"},
      {{"describe", "in.csv", "--header", "--no-header"},
       "zrb describe: --header excludes --no-header (zrb describe --help tells more)"},
      {{"describe", "in.csv", "--levels", "-1"},
       "zrb describe: --levels: found '-1', expected a whole number from 0 (zrb describe --help tells more)"},
      {{"describe", "in.csv", "--skip", "1e3"},
       "zrb describe: --skip: found '1e3', expected a whole number from 0 (zrb describe --help tells more)"},
      {{"describe", "in.csv", "--delimiter", "ab"},
       "zrb: --delimiter: found 'ab', expected comma, semicolon, tab, pipe, space or one other ASCII character, "
       "neither a "
       "quote nor a line end"},
      {{"describe", "in.csv", "--delimiter", ""},
       "zrb: --delimiter: found '', expected comma, semicolon, tab, pipe, space or one other ASCII character, neither "
       "a "
       "quote nor a line end"},
      {{"describe", "in.csv", "--types", "a"}, "zrb: --types: found 'a', expected NAME=TYPE"},
      {{"crosstab", "in.csv"}, "zrb crosstab: --by is required (zrb crosstab --help tells more)"},
      {{"generate", "--rows", "3"}, "zrb generate: --schema is required (zrb generate --help tells more)"},
      {{"generate", "--rows", "x", "--schema", "x:double"},
       "zrb generate: --rows: found 'x', expected a whole number from 0 (zrb generate --help tells more)"},
      {{"generate", "--rows", "99999999999999999999", "--schema", "x:double"},
       "zrb generate: --rows: found '99999999999999999999', expected a whole number from 0 to 9223372036854775807 "
       "(zrb generate --help tells more)"},
      {{"generate", "--rows", "1", "--seed", "0", "--schema", "x:double"},
       "zrb generate: --seed: found '0', expected a whole number from 1 (zrb generate --help tells more)"},
      {{"generate", "--rows", "1", "--schema", "x:blob"},
       "zrb: --schema: found 'x:blob', expected NAME:TYPE with double, factor, string or timeDate"},
  };
  for (const auto& c : cases) expectFailure(runTool(folder, c.arguments), 2, c.error);
}

TEST(CommandLine, help_and_version_go_to_standard_output) {
  const TempFolder folder;
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"--help"}, {"describe", "--help"}, {"crosstab", "-h"}, {"generate", "--help"}}) {
    const ToolResult result = runTool(folder, arguments);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_NE(result.out.find("Exit status: 0"), std::string::npos) << result.out;
  }
  const ToolResult version = runTool(folder, {"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.out.substr(0, 4), "zrb ");
}

TEST(CommandLine, help_says_what_the_tool_reads) {
  const TempFolder folder;
  const ToolResult result = runTool(folder, {"--help"});
  const std::string first =
      "Describes, cross-tabulates, prints and fits tables of any length in constant memory: CSV files, and the .zrb "
      "files that it imports them into.\n";
  EXPECT_EQ(result.out.substr(0, first.size()), first);
}

TEST(CommandLine, a_file_may_have_the_name_of_an_option) {
  const TempFolder folder;
  folder.write("--json", "a\n1\n");
  EXPECT_EQ(runTool(folder, {"describe", "--", "--json"}).status, 0);
  EXPECT_EQ(runTool(folder, {"describe", "./--json"}).status, 0);
}

TEST(CommandLine, output_that_cannot_be_written_is_an_output_error) {
  const TempFolder folder;
  folder.write("in.csv", "a,b\n1,2\n");
  for (const char* command : {"zrb describe in.csv", "zrb describe --json in.csv", "zrb crosstab in.csv --by a",
                              "zrb generate --rows 5 --schema x:double", "zrb generate --rows 50000 --schema x:double",
                              "zrb --help", "zrb --version"}) {
    SCOPED_TRACE(command);
    expectFailure(runShell(folder, std::string(command) + " > /dev/full"), 3,
                  "standard output:0:0: cannot write, found No space left on device, expected room for the output");
    expectFailure(runShell(folder, std::string(command) + " >&-"), 3,
                  "standard output:0:0: cannot write, found Bad file descriptor, expected room for the output");
  }
}

TEST(CommandLine, a_pipe_that_is_closed_ends_the_tool_quietly) {
  const TempFolder folder;
  folder.write("in.csv", "a,b\n1,2\n");
  const ToolResult result = runShell(folder, "{ sleep 0.2; zrb describe in.csv; echo $? > status; } | true");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(folder.read("status"), "3\n");
}

}  // namespace
