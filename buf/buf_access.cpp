// Which ends are the library's own?
#include "buf/buf_access.h"

#include <typeinfo>

#include "ZRBBackingFileBufReader.h"
#include "ZRBBackingFileBufWriter.h"
#include "ZRBMemoryBufReader.h"
#include "ZRBMemoryBufWriter.h"

bool isOwnEnd(ZRBBufReader& reader) {
  const std::type_info& type = typeid(reader);
  return type == typeid(ZRBMemoryBufReader) || type == typeid(ZRBBackingFileBufReader);
}

bool isOwnEnd(ZRBBufWriter& writer) {
  const std::type_info& type = typeid(writer);
  return type == typeid(ZRBMemoryBufWriter) || type == typeid(ZRBBackingFileBufWriter);
}
