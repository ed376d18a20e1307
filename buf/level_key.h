// A level name as three numbers, so that names are compared and hashed without a loop over their bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

// A text of up to kMostBytes bytes is the numbers: its bytes, padded with zeros.  A longer one is told from every other
// short text by its last number, and from other long ones only in all likelihood.
class LevelKey {
public:
  static constexpr std::size_t kMostBytes = 23;

  explicit LevelKey(const char* text) : LevelKey(text, std::strlen(text)) {}

  bool operator==(const LevelKey&) const = default;

  // Whether equal keys mean equal texts.
  bool isText() const { return m_last != kLong; }
  bool isEmpty() const { return m_first == 0; }
  // The text that counts as NA (ZRBObj::getStringNA).
  bool isNA() const { return m_first == kNA && m_second == 0 && m_last == 0; }

  std::uint64_t hash() const { return mix(mix(m_first ^ kFactor, m_second ^ kOtherFactor) ^ m_last, kFactor); }

private:
  static constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15;  // the golden ratio in 64 bits
  static constexpr std::uint64_t kOtherFactor = 0xD1B54A32D192ED03;
  static constexpr std::uint64_t kNA = 0xBFBFEF;             // the bytes EF BF BF
  static constexpr std::uint64_t kLong = ~std::uint64_t{0};  // no text: the last byte of a short one is 0

  LevelKey(const char* text, std::size_t bytes) {
    if (bytes >= 8 && bytes < 16) {
      m_first = load<std::uint64_t>(text);
      m_second = ending(text, bytes);
    } else if (bytes < 8) {
      m_first = start(text, bytes);
    } else if (bytes <= kMostBytes) {
      m_first = load<std::uint64_t>(text);
      m_second = load<std::uint64_t>(text + 8);
      m_last = ending(text, bytes);
    } else {
      takeLong(text, bytes);
    }
  }

  void takeLong(const char* text, std::size_t bytes) {
    m_first = bytes;
    m_second = load<std::uint64_t>(text + bytes - 8);
    m_last = kLong;
    for (; bytes > 8; bytes -= 8, text += 8) m_first = mix(m_first ^ load<std::uint64_t>(text), kFactor);
  }

  template <class Number>
  static Number load(const char* text) {
    Number number;
    std::memcpy(&number, text, sizeof number);
    return number;
  }

  // The bytes after the last whole multiple of 8, of a text of 8 bytes or more.
  static std::uint64_t ending(const char* text, std::size_t bytes) {
    return load<std::uint64_t>(text + bytes - 8) >> 8 >> 8 * (7 - bytes % 8);
  }

  // A text of less than 8 bytes, in moves that may overlap.
  static std::uint64_t start(const char* text, std::size_t bytes) {
    if (bytes >= 4) {
      const std::uint64_t last = load<std::uint32_t>(text + bytes - 4);
      return load<std::uint32_t>(text) | last >> 8 * (8 - bytes) << 32;
    }
    if (bytes == 0) return 0;
    const auto byteAt = [text](std::size_t at) {
      return std::uint64_t{static_cast<unsigned char>(text[at])} << 8 * at;
    };
    return byteAt(0) | byteAt(bytes / 2) | byteAt(bytes - 1);
  }

  static std::uint64_t mix(std::uint64_t a, std::uint64_t b) {
    __extension__ using Product = unsigned __int128;
    const Product product = static_cast<Product>(a) * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
  }

  std::uint64_t m_first = 0;
  std::uint64_t m_second = 0;
  std::uint64_t m_last = 0;
};
