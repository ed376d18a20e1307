#include "library_failure.h"

#include <cerrno>
#include <charconv>
#include <cstring>

#include "zrb/property.h"

namespace zrbtool {

namespace {

constexpr std::string_view kDeviceFull = "output device full";
constexpr std::string_view kErrno = "errno=";

// The system's error number in one message of a backing file; 0 for fewer bytes than asked for, -1 if it tells none.
int errorNumber(std::string_view message) {
  if (message.substr(0, kDeviceFull.size()) == kDeviceFull) return ENOSPC;
  const std::size_t at = message.rfind(kErrno);
  int number = -1;
  if (at != std::string_view::npos)
    std::from_chars(message.data() + at + kErrno.size(), message.data() + message.size(), number);
  return number;
}

// `cutShort` is what is found when a call of the system did less than it was asked for.
Finding findingOf(ZRBBuf& buf, const std::string& what, const std::string& cutShort, const std::string& expected) {
  const long messages = zrb::get<long>(buf, "num.messages");
  std::string first;
  for (long i = 0; i < messages; ++i) {
    const std::string message = zrb::get<std::string>(buf, "message", i);
    if (const int number = errorNumber(message); number >= 0)
      return {what, number > 0 ? std::strerror(number) : cutShort, expected};
    if (first.empty()) first = message;
  }
  return {what, first, expected};
}

}  // namespace

Failure readFailure(const std::string& file, ZRBBuf& buf) {
  return failureAt(ExitStatus::io, file, 0, "0",
                   findingOf(buf, "cannot read", "the end of the file before its last row",
                             "a file that does not change while it is read"));
}

Failure writeFailure(const std::string& file, ZRBBuf& buf) {
  return failureAt(ExitStatus::io, file, 0, "0",
                   findingOf(buf, "cannot write", "a device or a limit that is full", "room for the whole file"));
}

}  // namespace zrbtool
