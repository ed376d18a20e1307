// Where does a writer's blob data go?
#include "ZRBBackingFileBufWriter.h"

#include "ZRBBackingFileBuf.h"

ZRBBackingFileBufWriter::ZRBBackingFileBufWriter(ZRBBackingFileBuf* buf, ZRBProc* proc) : ZRBBufWriter(buf, proc) {}
ZRBBackingFileBufWriter::~ZRBBackingFileBufWriter() = default;

ZRBBackingFileBuf* ZRBBackingFileBufWriter::file() { return m_buf->getZRBBackingFileBuf(); }

void ZRBBackingFileBufWriter::setBlobFileOffset(long long offset) { file()->m_blob_offset = offset; }
long long ZRBBackingFileBufWriter::getBlobFileOffset() { return file()->m_blob_offset; }
int ZRBBackingFileBufWriter::openBlobData() { return file()->openWriteBlobData(); }
long ZRBBackingFileBufWriter::writeBlobData(const char* bytes, long count) {
  return file()->writeBlobData(bytes, count);
}
int ZRBBackingFileBufWriter::closeBlobData(long long* offset, long long* length) {
  return offset && length ? file()->closeWriteBlobData(offset, length) : 0;
}
int ZRBBackingFileBufWriter::isBlobOpen() { return file()->isBlobOpen(); }
