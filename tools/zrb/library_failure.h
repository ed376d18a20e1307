// A failed read or write of the library, as a failure of the tool.
#pragma once

#include <string>

#include "ZRBBuf.h"
#include "failure.h"

namespace zrbtool {

// The failure (io) of a file, with the reason that the messages of the buffer tell.
// REQUIRES: the buffer has an error.
Failure readFailure(const std::string& file, ZRBBuf& buf);
Failure writeFailure(const std::string& file, ZRBBuf& buf);

}  // namespace zrbtool
