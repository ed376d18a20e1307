// The sink that reads every cell and forgets it.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ZRBBufReader.h"
#include "ZRBBufWriter.h"
#include "ZRBMemoryBuf.h"
#include "ZRBProcNullWriter.h"
#include "support/Harness.h"
#include "support/LoggingEnds.h"
#include "support/PropertyCall.h"
#include "support/PropertyChains.h"

namespace {

// A logging buffer that the test fills before a null writer.
struct SinkFlow {
  CallLog log;
  LoggingBuf buf{log, "in"};
  HarnessNode producer;
  ZRBProcNullWriter sink;
  ZRBBufWriter& writer;

  explicit SinkFlow(const std::vector<Column>& columns = oneColumnOfEachType()) : writer(producer.writeTo(buf)) {
    setColumns(buf, columns);
    sink.setInputBuf(0, &buf);
    buf.init();
    sink.init();
    log.clear();
  }
  void feed(long rows) {
    writer.releaseRows(rows);
    log.clear();
  }
};

TEST(NullWriter, a_new_node_reads_cells) {
  ZRBProcNullWriter node;
  EXPECT_EQ(node.getAccessBuf(), 1);
  node.setAccessBuf(0);
  EXPECT_EQ(node.getAccessBuf(), 0);
  EXPECT_EQ(messagesOf(node), Messages{"uninitialized"});
}

TEST(NullWriter, wants_one_input_and_no_output) {
  ZRBMemoryBuf buf;
  ZRBProcNullWriter node;
  EXPECT_EQ(node.init(), 1);
  EXPECT_EQ(messagesOf(node), Messages{"this node expects 1 inputs, but was given 0 inputs"});
  node.setInputBuf(0, &buf);
  EXPECT_EQ(node.init(), 0);
  EXPECT_EQ(messagesOf(node), Messages{});
  node.setOutputBuf(0, &buf);
  EXPECT_EQ(node.init(), 1);
  EXPECT_EQ(messagesOf(node), Messages{"this node expects 0 outputs, but was given 1 outputs"});
}

TEST(NullWriter, reads_every_cell_as_a_double_row_by_row) {
  SinkFlow flow;
  flow.sink.setNumRows(2);
  flow.feed(2);
  EXPECT_EQ(flow.sink.execute(), 2);
  EXPECT_EQ(changesOf(flow.log),
            (CallLog{"in.setRequestRows(2)", "in.getDouble(0, 0)", "in.getDouble(0, 1)", "in.getDouble(0, 2)",
                     "in.getDouble(0, 3)", "in.getDouble(0, 4)", "in.getDouble(1, 0)", "in.getDouble(1, 1)",
                     "in.getDouble(1, 2)", "in.getDouble(1, 3)", "in.getDouble(1, 4)", "in.releaseRows(2)",
                     "in.setRequestRows(2)"}));
}

TEST(NullWriter, without_access_rows_flow_and_no_cell_is_read) {
  SinkFlow flow;
  flow.sink.setAccessBuf(0);
  flow.feed(1500);
  EXPECT_EQ(flow.sink.execute(), 1000);
  EXPECT_EQ(changesOf(flow.log),
            (CallLog{"in.setRequestRows(1000)", "in.releaseRows(1000)", "in.setRequestRows(1000)"}));
  EXPECT_EQ(flow.buf.getOutputRowsReleased(), 1000);
}

TEST(NullWriter, a_chunk_of_no_rows_reads_no_cell) {
  SinkFlow flow;
  flow.writer.setEOF();
  flow.log.clear();
  EXPECT_EQ(flow.sink.execute(), 0);
  EXPECT_EQ(changesOf(flow.log), (CallLog{"in.setRequestRows(1000)", "in.releaseRows(0)"}));
  EXPECT_EQ(flow.sink.isDone(), 1);
}

TEST(NullWriter, takes_chunks_until_the_end_of_data) {
  SinkFlow flow;
  flow.feed(2500);
  EXPECT_EQ(flow.sink.execute(), 1000);
  EXPECT_EQ(flow.sink.execute(), 2000);
  EXPECT_EQ(flow.sink.execute(), -1);  // 500 rows are not the 1000 it wants
  EXPECT_EQ(flow.sink.isDone(), 0);
  flow.writer.setEOF();
  EXPECT_EQ(flow.sink.execute(), 2500);
  EXPECT_EQ(flow.sink.isDone(), 1);
  EXPECT_EQ(flow.sink.getRowsDone(), 2500);
  EXPECT_EQ(messagesOf(flow.sink), Messages{});
}

TEST(NullWriter, is_not_done_before_the_end_of_data) {
  SinkFlow flow;
  flow.feed(1000);
  flow.sink.execute();
  EXPECT_EQ(flow.sink.isDone(), 0);  // everything was read, but more may come
  flow.writer.setEOF();
  EXPECT_EQ(flow.sink.isDone(), 0);
  EXPECT_EQ(flow.sink.execute(), 1000);
  EXPECT_EQ(flow.sink.isDone(), 1);
}

TEST(NullWriter, a_missing_input_is_passed_back) {
  ZRBMemoryBuf buf;
  ZRBProcNullWriter node;
  node.setInputBuf(1, &buf);
  node.clearMessages();
  EXPECT_EQ(node.execute(), -1);
  EXPECT_EQ(messagesOf(node), Messages{"null input buf: 0"});
}

TEST(NullWriterProperties, names_are_tested_in_order_and_an_unknown_one_is_reported_once) {
  ZRBProcNullWriter node;
  expectChains(node, joined({{"access.buf"}, kProcSetNames, kObjSetNames}),
               joined({{"access.buf"}, kProcGetNames, kObjGetNames}));
}

TEST(NullWriterProperties, use_the_operation_of_their_type) {
  ZRBProcNullWriter node;
  expectSetRow(node, {"access.buf", {"getBoolArg"}});
  expectGetRow(node, {"access.buf", {"setBoolResult"}});
}

TEST(NullWriterProperties, are_read_back) {
  ZRBProcNullWriter node;
  EXPECT_EQ(PropertyCall("access.buf").get(node).boolResult, 1);
  PropertyCall("access.buf").with(0).set(node);
  EXPECT_EQ(PropertyCall("access.buf").get(node).boolResult, 0);
  EXPECT_EQ(node.getAccessBuf(), 0);
  EXPECT_EQ(PropertyCall("data.pass.count").get(node).longResult, 1);
}

}  // namespace
