// Runs a program, and takes its output, its time and its memory.
#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "answers.h"

extern char** environ;

namespace bench {

struct ChildRun {
  std::string output;
  double ns;  // from its start to its end
  // The most memory it ever had.  The kernel counts what the process had before it became the program as well, which is
  // this one's: that one has to stay small.
  long peakKilobytes;
};

// Standard input of the program is the file `input`.
inline ChildRun runChild(std::vector<std::string> arguments, const char* input) {
  std::vector<char*> pointers;
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) fail("can't make a pipe: %s", std::strerror(errno));
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, input, O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);

  using Clock = std::chrono::steady_clock;
  const Clock::time_point start = Clock::now();
  pid_t child;
  const int error = posix_spawn(&child, pointers[0], &actions, nullptr, pointers.data(), environ);
  if (error != 0) fail("can't run %s: %s", pointers[0], std::strerror(error));
  close(ends[1]);
  posix_spawn_file_actions_destroy(&actions);

  ChildRun run;
  char piece[4096];
  for (ssize_t bytes; (bytes = read(ends[0], piece, sizeof piece)) > 0;)
    run.output.append(piece, static_cast<std::size_t>(bytes));
  close(ends[0]);
  int status;
  rusage usage;
  if (wait4(child, &status, 0, &usage) != child) fail("can't wait for %s: %s", pointers[0], std::strerror(errno));
  run.ns = static_cast<double>(std::chrono::nanoseconds(Clock::now() - start).count());
  run.peakKilobytes = usage.ru_maxrss;
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) fail("%s ended with status %d", pointers[0], status);
  return run;
}

}  // namespace bench
