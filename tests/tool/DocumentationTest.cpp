// The console blocks of the tool's pages are what the tool says.
#include <gtest/gtest.h>

#include <filesystem>
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

TEST(Documentation, every_console_block_of_the_tools_pages_is_real) {
  const struct {
    const char* page;
    std::size_t examples;
  } pages[] = {{"zrb.md", 8}, {"zrb-files.md", 4}, {"zrb-fit.md", 5}};
  for (const auto& page : pages) {
    SCOPED_TRACE(page.page);
    const std::vector<Example> examples = examplesOf(std::string(ZRB_DATA_DIR "/../docs/") + page.page);
    ASSERT_GE(examples.size(), page.examples);
    const TempFolder folder;  // of the whole page: a file that one example makes is there for the next
    std::filesystem::create_symlink(ZRB_DATA_DIR, folder.path() + "/data");
    for (const Example& example : examples)
      EXPECT_EQ(runShell(folder, "exec 2>&1\n" + example.command).out, example.output) << example.command;
  }
}

}  // namespace
