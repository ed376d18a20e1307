// A table on disk: FILE.zrb with its schema and its blobs.
#pragma once

#include <string>

#include "stored_schema.h"
#include "zrb/handle.h"

namespace zrbtool {

struct StoredTable {
  std::string file;   // of the rows, as the user gave it
  std::string blobs;  // path of the blob file; empty without one
  StoredSchema schema;
};

// Reads the schema, and makes sure that the files are there with the sizes it tells.  Throws Failure; `verb` is for the
// one that the name is none of a .zrb file.
StoredTable openStored(const std::string& file, const std::string& verb);

// A buffer that reads the rows, with the columns of the schema and room for `ringRows` of them.
zrb::Handle<ZRBBackingFileBuf> makeStoredBuf(const StoredTable& table, long ringRows);

}  // namespace zrbtool
