// Which ends does a buffer in memory have?
#include "ZRBMemoryBuf.h"

#include "ZRBMemoryBufReader.h"
#include "ZRBMemoryBufWriter.h"

ZRBMemoryBuf::ZRBMemoryBuf() = default;
ZRBMemoryBuf::~ZRBMemoryBuf() = default;

int ZRBMemoryBuf::isZRBMemoryBuf() { return 1; }
ZRBMemoryBuf* ZRBMemoryBuf::getZRBMemoryBuf() { return this; }
ZRBBufWriter* ZRBMemoryBuf::newBufWriter(ZRBProc* proc) { return new ZRBMemoryBufWriter(this, proc); }
ZRBBufReader* ZRBMemoryBuf::newBufReader(ZRBProc* proc) { return new ZRBMemoryBufReader(this, proc); }

ZRBMemoryBufReader::ZRBMemoryBufReader(ZRBMemoryBuf* buf, ZRBProc* proc) : ZRBBufReader(buf, proc) {}
ZRBMemoryBufReader::~ZRBMemoryBufReader() = default;

ZRBMemoryBufWriter::ZRBMemoryBufWriter(ZRBMemoryBuf* buf, ZRBProc* proc) : ZRBBufWriter(buf, proc) {}
ZRBMemoryBufWriter::~ZRBMemoryBufWriter() = default;
