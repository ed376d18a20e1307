// Files of rows: 8 doubles and 3 factors a row, and where they may lie.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "fixed_random.h"
#include "packed_rows.h"

namespace bench {

// A file of its own in ZRB_BENCH_DIR, or the system's folder for temporary files; gone when the program ends, however it
// ends.
class ScratchFile {
public:
  explicit ScratchFile(const char* name) {
    const char* folder = std::getenv("ZRB_BENCH_DIR");
    m_path = (folder ? std::filesystem::path(folder) : std::filesystem::temp_directory_path()) /
             ("zrb_bench_" + std::to_string(getpid()) + "_" + name);
    static Leftovers leftovers;
    leftovers.paths.push_back(m_path);
  }
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;
  ~ScratchFile() { remove(); }

  const char* path() const { return m_path.c_str(); }
  void remove() { unlink(m_path.c_str()); }

private:
  struct Leftovers {
    std::vector<std::string> paths;
    ~Leftovers() {  // std::exit in the middle of a benchmark destroys no ScratchFile
      for (const std::string& path : paths) unlink(path.c_str());
    }
  };

  std::string m_path;
};

class FileHandle {
public:
  FileHandle(const char* path, int flags) : m_handle(open(path, flags, 0600)) {
    if (m_handle < 0) fail("can't open %s: %s", path, std::strerror(errno));
  }
  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;
  ~FileHandle() { close(m_handle); }

  void writeAll(const char* bytes, long count) {
    if (write(m_handle, bytes, static_cast<std::size_t>(count)) != count) fail("can't write: %s", std::strerror(errno));
  }
  void readAll(char* bytes, long count) {
    if (read(m_handle, bytes, static_cast<std::size_t>(count)) != count) fail("can't read: %s", std::strerror(errno));
  }
  // At most `count` bytes; none at the end of the file.
  std::size_t readSome(char* bytes, std::size_t count) const {
    const ssize_t got = read(m_handle, bytes, count);
    if (got < 0) fail("can't read: %s", std::strerror(errno));
    return static_cast<std::size_t>(got);
  }

private:
  int m_handle;
};

constexpr long kFileDoubles = 8;
constexpr long kFileFactors = 3;
constexpr long kFileLevels = 500;

inline std::vector<ColumnSpec> fileColumns() {
  std::vector<ColumnSpec> columns = doubleColumns(kFileDoubles);
  columns.insert(columns.end(), kFileFactors, factorColumn(kFileLevels));
  return columns;
}

// Fills the rows of one chunk of the stream, the same for the same number whoever asks.
inline void fillFileChunk(PackedRows& rows, long chunk) {
  FixedRandom random(static_cast<std::uint64_t>(1000 + chunk));
  for (long row = 0; row < rows.numRows(); ++row) {
    for (long c = 0; c < kFileDoubles; ++c)
      rows.setDouble(row, c, random.chance(0.01) ? ZRBObj::getDoubleNA() : random.uniform() * 1000 - 300);
    for (long c = 0; c < kFileFactors; ++c)
      rows.setLevel(row, kFileDoubles + c, random.chance(0.01) ? -1 : random.below(kFileLevels));
  }
}

// As the file has them: doubles high byte first.
inline void reverseDoubles(PackedRows& rows) {
  for (long row = 0; row < rows.numRows(); ++row)
    for (long c = 0; c < kFileDoubles; ++c) {
      std::uint64_t bits;
      std::memcpy(&bits, rows.cell(row, c), 8);
      bits = __builtin_bswap64(bits);
      std::memcpy(rows.cell(row, c), &bits, 8);
    }
}

}  // namespace bench
