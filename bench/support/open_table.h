// A hash table of texts with open addressing: the least that a lookup of a text costs.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace bench {

__extension__ typedef unsigned __int128 DoubleWord;

// Eight bytes at a time, mixed by the upper and lower half of a 128-bit product.
inline std::uint64_t hashOf(const char* text, std::size_t length) {
  constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15;
  const auto mix = [](std::uint64_t a, std::uint64_t b) {
    const DoubleWord product = static_cast<DoubleWord>(a) * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
  };
  std::uint64_t hash = length * kFactor;
  for (; length > 8; length -= 8, text += 8) {
    std::uint64_t piece;
    std::memcpy(&piece, text, 8);
    hash = mix(hash ^ piece, kFactor);
  }
  // The last 1 to 8 bytes in two moves that may overlap.
  std::uint64_t rest = 0;
  if (length >= 4) {
    std::uint32_t low, high;
    std::memcpy(&low, text, 4);
    std::memcpy(&high, text + length - 4, 4);
    rest = static_cast<std::uint64_t>(high) << 32 | low;
  } else if (length > 0) {
    const auto byteAt = [text](std::size_t at) {
      return static_cast<std::uint64_t>(static_cast<unsigned char>(text[at]));
    };
    rest = byteAt(0) << 16 | byteAt(length / 2) << 8 | byteAt(length - 1);
  }
  return mix(hash ^ rest, kFactor);
}

class OpenTable {
public:
  explicit OpenTable(const std::vector<std::string>& names) {
    std::size_t slots = 16;
    while (slots < 2 * names.size()) slots *= 2;
    m_slots.resize(slots, Slot{0, -1});
    m_mask = slots - 1;
    for (std::size_t i = 0; i < names.size(); ++i) {
      m_starts.push_back(m_texts.size());
      m_texts.insert(m_texts.end(), names[i].c_str(), names[i].c_str() + names[i].size() + 1);
      const std::uint64_t hash = hashOf(names[i].data(), names[i].size());
      std::size_t at = hash & m_mask;
      while (m_slots[at].number >= 0) at = (at + 1) & m_mask;
      m_slots[at] = {static_cast<std::uint32_t>(hash >> 32), static_cast<std::int32_t>(i)};
    }
  }

  // -1: not there.
  long find(const char* text) const {
    const std::size_t length = std::strlen(text);
    const std::uint64_t hash = hashOf(text, length);
    for (std::size_t at = hash & m_mask; m_slots[at].number >= 0; at = (at + 1) & m_mask)
      if (m_slots[at].hash == static_cast<std::uint32_t>(hash >> 32) &&
          std::memcmp(m_texts.data() + m_starts[static_cast<std::size_t>(m_slots[at].number)], text, length + 1) == 0)
        return m_slots[at].number;
    return -1;
  }

private:
  struct Slot {
    std::uint32_t hash;
    std::int32_t number;  // -1: empty
  };

  std::vector<Slot> m_slots;
  std::size_t m_mask = 0;
  std::vector<std::size_t> m_starts;
  std::vector<char> m_texts;
};

}  // namespace bench
