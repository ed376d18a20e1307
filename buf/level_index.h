// Finds the level of a text in a level dictionary without walking it.
//
// Invariants, for a dictionary `names` that every change is reported to:
//  (1) Each distinct name has one slot, which holds the lowest level of that name.
//  (2) Its further levels, if any, are in m_duplicates.
//  (3) A slot is reached from its hash by linear probing without passing an empty slot.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

class LevelIndex {
public:
  using Names = std::vector<std::unique_ptr<char[]>>;

  // The lowest level named `text`; -1 when there is none.
  long find(const Names& names, const char* text) const {
    const std::size_t slot = findSlot(names, text, hashOf(text));
    return slot == kNowhere ? -1 : m_slots[slot].level;
  }

  // names[level] has just been stored.
  void insert(const Names& names, long level);

  // names[level] is about to go.
  void erase(const Names& names, long level);

private:
  struct Slot {
    std::uint32_t hash;
    std::int32_t level;  // -1: the slot is empty
  };
  static constexpr std::size_t kNowhere = ~std::size_t{0};

  static std::uint32_t hashOf(const char* text);

  std::size_t findSlot(const Names& names, const char* text, std::uint32_t hash) const {
    if (m_slots.empty()) return kNowhere;
    for (std::size_t slot = hash & m_mask;; slot = (slot + 1) & m_mask) {
      const Slot& candidate = m_slots[slot];
      if (candidate.level < 0) return kNowhere;
      if (candidate.hash == hash && std::strcmp(names[static_cast<std::size_t>(candidate.level)].get(), text) == 0)
        return slot;
    }
  }
  void grow();
  void place(Slot entry);
  void removeSlot(std::size_t slot);

  std::vector<Slot> m_slots;  // a power of two, at most half full
  std::size_t m_mask = 0;
  std::size_t m_used = 0;
  std::unordered_map<std::string, std::set<long>> m_duplicates;
};

// Multiplicative hash over 8-byte pieces; the factor is the golden ratio in 64 bits.
inline std::uint32_t LevelIndex::hashOf(const char* text) {
  constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15;
  std::size_t bytes = std::strlen(text);
  std::uint64_t hash = bytes;
  const auto mix = [&hash](std::uint64_t piece) {
    hash = (hash ^ piece) * kFactor;
    hash ^= hash >> 32;
  };
  for (; bytes >= 8; bytes -= 8, text += 8) {
    std::uint64_t piece;
    std::memcpy(&piece, text, 8);
    mix(piece);
  }
  // The last 0..7 bytes as one number, in moves of fixed size.
  std::uint64_t rest = 0;
  if (bytes & 4) {
    std::uint32_t piece;
    std::memcpy(&piece, text, 4);
    rest = piece;
    text += 4;
  }
  if (bytes & 2) {
    std::uint16_t piece;
    std::memcpy(&piece, text, 2);
    rest = rest << 16 | piece;
    text += 2;
  }
  if (bytes & 1) rest = rest << 8 | static_cast<unsigned char>(*text);
  mix(rest);
  return static_cast<std::uint32_t>(hash);
}
