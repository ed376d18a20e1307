#pragma once

#include "ZRBObj.h"
#include "export.h"

class ZRBBuf;
class ZRBProc;

// One node's reading end on one buffer.  Cycle: setRequestRows(n) -> isReady() -> read chunk rows
// 0..getRowsReady()-1 -> releaseRows(k).  The buffer may overwrite a row once every reader has released it.
// Borrows the buffer and the node.  Errors are set on the node, never on the reader.
class ZRB_EXPORT ZRBBufReader : public ZRBObj {
public:
  ZRBBufReader(ZRBBuf* buf, ZRBProc* proc);

  // Virtual slots 0..32: declaration order is binary interface (tests/abi/SlotsTest.cpp).
  ~ZRBBufReader() override;
  int init() override;  // request 0, stream row 0

  // Rows the node wants before isReady(); 0 is ready at once.  Refused with an error on the node, keeping the old
  // request, above the ring's capacity or, for rows > 1, above the node's getNumRows().
  virtual void setRequestRows(long rows);
  virtual long getRequestRows();
  virtual long getRowsReady();
  // 0 when the buffer has an error; else 1 at end of data or when the requested rows are there.
  virtual int isReady();

  // ---- Cells: chunk row, column; no range check.  A cell of another type is converted; a blob reads as NA ----
  virtual double getDouble(long row, long column);
  virtual void getDoubleArray(long row, long column, long count, double* values);  // `count` rows from `row`
  virtual long getLevelNum(long row, long column);
  // For a string column the cell itself, valid until the row is released; for a factor the level's name, null for a level
  // without one; otherwise the shared conversion text.  NA is the string NA.
  virtual const char* getString(long row, long column);
  virtual long long getTimeDate(long row, long column);

  // ---- Blobs.  A column of another type has offset and length -1, and so counts as NA ----
  virtual int isBlobNA(long row, long column);
  virtual long long getBlobLength(long row, long column);
  virtual long long getBlobOffset(long row, long column);
  virtual int openBlob(long row, long column);  // 1, or an error and 0
  // The data behind a blob cell; one blob is open at a time.  Here: an error, and 0 or -1, as no data is kept.
  virtual int openBlobData(long long offset, long long length);
  virtual long readBlobData(char* bytes, long count);  // bytes read, 0 at the end, -1 with an error
  virtual int seekBlobData(long long offset);          // byte of the blob; 1, or an error and 0 or -1
  virtual long long getBlobOffsetInData();
  virtual int closeBlob();      // 1, or an error and 0 or -1
  virtual int closeBlobData();  // likewise
  virtual int isBlobOpen();

  // Gives back the first `rows` rows of the chunk.  Errors: negative, or more than are ready.
  virtual void releaseRows(long rows);
  virtual void releaseAll();  // no more input is wanted
  virtual int getEOF();
  virtual long long getTotalNumRows();   // -1 until end of data
  virtual long long getChunkPosition();  // stream row of chunk row 0; after releaseAll(), what the writer has released
  virtual void setChunkPosition(long long position);  // forward only
  virtual int isMultiPass();
  virtual int isRandomAccess();

  ZRBBuf* getBuf();
  ZRBProc* getProc();
  void setProc(ZRBProc* proc);
  long getBufferRowNum(long row);  // ring row of a chunk row; 0 after releaseAll()

protected:
  ZRBBuf* m_buf;
  ZRBProc* m_proc;  // receives every error of this reader
  long m_request_rows;
  long long m_chunk_position;  // stream row of chunk row 0; -1 = everything released
};
