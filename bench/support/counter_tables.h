// Levels counted in tables of plain counters: what a minimal loop over the rows needs.
//
// The counters have 32 bits, enough for the rows of a benchmark.
#pragma once

#include <cstring>
#include <vector>

#include "answers.h"
#include "packed_rows.h"
#include "zrbbase.h"

namespace bench {

// A level number as the row holds it, high byte first; NA is 0xFFFF.
inline unsigned levelCode(const char* cell) {
  unsigned short code;
  std::memcpy(&code, cell, 2);
  return __builtin_bswap16(code);
}

// One table of counters for one column.
class LevelCounters {
public:
  LevelCounters() : m_counts(65536) {}

  void add(const char* cells, long rowBytes, long rows) {
    unsigned* const counts = m_counts.data();
    for (long row = 0; row < rows; ++row, cells += rowBytes) ++counts[levelCode(cells)];
  }
  long long count(long level) const { return m_counts[static_cast<std::size_t>(level) & 0xFFFF]; }  // -1: NA

private:
  std::vector<unsigned> m_counts;
};

// A table of counters for all combinations of up to three neighbouring columns.  Only whole combinations are counted
// row by row: a prefix is a sum over the table, to be taken at the end.
class CombinationCounters {
public:
  // `levels` of each column; each gets as many bits as leave a number for NA, whose bits are all set.
  explicit CombinationCounters(std::vector<long> levels) {
    int bits = 0;
    for (const long count : levels) {
      m_bits.push_back(0);
      while ((1L << m_bits.back()) - 1 < count) ++m_bits.back();
      bits += m_bits.back();
    }
    m_counts.resize(std::size_t{1} << bits);
  }

  void add(const char* cells, long rowBytes, long rows) {
    if (m_bits.size() == 2)
      addPairs(cells, rowBytes, rows);
    else
      addTriples(cells, rowBytes, rows);
  }

  // Of the rows whose first columns hold `prefix`; -1 is NA.
  long long count(const std::vector<long>& prefix) const {
    std::size_t first = 0, width = m_counts.size();
    for (std::size_t p = 0; p < prefix.size(); ++p) {
      width >>= m_bits[p];
      first += width * (static_cast<std::size_t>(prefix[p]) & mask(p));
    }
    long long sum = 0;
    for (std::size_t i = first; i < first + width; ++i) sum += m_counts[i];
    return sum;
  }

private:
  std::size_t mask(std::size_t position) const { return (std::size_t{1} << m_bits[position]) - 1; }

  void addPairs(const char* cells, long rowBytes, long rows) {
    unsigned* const counts = m_counts.data();
    const int shift = m_bits[1];
    const std::size_t mask0 = mask(0), mask1 = mask(1);
#pragma GCC unroll 4
    for (long row = 0; row < rows; ++row, cells += rowBytes)
      ++counts[(levelCode(cells) & mask0) << shift | (levelCode(cells + 2) & mask1)];
  }
  void addTriples(const char* cells, long rowBytes, long rows) {
    unsigned* const counts = m_counts.data();
    const int shift1 = m_bits[1], shift2 = m_bits[2];
    const std::size_t mask0 = mask(0), mask1 = mask(1), mask2 = mask(2);
#pragma GCC unroll 4
    for (long row = 0; row < rows; ++row, cells += rowBytes) {
      const std::size_t pair = (levelCode(cells) & mask0) << shift1 | (levelCode(cells + 2) & mask1);
      ++counts[pair << shift2 | (levelCode(cells + 4) & mask2)];
    }
  }

  std::vector<int> m_bits;
  std::vector<unsigned> m_counts;
};

// How often the rows, taken in rounds until `rowsTaken`, hold each level of a column; the last entry is NA.
inline std::vector<long long> expectedLevels(const PackedRows& rows, long column, long rowsTaken) {
  std::vector<long long> counts(65536);
  for (long row = 0; row < rowsTaken; ++row) ++counts[rows.getLevel(row % rows.numRows(), column) & 0xFFFF];
  return counts;
}

// Ends the program unless the column's value list holds just these levels.
inline void checkLevels(ZRBProcCount& node, long column, const std::vector<long long>& expected) {
  int index = node.getColumnInfo(static_cast<int>(column))->level_list;
  const auto take = [&](double value, long long count) {
    const ZRBProcCountCountInfo* record = node.getCountInfo(index);
    if (!record) fail("column %ld: a level is missing", column);
    if (value < 0 ? record->value == record->value : record->value != value)
      fail("column %ld: level %g where %g should be", column, record->value, value);
    requireEqual(record->count, count, "count of a level");
    index = record->next;
  };
  if (expected[0xFFFF] > 0) take(-1, expected[0xFFFF]);
  for (int level = 0; level < 0xFFFF; ++level)
    if (expected[static_cast<std::size_t>(level)] > 0) take(level, expected[static_cast<std::size_t>(level)]);
  if (index != -1) fail("column %ld: more levels than expected", column);
}

}  // namespace bench
