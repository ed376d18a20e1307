// The source of predictable rows.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ZRBBufReader.h"
#include "ZRBBufWriter.h"
#include "ZRBMemoryBuf.h"
#include "ZRBProcNullReader.h"
#include "support/Harness.h"
#include "support/LoggingEnds.h"
#include "support/PropertyCall.h"
#include "support/PropertyChains.h"

namespace {

// A null reader before a logging buffer whose rows the test takes.
struct NullFlow {
  CallLog log;
  LoggingBuf buf{log, "out"};
  ZRBProcNullReader source;
  HarnessNode sink;
  ZRBBufReader& reader;

  NullFlow(const std::vector<Column>& columns, long long totalRows, long ringRows = 3000, long chunkRows = 1000)
      : reader(sink.readFrom(buf)) {
    setColumns(buf, columns);
    buf.setNumRows(ringRows);
    source.setOutputBuf(0, &buf);
    source.setNumRows(chunkRows);
    source.setTotalRows(totalRows);
    buf.init();
    source.init();
    log.clear();
  }
  std::vector<double> row(long chunkRow) {
    std::vector<double> values;
    for (long column = 0; column < buf.getNumColumns(); ++column) values.push_back(reader.getDouble(chunkRow, column));
    return values;
  }
};

const std::vector<Column> kThreeDoubles = {
    {"a", ZRBBuf::column_double}, {"b", ZRBBuf::column_double}, {"c", ZRBBuf::column_double}};

TEST(NullReader, a_new_node_writes_cells_and_has_no_rows_to_produce) {
  ZRBProcNullReader node;
  EXPECT_EQ(node.getAccessBuf(), 1);
  EXPECT_EQ(node.getTotalRows(), 0);
  EXPECT_EQ(messagesOf(node), Messages{"uninitialized"});
}

TEST(NullReader, settings_are_kept_as_given) {
  ZRBProcNullReader node;
  node.setAccessBuf(0);
  EXPECT_EQ(node.getAccessBuf(), 0);
  node.setAccessBuf(5);
  EXPECT_EQ(node.getAccessBuf(), 5);
  node.setTotalRows(5000000000);
  EXPECT_EQ(node.getTotalRows(), 5000000000);
}

TEST(NullReader, wants_no_input_and_one_output) {
  ZRBMemoryBuf buf;
  ZRBProcNullReader node;
  EXPECT_EQ(node.init(), 1);
  EXPECT_EQ(messagesOf(node), Messages{"this node expects 1 outputs, but was given 0 outputs"});
  node.setOutputBuf(0, &buf);
  EXPECT_EQ(node.init(), 0);
  EXPECT_EQ(messagesOf(node), Messages{});
  node.setInputBuf(0, &buf);
  EXPECT_EQ(node.init(), 1);
  EXPECT_EQ(messagesOf(node), Messages{"this node expects 0 inputs, but was given 1 inputs"});
}

TEST(NullReader, a_cell_holds_its_stream_row_plus_its_column) {
  NullFlow flow(kThreeDoubles, 10);
  EXPECT_EQ(flow.source.execute(), 1);
  ASSERT_EQ(flow.reader.getRowsReady(), 10);
  EXPECT_EQ(flow.row(0), (std::vector<double>{0, 1, 2}));
  EXPECT_EQ(flow.row(1), (std::vector<double>{1, 2, 3}));
  EXPECT_EQ(flow.row(7), (std::vector<double>{7, 8, 9}));
  EXPECT_EQ(flow.row(9), (std::vector<double>{9, 10, 11}));
}

TEST(NullReader, stream_rows_go_on_over_chunks_whatever_the_ring) {
  struct {
    long ringRows, chunkRows;
  } const cases[] = {{1, 1}, {2, 1}, {3, 2}, {7, 3}, {7, 7}, {1000, 333}, {1000, 999}};
  for (const auto& c : cases) {
    NullFlow flow(kThreeDoubles, 2500, c.ringRows, c.chunkRows);
    double streamRow = 0;
    while (!flow.source.isDone()) {
      flow.source.execute();
      const long ready = flow.reader.getRowsReady();
      ASSERT_GT(ready, 0);
      for (long row = 0; row < ready; ++row, ++streamRow) {
        ASSERT_EQ(flow.row(row), (std::vector<double>{streamRow, streamRow + 1, streamRow + 2}))
            << c.ringRows << " " << c.chunkRows;
      }
      flow.reader.releaseRows(ready);
    }
    EXPECT_EQ(streamRow, 2500);
  }
}

TEST(NullReader, the_writer_converts_the_value_to_the_type_of_the_column) {
  NullFlow flow(oneColumnOfEachType(), 3);
  flow.source.execute();
  // Row 2 holds 2, 3, 4, 5, 6.
  EXPECT_EQ(flow.reader.getDouble(2, 0), 2);
  EXPECT_STREQ(flow.reader.getString(2, 1), "3");  // a level named by the number
  EXPECT_EQ(flow.reader.getLevelNum(2, 1), 2);     // the third level met
  EXPECT_STREQ(flow.reader.getString(2, 2), "4");
  EXPECT_EQ(flow.reader.getTimeDate(2, 3), 5 * 86400000LL);
  EXPECT_EQ(flow.reader.isBlobNA(2, 4), 1);
}

TEST(NullReader, cells_are_written_row_by_row_through_the_converting_setter) {
  NullFlow flow({{"a", ZRBBuf::column_double}, {"b", ZRBBuf::column_factor}}, 2);
  flow.source.execute();
  EXPECT_EQ(changesOf(flow.log),
            (CallLog{"out.setRequestRows(1000)", "out.setConvertDouble(0, 0, 0)", "out.setConvertDouble(0, 1, 1)",
                     "out.setConvertDouble(1, 0, 1)", "out.setConvertDouble(1, 1, 2)", "out.releaseRows(2)",
                     "out.setRequestRows(1000)", "out.setEOF"}));
}

TEST(NullReader, the_stream_row_is_a_double) {
  NullFlow flow({{"a", ZRBBuf::column_double}, {"b", ZRBBuf::column_double}}, 9007199254740993 + 4);
  flow.source.setRowsDone(9007199254740993);  // 2^53 + 1 becomes 2^53
  flow.source.execute();
  ASSERT_EQ(flow.reader.getRowsReady(), 4);
  EXPECT_EQ(flow.row(0), (std::vector<double>{9007199254740992.0, 9007199254740992.0}));
  EXPECT_EQ(flow.row(1), (std::vector<double>{9007199254740992.0, 9007199254740992.0}));
  EXPECT_EQ(flow.row(2), (std::vector<double>{9007199254740994.0, 9007199254740996.0}));
  EXPECT_EQ(flow.row(3), (std::vector<double>{9007199254740996.0, 9007199254740996.0}));
}

TEST(NullReader, the_last_chunk_is_the_remainder_and_ends_the_data) {
  NullFlow flow(kThreeDoubles, 2500);
  EXPECT_EQ(flow.source.execute(), 1000);
  EXPECT_EQ(flow.source.execute(), 2000);
  EXPECT_EQ(flow.source.isDone(), 0);
  EXPECT_EQ(flow.buf.getEOF(), 0);
  EXPECT_EQ(flow.source.execute(), 1);
  EXPECT_EQ(flow.source.isDone(), 1);
  EXPECT_EQ(flow.buf.getEOF(), 1);
  EXPECT_EQ(flow.buf.getTotalNumRows(), 2500);
}

TEST(NullReader, the_result_of_the_last_chunk_is_what_the_writer_answers) {
  NullFlow flow(kThreeDoubles, 10);
  flow.buf.writer().eofResult = 4711;
  EXPECT_EQ(flow.source.execute(), 4711);
}

TEST(NullReader, without_rows_to_produce_the_first_chunk_is_empty_and_ends_the_data) {
  NullFlow flow(kThreeDoubles, 0);
  EXPECT_EQ(flow.source.execute(), 1);
  EXPECT_EQ(flow.source.isDone(), 1);
  EXPECT_EQ(flow.buf.getTotalNumRows(), 0);
  EXPECT_EQ(changesOf(flow.log),
            (CallLog{"out.setRequestRows(1000)", "out.releaseRows(0)", "out.setRequestRows(1000)", "out.setEOF"}));
}

TEST(NullReader, a_full_ring_gives_minus_1) {
  NullFlow flow(kThreeDoubles, 100, 25, 10);
  EXPECT_EQ(flow.source.execute(), 10);
  EXPECT_EQ(flow.source.execute(), 20);
  EXPECT_EQ(flow.source.execute(), -1);
  EXPECT_EQ(flow.source.getRowsDone(), 20);
  EXPECT_EQ(messagesOf(flow.source), Messages{});
}

TEST(NullReader, rows_done_are_the_number_of_the_next_row) {
  NullFlow flow(kThreeDoubles, 10);
  flow.source.setRowsDone(7);
  flow.source.execute();
  ASSERT_EQ(flow.reader.getRowsReady(), 3);
  EXPECT_EQ(flow.row(0), (std::vector<double>{7, 8, 9}));
  EXPECT_EQ(flow.row(2), (std::vector<double>{9, 10, 11}));
  EXPECT_EQ(flow.source.isDone(), 1);
}

TEST(NullReader, a_negative_total_is_refused_by_the_writer) {
  NullFlow flow(kThreeDoubles, -3);
  flow.source.execute();
  EXPECT_EQ(messagesOf(flow.source), Messages{"ZRBBufWriter::releaseRows can't release negative rows: -3"});
  EXPECT_EQ(flow.source.isDone(), 1);
}

TEST(NullReader, without_access_rows_flow_and_no_cell_is_written) {
  NullFlow flow(kThreeDoubles, 1500);
  flow.source.setAccessBuf(0);
  flow.source.execute();
  flow.source.execute();
  EXPECT_EQ(changesOf(flow.log),
            (CallLog{"out.setRequestRows(1000)", "out.releaseRows(1000)", "out.setRequestRows(1000)",
                     "out.setRequestRows(1000)", "out.releaseRows(500)", "out.setRequestRows(1000)", "out.setEOF"}));
  EXPECT_EQ(flow.source.isDone(), 1);
  EXPECT_EQ(flow.buf.getTotalNumRows(), 1500);
  EXPECT_EQ(flow.row(0), (std::vector<double>{0, 0, 0}));  // as the buffer was allocated
  EXPECT_EQ(flow.row(1499), (std::vector<double>{0, 0, 0}));
}

TEST(NullReader, without_access_cells_of_an_earlier_run_stay) {
  NullFlow flow(kThreeDoubles, 10);
  flow.source.execute();
  flow.buf.init();
  flow.source.init();
  flow.source.setAccessBuf(0);
  flow.source.execute();
  EXPECT_EQ(flow.row(7), (std::vector<double>{7, 8, 9}));
}

TEST(NullReader, any_nonzero_access_writes) {
  NullFlow flow(kThreeDoubles, 3);
  flow.source.setAccessBuf(-1);
  flow.source.execute();
  EXPECT_EQ(flow.row(2), (std::vector<double>{2, 3, 4}));
}

TEST(NullReader, init_starts_over) {
  NullFlow flow(kThreeDoubles, 10);
  flow.source.execute();
  EXPECT_EQ(flow.source.isDone(), 1);
  flow.buf.init();
  flow.source.init();
  EXPECT_EQ(flow.source.isDone(), 0);
  flow.source.execute();
  EXPECT_EQ(flow.row(0), (std::vector<double>{0, 1, 2}));
  EXPECT_EQ(flow.buf.getTotalNumRows(), 10);
}

TEST(NullReaderProperties, names_are_tested_in_order_and_an_unknown_one_is_reported_once) {
  ZRBProcNullReader node;
  expectChains(node, joined({{"total.rows", "access.buf"}, kProcSetNames, kObjSetNames}),
               joined({{"total.rows", "access.buf"}, kProcGetNames, kObjGetNames}));
}

TEST(NullReaderProperties, use_the_operation_of_their_type) {
  ZRBProcNullReader node;
  expectSetRow(node, {"total.rows", {"getLongLongArg"}});
  expectSetRow(node, {"access.buf", {"getBoolArg"}});
  expectGetRow(node, {"total.rows", {"setLongLongResult"}});
  expectGetRow(node, {"access.buf", {"setBoolResult"}});
}

TEST(NullReaderProperties, are_read_back) {
  ZRBProcNullReader node;
  PropertyCall("total.rows").with(5000000000).set(node);
  EXPECT_EQ(PropertyCall("total.rows").get(node).longLongResult, 5000000000);
  EXPECT_EQ(PropertyCall("access.buf").get(node).boolResult, 1);
  PropertyCall("access.buf").with(0).set(node);
  EXPECT_EQ(PropertyCall("access.buf").get(node).boolResult, 0);
  EXPECT_EQ(node.getAccessBuf(), 0);
  EXPECT_EQ(PropertyCall("data.pass.count").get(node).longResult, 1);
}

}  // namespace
