#pragma once

#include "ZRBBufWriter.h"
#include "export.h"

class ZRBBackingFileBuf;

// The writing end of a ZRBBackingFileBuf: blob data goes to the buffer's blob file.
class ZRB_EXPORT ZRBBackingFileBufWriter : public ZRBBufWriter {
public:
  ZRBBackingFileBufWriter(ZRBBackingFileBuf* buf, ZRBProc* proc);
  ~ZRBBackingFileBufWriter() override;
  void setBlobFileOffset(long long offset) override;  // recorded for the next blob; the file is not moved
  long long getBlobFileOffset() override;
  int openBlobData() override;
  long writeBlobData(const char* bytes, long count) override;
  int closeBlobData(long long* offset, long long* length) override;  // 0 without a message for a null pointer
  int isBlobOpen() override;

private:
  ZRB_HIDDEN ZRBBackingFileBuf* file();
};
