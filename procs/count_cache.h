// Shortcuts from the level codes of a row to count records.
//
// A record that a list once held for a value is the one it holds for that value until the lists are cleared: lists only
// grow.  So what has been found may be remembered, whatever else happens to the lists.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

class CountCache {
public:
  static constexpr int kNone = -1;
  static constexpr std::size_t kCodes = 65536;
  static constexpr std::size_t kMaxChildren = 1 << 22;  // 16 MB

  void clear() {
    m_levels.clear();
    clearCross();
  }

  // The records of one column's values by level code; kNone where none is known.
  std::vector<int>& levels(int column, std::size_t codes) {
    const std::size_t at = static_cast<std::size_t>(column);
    if (at >= m_levels.size()) m_levels.resize(at + 1);
    if (m_levels[at].size() < codes) m_levels[at].resize(codes, kNone);
    return m_levels[at];
  }

  // ---- Cross-tabulation: (record of the position before, slot of the level) -> record ----
  void clearCross() {
    m_children.clear();
    m_firstChild.clear();
    m_rootChild = kNone;
    m_widths.clear();
  }

  // The number of slots at each position; other widths than before forget everything.
  void setWidths(const std::size_t* widths, int positions) {
    if (std::equal(m_widths.begin(), m_widths.end(), widths, widths + positions)) return;
    clearCross();
    m_widths.assign(widths, widths + positions);
  }

  // The place that remembers the child of `parent` (kNone at the first position) in `slot`, of `width` slots; null when
  // the memory for that is used up.  Valid until the next call.
  int* child(int parent, std::size_t slot, std::size_t width) {
    int& first = firstChild(parent);
    if (first == kNone) {
      if (m_children.size() + width > kMaxChildren) return nullptr;
      first = static_cast<int>(m_children.size());
      m_children.resize(m_children.size() + width, kNone);
    }
    return &m_children[static_cast<std::size_t>(first) + slot];
  }

private:
  int& firstChild(int parent) {
    if (parent == kNone) return m_rootChild;
    const std::size_t at = static_cast<std::size_t>(parent);
    if (at >= m_firstChild.size()) m_firstChild.resize(2 * at + 1, kNone);
    return m_firstChild[at];
  }

  std::vector<std::vector<int>> m_levels;  // by column, then level code
  std::vector<int> m_children;             // runs of slots
  std::vector<int> m_firstChild;           // by parent record: where its run starts
  int m_rootChild = kNone;
  std::vector<std::size_t> m_widths;  // by position
};
