#pragma once

#include "ZRBBufReader.h"
#include "export.h"

class ZRBMemoryBuf;

// The reading end of a ZRBMemoryBuf.
class ZRB_EXPORT ZRBMemoryBufReader : public ZRBBufReader {
public:
  ZRBMemoryBufReader(ZRBMemoryBuf* buf, ZRBProc* proc);
  ~ZRBMemoryBufReader() override;
};
