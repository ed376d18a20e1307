// What may a node read from a buffer, and how does it give rows back?
#include "ZRBBufReader.h"

#include <algorithm>

#include "ZRBBuf.h"
#include "ZRBProc.h"
#include "base/conversions.h"
#include "buf/buf_access.h"
#include "buf/cell_codec.h"
#include "buf/ring_runs.h"

namespace {

constexpr long long kReleasedAll = -1;
constexpr long long kNoBlob = -1;

// values[i] = convert(cell) for `count` cells of a column from `ringRow` on.
template <class Convert>
void readCells(ZRBBuf& buf, long ringRow, long column, long count, double* values, Convert convert) {
  const BufAccess access(buf);
  const BufAccess::Column found = access.column(column);
  forEachRun(ringRow, count, access.capacity(), [&](long firstRow, long rows) {
    const char* cell = access.at(firstRow, found);
    double* value = values;
    for (long i = 0; i < rows; ++i, cell += access.rowBytes()) *value++ = convert(cell);
    values = value;
  });
}

}  // namespace

ZRBBufReader::ZRBBufReader(ZRBBuf* buf, ZRBProc* proc)
    : m_buf(buf), m_proc(proc), m_request_rows(0), m_chunk_position(0) {}

ZRBBufReader::~ZRBBufReader() = default;

int ZRBBufReader::init() {
  ZRBObj::init();
  m_request_rows = 0;
  m_chunk_position = 0;
  return hasError();
}

ZRBBuf* ZRBBufReader::getBuf() { return m_buf; }
ZRBProc* ZRBBufReader::getProc() { return m_proc; }
void ZRBBufReader::setProc(ZRBProc* proc) { m_proc = proc; }

// ---- Row flow ----

void ZRBBufReader::setRequestRows(long rows) {
  if (rows > m_buf->getNumRows())
    return m_proc->setError("ZRBBufReader::setRequestRows asked for more rows than ZRBBuf::getNumRows()", rows);
  // Deliberate: a request of 0 or 1 rows never meets the node's limit.
  if (rows > 1 && rows > m_proc->getNumRows())
    return m_proc->setError("ZRBBufReader::setRequestRows asked for more rows than ZRBProc::getNumRows()", rows);
  m_request_rows = rows;
}

long ZRBBufReader::getRequestRows() { return m_request_rows; }

long ZRBBufReader::getRowsReady() {
  if (m_chunk_position < 0) return 0;
  return std::max(m_buf->getInputRowsReleased() - m_chunk_position, 0LL);
}

int ZRBBufReader::isReady() {
  if (m_buf->getError()) return 0;
  if (getEOF()) return 1;
  return getRowsReady() >= m_request_rows;
}

void ZRBBufReader::releaseRows(long rows) {
  if (m_chunk_position < 0) return;  // after releaseAll()
  const long rowsReady = getRowsReady();
  if (rows < 0) return m_proc->setError("ZRBBufReader::releaseRows can't release negative rows", rows);
  if (rows > rowsReady)
    return m_proc->setError("ZRBBufReader::releaseRows can't release more rows than are ready", rows);
  m_chunk_position += rows;
}

void ZRBBufReader::releaseAll() { m_chunk_position = kReleasedAll; }

int ZRBBufReader::getEOF() { return m_buf->getEOF(); }
long long ZRBBufReader::getTotalNumRows() { return getEOF() ? m_buf->getInputRowsReleased() : -1; }

long long ZRBBufReader::getChunkPosition() {
  return m_chunk_position >= 0 ? m_chunk_position : m_buf->getInputRowsReleased();
}

void ZRBBufReader::setChunkPosition(long long position) {
  if (getChunkPosition() > position)
    return m_proc->setError("ZRBBufReader::setChunkPosition attempted to set chunk position backwards to",
                            static_cast<double>(position));
  m_chunk_position = position;
}

int ZRBBufReader::isMultiPass() { return 0; }
int ZRBBufReader::isRandomAccess() { return 0; }

long ZRBBufReader::getBufferRowNum(long row) {
  return m_chunk_position < 0 ? 0 : m_buf->getOutputRowIndex(m_chunk_position, row);
}

// ---- Cells ----

double ZRBBufReader::getDouble(long row, long column) {
  const BufAccess::Cell cell = BufAccess(*m_buf).readerCell(m_chunk_position, row, column);
  if (cell.type == ZRBBuf::column_double) [[likely]]
    return cell::load<double>(cell.bytes);
  switch (cell.type) {
    case ZRBBuf::column_factor:
      return conversions::levelNumToDouble(cell::loadLevelNum(cell.bytes));
    case ZRBBuf::column_string:
      return m_buf->convertStringToDouble(cell.bytes);
    case ZRBBuf::column_timeDate:
      return convertTimeDateToDouble(cell::load<long long>(cell.bytes));
    default:
      return conversions::kDoubleNA;
  }
}

void ZRBBufReader::getDoubleArray(long row, long column, long count, double* values) {
  // What a host derives converts cell by cell; so does a reader that has released everything, from ring row 0 alone.
  const auto together = [&] { return m_chunk_position >= 0 && m_buf->getNumRows() >= 1 && isOwnEnd(*this); };
  switch (m_buf->getColumnType(column)) {
    case ZRBBuf::column_double:
      m_buf->getRawDoubleArray(getBufferRowNum(row), column, count, values);
      break;
    case ZRBBuf::column_factor:
      if (together())
        return readCells(*m_buf, getBufferRowNum(row), column, count, values,
                         [](const char* cell) { return conversions::levelNumToDouble(cell::loadLevelNum(cell)); });
      for (long i = 0; i < count; ++i) values[i] = convertLevelNumToDouble(getLevelNum(row + i, column));
      break;
    case ZRBBuf::column_string:
      for (long i = 0; i < count; ++i) values[i] = m_buf->convertStringToDouble(getString(row + i, column));
      break;
    case ZRBBuf::column_timeDate:
      if (together()) {
        const long long epochMs = getDoubleDateEpoch();
        return readCells(*m_buf, getBufferRowNum(row), column, count, values, [epochMs](const char* cell) {
          return conversions::timeDateToDouble(cell::load<long long>(cell), epochMs);
        });
      }
      [[fallthrough]];
    default:
      for (long i = 0; i < count; ++i) values[i] = getDouble(row + i, column);
  }
}

long ZRBBufReader::getLevelNum(long row, long column) {
  const BufAccess::Cell cell = BufAccess(*m_buf).readerCell(m_chunk_position, row, column);
  switch (cell.type) {
    case ZRBBuf::column_double:
      return conversions::doubleToLevelNum(cell::load<double>(cell.bytes));
    case ZRBBuf::column_factor:
      return cell::loadLevelNum(cell.bytes);
    case ZRBBuf::column_string:
      return convertStringToLevelNum(cell.bytes);
    case ZRBBuf::column_timeDate:
      return convertTimeDateToLevelNum(cell::load<long long>(cell.bytes));
    default:
      return getLevelNumNA();
  }
}

const char* ZRBBufReader::getString(long row, long column) {
  const BufAccess::Cell cell = BufAccess(*m_buf).readerCell(m_chunk_position, row, column);
  switch (cell.type) {
    case ZRBBuf::column_double:
      return m_buf->convertDoubleToString(cell::load<double>(cell.bytes));
    case ZRBBuf::column_factor: {
      const long level = cell::loadLevelNum(cell.bytes);
      return isLevelNumNA(level) ? getStringNA() : m_buf->mapLevelNumToString(column, level);
    }
    case ZRBBuf::column_string:
      return cell.bytes;
    case ZRBBuf::column_timeDate:
      return m_buf->convertTimeDateToString(cell::load<long long>(cell.bytes));
    default:
      return getStringNA();
  }
}

long long ZRBBufReader::getTimeDate(long row, long column) {
  const BufAccess::Cell cell = BufAccess(*m_buf).readerCell(m_chunk_position, row, column);
  switch (cell.type) {
    case ZRBBuf::column_double:
      return convertDoubleToTimeDate(cell::load<double>(cell.bytes));
    case ZRBBuf::column_factor:
      return convertLevelNumToTimeDate(cell::loadLevelNum(cell.bytes));
    case ZRBBuf::column_string:
      return m_buf->convertStringToTimeDate(cell.bytes);
    case ZRBBuf::column_timeDate:
      return cell::load<long long>(cell.bytes);
    default:
      return getTimeDateNA();
  }
}

// ---- Blobs ----

int ZRBBufReader::isBlobNA(long row, long column) { return getBlobLength(row, column) < 0; }

long long ZRBBufReader::getBlobLength(long row, long column) {
  return m_buf->columnTypeIsBlob(column) ? m_buf->getRawBlobLength(getBufferRowNum(row), column) : kNoBlob;
}

long long ZRBBufReader::getBlobOffset(long row, long column) {
  return m_buf->columnTypeIsBlob(column) ? m_buf->getRawBlobOffset(getBufferRowNum(row), column) : kNoBlob;
}

int ZRBBufReader::openBlob(long row, long column) {
  if (!m_buf->columnTypeIsBlob(column)) {
    // Deliberate: the text names the backing-file reader for every kind.
    m_proc->setError("ZRBBackingFileBufReader::openBlob - not blob column", column);
    return 0;
  }
  const long long length = getBlobLength(row, column);
  const long long offset = getBlobOffset(row, column);
  return openBlobData(offset, length);
}

int ZRBBufReader::openBlobData(long long, long long) {
  m_proc->setError("ZRBBufReader::openBlobData can't access blob data");
  return 0;
}

long ZRBBufReader::readBlobData(char*, long) {
  m_proc->setError("ZRBBufReader::readBlobData can't access blob data");
  return -1;
}

int ZRBBufReader::seekBlobData(long long) {
  m_proc->setError("ZRBBufReader::seekBlobData can't access blob data");
  return 0;
}

long long ZRBBufReader::getBlobOffsetInData() { return 0; }
int ZRBBufReader::closeBlob() { return closeBlobData(); }

int ZRBBufReader::closeBlobData() {
  m_proc->setError("ZRBBufReader::closeBlobData can't access blob data");
  return 0;
}

int ZRBBufReader::isBlobOpen() { return 0; }
