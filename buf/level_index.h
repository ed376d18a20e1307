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

#include "buf/level_key.h"
#include "buf/level_translation.h"

class LevelIndex {
public:
  using Names = std::vector<std::unique_ptr<char[]>>;

  // The lowest level named `text`, whose key is `key`; -1 when there is none.
  long find(const Names& names, const char* text, const LevelKey& key) const {
    const std::size_t slot = findSlot(names, text, key);
    return slot == kNowhere ? -1 : m_slots[slot].level;
  }
  long find(const Names& names, const char* text) const { return find(names, text, LevelKey(text)); }

  // names[level] has just been stored.
  void insert(const Names& names, long level);

  // names[level] is about to go.
  void erase(const Names& names, long level);

  // Differs from that of every other dictionary, and changes whenever a text is no longer found, or found as another
  // level.
  std::uint64_t stamp() const { return m_stamp; }

  // Of the levels of another dictionary into those of this one.
  LevelTranslation& translation() { return m_translation; }

private:
  struct alignas(32) Slot {
    LevelKey key;
    std::uint32_t hash;
    std::int32_t level;  // -1: the slot is empty
  };
  static constexpr std::size_t kNowhere = ~std::size_t{0};

  static std::uint32_t hashOf(const LevelKey& key) { return static_cast<std::uint32_t>(key.hash()); }

  std::size_t findSlot(const Names& names, const char* text, const LevelKey& key) const {
    if (m_slots.empty()) return kNowhere;
    for (std::size_t slot = hashOf(key) & m_mask;; slot = (slot + 1) & m_mask) {
      const Slot& candidate = m_slots[slot];
      if (candidate.level < 0) return kNowhere;
      if (candidate.key == key &&
          (key.isText() || std::strcmp(names[static_cast<std::size_t>(candidate.level)].get(), text) == 0))
        return slot;
    }
  }
  static std::uint64_t nextStamp();
  void grow();
  void place(const Slot& entry);
  void removeSlot(std::size_t slot);

  std::vector<Slot> m_slots;  // a power of two, at most half full
  std::size_t m_mask = 0;
  std::size_t m_used = 0;
  std::unordered_map<std::string, std::set<long>> m_duplicates;
  std::uint64_t m_stamp = nextStamp();
  LevelTranslation m_translation;
};
