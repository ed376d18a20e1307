// How do rectangles of cells, and blobs, come over from another buffer?
#include <algorithm>

#include "ZRBBuf.h"
#include "ZRBBufReader.h"
#include "ZRBBufWriter.h"
#include "buf/buf_access.h"
#include "buf/column_copy.h"

namespace {

constexpr long BLOCK_COPY_MIN_ROWS = 11;  // shorter runs go cell by cell
constexpr long COPY_CHUNK_BYTES = 20000;

// Copies a column of `rows` rows as a block, and of numbers also those that follow it, at most `columns`.  Returns how many
// columns are done; 0: this one goes cell by cell.
long copyBlock(const CopyEnd& source, const CopyEnd& target, long columns, long rows) {
  const ZRBBuf::column_type type = BufAccess(*source.buf).column(source.column).type;
  if (BufAccess(*target.buf).column(target.column).type != type) return 0;
  switch (type) {
    case ZRBBuf::column_double:
    case ZRBBuf::column_timeDate:
      return std::max(copyNumbers(source, target, type, columns, rows), 1L);  // what is not copied is done too
    case ZRBBuf::column_factor:
      copyLevels(source, target, rows);
      return 1;
    case ZRBBuf::column_string:
      copyTexts(source, target, rows);
      return 1;
    default:
      return 0;
  }
}

}  // namespace

void ZRBBufWriter::copyBufData(ZRBBufReader* reader, long sourceRow, long sourceColumn, long targetRow,
                               long targetColumn, long numRows, long numColumns) {
  if (!reader) return;
  ZRBBuf* source = reader->getBuf();
  CopyEnd blockSource{source, 0, 0};
  CopyEnd blockTarget{m_buf, 0, 0};
  bool placed = false;  // whether the blocks' ring rows are known
  for (long i = 0; i < numColumns; ++i) {
    const long from = sourceColumn + i;
    const long to = targetColumn + i;
    if (numRows >= BLOCK_COPY_MIN_ROWS) {
      if (!placed) {
        blockSource.ringRow = reader->getBufferRowNum(sourceRow);
        blockTarget.ringRow = getBufferRowNum(targetRow);
        placed = true;
      }
      blockSource.column = from;
      blockTarget.column = to;
      if (const long copied = copyBlock(blockSource, blockTarget, numColumns - i, numRows); copied > 0) {
        i += copied - 1;
        continue;
      }
      placed = false;  // an end of a host's may move while cells go one by one
    }
    // For each row of the rectangle: copyCell(sourceRow, targetRow).
    const auto cellByCell = [&](auto copyCell) {
      for (long j = 0; j < numRows; ++j) copyCell(sourceRow + j, targetRow + j);
    };
    switch (source->getColumnType(from)) {
      case ZRBBuf::column_double:
        cellByCell([&](long row, long target) { setConvertDouble(target, to, reader->getDouble(row, from)); });
        break;
      case ZRBBuf::column_factor:
        cellByCell([&](long row, long target) {
          setConvertString(target, to, source->mapLevelNumToString(from, reader->getLevelNum(row, from)));
        });
        break;
      case ZRBBuf::column_string:
        cellByCell([&](long row, long target) { setConvertString(target, to, reader->getString(row, from)); });
        break;
      case ZRBBuf::column_timeDate:
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
