// Runs the built tool as a user does, and keeps everything it says.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

// An empty folder that disappears with the object.
class TempFolder {
public:
  TempFolder() {
    std::string pattern = testing::TempDir() + "zrb_tool_XXXXXX";
    if (!mkdtemp(pattern.data())) std::abort();
    m_path = pattern;
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }

  const std::string& path() const { return m_path; }
  std::string write(const std::string& name, const std::string& content) const {
    std::ofstream(m_path + "/" + name, std::ios::binary) << content;
    return name;
  }
  std::string read(const std::string& name) const {
    std::ifstream file(m_path + "/" + name, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
  }

private:
  std::string m_path;
};

struct ToolResult {
  int status = -1;  // exit status; 128 + signal where the tool died of one
  std::string out;
  std::string err;
};

// Runs a shell command in the folder, with "zrb" meaning the tool.
inline ToolResult runShell(const TempFolder& folder, const std::string& command) {
  const pid_t child = fork();
  if (child == 0) {
    const int out = open((folder.path() + "/.out").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const int err = open((folder.path() + "/.err").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const int in = open("/dev/null", O_RDONLY);
    if (chdir(folder.path().c_str()) != 0 || dup2(in, 0) < 0 || dup2(out, 1) < 0 || dup2(err, 2) < 0) _exit(125);
    for (const int number : {SIGPIPE, SIGHUP, SIGINT, SIGTERM}) signal(number, SIG_DFL);  // nohup ignores SIGHUP
    const std::string script = "zrb() { \"$ZRB\" \"$@\"; }\n" + command;
    setenv("ZRB", ZRB_TOOL_PATH, 1);
    execl("/bin/sh", "sh", "-c", script.c_str(), static_cast<char*>(nullptr));
    _exit(126);
  }
  int state = 0;
  ToolResult result;
  if (child > 0 && waitpid(child, &state, 0) == child)
    result.status = WIFEXITED(state) ? WEXITSTATUS(state) : 128 + WTERMSIG(state);
  result.out = folder.read(".out");
  result.err = folder.read(".err");
  return result;
}

// As it would stand in a shell.
inline std::string shellWord(const std::string& text) {
  std::string word = "'";
  for (const char c : text) word += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return word + "'";
}

inline ToolResult runTool(const TempFolder& folder, const std::vector<std::string>& arguments) {
  std::string command = "exec \"$ZRB\"";
  for (const std::string& argument : arguments) command += " " + shellWord(argument);
  return runShell(folder, command);
}

inline void PrintTo(const ToolResult& result, std::ostream* stream) {
  *stream << "status " << result.status << "\n--- out\n" << result.out << "--- err\n" << result.err;
}

// A failure: the status, one line on standard error, and nothing on standard output.
inline void expectFailure(const ToolResult& result, int status, const std::string& line) {
  EXPECT_EQ(result.status, status);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, line + "\n");
}
