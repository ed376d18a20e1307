// Standard output, or a file in its place, with every failure noticed.
#pragma once

#include <unistd.h>

#include <string>
#include <string_view>
#include <utility>

namespace zrbtool {

// Collects text, and writes it when there is a lot of it or flush() is called.  Throws Failure (io) when writing fails:
// without a text where the reader of a pipe has gone, since it knows.
class Output {
public:
  Output() : Output(STDOUT_FILENO, "standard output") {}
  // An open file, which stays the caller's, and its name.
  Output(int handle, std::string name) : m_handle(handle), m_name(std::move(name)) {}

  void write(std::string_view text);
  void flush();

private:
  int m_handle;
  std::string m_name;
  std::string m_pending;
};

}  // namespace zrbtool
