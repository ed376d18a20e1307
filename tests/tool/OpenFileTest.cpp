#include "open_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <utility>

#include "ToolRun.h"
#include "failure.h"

namespace {

using zrbtool::OpenFile;

bool isOpenHandle(int handle) { return fcntl(handle, F_GETFD) >= 0; }

TEST(OpenFile, a_file_is_closed_at_the_end_of_its_life_and_errno_stays) {
  int handle = -1;
  {
    const OpenFile file("/dev/null", O_RDONLY);
    ASSERT_TRUE(file.isOpen());
    handle = file.handle();
    EXPECT_EQ(fcntl(handle, F_GETFD), FD_CLOEXEC);
    close(handle);  // so that closing it once more fails, with EBADF
    errno = ENOSPC;
  }
  EXPECT_EQ(errno, ENOSPC);
  EXPECT_FALSE(isOpenHandle(handle));
}

TEST(OpenFile, what_cannot_be_opened_leaves_the_reason) {
  const OpenFile file("/dev/null/none", O_RDONLY);
  EXPECT_EQ(errno, ENOTDIR);
  EXPECT_FALSE(file.isOpen());
  EXPECT_FALSE(file.isRegular());
}

TEST(OpenFile, a_moved_file_is_open_once) {
  OpenFile first("/dev/null", O_RDONLY);
  const int handle = first.handle();
  OpenFile second(std::move(first));
  EXPECT_FALSE(first.isOpen());
  EXPECT_EQ(second.handle(), handle);

  int replaced = -1;
  {
    OpenFile third("/dev/null", O_RDONLY);
    replaced = third.handle();
    third = std::move(second);
    EXPECT_EQ(third.handle(), handle);
    EXPECT_TRUE(isOpenHandle(handle));
    EXPECT_FALSE(isOpenHandle(replaced));
  }
  EXPECT_FALSE(isOpenHandle(handle));
}

TEST(OpenFile, only_a_file_is_regular) {
  const TempFolder folder;
  folder.write("file", "");
  EXPECT_TRUE(OpenFile(folder.path() + "/file", O_RDONLY).isRegular());
  EXPECT_FALSE(OpenFile(folder.path(), O_RDONLY).isRegular());
  EXPECT_FALSE(OpenFile("/dev/null", O_RDONLY).isRegular());
}

TEST(OpenFile, a_file_that_cannot_be_written_is_told_by_the_name_of_its_target) {
  const TempFolder folder;
  try {
    zrbtool::openToWrite(folder.path() + "/none/out.zrb.json.x7Kq2B", "out.zrb.json");
    FAIL() << "nothing was thrown";
  } catch (const zrbtool::Failure& failure) {
    EXPECT_EQ(failure.status(), zrbtool::ExitStatus::io);
    EXPECT_STREQ(
        failure.what(),
        "out.zrb.json:0:0: cannot write, found No such file or directory, expected a file that can be written");
  }
}

}  // namespace
