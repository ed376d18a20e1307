// Buffers on files with the nodes that write and read them by hand, and the bytes that such files are made of.
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "ZRBBackingFileBuf.h"
#include "ZRBBackingFileBufReader.h"
#include "ZRBBackingFileBufWriter.h"
#include "support/Harness.h"
#include "support/TemporaryDirectory.h"

// ---- What the files are made of, independently of the library ----

inline std::string highByteFirst(std::uint64_t value) {
  std::string bytes;
  for (int shift = 56; shift >= 0; shift -= 8) bytes += static_cast<char>(value >> shift & 0xFF);
  return bytes;
}
inline std::string numberBytes(double value) { return highByteFirst(bitsOf(value)); }
inline std::string numberBytes(long long value) { return highByteFirst(static_cast<std::uint64_t>(value)); }
inline std::string levelBytes(unsigned code) { return {static_cast<char>(code >> 8), static_cast<char>(code & 0xFF)}; }
inline std::string textBytes(const std::string& text, std::size_t width) {
  return text + std::string(width - text.size(), '\0');
}
inline std::string blobCellBytes(long long offset, long long length) {
  return numberBytes(offset) + numberBytes(length);
}
inline std::string blobRecord(long long offset, const std::string& data) {
  return std::string("BLB\0", 4) + numberBytes(offset) + data + numberBytes(static_cast<long long>(data.size())) +
         std::string("ELB\0", 4);
}

// Rows first..first+rows-1 of a file whose only column is a double; row r holds `base` + r.
inline std::string doubleRows(long long first, long long rows, double base = 0) {
  std::string bytes;
  for (long long row = first; row < first + rows; ++row) bytes += numberBytes(base + static_cast<double>(row));
  return bytes;
}

// ---- Buffers ----

// Offset, length and position of the open blob.
using BlobState = std::vector<long long>;
constexpr long long kNone = -1;
inline const BlobState kNoBlob = {kNone, kNone, kNone};

class FileBuf : public ZRBBackingFileBuf {
public:
  BlobState blobState() const { return {m_blob_offset, m_blob_length, m_blob_position}; }
  // The whole ring as it is in memory.
  std::string ring() {
    return {getDataPtr(0, 0, 0), static_cast<std::size_t>(getNumRows()) * static_cast<std::size_t>(getBytesPerRow())};
  }
};

// Ends of other classes than the buffer's own are constructed from the buffer and the node.
template <class Reader, class Writer>
class FileBufWithEnds : public FileBuf {
public:
  ZRBBufReader* newBufReader(ZRBProc* proc) override { return new Reader(this, proc); }
  ZRBBufWriter* newBufWriter(ZRBProc* proc) override { return new Writer(this, proc); }
};

inline const std::vector<Column> kOneDouble = {{"d", ZRBBuf::column_double}};
inline const std::vector<Column> kOneBlob = {{"b", ZRBBuf::column_blob}};

// A file of rows that is written; initialised.  An empty name stands for no blob file.
template <class Reader = ZRBBackingFileBufReader, class Writer = ZRBBackingFileBufWriter>
struct WrittenFile {
  FileBufWithEnds<Reader, Writer> buf;
  HarnessNode node;
  Writer& writer;

  WrittenFile(const std::string& rowFile, long capacity, const std::vector<Column>& columns = kOneDouble,
              const std::string& blobFile = "")
      : writer(static_cast<Writer&>(node.writeTo(buf))) {
    buf.setNumRows(capacity);
    setColumns(buf, columns);
    buf.setBackingFileName(rowFile.c_str());
    if (!blobFile.empty()) buf.setBlobFileName(blobFile.c_str());
    node.setNumRows(capacity);
    buf.init();
  }
  // Writes rows of one double, the stream rows `base` + 0, 1, ..., and releases them.
  void releaseDoubles(long rows, double base = 0) {
    for (long row = 0; row < rows; ++row)
      writer.setDouble(row, 0, base + static_cast<double>(writer.getChunkPosition() + row));
    writer.releaseRows(rows);
  }
};

// A file of rows that is read; initialised.
template <class Reader = ZRBBackingFileBufReader, class Writer = ZRBBackingFileBufWriter>
struct ReadFile {
  FileBufWithEnds<Reader, Writer> buf;
  HarnessNode node;
  Reader& reader;

  ReadFile(const std::string& rowFile, long long totalRows, long capacity,
           const std::vector<Column>& columns = kOneDouble, const std::string& blobFile = "")
      : reader(static_cast<Reader&>(node.readFrom(buf))) {
    buf.setNumRows(capacity);
    setColumns(buf, columns);
    buf.setBackingFileName(rowFile.c_str());
    buf.setBackingFileTotalRows(totalRows);
    if (!blobFile.empty()) buf.setBlobFileName(blobFile.c_str());
    node.setNumRows(capacity);
    buf.init();
  }
};

// ---- Handles and limits ----

inline bool isOpenHandle(int handle) { return fcntl(handle, F_GETFD) != -1; }

// Puts another file in the place of a handle, which stays the buffer's to close.
inline void replaceHandle(int handle, int other) {
  const bool replaced = handle >= 0 && other >= 0 && dup2(other, handle) == handle;
  if (other >= 0 && other != handle) close(other);
  if (!replaced) throw std::runtime_error("can't replace a file handle");
}
inline void replaceHandle(int handle, const std::string& path, int flags) {
  replaceHandle(handle, open(path.c_str(), flags));
}
// A handle that cannot seek.
inline void replaceHandleByPipe(int handle) {
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("can't make a pipe");
  close(ends[1]);
  replaceHandle(handle, ends[0]);
}

// Within the scope, no file of this process grows above `bytes`: the write that would is cut, and the next one fails.
class FileSizeLimit {
public:
  explicit FileSizeLimit(std::size_t bytes) : m_old_handler(signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &m_old);
    rlimit limit = m_old;
    limit.rlim_cur = bytes;
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0) throw std::runtime_error("can't limit the size of files");
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &m_old);
    signal(SIGXFSZ, m_old_handler);
  }

private:
  rlimit m_old;
  void (*m_old_handler)(int);
};
