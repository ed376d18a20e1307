// Whole pipelines, made by the factories and driven through properties alone.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <string>
#include <vector>

#include "support/CountFlow.h"
#include "support/CountModel.h"
#include "support/RandomModel.h"
#include "support/SystemObjects.h"

namespace {

using Texts = std::vector<std::string>;

// A source, a buffer and a count node in a pipeline.
template <class Source>
struct CountingPipeline {
  std::unique_ptr<ZRBMemoryBuf> buf = makeBuf();
  std::unique_ptr<Source> source;
  std::unique_ptr<ZRBProcCount> count = makeCount();
  std::unique_ptr<ZRBPipeline> pipeline = makePipeline();

  CountingPipeline(std::unique_ptr<Source> made, const std::vector<ColumnSpec>& columns, long long totalRows,
                   long ringRows, long chunkRows)
      : source(std::move(made)) {
    setColumnsThroughProperties(*buf, columns);
    setProperty(*buf, "num.rows", ringRows);
    setProperty(*source, "num.rows", chunkRows);
    setProperty(*source, "total.rows", totalRows);
    connectOutput(*source, *buf);
    connectInput(*count, *buf);
    addToPipeline(*pipeline, *buf);
    addToPipeline(*pipeline, *source);
    addToPipeline(*pipeline, *count);
  }
  void run() {
    setProperty(*pipeline, "init");
    setProperty(*pipeline, "execute", 0);
  }
};

struct RingCase {
  long ringRows, chunkRows;
};
const RingCase kRings[] = {{1, 1}, {2, 1}, {2, 2}, {3, 2}, {7, 3}, {7, 7}, {1000, 999}, {1000, 64}, {3000, 1000}};

TEST(WholePipelines, random_rows_are_counted_as_computed_independently_whatever_the_ring) {
  constexpr long long kRows = 2345;
  RandomModel random(4711);
  ModelColumn x, t;
  for (long long row = 0; row < kRows; ++row) {
    x.add(random.draw());
    random.draw();  // the factor
    t.add(static_cast<double>(static_cast<long long>(random.draw() * 86400000.0)) / 86400000.0);
  }
  for (const RingCase& ring : kRings) {
    SCOPED_TRACE(std::to_string(ring.ringRows) + " " + std::to_string(ring.chunkRows));
    CountingPipeline flow(makeRandomReader(), {{"x", "double"}, {"f", "factor"}, {"t", "timeDate"}}, kRows,
                          ring.ringRows, ring.chunkRows);
    setProperty(*flow.source, "seed", 4711);
    flow.run();
    const std::pair<int, ModelColumn*> columns[] = {{0, &x}, {2, &t}};
    for (const auto& [column, expected] : columns) {
      EXPECT_TRUE(sameDouble(getDouble(*flow.count, "col.min", column), expected->min));
      EXPECT_TRUE(sameDouble(getDouble(*flow.count, "col.max", column), expected->max));
      EXPECT_TRUE(sameDouble(getDouble(*flow.count, "col.mean", column), expected->mean));
      EXPECT_TRUE(sameDouble(getDouble(*flow.count, "col.stddev", column), expected->stdDev()));
      EXPECT_EQ(getLongLong(*flow.count, "col.count.ok", column), kRows);
      EXPECT_EQ(getLongLong(*flow.count, "col.count.na", column), 0);
    }
    EXPECT_EQ(getLong(*flow.count, "col.num.levels", 1), 1);
    EXPECT_EQ(getString(*flow.count, "col.level.name", 1, 0), "lev1");
    EXPECT_EQ(getLongLong(*flow.count, "col.level.count", 1, 0), kRows);
    EXPECT_EQ(getBool(*flow.source, "done"), 1);
    EXPECT_EQ(getBool(*flow.count, "done"), 1);
    EXPECT_EQ(getLongLong(*flow.source, "rows.done"), kRows);
    EXPECT_EQ(getLongLong(*flow.count, "rows.done"), kRows);
    EXPECT_EQ(getLongLong(*flow.buf, "total.num.rows"), kRows);
    EXPECT_EQ(getLong(*flow.buf, "output.rows.locked"), 0);
    EXPECT_EQ(messagesThroughProperties(*flow.source), Texts{});
    EXPECT_EQ(messagesThroughProperties(*flow.count), Texts{});
    EXPECT_EQ(messagesThroughProperties(*flow.buf), Texts{});
  }
}

TEST(WholePipelines, row_numbers_have_the_statistics_of_row_numbers) {
  for (const RingCase& ring : kRings) {
    CountingPipeline flow(makeNullReader(), {{"a", "double"}, {"b", "double"}}, 1001, ring.ringRows, ring.chunkRows);
    flow.run();
    for (const int column : {0, 1}) {
      EXPECT_EQ(getDouble(*flow.count, "col.min", column), column);
      EXPECT_EQ(getDouble(*flow.count, "col.max", column), 1000 + column);
      // Running means are halves and products quarters: every step is exact.
      EXPECT_EQ(getDouble(*flow.count, "col.mean", column), 500 + column);
      EXPECT_EQ(getDouble(*flow.count, "col.stddev", column), std::sqrt(1001 * 1002 / 12.0));
    }
  }
}

TEST(WholePipelines, every_row_of_a_factor_of_row_numbers_is_a_level) {
  CountingPipeline flow(makeNullReader(), {{"f", "factor"}, {"g", "factor"}}, 12, 5, 2);
  flow.run();
  ASSERT_EQ(getLong(*flow.count, "col.num.levels", 0), 12);
  for (int level = 0; level < 12; ++level) {
    EXPECT_EQ(getString(*flow.count, "col.level.name", 0, level), std::to_string(level));
    EXPECT_EQ(getString(*flow.count, "col.level.name", 1, level), std::to_string(level + 1));
    EXPECT_EQ(getLongLong(*flow.count, "col.level.count", 0, level), 1);
    EXPECT_EQ(getLong(*flow.count, "col.level.int", 0, level), level);
  }
}

TEST(WholePipelines, levels_beyond_the_maximum_are_counted_as_NA_and_as_overflow) {
  CountingPipeline flow(makeNullReader(), {{"f", "factor"}}, 20, 7, 3);
  setProperty(*flow.buf, "column.max.auto.levels", 0, 5);
  flow.run();
  ASSERT_EQ(getLong(*flow.count, "col.num.levels", 0), 6);
  EXPECT_EQ(getString(*flow.count, "col.level.name", 0, 0), "NA");
  EXPECT_EQ(getLongLong(*flow.count, "col.level.count", 0, 0), 15);
  EXPECT_EQ(getString(*flow.count, "col.level.name", 0, 5), "4");
  EXPECT_EQ(getLongLong(*flow.count, "col.count.na", 0), 15);
  EXPECT_EQ(getLongLong(*flow.count, "col.count.ok", 0), 5);
  EXPECT_EQ(getLongLong(*flow.buf, "overflow.count", 0), 15);
  EXPECT_EQ(getBool(*flow.buf, "any.overflow.counts"), 1);
  EXPECT_EQ(messagesThroughProperties(*flow.buf), Texts{});
}

TEST(WholePipelines, levels_beyond_the_maximum_go_to_the_overflow_level) {
  CountingPipeline flow(makeNullReader(), {{"f", "factor"}}, 20, 7, 3);
  setProperty(*flow.buf, "column.max.auto.levels", 0, 5);
  setProperty(*flow.buf, "column.overflow.level", 0, "other");
  flow.run();
  ASSERT_EQ(getLong(*flow.count, "col.num.levels", 0), 5);
  for (int level = 0; level < 4; ++level) {
    EXPECT_EQ(getString(*flow.count, "col.level.name", 0, level), std::to_string(level));
  }
  EXPECT_EQ(getString(*flow.count, "col.level.name", 0, 4), "other");
  EXPECT_EQ(getLongLong(*flow.count, "col.level.count", 0, 4), 16);
}

TEST(WholePipelines, a_cross_tabulation_of_row_numbers_has_only_its_diagonal) {
  CountingPipeline flow(makeNullReader(), {{"f", "factor"}, {"x", "double"}, {"g", "factor"}}, 30, 8, 5);
  setProperty(*flow.count, "cross.size", 2);
  setProperty(*flow.count, "cross.column", 0, 0);
  setProperty(*flow.count, "cross.column", 1, 2);
  flow.run();
  for (int a = 0; a < 30; ++a) {
    for (int b = 0; b < 30; ++b) {
      setProperty(*flow.count, "cross.index", 0, a);
      setProperty(*flow.count, "cross.index", 1, b);
      ASSERT_EQ(getDouble(*flow.count, "cross.count"), a == b ? 1 : 0);
    }
  }
  EXPECT_EQ(getLong(*flow.count, "num.count.blocks"), 4 * 30);
}

TEST(WholePipelines, a_bad_cross_column_stops_the_node_and_the_pipeline_ends) {
  CountingPipeline flow(makeNullReader(), {{"f", "factor"}, {"x", "double"}}, 30, 8, 5);
  setProperty(*flow.count, "cross.size", 1);
  setProperty(*flow.count, "cross.column", 0, 1);
  flow.run();
  EXPECT_EQ(messagesThroughProperties(*flow.count), Texts{"bad cross: column not a factor: 1"});
  EXPECT_EQ(getString(*flow.count, "error"), "bad cross: column not a factor: 1");
  EXPECT_EQ(getBool(*flow.count, "ready"), 0);
  EXPECT_EQ(getBool(*flow.source, "done"), 0);
  EXPECT_EQ(getLong(*flow.buf, "input.rows.released"), 5);  // 3 rows of room are not the 5 it wants
  setProperty(*flow.count, "cross.column", 0, 7);
  flow.run();
  EXPECT_EQ(messagesThroughProperties(*flow.count), Texts{"bad cross column number: 7"});
  setProperty(*flow.count, "cross.column", 0, 0);
  flow.run();
  EXPECT_EQ(messagesThroughProperties(*flow.count), Texts{});
  EXPECT_EQ(getBool(*flow.count, "done"), 1);
}

TEST(WholePipelines, text_columns_are_counted_by_length) {
  CountingPipeline flow(makeNullReader(), {{"s", "string"}}, 200, 64, 10);
  flow.run();
  ModelColumn lengths;
  for (int row = 0; row < 200; ++row) lengths.add(static_cast<double>(std::to_string(row).size()));
  EXPECT_EQ(getDouble(*flow.count, "col.min", 0), 1);
  EXPECT_EQ(getDouble(*flow.count, "col.max", 0), 3);
  EXPECT_EQ(getDouble(*flow.count, "col.mean", 0), lengths.mean);
  EXPECT_EQ(getDouble(*flow.count, "col.stddev", 0), lengths.stdDev());
}

TEST(WholePipelines, several_sinks_of_one_buffer_all_see_all_rows) {
  auto buf = makeBuf();
  setColumnsThroughProperties(*buf, {{"x", "double"}});
  setProperty(*buf, "num.rows", 20);
  auto source = makeRandomReader();
  setProperty(*source, "seed", 3);
  setProperty(*source, "total.rows", 500);
  setProperty(*source, "num.rows", 7);
  connectOutput(*source, *buf);
  auto first = makeCount();
  auto second = makeCount();
  auto third = makeNullWriter();
  setProperty(*third, "num.rows", 13);
  for (ZRBProc* sink : std::initializer_list<ZRBProc*>{first.get(), second.get(), third.get()}) {
    connectInput(*sink, *buf);
  }
  EXPECT_EQ(getLong(*buf, "num.readers"), 3);
  auto pipeline = makePipeline();
  addToPipeline(*pipeline, *buf);
  for (ZRBProc* node : std::initializer_list<ZRBProc*>{third.get(), first.get(), source.get(), second.get()}) {
    addToPipeline(*pipeline, *node);
  }
  setProperty(*pipeline, "init");
  setProperty(*pipeline, "execute", 0);
  RandomModel random(3);
  ModelColumn expected;
  for (int row = 0; row < 500; ++row) expected.add(random.draw());
  for (ZRBProcCount* count : {first.get(), second.get()}) {
    EXPECT_EQ(getLongLong(*count, "rows.done"), 500);
    EXPECT_EQ(getDouble(*count, "col.mean", 0), expected.mean);
    EXPECT_EQ(getDouble(*count, "col.stddev", 0), expected.stdDev());
  }
  EXPECT_EQ(getLongLong(*third, "rows.done"), 500);
  EXPECT_EQ(getBool(*third, "done"), 1);
}

TEST(WholePipelines, two_flows_share_one_pipeline) {
  CountingPipeline one(makeNullReader(), {{"x", "double"}}, 100, 10, 3);
  CountingPipeline two(makeNullReader(), {{"x", "double"}}, 250, 10, 4);
  auto both = makePipeline();
  for (ZRBMemoryBuf* buf : {one.buf.get(), two.buf.get()}) addToPipeline(*both, *buf);
  for (ZRBProc* node :
       std::initializer_list<ZRBProc*>{one.source.get(), two.count.get(), one.count.get(), two.source.get()}) {
    addToPipeline(*both, *node);
  }
  setProperty(*both, "init");
  setProperty(*both, "execute", 0);
  EXPECT_EQ(getDouble(*one.count, "col.max", 0), 99);
  EXPECT_EQ(getDouble(*two.count, "col.max", 0), 249);
}

TEST(WholePipelines, steps_give_the_same_results_as_one_call) {
  CountingPipeline whole(makeRandomReader(), {{"x", "double"}}, 1000, 30, 7);
  whole.run();
  CountingPipeline stepped(makeRandomReader(), {{"x", "double"}}, 1000, 30, 7);
  setProperty(*stepped.pipeline, "init");
  long long steps = 0;
  while (getBool(*stepped.pipeline, "any.proc.ready")) {
    setProperty(*stepped.pipeline, "execute", 3);
    steps += getLongLong(*stepped.pipeline, "last.execution.count");
  }
  EXPECT_EQ(steps, getLongLong(*stepped.pipeline, "total.execution.count"));
  EXPECT_EQ(steps, getLongLong(*whole.pipeline, "total.execution.count"));
  EXPECT_EQ(steps, getLongLong(*stepped.source, "execute.count") + getLongLong(*stepped.count, "execute.count"));
  for (const char* result : {"col.min", "col.max", "col.mean", "col.stddev"}) {
    EXPECT_EQ(getDouble(*stepped.count, result, 0), getDouble(*whole.count, result, 0)) << result;
  }
}

TEST(WholePipelines, a_second_run_gives_the_same_results) {
  CountingPipeline flow(makeRandomReader(), {{"x", "double"}, {"f", "factor"}}, 1000, 30, 7);
  flow.run();
  const double mean = getDouble(*flow.count, "col.mean", 0);
  const double deviation = getDouble(*flow.count, "col.stddev", 0);
  flow.run();
  EXPECT_EQ(getDouble(*flow.count, "col.mean", 0), mean);
  EXPECT_EQ(getDouble(*flow.count, "col.stddev", 0), deviation);
  EXPECT_EQ(getLongLong(*flow.count, "col.level.count", 1, 0), 1000);
  EXPECT_EQ(getLongLong(*flow.count, "rows.done"), 1000);
}

TEST(WholePipelines, a_node_that_was_never_initialised_does_not_run) {
  auto node = makeNullReader();
  EXPECT_EQ(getString(*node, "error"), "uninitialized");
  auto pipeline = makePipeline();
  addToPipeline(*pipeline, *node);
  setProperty(*pipeline, "execute", 0);
  EXPECT_EQ(getLongLong(*pipeline, "last.execution.count"), 0);
}

TEST(WholePipelines, wrong_wiring_is_told_by_the_object_concerned) {
  CountingPipeline flow(makeNullReader(), {{"x", "double"}}, 10, 10, 3);
  setProperty(*flow.source, "outbuf", static_cast<ZRBBuf*>(nullptr));
  flow.run();
  EXPECT_EQ(messagesThroughProperties(*flow.buf), Texts{"no writer"});
  EXPECT_EQ(messagesThroughProperties(*flow.source), Texts{"this node expects 1 outputs, but was given 0 outputs"});
  EXPECT_EQ(messagesThroughProperties(*flow.count), Texts{});
  EXPECT_EQ(getLongLong(*flow.pipeline, "total.execution.count"), 0);  // its input has an error
}

TEST(WholePipelines, objects_are_found_by_name) {
  CountingPipeline flow(makeNullReader(), {{"x", "double"}}, 10, 10, 3);
  setProperty(*flow.buf, "name", "rows");
  setProperty(*flow.count, "name", "statistics");
  EXPECT_EQ(getProperty(*flow.pipeline, "get.buf.by.name", "rows").bufResult.value(), flow.buf.get());
  EXPECT_EQ(getProperty(*flow.pipeline, "get.proc.by.name", "statistics").procResult.value(), flow.count.get());
  EXPECT_EQ(getProperty(*flow.pipeline, "get.proc.by.name", "nobody").procResult.value(), nullptr);
  EXPECT_EQ(getProperty(*flow.pipeline, "get.proc.by.number", 0).procResult.value(), flow.source.get());
  EXPECT_EQ(getProperty(*flow.buf, "writer.proc", 0).procResult.value(), flow.source.get());
  EXPECT_EQ(getProperty(*flow.buf, "reader.proc", 0).procResult.value(), flow.count.get());
}

}  // namespace
