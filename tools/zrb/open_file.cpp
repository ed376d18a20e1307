#include "open_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "failure.h"

namespace zrbtool {

OpenFile::OpenFile(const std::string& path, int flags) noexcept : OpenFile(open(path.c_str(), flags | O_CLOEXEC)) {}

OpenFile::OpenFile(OpenFile&& other) noexcept : m_handle(std::exchange(other.m_handle, -1)) {}

OpenFile& OpenFile::operator=(OpenFile&& other) noexcept {
  OpenFile taken(std::move(other));
  std::swap(m_handle, taken.m_handle);  // what was open here is closed with it
  return *this;
}

OpenFile::~OpenFile() {
  if (m_handle < 0) return;
  const int error = errno;
  close(m_handle);
  errno = error;
}

bool OpenFile::isRegular() const {
  struct stat status;
  return fstat(m_handle, &status) == 0 && S_ISREG(status.st_mode);
}

OpenFile openToWrite(const std::string& file, const std::string& target) {
  OpenFile opened(file, O_WRONLY);
  if (!opened.isOpen())
    throw failureAt(ExitStatus::io, target, 0, "0",
                    {"cannot write", std::strerror(errno), "a file that can be written"});
  return opened;
}

}  // namespace zrbtool
