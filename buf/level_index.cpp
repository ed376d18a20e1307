// How does the index of a level dictionary follow its changes?
#include "buf/level_index.h"

std::uint64_t LevelIndex::nextStamp() {
  static std::uint64_t latest = 0;
  return ++latest;
}

void LevelIndex::insert(const Names& names, long level) {
  const char* name = names[static_cast<std::size_t>(level)].get();
  const LevelKey key(name);
  if (const std::size_t slot = findSlot(names, name, key); slot != kNowhere) {
    std::int32_t& lowest = m_slots[slot].level;
    long further = level;
    if (level < lowest) {
      m_stamp = nextStamp();
      further = lowest;
      lowest = static_cast<std::int32_t>(level);
    }
    m_duplicates[name].insert(further);
    return;
  }
  if (2 * (m_used + 1) > m_slots.size()) grow();
  place({key, hashOf(key), static_cast<std::int32_t>(level)});
  ++m_used;
}

void LevelIndex::erase(const Names& names, long level) {
  m_stamp = nextStamp();
  const char* name = names[static_cast<std::size_t>(level)].get();
  const std::size_t slot = findSlot(names, name, LevelKey(name));
  const auto duplicates = m_duplicates.find(name);
  if (duplicates == m_duplicates.end()) return removeSlot(slot);
  std::set<long>& further = duplicates->second;
  if (m_slots[slot].level == level) {
    m_slots[slot].level = static_cast<std::int32_t>(*further.begin());
    further.erase(further.begin());
  } else {
    further.erase(level);
  }
  if (further.empty()) m_duplicates.erase(duplicates);
}

void LevelIndex::grow() {
  std::vector<Slot> old(m_slots.empty() ? 16 : 2 * m_slots.size(), Slot{LevelKey(""), 0, -1});
  old.swap(m_slots);
  m_mask = m_slots.size() - 1;
  for (const Slot& entry : old)
    if (entry.level >= 0) place(entry);
}

void LevelIndex::place(const Slot& entry) {
  std::size_t slot = entry.hash & m_mask;
  while (m_slots[slot].level >= 0) slot = (slot + 1) & m_mask;
  m_slots[slot] = entry;
}

// Closes the gap: each following entry that may stand in it moves up, so that no probe meets an empty slot too early.
void LevelIndex::removeSlot(std::size_t gap) {
  for (std::size_t slot = (gap + 1) & m_mask; m_slots[slot].level >= 0; slot = (slot + 1) & m_mask) {
    const std::size_t distanceFromHome = (slot - m_slots[slot].hash) & m_mask;
    const std::size_t distanceFromGap = (slot - gap) & m_mask;
    if (distanceFromHome < distanceFromGap) continue;
    m_slots[gap] = m_slots[slot];
    gap = slot;
  }
  m_slots[gap].level = -1;
  --m_used;
}
