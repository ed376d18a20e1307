// Tables of counters: cells, growth, and what settles into the records.
#include "procs/count_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <limits>
#include <map>
#include <random>
#include <vector>

#include "base/simd.h"
#include "procs/cell_kernels.h"
#include "procs/count_tables.h"

namespace {

using Records = CountTables::Records;
using Combination = std::vector<std::size_t>;  // slots

// Rows of level cells, two bytes each, with a byte in front so that cells are at odd addresses.
class LevelRows {
public:
  explicit LevelRows(int positions) : m_bytes(1) {
    for (int p = 0; p < positions; ++p) m_offsets.push_back(2L * p);
  }
  void add(const Combination& slots) {
    for (const std::size_t slot : slots) {
      const std::uint16_t code = static_cast<std::uint16_t>(slot - 1);  // NA, slot 0, has the last code
      m_bytes.push_back(static_cast<char>(code >> 8));
      m_bytes.push_back(static_cast<char>(code & 0xFF));
    }
    ++m_rows;
  }
  CountTable::Rows rows(long from = 0) const {
    const long stride = 2L * static_cast<long>(m_offsets.size());
    return {m_bytes.data() + 1 + from * stride, stride, m_rows - from, m_offsets.data()};
  }

private:
  std::vector<char> m_bytes;
  std::vector<long> m_offsets;
  long m_rows = 0;
};

// Gives every new cell one record per position, and remembers them.
class RecordMaker {
public:
  void link(CountTable& table) {
    table.link([&](const std::size_t* slots, int* chain) {
      const Combination combination(slots, slots + table.positions());
      EXPECT_EQ(m_chains.count(combination), 0u) << "linked twice";
      for (std::size_t p = 0; p < combination.size(); ++p) {
        chain[p] = static_cast<int>(records.size());
        m_chains[combination].push_back(chain[p]);
        records.push_back({0, 0, -1, -1});
      }
      order.push_back(combination);
    });
  }
  // At every position; -1 for a combination without records.
  std::vector<long long> counts(const Combination& combination) const {
    const auto found = m_chains.find(combination);
    if (found == m_chains.end()) return {-1};
    std::vector<long long> result;
    for (const int record : found->second) result.push_back(records[static_cast<std::size_t>(record)].count);
    return result;
  }

  Records records;
  std::vector<Combination> order;

private:
  std::map<Combination, std::vector<int>> m_chains;
};

}  // namespace

TEST(CountTable, counts_combinations_and_links_them_in_the_order_of_their_first_rows) {
  CountTable table;
  const std::size_t widths[] = {3, 4};
  ASSERT_TRUE(table.layOut(widths, 2));
  LevelRows rows(2);
  const std::vector<Combination> combinations = {{2, 1}, {0, 3}, {2, 1}, {2, 3}, {0, 0}, {0, 3}, {2, 1}};
  for (const Combination& combination : combinations) rows.add(combination);
  EXPECT_EQ(table.countRows(rows.rows()), 7);
  RecordMaker maker;
  maker.link(table);
  EXPECT_EQ(maker.order, (std::vector<Combination>{{2, 1}, {0, 3}, {2, 3}, {0, 0}}));
  EXPECT_EQ(maker.counts({2, 1}), (std::vector<long long>{0, 0})) << "not settled yet";
  table.settle(maker.records);
  EXPECT_EQ(maker.counts({2, 1}), (std::vector<long long>{3, 3}));
  EXPECT_EQ(maker.counts({0, 3}), (std::vector<long long>{2, 2}));
  EXPECT_EQ(maker.counts({0, 0}), (std::vector<long long>{1, 1}));
  table.settle(maker.records);
  EXPECT_EQ(maker.counts({2, 1}), (std::vector<long long>{3, 3})) << "settled once";
}

TEST(CountTable, stops_at_the_first_row_without_a_cell) {
  const std::size_t widths[] = {3, 4, 2};
  for (const Combination& outside : {Combination{3, 0, 0}, {0, 4, 0}, {0, 0, 2}, {65535, 65535, 65535}}) {
    for (const long before : {0L, 1L, 3L, 4L, 127L, 128L, 129L, 300L}) {
      SCOPED_TRACE(testing::Message() << outside[0] << ' ' << outside[1] << ' ' << outside[2] << " after " << before);
      CountTable table;
      ASSERT_TRUE(table.layOut(widths, 3));
      LevelRows rows(3);
      for (long row = 0; row < before; ++row) rows.add({2, 3, 1});
      rows.add(outside);
      rows.add({1, 1, 1});
      rows.add({9, 9, 9});
      ASSERT_EQ(table.countRows(rows.rows()), before);
      ASSERT_EQ(table.countRows(rows.rows(before + 1)), 1);
      RecordMaker maker;
      maker.link(table);
      table.settle(maker.records);
      EXPECT_EQ(maker.order.size(), before > 0 ? 2u : 1u);
      EXPECT_EQ(maker.counts({2, 3, 1})[0], before > 0 ? before : -1);
      EXPECT_EQ(maker.counts({1, 1, 1})[0], 1);
    }
  }
}

TEST(CountTable, widens_without_forgetting_records_or_rows) {
  std::mt19937 random(1);
  CountTable table;
  const std::size_t widths[] = {2, 1, 3};
  ASSERT_TRUE(table.layOut(widths, 3));
  RecordMaker maker;
  std::map<Combination, long long> expected;
  for (std::size_t step = 1; step < 40; ++step) {
    LevelRows rows(3);
    for (int i = 0; i < 100; ++i) {
      const Combination combination = {random() % (step + 1), random() % (1 + step / 5), random() % (2 + step / 3)};
      rows.add(combination);
      ++expected[combination];
    }
    for (long done = 0; done < 100;) {
      done += table.countRows(rows.rows(done));
      if (done == 100) break;
      Combination slots;  // of the row without a cell
      for (std::size_t p = 0; p < 3; ++p) slots.push_back(levelSlot(rows.rows(done).first + 2 * p));
      ASSERT_TRUE(table.widen(slots.data()));
    }
    if (step % 2 == 0) maker.link(table);  // widened with and without records to come
    if (step % 4 == 0) table.settle(maker.records);
  }
  maker.link(table);
  table.settle(maker.records);
  ASSERT_EQ(maker.order.size(), expected.size());
  for (const auto& [combination, rows] : expected) EXPECT_EQ(maker.counts(combination)[2], rows);
}

TEST(CountTable, of_one_position_takes_every_level) {
  CountTable table;
  const std::size_t width = 1;
  ASSERT_TRUE(table.layOut(&width, 1));
  for (const unsigned slot : {0u, 1u, 2u, 700u, 65535u, 65534u, 65535u}) table.countSlot(slot);
  RecordMaker maker;
  maker.link(table);
  table.settle(maker.records);
  EXPECT_EQ(maker.order.size(), 6u);
  EXPECT_EQ(maker.counts({65535})[0], 2);
  EXPECT_EQ(maker.counts({0})[0], 1);
}

TEST(CountTable, has_a_largest_size) {
  CountTable table;
  const std::size_t exact[] = {1 << 11, 1 << 11};
  ASSERT_TRUE(table.layOut(exact, 2));
  const std::size_t outside[] = {1 << 11, 0};
  EXPECT_FALSE(table.widen(outside));
  LevelRows rows(2);
  rows.add({2047, 2047});
  rows.add({2048, 0});
  EXPECT_EQ(table.countRows(rows.rows()), 1) << "unchanged";
  const std::size_t tooMany[] = {1 << 11, 1 + (1 << 11)};
  EXPECT_FALSE(table.layOut(tooMany, 2));
  EXPECT_EQ(table.positions(), 0);
  EXPECT_EQ(table.countRows(rows.rows()), 0);
  EXPECT_FALSE(table.widen(outside));
  const std::size_t huge[] = {65536, 65536, 65536, 65536, 65536, 65536, 65536, 65536, 65536, 65536};  // 2^160
  EXPECT_FALSE(table.layOut(huge, 10));
}

TEST(CountTables, settle_before_a_counter_could_overflow) {
  Records records;
  CountTables tables(records, 5);
  tables.makeLevels(0, 2);
  const auto countOne = [&] {
    tables.levels(0).countSlot(1);
    tables.levels(0).link([&](const std::size_t*, int* chain) {
      chain[0] = static_cast<int>(records.size());
      records.push_back({0, 0, -1, -1});
    });
  };
  const long long settled[] = {0, 0, 0, 0, 0, 5, 5, 5, 5, 5, 10};  // after 1, 2, ... rows
  for (const long long expected : settled) {
    tables.expect(1);
    countOne();
    EXPECT_EQ(records[0].count, expected);
  }
  tables.settle();
  EXPECT_EQ(records[0].count, static_cast<long long>(std::size(settled)));
}

TEST(CountTables, a_counter_holds_as_many_rows_as_may_be_pending) {
  EXPECT_EQ(CountTables::kMaxPending, static_cast<long>(std::numeric_limits<std::uint32_t>::max()));
}

TEST(CellKernels, of_all_targets_give_the_same_cells) {
  std::vector<cell_kernel::AddPosition> targets = {cell_kernel::kBaselineAddPosition};
  if (bestSimd() != Simd::baseline) targets.push_back(cell_kernel::kAvx2AddPosition);
  std::mt19937 random(3);
  for (const cell_kernel::AddPosition addPosition : targets)
    for (long rows = 0; rows <= 130; ++rows) {
      std::vector<std::uint16_t> slots, expectedSlots;
      std::vector<std::uint32_t> cells, expectedCells;
      const std::uint32_t width = 1 + static_cast<std::uint32_t>(random() % 65536);
      for (long row = 0; row < rows; ++row) {
        const unsigned code = random() % 9 == 0 ? 0xFFFF : random() & 0xFFFF;
        slots.push_back(static_cast<std::uint16_t>((code & 0xFF) << 8 | code >> 8));
        expectedSlots.push_back(static_cast<std::uint16_t>(code == 0xFFFF ? 0 : code + 1));
        cells.push_back(random() % 64);
        expectedCells.push_back(cells.back() * width + expectedSlots.back());
      }
      const std::uint16_t greatest = rows > 0 ? *std::max_element(expectedSlots.begin(), expectedSlots.end()) : 0;
      EXPECT_EQ(addPosition(slots.data(), rows, width, cells.data()), greatest) << rows;
      EXPECT_EQ(slots, expectedSlots);
      EXPECT_EQ(cells, expectedCells);
    }
}
