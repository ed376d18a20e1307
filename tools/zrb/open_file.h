// The handle of an open file.
#pragma once

#include <string>

namespace zrbtool {

// Closes the file at the end of its life; errno stays what it was, so that a failure may still be told.
class OpenFile {
public:
  // Takes what open() and its like return: a handle, or -1 and errno.
  explicit OpenFile(int handle) noexcept : m_handle(handle) {}
  // Opens with the flags of open() and O_CLOEXEC.
  OpenFile(const std::string& path, int flags) noexcept;
  OpenFile(OpenFile&& other) noexcept;
  OpenFile& operator=(OpenFile&& other) noexcept;
  ~OpenFile();

  bool isOpen() const { return m_handle >= 0; }
  int handle() const { return m_handle; }  // -1: not open
  // Whether it is a file, and no folder, device or pipe.
  bool isRegular() const;

private:
  int m_handle;
};

// The file that becomes `target`, which is what the user knows.  Throws Failure (io).
OpenFile openToWrite(const std::string& file, const std::string& target);

}  // namespace zrbtool
