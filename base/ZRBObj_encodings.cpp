// How is text copied, and how does it travel between plain, UTF-8 and wide characters?
#include <algorithm>
#include <cstring>

#include "ZRBObj.h"
#include "base/value_codes.h"

namespace {

constexpr char kReplacement = '.';
constexpr std::size_t kSeparatorBytes = 2;  // ": "

// `a`, ": ", `b` and two NULs in a new array.
char* joinStrings(const char* a, std::size_t aBytes, const char* b, std::size_t bBytes) {
  char* joined = new char[aBytes + kSeparatorBytes + bBytes + 2]();
  std::copy_n(a, aBytes, joined);
  joined[aBytes] = ':';
  joined[aBytes + 1] = ' ';
  std::copy_n(b, bBytes, joined + aBytes + kSeparatorBytes);
  return joined;
}

// A target of `capacity` elements that is filled character by character, always leaving room for its terminator.
template <class Element>
class BoundedText {
public:
  BoundedText(Element* target, int capacity) : m_target(target), m_capacity(capacity) {}
  ~BoundedText() { m_target[m_length] = 0; }
  BoundedText(const BoundedText&) = delete;
  BoundedText& operator=(const BoundedText&) = delete;

  // False: the character does not fit whole, and the text is complete.
  bool append(const Element* elements, int count) {
    if (m_length + count >= m_capacity) return false;
    for (int i = 0; i < count; ++i) m_target[m_length++] = elements[i];
    return true;
  }
  bool append(Element element) { return append(&element, 1); }

private:
  Element* m_target;
  int m_capacity;
  int m_length = 0;
};

struct DecodedChar {
  int character;  // -1: no well-formed sequence starts here
  int bytes;      // taken from the source; 1 for a malformed byte
};

bool isContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

// The character at `source`, which does not stand at the terminator.  Sequences of one to three bytes; overlong ones are
// accepted as they decode.
DecodedChar decodeUTF8(const char* source) {
  // A terminator is no continuation byte, so that no test looks past it.
  const auto byte = [source](int i) { return static_cast<unsigned char>(source[i]); };
  const unsigned char lead = byte(0);
  if (lead < 0x80) return {lead, 1};
  if ((lead & 0xE0) == 0xC0 && isContinuation(byte(1))) return {(lead & 0x1F) << 6 | (byte(1) & 0x3F), 2};
  if ((lead & 0xF0) == 0xE0 && isContinuation(byte(1)) && isContinuation(byte(2)))
    return {(lead & 0x0F) << 12 | (byte(1) & 0x3F) << 6 | (byte(2) & 0x3F), 3};
  return {-1, 1};
}

// Appends a character of the Basic Multilingual Plane, or the replacement for one that is not valid.
bool appendUTF8(BoundedText<char>& text, int character) {
  if (!ZRBObj::isValidUnicodeChar(character)) return text.append(kReplacement);
  if (character < 0x80) return text.append(static_cast<char>(character));
  const auto continuation = [character](int shift) { return static_cast<char>(0x80 | ((character >> shift) & 0x3F)); };
  if (character < 0x800) {
    const char two[] = {static_cast<char>(0xC0 | ((character >> 6) & 0x1F)), continuation(0)};
    return text.append(two, 2);
  }
  const char three[] = {static_cast<char>(0xE0 | ((character >> 12) & 0x0F)), continuation(6), continuation(0)};
  return text.append(three, 3);
}

template <class Element>
bool hasRoom(Element* target, int capacity) {
  return target && capacity > 0;
}

}  // namespace

void ZRBObj::releaseString(char* text) { delete[] text; }

char* ZRBObj::copyString(const char* text) {
  if (!text) return nullptr;
  const std::size_t bytes = std::strlen(text) + 1;
  return std::copy_n(text, bytes, new char[bytes]) - bytes;
}

char* ZRBObj::copyString(const char* a, const char* b) { return copyString(a, b, -1); }

char* ZRBObj::copyString(const char* text, int max) {
  if (!text) return nullptr;
  const std::size_t bytes = max < 0 ? std::strlen(text) : strnlen(text, static_cast<std::size_t>(max));
  return std::copy_n(text, bytes, new char[bytes + 2]()) - bytes;
}

char* ZRBObj::copyString(const char* a, const char* b, int max) {
  if (!a) a = "";
  if (!b) b = "";
  if (max < 0) return joinStrings(a, std::strlen(a), b, std::strlen(b));
  // The separator stands even where `max` leaves no room for it.
  const std::size_t room = static_cast<std::size_t>(std::max(max, 2)) - kSeparatorBytes;
  const std::size_t aBytes = strnlen(a, room);
  const std::size_t bBytes = strnlen(b, room - aBytes);
  return joinStrings(a, aBytes, b, bBytes);
}

int ZRBObj::isValidUnicodeChar(int character) {
  return character == '\t' || character == '\n' || character == '\r' || (character >= 0x20 && character <= 0xD7FF) ||
                 (character >= 0xE000 && character <= 0xFFFD)
             ? 1
             : 0;
}

void ZRBObj::copyPlainToUTFString(const char* source, char* target, int capacity) {
  copyPlainToUTF8String(source, target, capacity);
}

void ZRBObj::copyPlainToUTF8String(const char* source, char* target, int capacity) {
  if (!hasRoom(target, capacity)) return;
  BoundedText<char> text(target, capacity);
  if (source)
    while (*source && appendUTF8(text, static_cast<unsigned char>(*source))) ++source;
}

void ZRBObj::copyUTFToPlainString(const char* source, char* target, int capacity) {
  copyUTF8ToPlainString(source, target, capacity);
}

// Deliberate: what lies above U+00FF is written as its low byte.
void ZRBObj::copyUTF8ToPlainString(const char* source, char* target, int capacity) {
  if (!hasRoom(target, capacity)) return;
  BoundedText<char> text(target, capacity);
  if (!source) return;
  while (*source) {
    const auto [character, bytes] = decodeUTF8(source);
    const int low = character & 0xFF;
    const bool valid = isValidUnicodeChar(character) && isValidUnicodeChar(low);
    if (!text.append(valid ? static_cast<char>(low) : kReplacement)) return;
    source += bytes;
  }
}

void ZRBObj::copyNAToUTF8String(char* target, int capacity) {
  if (!hasRoom(target, capacity)) return;
  BoundedText<char>(target, capacity).append(value_codes::kStringNA, 3);
}

void ZRBObj::copyUTF8ToValidUTF8String(const char* source, char* target, int capacity) {
  if (!hasRoom(target, capacity)) return;
  BoundedText<char> text(target, capacity);
  if (!source) return;
  while (*source) {
    const auto [character, bytes] = decodeUTF8(source);
    if (character >= 0) {
      // An overlong form is copied as it stands.
      const bool fits = isValidUnicodeChar(character) ? text.append(source, bytes) : text.append(kReplacement);
      if (!fits) return;
    }
    source += bytes;
  }
}

void ZRBObj::copyWideCharToUTFString(const wchar_t* source, char* target, int capacity) {
  if (!hasRoom(target, capacity)) return;
  BoundedText<char> text(target, capacity);
  if (source)
    while (*source && appendUTF8(text, *source)) ++source;
}

void ZRBObj::copyUTFToWideCharString(const char* source, wchar_t* target, int capacity) {
  if (!hasRoom(target, capacity)) return;
  BoundedText<wchar_t> text(target, capacity);
  if (!source) return;
  while (*source) {
    const auto [character, bytes] = decodeUTF8(source);
    if (!text.append(isValidUnicodeChar(character) ? character : L'.')) return;
    source += bytes;
  }
}
