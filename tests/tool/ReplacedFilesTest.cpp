// What is written takes its place as a whole, or not at all: then the old files are what they were, and nothing is left.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "ToolRun.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* kOld = "a,b\n1,old\n";

// More than the sniffer reads before the first row is written, and more than the limit on files below.
std::string longCsv() {
  std::string csv = "a,b\n";
  for (int i = 0; i < 300'000; ++i) csv += std::to_string(i) + ",text\n";
  return csv;
}

// The names in the folder, but for those of the test itself.
std::vector<std::string> namesIn(const TempFolder& folder) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder.path())) {
    const std::string name = entry.path().filename();
    if (name.substr(0, 3) == "out") names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

using Names = std::vector<std::string>;

class ReplacedFilesOfZrb : public testing::Test {
protected:
  void SetUp() override {
    folder.write("blob", std::string(3000, 'x'));
    folder.write("old.csv", kOld);
    folder.write("new.csv", longCsv());
    folder.write("paths.csv", "a,p\n1,blob\n2,blob\n3,blob\n");
    ASSERT_EQ(runTool(folder, {"import", "old.csv", "out.zrb"}).status, 0);
  }
  void expectOldTable() {
    EXPECT_EQ(namesIn(folder), (Names{"out.zrb", "out.zrb.json"}));
    EXPECT_EQ(runTool(folder, {"export", "out.zrb"}).out, kOld);
  }

  TempFolder folder;
};

TEST_F(ReplacedFilesOfZrb, an_import_replaces_the_whole_table) {
  ASSERT_EQ(runTool(folder, {"import", "paths.csv", "out.zrb", "--blob-column", "b=p"}).status, 0);
  EXPECT_EQ(namesIn(folder), (Names{"out.zrb", "out.zrb.blobs", "out.zrb.json"}));
  ASSERT_EQ(runTool(folder, {"import", "old.csv", "out.zrb"}).status, 0);
  expectOldTable();
}

TEST_F(ReplacedFilesOfZrb, new_files_have_the_usual_mode) {
  ASSERT_EQ(runShell(folder, "umask 027; zrb import old.csv out.zrb && zrb export out.zrb -o out.csv").status, 0);
  for (const char* name : {"/out.zrb", "/out.zrb.json", "/out.csv"}) {
    struct stat status;
    ASSERT_EQ(stat((folder.path() + name).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640u) << name;
  }
}

TEST_F(ReplacedFilesOfZrb, a_full_device_leaves_the_old_table) {
  // A file may grow to 512 blocks of 512 bytes; the rows, the export, or the blobs need more.
  const std::string limit = "ulimit -f 512; ";
  expectFailure(runShell(folder, limit + "zrb import new.csv out.zrb"), 3,
                "out.zrb:0:0: cannot write, found a device or a limit that is full, expected room for the whole file");
  expectOldTable();
  folder.write("blob", std::string(200'000, 'x'));
  expectFailure(
      runShell(folder, limit + "zrb import paths.csv out.zrb --blob-column b=p"), 3,
      "out.zrb.blobs:0:0: cannot write, found a device or a limit that is full, expected room for the whole file");
  expectOldTable();

  ASSERT_EQ(runTool(folder, {"import", "new.csv", "big.zrb"}).status, 0);
  folder.write("out.csv", "old");
  const ToolResult exported = runShell(folder, limit + "zrb export big.zrb -o out.csv");
  expectFailure(exported, 3, "out.csv:0:0: cannot write, found File too large, expected room for the output");
  EXPECT_EQ(folder.read("out.csv"), "old");
  EXPECT_EQ(namesIn(folder), (Names{"out.csv", "out.zrb", "out.zrb.json"}));
}

TEST_F(ReplacedFilesOfZrb, input_that_ends_with_an_error_leaves_the_old_table) {
  const struct {
    const char* reason;
    std::string last;
    const char* error;
  } cases[] = {
      {"a row that is too short", "1\n",
       "new.csv:300002:b: row too short, found 1 cell, expected 2 as in line 1 (--fill takes missing cells as NA, "
       "--delimiter, --skip and --no-quotes change how lines are split)"},
      {"the end inside quotes", "1,\"cut",
       "new.csv:300002:b: unterminated quote, found the end of the file, expected a closing quote for the cell that "
       "begins in this line (--no-quotes takes quotes as text)"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.reason);
    folder.write("new.csv", longCsv() + c.last);
    expectFailure(runTool(folder, {"import", "new.csv", "out.zrb"}), 1, c.error);
    expectOldTable();
  }
}

TEST_F(ReplacedFilesOfZrb, a_signal_leaves_the_old_table_and_nothing_else) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    SCOPED_TRACE(signal);
    // The input goes on after the first rows were written, and never ends.  A shell starts jobs in the background with
    // SIGINT ignored, so the tool runs in the foreground and is told by its parent's number.
    const ToolResult result = runShell(
        folder,
        "mkfifo input; { cat new.csv; while [ ! -e stop ]; do sleep 0.05; done; } > input &\n"
        "{ until ls out.zrb.?????? > during 2> no; do sleep 0.05; done; while [ ! -s out.zrb.?????? ]; do sleep 0.05; "
        "done; kill -" +
            std::to_string(signal) +
            " $(cat pid); } > seen 2>&1 &\n"
            "sh -c 'echo $$ > pid; exec \"$ZRB\" import - out.zrb < input'; echo $? > status\n"
            "touch stop; wait; rm -f stop input pid");
    EXPECT_EQ(folder.read("status"), std::to_string(128 + signal) + "\n") << result.err << folder.read("seen");
    EXPECT_NE(folder.read("during"), "");
    expectOldTable();
  }
}

TEST_F(ReplacedFilesOfZrb, a_link_stays_one_and_leads_to_a_file) {
  fs::create_directory(folder.path() + "/sub");
  folder.write("sub/real.csv", "before");
  fs::create_symlink("sub/real.csv", folder.path() + "/link.csv");
  ASSERT_EQ(runTool(folder, {"export", "out.zrb", "-o", "link.csv"}).status, 0);
  EXPECT_TRUE(fs::is_symlink(folder.path() + "/link.csv"));
  EXPECT_EQ(folder.read("sub/real.csv"), kOld);

  fs::create_symlink("sub", folder.path() + "/sublink");
  expectFailure(runTool(folder, {"export", "out.zrb", "-o", "sublink"}), 3,
                "sublink:0:0: cannot write, found a folder, expected the name of a file, which may exist");
  EXPECT_TRUE(fs::is_symlink(folder.path() + "/sublink"));
  fs::create_symlink("/dev/null", folder.path() + "/new.zrb");
  expectFailure(runTool(folder, {"import", "old.csv", "new.zrb"}), 3,
                "new.zrb:0:0: cannot write, found something that is no file, expected the name of a file, which may "
                "exist");
  EXPECT_TRUE(fs::is_symlink(folder.path() + "/new.zrb"));
}

TEST_F(ReplacedFilesOfZrb, a_target_that_is_no_file_is_refused_and_nothing_is_left) {
  fs::create_directory(folder.path() + "/out.csv");
  expectFailure(runTool(folder, {"export", "out.zrb", "-o", "out.csv"}), 3,
                "out.csv:0:0: cannot write, found a folder, expected the name of a file, which may exist");
  expectFailure(runTool(folder, {"export", "out.zrb", "-o", "/dev/null"}), 3,
                "/dev/null:0:0: cannot write, found something that is no file, expected the name of a file, which may "
                "exist");
  expectFailure(
      runTool(folder, {"export", "out.zrb", "-o", "no/out.csv"}), 3,
      "no/out.csv:0:0: cannot write, found No such file or directory, expected a file that can be written, in "
      "a folder with room for it");
  fs::create_directory(folder.path() + "/out2.zrb.json");
  expectFailure(runTool(folder, {"import", "old.csv", "out2.zrb"}), 3,
                "out2.zrb.json:0:0: cannot write, found a folder, expected the name of a file, which may exist");
  fs::remove(folder.path() + "/out2.zrb.json");
  fs::remove(folder.path() + "/out.csv");
  expectOldTable();
}

}  // namespace
