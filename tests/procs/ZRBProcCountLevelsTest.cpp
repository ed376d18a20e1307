// The values that the count node saw in a factor column, in order, with their counts.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <numeric>
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

// NA first, then ascending numbers.
struct NAFirst {
  bool operator()(double a, double b) const { return std::isnan(a) ? !std::isnan(b) : a < b; }
};
using Counts = std::map<double, long long, NAFirst>;

void expectLevels(ZRBProcCount& node, int column, const Counts& expected) {
  ASSERT_EQ(node.getColumnNumLevels(column), static_cast<long>(expected.size()));
  int position = 0;
  for (const auto& [value, count] : expected) {
    ASSERT_TRUE(sameDouble(node.getColumnLevelValue(column, position), value)) << position;
    ASSERT_EQ(node.getColumnLevelInt(column, position), std::isnan(value) ? -1 : static_cast<long>(value)) << position;
    ASSERT_EQ(node.getColumnLevelCount(column, position), count) << position;
    ++position;
  }
  EXPECT_EQ(node.getColumnLevelCount(column, position), 0);
}

TEST(CountLevels, are_NA_first_then_ascending) {
  CountFlow flow({kFactor});
  flow.count({{3, 1, kNA, 3}});
  ASSERT_EQ(flow.node.getColumnNumLevels(0), 3);
  EXPECT_TRUE(std::isnan(flow.node.getColumnLevelValue(0, 0)));
  EXPECT_EQ(flow.node.getColumnLevelCount(0, 0), 1);
  EXPECT_STREQ(flow.node.getColumnLevelName(0, 0), "NA");
  EXPECT_EQ(flow.node.getColumnLevelInt(0, 0), -1);
  EXPECT_EQ(flow.node.getColumnLevelValue(0, 1), 1);
  EXPECT_EQ(flow.node.getColumnLevelCount(0, 1), 1);
  EXPECT_EQ(flow.node.getColumnLevelInt(0, 1), 1);
  EXPECT_EQ(flow.node.getColumnLevelValue(0, 2), 3);
  EXPECT_EQ(flow.node.getColumnLevelCount(0, 2), 2);
  EXPECT_EQ(flow.node.getColumnLevelInt(0, 2), 3);
}

TEST(CountLevels, outside_the_list_there_is_no_value) {
  CountFlow flow({kFactor, kDouble});
  flow.count({{3, 1}, {1, 2}});
  struct {
    int column, position;
  } const cases[] = {{0, -1}, {0, 2}, {0, 1000000}, {1, 0}, {-1, 0}, {2, 0}, {500, 3}};
  for (const auto& c : cases) {
    EXPECT_TRUE(std::isnan(flow.node.getColumnLevelValue(c.column, c.position))) << c.column << " " << c.position;
    EXPECT_STREQ(flow.node.getColumnLevelName(c.column, c.position), "NA") << c.column << " " << c.position;
    EXPECT_EQ(flow.node.getColumnLevelInt(c.column, c.position), -1) << c.column << " " << c.position;
    EXPECT_EQ(flow.node.getColumnLevelCount(c.column, c.position), 0) << c.column << " " << c.position;
  }
}

TEST(CountLevels, are_counted_for_factor_columns_only) {
  ZRBMemoryBuf buf;
  HarnessNode source;
  ZRBProcCount node;
  ZRBBufWriter& writer = source.writeTo(buf);
  node.setInputBuf(0, &buf);
  setColumns(buf, oneColumnOfEachType());
  buf.init();
  node.init();
  writer.setLevelNum(0, 1, 4);
  writer.releaseRows(1);
  node.execute();
  EXPECT_EQ(node.getNumCountBlocks(), 1);
  for (int column = 0; column < 5; ++column) EXPECT_EQ(node.getColumnNumLevels(column), column == 1 ? 1 : 0) << column;
}

TEST(CountLevels, names_come_from_the_input_buffer) {
  CountFlow flow({kFactor});
  flow.buf.setLevelName(0, 0, "zero");
  flow.buf.setLevelName(0, 3, "three");  // 1 and 2 have no name
  flow.count({{0, 3, 2, kNA, 7}});
  EXPECT_STREQ(flow.node.getColumnLevelName(0, 0), "NA");
  EXPECT_STREQ(flow.node.getColumnLevelName(0, 1), "zero");
  EXPECT_EQ(flow.node.getColumnLevelName(0, 2), nullptr);  // no name
  EXPECT_STREQ(flow.node.getColumnLevelName(0, 3), "three");
  EXPECT_EQ(flow.node.getColumnLevelName(0, 4), nullptr);  // not in the dictionary
}

TEST(CountLevels, only_levels_of_a_factor_of_the_input_have_names) {
  CountFlow flow({kFactor});
  flow.buf.setLevelName(0, 1, "one");
  flow.count({{1, kNA}});
  EXPECT_STREQ(flow.node.getColumnLevelName(0, 1), "one");
  flow.buf.setColumnType(0, kDouble);
  EXPECT_STREQ(flow.node.getColumnLevelName(0, 1), "not.a.factor");
  EXPECT_STREQ(flow.node.getColumnLevelName(0, 0), "NA");
  flow.buf.setColumnType(0, kFactor);
  flow.node.setInputBuf(0, nullptr);
  EXPECT_STREQ(flow.node.getColumnLevelName(0, 1), "not.a.factor");
  EXPECT_STREQ(flow.node.getColumnLevelName(0, 0), "NA");
  EXPECT_EQ(flow.node.getColumnLevelInt(0, 1), 1);  // the counts do not need the buffer
  EXPECT_EQ(flow.node.getColumnLevelCount(0, 1), 1);
}

TEST(CountLevels, as_numbers_are_truncated_and_must_be_level_numbers) {
  const double inf = std::numeric_limits<double>::infinity();
  struct {
    double value;
    long level;
  } const cases[] = {{0, 0},      {-0.0, 0},   {2.9, 2},  {65534, 65534}, {65534.9, 65534},
                     {65535, -1}, {70000, -1}, {-0.5, 0}, {-1, -1},       {-1.5, -1},
                     {kNA, -1},   {1e300, -1}, {inf, -1}, {-inf, -1},     {4294967296.0, -1}};
  for (const auto& c : cases) {
    CountFlow flow({kFactor});
    flow.count({{5}});
    flow.node.getCountInfo(0)->value = c.value;
    EXPECT_EQ(flow.node.getColumnLevelInt(0, 0), c.level) << c.value;
  }
}

TEST(CountLevels, of_several_columns_share_the_records) {
  CountFlow flow({kFactor, kDouble, kFactor});
  flow.count({{2, 1, 2}, {0, 0, 0}, {9, kNA, 8}});
  EXPECT_EQ(flow.node.getNumCountBlocks(), 5);
  expectLevels(flow.node, 0, {{1, 1}, {2, 2}});
  expectLevels(flow.node, 2, {{kNA, 1}, {8, 1}, {9, 1}});
  // In the order met, column by column.
  EXPECT_EQ(flow.node.getCountInfo(0)->value, 2);
  EXPECT_EQ(flow.node.getCountInfo(1)->value, 1);
  EXPECT_EQ(flow.node.getCountInfo(2)->value, 9);
  EXPECT_TRUE(std::isnan(flow.node.getCountInfo(3)->value));
  EXPECT_EQ(flow.node.getCountInfo(4)->value, 8);
  EXPECT_EQ(flow.node.getColumnInfo(0)->level_list, 1);
  EXPECT_EQ(flow.node.getColumnInfo(2)->level_list, 3);
}

TEST(CountLevels, go_on_over_chunks_and_start_over_with_init) {
  CountFlow flow({kFactor});
  flow.count({{5, 3}});
  flow.count({{3, 4, kNA}});
  expectLevels(flow.node, 0, {{kNA, 1}, {3, 2}, {4, 1}, {5, 1}});
  flow.init();
  EXPECT_EQ(flow.node.getColumnNumLevels(0), 0);
  EXPECT_EQ(flow.node.getNumCountBlocks(), 0);
  flow.count({{1}});
  expectLevels(flow.node, 0, {{1, 1}});
}

TEST(CountLevels, read_between_chunks_are_those_so_far) {
  // Reading by position must not be answered from before the values that came since.
  CountFlow flow({kFactor});
  Counts expected;
  std::mt19937 random(7);
  for (int chunk = 0; chunk < 60; ++chunk) {
    std::vector<double> values;
    for (int row = 0; row < 3; ++row) {
      const double value = random() % 11 == 0 ? kNA : static_cast<double>(random() % 100);
      values.push_back(value);
      ++expected[value];
    }
    flow.count({values});
    ASSERT_NO_FATAL_FAILURE(expectLevels(flow.node, 0, expected)) << chunk;
  }
}

TEST(CountLevels, agree_with_a_map_for_any_number_of_levels) {
  std::mt19937 random(20);
  for (const unsigned levels : {1u, 2u, 3u, 10u, 64u, 500u, 3000u}) {
    CountFlow flow({kFactor, kFactor}, 6000);
    Counts expected[2];
    ModelRecords model;
    int heads[2] = {-1, -1};
    Values values(2);
    for (int column = 0; column < 2; ++column) {
      for (int row = 0; row < 6000; ++row) {
        const double value = random() % 50 == 0 ? kNA : static_cast<double>(random() % levels);
        values[static_cast<std::size_t>(column)].push_back(value);
        ++expected[column][value];
        ++model.at(model.findOrInsert(heads[column], value)).count;
      }
    }
    flow.count(values);
    ASSERT_NO_FATAL_FAILURE(expectLevels(flow.node, 0, expected[0])) << levels;
    ASSERT_NO_FATAL_FAILURE(expectLevels(flow.node, 1, expected[1])) << levels;
    ASSERT_NO_FATAL_FAILURE(expectSameRecords(flow.node, model)) << levels;
    EXPECT_EQ(flow.node.getColumnInfo(0)->level_list, heads[0]);
    EXPECT_EQ(flow.node.getColumnInfo(1)->level_list, heads[1]);
  }
}

TEST(CountLevels, do_not_depend_on_ring_and_chunk_sizes) {
  std::mt19937 random(3);
  std::vector<double> values;
  Counts expected;
  for (int row = 0; row < 2000; ++row) {
    values.push_back(random() % 20 == 0 ? kNA : static_cast<double>(random() % 40));
    ++expected[values.back()];
  }
  for (const long ringRows : {1L, 2L, 3L, 7L, 1000L}) {
    for (const std::vector<long>& chunks : {std::vector<long>{1}, std::vector<long>{3, 2}, std::vector<long>{999}}) {
      SCOPED_TRACE(std::to_string(ringRows) + " " + std::to_string(chunks[0]));
      ZRBMemoryBuf buf;
      buf.setNumRows(ringRows);
      buf.setNumColumns(1);
      buf.setColumnType(0, kFactor);
      TableSource source(
          2000,
          [&](ZRBBufWriter& writer, long row, long long streamRow) {
            const double value = values[static_cast<std::size_t>(streamRow)];
            writer.setLevelNum(row, 0, std::isnan(value) ? -1 : static_cast<long>(value));
          },
          chunks);
      ZRBProcCount node;
      source.setOutputBuf(0, &buf);
      node.setInputBuf(0, &buf);
      ZRBPipeline pipeline;
      pipeline.addBuf(&buf);
      pipeline.addProc(&source);
      pipeline.addProc(&node);
      pipeline.init();
      pipeline.execute(0);
      ASSERT_EQ(node.isDone(), 1);
      expectLevels(node, 0, expected);
    }
  }
}

// ---- 65,000 levels ----

enum class Order { ascending, descending, shuffled };

class CountManyLevels : public testing::TestWithParam<Order> {
protected:
  static constexpr int kLevels = 65000;

  static std::vector<double> levelsInOrder(Order order) {
    std::vector<double> levels(kLevels);
    std::iota(levels.begin(), levels.end(), 0.0);
    if (order == Order::descending) std::reverse(levels.begin(), levels.end());
    if (order == Order::shuffled) std::shuffle(levels.begin(), levels.end(), std::mt19937(1));
    return levels;
  }
};
std::string orderName(const testing::TestParamInfo<Order>& order) {
  switch (order.param) {
    case Order::ascending:
      return "ascending";
    case Order::descending:
      return "descending";
    case Order::shuffled:
      break;
  }
  return "shuffled";
}
INSTANTIATE_TEST_SUITE_P(Inserted, CountManyLevels,
                         testing::Values(Order::ascending, Order::descending, Order::shuffled), orderName);

TEST_P(CountManyLevels, are_counted_and_read) {
  const std::vector<double> levels = levelsInOrder(GetParam());
  CountFlow flow({kFactor}, kLevels);
  flow.buf.setNumLevels(0, kLevels);
  for (long level = 0; level < kLevels; ++level) flow.buf.setLevelName(0, level, std::to_string(level).c_str());
  flow.release({levels});
  flow.node.execute();
  flow.release({levels});
  flow.node.execute();

  ASSERT_EQ(flow.node.getColumnNumLevels(0), kLevels);
  for (int position = 0; position < kLevels; ++position) {
    ASSERT_EQ(flow.node.getColumnLevelInt(0, position), position);
    ASSERT_EQ(flow.node.getColumnLevelCount(0, position), 2);
    ASSERT_EQ(flow.node.getColumnLevelName(0, position), std::to_string(position));
  }

  for (int position = kLevels - 1; position >= 0; --position) {
    ASSERT_EQ(flow.node.getColumnLevelValue(0, position), position);
  }
}

TEST_P(CountManyLevels, are_cross_tabulated) {
  const std::vector<double> levels = levelsInOrder(GetParam());
  CountFlow flow({kFactor, kFactor}, kLevels);
  flow.node.setCrossSize(2);
  flow.node.setCrossColumn(0, 0);
  flow.node.setCrossColumn(1, 1);
  flow.node.init();
  std::vector<double> two;
  for (const double level : levels) two.push_back(level < 60000 ? 0 : 1);
  flow.release({levels, two});
  flow.node.execute();
  EXPECT_EQ(flow.node.getNumCountBlocks(), 3 * kLevels + 2);

  for (int position = 0; position < kLevels; ++position) {
    flow.node.setCrossIndex(0, position);
    flow.node.setCrossIndex(1, position < 60000 ? 0 : 1);
    ASSERT_EQ(flow.node.getCrossCount(), 1);
    flow.node.setCrossIndex(1, position < 60000 ? 1 : 0);
    ASSERT_EQ(flow.node.getCrossCount(), 0);
  }
}

TEST_P(CountManyLevels, below_one_level_are_cross_tabulated) {
  const std::vector<double> levels = levelsInOrder(GetParam());
  CountFlow flow({kFactor, kFactor}, kLevels);
  flow.node.setCrossSize(2);
  flow.node.setCrossColumn(0, 0);
  flow.node.setCrossColumn(1, 1);
  flow.node.init();
  flow.release({std::vector<double>(kLevels, 7.0), levels});
  flow.node.execute();
  EXPECT_EQ(flow.node.getNumCountBlocks(), 1 + kLevels + 1 + kLevels);
  flow.node.setCrossIndex(0, 0);
  flow.node.setCrossIndex(1, kLevels - 1);
  EXPECT_EQ(flow.node.getCrossCount(), 1);
}

}  // namespace
