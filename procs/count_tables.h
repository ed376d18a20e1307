// The tables of a count node: one for each factor column, one for the cross-tabulation.
#pragma once

#include <vector>

#include "procs/count_table.h"

class CountTables {
public:
  using Records = std::vector<ZRBProcCountCountInfo>;
  static constexpr long kMaxPending = 0xFFFFFFFF;  // rows that a counter can hold

  explicit CountTables(Records& records, long maxPending = kMaxPending)
      : m_records(records), m_max_pending(maxPending) {}

  // Forgets everything, also what is not settled.
  void clear() {
    m_levels.clear();
    m_cross.clear();
    m_pending = 0;
  }
  void clearCross() {
    settle();
    m_cross.clear();
  }

  // Makes the table of a factor column, with so many slots, unless it is there.
  void makeLevels(int column, std::size_t slots) {
    const std::size_t at = static_cast<std::size_t>(column);
    if (at >= m_levels.size()) m_levels.resize(at + 1);
    if (m_levels[at].positions() == 0) m_levels[at].layOut(&slots, 1);
  }
  CountTable& levels(int column) { return m_levels[static_cast<std::size_t>(column)]; }
  CountTable& cross() { return m_cross; }

  // To be called before rows are counted, with their number, at most kMaxPending.
  void expect(long rows) {
    if (rows > m_max_pending - m_pending) settle();
    m_pending += rows;
  }

  // Brings the records up to date.  Costs no more than counting the rows since the last time.
  void settle() {
    if (m_pending == 0) return;
    for (CountTable& table : m_levels) table.settle(m_records);
    m_cross.settle(m_records);
    m_pending = 0;
  }

private:
  Records& m_records;
  long m_max_pending;
  long m_pending = 0;                // rows that a counter may hold
  std::vector<CountTable> m_levels;  // by column
  CountTable m_cross;
};
