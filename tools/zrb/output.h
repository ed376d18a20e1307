// Standard output, with every failure noticed.
#pragma once

#include <string>
#include <string_view>

namespace zrbtool {

// Collects text, and writes it when there is a lot of it or flush() is called.  Throws Failure (io) when writing fails:
// without a text where the reader of a pipe has gone, since it knows.
class Output {
public:
  void write(std::string_view text);
  void flush();

private:
  std::string m_pending;
};

}  // namespace zrbtool
