// The severities of messages.
#pragma once

namespace severity {

enum : int { kDebug = 0, kVerbose = 1, kInformation = 2, kWarning = 3, kError = 4 };

}  // namespace severity
