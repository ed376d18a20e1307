// How do rectangles of cells, and blobs, come over from another buffer?
#include "ZRBBuf.h"
#include "ZRBBufReader.h"
#include "ZRBBufWriter.h"

namespace {

constexpr long BLOCK_COPY_MIN_ROWS = 11;  // shorter runs go cell by cell
constexpr long COPY_CHUNK_BYTES = 20000;

}  // namespace

void ZRBBufWriter::copyBufData(ZRBBufReader* reader, long sourceRow, long sourceColumn, long targetRow,
                               long targetColumn, long numRows, long numColumns) {
  if (!reader) return;
  ZRBBuf* source = reader->getBuf();
  for (long i = 0; i < numColumns; ++i) {
    const long from = sourceColumn + i;
    const long to = targetColumn + i;
    const bool block = numRows >= BLOCK_COPY_MIN_ROWS;
    // For each row of the rectangle: copyCell(sourceRow, targetRow).
    const auto cellByCell = [&](auto copyCell) {
      for (long j = 0; j < numRows; ++j) copyCell(sourceRow + j, targetRow + j);
    };
    switch (source->getColumnType(from)) {
      case ZRBBuf::column_double:
        if (block && m_buf->columnTypeIsDouble(to))
          m_buf->copyDoubleColumn(this, targetRow, to, reader, sourceRow, from, numRows);
        else
          cellByCell([&](long row, long target) { setConvertDouble(target, to, reader->getDouble(row, from)); });
        break;
      case ZRBBuf::column_factor:
        if (block && m_buf->columnTypeIsFactor(to))
          m_buf->copyFactorColumn(this, targetRow, to, reader, sourceRow, from, numRows);
        else
          cellByCell([&](long row, long target) {
            setConvertString(target, to, source->mapLevelNumToString(from, reader->getLevelNum(row, from)));
          });
        break;
      case ZRBBuf::column_string:
        if (block && m_buf->columnTypeIsString(to))
          m_buf->copyStringColumn(this, targetRow, to, reader, sourceRow, from, numRows);
        else
          cellByCell([&](long row, long target) { setConvertString(target, to, reader->getString(row, from)); });
        break;
      case ZRBBuf::column_timeDate:
        if (block && m_buf->columnTypeIsTimeDate(to))
          m_buf->copyTimeDateColumn(this, targetRow, to, reader, sourceRow, from, numRows);
        else
          cellByCell([&](long row, long target) { setTimeDate(target, to, reader->getTimeDate(row, from)); });
        break;
      case ZRBBuf::column_blob:
        if (m_buf->columnTypeIsBlob(to)) {
          // A blob that cannot be copied ends everything.
          for (long j = 0; j < numRows; ++j)
            if (!copyBlob(reader, sourceRow + j, from, targetRow + j, to)) return;
          break;
        }
        [[fallthrough]];
      default:
        cellByCell([&](long, long target) { setDouble(target, to, getDoubleNA()); });
    }
  }
}

int ZRBBufWriter::copyBlob(ZRBBufReader* reader, long sourceRow, long sourceColumn, long targetRow, long targetColumn) {
  if (!reader->getBuf()->columnTypeIsBlob(sourceColumn) || !m_buf->columnTypeIsBlob(targetColumn)) return 0;
  if (reader->isBlobNA(sourceRow, sourceColumn)) {
    setBlobNA(targetRow, targetColumn);
    return 1;
  }
  const long long offset = reader->getBlobOffset(sourceRow, sourceColumn);
  const long long length = reader->getBlobLength(sourceRow, sourceColumn);
  long long newOffset;
  long long newLength;
  const int result = copyBlobData(reader, offset, length, &newOffset, &newLength);
  if (result) {
    setBlobOffset(targetRow, targetColumn, newOffset);
    setBlobLength(targetRow, targetColumn, newLength);
  }
  return result;
}

int ZRBBufWriter::copyBlobData(ZRBBufReader* reader, long long offset, long long length, long long* newOffset,
                               long long* newLength) {
  if (!newOffset || !newLength) return 0;
  if (!reader->openBlobData(offset, length)) return 0;
  if (!openBlobData()) {
    reader->closeBlobData();
    return 0;
  }
  char block[COPY_CHUNK_BYTES];
  long long writtenOffset = -1;
  long long writtenLength = -1;
  for (;;) {
    const long count = reader->readBlobData(block, COPY_CHUNK_BYTES);
    if (count < 0) {  // the reader's blob stays open
      closeBlobData(&writtenOffset, &writtenLength);
      return 0;
    }
    if (count == 0) break;
    if (writeBlobData(block, count) < count) {
      // Deliberate: the writer's blob stays open, and the next openBlob reports it.
      reader->closeBlobData();
      return 0;
    }
  }
  const int readerClosed = reader->closeBlobData();
  const int writerClosed = closeBlobData(&writtenOffset, &writtenLength);
  if (!readerClosed || !writerClosed) return 0;
  *newOffset = writtenOffset;
  *newLength = writtenLength;
  return 1;
}
