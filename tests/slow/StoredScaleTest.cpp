// A table on disk that is larger than the memory the tool may have goes in, is described and comes out again.
//
// ZRB_SCALE_MB is the size of the rows in megabytes; bench/stored_scale runs this with 2 GB.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>

#include "tool/ToolRun.h"

namespace {

constexpr long kUsualMb = 96;
constexpr long kMostPeakKb = 64 * 1024;
constexpr rlim_t kAddressSpaceBytes = rlim_t{256} << 20;
constexpr long kRowBytes = 256;  // x, f, s and d below: 8 + 2 + 238 + 8

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kLimited = false;  // the sanitizer's own memory is beyond every limit
#else
constexpr bool kLimited = true;
#endif

struct Usage {
  int status = -1;
  long peakKb = 0;
};

// Runs a command of the tool on its own, within the limit, and finds out how much memory it has had.
Usage runLimited(const TempFolder& folder, const std::string& name, const std::string& arguments) {
  const auto start = std::chrono::steady_clock::now();
  const pid_t child = fork();
  if (child == 0) {
    if (chdir(folder.path().c_str()) != 0) _exit(125);
    const rlimit limit = {kAddressSpaceBytes, kAddressSpaceBytes};
    if (kLimited && setrlimit(RLIMIT_AS, &limit) != 0) _exit(125);
    setenv("ZRB", ZRB_TOOL_PATH, 1);
    const std::string script = "exec \"$ZRB\" " + arguments;
    execl("/bin/sh", "sh", "-c", script.c_str(), static_cast<char*>(nullptr));
    _exit(126);
  }
  int state = 0;
  rusage used = {};
  Usage usage;
  if (child > 0 && wait4(child, &state, 0, &used) == child && WIFEXITED(state)) usage.status = WEXITSTATUS(state);
  usage.peakKb = used.ru_maxrss;
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  std::printf("%-9s %7.1f s, peak %ld kB\n", name.c_str(), seconds.count(), usage.peakKb);
  std::fflush(stdout);
  return usage;
}

void expectFlat(const Usage& usage) {
  EXPECT_EQ(usage.status, 0);
  if (kLimited) {
    EXPECT_LE(usage.peakKb, kMostPeakKb);
  }
}

TEST(StoredScale, a_table_larger_than_the_memory_goes_in_and_comes_out) {
  const char* wanted = std::getenv("ZRB_SCALE_MB");
  const long long mb = wanted ? std::atoll(wanted) : kUsualMb;
  ASSERT_GT(mb, 0);
  const long long rows = mb * 1'000'000 / kRowBytes;
  const TempFolder folder;
  // The rows come through a pipe, so that the CSV file needs no room.
  ASSERT_EQ(runShell(folder,
                     "mkfifo pipe sum; cksum < sum > before & zrb generate --schema "
                     "x:double,f:factor,s:string,d:timeDate --rows " +
                         std::to_string(rows) + " | tee sum > pipe & exit 0")
                .status,
            0);
  expectFlat(runLimited(folder, "import", "import - out.zrb --types x=double,f=factor,s=string:238,d=timeDate < pipe"));
  ASSERT_EQ(std::filesystem::file_size(folder.path() + "/out.zrb"), static_cast<std::uintmax_t>(rows * kRowBytes));

  expectFlat(runLimited(folder, "describe", "describe --json out.zrb > described"));
  const auto described = nlohmann::json::parse(folder.read("described"), nullptr, false);
  EXPECT_EQ(described["rows"], rows);

  ASSERT_EQ(runShell(folder, "cksum < pipe > after & exit 0").status, 0);
  expectFlat(runLimited(folder, "export", "export out.zrb > pipe"));
  for (int i = 0; i < 100 && folder.read("after").empty(); ++i) usleep(100'000);  // cksum ends a moment later
  EXPECT_EQ(folder.read("after"), folder.read("before"));
  EXPECT_NE(folder.read("after"), "");
}

}  // namespace
