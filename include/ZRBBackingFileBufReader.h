#pragma once

#include "ZRBBufReader.h"
#include "export.h"

class ZRBBackingFileBuf;

// The reading end of a ZRBBackingFileBuf.  While the buffer is written it reads the ring as any reader does; on an
// existing file it may go to any row, and the ring caches the stretch of the file around its chunk.
class ZRB_EXPORT ZRBBackingFileBufReader : public ZRBBufReader {
public:
  ZRBBackingFileBufReader(ZRBBackingFileBuf* buf, ZRBProc* proc);
  ~ZRBBackingFileBufReader() override;
  int init() override;
  void setRequestRows(long rows) override;  // reading: also loads the requested rows
  long getRowsReady() override;
  int openBlobData(long long offset, long long length) override;
  long readBlobData(char* bytes, long count) override;
  int seekBlobData(long long offset) override;
  long long getBlobOffsetInData() override;
  int closeBlobData() override;
  int isBlobOpen() override;
  void releaseRows(long rows) override;
  void releaseAll() override;  // reading: also closes the files
  int getEOF() override;
  long long getTotalNumRows() override;
  // Reading: to any row from 0, loading what is requested from there and not cached yet.  Errors: a negative position,
  // a closed file, a failing seek (on the node); a failing read (on the buffer).
  void setChunkPosition(long long position) override;
  int isMultiPass() override;
  int isRandomAccess() override;

  int isWritingCache();  // whether the buffer is being written

private:
  ZRB_HIDDEN ZRBBackingFileBuf* file();
  ZRB_HIDDEN bool isReleasedAll();

  long long m_cache_start;  // stream row of the first row that the ring holds
  long long m_cache_rows;   // rows it holds from there
};
