// Shortcuts from the level slots of a row to count records, for cross-tabulations too large for a table of counters.
//
// A record that a list once held for a value is the one it holds for that value until the lists are cleared: lists only
// grow.  So what has been found may be remembered, whatever else happens to the lists.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <vector>

class CountCache {
public:
  static constexpr int kNone = -1;
  static constexpr std::size_t kMaxChildren = 1 << 22;  // 16 MB

  void clear() {
    m_children.clear();
    m_firstChild.clear();
    m_rootChild = kNone;
    m_widths.clear();
  }

  // The number of slots at each position, with some to spare; what needs more than there was before forgets everything.
  void setWidths(const std::size_t* widths, int positions) {
    const auto fits = [](std::size_t kept, std::size_t wanted) { return std::bit_ceil(wanted) == kept; };
    if (std::equal(m_widths.begin(), m_widths.end(), widths, widths + positions, fits)) return;
    clear();
    for (int p = 0; p < positions; ++p) m_widths.push_back(std::bit_ceil(widths[p]));
  }

  // The place that remembers the child of `parent` (kNone at the first position) in `slot`; null when the position has
  // no such slot, or the memory for that is used up.  Valid until the next call.
  int* child(int parent, std::size_t slot, int position) {
    const std::size_t width = m_widths[static_cast<std::size_t>(position)];
    if (slot >= width) return nullptr;
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

  std::vector<int> m_children;    // runs of slots
  std::vector<int> m_firstChild;  // by parent record: where its run starts
  int m_rootChild = kNone;
  std::vector<std::size_t> m_widths;  // by position
};
