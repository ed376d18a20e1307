#include "file_output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "failure.h"

namespace zrbtool {

FileOutput::FileOutput(const std::string& file)
    : m_handle(open(m_files.add(file).c_str(), O_WRONLY | O_CLOEXEC)), m_output(m_handle, file) {
  if (m_handle < 0)
    throw failureAt(ExitStatus::io, file, 0, "0", {"cannot write", std::strerror(errno), "a file that can be written"});
}

FileOutput::~FileOutput() {
  if (m_handle >= 0) close(m_handle);
}

void FileOutput::commit() {
  m_output.flush();
  m_files.commit();
}

}  // namespace zrbtool
