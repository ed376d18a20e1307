// How does a node write cells of its chunk and hand rows on?
#include "ZRBBufWriter.h"

#include "ZRBBuf.h"
#include "ZRBProc.h"
#include "base/conversions.h"
#include "buf/buf_access.h"
#include "buf/cell_codec.h"
#include "buf/ring_runs.h"
#include "buf/saturating.h"

namespace {

constexpr long kNone = -1;

// store(cell, values[i]) for `count` cells of a column from `ringRow` on.
template <class Store>
void writeCells(ZRBBuf& buf, long ringRow, long column, long count, const double* values, Store store) {
  const BufAccess access(buf);
  const BufAccess::Column found = access.column(column);
  forEachRun(ringRow, count, access.capacity(), [&](long firstRow, long rows) {
    char* cell = access.at(firstRow, found);
    const double* value = values;
    for (long i = 0; i < rows; ++i, cell += access.rowBytes()) store(cell, *value++);
    values = value;
  });
}

// A double for a cell of another type.  Apart from setDouble, which so calls nothing for a double cell and saves no
// registers.
[[gnu::noinline]] void setConvertedDouble(ZRBBufWriter& writer, BufAccess::Cell cell, long row, long column,
                                          double value) {
  ZRBBuf& buf = *writer.getBuf();
  switch (cell.type) {
    case ZRBBuf::column_double:
      break;  // not here
    case ZRBBuf::column_factor:
      return cell::storeLevelNum(cell.bytes, conversions::doubleToLevelNum(value));
    case ZRBBuf::column_string:
      return buf.setRawString(writer.getBufferRowNum(row), column, buf.convertDoubleToString(value));
    case ZRBBuf::column_timeDate:
      return cell::store(cell.bytes, ZRBObj::convertDoubleToTimeDate(value));
    // Deliberate: setBlobNA maps this ring row once more.  Pinned by "setDouble on a blob column maps the row twice".
    case ZRBBuf::column_blob:
      return writer.setBlobNA(writer.getBufferRowNum(row), column);
  }
}

}  // namespace

ZRBBufWriter::ZRBBufWriter(ZRBBuf* buf, ZRBProc* proc)
    : m_buf(buf), m_proc(proc), m_request_rows(0), m_blob_row(kNone), m_blob_column(kNone) {}

ZRBBufWriter::~ZRBBufWriter() = default;

int ZRBBufWriter::init() {
  ZRBObj::init();
  m_request_rows = 0;
  return hasError();
}

ZRBBuf* ZRBBufWriter::getBuf() { return m_buf; }
ZRBProc* ZRBBufWriter::getProc() { return m_proc; }
void ZRBBufWriter::setProc(ZRBProc* proc) { m_proc = proc; }
long ZRBBufWriter::getBufferRowNum(long row) { return m_buf->getInputRowIndex(row); }

// ---- Row flow ----

void ZRBBufWriter::setRequestRows(long rows) {
  if (rows > m_buf->getNumRows())
    return m_proc->setError("ZRBBufWriter::setRequestRows asked for more rows than ZRBBuf::getNumRows()", rows);
  // Deliberate: the limit is the node's output row count, although the text names the other one.
  if (rows > 1 && rows > m_proc->getOutputNumRows())
    return m_proc->setError("ZRBBufWriter::setRequestRows asked for more rows than ZRBProc::getNumRows()", rows);
  m_request_rows = rows;
}

long ZRBBufWriter::getRequestRows() { return m_request_rows; }
long ZRBBufWriter::getRowsReady() { return m_buf->getInputLockedRows(); }
int ZRBBufWriter::isReady() { return !m_buf->hasError() && m_buf->getInputLockedRows() >= m_request_rows; }

void ZRBBufWriter::releaseRows(long rows) {
  const long rowsReady = getRowsReady();
  if (rows < 0) return m_proc->setError("ZRBBufWriter::releaseRows can't release negative rows", rows);
  if (rows > rowsReady)
    return m_proc->setError("ZRBBufWriter::releaseRows can't release more rows than are ready", rows);
  if (m_buf->getEOF()) return m_proc->setError("ZRBBufWriter::releaseRows can't release rows after EOF is set", rows);
  m_buf->releaseInputRows(rows);
}

int ZRBBufWriter::setEOF() { return m_buf->setEOF(1); }
long long ZRBBufWriter::getChunkPosition() { return m_buf->getInputRowsReleased(); }

// ---- Cells ----

void ZRBBufWriter::setDouble(long row, long column, double value) {
  const BufAccess::Cell cell = BufAccess(*m_buf).writerCell(row, column);
  if (cell.type == ZRBBuf::column_double) [[likely]]
    return cell::store(cell.bytes, value);
  setConvertedDouble(*this, cell, row, column, value);
}

void ZRBBufWriter::setDoubleArray(long row, long column, long count, double* values) {
  // What a host derives converts cell by cell.
  const auto together = [&] { return m_buf->getNumRows() >= 1 && isOwnEnd(*this); };
  switch (m_buf->getColumnType(column)) {
    case ZRBBuf::column_double:
      m_buf->setRawDoubleArray(getBufferRowNum(row), column, count, values);
      break;
    case ZRBBuf::column_factor:
      if (together())
        return writeCells(*m_buf, getBufferRowNum(row), column, count, values, [](char* cell, double value) {
          cell::storeLevelNum(cell, conversions::doubleToLevelNum(value));
        });
      for (long i = 0; i < count; ++i) setLevelNum(row + i, column, convertDoubleToLevelNum(values[i]));
      break;
    case ZRBBuf::column_string:
      for (long i = 0; i < count; ++i) setString(row + i, column, m_buf->convertDoubleToString(values[i]));
      break;
    case ZRBBuf::column_timeDate:
      if (together()) {
        const long long epochMs = getDoubleDateEpoch();
        return writeCells(*m_buf, getBufferRowNum(row), column, count, values, [epochMs](char* cell, double value) {
          cell::store(cell, conversions::doubleToTimeDate(value, epochMs));
        });
      }
      for (long i = 0; i < count; ++i) setTimeDate(row + i, column, convertDoubleToTimeDate(values[i]));
      break;
    default:
      for (long i = 0; i < count; ++i) setDouble(row + i, column, getDoubleNA());
  }
}

void ZRBBufWriter::setLevelNum(long row, long column, long level) {
  const BufAccess::Cell cell = BufAccess(*m_buf).writerCell(row, column);
  if (cell.type == ZRBBuf::column_factor) [[likely]]
    return cell::storeLevelNum(cell.bytes, level);
  switch (cell.type) {
    case ZRBBuf::column_double:
      return cell::store(cell.bytes, conversions::levelNumToDouble(level));
    case ZRBBuf::column_string:
      return m_buf->setRawString(getBufferRowNum(row), column, convertLevelNumToString(level));
    case ZRBBuf::column_timeDate:
      return cell::store(cell.bytes, convertLevelNumToTimeDate(level));
    default:
      return setDouble(row, column, getDoubleNA());
  }
}

void ZRBBufWriter::setString(long row, long column, const char* text) {
  const BufAccess::Cell cell = BufAccess(*m_buf).writerCell(row, column);
  switch (cell.type) {
    case ZRBBuf::column_double:
      return cell::store(cell.bytes, m_buf->convertStringToDouble(text));
    case ZRBBuf::column_factor:
      return cell::storeLevelNum(cell.bytes, m_buf->mapStringToLevelNum(column, text));
    case ZRBBuf::column_string:
      return m_buf->setRawString(getBufferRowNum(row), column, text);
    case ZRBBuf::column_timeDate:
      return cell::store(cell.bytes, m_buf->convertStringToTimeDate(text));
    default:
      return setDouble(row, column, getDoubleNA());
  }
}

void ZRBBufWriter::setTimeDate(long row, long column, long long timeMs) {
  const BufAccess::Cell cell = BufAccess(*m_buf).writerCell(row, column);
  switch (cell.type) {
    case ZRBBuf::column_double:
      return cell::store(cell.bytes, convertTimeDateToDouble(timeMs));
    case ZRBBuf::column_factor:
    case ZRBBuf::column_string:
      return setString(row, column, m_buf->convertTimeDateToString(timeMs));
    case ZRBBuf::column_timeDate:
      return cell::store(cell.bytes, timeMs);
    default:
      return setDouble(row, column, getDoubleNA());
  }
}

void ZRBBufWriter::setConvertDouble(long row, long column, double value) {
  switch (m_buf->getColumnType(column)) {
    case ZRBBuf::column_double:
      return setDouble(row, column, value);
    case ZRBBuf::column_factor:
    case ZRBBuf::column_string:
      return setString(row, column, m_buf->convertDoubleToString(value));
    case ZRBBuf::column_timeDate:
      return setTimeDate(row, column, convertDoubleToTimeDate(value));
    default:
      return setDouble(row, column, getDoubleNA());
  }
}

void ZRBBufWriter::setConvertFactor(long row, long column, const char* text) { setConvertString(row, column, text); }

void ZRBBufWriter::setConvertString(long row, long column, const char* text) {
  if (isStringNA(text)) return setString(row, column, getStringNA());
  switch (m_buf->getColumnType(column)) {
    case ZRBBuf::column_double:
      return setDouble(row, column, m_buf->convertStringToDouble(text));
    case ZRBBuf::column_factor:
      return setLevelNum(row, column, m_buf->mapStringToLevelNum(column, text));
    case ZRBBuf::column_string:
      return setString(row, column, text);
    case ZRBBuf::column_timeDate:
      return setTimeDate(row, column, m_buf->convertStringToTimeDate(text));
    default:
      return setString(row, column, getStringNA());
  }
}

void ZRBBufWriter::setRectNA(long row, long column, long numRows, long numColumns) {
  const long ringRow = getBufferRowNum(row);
  for (long k = 0; k < numColumns; ++k) {
    const long c = addSaturating(column, k);
    switch (m_buf->getColumnType(c)) {
      case ZRBBuf::column_double:
        m_buf->setRawDoubleColumnNA(ringRow, c, numRows);
        break;
      case ZRBBuf::column_factor:
        m_buf->setRawFactorColumnNA(ringRow, c, numRows);
        break;
      case ZRBBuf::column_string:
        m_buf->setRawStringColumnNA(ringRow, c, numRows);
        break;
      case ZRBBuf::column_timeDate:
        m_buf->setRawTimeDateColumnNA(ringRow, c, numRows);
        break;
      case ZRBBuf::column_blob:
        m_buf->setRawBlobColumnNA(ringRow, c, numRows);
        break;
      default:
        for (long i = 0; i < numRows; ++i) setDouble(row + i, c, getDoubleNA());
    }
  }
}

void ZRBBufWriter::setColumnNA(long column) { setRectNA(0, column, getRowsReady(), 1); }

// ---- Blobs ----

void ZRBBufWriter::setBlobNA(long row, long column) {
  const BufAccess::Cell cell = BufAccess(*m_buf).writerCell(row, column);
  if (cell.type != ZRBBuf::column_blob) return setDouble(row, column, getDoubleNA());
  cell::store(cell.bytes + cell::kBlobOffsetAt, cell::kBlobNA);
  cell::store(cell.bytes + cell::kBlobLengthAt, cell::kBlobNA);
}

void ZRBBufWriter::setBlobOffset(long row, long column, long long offset) {
  if (!m_buf->columnTypeIsBlob(column)) return setDouble(row, column, getDoubleNA());
  m_buf->setRawBlobOffset(getBufferRowNum(row), column, offset);
}

void ZRBBufWriter::setBlobLength(long row, long column, long long length) {
  if (!m_buf->columnTypeIsBlob(column)) return setDouble(row, column, getDoubleNA());
  m_buf->setRawBlobLength(getBufferRowNum(row), column, length);
}

void ZRBBufWriter::setBlobFileOffset(long long) {
  m_proc->setError("ZRBBufWriter::setBlobFileOffset can't access blob data");
}

long long ZRBBufWriter::getBlobFileOffset() {
  m_proc->setError("ZRBBufWriter::getBlobFileOffset can't access blob data");
  return 0;
}

int ZRBBufWriter::openBlob(long row, long column) {
  if (!m_buf->columnTypeIsBlob(column)) {
    m_proc->setError("ZRBBufWriter::openBlob - not blob column", column);
    return 0;
  }
  if (isBlobOpen()) {
    m_proc->setError("ZRBBufWriter::openBlob - blob already open");
    return 0;
  }
  m_blob_row = row;
  m_blob_column = column;
  return openBlobData();
}

int ZRBBufWriter::openBlobData() {
  m_proc->setError("ZRBBufWriter::openBlobData can't access blob data");
  return 0;
}

long ZRBBufWriter::writeBlobData(const char*, long) {
  m_proc->setError("ZRBBufWriter::writeBlobData can't access blob data");
  return -1;
}

int ZRBBufWriter::closeBlob() {
  long long offset = kNone;  // a close that fails can only store NA
  long long length = kNone;
  const int result = closeBlobData(&offset, &length);
  if (result && m_buf->columnTypeIsBlob(m_blob_column)) {
    setBlobOffset(m_blob_row, m_blob_column, offset);
    setBlobLength(m_blob_row, m_blob_column, length);
  }
  m_blob_row = kNone;
  m_blob_column = kNone;
  return result;
}

int ZRBBufWriter::closeBlobData(long long*, long long*) {
  m_proc->setError("ZRBBufWriter::closeBlobData can't access blob data");
  return 0;
}

int ZRBBufWriter::isBlobOpen() { return 0; }
