// Rows that the records do not count yet: whatever reads a count, and whenever, finds what plain counting gives.
#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "ZRBMemoryBuf.h"
#include "ZRBProcCount.h"
#include "support/CountFlow.h"
#include "support/CountModel.h"
#include "support/Harness.h"
#include "support/PropertyCall.h"

namespace {

constexpr auto kDouble = ZRBBuf::column_double;
constexpr auto kFactor = ZRBBuf::column_factor;

// A node beside its model.  Nothing is read from the node unless a test does so.
struct CountedTwice {
  CountFlow flow;
  CountModel model;

  explicit CountedTwice(const std::vector<ZRBBuf::column_type>& types, long ringRows = 3000) : flow(types, ringRows) {
    model.init(types.size());
  }

  ZRBProcCount& node() { return flow.node; }

  void nameLevels(long column, long levels) {
    for (long level = flow.buf.getNumLevels(column); level < levels; ++level)
      flow.buf.addLevel(column, ("level " + std::to_string(level)).c_str());
  }
  void setCross(const std::vector<int>& columns) {
    node().setCrossSize(static_cast<int>(columns.size()));
    for (std::size_t p = 0; p < columns.size(); ++p) node().setCrossColumn(static_cast<int>(p), columns[p]);
    model.crossColumns = columns;
  }
  void init() {
    flow.init();
    model.init(model.columns.size());
  }
  void count(const Values& values) {
    flow.count(values);
    model.addChunk(values, flow.factors());
  }
  void expectSame() {
    ASSERT_EQ(messagesOf(node()), Messages{});
    ASSERT_NO_FATAL_FAILURE(expectSameRecords(node(), model.lists));
    for (std::size_t c = 0; c < model.columns.size(); ++c)
      expectSameColumn(node(), static_cast<int>(c), model.columns[c]);
  }
};

// Level numbers below `levels[column]`, and NA.
Values randomLevels(std::mt19937& random, std::size_t rows, const std::vector<unsigned>& levels) {
  Values values(levels.size());
  for (std::size_t column = 0; column < levels.size(); ++column)
    for (std::size_t row = 0; row < rows; ++row)
      values[column].push_back(random() % 12 == 0 ? kNA : static_cast<double>(random() % levels[column]));
  return values;
}

}  // namespace

TEST(CountPending, every_way_to_a_count_reads_all_rows_so_far) {
  // Columns hold (0, 0), (0, 1), (1, 1): with the last row counted a second time, level 1 of column 1 has 3 rows, and so
  // has the combination (1, 1) two.
  struct Way {
    const char* name;
    std::function<double(ZRBProcCount&)> read;
    double expected;
  };
  const auto listOf = [](ZRBProcCount& node) { return node.getColumnInfo(1)->level_list; };
  const auto count = [](ZRBProcCountCountInfo* info) { return info ? static_cast<double>(info->count) : -1.0; };
  const auto chooseBoth = [](ZRBProcCount& node) {
    node.setCrossIndex(0, 1);
    node.setCrossIndex(1, 1);
  };
  const Way ways[] = {
      {"getCountInfo",
       [&](ZRBProcCount& node) { return count(node.getCountInfo(node.getCountInfo(listOf(node))->next)); }, 3},
      {"findCountInfo", [&](ZRBProcCount& node) { return count(node.findCountInfo(listOf(node), 1)); }, 3},
      {"getCountInfoListElt", [&](ZRBProcCount& node) { return count(node.getCountInfoListElt(listOf(node), 1)); }, 3},
      {"findOrInsertCountInfo",
       [&](ZRBProcCount& node) {
         int head = listOf(node);
         return count(node.getCountInfo(node.findOrInsertCountInfo(&head, 1)));
       },
       3},
      {"getColumnLevelCount", [](ZRBProcCount& node) { return static_cast<double>(node.getColumnLevelCount(1, 1)); },
       3},
      {"col.level.count",
       [](ZRBProcCount& node) {
         return static_cast<double>(PropertyCall("col.level.count").with(1).with(1).get(node).longLongResult.value());
       },
       3},
      {"getCrossCount",
       [&](ZRBProcCount& node) {
         chooseBoth(node);
         return static_cast<double>(node.getCrossCount());
       },
       2},
      {"cross.count",
       [&](ZRBProcCount& node) {
         chooseBoth(node);
         return PropertyCall("cross.count").get(node).doubleResult.value();
       },
       2},
      {"newCountInfo, then a count",
       [](ZRBProcCount& node) {
         node.newCountInfo();
         return static_cast<double>(node.getColumnLevelCount(1, 1));
       },
       3},
  };
  for (const Way& way : ways) {
    CountFlow flow({kFactor, kFactor});
    flow.node.setCrossSize(2);
    flow.node.setCrossColumn(1, 1);
    flow.init();
    flow.count({{0, 0, 1}, {0, 1, 1}});
    flow.count({{1}, {1}});
    EXPECT_EQ(way.read(flow.node), way.expected) << way.name;
  }
}

TEST(CountPending, a_pointer_from_before_shows_all_rows_at_the_end_of_data) {
  CountFlow flow({kFactor});
  flow.count({{2, 2}});
  ZRBProcCountCountInfo* info = flow.node.getCountInfo(0);
  EXPECT_EQ(info->count, 2);
  flow.count({{2, 2, 2}});
  flow.release({{2}});
  flow.writer.setEOF();
  flow.node.execute();
  ASSERT_EQ(flow.node.isDone(), 1);
  EXPECT_EQ(info->count, 6);
}

TEST(CountPending, what_a_host_adds_to_a_count_is_kept) {
  CountFlow flow({kFactor});
  flow.count({{0, 0}});
  flow.node.getCountInfo(0)->count += 100;
  flow.count({{0}});
  EXPECT_EQ(flow.node.getCountInfo(0)->count, 103);
}

TEST(CountPending, any_chunks_and_any_times_of_reading_give_the_records_of_plain_lists) {
  for (unsigned seed = 1; seed <= 20; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    CountedTwice both({kFactor, kDouble, kFactor, kFactor}, static_cast<long>(301 + random() % 300));
    both.setCross(seed % 2 ? std::vector<int>{2, 0} : std::vector<int>{3, 2, 2, 0});
    both.init();
    for (int chunk = 0; chunk < 30; ++chunk) {
      const unsigned levels = seed % 3 ? 6 : 60;
      both.count(randomLevels(random, random() % 300, {levels, 1000, 3, levels}));
      if (random() % 3 == 0) {
        ASSERT_NO_FATAL_FAILURE(both.expectSame()) << "chunk " << chunk;
      }
    }
    both.expectSame();
  }
}

TEST(CountPending, levels_may_appear_while_counting_named_or_not) {
  for (const bool named : {true, false}) {
    SCOPED_TRACE(named);
    std::mt19937 random(5);
    CountedTwice both({kFactor, kFactor});
    both.setCross({0, 1});
    both.init();
    for (unsigned chunk = 0; chunk < 60; ++chunk) {
      const unsigned first = 1 + chunk * chunk / 8, second = 1 + chunk / 9;
      if (named) both.nameLevels(0, first);
      if (named) both.nameLevels(1, second);
      both.count(randomLevels(random, 150, {first, second}));
      if (chunk % 7 == 6) {
        ASSERT_NO_FATAL_FAILURE(both.expectSame()) << "chunk " << chunk;
      }
    }
    both.expectSame();
  }
}

TEST(CountPending, the_last_level_number_has_its_place) {
  CountedTwice both({kFactor, kFactor});
  both.setCross({1, 0});
  both.init();
  both.count({{0, kNA, 65534, 65534}, {65534, 65534, kNA, 65534}});
  both.count({{65534, kNA, 0, 65533}, {65534, kNA, 0, 65534}});
  both.expectSame();
}

TEST(CountPending, the_cross_tabulation_may_change_between_chunks) {
  std::mt19937 random(6);
  CountedTwice both({kFactor, kFactor, kFactor});
  both.init();
  const std::vector<std::vector<int>> settings = {{}, {0}, {0, 1}, {0, 1, 2}, {1, 2}, {1, 1, 1}, {0, 1, 2}, {}, {2, 0}};
  for (const std::vector<int>& cross : settings) {
    both.setCross(cross);
    both.count(randomLevels(random, 200, {5, 9, 3}));
    both.count(randomLevels(random, 100, {6, 9, 4}));
  }
  both.expectSame();
}

TEST(CountPending, rows_not_read_before_init_are_gone) {
  std::mt19937 random(7);
  CountedTwice both({kFactor, kFactor});
  both.setCross({0, 1});
  for (int run = 0; run < 4; ++run) {  // the cross root stays from run to run
    both.init();
    both.count(randomLevels(random, 300, {7, 11}));
    both.count(randomLevels(random, 200, {9, 11}));
  }
  both.expectSame();
}

TEST(CountPending, rows_from_before_a_host_made_records_are_counted_with_those_from_after) {
  std::mt19937 random(8);
  CountedTwice both({kFactor, kFactor});
  both.setCross({1, 0});
  both.init();
  both.count(randomLevels(random, 300, {7, 11}));
  both.node().newCountInfo();
  both.model.lists.append(0);
  both.count(randomLevels(random, 300, {8, 12}));
  both.expectSame();
}

TEST(CountPending, a_cross_tabulation_with_too_many_combinations_for_a_table_is_counted_all_the_same) {
  for (const bool named :
       {true, false}) {  // without names the table is too small and cannot grow, with them there is none
    SCOPED_TRACE(named);
    std::mt19937 random(9);
    CountedTwice both({kFactor, kFactor, kFactor});
    for (long column = 0; named && column < 3; ++column) both.nameLevels(column, 400);
    both.setCross({0, 1, 2});
    both.init();
    both.count(randomLevels(random, 500, {20, 20, 20}));
    for (int chunk = 0; chunk < 3; ++chunk) {
      both.count(randomLevels(random, 700, {400, 400, 400}));
      both.count(randomLevels(random, 700, {30, 30, 30}));
    }
    both.expectSame();
  }
}

TEST(CountPending, ten_positions_are_counted_with_their_prefixes) {
  std::mt19937 random(10);
  CountedTwice both({kFactor, kFactor});
  both.setCross({0, 1, 0, 1, 1, 0, 0, 0, 1, 1});
  both.init();
  for (int chunk = 0; chunk < 5; ++chunk) both.count(randomLevels(random, 150, {2, 3}));
  both.expectSame();
}

TEST(CountPending, nodes_that_read_the_same_rows_do_not_share_anything) {
  CountFlow flow({kFactor});
  ZRBProcCount second;
  second.setInputBuf(0, &flow.buf);
  second.setCrossSize(1);
  flow.init();
  second.init();
  flow.count({{1, 1, 0}});
  second.execute();
  flow.count({{1}});
  EXPECT_EQ(flow.node.getColumnLevelCount(0, 1), 3);
  EXPECT_EQ(second.getColumnLevelCount(0, 1), 2);
  EXPECT_EQ(flow.node.getNumCountBlocks(), 2);
  EXPECT_EQ(second.getNumCountBlocks(), 4);
}
