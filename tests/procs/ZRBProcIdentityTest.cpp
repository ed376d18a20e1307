// The pass-through that prints what goes by.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "ZRBBufReader.h"
#include "ZRBBufWriter.h"
#include "ZRBMemoryBuf.h"
#include "ZRBPipeline.h"
#include "ZRBProcIdentity.h"
#include "support/CapturedOutput.h"
#include "support/Harness.h"
#include "support/LoggingEnds.h"
#include "support/PropertyCall.h"
#include "support/PropertyChains.h"
#include "support/TableSource.h"
#include "support/TraceFlow.h"

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr long long kMsPerDay = 86400000;

using IdentityNode = TraceFlow<ZRBProcIdentity>;

const std::vector<Column> kOneDouble = {{"x", ZRBBuf::column_double}};

// An identity node with buffers before and behind it that the test fills and reads.
struct Passage {
  struct Output {
    ZRBMemoryBuf buf;
    HarnessNode sink;
    ZRBBufReader* reader = nullptr;
  };

  std::vector<std::unique_ptr<ZRBMemoryBuf>> inputs;
  std::vector<std::unique_ptr<Output>> outputs;
  HarnessNode source;
  ZRBProcIdentity node;

  explicit Passage(long chunkRows = 1) {
    node.setNumRows(chunkRows);
    PropertyCall("num.to.print").with(0).set(node);
  }

  ZRBBuf& addInput(const std::vector<Column>& columns, long ringRows = 3000) {
    inputs.push_back(std::make_unique<ZRBMemoryBuf>());
    ZRBMemoryBuf& buf = *inputs.back();
    buf.setNumRows(ringRows);
    setColumns(buf, columns);
    source.writeTo(buf);
    node.setInputBuf(static_cast<int>(inputs.size()) - 1, &buf);
    return buf;
  }
  ZRBBuf& addOutput(const std::vector<Column>& columns, long ringRows = 3000) {
    outputs.push_back(std::make_unique<Output>());
    Output& output = *outputs.back();
    output.buf.setNumRows(ringRows);
    setColumns(output.buf, columns);
    node.setOutputBuf(static_cast<int>(outputs.size()) - 1, &output.buf);
    output.reader = &output.sink.readFrom(output.buf);
    return output.buf;
  }
  void init() {
    for (auto& buf : inputs) buf->init();
    for (auto& output : outputs) output->buf.init();
    node.init();
  }

  ZRBBufWriter& in(int index = 0) { return source.writer(index); }
  ZRBBufReader& out(int index = 0) { return *outputs[static_cast<std::size_t>(index)]->reader; }
  ZRBBuf& outBuf(int index = 0) { return outputs[static_cast<std::size_t>(index)]->buf; }

  // Runs the node on one chunk; what it prints is returned, its result kept.
  std::string run() {
    CapturedOutput output;
    result = node.execute();
    return output.text();
  }
  long result = 0;

  ~Passage() {
    // The ends go before their buffers.
    for (std::size_t i = 0; i < inputs.size(); ++i) {
      node.setInputBuf(static_cast<int>(i), nullptr);
      source.setOutputBuf(static_cast<int>(i), nullptr);
    }
    for (std::size_t i = 0; i < outputs.size(); ++i) node.setOutputBuf(static_cast<int>(i), nullptr);
  }
};

// ---- The trace ----

TEST(IdentityTrace, each_chunk_prints_its_header_and_two_rows) {
  IdentityNode flow({{"x", ZRBBuf::column_double}, {"y", ZRBBuf::column_double}});
  for (int row = 0; row < 5; ++row) {
    flow.writer.setDouble(row, 0, row);
    flow.writer.setDouble(row, 1, row / 2.0);
  }
  EXPECT_EQ(flow.print(3),
            "ZRBProcIdentity chunk pos=0, rows=3, cols=2\n"
            "0: 0, 0\n"
            "1: 1, 0.500000\n");
  EXPECT_EQ(flow.result, 3);
  flow.writer.setDouble(0, 0, 3);
  flow.writer.setDouble(0, 1, 1.5);
  flow.writer.setDouble(1, 0, 4);
  flow.writer.setDouble(1, 1, 2);
  EXPECT_EQ(flow.print(2),
            "ZRBProcIdentity chunk pos=3, rows=2, cols=2\n"
            "3: 3, 1.500000\n"
            "4: 4, 2\n");
  EXPECT_EQ(flow.result, 5);
  EXPECT_EQ(messagesOf(flow.node), Messages{});
}

TEST(IdentityTrace, the_rows_of_a_chunk_that_are_printed_can_be_chosen) {
  const std::string header = "ZRBProcIdentity chunk pos=0, rows=3, cols=1\n";
  const struct {
    long number;
    std::string rows;
  } cases[] = {{0, ""}, {-7, ""}, {1, "0: 10\n"}, {3, "0: 10\n1: 11\n2: 12\n"}, {1000, "0: 10\n1: 11\n2: 12\n"}};
  for (const auto& c : cases) {
    IdentityNode flow(kOneDouble);
    PropertyCall("num.to.print").with(c.number).set(flow.node);
    for (int row = 0; row < 3; ++row) flow.writer.setDouble(row, 0, 10 + row);
    EXPECT_EQ(flow.print(3), header + c.rows) << c.number;
  }
}

TEST(IdentityTrace, numbers_print_as_in_a_printf_node_except_NA) {
  const struct {
    double value;
    const char* text;
  } cases[] = {
      {3.0, "3"},
      {-0.0, "0"},
      {2.5, "2.500000"},
      {2147483647.0, "2147483647"},
      {2147483648.0, "2147483648.000000"},
      {-2147483648.0, "-2147483648"},
      {-2147483649.0, "-2147483649.000000"},
      {3e10, "30000000000.000000"},
      {kInf, "inf"},
      {-kInf, "-inf"},
      {ZRBObj::getDoubleNA(), "nan"},
      {std::copysign(kNaN, 1.0), "nan"},
      {std::copysign(kNaN, -1.0), "-nan"},
  };
  for (const auto& c : cases) {
    IdentityNode flow(kOneDouble);
    flow.writer.setDouble(0, 0, c.value);
    EXPECT_EQ(flow.print(1), std::string("ZRBProcIdentity chunk pos=0, rows=1, cols=1\n0: ") + c.text + "\n")
        << c.value;
  }
}

TEST(IdentityTrace, a_factor_prints_its_name_and_a_string_only_its_number) {
  IdentityNode flow(oneColumnOfEachType());
  PropertyCall("num.to.print").with(3).set(flow.node);
  flow.buf.setLevelName(1, 4, "red");
  flow.writer.setDouble(0, 0, 1.25);
  flow.writer.setLevelNum(0, 1, 4);
  flow.writer.setString(0, 2, "12 miles");
  flow.writer.setTimeDate(0, 3, kMsPerDay / 4);
  flow.writer.setBlobOffset(0, 4, 0);
  flow.writer.setBlobLength(0, 4, 8);
  flow.writer.setDouble(1, 0, -7);
  flow.writer.setLevelNum(1, 1, 9);
  flow.writer.setString(1, 2, "miles");
  flow.writer.setTimeDate(1, 3, -kMsPerDay);
  flow.writer.setBlobNA(1, 4);
  flow.writer.setRectNA(2, 0, 1, 5);
  EXPECT_EQ(flow.print(3),
            "ZRBProcIdentity chunk pos=0, rows=3, cols=5\n"
            "0: 1.250000, 4 (red), 12, 0.250000, nan\n"
            "1: -7, 9 (), 0, -1, nan\n"
            "2: nan, nan (), nan, nan, nan\n");
}

TEST(IdentityTrace, shows_input_0_alone) {
  Passage passage(2);
  PropertyCall("num.to.print").with(2).set(passage.node);
  passage.addInput(kOneDouble);
  passage.addInput({{"y", ZRBBuf::column_double}, {"z", ZRBBuf::column_double}});
  passage.init();
  for (int row = 0; row < 2; ++row) {
    passage.in(0).setDouble(row, 0, 10 + row);
    passage.in(1).setDouble(row, 0, 20 + row);
  }
  passage.in(0).releaseRows(2);
  passage.in(1).releaseRows(2);
  EXPECT_EQ(passage.run(), "ZRBProcIdentity chunk pos=0, rows=2, cols=1\n0: 10\n1: 11\n");
  EXPECT_EQ(passage.result, 2);
  EXPECT_EQ(passage.node.getInputBufReader(1)->getChunkPosition(), 2) << "released, not read";
}

// ---- Copies ----

TEST(Identity, without_an_output_prints_and_releases) {
  Passage passage(3);
  passage.addInput(kOneDouble);
  passage.init();
  passage.in().releaseRows(3);
  EXPECT_EQ(passage.run(), "ZRBProcIdentity chunk pos=0, rows=3, cols=1\n");
  EXPECT_EQ(passage.result, 3);
  EXPECT_EQ(passage.node.getInputBufReader(0)->getChunkPosition(), 3);
  passage.in().setEOF();
  EXPECT_EQ(passage.run(), "ZRBProcIdentity chunk pos=3, rows=0, cols=1\n");
  EXPECT_EQ(passage.node.isDone(), 1);
}

TEST(Identity, without_an_input_only_releases) {
  Passage passage(4);
  passage.addOutput(kOneDouble);
  passage.init();
  EXPECT_EQ(passage.run(), "");
  EXPECT_EQ(passage.result, 4);
  EXPECT_EQ(passage.out().getRowsReady(), 4);
  EXPECT_EQ(passage.out().getDouble(3, 0), 0) << "as the ring was allocated";
  EXPECT_EQ(passage.node.isDone(), 0);
}

TEST(Identity, without_any_end_does_nothing) {
  ZRBProcIdentity node;
  EXPECT_EQ(node.init(), 0);
  CapturedOutput output;
  EXPECT_EQ(node.execute(), 0);
  EXPECT_EQ(output.text(), "");
  EXPECT_EQ(node.isDone(), 0);
  EXPECT_EQ(messagesOf(node), Messages{});
}

TEST(Identity, copies_every_row_to_each_output) {
  Passage passage(5);
  passage.addInput({{"x", ZRBBuf::column_double}, {"y", ZRBBuf::column_double}});
  for (int i = 0; i < 3; ++i) passage.addOutput({{"x", ZRBBuf::column_double}, {"y", ZRBBuf::column_double}});
  passage.init();
  for (int row = 0; row < 5; ++row) {
    passage.in().setDouble(row, 0, row + 0.25);
    passage.in().setDouble(row, 1, -row);
  }
  passage.in().releaseRows(5);
  passage.run();
  EXPECT_EQ(passage.result, 5);
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(passage.out(i).getRowsReady(), 5) << i;
    for (int row = 0; row < 5; ++row) {
      EXPECT_EQ(passage.out(i).getDouble(row, 0), row + 0.25) << i;
      EXPECT_EQ(passage.out(i).getDouble(row, 1), -row) << i;
    }
  }
  EXPECT_EQ(messagesOf(passage.node), Messages{});
}

TEST(Identity, all_rows_are_copied_however_many_are_printed) {
  for (const long number : {-1, 0, 1, 2, 100}) {
    Passage passage(4);
    PropertyCall("num.to.print").with(number).set(passage.node);
    passage.addInput(kOneDouble);
    passage.addOutput(kOneDouble);
    passage.init();
    for (int row = 0; row < 4; ++row) passage.in().setDouble(row, 0, row + 1);
    passage.in().releaseRows(4);
    passage.run();
    ASSERT_EQ(passage.out().getRowsReady(), 4) << number;
    for (int row = 0; row < 4; ++row) EXPECT_EQ(passage.out().getDouble(row, 0), row + 1) << number;
  }
}

TEST(Identity, doubles_keep_their_bytes) {
  Passage passage(7);
  passage.addInput(kOneDouble);
  passage.addOutput(kOneDouble);
  passage.init();
  const double values[] = {ZRBObj::getDoubleNA(), std::nan("0x123"), -0.0, kInf, 5e-324, 0.1, -1e308};
  for (int row = 0; row < 7; ++row) passage.in().setDouble(row, 0, values[row]);
  passage.in().releaseRows(7);
  passage.run();
  for (int row = 0; row < 7; ++row) EXPECT_EQ(bitsOf(passage.out().getDouble(row, 0)), bitsOf(values[row])) << row;
}

TEST(Identity, levels_pass_by_name) {
  Passage passage(6);
  ZRBBuf& from = passage.addInput({{"f", ZRBBuf::column_factor}});
  ZRBBuf& to = passage.addOutput({{"f", ZRBBuf::column_factor}});
  passage.init();
  from.setLevelName(0, 0, "a");
  from.setLevelName(0, 1, "b");
  from.setLevelName(0, 3, "c");  // 2 has no name
  to.setLevelName(0, 0, "c");
  to.setLevelName(0, 1, "x");
  to.setLevelName(0, 2, "a");
  const long levels[] = {0, 1, 2, 3, 17, ZRBObj::getLevelNumNA()};
  for (int row = 0; row < 6; ++row) passage.in().setLevelNum(row, 0, levels[row]);
  passage.in().releaseRows(6);
  passage.run();
  const long expected[] = {2, 3, -1, 0, -1, -1};  // "b" is new; what has no name is NA
  for (int row = 0; row < 6; ++row) EXPECT_EQ(passage.out().getLevelNum(row, 0), expected[row]) << row;
  ASSERT_EQ(to.getNumLevels(0), 4);
  EXPECT_STREQ(to.getLevelName(0, 3), "b");
  EXPECT_EQ(from.getNumLevels(0), 4);
}

TEST(Identity, levels_beyond_the_maximum_of_an_output_overflow_there) {
  const SavedSettings restored;
  ZRBObj::setErrorOnLevelOverflow(0);
  Passage passage(4);
  ZRBBuf& from = passage.addInput({{"f", ZRBBuf::column_factor}});
  ZRBBuf& to = passage.addOutput({{"f", ZRBBuf::column_factor}});
  passage.addOutput({{"f", ZRBBuf::column_factor}});
  to.setMaxAutoLevels(0, 2);
  to.setOverflowLevel(0, "other");
  passage.init();
  for (const char* name : {"a", "b", "c"}) from.addLevel(0, name);
  const long levels[] = {0, 1, 2, 0};
  for (int row = 0; row < 4; ++row) passage.in().setLevelNum(row, 0, levels[row]);
  passage.in().releaseRows(4);
  passage.run();
  const char* const expected[] = {"a", "other", "other", "a"};
  for (int row = 0; row < 4; ++row) EXPECT_STREQ(passage.out(0).getString(row, 0), expected[row]) << row;
  EXPECT_EQ(to.getOverflowCount(0), 2);
  for (int row = 0; row < 4; ++row) EXPECT_EQ(passage.out(1).getLevelNum(row, 0), levels[row]) << row;
}

TEST(Identity, a_level_that_is_already_there_counts_as_itself_only_if_the_texts_are_equal) {
  Passage passage(2);
  ZRBBuf& from = passage.addInput({{"f", ZRBBuf::column_factor}});
  ZRBBuf& to = passage.addOutput({{"f", ZRBBuf::column_factor}});
  passage.init();
  from.addLevel(0, "A");
  from.addLevel(0, "");
  to.addLevel(0, "a");
  passage.in().setLevelNum(0, 0, 0);
  passage.in().setLevelNum(1, 0, 1);
  passage.in().releaseRows(2);
  passage.run();
  EXPECT_EQ(passage.out().getLevelNum(0, 0), 1);
  EXPECT_EQ(passage.out().getLevelNum(1, 0), -1) << "an empty name is no level";
}

TEST(Identity, what_is_no_factor_on_both_sides_passes_as_a_double) {
  // One row of each type, and what an output column of each type holds afterwards.
  const SavedSettings restored;
  ZRBObj::setDoubleDateEpoch(0);
  const auto types = oneColumnOfEachType();
  for (std::size_t target = 0; target < types.size(); ++target) {
    Passage passage(1);
    ZRBBuf& from = passage.addInput(types);
    std::vector<Column> columns(5, types[target]);
    passage.addOutput(columns);
    passage.init();
    from.addLevel(1, "zero");
    from.addLevel(1, "one");
    passage.in().setDouble(0, 0, 2.5);
    passage.in().setLevelNum(0, 1, 1);
    passage.in().setString(0, 2, "7 miles");
    passage.in().setTimeDate(0, 3, 3 * kMsPerDay);
    passage.in().setBlobOffset(0, 4, 100);
    passage.in().setBlobLength(0, 4, 200);
    passage.in().releaseRows(1);
    passage.run();
    ZRBBufReader& out = passage.out();
    SCOPED_TRACE(types[target].name);
    switch (types[target].type) {
      case ZRBBuf::column_double: {
        const double expected[] = {2.5, 1, 7, 3};
        for (int i = 0; i < 4; ++i) EXPECT_EQ(out.getDouble(0, i), expected[i]) << i;
        EXPECT_EQ(bitsOf(out.getDouble(0, 4)), kDoubleNABits);
        break;
      }
      case ZRBBuf::column_factor:
        // Only a factor has names of levels to pass on.
        for (int i = 0; i < 5; ++i) EXPECT_EQ(out.getLevelNum(0, i), i == 1 ? 0 : -1) << i;
        EXPECT_STREQ(out.getString(0, 1), "one");
        break;
      case ZRBBuf::column_string: {
        const char* const expected[] = {"2.5", "1", "7", "3"};
        for (int i = 0; i < 4; ++i) EXPECT_STREQ(out.getString(0, i), expected[i]) << i;
        EXPECT_EQ(copyOf(out.getString(0, 4)), "<NA>");
        break;
      }
      case ZRBBuf::column_timeDate: {
        const long long expected[] = {5 * kMsPerDay / 2, kMsPerDay, 7 * kMsPerDay, 3 * kMsPerDay};
        for (int i = 0; i < 4; ++i) EXPECT_EQ(out.getTimeDate(0, i), expected[i]) << i;
        EXPECT_EQ(out.getTimeDate(0, 4), ZRBObj::getTimeDateNA());
        break;
      }
      case ZRBBuf::column_blob:
        for (int i = 0; i < 5; ++i) EXPECT_EQ(out.isBlobNA(0, i), 1) << i;
        break;
    }
    EXPECT_EQ(messagesOf(passage.node), Messages{});
  }
}

TEST(Identity, a_name_given_to_a_value_of_a_double_column_passes_to_a_factor) {
  Passage passage(2);
  ZRBBuf& from = passage.addInput(kOneDouble);
  passage.addOutput({{"f", ZRBBuf::column_factor}});
  passage.init();
  from.setLevelName(0, 2, "two");
  passage.in().setDouble(0, 0, 2.75);
  passage.in().setDouble(1, 0, 1);
  passage.in().releaseRows(2);
  passage.run();
  EXPECT_STREQ(passage.out().getString(0, 0), "two");
  EXPECT_EQ(passage.out().getLevelNum(1, 0), -1);
}

TEST(Identity, cells_are_copied_row_by_row_for_one_output_after_the_other) {
  CallLog log;
  LoggingBuf from(log, "in");
  LoggingBuf first(log, "out0");
  LoggingBuf second(log, "out1");
  HarnessNode source;
  ZRBProcIdentity node;
  ZRBBufWriter& writer = source.writeTo(from);
  node.setInputBuf(0, &from);
  node.setOutputBuf(0, &first);
  node.setOutputBuf(1, &second);
  node.setNumRows(2);
  PropertyCall("num.to.print").with(0).set(node);
  setColumns(from, {{"x", ZRBBuf::column_double}, {"f", ZRBBuf::column_factor}});
  setColumns(first, {{"x", ZRBBuf::column_double}, {"f", ZRBBuf::column_factor}});
  setColumns(second, {{"x", ZRBBuf::column_factor}, {"f", ZRBBuf::column_double}});
  for (LoggingBuf* buf : {&from, &first, &second}) buf->init();
  node.init();
  from.addLevel(1, "red");
  writer.setLevelNum(1, 1, -1);
  writer.releaseRows(2);
  log.clear();
  {
    CapturedOutput output;
    node.execute();
  }
  CallLog cells;
  for (const std::string& line : log)
    if (line.find("getDouble") != std::string::npos || line.find("setConvert") != std::string::npos)
      cells.push_back(line);
  EXPECT_EQ(cells, (CallLog{"in.getDouble(0, 0)", "in.getDouble(0, 1)", "out0.setConvertFactor(0, 1, \"red\")",
                            "in.getDouble(1, 0)", "in.getDouble(1, 1)", "out0.setConvertFactor(1, 1, null)",
                            "in.getDouble(0, 0)", "out1.setConvertFactor(0, 0, null)", "in.getDouble(0, 1)",
                            "in.getDouble(1, 0)", "out1.setConvertFactor(1, 0, null)", "in.getDouble(1, 1)"}));
}

TEST(Identity, a_column_that_the_output_lacks_is_a_double_at_the_start_of_its_row_where_there_is_room) {
  Passage passage(2);
  passage.addInput({{"a", ZRBBuf::column_double}, {"b", ZRBBuf::column_double}, {"c", ZRBBuf::column_double}});
  passage.addOutput({{"a", ZRBBuf::column_double}, {"b", ZRBBuf::column_factor}});
  passage.addOutput({{"f", ZRBBuf::column_factor}});
  passage.addOutput({{"a", ZRBBuf::column_double},
                     {"b", ZRBBuf::column_double},
                     {"c", ZRBBuf::column_double},
                     {"d", ZRBBuf::column_double}});
  passage.init();
  for (int row = 0; row < 2; ++row)
    for (int column = 0; column < 3; ++column) passage.in().setDouble(row, column, 10 * row + column + 1);
  passage.in().releaseRows(2);
  passage.run();
  for (int row = 0; row < 2; ++row) {
    EXPECT_EQ(passage.out(0).getDouble(row, 0), 10 * row + 3) << "column c";
    EXPECT_EQ(passage.out(0).getLevelNum(row, 1), -1);
    EXPECT_EQ(passage.out(1).getLevelNum(row, 0), -1);
    for (int column = 0; column < 3; ++column) EXPECT_EQ(passage.out(2).getDouble(row, column), 10 * row + column + 1);
    EXPECT_EQ(passage.out(2).getDouble(row, 3), 0) << "as the ring was allocated";
  }
  EXPECT_EQ(passage.out(1).getRowsReady(), 2);
  EXPECT_EQ(messagesOf(passage.node), Messages{});
}

// ---- Flow ----

TEST(IdentityFlow, a_chunk_is_what_all_ends_have_ready) {
  // The second input has fewer rows but is at end of data; the second output has a small ring.
  Passage passage(6);
  passage.node.setOutputNumRows(4);
  passage.addInput(kOneDouble);
  passage.addInput(kOneDouble);
  passage.addOutput(kOneDouble);
  passage.addOutput(kOneDouble, 4);
  passage.init();
  for (int row = 0; row < 6; ++row) passage.in(0).setDouble(row, 0, 10 + row);
  for (int row = 0; row < 5; ++row) passage.in(1).setDouble(row, 0, 20 + row);
  passage.in(0).releaseRows(6);
  passage.in(1).releaseRows(5);
  passage.in(1).setEOF();
  passage.in(0).setEOF();
  passage.run();
  EXPECT_EQ(passage.result, 4);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(passage.node.getInputBufReader(i)->getChunkPosition(), 4) << i;
    EXPECT_EQ(passage.out(i).getRowsReady(), 4) << i;
    EXPECT_EQ(passage.out(i).getDouble(3, 0), 13) << i;
    passage.out(i).releaseRows(4);
  }
  passage.run();
  EXPECT_EQ(passage.result, 5) << "the shorter input ends the node";
  EXPECT_EQ(passage.node.isDone(), 1);
  EXPECT_EQ(passage.out(0).getRowsReady(), 1);
  EXPECT_EQ(passage.out(0).getDouble(0, 0), 14);
  EXPECT_EQ(passage.outBuf(0).getEOF(), 1);
  EXPECT_EQ(passage.outBuf(1).getEOF(), 1);
}

TEST(IdentityFlow, waits_for_rows_and_for_room) {
  Passage passage(2);
  passage.addInput(kOneDouble);
  passage.addOutput(kOneDouble, 3);
  passage.init();
  passage.in().releaseRows(1);
  EXPECT_EQ(passage.run(), "");
  EXPECT_EQ(passage.result, -1) << "a row is missing";
  passage.in().releaseRows(3);
  passage.run();
  EXPECT_EQ(passage.result, 2);
  EXPECT_EQ(passage.run(), "");
  EXPECT_EQ(passage.result, -1) << "the output has room for one row only";
  EXPECT_EQ(passage.node.getRowsDone(), 2);
  passage.out().releaseRows(1);
  passage.run();
  EXPECT_EQ(passage.result, 4);
  EXPECT_EQ(messagesOf(passage.node), Messages{});
}

TEST(IdentityFlow, any_connections_are_accepted_but_a_gap_stops_the_node) {
  ZRBMemoryBuf from;
  ZRBMemoryBuf to;
  HarnessNode source;
  source.writeTo(from);
  ZRBProcIdentity node;
  EXPECT_EQ(messagesOf(node), Messages{"uninitialized"});
  node.setInputBuf(1, &from);
  node.setOutputBuf(1, &to);
  EXPECT_EQ(node.init(), 0);
  EXPECT_EQ(messagesOf(node), Messages{});
  from.init();
  to.init();
  CapturedOutput output;
  EXPECT_EQ(node.execute(), -1);
  EXPECT_EQ(output.text(), "");
  EXPECT_EQ(messagesOf(node), (Messages{"null input buf: 0", "null output buf: 0"}));
}

TEST(IdentityFlow, a_stream_passes_unchanged_whatever_the_rings_and_chunks) {
  struct {
    long inRing, outRing, chunkRows;
    std::vector<long> sourceChunks;
  } const cases[] = {
      {1, 1, 1, {1}}, {2, 3, 1, {1, 2}}, {7, 5, 3, {4, 1, 7}}, {100, 9, 8, {100, 3}}, {50, 64, 50, {17}}};
  constexpr long long kRows = 1500;
  std::mt19937 random(20240607);
  std::vector<double> numbers;
  std::vector<int> levels;
  for (long long row = 0; row < kRows; ++row) {
    numbers.push_back(static_cast<double>(random()) / 1024.0);
    levels.push_back(static_cast<int>(random() % 8) - 1);
  }
  const char* const names[] = {"zero", "one", "two", "three", "four", "five", "six"};
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.inRing) + ", " + std::to_string(c.outRing));
    const std::vector<Column> columns = {{"x", ZRBBuf::column_double}, {"f", ZRBBuf::column_factor}};
    ZRBMemoryBuf from;
    ZRBMemoryBuf to;
    setColumns(from, columns);
    setColumns(to, columns);
    from.setNumRows(c.inRing);
    to.setNumRows(c.outRing);
    for (const char* name : names) from.addLevel(1, name);
    TableSource source(
        kRows,
        [&](ZRBBufWriter& writer, long row, long long streamRow) {
          writer.setDouble(row, 0, numbers[static_cast<std::size_t>(streamRow)]);
          writer.setLevelNum(row, 1, levels[static_cast<std::size_t>(streamRow)]);
        },
        c.sourceChunks);
    ZRBProcIdentity node;
    node.setNumRows(c.chunkRows);
    PropertyCall("num.to.print").with(0).set(node);
    HarnessNode sink;
    source.setOutputBuf(0, &from);
    node.setInputBuf(0, &from);
    node.setOutputBuf(0, &to);
    ZRBBufReader& reader = sink.readFrom(to);
    from.init();
    to.init();
    source.init();
    node.init();
    CapturedOutput output;
    std::size_t streamRow = 0;
    while (!node.isDone() || reader.getRowsReady() > 0) {
      if (source.isReady()) source.execute();
      if (node.isReady()) node.execute();
      const long ready = reader.getRowsReady();
      for (long row = 0; row < ready; ++row, ++streamRow) {
        ASSERT_EQ(reader.getDouble(row, 0), numbers[streamRow]) << streamRow;
        const int level = levels[streamRow];
        ASSERT_EQ(copyOf(reader.getString(row, 1)), level < 0 ? "<NA>" : names[level]) << streamRow;
      }
      reader.releaseRows(ready);
    }
    EXPECT_EQ(streamRow, numbers.size());
    EXPECT_EQ(reader.getEOF(), 1);
    EXPECT_EQ(messagesOf(node), Messages{});
  }
}

// ---- Properties ----

TEST(IdentityProperties, names_are_tested_in_order_and_an_unknown_one_is_reported_once) {
  ZRBProcIdentity node;
  expectChains(node, joined({{"num.to.print"}, kProcSetNames, kObjSetNames}),
               joined({{"num.to.print"}, kProcGetNames, kObjGetNames}));
}

TEST(IdentityProperties, use_the_operation_of_their_type) {
  ZRBProcIdentity node;
  expectSetRow(node, {"num.to.print", {"getLongArg"}});
  expectGetRow(node, {"num.to.print", {"setLongResult"}});
}

TEST(IdentityProperties, the_number_of_rows_to_print_is_2_until_set_and_is_kept_as_int) {
  ZRBProcIdentity node;
  EXPECT_EQ(PropertyCall("num.to.print").get(node).longResult, 2);
  const struct {
    long given, kept;
  } cases[] = {{0, 0}, {-5, -5}, {2147483647, 2147483647}, {2147483648, -2147483647 - 1}, {0x100000002, 2}};
  for (const auto& c : cases) {
    PropertyCall("num.to.print").with(c.given).set(node);
    EXPECT_EQ(PropertyCall("num.to.print").get(node).longResult, c.kept) << c.given;
  }
}

}  // namespace
