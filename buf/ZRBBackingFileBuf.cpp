// How do rows get into the file of rows and back?
//
// File invariants of a writing buffer between any two public calls:
//  (1) Without an error, the file holds exactly the rows released so far, in stream order.
//  (2) The ring holds every number in the host's byte order; only inside releaseInputRows is it otherwise.
#include "ZRBBackingFileBuf.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "ZRBBackingFileBufReader.h"
#include "ZRBBackingFileBufWriter.h"
#include "base/format_message.h"
#include "base/property_table.h"
#include "base/severity.h"
#include "buf/saturating.h"

using namespace property;

namespace {

constexpr int kClosed = -1;
constexpr int kOwnerOnly = 0600;
constexpr const char* kFirst = "first";
constexpr const char* kSecond = "second";

void closeHandle(int& handle) {
  if (handle == kClosed) return;
  ::close(handle);
  handle = kClosed;
}

// A run of ring rows as the two pieces that do not wrap; the second may be empty.
struct Pieces {
  Pieces(long ringRow, long rows, long capacity) : first(std::min(rows, capacity - ringRow)), second(rows - first) {}
  long first;
  long second;
};

}  // namespace

ZRBBackingFileBuf::ZRBBackingFileBuf()
    : m_backing_file_total_rows(0),
      m_backing_file_handle(kClosed),
      m_writing_cache(0),
      m_blob_file_handle(kClosed),
      m_blob_offset(0),
      m_blob_length(-1),
      m_blob_position(-1) {}

ZRBBackingFileBuf::~ZRBBackingFileBuf() {
  closeBackingFile();
  closeBlobFile();
}

int ZRBBackingFileBuf::init() {
  ZRBObj::init();  // not ZRBBuf's: that wants a writer, and lays out the rows before the files are open
  closeBackingFile();
  closeBlobFile();
  m_writing_cache = m_writers.empty() ? 0 : 1;
  const char* cannotOpen = m_writing_cache ? "can't open file for write" : "can't open file for read";
  if (m_writers.size() > 1) {
    setError("more than one writer");
    return 1;
  }
  if (!m_writing_cache && m_readers.size() > 1) {
    setError("only one random access reader allowed");
    return 1;
  }
  if (!m_backing_file_name) {
    setError("ZRBBackingFileBuf: null file name");
    return 1;
  }
  m_backing_file_handle = openFile(m_backing_file_name.get());
  if (m_backing_file_handle == kClosed) {
    setError(cannotOpen, m_backing_file_name.get());
    return 1;
  }
  if (m_blob_file_name) {
    m_blob_file_handle = openFile(m_blob_file_name.get());
    if (m_blob_file_handle == kClosed) addMessage(cannotOpen, m_blob_file_name.get(), severity::kDebug);
  }
  initData();
  initConnections();
  m_blob_offset = 0;
  m_blob_length = -1;
  m_blob_position = -1;
  m_input_rows_released = 0;
  m_eof = 0;
  return hasError();
}

int ZRBBackingFileBuf::openFile(const char* name) {
  return ::open64(name, m_writing_cache ? O_WRONLY | O_CREAT | O_TRUNC : O_RDONLY, kOwnerOnly);
}

int ZRBBackingFileBuf::isZRBBackingFileBuf() { return 1; }
ZRBBackingFileBuf* ZRBBackingFileBuf::getZRBBackingFileBuf() { return this; }
int ZRBBackingFileBuf::isMultiPass() { return 1; }
int ZRBBackingFileBuf::isRandomAccess() { return 1; }
ZRBBufWriter* ZRBBackingFileBuf::newBufWriter(ZRBProc* proc) { return new ZRBBackingFileBufWriter(this, proc); }
ZRBBufReader* ZRBBackingFileBuf::newBufReader(ZRBProc* proc) { return new ZRBBackingFileBufReader(this, proc); }

long long ZRBBackingFileBuf::getTotalNumRows() {
  return m_writing_cache ? ZRBBuf::getTotalNumRows() : m_backing_file_total_rows;
}

int ZRBBackingFileBuf::setEOF(int eof) {
  m_eof = eof;
  if (m_writing_cache && eof) {
    closeBackingFile();
    closeBlobFile();
    if (isBlobOpen()) setError("ZRBBackingFileBuf::setEOF - can't setEOF while blob still open");
  }
  return eof;
}

// ---- Rows to the file ----

void ZRBBackingFileBuf::releaseInputRows(long rows) {
  if (!m_writing_cache) return ZRBBuf::releaseInputRows(rows);
  if (m_backing_file_handle == kClosed) return setError("ZRBBackingFileBuf::releaseInputRows: file closed!");
  const long start = getInputRowIndex(0);
  const Pieces pieces(start, rows, m_num_rows);
  byteSwapBufNumbers(m_input_rows_released, rows);
  writePiece(kFirst, start, pieces.first, rows);
  if (!hasError()) writePiece(kSecond, 0, pieces.second, rows);
  byteSwapBufNumbers(m_input_rows_released, rows);
  // Deliberate: any error of the buffer keeps the rows with the writer.
  if (!hasError()) m_input_rows_released += rows;
}

void ZRBBackingFileBuf::writePiece(const char* which, long ringRow, long rows, long allRows) {
  if (rows < 1 || m_num_columns < 1) return;
  const int bytes = static_cast<int>(m_bytes_per_row * rows);  // a ring holds at most 2 GB
  errno = 0;                                                   // a short write need not set it
  const long written = ::write(m_backing_file_handle, getDataPtr(ringRow, 0, 0), static_cast<std::size_t>(bytes));
  if (written >= bytes) return;
  const int error = errno;
  const char* name = m_backing_file_name.get();
  if (error == ENOSPC) {
    addError(formatMessage("output device full while writing to %s", name).c_str());
  } else {
    addError(formatMessage("ZRBBackingFileBuf error writing to file %s", name).c_str());
    addError(formatMessage("  pos=%ld, %s chunk=%d/%d rows, nwritten=%d/%d bytes, errno=%d", m_input_rows_released,
                           which, static_cast<int>(rows), static_cast<int>(allRows), static_cast<int>(written), bytes,
                           error)
                 .c_str());
  }
}

// ---- Rows from the file ----

// Reads rows firstRow.. of the file into their places in the ring.  False: the file could not be moved there.
bool ZRBBackingFileBuf::loadRows(long long firstRow, long rows) {
  const long long offset = multiplySaturating(m_bytes_per_row, firstRow);
  if (::lseek64(m_backing_file_handle, offset, SEEK_SET) < 0) return false;
  const long start = getOutputRowIndex(firstRow, 0);
  const Pieces pieces(start, rows, m_num_rows);
  if (readPiece(kFirst, start, pieces.first, rows, firstRow) && readPiece(kSecond, 0, pieces.second, rows, firstRow))
    byteSwapBufNumbers(firstRow, rows);
  return true;
}

bool ZRBBackingFileBuf::readPiece(const char* which, long ringRow, long rows, long allRows, long long firstRow) {
  if (rows < 1) return true;
  const int bytes = static_cast<int>(multiplySaturating(m_bytes_per_row, rows));
  long numRead = -1;
  errno = EFAULT;
  // A request loads rows even when init() could not allocate the ring: the block is then missing or too small.
  if (multiplySaturating(m_bytes_per_row, addSaturating(ringRow, rows)) <= static_cast<long>(m_data_bytes)) {
    errno = 0;
    numRead = ::read(m_backing_file_handle, getDataPtr(ringRow, 0, 0), static_cast<std::size_t>(bytes));
    if (numRead >= bytes) return true;
  }
  const int error = errno;
  addError(formatMessage("ZRBBackingFileBuf error reading file %s", m_backing_file_name.get()).c_str());
  addError(formatMessage("  pos=%ld, %s chunk=%d/%d rows, nread=%d/%d bytes, errno=%d", static_cast<long>(firstRow),
                         which, static_cast<int>(rows), static_cast<int>(allRows), static_cast<int>(numRead), bytes,
                         error)
               .c_str());
  return false;
}

// ---- Names and handles ----

void ZRBBackingFileBuf::setBackingFileName(const char* name) { m_backing_file_name.reset(copyString(name)); }
const char* ZRBBackingFileBuf::getBackingFileName() { return m_backing_file_name.get(); }
void ZRBBackingFileBuf::setBackingFileTotalRows(long long rows) { m_backing_file_total_rows = rows; }
long long ZRBBackingFileBuf::getBackingFileTotalRows() { return m_backing_file_total_rows; }
int ZRBBackingFileBuf::getBackingFileHandle() { return m_backing_file_handle; }
void ZRBBackingFileBuf::closeBackingFile() { closeHandle(m_backing_file_handle); }
long ZRBBackingFileBuf::getBackingFileRowBytes() { return getBytesPerRow(); }
long ZRBBackingFileBuf::getBackingFileColumnOffsetBytes(long column) { return getColumnOffsetBytes(column); }
long ZRBBackingFileBuf::getBackingFileColumnWidthBytes(long column) { return getColumnWidthBytes(column); }
void ZRBBackingFileBuf::setBlobFileName(const char* name) { m_blob_file_name.reset(copyString(name)); }
const char* ZRBBackingFileBuf::getBlobFileName() { return m_blob_file_name.get(); }
int ZRBBackingFileBuf::getBlobFileHandle() { return m_blob_file_handle; }
void ZRBBackingFileBuf::closeBlobFile() { closeHandle(m_blob_file_handle); }

// ---- Properties ----

struct ZRBBackingFileBuf::Properties {
  static constexpr Property<ZRBBackingFileBuf> setTable[] = {
      {"backing.file.name", set<String, &ZRBBackingFileBuf::setBackingFileName>},
      {"backing.file.total.rows", set<LongLong, &ZRBBackingFileBuf::setBackingFileTotalRows>},
      {"close.backing.file", call<&ZRBBackingFileBuf::closeBackingFile>},
      {"blob.file.name", set<String, &ZRBBackingFileBuf::setBlobFileName>},
      {"close.blob.file", call<&ZRBBackingFileBuf::closeBlobFile>},
  };

  static constexpr Property<ZRBBackingFileBuf> getTable[] = {
      {"backing.file.name", get<String, &ZRBBackingFileBuf::getBackingFileName>},
      {"backing.file.total.rows", get<LongLong, &ZRBBackingFileBuf::getBackingFileTotalRows>},
      {"backing.file.row.bytes", get<Long, &ZRBBackingFileBuf::getBackingFileRowBytes>},
      {"backing.file.column.offset.bytes", getAt<Long, Long, &ZRBBackingFileBuf::getBackingFileColumnOffsetBytes>},
      {"backing.file.column.width.bytes", getAt<Long, Long, &ZRBBackingFileBuf::getBackingFileColumnWidthBytes>},
      {"blob.file.name", get<String, &ZRBBackingFileBuf::getBlobFileName>},
  };
};

void ZRBBackingFileBuf::setProperty(ZRBPropertyInfo* info) {
  if (!applyProperty(Properties::setTable, *this, *info)) ZRBBuf::setProperty(info);
}

void ZRBBackingFileBuf::getProperty(ZRBPropertyInfo* info) {
  if (!applyProperty(Properties::getTable, *this, *info)) ZRBBuf::getProperty(info);
}
