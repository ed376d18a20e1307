// The cross-tabulation of the count node: every combination and every prefix of it, counted in lists of lists.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "ZRBMemoryBuf.h"
#include "ZRBPipeline.h"
#include "ZRBProcCount.h"
#include "support/CountFlow.h"
#include "support/CountModel.h"
#include "support/Harness.h"
#include "support/TableSource.h"

namespace {

constexpr auto kDouble = ZRBBuf::column_double;
constexpr auto kFactor = ZRBBuf::column_factor;

void setCross(ZRBProcCount& node, const std::vector<int>& columns) {
  node.setCrossSize(static_cast<int>(columns.size()));
  for (std::size_t position = 0; position < columns.size(); ++position) {
    node.setCrossColumn(static_cast<int>(position), columns[position]);
  }
}

// ---- Settings ----

TEST(CountCrossSettings, a_new_node_has_no_cross_tabulation) {
  ZRBProcCount node;
  EXPECT_EQ(node.getCrossSize(), 0);
  EXPECT_EQ(node.getCrossCount(), 0);
}

TEST(CountCrossSettings, the_size_is_at_most_10) {
  ZRBProcCount node;
  struct {
    int given, kept;
  } const cases[] = {{1, 1}, {10, 10}, {11, 10}, {12, 10}, {2147483647, 10}, {0, 0}, {-3, -3}};
  for (const auto& c : cases) {
    node.setCrossSize(c.given);
    EXPECT_EQ(node.getCrossSize(), c.kept) << c.given;
  }
}

TEST(CountCrossSettings, there_are_10_positions) {
  ZRBProcCount node;
  for (int position = 0; position < 10; ++position) node.setCrossColumn(position, 100 + position);
  node.setCrossColumn(10, 999);
  node.setCrossColumn(2147483647, 999);
  for (int position = 0; position < 10; ++position) EXPECT_EQ(node.getCrossColumn(position), 100 + position);
  EXPECT_EQ(node.getCrossColumn(10), 0);
  EXPECT_EQ(node.getCrossColumn(2147483647), 0);
}

TEST(CountCrossSettings, negative_positions_are_ignored) {
  ZRBProcCount node;
  setCross(node, {4, 5});
  node.setCrossColumn(-1, 999);
  EXPECT_EQ(node.getCrossColumn(-1), 0);
  EXPECT_EQ(node.getCrossColumn(0), 4);
  EXPECT_EQ(node.getCrossSize(), 2);
}

TEST(CountCrossSettings, columns_are_kept_beyond_the_size_and_through_init) {
  CountFlow flow({kFactor, kFactor});
  setCross(flow.node, {1});
  flow.node.setCrossColumn(7, 55);
  EXPECT_EQ(flow.init(), 0);  // position 7 is not used, so its column is not checked
  EXPECT_EQ(flow.node.getCrossSize(), 1);
  EXPECT_EQ(flow.node.getCrossColumn(0), 1);
  EXPECT_EQ(flow.node.getCrossColumn(7), 55);
}

// ---- Checks ----

TEST(CountCrossChecks, init_wants_columns_of_the_input) {
  struct {
    std::vector<int> columns;
    const char* error;
  } const cases[] = {
      {{0, 2}, nullptr},
      {{3}, "bad cross column number: 3"},
      {{0, -1, 7}, "bad cross column number: -1"},  // the first bad one, then no more
      {{2, 1000}, "bad cross column number: 1000"},
  };
  for (const auto& c : cases) {
    CountFlow flow({kFactor, kFactor, kFactor});
    setCross(flow.node, c.columns);
    EXPECT_EQ(flow.node.init(), c.error ? 1 : 0);
    EXPECT_EQ(messagesOf(flow.node), c.error ? Messages{c.error} : Messages{});
    EXPECT_EQ(flow.node.isReady(), c.error ? 0 : 1);
  }
}

TEST(CountCrossChecks, a_bad_column_number_is_found_after_the_results_were_emptied) {
  CountFlow flow({kFactor});
  flow.count({{1, 2}});
  setCross(flow.node, {5});
  flow.node.init();
  EXPECT_EQ(flow.node.getCountOK(0), 0);
  EXPECT_EQ(flow.node.getNumCountBlocks(), 0);
}

TEST(CountCrossChecks, the_first_rows_want_factors) {
  CountFlow flow({kFactor, kDouble, kFactor});
  setCross(flow.node, {0, 1, 2});
  EXPECT_EQ(flow.init(), 0);  // the type is looked at with the first rows
  flow.count({{1, 2}, {3, 4}, {5, 6}});
  EXPECT_EQ(messagesOf(flow.node), Messages{"bad cross: column not a factor: 1"});
  // The columns were counted before, nothing was cross-tabulated, and the rows were not released.
  EXPECT_EQ(flow.node.getCountOK(1), 2);
  EXPECT_EQ(flow.node.getNumCountBlocks(), 4);
  EXPECT_EQ(flow.node.getInputBufReader(0)->getRowsReady(), 2);
  EXPECT_EQ(flow.node.getRowsDone(), 0);
  EXPECT_EQ(flow.node.getCrossCount(), 0);
}

TEST(CountCrossChecks, the_first_column_that_is_no_factor_is_named) {
  CountFlow flow({kDouble, kFactor, kDouble});
  setCross(flow.node, {1, 2, 0});
  flow.init();
  flow.count({{1}, {2}, {3}});
  EXPECT_EQ(messagesOf(flow.node), Messages{"bad cross: column not a factor: 2"});
}

TEST(CountCrossChecks, without_rows_the_type_does_not_matter) {
  CountFlow flow({kDouble});
  setCross(flow.node, {0});
  flow.init();
  flow.writer.setEOF();
  flow.node.execute();
  EXPECT_EQ(messagesOf(flow.node), Messages{});
  EXPECT_EQ(flow.node.isDone(), 1);
}

TEST(CountCrossChecks, are_made_once_per_init) {
  CountFlow flow({kFactor, kDouble});
  setCross(flow.node, {0});
  flow.init();
  flow.count({{1}, {0.5}});
  flow.node.setCrossColumn(0, 1);  // not a factor
  flow.count({{2}, {0.5}});
  EXPECT_EQ(messagesOf(flow.node), Messages{});
  flow.init();
  flow.count({{2}, {0.5}});
  EXPECT_EQ(messagesOf(flow.node), Messages{"bad cross: column not a factor: 1"});
}

TEST(CountCrossChecks, a_failed_check_is_repeated) {
  CountFlow flow({kFactor, kDouble});
  setCross(flow.node, {1});
  flow.init();
  flow.count({{1}, {0.5}});
  flow.node.clearMessages();
  flow.node.execute();  // the same row again
  EXPECT_EQ(messagesOf(flow.node), Messages{"bad cross: column not a factor: 1"});
  EXPECT_EQ(flow.node.getCountOK(1), 2);
  flow.node.clearMessages();
  flow.node.setCrossColumn(0, 0);
  flow.node.execute();
  EXPECT_EQ(messagesOf(flow.node), Messages{});
  EXPECT_EQ(flow.node.getRowsDone(), 1);
}

TEST(CountCrossChecks, a_column_changed_to_one_out_of_range_after_the_check_counts_column_0) {
  CountFlow flow({kFactor, kFactor});
  setCross(flow.node, {1});
  flow.init();
  CountModel model;
  model.crossColumns = {1};
  model.init(2);
  const auto count = [&](const Values& values) {
    flow.count(values);
    model.addChunk(values, {true, true});
  };
  count({{1, 2}, {3, 4}});
  for (const int column : {99, -1}) {
    flow.node.setCrossColumn(0, column);
    model.crossColumns = {column};
    count({{5, 5}, {6, 7}});
  }
  expectSameRecords(flow.node, model.lists);
  EXPECT_EQ(messagesOf(flow.node), Messages{});
}

TEST(CountCrossChecks, a_column_changed_to_a_double_after_the_check_is_tabulated) {
  CountFlow flow({kFactor, kDouble});
  setCross(flow.node, {0, 0});
  flow.init();
  CountModel model;
  model.crossColumns = {0, 0};
  model.init(2);
  const auto count = [&](const Values& values) {
    flow.count(values);
    model.addChunk(values, {true, false});
  };
  count({{1, 2}, {3, 4}});
  flow.node.setCrossColumn(1, 1);
  model.crossColumns = {0, 1};
  const double inf = std::numeric_limits<double>::infinity();
  count({{1, 1, 2, 1, 2, 1, kNA}, {0.5, -inf, kNA, 1e300, 0.5, 0.5, 5e-324}});
  expectSameRecords(flow.node, model.lists);
}

// ---- Counts ----

TEST(CountCross, of_two_columns) {
  CountFlow flow({kFactor, kFactor});
  setCross(flow.node, {0, 1});
  flow.init();
  flow.count({{1, 1, 1}, {1, 2, 1}});
  flow.node.setCrossIndex(0, 0);  // value 1
  flow.node.setCrossIndex(1, 0);  // value 1
  EXPECT_EQ(flow.node.getCrossCount(), 2);
  flow.node.setCrossIndex(1, 1);  // value 2
  EXPECT_EQ(flow.node.getCrossCount(), 1);
}

TEST(CountCross, a_combination_that_did_not_occur_has_count_0) {
  CountFlow flow({kFactor, kFactor});
  setCross(flow.node, {0, 1});
  flow.init();
  flow.count({{1, 1, 2}, {1, 2, 2}});
  flow.node.setCrossIndex(0, 1);  // value 2
  flow.node.setCrossIndex(1, 0);  // value 1
  EXPECT_EQ(flow.node.getCrossCount(), 0);
  flow.node.setCrossIndex(1, 1);
  EXPECT_EQ(flow.node.getCrossCount(), 1);
}

TEST(CountCross, counts_prefixes) {
  CountFlow flow({kFactor, kFactor, kFactor});
  setCross(flow.node, {2, 0, 1});
  flow.init();
  flow.count({{1, 1, 2, 1}, {5, 6, 5, 5}, {9, 9, 9, 8}});
  for (int position = 0; position < 3; ++position) flow.node.setCrossIndex(position, position == 0 ? 1 : 0);
  EXPECT_EQ(flow.node.getCrossCount(), 1);  // 9, 1, 5
  flow.node.setCrossSize(2);
  EXPECT_EQ(flow.node.getCrossCount(), 2);  // 9, 1
  flow.node.setCrossSize(1);
  EXPECT_EQ(flow.node.getCrossCount(), 3);  // 9
  flow.node.setCrossSize(0);
  EXPECT_EQ(flow.node.getCrossCount(), 0);
  flow.node.setCrossSize(-1);
  EXPECT_EQ(flow.node.getCrossCount(), 0);
}

TEST(CountCross, NA_is_a_value) {
  CountFlow flow({kFactor, kFactor});
  setCross(flow.node, {0, 1});
  flow.init();
  flow.count({{kNA, kNA, 3, kNA}, {kNA, 2, kNA, kNA}});
  flow.node.setCrossIndex(0, 0);
  flow.node.setCrossIndex(1, 0);
  EXPECT_EQ(flow.node.getCrossCount(), 2);  // NA, NA
  flow.node.setCrossIndex(1, 1);
  EXPECT_EQ(flow.node.getCrossCount(), 1);  // NA, 2
  flow.node.setCrossIndex(0, 1);
  EXPECT_EQ(flow.node.getCrossCount(), 0);  // 3, 2
  flow.node.setCrossIndex(1, 0);
  EXPECT_EQ(flow.node.getCrossCount(), 1);  // 3, NA
}

TEST(CountCross, a_level_position_outside_the_list_chooses_NA) {
  CountFlow flow({kFactor});
  setCross(flow.node, {0});
  flow.init();
  flow.count({{kNA, 3, kNA}});
  for (const int position : {-1, 2, 1000}) {
    flow.node.setCrossIndex(0, 1);
    EXPECT_EQ(flow.node.getCrossCount(), 1);
    flow.node.setCrossIndex(0, position);
    EXPECT_EQ(flow.node.getCrossCount(), 2) << position;
  }
}

TEST(CountCross, an_index_is_chosen_only_within_the_size) {
  CountFlow flow({kFactor, kFactor});
  setCross(flow.node, {0, 1});
  flow.init();
  flow.count({{1, 2, 2, 2}, {5, 5, 6, 6}});
  flow.node.setCrossIndex(0, 1);
  flow.node.setCrossIndex(1, 1);
  EXPECT_EQ(flow.node.getCrossCount(), 2);  // 2, 6
  for (const int position : {-1, 2, 9, 10, 1000}) flow.node.setCrossIndex(position, 0);
  EXPECT_EQ(flow.node.getCrossCount(), 2);
  flow.node.setCrossSize(1);
  flow.node.setCrossIndex(1, 0);  // beyond the size: would be 2, 5
  flow.node.setCrossSize(2);
  EXPECT_EQ(flow.node.getCrossCount(), 2);
}

TEST(CountCross, the_same_column_twice_has_only_equal_pairs) {
  CountFlow flow({kFactor});
  setCross(flow.node, {0, 0});
  flow.init();
  flow.count({{4, 5, 4}});
  flow.node.setCrossIndex(0, 0);
  flow.node.setCrossIndex(1, 0);
  EXPECT_EQ(flow.node.getCrossCount(), 2);
  flow.node.setCrossIndex(1, 1);
  EXPECT_EQ(flow.node.getCrossCount(), 0);
}

TEST(CountCross, records_are_made_as_combinations_are_met) {
  CountFlow flow({kFactor, kFactor});
  setCross(flow.node, {0, 1});
  flow.init();
  flow.count({{1, 1, 0}, {2, 1, 2}});
  struct {
    double value;
    long long count;
    int next, subList;
  } const expected[] = {
      {1, 2, -1, -1}, {0, 1, 0, -1},  // column 0: 1, then 0 in front
      {2, 2, -1, -1}, {1, 1, 2, -1},  // column 1: 2, then 1 in front
      {1, 2, -1, 6},                  // first position: 1, whose list now starts at record 6
      {2, 1, -1, -1}, {1, 1, 5, -1},  // below it 2, then 1 in front
      {0, 1, 4, 8},                   // first position: 0 in front
      {2, 1, -1, -1},                 // below it 2
  };
  ASSERT_EQ(flow.node.getNumCountBlocks(), static_cast<long>(std::size(expected)));
  for (int i = 0; i < 9; ++i) {
    const ZRBProcCountCountInfo& record = *flow.node.getCountInfo(i);
    EXPECT_EQ(record.value, expected[i].value) << i;
    EXPECT_EQ(record.count, expected[i].count) << i;
    EXPECT_EQ(record.next, expected[i].next) << i;
    EXPECT_EQ(record.sub_list, expected[i].subList) << i;
  }
}

// ---- Against a map of tuples ----

using Combination = std::vector<double>;
struct CombinationOrder {
  bool operator()(const Combination& a, const Combination& b) const {
    if (a.size() != b.size()) return a.size() < b.size();
    for (std::size_t i = 0; i < a.size(); ++i) {
      if (std::isnan(a[i]) != std::isnan(b[i])) return std::isnan(a[i]);
      if (a[i] < b[i]) return true;
      if (b[i] < a[i]) return false;
    }
    return false;
  }
};
using Table = std::map<Combination, long long, CombinationOrder>;

Table tabulate(const Values& values, const std::vector<int>& columns) {
  Table table;
  for (std::size_t row = 0; row < values[0].size(); ++row) {
    Combination combination;
    for (const int column : columns) {
      combination.push_back(values[static_cast<std::size_t>(column)][row]);
      ++table[combination];
    }
  }
  return table;
}

// Every combination of levels that the columns have, and every prefix of it, with that of the table.
void expectTable(ZRBProcCount& node, const Table& table, const std::vector<int>& columns) {
  const int size = static_cast<int>(columns.size());
  long long combinations = 0;
  for (int depth = 1; depth <= size; ++depth) {
    node.setCrossSize(depth);
    std::vector<int> positions(static_cast<std::size_t>(depth), 0);
    while (true) {
      Combination combination;
      for (int p = 0; p < depth; ++p) {
        const auto at = static_cast<std::size_t>(p);
        node.setCrossIndex(p, positions[at]);
        combination.push_back(node.getColumnLevelValue(columns[at], positions[at]));
      }
      const auto found = table.find(combination);
      ASSERT_EQ(node.getCrossCount(), found == table.end() ? 0 : found->second);
      if (found != table.end()) ++combinations;
      int p = depth - 1;
      while (p >= 0 && ++positions[static_cast<std::size_t>(p)] ==
                           node.getColumnNumLevels(columns[static_cast<std::size_t>(p)])) {
        positions[static_cast<std::size_t>(p--)] = 0;
      }
      if (p < 0) break;
    }
  }
  node.setCrossSize(size);
  EXPECT_EQ(combinations, static_cast<long long>(table.size()));
}

Values randomFactors(unsigned seed, std::size_t rows, const std::vector<unsigned>& levels) {
  std::mt19937 random(seed);
  Values values(levels.size());
  for (std::size_t row = 0; row < rows; ++row) {
    for (std::size_t column = 0; column < levels.size(); ++column) {
      values[column].push_back(random() % 15 == 0 ? kNA : static_cast<double>(random() % levels[column]));
    }
  }
  return values;
}

TEST(CountCrossTable, agrees_with_a_map_of_combinations) {
  struct {
    std::vector<unsigned> levels;
    std::vector<int> columns;
    std::size_t rows;
  } const cases[] = {
      {{5}, {0}, 300},
      {{5, 7}, {0, 1}, 1000},
      {{5, 7}, {1, 0}, 1000},
      {{40, 60}, {0, 1}, 3000},
      {{3, 4, 5}, {2, 0, 1}, 2000},
      {{2, 3, 2, 3}, {0, 1, 2, 3}, 3000},
      {{2, 2}, {0, 1, 0, 1, 1, 0}, 500},
      {{1, 2}, {0, 1, 0, 1, 0, 1, 0, 1, 0, 1}, 100},  // ten positions
  };
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    SCOPED_TRACE(i);
    const auto& c = cases[i];
    const Values values = randomFactors(static_cast<unsigned>(i), c.rows, c.levels);
    CountFlow flow(std::vector<ZRBBuf::column_type>(c.levels.size(), kFactor));
    setCross(flow.node, c.columns);
    flow.init();
    for (std::size_t row = 0; row < c.rows; row += 100) flow.count(rowsOf(values, row, 100));
    const Table table = tabulate(values, c.columns);
    expectTable(flow.node, table, c.columns);
    EXPECT_EQ(messagesOf(flow.node), Messages{});
    // One record per value of each column and one per combination.
    long records = static_cast<long>(table.size());
    for (std::size_t column = 0; column < c.levels.size(); ++column) {
      records += flow.node.getColumnNumLevels(static_cast<int>(column));
    }
    EXPECT_EQ(flow.node.getNumCountBlocks(), records);
  }
}

TEST(CountCrossTable, does_not_depend_on_ring_and_chunk_sizes) {
  const std::vector<int> columns = {2, 0};
  const Values values = randomFactors(77, 1500, {6, 3, 9});
  const Table table = tabulate(values, columns);
  for (const long ringRows : {1L, 2L, 3L, 7L, 1000L}) {
    for (const std::vector<long>& chunks : {std::vector<long>{1}, std::vector<long>{2, 5}, std::vector<long>{999}}) {
      SCOPED_TRACE(std::to_string(ringRows) + " " + std::to_string(chunks[0]));
      ZRBMemoryBuf buf;
      buf.setNumRows(ringRows);
      setColumns(buf, {{"a", kFactor}, {"b", kFactor}, {"c", kFactor}});
      TableSource source(
          1500,
          [&](ZRBBufWriter& writer, long row, long long streamRow) {
            for (std::size_t column = 0; column < 3; ++column) {
              const double x = values[column][static_cast<std::size_t>(streamRow)];
              writer.setLevelNum(row, static_cast<long>(column), std::isnan(x) ? -1 : static_cast<long>(x));
            }
          },
          chunks);
      ZRBProcCount node;
      setCross(node, columns);
      source.setOutputBuf(0, &buf);
      node.setInputBuf(0, &buf);
      ZRBPipeline pipeline;
      pipeline.addBuf(&buf);
      pipeline.addProc(&source);
      pipeline.addProc(&node);
      pipeline.init();
      pipeline.execute(0);
      ASSERT_EQ(node.isDone(), 1);
      expectTable(node, table, columns);
    }
  }
}

TEST(CountCrossTable, records_are_those_of_plain_lists) {
  for (unsigned seed = 0; seed < 6; ++seed) {
    SCOPED_TRACE(seed);
    const std::vector<int> columns = {1, 0, 2};
    const Values values = randomFactors(seed, 1200, {seed % 2 ? 8u : 200u, 30, 4});
    CountFlow flow({kFactor, kFactor, kFactor});
    setCross(flow.node, columns);
    flow.init();
    CountModel model;
    model.crossColumns = columns;
    model.init(3);
    std::mt19937 random(seed);
    for (std::size_t row = 0; row < 1200;) {
      const std::size_t rows = std::min<std::size_t>(1 + random() % 90, 1200 - row);
      const Values chunk = rowsOf(values, row, rows);
      flow.count(chunk);
      model.addChunk(chunk, {true, true, true});
      row += rows;
    }
    expectSameRecords(flow.node, model.lists);
    for (int column = 0; column < 3; ++column) {
      expectSameColumn(flow.node, column, model.columns[static_cast<std::size_t>(column)]);
    }
  }
}

// ---- Several runs of one node: init keeps the root ----

// The node beside its model, through inits and changes of the cross-tabulation.
struct ReusedNode {
  CountFlow flow;
  CountModel model;

  explicit ReusedNode(const std::vector<ZRBBuf::column_type>& types) : flow(types, 5000) {}

  void start(const std::vector<int>& crossColumns) {
    setCross(flow.node, crossColumns);
    flow.init();
    model.crossColumns = crossColumns;
    model.init(static_cast<std::size_t>(flow.buf.getNumColumns()));
  }
  void count(const Values& values) {
    flow.count(values);
    model.addChunk(values, flow.factors());
  }
  void expectSame() {
    EXPECT_EQ(messagesOf(flow.node), Messages{});
    expectSameRecords(flow.node, model.lists);
    for (int column = 0; column < flow.buf.getNumColumns(); ++column) {
      expectSameColumn(flow.node, column, model.columns[static_cast<std::size_t>(column)]);
    }
    // The table too: every value of the columns at every position.
    std::mt19937 random(9);
    for (int i = 0; i < 50 && !model.crossColumns.empty(); ++i) {
      std::vector<double> chosen;
      for (std::size_t p = 0; p < model.crossColumns.size(); ++p) {
        const int column = model.crossColumns[p];
        const long levels = flow.node.getColumnNumLevels(column);
        const int position = static_cast<int>(random() % (static_cast<unsigned long>(levels) + 1));
        flow.node.setCrossIndex(static_cast<int>(p), position);
        chosen.push_back(flow.node.getColumnLevelValue(column, position));
      }
      ASSERT_EQ(flow.node.getCrossCount(), model.crossCount(chosen));
    }
  }
};

TEST(CountSecondRun, starts_its_cross_list_from_the_old_root) {
  // First run: the column's records are 0 and 1, the cross-tabulation starts at 2.
  CountFlow flow({kFactor});
  setCross(flow.node, {0});
  flow.init();
  flow.count({{5, 6}});
  ASSERT_EQ(flow.node.getNumCountBlocks(), 4);
  // Second run: record 2 is the column's 7, in the middle of its list 5 6 7 8, and counts for both from there on.
  flow.init();
  EXPECT_EQ(flow.node.getNumCountBlocks(), 0);
  flow.count({{5, 6, 7, 8}});
  struct {
    double value;
    long long count;
    int next;
  } const expected[] = {
      {5, 1, 1},   // the column's 5, 6
      {6, 1, 2},   //
      {7, 2, 3},   // the old root: counted by the column and by the cross-tabulation
      {8, 2, -1},  //
      {5, 1, 5},   // in front of the old root: 5, then 6 between 5 and 7
      {6, 1, 2},
  };
  ASSERT_EQ(flow.node.getNumCountBlocks(), static_cast<long>(std::size(expected)));
  for (int i = 0; i < 6; ++i) {
    EXPECT_EQ(flow.node.getCountInfo(i)->value, expected[i].value) << i;
    EXPECT_EQ(flow.node.getCountInfo(i)->count, expected[i].count) << i;
    EXPECT_EQ(flow.node.getCountInfo(i)->next, expected[i].next) << i;
  }
  EXPECT_EQ(flow.node.getColumnLevelCount(0, 2), 2);
  flow.node.setCrossIndex(0, 3);  // 8
  EXPECT_EQ(flow.node.getCrossCount(), 2);
}

TEST(CountSecondRun, before_its_first_rows_there_is_no_list_at_the_old_root) {
  CountFlow flow({kFactor});
  setCross(flow.node, {0});
  flow.init();
  flow.count({{5}});
  flow.node.setCrossIndex(0, 0);
  EXPECT_EQ(flow.node.getCrossCount(), 1);
  flow.init();
  EXPECT_EQ(flow.node.getCrossCount(), 0);
}

TEST(CountSecondRun, an_old_root_past_the_records_starts_a_new_list) {
  ReusedNode node({kFactor, kFactor});
  node.start({0, 1});
  node.count({{1, 2, 3, 4, 5, 6, 7, 8}, {1, 2, 3, 4, 5, 6, 7, 8}});  // the root is record 16
  node.expectSame();
  node.start({0, 1});
  node.count({{1, 2, 1}, {9, 9, kNA}});
  node.expectSame();
  node.count({{0, 2, 1}, {9, 8, kNA}});
  node.expectSame();
}

TEST(CountSecondRun, an_old_root_at_the_end_of_the_records_starts_a_new_list) {
  ReusedNode node({kFactor});
  node.start({0});
  node.count({{1, 2, 3}});  // the root is record 3
  node.start({0});
  node.count({{7, 8, 9}});  // and 3 is the next one to be made
  node.expectSame();
  EXPECT_EQ(node.model.crossRoot, 3);
}

TEST(CountSecondRun, an_old_root_may_be_any_record_of_a_column) {
  // The first run has `first` levels, so that the root is that record; the second has ten records in its column.
  for (const int first : {1, 2, 3, 5, 9, 10, 11}) {
    for (const bool ascending : {true, false}) {
      for (const bool withNA : {true, false}) {
        SCOPED_TRACE(std::to_string(first) + (ascending ? " ascending" : " descending") + (withNA ? " NA" : ""));
        ReusedNode node({kFactor, kFactor});
        node.start({0, 1});
        std::vector<double> levels, zeros;
        for (int i = 0; i < first; ++i) levels.push_back(i);
        zeros.assign(levels.size(), 0);
        node.count({levels, zeros});
        node.expectSame();
        node.start({0, 1});
        std::vector<double> a, b;
        for (int i = 0; i < 10; ++i) {
          a.push_back(withNA && i == 4 ? kNA : ascending ? 2 * i : 20 - 2 * i);
          b.push_back(i % 3);
        }
        node.count({a, b});
        node.expectSame();
        // More of the same, and values in between, so that both lists grow at the records that they share.
        node.count({a, b});
        node.expectSame();
        node.count({{3, kNA, 7, 1, 19, 21, 3}, {kNA, 1, 2, 0, 5, 5, kNA}});
        node.expectSame();
      }
    }
  }
}

TEST(CountSecondRun, an_old_root_may_be_a_record_of_another_column) {
  ReusedNode node({kFactor, kFactor, kFactor});
  node.start({2, 0});
  node.count({{1, 2, 1}, {3, 3, 3}, {5, 5, 6}});  // the root is record 5
  node.expectSame();
  node.start({2, 0});
  node.count({{1, 2, 3}, {30, 10, 20}, {5, 15, 25}});  // record 5 is column 1's 20
  node.expectSame();
  node.count({{1, 2, kNA, 3}, {12, 10, kNA, 40}, {12, 31, 10, kNA}});
  node.expectSame();
}

TEST(CountSecondRun, an_old_root_may_be_a_record_of_a_list_of_the_host) {
  ReusedNode node({kFactor});
  node.start({0});
  node.count({{1, 2, 3}});  // the root is record 3
  node.start({0});
  int head = -1, modelHead = -1;
  for (const double value : {10.0, 20.0, 30.0, 25.0, 5.0}) {
    ASSERT_EQ(node.flow.node.findOrInsertCountInfo(&head, value), node.model.lists.findOrInsert(modelHead, value));
  }
  node.count({{1, 25, 27, 30, kNA, 1}});  // from record 3, the host's 25, on
  node.expectSame();
  for (const double value : {26.0, 25.0, 27.0, 1.0}) {
    ASSERT_EQ(node.flow.node.findOrInsertCountInfo(&head, value), node.model.lists.findOrInsert(modelHead, value));
  }
  node.count({{26, 2}});
  node.expectSame();
}

TEST(CountSecondRun, an_old_root_may_be_a_record_of_the_cross_lists) {
  // The root moves to ever later records while values come in front; a run without a cross-tabulation in between keeps
  // it; and with the cross-tabulation switched on late it meets records of lists below the first position.
  ReusedNode node({kFactor, kFactor});
  node.start({0, 1});
  node.count({{9, 8, 7, 6, 5, 4, 3, 2, 1, 0}, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0}});
  const int root = node.model.crossRoot;
  ASSERT_GT(root, 20);
  node.start({});
  node.count({{1, 2}, {3, 4}});
  node.expectSame();
  ASSERT_EQ(node.model.crossRoot, root);
  node.start({0, 1});
  // Sub-lists made by a host under its own records reach past the old root.
  for (int i = 0; i < 3; ++i) {
    const int owner = node.flow.node.newCountInfo();
    node.model.lists.append(0);
    for (const double value : {50.0, 40.0, 60.0, 45.0, 70.0, 41.0, 42.0, 43.0, 44.0, 46.0}) {
      int head = node.flow.node.getCountInfo(owner)->sub_list;
      int modelHead = node.model.lists.at(owner).subList;
      ASSERT_EQ(node.flow.node.findOrInsertCountInfo(&head, value), node.model.lists.findOrInsert(modelHead, value));
      node.flow.node.getCountInfo(owner)->sub_list = head;
      node.model.lists.at(owner).subList = modelHead;
    }
  }
  ASSERT_TRUE(node.model.lists.holds(root));
  node.count({{44, 41, 100, 43, 44}, {1, 2, 1, kNA, 1}});
  node.expectSame();
  node.count({{0, kNA, 45, 43}, {1, 2, 1, kNA}});
  node.expectSame();
}

TEST(CountSecondRun, many_runs_with_changing_tables_give_the_records_of_plain_lists) {
  for (unsigned seed = 1; seed <= 12; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const int numColumns = 1 + static_cast<int>(random() % 4);
    std::vector<ZRBBuf::column_type> types;
    for (int i = 0; i < numColumns; ++i) types.push_back(kFactor);
    ReusedNode node(types);
    for (int run = 0; run < 8; ++run) {
      std::vector<int> cross(random() % 4);
      for (int& column : cross) column = static_cast<int>(random() % static_cast<unsigned>(numColumns));
      node.start(cross);
      const unsigned levels = 1 + static_cast<unsigned>(random() % (seed % 3 == 0 ? 400 : 25));
      const unsigned chunks = 1 + static_cast<unsigned>(random() % 4);
      for (unsigned chunk = 0; chunk < chunks; ++chunk) {
        const std::size_t rows = random() % 200;
        const Values values = randomFactors(static_cast<unsigned>(random()), rows,
                                            std::vector<unsigned>(static_cast<std::size_t>(numColumns), levels));
        node.count(values);
        ASSERT_NO_FATAL_FAILURE(node.expectSame()) << "run " << run << ", chunk " << chunk;
      }
    }
  }
}

}  // namespace
