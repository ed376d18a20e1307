#include "output.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "failure.h"

namespace zrbtool {

namespace {

constexpr std::size_t kPendingBytes = 64 * 1024;

}  // namespace

void Output::write(std::string_view text) {
  m_pending.append(text);
  if (m_pending.size() >= kPendingBytes) flush();
}

void Output::flush() {
  std::string_view rest = m_pending;
  while (!rest.empty()) {
    const ssize_t bytes = ::write(m_handle, rest.data(), rest.size());
    if (bytes >= 0) {
      rest.remove_prefix(static_cast<std::size_t>(bytes));
    } else if (errno == EPIPE) {
      throw Failure(ExitStatus::io, "");
    } else if (errno != EINTR) {
      throw failureAt(ExitStatus::io, m_name, 0, "0", {"cannot write", std::strerror(errno), "room for the output"});
    }
  }
  m_pending.clear();
}

}  // namespace zrbtool
