// Which stretch of the file does the ring hold, and what is loaded when the reader moves?
//
// Cache invariant of a reading buffer, S = m_cache_start, K = m_cache_rows, N = capacity: K <= N, and unless the buffer
// has an error, rows S .. S + K - 1 of the file are in ring rows (S + i) mod N.
#include "ZRBBackingFileBufReader.h"

#include <algorithm>

#include "ZRBBackingFileBuf.h"
#include "ZRBProc.h"
#include "buf/saturating.h"

namespace {

// Rows of the file from `row` on.  No difference is formed that a total chosen by the host could drive out of range.
long long rowsFrom(long long row, long long total) { return total > row ? total - row : 0; }

}  // namespace

ZRBBackingFileBufReader::ZRBBackingFileBufReader(ZRBBackingFileBuf* buf, ZRBProc* proc)
    : ZRBBufReader(buf, proc), m_cache_start(0), m_cache_rows(0) {}

ZRBBackingFileBufReader::~ZRBBackingFileBufReader() = default;

int ZRBBackingFileBufReader::init() {
  ZRBBufReader::init();
  m_cache_start = 0;
  m_cache_rows = 0;
  return hasError();
}

ZRBBackingFileBuf* ZRBBackingFileBufReader::file() { return m_buf->getZRBBackingFileBuf(); }
int ZRBBackingFileBufReader::isWritingCache() { return file()->m_writing_cache; }
bool ZRBBackingFileBufReader::isReleasedAll() { return m_chunk_position == -1; }

int ZRBBackingFileBufReader::isMultiPass() { return !isWritingCache(); }
int ZRBBackingFileBufReader::isRandomAccess() { return !isWritingCache(); }

long long ZRBBackingFileBufReader::getTotalNumRows() {
  return isWritingCache() ? ZRBBufReader::getTotalNumRows() : file()->getBackingFileTotalRows();
}

int ZRBBackingFileBufReader::getEOF() {
  if (isWritingCache()) return ZRBBufReader::getEOF();
  return addSaturating(getChunkPosition(), getRowsReady()) >= getTotalNumRows();
}

long ZRBBackingFileBufReader::getRowsReady() {
  if (isWritingCache()) return ZRBBufReader::getRowsReady();
  const long long end = m_cache_start + m_cache_rows;
  return m_chunk_position >= m_cache_start && m_chunk_position < end ? end - m_chunk_position : 0;
}

void ZRBBackingFileBufReader::setRequestRows(long rows) {
  ZRBBufReader::setRequestRows(rows);
  if (!isWritingCache()) setChunkPosition(getChunkPosition());
}

void ZRBBackingFileBufReader::releaseRows(long rows) {
  if (isWritingCache()) return ZRBBufReader::releaseRows(rows);
  const long rowsReady = getRowsReady();
  if (rows < 0) return m_proc->setError("ZRBBackingFileBufReader::releaseRows can't release negative rows", rows);
  if (rows > rowsReady)
    return m_proc->setError("ZRBBackingFileBufReader::releaseRows can't release more rows than are ready", rows);
  if (!isReleasedAll()) setChunkPosition(getChunkPosition() + rows);
}

void ZRBBackingFileBufReader::releaseAll() {
  ZRBBufReader::releaseAll();
  if (isWritingCache()) return;
  file()->closeBackingFile();
  file()->closeBlobFile();
}

void ZRBBackingFileBufReader::setChunkPosition(long long position) {
  if (isReleasedAll()) return;
  if (isWritingCache()) return ZRBBufReader::setChunkPosition(position);
  if (position < 0)
    return m_proc->setError("ZRBBackingFileBufReader::setChunkPosition can't set position",
                            static_cast<double>(position));
  m_chunk_position = position;
  if (m_proc->getError() || m_request_rows < 1) return;
  if (file()->getBackingFileHandle() < 0)
    return m_proc->setError("ZRBBackingFileBufReader::setChunkPosition: file closed!");

  const long long capacity = m_buf->getNumRows();
  const long long total = getTotalNumRows();
  const long long cacheEnd = m_cache_start + m_cache_rows;
  const long long wantedEnd = addSaturating(position, m_request_rows);
  if (position >= m_cache_start && (wantedEnd <= cacheEnd || cacheEnd >= total)) return;

  long long loadStart = position;
  long long loadRows = capacity;
  long long cacheRows = capacity;
  if (position >= m_cache_start && position < cacheEnd) {
    // The cached rows from the position on stay; the rest of the ring is loaded behind them.
    loadStart = cacheEnd;
    loadRows = capacity - (cacheEnd - position);
  } else if (position < m_cache_start && addSaturating(position, capacity) > m_cache_start && wantedEnd <= cacheEnd) {
    // Only the front is missing.
    loadRows = m_cache_start - position;
    cacheRows = std::min(cacheEnd - position, capacity);
  }
  loadRows = std::min(loadRows, rowsFrom(loadStart, total));
  cacheRows = std::min(cacheRows, rowsFrom(position, total));
  m_cache_start = position;
  m_cache_rows = cacheRows;
  if (loadRows > 0 && !file()->loadRows(loadStart, loadRows))
    m_proc->setError("ZRBBackingFileBufReader::setChunkPosition error on seek",
                     static_cast<double>(multiplySaturating(m_buf->getBytesPerRow(), loadStart)));
}

// ---- Blobs ----

int ZRBBackingFileBufReader::openBlobData(long long offset, long long length) {
  return file()->openReadBlobData(offset, length);
}
long ZRBBackingFileBufReader::readBlobData(char* bytes, long count) { return file()->readBlobData(bytes, count); }
int ZRBBackingFileBufReader::seekBlobData(long long offset) { return file()->seekBlobData(offset); }
long long ZRBBackingFileBufReader::getBlobOffsetInData() { return file()->getBlobOffsetInData(); }
int ZRBBackingFileBufReader::closeBlobData() { return file()->closeReadBlobData(); }
int ZRBBackingFileBufReader::isBlobOpen() { return file()->isBlobOpen(); }
