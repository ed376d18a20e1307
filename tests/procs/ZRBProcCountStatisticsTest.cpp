// What the count node gathers per column: minimum, maximum, mean, standard deviation, NA and present values.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "ZRBBufReader.h"
#include "ZRBBufWriter.h"
#include "ZRBMemoryBuf.h"
#include "ZRBMemoryBufReader.h"
#include "ZRBPipeline.h"
#include "ZRBProcCount.h"
#include "support/BinaryInterface.h"
#include "support/CountFlow.h"
#include "support/CountModel.h"
#include "support/Harness.h"
#include "support/LoggingEnds.h"
#include "support/TableSource.h"

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

// ---- Records ----

TEST(CountColumns, a_new_node_has_no_values) {
  ZRBProcCount node;
  for (const int column : {-1, 0, 7}) {
    EXPECT_TRUE(std::isnan(node.getMin(column))) << column;
    EXPECT_TRUE(std::isnan(node.getMax(column))) << column;
    EXPECT_TRUE(std::isnan(node.getMean(column))) << column;
    EXPECT_TRUE(std::isnan(node.getStdDev(column))) << column;
    EXPECT_EQ(node.getCountNA(column), 0) << column;
    EXPECT_EQ(node.getCountOK(column), 0) << column;
    EXPECT_EQ(node.getColumnNumLevels(column), 0) << column;
  }
  EXPECT_EQ(messagesOf(node), Messages{"uninitialized"});
}

TEST(CountColumns, a_column_that_cannot_have_a_record_reads_the_reserved_NaN) {
  ZRBProcCount node;
  EXPECT_EQ(bitsOf(node.getMin(-1)), kDoubleNABits);
  EXPECT_EQ(bitsOf(node.getMax(-1)), kDoubleNABits);
  EXPECT_EQ(bitsOf(node.getMean(-1)), kDoubleNABits);
  EXPECT_EQ(bitsOf(node.getStdDev(-1)), kDoubleNABits);
}

TEST(CountColumns, asking_for_a_record_makes_it) {
  ZRBProcCount node;
  EXPECT_EQ(node.getColumnInfo(-1), nullptr);
  for (const int column : {0, 99, 100, 150, 5000}) {
    const ZRBProcCountColumnInfo* info = node.getColumnInfo(column);
    ASSERT_NE(info, nullptr) << column;
    EXPECT_TRUE(std::isnan(info->min)) << column;
    EXPECT_TRUE(std::isnan(info->max)) << column;
    EXPECT_TRUE(std::isnan(info->mean)) << column;
    EXPECT_TRUE(std::isnan(info->m2)) << column;
    EXPECT_EQ(info->count_na, 0) << column;
    EXPECT_EQ(info->count_ok, 0) << column;
    EXPECT_EQ(info->level_list, -1) << column;
  }
}

TEST(CountColumns, records_keep_their_contents_when_more_are_made) {
  CountFlow flow({ZRBBuf::column_double});
  flow.count({{1, 2, 6}});
  ASSERT_NE(flow.node.getColumnInfo(4000), nullptr);
  EXPECT_EQ(flow.node.getMean(0), 3);
  EXPECT_EQ(flow.node.getCountOK(0), 3);
  EXPECT_EQ(flow.node.getCountOK(4000), 0);
}

TEST(CountColumns, records_grow_to_100_and_then_double) {
  constexpr std::size_t kRecordsAt = 160;  // in the node
  const auto records = [](ZRBProcCount& node) { return arrayAt<ZRBProcCountColumnInfo>(&node, kRecordsAt).size(); };
  const struct { std::size_t columns, records; } cases[] = {{1, 100}, {100, 100}, {101, 200}, {250, 400}};
  for (const auto& c : cases) {
    CountFlow flow(std::vector<ZRBBuf::column_type>(c.columns, ZRBBuf::column_double), 10);
    flow.count(Values(c.columns, {1.0}));
    EXPECT_EQ(records(flow.node), c.records) << c.columns << " columns";
  }
  CountFlow flow({ZRBBuf::column_double});
  flow.node.getColumnInfo(249);
  EXPECT_EQ(records(flow.node), 250u) << "a column far beyond the end";
}

TEST(CountColumns, more_columns_than_the_first_growth_are_counted) {
  std::vector<ZRBBuf::column_type> types(350, ZRBBuf::column_double);
  CountFlow flow(types, 10);
  Values values;
  for (int column = 0; column < 350; ++column) {
    values.push_back({column + 0.5, column + 1.5});
  }
  flow.count(values);
  for (int column = 0; column < 350; ++column) {
    ASSERT_EQ(flow.node.getMin(column), column + 0.5);
    ASSERT_EQ(flow.node.getMax(column), column + 1.5);
    ASSERT_EQ(flow.node.getMean(column), column + 1.0);
    ASSERT_EQ(flow.node.getCountOK(column), 2);
  }
  EXPECT_EQ(flow.node.getCountOK(350), 0);
}

// ---- Values ----

TEST(CountStatistics, of_three_values_and_an_NA) {
  CountFlow flow({ZRBBuf::column_double});
  flow.count({{1, 2, 3, kNA}});
  EXPECT_EQ(flow.node.getMin(0), 1);
  EXPECT_EQ(flow.node.getMax(0), 3);
  EXPECT_EQ(flow.node.getMean(0), 2);
  EXPECT_EQ(flow.node.getStdDev(0), 1);
  EXPECT_EQ(flow.node.getCountNA(0), 1);
  EXPECT_EQ(flow.node.getCountOK(0), 3);
  EXPECT_EQ(messagesOf(flow.node), Messages{});
}

TEST(CountStatistics, a_single_value_has_deviation_0) {
  CountFlow flow({ZRBBuf::column_double});
  flow.count({{kNA, -7.25, kNA}});
  EXPECT_EQ(flow.node.getMin(0), -7.25);
  EXPECT_EQ(flow.node.getMax(0), -7.25);
  EXPECT_EQ(flow.node.getMean(0), -7.25);
  EXPECT_EQ(flow.node.getStdDev(0), 0);
  EXPECT_EQ(flow.node.getCountNA(0), 2);
  EXPECT_EQ(flow.node.getCountOK(0), 1);
}

TEST(CountStatistics, NA_alone_gives_no_values) {
  CountFlow flow({ZRBBuf::column_double});
  flow.count({{kNA, kNA, kNA}});
  EXPECT_TRUE(std::isnan(flow.node.getMin(0)));
  EXPECT_TRUE(std::isnan(flow.node.getMax(0)));
  EXPECT_TRUE(std::isnan(flow.node.getMean(0)));
  EXPECT_TRUE(std::isnan(flow.node.getStdDev(0)));
  EXPECT_EQ(flow.node.getCountNA(0), 3);
  EXPECT_EQ(flow.node.getCountOK(0), 0);
}

TEST(CountStatistics, every_NaN_is_an_NA) {
  CountFlow flow({ZRBBuf::column_double});
  const double nans[] = {std::nan(""), -std::nan(""), std::nan("0x123"), ZRBObj::getDoubleNA()};
  for (long row = 0; row < 4; ++row) flow.writer.setDouble(row, 0, nans[row]);
  flow.writer.releaseRows(4);
  flow.node.execute();
  EXPECT_EQ(flow.node.getCountNA(0), 4);
}

TEST(CountStatistics, survive_a_large_offset) {
  // The sum of squares minus the square of the sum would give -170.7 in double precision.
  CountFlow flow({ZRBBuf::column_double});
  flow.count({{1e9 + 4, 1e9 + 7, 1e9 + 13, 1e9 + 16}});
  EXPECT_EQ(flow.node.getMean(0), 1e9 + 10);
  EXPECT_EQ(flow.node.getColumnInfo(0)->m2, 90);  // every step of the recurrence is exact here
  EXPECT_EQ(flow.node.getStdDev(0), std::sqrt(30.0));
}

TEST(CountStatistics, of_equal_values_have_deviation_0) {
  CountFlow flow({ZRBBuf::column_double});
  flow.count({std::vector<double>(1000, 0.1)});
  EXPECT_EQ(flow.node.getMean(0), 0.1);
  EXPECT_EQ(flow.node.getStdDev(0), 0);
}

struct Sample {
  const char* name;
  std::vector<double> values;
};

std::vector<Sample> samples() {
  const double tiny = std::numeric_limits<double>::denorm_min();
  const double huge = std::numeric_limits<double>::max();
  std::vector<Sample> all = {
      {"with NA", {1, 2, 3, kNA, kNA, 4.5, -1, kNA, 1e-3}},
      {"NA first", {kNA, kNA, 5, 6}},
      {"infinities", {1, kInf, 2, -kInf, 3}},
      {"an infinity first", {kInf, 1, 2}},
      {"one infinity", {-kInf}},
      {"the same infinity twice", {kInf, kInf}},
      {"denormals", {tiny, 3 * tiny, -tiny, 0.0, 1e-310, -2.5e-315, 7 * tiny}},
      {"huge", {huge, -huge, huge, 1e308, -1.7e308}},
      {"huge of one sign", {1e308, 1.1e308, 1.3e308, 1.7e308}},
      {"mixed magnitudes", {1e300, 1e-300, -1e300, 1, 1e16, -1e16, 1e-16, 1e200}},
      {"zeros of both signs", {0.0, -0.0, 0.0, -0.0}},
      {"zeros of both signs, negative first", {-0.0, 0.0, -0.0}},
      {"large offset", {1e15 + 1, 1e15 + 2, 1e15 + 4, 1e15 + 8, 1e15 + 16}},
      {"descending", {9, 8, 7, 6, 5, 4, 3, 2, 1, 0, -1}},
      {"tenths", {0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8, 0.9}},
  };
  // A longer one: a fixed generator, values of all magnitudes and signs, an NA now and then.
  Sample longer{"many", {}};
  unsigned long state = 12345;
  const auto next = [&] { return state = state * 6364136223846793005u + 1442695040888963407u; };
  for (int i = 0; i < 5000; ++i) {
    const double mantissa = static_cast<double>(next() >> 11) * 0x1p-53;
    const int exponent = static_cast<int>(next() >> 58) - 32;
    const double sign = next() >> 63 ? -1 : 1;
    longer.values.push_back(next() % 13 == 0 ? kNA : sign * std::ldexp(mantissa, exponent));
  }
  all.push_back(longer);
  return all;
}

TEST(CountStatistics, are_those_of_the_plain_recurrence_bit_for_bit) {
  for (const Sample& sample : samples()) {
    SCOPED_TRACE(sample.name);
    ModelColumn expected;
    for (const double x : sample.values) expected.add(x);
    CountFlow flow({ZRBBuf::column_double}, 6000);
    flow.count({sample.values});
    expectSameColumn(flow.node, 0, expected);
  }
}

TEST(CountStatistics, do_not_depend_on_ring_and_chunk_sizes) {
  for (const Sample& sample : samples()) {
    ModelColumn expected;
    for (const double x : sample.values) expected.add(x);
    for (const long ringRows : {1L, 2L, 3L, 7L, 1000L}) {
      for (const std::vector<long>& chunks :
           {std::vector<long>{1}, std::vector<long>{2, 3}, std::vector<long>{5, 1, 64}, std::vector<long>{1000}}) {
        SCOPED_TRACE(std::string(sample.name) + ", ring " + std::to_string(ringRows) + ", chunks of " +
                     std::to_string(chunks[0]));
        ZRBMemoryBuf buf;
        buf.setNumRows(ringRows);
        buf.setNumColumns(1);
        TableSource source(
            static_cast<long long>(sample.values.size()),
            [&](ZRBBufWriter& writer, long row, long long streamRow) {
              writer.setDouble(row, 0, sample.values[static_cast<std::size_t>(streamRow)]);
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
        EXPECT_EQ(node.getRowsDone(), static_cast<long long>(sample.values.size()));
        EXPECT_EQ(messagesOf(node), Messages{});
        expectSameColumn(node, 0, expected);
      }
    }
  }
}

TEST(CountStatistics, of_a_factor_are_those_of_its_level_numbers) {
  CountFlow flow({ZRBBuf::column_factor});
  flow.count({{3, 1, kNA, 3, 65534}});
  ModelColumn expected;
  for (const double x : {3.0, 1.0, kNA, 3.0, 65534.0}) expected.add(x);
  expected.levelList = flow.node.getColumnInfo(0)->level_list;
  expectSameColumn(flow.node, 0, expected);
}

TEST(CountStatistics, the_deviation_is_NaN_when_the_sum_of_squares_cannot_be_used) {
  CountFlow flow({ZRBBuf::column_double});
  flow.count({{1, 2, 3}});
  ZRBProcCountColumnInfo* info = flow.node.getColumnInfo(0);
  struct {
    double m2;
    long long countOK;
    double deviation;
  } const cases[] = {
      {8, 3, 2},     {0, 3, 0}, {-1, 3, kNA}, {kNA, 3, kNA}, {-1, 1, kNA},
      {kNA, 1, kNA}, {5, 1, 0}, {5, 0, kNA},  {5, -1, kNA},  {kInf, 2, kInf},
  };
  for (const auto& c : cases) {
    info->m2 = c.m2;
    info->count_ok = c.countOK;
    EXPECT_TRUE(sameDouble(flow.node.getStdDev(0), c.deviation)) << c.m2 << " " << c.countOK;
  }
}

// ---- Column types ----

TEST(CountTypes, strings_are_measured_by_their_bytes) {
  ZRBMemoryBuf buf;
  HarnessNode source;
  ZRBProcCount node;
  ZRBBufWriter& writer = source.writeTo(buf);
  node.setInputBuf(0, &buf);
  setColumns(buf, {{"s", ZRBBuf::column_string, 12}});
  buf.init();
  node.init();
  const char* const texts[] = {"abc", "", ZRBObj::getStringNA(), "\xC3\xA4\xC3\xB6", "cut after 11 bytes", "abcde"};
  const double lengths[] = {3, 0, kNA, 4, 11, 5};
  ModelColumn expected;
  for (long row = 0; row < 6; ++row) {
    writer.setString(row, 0, texts[row]);
    expected.add(lengths[row]);
  }
  writer.releaseRows(6);
  node.execute();
  expectSameColumn(node, 0, expected);
  EXPECT_EQ(node.getMin(0), 0);
  EXPECT_EQ(node.getMax(0), 11);
  EXPECT_EQ(node.getCountNA(0), 1);
}

TEST(CountTypes, time_dates_are_measured_in_days_whatever_the_epoch) {
  const SavedSettings saved;
  for (const long long epoch : {0LL, 86400000LL * 365}) {
    ZRBObj::setDoubleDateEpoch(epoch);
    ZRBMemoryBuf buf;
    HarnessNode source;
    ZRBProcCount node;
    ZRBBufWriter& writer = source.writeTo(buf);
    node.setInputBuf(0, &buf);
    setColumns(buf, {{"t", ZRBBuf::column_timeDate}});
    buf.init();
    node.init();
    const long long times[] = {86400000,
                               43200000,
                               -1,
                               1234567890123,
                               0x7FFFFFFFFFFFFFFF,  // the NA
                               0x7FFFFFFFFFFFFFF1,  // counts as NA
                               0x7FFFFFFFFFFFFFF0,
                               -9223372036854775807 - 1};
    ModelColumn expected;
    for (long row = 0; row < 8; ++row) {
      writer.setTimeDate(row, 0, times[row]);
      expected.add(times[row] > 0x7FFFFFFFFFFFFFF0 ? kNA : static_cast<double>(times[row]) / 86400000.0);
    }
    writer.releaseRows(8);
    node.execute();
    expectSameColumn(node, 0, expected);
    EXPECT_EQ(node.getCountNA(0), 2);
  }
}

TEST(CountTypes, blobs_are_measured_by_their_length) {
  ZRBMemoryBuf buf;
  HarnessNode source;
  ZRBProcCount node;
  ZRBBufWriter& writer = source.writeTo(buf);
  node.setInputBuf(0, &buf);
  setColumns(buf, {{"b", ZRBBuf::column_blob}});
  buf.init();
  node.init();
  const long long lengths[] = {0, 5000000000, -1, 17, -3};  // every negative length is NA
  ModelColumn expected;
  for (long row = 0; row < 5; ++row) {
    writer.setBlobOffset(row, 0, 1000 * row);
    writer.setBlobLength(row, 0, lengths[row]);
    expected.add(lengths[row] < 0 ? kNA : static_cast<double>(lengths[row]));
  }
  writer.releaseRows(5);
  node.execute();
  expectSameColumn(node, 0, expected);
  EXPECT_EQ(node.getMax(0), 5000000000.0);
  EXPECT_EQ(node.getCountNA(0), 2);
  EXPECT_EQ(messagesOf(node), Messages{});
}

TEST(CountTypes, each_has_an_NA) {
  ZRBMemoryBuf buf;
  HarnessNode source;
  ZRBProcCount node;
  ZRBBufWriter& writer = source.writeTo(buf);
  node.setInputBuf(0, &buf);
  setColumns(buf, oneColumnOfEachType());
  buf.init();
  node.init();
  writer.setRectNA(0, 0, 4, 5);
  writer.releaseRows(4);
  node.execute();
  for (int column = 0; column < 5; ++column) {
    EXPECT_EQ(node.getCountNA(column), 4) << column;
    EXPECT_EQ(node.getCountOK(column), 0) << column;
    EXPECT_EQ(node.getColumnNumLevels(column), column == 1 ? 1 : 0) << column;
  }
}

TEST(CountTypes, cells_are_read_by_the_operation_of_their_type) {
  CallLog log;
  LoggingBuf buf(log, "in");
  HarnessNode source;
  ZRBProcCount node;
  ZRBBufWriter& writer = source.writeTo(buf);
  node.setInputBuf(0, &buf);
  setColumns(buf, oneColumnOfEachType());
  buf.init();
  node.init();
  writer.setRectNA(0, 0, 1, 5);
  writer.setBlobOffset(1, 4, 0);
  writer.setBlobLength(1, 4, 9);
  writer.releaseRows(2);
  log.clear();
  node.execute();
  EXPECT_EQ(changesOf(log),
            (CallLog{"in.setRequestRows(1)", "in.getDouble(0, 0)", "in.getDouble(1, 0)", "in.getDouble(0, 1)",
                     "in.getDouble(1, 1)", "in.getString(0, 2)", "in.getString(1, 2)", "in.getTimeDate(0, 3)",
                     "in.getTimeDate(1, 3)", "in.isBlobNA(0, 4)", "in.isBlobNA(1, 4)", "in.getBlobLength(1, 4)",
                     "in.releaseRows(2)", "in.setRequestRows(1)"}));
}

TEST(CountTypes, a_reader_that_answers_differently_is_heard) {
  CallLog log;
  LoggingBuf buf(log, "in");
  HarnessNode source;
  ZRBProcCount node;
  ZRBBufWriter& writer = source.writeTo(buf);
  node.setInputBuf(0, &buf);
  setColumns(buf, {{"d", ZRBBuf::column_double}, {"f", ZRBBuf::column_factor}});
  buf.init();
  node.init();
  buf.reader().addToDoubles = 0.5;
  node.setCrossSize(1);
  node.setCrossColumn(0, 1);
  for (long row = 0; row < 3; ++row) {
    writer.setDouble(row, 0, static_cast<double>(row));
    writer.setLevelNum(row, 1, row);
  }
  writer.releaseRows(3);
  node.execute();
  EXPECT_EQ(node.getMin(0), 0.5);
  EXPECT_EQ(node.getMean(0), 1.5);
  EXPECT_EQ(node.getMax(1), 2.5);
  EXPECT_EQ(node.getColumnLevelValue(1, 2), 2.5);
  ASSERT_EQ(node.getNumCountBlocks(), 6);
  EXPECT_EQ(node.getCountInfo(5)->value, 2.5);  // of the cross-tabulation
}

// ---- Chunks ----

TEST(CountChunks, add_up_until_init) {
  CountFlow flow({ZRBBuf::column_double});
  flow.count({{1, 2}});
  EXPECT_EQ(flow.node.getMean(0), 1.5);
  flow.count({{3, kNA}});
  EXPECT_EQ(flow.node.getMean(0), 2);
  EXPECT_EQ(flow.node.getCountOK(0), 3);
  EXPECT_EQ(flow.node.getCountNA(0), 1);
  EXPECT_EQ(flow.node.getRowsDone(), 4);
  flow.init();
  EXPECT_TRUE(std::isnan(flow.node.getMean(0)));
  EXPECT_EQ(flow.node.getCountOK(0), 0);
  EXPECT_EQ(flow.node.getRowsDone(), 0);
  flow.count({{10}});
  EXPECT_EQ(flow.node.getMean(0), 10);
}

TEST(CountChunks, take_all_rows_that_are_ready_whatever_the_chunk_size) {
  CountFlow flow({ZRBBuf::column_double});
  flow.node.setNumRows(10);
  flow.count({std::vector<double>(2500, 1.0)});
  EXPECT_EQ(flow.node.getCountOK(0), 2500);
  EXPECT_EQ(flow.buf.getOutputLockedRows(), 0);
  EXPECT_EQ(flow.node.getInputBufReader(0)->getRequestRows(), 1);
}

TEST(CountChunks, without_a_row_ready_nothing_happens) {
  CountFlow flow({ZRBBuf::column_double});
  flow.node.execute();
  EXPECT_EQ(flow.node.getInputBufReader(0)->getRequestRows(), 1);
  EXPECT_EQ(flow.node.isDone(), 0);
  EXPECT_EQ(flow.node.isReady(), 0);  // until a row comes
  EXPECT_EQ(flow.node.getRowsDone(), 0);
  EXPECT_EQ(messagesOf(flow.node), Messages{});
}

TEST(CountChunks, end_of_data_with_nothing_left_finishes_the_node) {
  CountFlow flow({ZRBBuf::column_double});
  flow.count({{1, 2}});
  EXPECT_EQ(flow.node.isDone(), 0);
  flow.writer.setEOF();
  EXPECT_EQ(flow.node.isDone(), 0);
  flow.node.execute();
  EXPECT_EQ(flow.node.isDone(), 1);
  EXPECT_EQ(flow.node.getRowsDone(), 2);
  EXPECT_EQ(flow.node.getCountOK(0), 2);
}

TEST(CountChunks, the_last_rows_and_the_end_of_data_are_taken_in_one_run) {
  CountFlow flow({ZRBBuf::column_double});
  flow.release({{1, 2, 3}});
  flow.writer.setEOF();
  flow.node.execute();
  EXPECT_EQ(flow.node.isDone(), 1);
  EXPECT_EQ(flow.node.getRowsDone(), 3);
}

TEST(CountChunks, rows_without_columns_are_counted_as_done) {
  CountFlow flow({});
  flow.writer.releaseRows(5);
  flow.writer.setEOF();
  flow.node.execute();
  EXPECT_EQ(flow.node.isDone(), 1);
  EXPECT_EQ(flow.node.getRowsDone(), 5);
  EXPECT_EQ(messagesOf(flow.node), Messages{});
}

// ---- Wiring ----

TEST(CountWiring, wants_one_input_and_no_output) {
  ZRBMemoryBuf buf;
  ZRBProcCount node;
  EXPECT_EQ(node.init(), 1);
  EXPECT_EQ(messagesOf(node), Messages{"this node expects 1 inputs, but was given 0 inputs"});
  node.setInputBuf(0, &buf);
  EXPECT_EQ(node.init(), 0);
  EXPECT_EQ(messagesOf(node), Messages{});
  node.setOutputBuf(0, &buf);
  EXPECT_EQ(node.init(), 1);
  EXPECT_EQ(messagesOf(node), Messages{"this node expects 0 outputs, but was given 1 outputs"});
  node.setOutputBuf(0, nullptr);
  node.setInputBuf(1, &buf);
  EXPECT_EQ(node.init(), 1);
  EXPECT_EQ(messagesOf(node), Messages{"this node expects 1 inputs, but was given 2 inputs"});
}

TEST(CountWiring, a_failed_init_keeps_the_results) {
  CountFlow flow({ZRBBuf::column_double});
  flow.count({{1, 2, 6}});
  flow.node.setInputBuf(0, nullptr);
  EXPECT_EQ(flow.node.init(), 1);
  EXPECT_EQ(flow.node.getMean(0), 3);
}

TEST(CountWiring, running_without_an_input_is_an_error) {
  ZRBProcCount node;
  node.clearMessages();
  node.execute();
  EXPECT_EQ(messagesOf(node), Messages{"null input buf"});
  EXPECT_EQ(node.isDone(), 0);
  EXPECT_EQ(node.getRowsDone(), 0);
}

// A reader that can lose its buffer and says that a row is there.
class LosingReader final : public ZRBMemoryBufReader {
public:
  using ZRBMemoryBufReader::ZRBMemoryBufReader;
  void lose() { m_buf = nullptr; }
  void find(ZRBBuf* buf) { m_buf = buf; }
  void setRequestRows(long) override {}
  int isReady() override { return 1; }
  long getRowsReady() override { return 1; }
};

TEST(CountWiring, rows_from_a_reader_without_buffer_are_an_error) {
  BufWithEnds<LosingReader, ZRBMemoryBufWriter> buf;
  HarnessNode source;
  source.writeTo(buf);
  ZRBProcCount node;
  node.setInputBuf(0, &buf);
  buf.init();
  node.init();
  auto& reader = static_cast<LosingReader&>(*node.getInputBufReader(0));
  reader.lose();
  node.execute();
  reader.find(&buf);
  EXPECT_EQ(messagesOf(node), Messages{"no input buf"});
  EXPECT_EQ(node.getRowsDone(), 0);
}

TEST(CountWiring, getBuf_gives_the_buffer_of_a_reader) {
  CountFlow flow({ZRBBuf::column_double});
  EXPECT_EQ(getBuf(flow.node.getInputBufReader(0)), &flow.buf);
  EXPECT_EQ(getBuf(nullptr), nullptr);
}

}  // namespace
