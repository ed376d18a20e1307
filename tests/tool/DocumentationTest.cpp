// The console blocks of docs/zrb.md are what the tool says.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "ToolRun.h"

namespace {

struct Example {
  std::string command;
  std::string output;
};

// "$ command" and the lines that follow it, in fenced blocks marked as console.
std::vector<Example> examplesOf(const std::string& path) {
  std::vector<Example> examples;
  std::ifstream file(path);
  bool inside = false;
  for (std::string line; std::getline(file, line);) {
    if (line == "```console")
      inside = true;
    else if (line == "```")
      inside = false;
    else if (inside && line.rfind("$ ", 0) == 0)
      examples.push_back({line.substr(2), ""});
    else if (inside && !examples.empty())
      examples.back().output += line + "\n";
  }
  return examples;
}

TEST(Documentation, every_console_block_of_the_tools_page_is_real) {
  const std::vector<Example> examples = examplesOf(ZRB_DATA_DIR "/../docs/zrb.md");
  ASSERT_GE(examples.size(), 8u);
  const TempFolder folder;
  for (const Example& example : examples) {
    const ToolResult result =
        runShell(folder, "cd " + shellWord(ZRB_DATA_DIR "/..") + "\nexec 2>&1\n" + example.command);
    EXPECT_EQ(result.out, example.output) << example.command;
  }
}

}  // namespace
