// Where the bytes of a table come from.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace zrbtool {

class ByteSource {
public:
  virtual ~ByteSource() = default;
  // Reads at most `size` bytes, at least one unless the bytes are at their end; returns how many.
  // Throws std::system_error when reading fails.
  virtual std::size_t read(char* to, std::size_t size) = 0;
};

// Bytes that are already there.
class MemoryBytes : public ByteSource {
public:
  explicit MemoryBytes(std::string_view bytes) : m_rest(bytes) {}
  std::size_t read(char* to, std::size_t size) override;

private:
  std::string_view m_rest;
};

// A file, or standard input, read once from its beginning to its end.  Its first bytes may be looked at before they are
// read, which works for pipes as well: what was looked at is kept, and dropped when it has been read.
class FileBytes : public ByteSource {
public:
  // "-" is standard input.  Throws std::system_error when the file cannot be opened.
  explicit FileBytes(const std::string& path);
  FileBytes(const FileBytes&) = delete;
  FileBytes& operator=(const FileBytes&) = delete;
  ~FileBytes() override;

  std::size_t read(char* to, std::size_t size) override;

  // The bytes that read() gives next: `size` of them, or all when there are fewer.  Valid until the next call of any
  // function.
  std::string_view peek(std::size_t size);
  // Drops the next bytes.
  // REQUIRES: size <= what peek() gave.
  void skip(std::size_t size);

private:
  std::size_t readFile(char* to, std::size_t size);

  int m_handle;
  std::string m_kept;       // looked at, but not read
  std::size_t m_start = 0;  // of what is left of it
};

}  // namespace zrbtool
