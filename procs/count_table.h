// Counters for the combinations of levels of a few factor columns, and the count records behind them.
//
// A row costs one increment.  What it means for the records, one for every prefix of the combination, waits until
// settle().  A cell of the table is a combination of slots, one per position.  Invariants:
//  (1) A counter holds the rows of its cell that the records do not count yet.
//  (2) m_touched holds every cell whose counter is not 0, once, in the order of their first rows since settle().
//  (3) The first m_linked of them have a chain of records.  A chain once found stays the right one: lists only grow.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "ZRBProcCount.h"
#include "procs/level_slot.h"

class CountTable {
public:
  static constexpr int kMaxPositions = 10;
  static constexpr std::size_t kMaxCells = std::size_t{1} << 22;  // 8 bytes each, but only pages in use take memory
  static constexpr long kBlockRows = 256;                         // whose cells are looked for at once

  // Rows to be counted: the first one, the bytes from one to the next, and by position where the cell is in a row.
  struct Rows {
    const char* first;
    long strideBytes;
    long rows;
    const long* offsets;
  };

  int positions() const { return static_cast<int>(m_widths.size()); }  // 0: not laid out

  // Empties the table and gives each position as many slots as wanted, 1 to kMaxLevelSlots.
  // False: too many cells; the table is not laid out.
  bool layOut(const std::size_t* widths, int positions);
  void clear();

  // Makes room for a combination, with some to spare.  False: too many cells, or not laid out; nothing changes.
  bool widen(const std::size_t* slots);

  // The counters themselves.  Where one is not 0, rows may be added to it.
  std::uint32_t* counters() { return m_counters.get(); }
  std::size_t cells() const { return m_cells; }

  // Counts one row of a table of one position.
  void countSlot(std::size_t slot) {
    if (slot >= m_cells) widenTo(slot);
    if (m_counters[slot]++ == 0) touch(slot);
  }

  // Counts rows up to the first one whose combination has no cell; how many.  REQUIRES: fewer than 2^32 rows altogether
  // since settle().
  long countRows(const Rows& rows);

  // Gives records to the cells that have none yet, in the order of their first rows: find(slots, chain) stores the
  // record of each position in chain[position].
  template <class Find>
  void link(Find find) {
    for (; m_linked < m_touched.size(); ++m_linked) {
      std::uint32_t& chain = m_chains[m_touched[m_linked]];
      if (chain != 0) continue;
      const Slots slots = slotsOf(m_touched[m_linked]);
      const std::size_t at = m_records.size();
      m_records.resize(at + m_widths.size());
      find(slots.at, &m_records[at]);
      chain = static_cast<std::uint32_t>(at / m_widths.size() + 1);
    }
  }

  // Brings the records up to date.  REQUIRES: link() since the last row.
  void settle(std::vector<ZRBProcCountCountInfo>& records);

private:
  struct Slots {
    std::size_t at[kMaxPositions];
  };
  struct Free {
    void operator()(std::uint32_t* cells) const { std::free(cells); }
  };
  using Cells = std::unique_ptr<std::uint32_t[], Free>;

  static std::size_t cellsOf(const std::size_t* widths, int positions);
  static Cells zeroed(std::size_t cells);
  Slots slotsOf(std::size_t cell) const;
  std::size_t cellOf(const Slots& slots) const;
  long findCells(const Rows& rows, long from, long count, std::uint32_t* cells) const;
  void widenTo(std::size_t slot);
  [[gnu::cold, gnu::noinline]] void touch(std::size_t cell);

  std::vector<std::size_t> m_widths;  // by position
  std::size_t m_cells = 0;
  Cells m_counters;
  Cells m_chains;                        // by cell: 1 + number of its chain; 0 = none
  std::vector<int> m_records;            // chain after chain: a record for each position
  std::vector<std::uint32_t> m_touched;  // cells
  std::size_t m_linked = 0;
};
