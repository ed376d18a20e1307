// Which ends are the library's own?
#include "buf/buf_access.h"

#include "ZRBBackingFileBufReader.h"
#include "ZRBBackingFileBufWriter.h"
#include "ZRBMemoryBufReader.h"
#include "ZRBMemoryBufWriter.h"
#include "base/own_class.h"

namespace {

// An end of no buffer serves as the specimen.
template <class Class>
bool isEnd(const auto& end) {
  return isExactly<Class>(end, nullptr, nullptr);
}

}  // namespace

bool isOwnEnd(ZRBBufReader& reader) {
  return isEnd<ZRBMemoryBufReader>(reader) || isEnd<ZRBBackingFileBufReader>(reader);
}

bool isOwnEnd(ZRBBufWriter& writer) {
  return isEnd<ZRBMemoryBufWriter>(writer) || isEnd<ZRBBackingFileBufWriter>(writer);
}
