// The sink that prints what arrives.
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "ZRBBufReader.h"
#include "ZRBBufWriter.h"
#include "ZRBMemoryBuf.h"
#include "ZRBPipeline.h"
#include "ZRBProcPrintf.h"
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

using PrintfNode = TraceFlow<ZRBProcPrintf>;

// ---- The lines ----

TEST(Printf, each_chunk_prints_its_header_and_two_rows) {
  PrintfNode flow({{"x", ZRBBuf::column_double}, {"y", ZRBBuf::column_double}});
  const auto write = [&](int first) {
    for (int row = 0; row < 5; ++row) {
      flow.writer.setDouble(row, 0, first + row);
      flow.writer.setDouble(row, 1, first + row + 0.5);
    }
  };
  write(0);
  EXPECT_EQ(flow.print(5),
            "ZRBProcPrintf chunk pos=0, rows=5, cols=2\n"
            "0: 0, 0.500000\n"
            "1: 1, 1.500000\n");
  EXPECT_EQ(flow.result, 5);
  write(5);
  EXPECT_EQ(flow.print(5),
            "ZRBProcPrintf chunk pos=5, rows=5, cols=2\n"
            "5: 5, 5.500000\n"
            "6: 6, 6.500000\n");
  EXPECT_EQ(flow.result, 10);
  write(10);
  EXPECT_EQ(flow.print(1),
            "ZRBProcPrintf chunk pos=10, rows=1, cols=2\n"
            "10: 10, 10.500000\n");
  EXPECT_EQ(messagesOf(flow.node), Messages{});
}

TEST(Printf, the_rows_of_a_chunk_that_are_printed_can_be_chosen) {
  const std::string header = "ZRBProcPrintf chunk pos=0, rows=4, cols=1\n";
  const struct {
    long number;
    std::string rows;
  } cases[] = {
      {0, ""},
      {-1, ""},
      {-2147483647 - 1, ""},
      {1, "0: 10\n"},
      {3, "0: 10\n1: 11\n2: 12\n"},
      {4, "0: 10\n1: 11\n2: 12\n3: 13\n"},
      {5, "0: 10\n1: 11\n2: 12\n3: 13\n"},  // there are no more rows
      {2147483647, "0: 10\n1: 11\n2: 12\n3: 13\n"},
      {0x100000002, "0: 10\n1: 11\n"},  // kept as int: the low 32 bits
      {0x180000000, ""},                // negative as int
  };
  for (const auto& c : cases) {
    PrintfNode flow({{"x", ZRBBuf::column_double}});
    PropertyCall("num.to.print").with(c.number).set(flow.node);
    for (int row = 0; row < 4; ++row) flow.writer.setDouble(row, 0, 10 + row);
    EXPECT_EQ(flow.print(4), header + c.rows) << c.number;
  }
}

TEST(Printf, the_last_chunk_may_be_empty_and_prints_its_header) {
  PrintfNode flow({{"x", ZRBBuf::column_double}});
  flow.writer.setDouble(0, 0, 7);
  EXPECT_EQ(flow.print(1), "ZRBProcPrintf chunk pos=0, rows=1, cols=1\n0: 7\n");
  EXPECT_EQ(flow.node.isDone(), 0);
  flow.writer.setEOF();
  EXPECT_EQ(flow.run(), "ZRBProcPrintf chunk pos=1, rows=0, cols=1\n");
  EXPECT_EQ(flow.node.isDone(), 1);
  EXPECT_EQ(flow.node.getRowsDone(), 1);
}

TEST(Printf, rows_without_columns_print_their_numbers) {
  PrintfNode flow({});
  EXPECT_EQ(flow.print(3), "ZRBProcPrintf chunk pos=0, rows=3, cols=0\n0: \n1: \n");
}

// A node behind a buffer whose reading end can be told what to answer.
struct LoggedPrintf {
  CallLog log;
  LoggingBuf buf{log, "in"};
  HarnessNode source;
  ZRBProcPrintf node;
  ZRBBufWriter& writer;

  LoggedPrintf(const std::vector<Column>& columns, long chunkRows) : writer(source.writeTo(buf)) {
    node.setInputBuf(0, &buf);
    node.setNumRows(chunkRows);
    setColumns(buf, columns);
    buf.init();
    node.init();
    log.clear();
  }
  std::string run() {
    CapturedOutput output;
    node.execute();
    return output.text();
  }
};

TEST(Printf, positions_beyond_32_bits_print_in_full) {
  LoggedPrintf flow({{"x", ZRBBuf::column_double}}, 1);
  flow.buf.reader().setChunkPosition(8589934591);
  flow.buf.reader().rowsReady = 1;
  flow.buf.reader().ready = 1;
  EXPECT_EQ(flow.run(), "ZRBProcPrintf chunk pos=8589934591, rows=1, cols=1\n8589934591: 0\n");
}

TEST(Printf, a_row_has_left_the_program_before_the_next_one_is_read) {
  // Notes what has arrived at the time of each read.
  struct WatchingReader final : ZRBMemoryBufReader {
    using ZRBMemoryBufReader::ZRBMemoryBufReader;
    CapturedOutput* output = nullptr;
    std::vector<std::string> seen;
    double getDouble(long row, long column) override {
      seen.push_back(output->arrived());
      return ZRBMemoryBufReader::getDouble(row, column);
    }
  };
  BufWithEnds<WatchingReader, ZRBMemoryBufWriter> buf;
  HarnessNode source;
  ZRBProcPrintf node;
  ZRBBufWriter& writer = source.writeTo(buf);
  node.setInputBuf(0, &buf);
  node.setNumRows(3);
  PropertyCall("num.to.print").with(3).set(node);
  setColumns(buf, {{"x", ZRBBuf::column_double}});
  buf.init();
  node.init();
  for (int row = 0; row < 3; ++row) writer.setDouble(row, 0, row);
  writer.releaseRows(3);
  auto& reader = static_cast<WatchingReader&>(*node.getInputBufReader(0));

  CapturedOutput output;
  reader.output = &output;
  node.execute();
  const std::string header = "ZRBProcPrintf chunk pos=0, rows=3, cols=1\n";
  ASSERT_EQ(reader.seen.size(), 3u);
  EXPECT_EQ(reader.seen[1], header + "0: 0\n");
  EXPECT_EQ(reader.seen[2], header + "0: 0\n1: 1\n");
  EXPECT_EQ(output.arrived(), header + "0: 0\n1: 1\n2: 2\n");
}

// ---- Cells ----

TEST(PrintfCells, whole_numbers_of_32_bits_print_as_such_and_all_others_with_six_decimals) {
  const struct {
    double value;
    const char* text;
  } cases[] = {
      {3.0, "3"},
      {0.0, "0"},
      {-0.0, "0"},
      {-1.0, "-1"},
      {2.5, "2.500000"},
      {-2.5, "-2.500000"},
      {0.1, "0.100000"},
      {-0.1, "-0.100000"},
      {1e-7, "0.000000"},
      {-1e-7, "-0.000000"},
      {5e-324, "0.000000"},
      {123456.7890625, "123456.789062"},  // a tie goes to the even digit
      {2147483646.0, "2147483646"},
      {2147483647.0, "2147483647"},
      {2147483647.5, "2147483647.500000"},
      {2147483648.0, "2147483648.000000"},
      {-2147483648.0, "-2147483648"},
      {-2147483648.5, "-2147483648.500000"},
      {-2147483649.0, "-2147483649.000000"},
      {4294967296.0, "4294967296.000000"},  // its low 32 bits are 0
      {4294967299.0, "4294967299.000000"},  // and here 3
      {3e10, "30000000000.000000"},
      {-3e10, "-30000000000.000000"},
      {9223372036854775808.0, "9223372036854775808.000000"},
      {1e22, "10000000000000000000000.000000"},
      {kInf, "inf"},
      {-kInf, "-inf"},
      {kNaN, "NA"},
      {-kNaN, "NA"},
      {ZRBObj::getDoubleNA(), "NA"},
  };
  for (const auto& c : cases) {
    PrintfNode flow({{"x", ZRBBuf::column_double}});
    flow.writer.setDouble(0, 0, c.value);
    EXPECT_EQ(flow.print(1), std::string("ZRBProcPrintf chunk pos=0, rows=1, cols=1\n0: ") + c.text + "\n") << c.value;
  }
}

TEST(PrintfCells, the_largest_number_prints_all_its_digits) {
  PrintfNode flow({{"x", ZRBBuf::column_double}});
  flow.writer.setDouble(0, 0, std::numeric_limits<double>::max());
  const std::string text = flow.print(1);
  const std::string start = "ZRBProcPrintf chunk pos=0, rows=1, cols=1\n0: 17976931348623157";
  EXPECT_EQ(text.substr(0, start.size()), start);
  EXPECT_EQ(text.size(), start.size() - 17 + 309 + 7 + 1);  // 309 digits, a point, six zeros and the end of the line
}

TEST(PrintfCells, a_factor_prints_its_level_number_and_name) {
  PrintfNode flow({{"f", ZRBBuf::column_factor}});
  PropertyCall("num.to.print").with(100).set(flow.node);
  flow.buf.setLevelName(0, 0, "low");
  flow.buf.setLevelName(0, 1, "");
  flow.buf.setLevelName(0, 3, "100 %s (high)");  // 2 has no name
  const long levels[] = {0, 1, 2, 3, 4, 65534, ZRBObj::getLevelNumNA()};
  for (long row = 0; row < 7; ++row) flow.writer.setLevelNum(row, 0, levels[row]);
  EXPECT_EQ(flow.print(7),
            "ZRBProcPrintf chunk pos=0, rows=7, cols=1\n"
            "0: 0 (low)\n"
            "1: 1 ()\n"
            "2: 2 ()\n"
            "3: 3 (100 %s (high))\n"
            "4: 4 ()\n"
            "5: 65534 ()\n"
            "6: NA ()\n");
}

TEST(PrintfCells, a_string_prints_the_number_it_reads_as_and_its_text) {
  PrintfNode flow({{"s", ZRBBuf::column_string, 24}});
  PropertyCall("num.to.print").with(100).set(flow.node);
  const char* const texts[] = {"3",
                               "2.5 miles",
                               "miles",
                               "",
                               "-0",
                               "1e3",
                               "3e10",
                               "nan",
                               "inf",
                               "100% of %s, (a)",
                               "\xC3\xA4\xE2\x82\xAC",
                               "cut off after 23 bytes: all this",
                               ZRBObj::getStringNA()};
  for (long row = 0; row < 13; ++row) flow.writer.setString(row, 0, texts[row]);
  EXPECT_EQ(flow.print(13),
            "ZRBProcPrintf chunk pos=0, rows=13, cols=1\n"
            "0: 3 (3)\n"
            "1: 2.500000 (2.5 miles)\n"
            "2: 0 (miles)\n"
            "3: 0 ()\n"
            "4: 0 (-0)\n"
            "5: 1000 (1e3)\n"
            "6: 30000000000.000000 (3e10)\n"
            "7: 0 (nan)\n"
            "8: inf (inf)\n"
            "9: 100 (100% of %s, (a))\n"
            "10: 0 (\xC3\xA4\xE2\x82\xAC)\n"
            "11: 0 (cut off after 23 bytes:)\n"
            "12: NA (\xEF\xBF\xBF)\n");
}

TEST(PrintfCells, a_string_is_read_by_the_converter_of_the_buffer) {
  PrintfNode flow({{"s", ZRBBuf::column_string, 16}});
  TaggedConverter converter("t", 100);
  flow.buf.setConverter(&converter);
  flow.writer.setString(0, 0, "abc");
  EXPECT_EQ(flow.print(1), "ZRBProcPrintf chunk pos=0, rows=1, cols=1\n0: 103 (abc)\n");
}

TEST(PrintfCells, a_time_date_prints_its_days_from_the_epoch) {
  const RestoredSettings restored;
  const struct {
    long long epoch;
    std::string rows;
  } cases[] = {
      {0, "0: 3\n1: 0.500000\n2: -1\n3: 0\n4: NA\n5: NA\n"},
      {2 * kMsPerDay, "0: 1\n1: -1.500000\n2: -3\n3: -2\n4: NA\n5: NA\n"},
  };
  for (const auto& c : cases) {
    ZRBObj::setDoubleDateEpoch(c.epoch);
    PrintfNode flow({{"t", ZRBBuf::column_timeDate}});
    PropertyCall("num.to.print").with(100).set(flow.node);
    const long long times[] = {3 * kMsPerDay,           kMsPerDay / 2,     -kMsPerDay, 0,
                               ZRBObj::getTimeDateNA(), 0x7FFFFFFFFFFFFFF1};
    for (long row = 0; row < 6; ++row) flow.writer.setTimeDate(row, 0, times[row]);
    EXPECT_EQ(flow.print(6), "ZRBProcPrintf chunk pos=0, rows=6, cols=1\n" + c.rows) << c.epoch;
  }
}

TEST(PrintfCells, a_blob_prints_NA_whatever_it_holds) {
  PrintfNode flow({{"b", ZRBBuf::column_blob}});
  flow.writer.setBlobOffset(0, 0, 10);
  flow.writer.setBlobLength(0, 0, 20);
  flow.writer.setBlobNA(1, 0);
  EXPECT_EQ(flow.print(2), "ZRBProcPrintf chunk pos=0, rows=2, cols=1\n0: NA\n1: NA\n");
}

TEST(PrintfCells, NA_of_every_type_prints_NA) {
  PrintfNode flow(oneColumnOfEachType());
  flow.writer.setRectNA(0, 0, 1, 5);
  EXPECT_EQ(flow.print(1), "ZRBProcPrintf chunk pos=0, rows=1, cols=5\n0: NA, NA (), NA (\xEF\xBF\xBF), NA, NA\n");
}

TEST(PrintfCells, columns_of_every_type_stand_side_by_side) {
  PrintfNode flow(oneColumnOfEachType());
  flow.writer.setDouble(0, 0, 1.25);
  flow.writer.setConvertFactor(0, 1, "red");
  flow.writer.setString(0, 2, "12");
  flow.writer.setTimeDate(0, 3, kMsPerDay);
  flow.writer.setBlobNA(0, 4);
  EXPECT_EQ(flow.print(1), "ZRBProcPrintf chunk pos=0, rows=1, cols=5\n0: 1.250000, 0 (red), 12 (12), 1, NA\n");
}

TEST(PrintfCells, are_read_as_doubles_row_by_row_and_strings_as_text_besides) {
  LoggedPrintf flow(oneColumnOfEachType(), 3);
  flow.writer.setRectNA(0, 0, 3, 5);
  flow.writer.releaseRows(3);
  flow.log.clear();
  flow.run();
  EXPECT_EQ(changesOf(flow.log),
            (CallLog{"in.setRequestRows(3)", "in.getDouble(0, 0)", "in.getDouble(0, 1)", "in.getDouble(0, 2)",
                     "in.getString(0, 2)", "in.getDouble(0, 3)", "in.getDouble(0, 4)", "in.getDouble(1, 0)",
                     "in.getDouble(1, 1)", "in.getDouble(1, 2)", "in.getString(1, 2)", "in.getDouble(1, 3)",
                     "in.getDouble(1, 4)", "in.releaseRows(3)", "in.setRequestRows(3)"}));
}

TEST(PrintfCells, a_reader_that_answers_differently_is_heard) {
  LoggedPrintf flow({{"d", ZRBBuf::column_double}, {"f", ZRBBuf::column_factor}}, 1);
  flow.buf.setLevelName(1, 0, "zero");
  flow.buf.setLevelName(1, 1, "one");
  flow.writer.setDouble(0, 0, 0);
  flow.writer.setLevelNum(0, 1, 0);
  flow.writer.releaseRows(1);
  flow.buf.reader().addToDoubles = 1.5;
  // The level is that of the double, cut to a whole number.
  EXPECT_EQ(flow.run(), "ZRBProcPrintf chunk pos=0, rows=1, cols=2\n0: 1.500000, 1.500000 (one)\n");
}

// ---- Flow ----

TEST(PrintfFlow, prints_nothing_before_its_rows_are_there) {
  PrintfNode flow({{"x", ZRBBuf::column_double}});
  flow.node.setNumRows(5);
  flow.writer.releaseRows(4);
  EXPECT_EQ(flow.run(), "");
  EXPECT_EQ(flow.result, -1);
  EXPECT_EQ(flow.node.getRowsDone(), 0);
  EXPECT_EQ(messagesOf(flow.node), Messages{});
  flow.writer.releaseRows(1);
  EXPECT_EQ(flow.run(), "ZRBProcPrintf chunk pos=0, rows=5, cols=1\n0: 0\n1: 0\n");
  EXPECT_EQ(flow.result, 5);
}

TEST(PrintfFlow, runs_to_the_end_of_data_in_a_pipeline) {
  ZRBMemoryBuf buf;
  TableSource source(7, [](ZRBBufWriter& writer, long row, long long streamRow) {
    writer.setDouble(row, 0, static_cast<double>(streamRow));
  });
  ZRBProcPrintf node;
  setColumns(buf, {{"x", ZRBBuf::column_double}});
  buf.setNumRows(4);
  source.setOutputBuf(0, &buf);
  node.setInputBuf(0, &buf);
  node.setNumRows(3);
  PropertyCall("num.to.print").with(1).set(node);
  ZRBPipeline pipeline;
  pipeline.addBuf(&buf);
  pipeline.addProc(&source);
  pipeline.addProc(&node);
  CapturedOutput output;
  pipeline.init();
  pipeline.execute(0);
  EXPECT_EQ(output.text(),
            "ZRBProcPrintf chunk pos=0, rows=3, cols=1\n0: 0\n"
            "ZRBProcPrintf chunk pos=3, rows=3, cols=1\n3: 3\n"
            "ZRBProcPrintf chunk pos=6, rows=1, cols=1\n6: 6\n");
  EXPECT_EQ(node.isDone(), 1);
  EXPECT_EQ(node.getRowsDone(), 7);
  EXPECT_EQ(messagesOf(node), Messages{});
}

TEST(PrintfFlow, init_starts_over_and_keeps_the_number_of_rows_to_print) {
  PrintfNode flow({{"x", ZRBBuf::column_double}});
  PropertyCall("num.to.print").with(1).set(flow.node);
  EXPECT_EQ(flow.print(2), "ZRBProcPrintf chunk pos=0, rows=2, cols=1\n0: 0\n");
  flow.buf.init();
  EXPECT_EQ(flow.node.init(), 0);
  EXPECT_EQ(flow.node.getRowsDone(), 0);
  EXPECT_EQ(flow.print(2), "ZRBProcPrintf chunk pos=0, rows=2, cols=1\n0: 0\n");
}

TEST(PrintfFlow, wants_one_input_and_no_output) {
  ZRBMemoryBuf buf;
  ZRBProcPrintf node;
  EXPECT_EQ(messagesOf(node), Messages{"uninitialized"});
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

TEST(PrintfFlow, without_an_input_prints_nothing) {
  ZRBProcPrintf node;
  node.clearMessages();
  CapturedOutput output;
  EXPECT_EQ(node.execute(), -1);
  EXPECT_EQ(output.text(), "");
  EXPECT_EQ(node.getRowsDone(), 0);
}

// ---- Properties ----

TEST(PrintfProperties, names_are_tested_in_order_and_an_unknown_one_is_reported_once) {
  ZRBProcPrintf node;
  expectChains(node, joined({{"num.to.print"}, kProcSetNames, kObjSetNames}),
               joined({{"num.to.print"}, kProcGetNames, kObjGetNames}));
}

TEST(PrintfProperties, use_the_operation_of_their_type) {
  ZRBProcPrintf node;
  expectSetRow(node, {"num.to.print", {"getLongArg"}});
  expectGetRow(node, {"num.to.print", {"setLongResult"}});
}

TEST(PrintfProperties, the_number_of_rows_to_print_is_2_until_set_and_is_kept_as_int) {
  ZRBProcPrintf node;
  EXPECT_EQ(PropertyCall("num.to.print").get(node).longResult, 2);
  const struct {
    long given, kept;
  } cases[] = {
      {0, 0},          {-5, -5}, {2147483647, 2147483647}, {2147483648, -2147483647 - 1}, {-2147483649, 2147483647},
      {0x100000002, 2}};
  for (const auto& c : cases) {
    PropertyCall("num.to.print").with(c.given).set(node);
    EXPECT_EQ(PropertyCall("num.to.print").get(node).longResult, c.kept) << c.given;
  }
}

}  // namespace
