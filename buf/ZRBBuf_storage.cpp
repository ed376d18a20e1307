// Where are the bytes of a cell, and how are runs of cells filled and copied?
#include <new>

#include "ZRBBuf.h"
#include "ZRBBufReader.h"
#include "ZRBBufWriter.h"
#include "base/format_message.h"
#include "buf/cell_codec.h"
#include "buf/column_copy.h"
#include "buf/number_reversal.h"
#include "buf/ring_runs.h"
#include "buf/saturating.h"
#include "buf/string_cell.h"

namespace {

constexpr long kMaxDataBytes = 2147483647;
// Zeros after the last row, so that a text that fills its cell without terminator still ends inside the allocation.
constexpr long kSpareBytes = 8;

std::unique_ptr<char[]> allocateZeroed(long bytes) {
  if (bytes < 0) return nullptr;
  return std::unique_ptr<char[]>(new (std::nothrow) char[static_cast<std::size_t>(bytes + kSpareBytes)]());
}

// A text that was cut is counted in its column, and the first one reported on request.
void countTruncation(ZRBBuf& buf, long column, long neededBytes) {
  buf.setOverflowCount(column, addSaturating(buf.getOverflowCount(column), 1));
  if (buf.getOverflowStringBytes(column) < neededBytes) buf.setOverflowStringBytes(column, neededBytes);
  if (buf.getOverflowCount(column) > 1 || !ZRBObj::getErrorOnStringTruncation()) return;
  const char* name = buf.getColumnName(column);
  buf.addError(formatMessage("string truncated in column %s", name ? name : "??").c_str());
}

// Calls apply(cell) for `count` cells of a column from `ringRow` on.
template <class Apply>
void forEachCell(ZRBBuf& buf, long ringRow, long column, long count, Apply apply) {
  if (count < 1 || buf.getNumRows() < 1) return;
  const long rowBytes = buf.getBytesPerRow();
  forEachRun(ringRow, count, buf.getNumRows(), [&](long firstRow, long rows) {
    char* cell = buf.getDataPtr(firstRow, column, 0);
    for (long i = 0; i < rows; ++i, cell += rowBytes) apply(cell);
  });
}

CopyEnd copySource(ZRBBufReader* reader, long row, long column) {
  return {reader->getBuf(), reader->getBufferRowNum(row), column};
}
CopyEnd copyTarget(ZRBBufWriter* writer, long row, long column) {
  return {writer->getBuf(), writer->getBufferRowNum(row), column};
}

}  // namespace

void storeStringCell(const char* text, char* cell, long width, ZRBBuf& buf, long column) {
  if (width < 1) return countTruncation(buf, column, static_cast<long>(std::strlen(text)) + 1);  // no such column
  const std::size_t cellBytes = static_cast<std::size_t>(width);
  const std::size_t textBytes = strnlen(text, cellBytes);
  if (textBytes < cellBytes) return cell::storeText(cell, width, text, textBytes);
  const long neededBytes = static_cast<long>(std::strlen(text)) + 1;  // before the store: the text may lie in the cell
  cell::storeText(cell, width, text, cellBytes - 1);
  countTruncation(buf, column, neededBytes);
}

void ZRBBuf::initData() {
  initOverflowCounts();
  m_bytes_per_row = 0;
  for (long column = 0; column < m_num_columns; ++column) {
    setColumnOffsetBytes(column, m_bytes_per_row);
    m_bytes_per_row = addSaturating(m_bytes_per_row, getColumnWidthBytes(column));
  }
  const long size = multiplySaturating(m_bytes_per_row, m_num_rows);
  if (size > kMaxDataBytes) {
    setError(
        formatMessage("can't allocate buf larger than 2GB (%ld columns, %ld rows)", m_num_columns, m_num_rows).c_str());
    return;
  }
  if (m_data && static_cast<long>(m_data_bytes) == size) return;
  m_data_bytes = 0;
  m_data.reset();
  m_data = allocateZeroed(size);
  if (m_data)
    m_data_bytes = static_cast<unsigned long>(size);
  else
    setError(formatMessage("can't allocate buf with %ld bytes (%ld columns, %ld rows)", size, m_num_columns, m_num_rows)
                 .c_str());
}

char* ZRBBuf::getDataPtr(long ringRow, long column, long) {
  return m_data.get() + ringRow * m_bytes_per_row + getColumnOffsetBytes(column);
}

double ZRBBuf::getRawDouble(long ringRow, long column) { return cell::load<double>(getDataPtr(ringRow, column, 8)); }
void ZRBBuf::setRawDouble(long ringRow, long column, double value) {
  cell::store(getDataPtr(ringRow, column, 8), value);
}

long ZRBBuf::getRawLevelNum(long ringRow, long column) { return cell::loadLevelNum(getDataPtr(ringRow, column, 2)); }
void ZRBBuf::setRawLevelNum(long ringRow, long column, long level) {
  cell::storeLevelNum(getDataPtr(ringRow, column, 2), level);
}

const char* ZRBBuf::getRawString(long ringRow, long column) {
  return getDataPtr(ringRow, column, getColumnWidthBytes(column));
}
void ZRBBuf::setRawString(long ringRow, long column, const char* text) {
  const long width = getColumnWidthBytes(column);
  storeStringCell(text ? text : getStringNA(), getDataPtr(ringRow, column, width), width, *this, column);
}

long long ZRBBuf::getRawTimeDate(long ringRow, long column) {
  return cell::load<long long>(getDataPtr(ringRow, column, 8));
}
void ZRBBuf::setRawTimeDate(long ringRow, long column, long long timeMs) {
  cell::store(getDataPtr(ringRow, column, 8), timeMs);
}

long long ZRBBuf::getRawBlobOffset(long ringRow, long column) {
  return cell::load<long long>(getDataPtr(ringRow, column, 16) + cell::kBlobOffsetAt);
}
void ZRBBuf::setRawBlobOffset(long ringRow, long column, long long offset) {
  cell::store(getDataPtr(ringRow, column, 16) + cell::kBlobOffsetAt, offset);
}

long long ZRBBuf::getRawBlobLength(long ringRow, long column) {
  return cell::load<long long>(getDataPtr(ringRow, column, 16) + cell::kBlobLengthAt);
}
void ZRBBuf::setRawBlobLength(long ringRow, long column, long long length) {
  cell::store(getDataPtr(ringRow, column, 16) + cell::kBlobLengthAt, length);
}

void ZRBBuf::setRawDoubleColumnNA(long ringRow, long column, long count) {
  forEachCell(*this, ringRow, column, count, [](char* cell) { cell::store(cell, getDoubleNA()); });
}

void ZRBBuf::setRawFactorColumnNA(long ringRow, long column, long count) {
  forEachCell(*this, ringRow, column, count, [](char* cell) { cell::storeLevelNum(cell, getLevelNumNA()); });
}

void ZRBBuf::setRawStringColumnNA(long ringRow, long column, long count) {
  const long width = getColumnWidthBytes(column);
  forEachCell(*this, ringRow, column, count,
              [&](char* cell) { storeStringCell(getStringNA(), cell, width, *this, column); });
}

void ZRBBuf::setRawTimeDateColumnNA(long ringRow, long column, long count) {
  forEachCell(*this, ringRow, column, count, [](char* cell) { cell::store(cell, getTimeDateNA()); });
}

void ZRBBuf::setRawBlobColumnNA(long ringRow, long column, long count) {
  forEachCell(*this, ringRow, column, count, [](char* cell) {
    cell::store(cell + cell::kBlobOffsetAt, cell::kBlobNA);
    cell::store(cell + cell::kBlobLengthAt, cell::kBlobNA);
  });
}

void ZRBBuf::getRawDoubleArray(long ringRow, long column, long count, double* values) {
  forEachCell(*this, ringRow, column, count, [&](const char* cell) { std::memcpy(values++, cell, sizeof *values); });
}

void ZRBBuf::setRawDoubleArray(long ringRow, long column, long count, double* values) {
  forEachCell(*this, ringRow, column, count, [&](char* cell) { cell::store(cell, *values++); });
}

void ZRBBuf::copyDoubleColumn(ZRBBufWriter* writer, long writerRow, long writerColumn, ZRBBufReader* reader,
                              long readerRow, long readerColumn, long count) {
  copyNumbers(copySource(reader, readerRow, readerColumn), copyTarget(writer, writerRow, writerColumn), column_double,
              1, count);
}

void ZRBBuf::copyTimeDateColumn(ZRBBufWriter* writer, long writerRow, long writerColumn, ZRBBufReader* reader,
                                long readerRow, long readerColumn, long count) {
  copyNumbers(copySource(reader, readerRow, readerColumn), copyTarget(writer, writerRow, writerColumn), column_timeDate,
              1, count);
}

void ZRBBuf::copyStringColumn(ZRBBufWriter* writer, long writerRow, long writerColumn, ZRBBufReader* reader,
                              long readerRow, long readerColumn, long count) {
  copyTexts(copySource(reader, readerRow, readerColumn), copyTarget(writer, writerRow, writerColumn), count);
}

void ZRBBuf::copyFactorColumn(ZRBBufWriter* writer, long writerRow, long writerColumn, ZRBBufReader* reader,
                              long readerRow, long readerColumn, long count) {
  copyLevels(copySource(reader, readerRow, readerColumn), copyTarget(writer, writerRow, writerColumn), count);
}

void ZRBBuf::byteSwapBufNumbers(long long chunkPosition, long count) {
  if (count < 1 || m_num_rows < 1 || !m_data) return;
  reverseNumbers(*this, getOutputRowIndex(chunkPosition, 0), count);
}
