// Which level is a text of a factor column?  What has been found before is found again without asking the buffer.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

namespace zrbtool {

// Remembers short texts in a hash table with open addressing, as many of them as kMostTexts.
class LevelMemory {
public:
  // So many bytes from the beginning of a text on are read.
  static constexpr std::size_t kReadableBytes = 16;

  // Its level; -1 for a text that is not remembered.
  // REQUIRES: kReadableBytes may be read, whatever they are; no text has NULs.
  long find(std::string_view text) const {
    if (text.empty() || text.size() > kLongestText || m_slots.empty()) return -1;
    const Key key(text);
    return m_slots[slotOf(key)].level;
  }

  // REQUIRES: as for find(); find() has given -1; level >= 0.
  void remember(std::string_view text, long level) {
    if (text.empty() || text.size() > kLongestText || m_used == kMostTexts) return;
    if (2 * m_used >= m_slots.size()) grow();
    const Key key(text);
    m_slots[slotOf(key)] = {key, level};
    ++m_used;
  }

private:
  static constexpr std::size_t kLongestText = 16;
  static constexpr std::size_t kMostTexts = 4096;
  static constexpr std::size_t kLeastSlots = 64;

  // The text itself, with NULs behind.
  struct Key {
    std::uint64_t first = 0;
    std::uint64_t second = 0;

    Key() = default;
    explicit Key(std::string_view text) : first(eight(text.data(), text.size())) {
      if (text.size() > 8) second = eight(text.data() + 8, text.size() - 8);
    }
    bool operator==(const Key& other) const { return first == other.first && second == other.second; }

    // Of `size` bytes the first eight, the first one lowest.
    static std::uint64_t eight(const char* bytes, std::size_t size) {
      std::uint64_t word;
      std::memcpy(&word, bytes, sizeof word);
      return size < 8 ? word & ((std::uint64_t{1} << (8 * size)) - 1) : word;
    }
    std::size_t hash() const {
      const std::uint64_t mixed = (first ^ std::rotl(second, 29)) * 0x9E3779B97F4A7C15;
      return static_cast<std::size_t>((mixed ^ mixed >> 32) * 0x9E3779B97F4A7C15 >> 32);
    }
  };
  struct Slot {
    Key key;
    long level = -1;  // of an empty slot
  };

  // That of the key, or the empty one where it belongs.  The table is at most half full.
  std::size_t slotOf(const Key& key) const {
    const std::size_t mask = m_slots.size() - 1;  // a power of two, less one
    std::size_t at = key.hash() & mask;
    while (m_slots[at].level >= 0 && !(m_slots[at].key == key)) at = (at + 1) & mask;
    return at;
  }

  void grow() {
    std::vector<Slot> before(m_slots.empty() ? kLeastSlots : 2 * m_slots.size());
    before.swap(m_slots);
    for (const Slot& slot : before)
      if (slot.level >= 0) m_slots[slotOf(slot.key)] = slot;
  }

  std::vector<Slot> m_slots;
  std::size_t m_used = 0;
};

}  // namespace zrbtool
