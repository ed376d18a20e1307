#pragma once

#include "ZRBObj.h"
#include "export.h"

class ZRBBuf;
class ZRBBufReader;
class ZRBProc;

// The writing end of a buffer.  Cycle: setRequestRows(n) -> isReady() -> write chunk rows 0..getRowsReady()-1 ->
// releaseRows(k) -> ... -> setEOF().
// Borrows the buffer and the node.  Errors are set on the node, never on the writer.
class ZRB_EXPORT ZRBBufWriter : public ZRBObj {
public:
  ZRBBufWriter(ZRBBuf* buf, ZRBProc* proc);

  // Virtual slots 0..35: declaration order is binary interface (tests/abi/SlotsTest.cpp).
  ~ZRBBufWriter() override;
  int init() override;  // request 0

  // Free rows the node wants before isReady().  Refused with an error on the node, keeping the old request, above the
  // ring's capacity or, for rows > 1, above the node's getOutputNumRows() (the message names getNumRows()).
  virtual void setRequestRows(long rows);
  virtual long getRequestRows();
  virtual long getRowsReady();
  virtual int isReady();  // the requested rows are free and the buffer has no error

  // ---- Cells: chunk row, column; no range check.  The value is converted to the column's type ----
  // Deliberate: on a blob column the ring row is passed on and mapped a second time.  Pinned by "setDouble on a blob
  // column maps the row twice".
  virtual void setDouble(long row, long column, double value);
  virtual void setDoubleArray(long row, long column, long count, double* values);  // `count` rows from `row`
  virtual void setLevelNum(long row, long column, long level);
  virtual void setString(long row, long column, const char* text);
  virtual void setTimeDate(long row, long column, long long timeMs);

  // ---- Blobs.  On a column of another type the first three write NA ----
  virtual void setBlobNA(long row, long column);
  virtual void setBlobOffset(long row, long column, long long offset);
  virtual void setBlobLength(long row, long column, long long length);
  // The data behind blob cells; one blob is open at a time.  Where no data is kept, as here, the operations on data are
  // errors and return 0 or -1.
  virtual void setBlobFileOffset(long long offset);
  virtual long long getBlobFileOffset();
  virtual int openBlob(long row, long column);  // 1, or an error and 0
  virtual int openBlobData();
  virtual long writeBlobData(const char* bytes, long count);  // bytes written, -1 with an error
  virtual int closeBlob();                                    // stores offset and length in the cell opened
  virtual int closeBlobData(long long* offset, long long* length);
  virtual int isBlobOpen();

  // Hands the first `rows` rows of the chunk to the readers.  Errors: negative, more than are ready, after end of data.
  virtual void releaseRows(long rows);
  virtual int setEOF();                  // end of data; unreleased rows are lost.  Returns the flag
  virtual long long getChunkPosition();  // stream row of chunk row 0

  // As the setters above, but a factor takes the level named by the text (a number's text for a double), and missing
  // text is NA in every column.
  virtual void setConvertDouble(long row, long column, double value);
  virtual void setConvertFactor(long row, long column, const char* text);
  virtual void setConvertString(long row, long column, const char* text);

  // Copies a rectangle from a reader of another buffer, converting between column types.  A blob that cannot be copied
  // ends the copy.
  virtual void copyBufData(ZRBBufReader* reader, long sourceRow, long sourceColumn, long targetRow, long targetColumn,
                           long numRows, long numColumns);
  // The copies return 1; 0 (and, but for NA and cells of another type, an error) when nothing was stored in the cell.
  virtual int copyBlob(ZRBBufReader* reader, long sourceRow, long sourceColumn, long targetRow, long targetColumn);
  virtual int copyBlobData(ZRBBufReader* reader, long long offset, long long length, long long* newOffset,
                           long long* newLength);

  virtual void setRectNA(long row, long column, long numRows, long numColumns);
  virtual void setColumnNA(long column);  // every row of the chunk

  ZRBBuf* getBuf();
  ZRBProc* getProc();
  void setProc(ZRBProc* proc);
  long getBufferRowNum(long row);  // ring row of a chunk row

protected:
  ZRBBuf* m_buf;
  ZRBProc* m_proc;  // receives every error of this writer
  long m_request_rows;
  long m_blob_row;     // chunk row of the cell whose blob is open; -1 = none
  long m_blob_column;  // and its column
};
