#include "byte_source.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>

namespace zrbtool {

std::size_t MemoryBytes::read(char* to, std::size_t size) {
  const std::size_t bytes = std::min(size, m_rest.size());
  if (bytes > 0) std::memcpy(to, m_rest.data(), bytes);
  m_rest.remove_prefix(bytes);
  return bytes;
}

FileBytes::FileBytes(const std::string& path)
    : m_handle(path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
  if (m_handle < 0) throw std::system_error(errno, std::generic_category());
}

FileBytes::~FileBytes() {
  if (m_handle != STDIN_FILENO) close(m_handle);
}

std::size_t FileBytes::readFile(char* to, std::size_t size) {
  for (;;) {
    const ssize_t bytes = ::read(m_handle, to, size);
    if (bytes >= 0) return static_cast<std::size_t>(bytes);
    if (errno != EINTR) throw std::system_error(errno, std::generic_category());
  }
}

std::size_t FileBytes::read(char* to, std::size_t size) {
  const std::size_t kept = m_kept.size() - m_start;
  if (kept == 0) return readFile(to, size);
  const std::size_t bytes = std::min(size, kept);
  std::memcpy(to, m_kept.data() + m_start, bytes);
  skip(bytes);
  return bytes;
}

std::string_view FileBytes::peek(std::size_t size) {
  m_kept.erase(0, m_start);
  m_start = 0;
  while (m_kept.size() < size) {
    const std::size_t before = m_kept.size();
    m_kept.resize(size);
    const std::size_t bytes = readFile(m_kept.data() + before, size - before);
    m_kept.resize(before + bytes);
    if (bytes == 0) break;
  }
  return std::string_view(m_kept).substr(0, size);
}

void FileBytes::skip(std::size_t size) {
  m_start += size;
  if (m_start == m_kept.size()) {
    std::string().swap(m_kept);  // the room as well
    m_start = 0;
  }
}

}  // namespace zrbtool
