// Any damage to a small table ends in a refusal or in other values, never in a crash.  Under the sanitizers this is also
// a test of every access to memory.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "ToolRun.h"
#include "crosstab.h"
#include "describe.h"
#include "export_table.h"
#include "failure.h"
#include "import_table.h"
#include "stored_blob.h"
#include "stored_table.h"
#include "table_info.h"
#include "table_source.h"

namespace {

using namespace zrbtool;

class StoredCorruption : public testing::Test {
protected:
  void SetUp() override {
    folder.write("blob", "12345");
    folder.write("in.csv", "x,f,s,d,p\n1,red,ab,1970-01-02,blob\n-0,blue,abc,NA,NA\n");
    ImportOptions options;
    options.file = folder.path() + "/in.csv";
    options.out = file();
    options.csv.types = parseTypes("f=factor,s=string:5,p=string:5");
    options.blobs = {parseBlobColumn("b=p")};
    importTable(options);
    nowhere = open("/dev/null", O_WRONLY);
    EXPECT_EQ(runAllVerbs(), 5);
  }
  void TearDown() override { close(nowhere); }

  std::string file() const { return folder.path() + "/out.zrb"; }

  // Whether the verb did its work; if not it has to be a refusal of one line with a status for it.
  template <class Verb>
  int succeeds(Verb verb) {
    try {
      verb();
      return 1;
    } catch (const Failure& failure) {
      const std::string line = failure.what();
      EXPECT_EQ(line.find('\n'), std::string::npos) << line;
      EXPECT_EQ(line.substr(0, folder.path().size()), folder.path()) << line;  // a file of the table
      EXPECT_TRUE(failure.status() == ExitStatus::data || failure.status() == ExitStatus::io ||
                  failure.status() == ExitStatus::usage)
          << line;
      return 0;
    }
  }

  // How many of them succeed.
  int runAllVerbs() {
    Output output(nowhere, "nowhere");
    return succeeds([&] { output.write(descriptionJson(describe(*openTable(file(), {}, {})))); }) + succeeds([&] {
             output.write(crossTableJson(crossTabulate(file(), {}, {"f", "s", "x"})));
           }) +
           succeeds([&] {
             exportTable({file(), "-", true}, output);
           }) +
           succeeds([&] { output.write(tableInfoText(openStored(file(), "zrb info"))); }) + succeeds([&] {
             writeBlob({file(), 1, "b", "-"}, output);
           });
  }

  // Every byte of the file in turn becomes another one.  Returns how often all verbs succeed.
  int damageEveryByte(const std::string& name, const std::vector<int>& masks) {
    const std::string content = folder.read(name);
    EXPECT_GT(content.size(), 0u);
    int harmless = 0;
    for (std::size_t i = 0; i < content.size(); ++i)
      for (const int mask : masks) {
        std::string damaged = content;
        damaged[i] = static_cast<char>(damaged[i] ^ mask);
        folder.write(name, damaged);
        SCOPED_TRACE(name + ": byte " + std::to_string(i) + " with " + std::to_string(mask));
        harmless += runAllVerbs() == 5;
      }
    folder.write(name, content);
    return harmless;
  }

  TempFolder folder;
  int nowhere = -1;
};

TEST_F(StoredCorruption, every_byte_of_the_rows_may_be_another) {
  const int harmless = damageEveryByte("out.zrb", {0xFF, 0x01, 0x80});
  EXPECT_GT(harmless, 0);  // any bytes are numbers
}

TEST_F(StoredCorruption, every_byte_of_the_schema_may_be_another) {
  damageEveryByte("out.zrb.json", {0xFF, 0x01, 0x02, 0x10, 0x80});
}

TEST_F(StoredCorruption, every_byte_of_the_blobs_may_be_another) {
  // Of a record of 29 bytes the 5 of the data may be any.
  EXPECT_EQ(damageEveryByte("out.zrb.blobs", {0xFF, 0x01}), 2 * 5);
}

TEST_F(StoredCorruption, every_file_may_end_anywhere) {
  for (const char* name : {"out.zrb", "out.zrb.json", "out.zrb.blobs"}) {
    const std::string content = folder.read(name);
    // The schema's last byte is the end of its last line, which may be missing.
    const std::size_t least = name == std::string("out.zrb.json") ? content.size() - 1 : content.size();
    for (std::size_t size = 0; size < least; ++size) {
      folder.write(name, content.substr(0, size));
      SCOPED_TRACE(std::string(name) + ": cut at " + std::to_string(size));
      EXPECT_EQ(runAllVerbs(), 0);
    }
    folder.write(name, content);
  }
}

TEST_F(StoredCorruption, rows_that_vanish_while_they_are_read_are_an_input_error) {
  const struct {
    long long bytes;  // that are left; -1: the file is gone
    const char* found;
  } cases[] = {
      {41, "the end of the file before its last row"},
      {0, "the end of the file before its last row"},
      {-1, "can't open file for read: "},
  };
  for (const auto& c : cases) {
    const auto source = openTable(file(), {}, {});
    if (c.bytes < 0)
      std::filesystem::remove(file());
    else
      std::filesystem::resize_file(file(), static_cast<std::uintmax_t>(c.bytes));
    try {
      describe(*source);
      ADD_FAILURE() << "described " << c.bytes << " bytes";
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.status(), ExitStatus::io);
      EXPECT_EQ(failure.what(), file() + ":0:0: cannot read, found " + c.found + (c.bytes < 0 ? file() : "") +
                                    ", expected a file that does not change while it is read");
    }
    TearDown();
    SetUp();
  }
}

}  // namespace
