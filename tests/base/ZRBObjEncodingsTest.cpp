// ZRBObj: allocated copies of texts, and the conversions between plain text, UTF-8 and wide characters.
#include <algorithm>
#include <climits>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "support/SavedSettings.h"
#include "zrbbase.h"

namespace {

// ---- What is expected, written independently of the library ----

bool isCarried(int character) {
  if (character == '\t' || character == '\n' || character == '\r') return true;
  if (character < 0x20 || character > 0xFFFD) return false;
  return character < 0xD800 || character > 0xDFFF;
}

// The shortest form, also of surrogates and noncharacters; up to U+FFFF.
std::string encoded(int character) {
  const auto byte = [](int value) { return std::string(1, static_cast<char>(value)); };
  const int low = 0x80 | (character & 0x3F);
  if (character < 0x80) return byte(character);
  if (character < 0x800) return byte(0xC0 | (character >> 6)) + byte(low);
  return byte(0xE0 | (character >> 12)) + byte(0x80 | ((character >> 6) & 0x3F)) + byte(low);
}

// One element of a UTF-8 text: a character of `length` bytes, or one byte (character -1) that begins none.
struct Element {
  int character;
  std::size_t length;
};
Element elementAt(const char* text) {
  const auto byte = [&](std::size_t i) { return static_cast<int>(static_cast<unsigned char>(text[i])); };
  const auto continues = [&](std::size_t i) { return byte(i) >= 0x80 && byte(i) <= 0xBF; };
  if (byte(0) <= 0x7F) return {byte(0), 1};
  if (byte(0) >= 0xC0 && byte(0) <= 0xDF && continues(1)) return {(byte(0) - 0xC0) * 64 + (byte(1) - 0x80), 2};
  if (byte(0) >= 0xE0 && byte(0) <= 0xEF && continues(1) && continues(2))
    return {(byte(0) - 0xE0) * 4096 + (byte(1) - 0x80) * 64 + (byte(2) - 0x80), 3};
  return {-1, 1};
}

// Collects whole characters until the first that does not fit with the terminator.
template <class Text>
class Fitting {
public:
  explicit Fitting(int capacity) : m_capacity(capacity) {}
  void add(const Text& character) {
    m_full = m_full || static_cast<int>(m_text.size() + character.size()) >= m_capacity;
    if (!m_full) m_text += character;
  }
  const Text& text() const { return m_text; }

private:
  Text m_text;
  int m_capacity;
  bool m_full = false;
};

std::string plainToUTF8(const char* source, int capacity) {
  Fitting<std::string> result(capacity);
  for (; *source != '\0'; ++source) {
    const int character = static_cast<unsigned char>(*source);
    result.add(isCarried(character) ? encoded(character) : ".");
  }
  return result.text();
}

std::string utf8ToPlain(const char* source, int capacity) {
  Fitting<std::string> result(capacity);
  while (*source != '\0') {
    const Element element = elementAt(source);
    const int low = element.character & 0xFF;
    result.add(isCarried(element.character) && isCarried(low) ? std::string(1, static_cast<char>(low)) : ".");
    source += element.length;
  }
  return result.text();
}

std::wstring utf8ToWide(const char* source, int capacity) {
  Fitting<std::wstring> result(capacity);
  while (*source != '\0') {
    const Element element = elementAt(source);
    result.add(std::wstring(1, isCarried(element.character) ? static_cast<wchar_t>(element.character) : L'.'));
    source += element.length;
  }
  return result.text();
}

std::string utf8ToValid(const char* source, int capacity) {
  Fitting<std::string> result(capacity);
  while (*source != '\0') {
    const Element element = elementAt(source);
    if (element.character >= 0)
      result.add(isCarried(element.character) ? std::string(source, element.length) : std::string("."));
    source += element.length;
  }
  return result.text();
}

std::string wideToUTF8(const wchar_t* source, int capacity) {
  Fitting<std::string> result(capacity);
  for (; *source != L'\0'; ++source) {
    const int character = static_cast<int>(*source);
    result.add(isCarried(character) ? encoded(character) : ".");
  }
  return result.text();
}

// ---- What the library gives ----

template <class From, class To>
using Conversion = void (*)(const From* source, To* target, int capacity);

constexpr int kGuard = 0x5A;

// The result in a target of exactly `capacity` elements.  Behind it stand guards, checked here.
template <class From, class To>
std::basic_string<To> converted(Conversion<From, To> conversion, const From* source, int capacity) {
  constexpr std::size_t guards = 8;
  const auto size = static_cast<std::size_t>(capacity);
  std::vector<To> target(size + guards, static_cast<To>(kGuard));
  conversion(source, target.data(), capacity);
  for (std::size_t i = size; i < target.size(); ++i)
    EXPECT_EQ(target[i], static_cast<To>(kGuard)) << "written behind capacity " << capacity;
  const auto end = std::find(target.begin(), target.begin() + capacity, To());
  EXPECT_NE(end, target.begin() + capacity) << "no terminator within capacity " << capacity;
  return std::basic_string<To>(target.begin(), end);
}

std::string bytesOf(std::string_view text) {
  static const char digits[] = "0123456789ABCDEF";
  std::string bytes;
  for (const char c : text) {
    bytes += digits[static_cast<unsigned char>(c) >> 4];
    bytes += digits[static_cast<unsigned char>(c) & 15];
    bytes += ' ';
  }
  return bytes;
}

// Counts differences and shows the first few, so that a sweep over all texts stays readable.
class Differences {
public:
  void show(const std::string& what) {
    if (++m_count <= 5) ADD_FAILURE() << what;
  }
  ~Differences() { EXPECT_EQ(m_count, 0) << "differences in all"; }

private:
  long m_count = 0;
};

constexpr Conversion<char, char> kPlainToUTF8[] = {ZRBObj::copyPlainToUTF8String, ZRBObj::copyPlainToUTFString};
constexpr Conversion<char, char> kUTF8ToPlain[] = {ZRBObj::copyUTF8ToPlainString, ZRBObj::copyUTFToPlainString};

// Texts with characters of one, two and three bytes at every place, invalid ones and malformed bytes.
const char* const kMixedUTF8[] = {
    "",
    "a",
    "abc",
    "\xC3\xA9",
    "\xC3\xA9\xC3\xA9\xC3\xA9",
    "a\xC3\xA9z",
    "\xE2\x82\xAC",
    "\xE2\x82\xAC\xE2\x82\xAC",
    "a\xE2\x82\xACz\xC3\xA9y",
    "\xC3\xA9\xE2\x82\xACz\xE2\x82\xAC\xC3\xA9",
    "\xF0\x9F\x98\x80",
    "a\xF0\x9F\x98\x80z",
    "\x01\x1F\x7F\t\n\r",
    "\xED\xA0\x80x\xEF\xBF\xBE\xEF\xBF\xBF\xEF\xBF\xBD",
    "\x80\xBFx\xC3",
    "\xE2\x82",
    "\xE2x\xE2\x82y",
    "\xC0\x80\xC1\x81\xE0\x80\x80\xE0\x81\x81\xE0\x83\xA9",
    "\xFE\xFFz\xF8\x88\x80\x80\x80",
};

class ObjEncodings : public ::testing::Test {
private:
  SavedSettings m_saved;
};

// ---- Allocated copies ----

// Takes a copy's bytes up to and including `terminators` NULs, and releases it.
std::string taken(char* copy, std::size_t length, std::size_t terminators) {
  if (copy == nullptr) return "(null)";
  std::string bytes(copy, length + terminators);
  ZRBObj::releaseString(copy);
  for (std::size_t i = 0; i < terminators; ++i) {
    EXPECT_EQ(bytes.back(), '\0');
    bytes.pop_back();
  }
  return bytes;
}

TEST_F(ObjEncodings, releasing_a_null_string_is_allowed) { ZRBObj::releaseString(nullptr); }

TEST_F(ObjEncodings, a_copy_is_a_new_text_of_its_own) {
  for (const char* text : {"", "a", "a longer text than any short form would hold"}) {
    char* copy = ZRBObj::copyString(text);
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy, text);
    EXPECT_STREQ(copy, text);
    ZRBObj::releaseString(copy);
  }
}

TEST_F(ObjEncodings, the_copy_of_null_is_null) {
  EXPECT_EQ(ZRBObj::copyString(nullptr), nullptr);
  for (const int max : {-1, 0, 1, 10}) EXPECT_EQ(ZRBObj::copyString(nullptr, max), nullptr);
}

TEST_F(ObjEncodings, a_limited_copy_holds_the_first_characters_and_two_NULs) {
  struct {
    const char* text;
    int max;
    const char* copy;
  } const rows[] = {
      {"abcd", -1, "abcd"}, {"abcd", INT_MIN, "abcd"}, {"abcd", 0, ""},           {"abcd", 1, "a"}, {"abcd", 3, "abc"},
      {"abcd", 4, "abcd"},  {"abcd", 5, "abcd"},       {"abcd", INT_MAX, "abcd"}, {"", -1, ""},     {"", 0, ""},
      {"", 3, ""},
  };
  for (const auto& row : rows)
    EXPECT_EQ(taken(ZRBObj::copyString(row.text, row.max), std::strlen(row.copy), 2), row.copy) << row.max;
}

TEST_F(ObjEncodings, a_limited_copy_reads_no_further_than_its_limit) {
  const auto unterminated = std::make_unique<char[]>(3);
  std::memcpy(unterminated.get(), "abc", 3);
  EXPECT_EQ(taken(ZRBObj::copyString(unterminated.get(), 3), 3, 2), "abc");
  EXPECT_EQ(taken(ZRBObj::copyString(unterminated.get(), 0), 0, 2), "");
}

TEST_F(ObjEncodings, a_joined_copy_puts_colon_and_blank_between_its_parts) {
  struct {
    const char* a;
    const char* b;
    const char* copy;
  } const rows[] = {{"abc", "de", "abc: de"}, {"", "de", ": de"},        {"abc", "", "abc: "},    {"", "", ": "},
                    {nullptr, "de", ": de"},  {"abc", nullptr, "abc: "}, {nullptr, nullptr, ": "}};
  for (const auto& row : rows) {
    EXPECT_EQ(taken(ZRBObj::copyString(row.a, row.b), std::strlen(row.copy), 1), row.copy);
    for (const int noLimit : {-1, INT_MIN, 100, INT_MAX})
      EXPECT_EQ(taken(ZRBObj::copyString(row.a, row.b, noLimit), std::strlen(row.copy), 2), row.copy) << noLimit;
  }
}

TEST_F(ObjEncodings, a_limited_joined_copy_fills_up_from_the_front) {
  struct {
    int max;
    const char* copy;
  } const rows[] = {{2, ": "}, {3, "a: "}, {4, "ab: "}, {5, "abc: "}, {6, "abc: d"}, {7, "abc: de"}, {8, "abc: de"}};
  for (const auto& row : rows)
    EXPECT_EQ(taken(ZRBObj::copyString("abc", "de", row.max), std::strlen(row.copy), 2), row.copy) << row.max;
}

TEST_F(ObjEncodings, a_joined_copy_keeps_its_separator_below_a_limit_of_2) {
  for (const int max : {0, 1, 2}) {
    EXPECT_EQ(taken(ZRBObj::copyString("abc", "de", max), 2, 2), ": ") << max;
    EXPECT_EQ(taken(ZRBObj::copyString("", "de", max), 2, 2), ": ") << max;
    EXPECT_EQ(taken(ZRBObj::copyString(nullptr, nullptr, max), 2, 2), ": ") << max;
  }
}

TEST_F(ObjEncodings, a_limited_joined_copy_never_exceeds_a_limit_of_2_or_more) {
  const std::string letters = "abcdefgh";
  const std::string digits = "12345678";
  for (int max = 2; max <= 20; ++max) {
    for (std::size_t lengthA = 0; lengthA <= letters.size(); ++lengthA) {
      for (std::size_t lengthB = 0; lengthB <= digits.size(); ++lengthB) {
        const std::string a = letters.substr(0, lengthA);
        const std::string b = digits.substr(0, lengthB);
        // All of both, as long as there is room; the second part gives way first, and the separator never.
        const std::size_t room = static_cast<std::size_t>(max) - 2;
        const std::size_t keptA = std::min(a.size(), room);
        const std::size_t keptB = std::min(b.size(), room - keptA);
        const std::string expected = a.substr(0, keptA) + ": " + b.substr(0, keptB);
        ASSERT_EQ(taken(ZRBObj::copyString(a.c_str(), b.c_str(), max), expected.size(), 2), expected);
      }
    }
  }
}

// ---- Valid characters ----

TEST_F(ObjEncodings, valid_characters_are_exactly_these_ranges) {
  struct {
    int first;
    int last;
    int valid;
  } const ranges[] = {{-70000, 8, 0},    {9, 10, 1},          {11, 12, 0},         {13, 13, 1},          {14, 0x1F, 0},
                      {0x20, 0xD7FF, 1}, {0xD800, 0xDFFF, 0}, {0xE000, 0xFFFD, 1}, {0xFFFE, 0x110010, 0}};
  for (const auto& range : ranges)
    for (int character = range.first; character <= range.last; ++character)
      ASSERT_EQ(ZRBObj::isValidUnicodeChar(character), range.valid) << std::hex << character;
  EXPECT_EQ(ZRBObj::isValidUnicodeChar(INT_MIN), 0);
  EXPECT_EQ(ZRBObj::isValidUnicodeChar(INT_MAX), 0);
}

// ---- The frame of every conversion ----

TEST_F(ObjEncodings, without_room_or_target_nothing_is_done) {
  char bytes[4] = {kGuard, kGuard, kGuard, kGuard};
  wchar_t wide[2] = {kGuard, kGuard};
  for (const int capacity : {0, -1, INT_MIN}) {
    for (const auto conversion :
         {ZRBObj::copyPlainToUTFString, ZRBObj::copyPlainToUTF8String, ZRBObj::copyUTFToPlainString,
          ZRBObj::copyUTF8ToPlainString, ZRBObj::copyUTF8ToValidUTF8String}) {
      conversion("abc", bytes, capacity);
      conversion(nullptr, bytes, capacity);
    }
    ZRBObj::copyWideCharToUTFString(L"abc", bytes, capacity);
    ZRBObj::copyWideCharToUTFString(nullptr, bytes, capacity);
    ZRBObj::copyUTFToWideCharString("abc", wide, capacity);
    ZRBObj::copyUTFToWideCharString(nullptr, wide, capacity);
    ZRBObj::copyNAToUTF8String(bytes, capacity);
  }
  for (const char byte : bytes) EXPECT_EQ(byte, kGuard);
  for (const wchar_t character : wide) EXPECT_EQ(character, kGuard);

  for (const auto conversion :
       {ZRBObj::copyPlainToUTFString, ZRBObj::copyPlainToUTF8String, ZRBObj::copyUTFToPlainString,
        ZRBObj::copyUTF8ToPlainString, ZRBObj::copyUTF8ToValidUTF8String})
    conversion("abc", nullptr, 4);
  ZRBObj::copyWideCharToUTFString(L"abc", nullptr, 4);
  ZRBObj::copyUTFToWideCharString("abc", nullptr, 4);
  ZRBObj::copyNAToUTF8String(nullptr, 4);
}

TEST_F(ObjEncodings, a_null_source_gives_an_empty_result) {
  for (const int capacity : {1, 2, 10}) {
    for (const auto conversion :
         {ZRBObj::copyPlainToUTFString, ZRBObj::copyPlainToUTF8String, ZRBObj::copyUTFToPlainString,
          ZRBObj::copyUTF8ToPlainString, ZRBObj::copyUTF8ToValidUTF8String})
      EXPECT_EQ((converted<char, char>(conversion, nullptr, capacity)), "");
    EXPECT_EQ((converted<wchar_t, char>(ZRBObj::copyWideCharToUTFString, nullptr, capacity)), "");
    EXPECT_EQ((converted<char, wchar_t>(ZRBObj::copyUTFToWideCharString, nullptr, capacity)), L"");
  }
}

TEST_F(ObjEncodings, plain_text_ends_at_a_whole_character_at_every_capacity) {
  const char* const texts[] = {"", "a", "abc", "\xE9", "\xE9\xE9\xE9", "a\xE9z", "\xE9z\xE9", "\x01\xFF\x1Fz"};
  for (const char* text : texts)
    for (const auto conversion : kPlainToUTF8)
      for (int capacity = 1; capacity <= static_cast<int>(2 * std::strlen(text)) + 3; ++capacity)
        EXPECT_EQ(bytesOf(converted(conversion, text, capacity)), bytesOf(plainToUTF8(text, capacity)))
            << bytesOf(text) << "capacity " << capacity;
}

TEST_F(ObjEncodings, UTF8_ends_at_a_whole_character_at_every_capacity) {
  for (const char* text : kMixedUTF8) {
    for (int capacity = 1; capacity <= static_cast<int>(std::strlen(text)) + 3; ++capacity) {
      SCOPED_TRACE(bytesOf(text) + "capacity " + std::to_string(capacity));
      for (const auto conversion : kUTF8ToPlain)
        EXPECT_EQ(bytesOf(converted(conversion, text, capacity)), bytesOf(utf8ToPlain(text, capacity)));
      EXPECT_EQ(converted(ZRBObj::copyUTFToWideCharString, text, capacity), utf8ToWide(text, capacity));
      EXPECT_EQ(bytesOf(converted(ZRBObj::copyUTF8ToValidUTF8String, text, capacity)),
                bytesOf(utf8ToValid(text, capacity)));
    }
  }
}

TEST_F(ObjEncodings, wide_text_ends_at_a_whole_character_at_every_capacity) {
  const wchar_t* const texts[] = {
      L"", L"a", L"abc", L"\u00E9", L"\u20AC", L"\u20AC\u20AC", L"a\u20ACz\u00E9y", L"\u00E9\u20ACa\U0001F600z"};
  for (const wchar_t* text : texts)
    for (int capacity = 1; capacity <= static_cast<int>(3 * std::wcslen(text)) + 3; ++capacity)
      EXPECT_EQ(bytesOf(converted(ZRBObj::copyWideCharToUTFString, text, capacity)),
                bytesOf(wideToUTF8(text, capacity)))
          << "capacity " << capacity;
}

// ---- Plain text to UTF-8 ----

TEST_F(ObjEncodings, every_plain_byte_has_its_UTF8_form) {
  for (int byte = 1; byte < 256; ++byte) {
    const char text[2] = {static_cast<char>(byte), '\0'};
    std::string expected;
    if (byte < 0x20 && byte != 9 && byte != 10 && byte != 13)
      expected = ".";
    else if (byte < 0x80)
      expected = text;
    else
      expected = {static_cast<char>(byte < 0xC0 ? 0xC2 : 0xC3), static_cast<char>(byte < 0xC0 ? byte : byte - 0x40)};
    for (const auto conversion : kPlainToUTF8) EXPECT_EQ(converted(conversion, text, 10), expected) << byte;
  }
}

TEST_F(ObjEncodings, the_plain_byte_E9_needs_a_capacity_of_3) {
  for (const auto conversion : kPlainToUTF8) {
    EXPECT_EQ(converted(conversion, "\xE9", 1), "");
    EXPECT_EQ(converted(conversion, "\xE9", 2), "");
    EXPECT_EQ(converted(conversion, "\xE9", 3), "\xC3\xA9");
    EXPECT_EQ(converted(conversion, "a\xE9z", 3), "a") << "what follows a character that does not fit is lost too";
  }
}

// ---- UTF-8 to plain and wide ----

TEST_F(ObjEncodings, UTF8_to_plain_keeps_the_low_byte) {
  struct {
    const char* text;
    const char* plain;
  } const rows[] = {
      {"\xC3\xA9", "\xE9"},      // U+00E9
      {"\xC5\x81", "A"},         // U+0141
      {"\xE2\x82\xAC", "\xAC"},  // U+20AC
      {"\xC4\x80", "."},         // U+0100: the low byte is no valid character
      {"\xC4\x9F", "."},         // U+011F: likewise
      {"\xC4\x8A", "\n"},        // U+010A
      {"\xEF\xBF\xBD", "\xFD"},  // U+FFFD
      {"\xED\xA1\x81", "."},     // a surrogate, although its low byte is 'A'
      {"\xEF\xBF\xBF", "."},     // U+FFFF
      {"\xC2\x80", "\x80"},      // U+0080
  };
  for (const auto& row : rows)
    for (const auto conversion : kUTF8ToPlain) EXPECT_EQ(converted(conversion, row.text, 10), row.plain);
}

TEST_F(ObjEncodings, every_malformed_byte_becomes_a_full_stop_in_plain_and_wide_text) {
  struct {
    const char* text;
    const char* plain;
    const wchar_t* wide;
  } const rows[] = {
      {"\xF0\x9F\x98\x80", "....", L"...."},  // a four-byte character
      {"\x80", ".", L"."},                    // a stray continuation byte
      {"a\xBFz", "a.z", L"a.z"},
      {"\xC3", ".", L"."},  // a truncated pair
      {"\xC3z", ".z", L".z"},
      {"\xC3\xC3\xA9", ".\xE9", L".\u00E9"},  // the second lead begins a character
      {"\xE2\x82", "..", L".."},              // a truncated triple
      {"\xE2\x82z", "..z", L"..z"},
      {"\xE2z", ".z", L".z"},
      {"\xE2\xC3\xA9", ".\xE9", L".\u00E9"},
      {"\xE2\x82\xC3\xA9", "..\xE9", L"..\u00E9"},
      {"\xF8\xFF\xFE", "...", L"..."},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(bytesOf(row.text));
    for (const auto conversion : kUTF8ToPlain) EXPECT_EQ(converted(conversion, row.text, 10), row.plain);
    EXPECT_EQ(converted(ZRBObj::copyUTFToWideCharString, row.text, 10), row.wide);
  }
}

TEST_F(ObjEncodings, overlong_forms_are_accepted_as_they_decode) {
  struct {
    const char* text;
    const char* plain;
    const wchar_t* wide;
    const char* valid;
  } const rows[] = {
      {"\xC1\x81", "A", L"A", "\xC1\x81"},                  // U+0041 in two bytes
      {"\xE0\x81\x81", "A", L"A", "\xE0\x81\x81"},          // and in three
      {"\xE0\x83\xA9", "\xE9", L"\u00E9", "\xE0\x83\xA9"},  // U+00E9 in three bytes
      {"\xC0\x80", ".", L".", "."},                         // U+0000 ends no text; it is not valid
      {"\xE0\x80\x80", ".", L".", "."},
      {"\xC0\x89", "\t", L"\t", "\xC0\x89"},  // a tab
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(bytesOf(row.text));
    for (const auto conversion : kUTF8ToPlain) EXPECT_EQ(converted(conversion, row.text, 10), row.plain);
    EXPECT_EQ(converted(ZRBObj::copyUTFToWideCharString, row.text, 10), row.wide);
    EXPECT_EQ(converted(ZRBObj::copyUTF8ToValidUTF8String, row.text, 10), row.valid);
  }
}

// ---- All characters, all short texts ----

TEST_F(ObjEncodings, every_character_of_the_basic_plane_converts_from_UTF8) {
  Differences differences;
  for (int character = 1; character <= 0xFFFF; ++character) {
    const std::string text = encoded(character);
    const bool valid = isCarried(character);
    const int low = character & 0xFF;
    const std::string plain(1, valid && isCarried(low) ? static_cast<char>(low) : '.');
    char bytes[8];
    for (const auto conversion : kUTF8ToPlain) {
      conversion(text.c_str(), bytes, sizeof bytes);
      if (bytes != plain) differences.show("to plain: " + bytesOf(text) + "gives " + bytesOf(bytes));
    }
    ZRBObj::copyUTF8ToValidUTF8String(text.c_str(), bytes, sizeof bytes);
    if (bytes != (valid ? text : ".")) differences.show("to valid: " + bytesOf(text) + "gives " + bytesOf(bytes));
    wchar_t wide[4];
    ZRBObj::copyUTFToWideCharString(text.c_str(), wide, 4);
    if (wide[0] != (valid ? static_cast<wchar_t>(character) : L'.') || wide[1] != L'\0')
      differences.show("to wide: " + bytesOf(text));
  }
}

TEST_F(ObjEncodings, every_wide_character_converts_to_UTF8) {
  Differences differences;
  const auto check = [&](long character) {
    const wchar_t text[2] = {static_cast<wchar_t>(character), L'\0'};
    char bytes[8];
    ZRBObj::copyWideCharToUTFString(text, bytes, sizeof bytes);
    const int code = static_cast<int>(character);
    if (bytes != (isCarried(code) ? encoded(code) : "."))
      differences.show(std::to_string(character) + " gives " + bytesOf(bytes));
  };
  for (long character = -300; character <= 0x110010; ++character)
    if (character != 0) check(character);
  check(INT_MIN);
  check(INT_MIN + 0x41);
  check(INT_MAX);
}

// All texts of one and two bytes, and all of three bytes with the lead of a three-byte character.
TEST_F(ObjEncodings, every_short_UTF8_text_converts_by_the_same_rules) {
  Differences differences;
  const auto check = [&](const char* text) {
    char bytes[8];
    ZRBObj::copyUTF8ToPlainString(text, bytes, sizeof bytes);
    if (bytes != utf8ToPlain(text, 8)) differences.show("to plain: " + bytesOf(text) + "gives " + bytesOf(bytes));
    ZRBObj::copyUTF8ToValidUTF8String(text, bytes, sizeof bytes);
    if (bytes != utf8ToValid(text, 8)) differences.show("to valid: " + bytesOf(text) + "gives " + bytesOf(bytes));
    wchar_t wide[8];
    ZRBObj::copyUTFToWideCharString(text, wide, 8);
    if (wide != utf8ToWide(text, 8)) differences.show("to wide: " + bytesOf(text));
  };
  for (int first = 1; first < 256; ++first) {
    for (int second = 0; second < 256; ++second) {
      const char text[3] = {static_cast<char>(first), static_cast<char>(second), '\0'};
      check(text);
    }
  }
  for (int first = 0xE0; first < 0xF0; ++first) {
    for (int second = 1; second < 256; ++second) {
      for (int third = 1; third < 256; ++third) {
        const char text[4] = {static_cast<char>(first), static_cast<char>(second), static_cast<char>(third), '\0'};
        check(text);
      }
    }
  }
}

// ---- UTF-8 to valid UTF-8 ----

TEST_F(ObjEncodings, cleaning_UTF8_drops_malformed_bytes_and_replaces_invalid_characters) {
  struct {
    const char* text;
    const char* valid;
  } const rows[] = {
      {"abc", "abc"},
      {"\t\n\r\x7F", "\t\n\r\x7F"},
      {"\x01\x1F", ".."},
      {"a\xC3\xA9z\xE2\x82\xACy", "a\xC3\xA9z\xE2\x82\xACy"},
      {"\xF0\x9F\x98\x80", ""},  // four-byte characters disappear whole
      {"a\xF0\x9F\x98\x80z", "az"},
      {"\xED\xA0\x80", "."},  // a surrogate
      {"\xED\xA0\x80\xED\xB0\x80", ".."},
      {"\xEF\xBF\xBE", "."},  // U+FFFE
      {"\xEF\xBF\xBF", "."},  // the string NA is no text
      {"\xEF\xBF\xBD", "\xEF\xBF\xBD"},
      {"\x80\xBFz", "z"},  // stray continuation bytes
      {"\xC3", ""},
      {"\xC3z", "z"},
      {"\xE2\x82", ""},
      {"\xE2\x82z", "z"},
      {"\xC3\xC3\xA9", "\xC3\xA9"},
      {"\xE2\x82\xC3\xA9", "\xC3\xA9"},
      {"\xE2\x82\xAC\x80\x80z", "\xE2\x82\xACz"},
  };
  for (const auto& row : rows)
    EXPECT_EQ(bytesOf(converted(ZRBObj::copyUTF8ToValidUTF8String, row.text, 20)), bytesOf(row.valid))
        << bytesOf(row.text);
}

TEST_F(ObjEncodings, cleaned_UTF8_stays_as_it_is) {
  for (const char* text : kMixedUTF8) {
    const std::string once = converted(ZRBObj::copyUTF8ToValidUTF8String, text, 100);
    EXPECT_EQ(converted(ZRBObj::copyUTF8ToValidUTF8String, once.c_str(), 100), once);
  }
}

// ---- The string NA ----

TEST_F(ObjEncodings, the_string_NA_is_written_whole_or_not_at_all) {
  for (int capacity = 1; capacity <= 10; ++capacity) {
    char target[12];
    std::memset(target, kGuard, sizeof target);
    ZRBObj::copyNAToUTF8String(target, capacity);
    const std::string expected = capacity < 4 ? std::string(1, '\0') : std::string("\xEF\xBF\xBF\0", 4);
    EXPECT_EQ(std::memcmp(target, expected.data(), expected.size()), 0) << capacity;
    for (std::size_t i = expected.size(); i < sizeof target; ++i)
      EXPECT_EQ(target[i], kGuard) << "byte " << i << " with capacity " << capacity;
    EXPECT_EQ(ZRBObj::isStringNA(target), capacity < 4 ? 0 : 1);
  }
}

// ---- The setting without effect ----

TEST_F(ObjEncodings, the_setting_use_windows_string_encoding_changes_no_conversion) {
  const auto everything = [] {
    std::string all;
    std::wstring allWide;
    for (int byte = 1; byte < 256; ++byte) {
      const char text[2] = {static_cast<char>(byte), '\0'};
      for (const auto conversion : kPlainToUTF8) all += converted(conversion, text, 10);
      for (const auto conversion : kUTF8ToPlain) all += converted(conversion, text, 10);
    }
    for (int character = 1; character <= 0xFFFF; character += 13) {
      const std::string text = encoded(character);
      for (const auto conversion : kUTF8ToPlain) all += converted(conversion, text.c_str(), 10);
      all += converted(ZRBObj::copyUTF8ToValidUTF8String, text.c_str(), 10);
      const wchar_t wide[2] = {static_cast<wchar_t>(character), L'\0'};
      all += converted(ZRBObj::copyWideCharToUTFString, wide, 10);
      allWide += converted(ZRBObj::copyUTFToWideCharString, text.c_str(), 10);
      all += ZRBObj::isValidUnicodeChar(character) ? '1' : '0';
    }
    char na[4];
    ZRBObj::copyNAToUTF8String(na, 4);
    return std::make_pair(all + na, allWide);
  };
  ZRBObj::setUseWindowsStringEncoding(0);
  const auto without = everything();
  ZRBObj::setUseWindowsStringEncoding(1);
  EXPECT_EQ(everything() == without, true);
}

}  // namespace
