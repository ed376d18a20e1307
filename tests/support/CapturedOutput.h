// Catches what is written to standard output, through the C functions or below them.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <stdexcept>
#include <string>

// From construction on, standard output goes to a file in memory; the destructor puts it back.
class CapturedOutput {
public:
  CapturedOutput() : m_file(memfd_create("captured output", MFD_CLOEXEC)) {
    std::fflush(stdout);
    m_standard_output = dup(STDOUT_FILENO);
    if (m_file < 0 || m_standard_output < 0 || dup2(m_file, STDOUT_FILENO) < 0)
      throw std::runtime_error("cannot capture standard output");
  }
  CapturedOutput(const CapturedOutput&) = delete;
  CapturedOutput& operator=(const CapturedOutput&) = delete;
  ~CapturedOutput() {
    std::fflush(stdout);
    dup2(m_standard_output, STDOUT_FILENO);
    close(m_standard_output);
    close(m_file);
  }

  // What has left the buffer of the C library so far.
  std::string arrived() {
    std::string text;
    char block[4096];
    for (;;) {
      const ssize_t count = pread(m_file, block, sizeof block, static_cast<off_t>(text.size()));
      if (count <= 0) return text;
      text.append(block, static_cast<std::size_t>(count));
    }
  }
  // All of it.
  std::string text() {
    std::fflush(stdout);
    return arrived();
  }
  // What was written since the last call.
  std::string next() {
    const std::string all = text();
    const std::string fresh = all.substr(m_taken);
    m_taken = all.size();
    return fresh;
  }

private:
  int m_file;
  int m_standard_output;
  std::size_t m_taken = 0;
};
