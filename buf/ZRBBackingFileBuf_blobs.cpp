// How does one blob get into the blob file and back?
//
// A record at offset O with L bytes of data:
//
//   OFFSET   SIZE  DESCRIPTION
//   O           4  B L B NUL
//   O + 4       8  O, high byte first
//   O + 12      L  the data
//   O + 12 + L  8  L, high byte first
//   O + 20 + L  4  E L B NUL
//
// The state is three numbers, and a blob is open when all are >= 0:
//
//   writing: (next O, -1, -1) --openWriteBlobData--> (O, 0, written) --closeWriteBlobData--> (O + L + 24, -1, -1)
//   reading: (-1, -1, -1) --openReadBlobData--> (O, L, read) --closeReadBlobData--> (-1, -1, -1)
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "ZRBBackingFileBuf.h"
#include "base/value_codes.h"
#include "buf/cell_codec.h"

namespace {

constexpr int kClosed = -1;
constexpr long kMarkBytes = 12;  // a record's header or trailer
constexpr char kHeaderMagic[4] = {0x42, 0x4C, 0x42, 0x00};
constexpr char kTrailerMagic[4] = {0x45, 0x4C, 0x42, 0x00};

void storeBigEndian(char* bytes, long long value) {
  cell::store(bytes, value);
  cell::reverse8(bytes);
}

long long loadBigEndian(char* bytes) {
  cell::reverse8(bytes);
  return cell::load<long long>(bytes);
}

bool writeWhole(int handle, const char* bytes, long count) {
  return ::write(handle, bytes, static_cast<std::size_t>(count)) >= count;
}

bool readWhole(int handle, char* bytes, long count) {
  return ::read(handle, bytes, static_cast<std::size_t>(count)) >= count;
}

}  // namespace

int ZRBBackingFileBuf::isBlobOpen() { return m_blob_offset >= 0 && m_blob_length >= 0 && m_blob_position >= 0; }
long long ZRBBackingFileBuf::getBlobOffsetInData() { return m_blob_position; }

int ZRBBackingFileBuf::failBlob(int result, const char* text) {
  setError(text);
  return result;
}
int ZRBBackingFileBuf::failBlob(int result, const char* text, double value) {
  setError(text, value);
  return result;
}
int ZRBBackingFileBuf::failBlob(int result, const char* text, long value) {
  setError(text, value);
  return result;
}

// The two guards that every operation on data shares; each has its own texts.
bool ZRBBackingFileBuf::checkBlobMode(int writing, const char* wrongMode, const char* notOpen) {
  if (m_writing_cache != writing) {
    setError(wrongMode);
    return false;
  }
  if (m_blob_file_handle == kClosed) {
    setError(notOpen);
    return false;
  }
  return true;
}

// ---- Writing ----

int ZRBBackingFileBuf::openWriteBlobData() {
  if (isBlobOpen()) return failBlob(0, "ZRBBackingFileBuf::openWriteBlobData - blob already open");
  m_blob_length = -1;
  m_blob_position = -1;
  if (!checkBlobMode(1, "ZRBBackingFileBuf::openWriteBlobData - reading cache",
                     "ZRBBackingFileBuf::openWriteBlobData - blob file not open"))
    return 0;
  const double offset = static_cast<double>(m_blob_offset);
  if (m_blob_offset < 0) return failBlob(0, "ZRBBackingFileBuf::openWriteBlobData - bad blob offset", offset);
  char header[kMarkBytes];
  std::memcpy(header, kHeaderMagic, sizeof kHeaderMagic);
  storeBigEndian(header + sizeof kHeaderMagic, m_blob_offset);
  if (!writeWhole(m_blob_file_handle, header, kMarkBytes))
    return failBlob(0, "ZRBBackingFileBuf::openWriteBlobData - error on writing header", offset);
  m_blob_length = 0;
  m_blob_position = 0;
  return 1;
}

// Deliberate: whether a blob is open is not asked.  Pinned by "blob data can be written without an open blob".
long ZRBBackingFileBuf::writeBlobData(const char* bytes, long count) {
  if (!checkBlobMode(1, "ZRBBackingFileBuf::writeBlobData - reading cache",
                     "ZRBBackingFileBuf::writeBlobData - blob file not open"))
    return -1;
  if (!bytes) return failBlob(-1, "ZRBBackingFileBuf::writeBlobData - NULL bytesPtr");
  if (count < 0) return failBlob(-1, "ZRBBackingFileBuf::writeBlobData - bad array length", count);
  if (count == 0) return 0;
  if (!writeWhole(m_blob_file_handle, bytes, count))
    return failBlob(-1, "ZRBBackingFileBuf::writeBlobData - error on write", count);
  m_blob_position = value_codes::addWrapping(m_blob_position, count);  // a seek may have set it to anything
  return count;
}

int ZRBBackingFileBuf::closeWriteBlobData(long long* offset, long long* length) {
  if (!isBlobOpen()) return failBlob(-1, "ZRBBackingFileBuf::closeWriteBlobData - blob not open");
  if (!checkBlobMode(1, "ZRBBackingFileBuf::closeWriteBlobData - reading cache",
                     "ZRBBackingFileBuf::closeWriteBlobData - blob file not open"))
    return -1;
  m_blob_length = m_blob_position;
  char trailer[kMarkBytes];
  storeBigEndian(trailer, m_blob_length);
  std::memcpy(trailer + sizeof m_blob_length, kTrailerMagic, sizeof kTrailerMagic);
  if (!writeWhole(m_blob_file_handle, trailer, kMarkBytes))
    return failBlob(0, "ZRBBackingFileBuf::closeWriteBlobData - error on writing trailer",
                    static_cast<double>(m_blob_offset));
  *offset = m_blob_offset;
  *length = m_blob_length;
  m_blob_offset = value_codes::addWrapping(m_blob_offset, value_codes::addWrapping(m_blob_length, 2 * kMarkBytes));
  m_blob_length = -1;
  m_blob_position = -1;
  return 1;
}

// ---- Reading ----

int ZRBBackingFileBuf::openReadBlobData(long long offset, long long length) {
  m_blob_offset = -1;
  m_blob_length = -1;
  m_blob_position = -1;
  if (!checkBlobMode(0, "ZRBBackingFileBuf::openReadBlobData - writing cache",
                     "ZRBBackingFileBuf::openReadBlobData - blob file not open"))
    return 0;
  const double at = static_cast<double>(offset);
  if (offset < 0) return failBlob(0, "ZRBBackingFileBuf::openReadBlobData - bad blob offset", at);
  if (length < 0)
    return failBlob(0, "ZRBBackingFileBuf::openReadBlobData - bad blob length", static_cast<double>(length));
  if (::lseek64(m_blob_file_handle, offset, SEEK_SET) < 0)
    return failBlob(0, "ZRBBackingFileBuf::openReadBlobData - error on seek", at);
  char header[kMarkBytes];
  if (!readWhole(m_blob_file_handle, header, kMarkBytes))
    return failBlob(0, "ZRBBackingFileBuf::openReadBlobData - error on reading header", at);
  if (std::memcmp(header, kHeaderMagic, sizeof kHeaderMagic) != 0 ||
      loadBigEndian(header + sizeof kHeaderMagic) != offset)
    return failBlob(0, "ZRBBackingFileBuf::openReadBlobData - incorrect header data", at);
  m_blob_offset = offset;
  m_blob_length = length;
  m_blob_position = 0;
  return 1;
}

long ZRBBackingFileBuf::readBlobData(char* bytes, long count) {
  if (!isBlobOpen()) return failBlob(-1, "ZRBBackingFileBuf::readBlobData - blob not open");
  if (!checkBlobMode(0, "ZRBBackingFileBuf::readBlobData - writing cache",
                     "ZRBBackingFileBuf::readBlobData - blob file not open"))
    return -1;
  if (!bytes) return failBlob(-1, "ZRBBackingFileBuf::readBlobData - NULL bytesPtr");
  if (count < 0) return failBlob(-1, "ZRBBackingFileBuf::readBlobData - bad array length", count);
  count = std::min<long long>(count, m_blob_length - m_blob_position);
  if (count < 1) return 0;
  const long numRead = ::read(m_blob_file_handle, bytes, static_cast<std::size_t>(count));
  // Deliberate: the text names openReadBlob.
  if (numRead < 0) return failBlob(-1, "ZRBBackingFileBuf::openReadBlob - error on reading", count);
  m_blob_position += numRead;
  return numRead;
}

int ZRBBackingFileBuf::seekBlobData(long long position) {
  if (!isBlobOpen()) return failBlob(-1, "ZRBBackingFileBuf::seekBlobData - blob not open");
  m_blob_position = position;
  if (position != 0) return 1;  // deliberate: the file stays where it is
  if (!checkBlobMode(0, "ZRBBackingFileBuf::seekBlobData - writing cache",
                     "ZRBBackingFileBuf::seekBlobData - blob file not open"))
    return -1;
  if (position < 0 || position > m_blob_length)
    return failBlob(-1, "ZRBBackingFileBuf::seekBlobData - bad offset", static_cast<double>(position));
  if (::lseek64(m_blob_file_handle, m_blob_offset + kMarkBytes + position, SEEK_SET) < 0)
    return failBlob(0, "ZRBBackingFileBuf::seekBlobData - error on seek", static_cast<double>(position));
  return 1;
}

int ZRBBackingFileBuf::closeReadBlobData() {
  if (!isBlobOpen()) return failBlob(-1, "ZRBBackingFileBuf::closeReadBlobData - blob not open");
  if (!checkBlobMode(0, "ZRBBackingFileBuf::closeReadBlobData - writing cache",
                     "ZRBBackingFileBuf::closeReadBlobData - blob file not open"))
    return -1;
  if (!seekBlobData(m_blob_length)) return 1;  // the blob stays open
  const double at = static_cast<double>(m_blob_offset);
  char trailer[kMarkBytes];
  if (!readWhole(m_blob_file_handle, trailer, kMarkBytes))
    return failBlob(0, "ZRBBackingFileBuf::closeReadBlobData - error on reading trailer", at);
  if (loadBigEndian(trailer) != m_blob_length ||
      std::memcmp(trailer + sizeof m_blob_length, kTrailerMagic, sizeof kTrailerMagic) != 0)
    return failBlob(0, "ZRBBackingFileBuf::closeReadBlobData - incorrect trailer data", at);
  m_blob_offset = -1;
  m_blob_length = -1;
  m_blob_position = -1;
  return 1;
}
