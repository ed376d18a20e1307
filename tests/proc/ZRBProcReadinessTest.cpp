// When a node may run, and how long it is done.
#include <gtest/gtest.h>

#include "ZRBBufReader.h"
#include "ZRBBufWriter.h"
#include "ZRBMemoryBuf.h"
#include "ZRBProc.h"
#include "support/Harness.h"

namespace {

// A buffer of 10 rows, written by `source` and read by `node`.
struct NodeWithInput {
  ZRBMemoryBuf buf;
  ZRBProc source;
  ZRBProc node;

  NodeWithInput() {
    buf.setNumRows(10);
    source.setOutputBuf(0, &buf);
    node.setInputBuf(0, &buf);
    node.setNumRows(10);
    source.setNumRows(10);
    buf.init();
    source.init();
    node.init();
  }
  void release(long rows) { source.getOutputBufWriter(0)->releaseRows(rows); }
};

TEST(ProcReadiness, a_new_node_is_not_ready_and_says_why) {
  ZRBProc node;
  EXPECT_EQ(messagesOf(node), Messages{"uninitialized"});
  EXPECT_STREQ(node.getError(), "uninitialized");
  EXPECT_EQ(node.isReady(), 0);
  EXPECT_EQ(node.isDone(), 0);
}

TEST(ProcReadiness, init_makes_a_node_without_buffers_ready) {
  ZRBProc node;
  EXPECT_EQ(node.init(), 0);
  EXPECT_EQ(messagesOf(node), Messages{});
  EXPECT_EQ(node.isReady(), 1);
}

TEST(ProcReadiness, init_starts_over) {
  ZRBProc node;
  node.init();
  node.setDone(1);
  node.setRowsDone(77);
  node.setExecuteCount(5);
  node.setNumRows(20);
  node.setOutputNumRows(30);
  node.setCallbackVal(3);
  node.setCallbackInfo(4);
  node.setError("broken");
  EXPECT_EQ(node.init(), 0);
  EXPECT_EQ(node.isDone(), 0);
  EXPECT_EQ(node.getRowsDone(), 0);
  EXPECT_EQ(node.getExecuteCount(), 0);
  EXPECT_EQ(node.getNumMessages(), 0);
  EXPECT_EQ(node.isReady(), 1);
  // Settings stay.
  EXPECT_EQ(node.getNumRows(), 20);
  EXPECT_EQ(node.getOutputNumRows(), 30);
  EXPECT_EQ(node.getCallbackVal(), 3);
  EXPECT_EQ(node.getCallbackInfo(), 4);
}

TEST(ProcReadiness, a_done_node_is_not_ready_until_init) {
  ZRBProc node;
  node.init();
  node.setDone(1);
  EXPECT_EQ(node.isDone(), 1);
  EXPECT_EQ(node.isReady(), 0);
  node.init();
  EXPECT_EQ(node.isReady(), 1);
}

TEST(ProcReadiness, done_keeps_the_flag_as_given) {
  ZRBProc node;
  node.setDone(7);
  EXPECT_EQ(node.isDone(), 7);
  node.setDone(0);
  EXPECT_EQ(node.isDone(), 0);
}

TEST(ProcReadiness, only_an_error_stops_a_node) {
  ZRBProc node;
  node.init();
  node.addWarning("careful");
  node.addInformation("by the way");
  EXPECT_EQ(node.isReady(), 1);
  node.addError("broken");
  EXPECT_EQ(node.isReady(), 0);
}

TEST(ProcReadiness, clearing_the_messages_lets_a_node_run_again) {
  ZRBProc node;
  node.init();
  node.setError("broken");
  EXPECT_EQ(node.isReady(), 0);
  node.setError(nullptr);
  EXPECT_EQ(node.isReady(), 1);
  node.setError("broken");
  node.clearMessages();
  EXPECT_EQ(node.isReady(), 1);
}

TEST(ProcReadiness, an_input_must_have_the_rows_it_was_asked_for) {
  NodeWithInput flow;
  EXPECT_EQ(flow.node.isReady(), 1);  // nothing was asked for yet
  flow.node.getInputBufReader(0)->setRequestRows(4);
  EXPECT_EQ(flow.node.isReady(), 0);
  flow.release(3);
  EXPECT_EQ(flow.node.isReady(), 0);
  flow.release(1);
  EXPECT_EQ(flow.node.isReady(), 1);
}

TEST(ProcReadiness, at_end_of_data_an_input_is_ready_with_what_is_left) {
  NodeWithInput flow;
  flow.node.getInputBufReader(0)->setRequestRows(4);
  flow.release(1);
  EXPECT_EQ(flow.node.isReady(), 0);
  flow.source.getOutputBufWriter(0)->setEOF();
  EXPECT_EQ(flow.node.isReady(), 1);
  flow.node.getInputBufReader(0)->releaseRows(1);
  EXPECT_EQ(flow.node.isReady(), 1);  // so that it can run once more and become done
}

TEST(ProcReadiness, every_input_must_be_ready) {
  NodeWithInput flow;
  ZRBMemoryBuf second;
  ZRBProc secondSource;
  secondSource.setOutputBuf(0, &second);
  flow.node.setInputBuf(1, &second);
  second.init();
  flow.node.getInputBufReader(0)->setRequestRows(1);
  flow.node.getInputBufReader(1)->setRequestRows(1);
  flow.release(5);
  EXPECT_EQ(flow.node.isReady(), 0);
  secondSource.getOutputBufWriter(0)->releaseRows(1);
  EXPECT_EQ(flow.node.isReady(), 1);
}

TEST(ProcReadiness, every_output_must_have_the_room_it_was_asked_for) {
  NodeWithInput flow;
  ZRBBufWriter& writer = *flow.source.getOutputBufWriter(0);
  writer.setRequestRows(4);
  EXPECT_EQ(flow.source.isReady(), 1);
  flow.release(7);  // leaves room for 3
  EXPECT_EQ(flow.source.isReady(), 0);
  flow.node.getInputBufReader(0)->releaseRows(1);
  EXPECT_EQ(flow.source.isReady(), 1);
}

TEST(ProcReadiness, a_missing_input_makes_a_node_not_ready) {
  ZRBMemoryBuf buf;
  ZRBProc node;
  node.setInputBuf(1, &buf);
  node.init();
  EXPECT_EQ(node.isReady(), 0);
  EXPECT_EQ(messagesOf(node), Messages{});  // asking changes nothing
}

TEST(ProcReadiness, a_missing_output_makes_a_node_not_ready) {
  ZRBMemoryBuf buf;
  ZRBProc node;
  node.setOutputBuf(1, &buf);
  node.init();
  EXPECT_EQ(node.isReady(), 0);
  EXPECT_EQ(messagesOf(node), Messages{});
}

TEST(ProcReadiness, a_buffer_with_an_error_stops_both_of_its_nodes) {
  NodeWithInput flow;
  EXPECT_EQ(flow.node.isReady(), 1);
  EXPECT_EQ(flow.source.isReady(), 1);
  flow.buf.setError("broken");
  EXPECT_EQ(flow.node.isReady(), 0);
  EXPECT_EQ(flow.source.isReady(), 0);
  flow.buf.setEOF(1);
  EXPECT_EQ(flow.node.isReady(), 0);
  EXPECT_EQ(messagesOf(flow.node), Messages{});
}

TEST(ProcReadiness, the_base_class_does_nothing_when_it_runs) {
  NodeWithInput flow;
  flow.release(2);
  EXPECT_EQ(flow.node.execute(), 0);
  EXPECT_EQ(flow.node.getRowsDone(), 0);
  EXPECT_EQ(flow.node.getExecuteCount(), 0);
  EXPECT_EQ(flow.node.getInputBufReader(0)->getRowsReady(), 2);
  EXPECT_EQ(messagesOf(flow.node), Messages{});
}

TEST(ProcCounts, counts_start_at_zero_and_are_added_to) {
  ZRBProc node;
  EXPECT_EQ(node.getExecuteCount(), 0);
  EXPECT_EQ(node.getRowsDone(), 0);
  node.incrementExecuteCount();
  node.incrementExecuteCount();
  EXPECT_EQ(node.getExecuteCount(), 2);
  node.setExecuteCount(5000000000);
  node.incrementExecuteCount();
  EXPECT_EQ(node.getExecuteCount(), 5000000001);
  node.setRowsDone(6000000000);
  EXPECT_EQ(node.incrementRowsDone(7), 6000000007);
  EXPECT_EQ(node.getRowsDone(), 6000000007);
  node.incrementRowsDone(-6000000007);
  EXPECT_EQ(node.getRowsDone(), 0);
}

TEST(ProcChunkSizes, outputs_take_the_size_of_the_inputs_until_they_have_their_own) {
  ZRBProc node;
  EXPECT_EQ(node.getNumRows(), 1000);
  EXPECT_EQ(node.getOutputNumRows(), 1000);
  node.setNumRows(70);
  EXPECT_EQ(node.getOutputNumRows(), 70);
  node.setOutputNumRows(10);
  EXPECT_EQ(node.getOutputNumRows(), 10);
  EXPECT_EQ(node.getNumRows(), 70);
  node.setOutputNumRows(0);  // zero is a size of its own
  EXPECT_EQ(node.getOutputNumRows(), 0);
  node.setOutputNumRows(-5);
  EXPECT_EQ(node.getOutputNumRows(), 70);
}

}  // namespace
