// How is a value found in a sorted list of count records, or inserted where it belongs?
#include "procs/count_lists.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

namespace {

constexpr std::size_t kMinCapacity = 100;

// Scatters record numbers, so that the heights of towers do not depend on the order of insertion (the finalizer of
// SplitMix64: Steele, Lea, Flood, OOPSLA 2014).
std::uint64_t scatter(std::uint64_t number) {
  number = (number ^ (number >> 30)) * 0xBF58476D1CE4E5B9;
  number = (number ^ (number >> 27)) * 0x94D049BB133111EB;
  return number ^ (number >> 31);
}

bool sameValue(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

}  // namespace

void CountLists::clear() {
  m_records.clear();
  m_towers.clear();
  m_links.clear();
  m_elements.clear();
  m_linkedByHand = false;
}

int CountLists::append() {
  m_elements.clear();
  const std::size_t size = m_records.size();
  if (size == m_records.capacity()) m_records.reserve(std::max(2 * size, kMinCapacity));
  m_records.push_back({0.0, 0, kNone, kNone});
  const int height = std::min(std::countr_zero(scatter(size + 1)) / 2, kMaxHeight);
  m_towers.push_back({height, static_cast<int>(m_links.size())});
  m_links.resize(m_links.size() + static_cast<std::size_t>(height), kNone);
  return static_cast<int>(size);
}

int CountLists::appendForHost() {
  m_linkedByHand = true;
  return append();
}

int CountLists::find(int head, double value) const {
  if (!isRecord(head)) return kNone;
  if (sameValue(record(head).value, value)) return head;
  if (std::isnan(value) || record(head).value > value) return kNone;
  const int next = record(search(head, value).before).next;
  return next >= 0 && record(next).value == value ? next : kNone;
}

int CountLists::findOrInsert(int& head, double value) {
  if (!isRecord(head)) {
    head = append();
    record(head).value = value;
    return head;
  }
  if (sameValue(record(head).value, value)) return head;
  if (std::isnan(value) || record(head).value > value) {
    Position front{kNone, {}};
    std::fill(std::begin(front.passed), std::end(front.passed), kNone);
    return head = insertBetween(front, head, value);
  }
  const Position position = search(head, value);
  const int next = record(position.before).next;
  if (next >= 0 && record(next).value == value) return next;
  return insertBetween(position, next, value);
}

const std::vector<int>& CountLists::elements(int head) {
  if (m_linkedByHand) m_elements.clear();
  const auto [entry, isNew] = m_elements.try_emplace(head);
  if (isNew)
    for (int index = head; isRecord(index); index = record(index).next) entry->second.push_back(index);
  return entry->second;
}

// The next record at least `level` high, as far as links tell; level 0 is the list itself.
int CountLists::forward(int index, int level) const {
  if (level == 0) return record(index).next;
  return m_links[static_cast<std::size_t>(tower(index).firstLink + level - 1)];
}

// Where `value` belongs in the list from `head`, whose first record is NaN or below `value`.
CountLists::Position CountLists::search(int head, double value) const {
  Position position{head, {}};
  std::fill(std::begin(position.passed), std::end(position.passed), kNone);
  for (int level = height(head); level >= 0;) {
    const int next = forward(position.before, level);
    if (next >= 0 && record(next).value < value) {
      position.before = next;
      level = height(next);
    } else {
      position.passed[level--] = position.before;
    }
  }
  return position;
}

// The first record from `index` on that is at least `level` high.
int CountLists::firstAsHighAs(int level, int index) const {
  while (index >= 0 && height(index) < level) index = forward(index, height(index));
  return index;
}

int CountLists::insertBetween(const Position& position, int successor, double value) {
  const int index = append();
  record(index).value = value;
  record(index).next = successor;
  if (position.before >= 0) record(position.before).next = index;
  for (int level = 1; level <= height(index); ++level) {
    const int passed = position.passed[level];
    link(index, level) = firstAsHighAs(level, passed >= 0 ? link(passed, level) : successor);
    if (passed >= 0) link(passed, level) = index;
  }
  return index;
}
