#pragma once

#include "ZRBBufWriter.h"
#include "export.h"

class ZRBMemoryBuf;

// The writing end of a ZRBMemoryBuf.
class ZRB_EXPORT ZRBMemoryBufWriter : public ZRBBufWriter {
public:
  ZRBMemoryBufWriter(ZRBMemoryBuf* buf, ZRBProc* proc);
  ~ZRBMemoryBufWriter() override;
};
