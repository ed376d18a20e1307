// The verb "blob": one blob of a .zrb file.
#pragma once

#include <string>

#include "output.h"

namespace zrbtool {

struct BlobOptions {
  std::string file;
  long long row = 1;      // from 1
  std::string column;     // its name
  std::string out = "-";  // standard output
};

// Writes the bytes of the blob, after its record has been checked from end to end.  Throws Failure; a blob that is NA is
// one (data).
void writeBlob(const BlobOptions& options, Output& standardOutput);

}  // namespace zrbtool
