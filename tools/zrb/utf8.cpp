#include "utf8.h"

#include <cstdint>
#include <cstring>

namespace zrbtool {

std::size_t utf8SequenceBytes(std::string_view text) {
  if (text.empty()) return 0;
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned first = byte(0);
  if (first < 0x80) return 1;
  const std::size_t bytes = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4 || text.size() < bytes) return 0;
  for (std::size_t i = 1; i < bytes; ++i)
    if ((byte(i) & 0xC0) != 0x80) return 0;
  const unsigned second = byte(1);
  if (first == 0xE0 && second < 0xA0) return 0;   // overlong
  if (first == 0xED && second >= 0xA0) return 0;  // surrogates
  if (first == 0xF0 && second < 0x90) return 0;   // overlong
  if (first == 0xF4 && second >= 0x90) return 0;  // above U+10FFFF
  return bytes;
}

bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    if (text.size() >= 8) {  // eight ASCII characters at a time
      std::uint64_t eight;
      std::memcpy(&eight, text.data(), sizeof eight);
      if ((eight & 0x8080808080808080u) == 0) {
        text.remove_prefix(8);
        continue;
      }
    }
    const std::size_t bytes = utf8SequenceBytes(text);
    if (bytes == 0) return false;
    text.remove_prefix(bytes);
  }
  return true;
}

std::size_t utf8Length(std::string_view text) {
  std::size_t length = 0;
  for (const char c : text) length += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  return length;
}

std::string_view utf8Prefix(std::string_view text, std::size_t bytes) {
  if (text.size() <= bytes) return text;
  while (bytes > 0 && (static_cast<unsigned char>(text[bytes]) & 0xC0) == 0x80) --bytes;
  return text.substr(0, bytes);
}

}  // namespace zrbtool
