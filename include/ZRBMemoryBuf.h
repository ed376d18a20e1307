#pragma once

#include "ZRBBuf.h"
#include "export.h"

// A buffer whose rows live only in its ring: one pass, no random access, nothing on disk.
class ZRB_EXPORT ZRBMemoryBuf : public ZRBBuf {
public:
  ZRBMemoryBuf();
  ~ZRBMemoryBuf() override;
  int isZRBMemoryBuf() override;
  ZRBMemoryBuf* getZRBMemoryBuf() override;
  ZRBBufWriter* newBufWriter(ZRBProc* proc) override;
  ZRBBufReader* newBufReader(ZRBProc* proc) override;
};
