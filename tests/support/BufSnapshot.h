// Everything that writing rows may change in a buffer, for comparing two ways of writing them.
#pragma once

#include <string>
#include <vector>

#include "ZRBBuf.h"
#include "support/Harness.h"

struct BufSnapshot {
  std::string bytes;  // of the whole ring
  std::vector<std::vector<std::string>> levels;
  std::vector<long long> overflowCounts;
  std::vector<long> overflowStringBytes;
  Messages messages;

  explicit BufSnapshot(ZRBBuf& buf)
      : bytes(buf.getDataPtr(0, 0, 0), static_cast<std::size_t>(buf.getNumRows() * buf.getBytesPerRow())),
        messages(messagesOf(buf)) {
    for (long column = 0; column < buf.getNumColumns(); ++column) {
      std::vector<std::string>& names = levels.emplace_back();
      for (long level = 0; level < buf.getNumLevels(column); ++level)
        names.push_back(copyOf(buf.getLevelName(column, level)));
      overflowCounts.push_back(buf.getOverflowCount(column));
      overflowStringBytes.push_back(buf.getOverflowStringBytes(column));
    }
  }
};

// What differs, in words; empty when nothing does.
inline std::string differenceOf(const BufSnapshot& a, const BufSnapshot& b) {
  std::string text;
  if (a.bytes.size() != b.bytes.size()) {
    text += "size of the ring; ";
  } else if (a.bytes != b.bytes) {
    std::size_t at = 0;
    while (a.bytes[at] == b.bytes[at]) ++at;
    text += "byte " + std::to_string(at) + " of the ring; ";
  }
  if (a.levels != b.levels) text += "levels; ";
  if (a.overflowCounts != b.overflowCounts) text += "overflow counts; ";
  if (a.overflowStringBytes != b.overflowStringBytes) text += "overflow string bytes; ";
  if (a.messages != b.messages) text += "messages; ";
  return text;
}
