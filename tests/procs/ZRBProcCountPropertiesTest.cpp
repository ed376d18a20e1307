// The property tables of the count node.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "ZRBMemoryBuf.h"
#include "ZRBProcCount.h"
#include "support/CountFlow.h"
#include "support/Harness.h"
#include "support/PropertyCall.h"
#include "support/PropertyChains.h"

namespace {

const Names kCountSetNames = {"cross.size", "cross.column", "cross.index"};
const Names kCountGetNames = {"cross.size",      "cross.column",  "col.min",      "col.max",         "col.mean",
                              "col.stddev",      "col.count.na",  "col.count.ok", "col.num.levels",  "col.level.name",
                              "col.level.count", "col.level.int", "cross.count",  "num.count.blocks"};

TEST(CountProperties, names_are_tested_in_order_and_an_unknown_one_is_reported_once) {
  ZRBProcCount node;
  expectChains(node, joined({kCountSetNames, kProcSetNames, kObjSetNames}),
               joined({kCountGetNames, kProcGetNames, kObjGetNames}));
}

TEST(CountProperties, set_reads_the_arguments_of_each_row) {
  const PropertyRow rows[] = {
      {"cross.size", {"getLongArg"}},
      {"cross.column", {"getLongArg", "getNextArg"}, {"getLongArg"}},
      {"cross.index", {"getLongArg", "getNextArg"}, {"getLongArg"}},
  };
  ASSERT_EQ(std::size(rows), kCountSetNames.size());
  ZRBProcCount node;
  for (const PropertyRow& row : rows) expectSetRow(node, row);
}

TEST(CountProperties, get_reads_the_arguments_and_stores_the_result_of_each_row) {
  const PropertyRow rows[] = {
      {"cross.size", {"setLongResult"}},
      {"cross.column", {"getLongArg", "setLongResult"}},
      {"col.min", {"getLongArg", "setDoubleResult"}},
      {"col.max", {"getLongArg", "setDoubleResult"}},
      {"col.mean", {"getLongArg", "setDoubleResult"}},
      {"col.stddev", {"getLongArg", "setDoubleResult"}},
      {"col.count.na", {"getLongArg", "setLongLongResult"}},
      {"col.count.ok", {"getLongArg", "setLongLongResult"}},
      {"col.num.levels", {"getLongArg", "setLongResult"}},
      {"col.level.name", {"getLongArg", "getNextArg", "setStringResult"}, {"getLongArg"}},
      {"col.level.count", {"getLongArg", "getNextArg", "setLongLongResult"}, {"getLongArg"}},
      {"col.level.int", {"getLongArg", "getNextArg", "setLongResult"}, {"getLongArg"}},
      {"cross.count", {"setDoubleResult"}},
      {"num.count.blocks", {"setLongResult"}},
  };
  ASSERT_EQ(std::size(rows), kCountGetNames.size());
  ZRBProcCount node;
  for (const PropertyRow& row : rows) expectGetRow(node, row);
}

TEST(CountProperties, results_cannot_be_set_and_an_index_cannot_be_read) {
  ZRBProcCount node;
  expectUnknownToSet(node,
                     {"col.min", "col.max", "col.mean", "col.stddev", "col.count.na", "col.count.ok", "col.num.levels",
                      "col.level.name", "col.level.count", "col.level.int", "cross.count", "num.count.blocks"});
  expectUnknownToGet(node, {"cross.index"});
}

TEST(CountProperties, settings_are_read_back) {
  ZRBProcCount node;
  EXPECT_EQ(PropertyCall("cross.size").get(node).longResult, 0);
  PropertyCall("cross.size").with(12).set(node);
  EXPECT_EQ(PropertyCall("cross.size").get(node).longResult, 10);
  PropertyCall("cross.size").with(-3).set(node);
  EXPECT_EQ(PropertyCall("cross.size").get(node).longResult, -3);  // none, and kept as given
  PropertyCall("cross.column").with(9).with(33).set(node);
  EXPECT_EQ(PropertyCall("cross.column").with(9).get(node).longResult, 33);
  PropertyCall("cross.column").with(10).with(44).set(node);
  EXPECT_EQ(PropertyCall("cross.column").with(10).get(node).longResult, 0);
  EXPECT_EQ(PropertyCall("cross.column").with(9).get(node).longResult, 33);
}

TEST(CountProperties, give_the_results_of_a_run) {
  CountFlow flow({ZRBBuf::column_double, ZRBBuf::column_factor, ZRBBuf::column_factor});
  for (long level = 0; level < 4; ++level) {
    flow.buf.addLevel(1, ("a" + std::to_string(level)).c_str());
    flow.buf.addLevel(2, ("b" + std::to_string(level)).c_str());
  }
  ZRBProcCount& node = flow.node;
  PropertyCall("cross.size").with(2).set(node);
  PropertyCall("cross.column").with(0).with(1).set(node);
  PropertyCall("cross.column").with(1).with(2).set(node);
  PropertyCall("init").set(node);
  flow.release({{1, 2, 3, kNA}, {3, 1, kNA, 3}, {0, 2, 2, 0}});
  PropertyCall("execute").set(node);

  EXPECT_EQ(PropertyCall("col.min").with(0).get(node).doubleResult, 1);
  EXPECT_EQ(PropertyCall("col.max").with(0).get(node).doubleResult, 3);
  EXPECT_EQ(PropertyCall("col.mean").with(0).get(node).doubleResult, 2);
  EXPECT_EQ(PropertyCall("col.stddev").with(0).get(node).doubleResult, 1);
  EXPECT_EQ(PropertyCall("col.count.na").with(0).get(node).longLongResult, 1);
  EXPECT_EQ(PropertyCall("col.count.ok").with(0).get(node).longLongResult, 3);
  EXPECT_EQ(PropertyCall("col.num.levels").with(0).get(node).longResult, 0);
  EXPECT_EQ(PropertyCall("col.num.levels").with(1).get(node).longResult, 3);

  EXPECT_STREQ(PropertyCall("col.level.name").with(1).with(0).get(node).stringResult.value(), "NA");
  EXPECT_STREQ(PropertyCall("col.level.name").with(1).with(1).get(node).stringResult.value(), "a1");
  EXPECT_STREQ(PropertyCall("col.level.name").with(1).with(2).get(node).stringResult.value(), "a3");
  EXPECT_EQ(PropertyCall("col.level.count").with(1).with(0).get(node).longLongResult, 1);
  EXPECT_EQ(PropertyCall("col.level.count").with(1).with(2).get(node).longLongResult, 2);
  EXPECT_EQ(PropertyCall("col.level.int").with(1).with(0).get(node).longResult, -1);
  EXPECT_EQ(PropertyCall("col.level.int").with(1).with(2).get(node).longResult, 3);

  PropertyCall("cross.index").with(0).with(2).set(node);  // a3
  PropertyCall("cross.index").with(1).with(0).set(node);  // b0
  EXPECT_EQ(PropertyCall("cross.count").get(node).doubleResult, 2);
  PropertyCall("cross.index").with(1).with(1).set(node);  // b2
  EXPECT_EQ(PropertyCall("cross.count").get(node).doubleResult, 0);
  // 3 and 2 values of the columns; 3 values and 3 pairs of the table.
  EXPECT_EQ(PropertyCall("num.count.blocks").get(node).longResult, 11);
  EXPECT_EQ(PropertyCall("rows.done").get(node).longLongResult, 4);
  EXPECT_EQ(PropertyCall("data.pass.count").get(node).longResult, 1);
}

TEST(CountProperties, without_a_result_read_NaN_or_0) {
  ZRBProcCount node;
  for (const long column : {-1L, 0L, 40L}) {
    EXPECT_TRUE(std::isnan(PropertyCall("col.min").with(column).get(node).doubleResult.value()));
    EXPECT_TRUE(std::isnan(PropertyCall("col.max").with(column).get(node).doubleResult.value()));
    EXPECT_TRUE(std::isnan(PropertyCall("col.mean").with(column).get(node).doubleResult.value()));
    EXPECT_TRUE(std::isnan(PropertyCall("col.stddev").with(column).get(node).doubleResult.value()));
    EXPECT_EQ(PropertyCall("col.count.na").with(column).get(node).longLongResult, 0);
    EXPECT_EQ(PropertyCall("col.count.ok").with(column).get(node).longLongResult, 0);
    EXPECT_EQ(PropertyCall("col.num.levels").with(column).get(node).longResult, 0);
    EXPECT_STREQ(PropertyCall("col.level.name").with(column).with(0).get(node).stringResult.value(), "NA");
    EXPECT_EQ(PropertyCall("col.level.count").with(column).with(0).get(node).longLongResult, 0);
    EXPECT_EQ(PropertyCall("col.level.int").with(column).with(0).get(node).longResult, -1);
  }
  EXPECT_EQ(PropertyCall("cross.count").get(node).doubleResult, 0);
  EXPECT_EQ(PropertyCall("num.count.blocks").get(node).longResult, 0);
}

TEST(CountProperties, a_level_without_a_name_reads_null) {
  CountFlow flow({ZRBBuf::column_factor});
  flow.count({{6}});
  PropertyCall call("col.level.name");
  call.with(0).with(0).get(flow.node);
  ASSERT_TRUE(call.stringResult.has_value());
  EXPECT_EQ(*call.stringResult, nullptr);
}

}  // namespace
