// The node base asks its own virtual operations through the table: a derived node that answers differently is heard.
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "ZRBBufReader.h"
#include "ZRBBufWriter.h"
#include "ZRBMemoryBuf.h"
#include "ZRBProc.h"
#include "ZRBProcCount.h"
#include "ZRBProcLm.h"
#include "ZRBProcNullReader.h"
#include "ZRBProcNullWriter.h"
#include "ZRBProcRandomReader.h"
#include "support/Harness.h"
#include "support/LoggingEnds.h"
#include "support/PropertyCall.h"

namespace {

class AnsweringNode final : public ZRBProc {
public:
  std::optional<int> done, ready;
  std::optional<long> numRows, outputNumRows;
  std::optional<long long> rowsDone, executeCount, incremented;
  CallLog log;

  int init() override {
    log.push_back("init");
    return ZRBProc::init();
  }
  long execute() override {
    log.push_back("execute");
    return 5;
  }
  int isReady() override { return ready ? *ready : ZRBProc::isReady(); }
  void setDone(int flag) override {
    log.push_back("setDone(" + logText(static_cast<long>(flag)) + ")");
    ZRBProc::setDone(flag);
  }
  int isDone() override { return done ? *done : ZRBProc::isDone(); }
  long long getExecuteCount() override { return executeCount ? *executeCount : ZRBProc::getExecuteCount(); }
  void setExecuteCount(long long count) override {
    log.push_back("setExecuteCount(" + logText(count) + ")");
    ZRBProc::setExecuteCount(count);
  }
  long long getRowsDone() override { return rowsDone ? *rowsDone : ZRBProc::getRowsDone(); }
  void setRowsDone(long long rows) override {
    log.push_back("setRowsDone(" + logText(rows) + ")");
    ZRBProc::setRowsDone(rows);
  }
  long long incrementRowsDone(long rows) override {
    log.push_back("incrementRowsDone(" + logText(rows) + ")");
    const long long result = ZRBProc::incrementRowsDone(rows);
    return incremented ? *incremented : result;
  }
  void setNumRows(long rows) override {
    log.push_back("setNumRows(" + logText(rows) + ")");
    ZRBProc::setNumRows(rows);
  }
  long getNumRows() override { return numRows ? *numRows : ZRBProc::getNumRows(); }
  void setOutputNumRows(long rows) override {
    log.push_back("setOutputNumRows(" + logText(rows) + ")");
    ZRBProc::setOutputNumRows(rows);
  }
  long getOutputNumRows() override { return outputNumRows ? *outputNumRows : ZRBProc::getOutputNumRows(); }
  using ZRBProc::executeReleaseRows;
  long executeReleaseRows(long inputRows, long outputRows) override {
    log.push_back("executeReleaseRows(" + logText(inputRows) + ", " + logText(outputRows) + ")");
    return ZRBProc::executeReleaseRows(inputRows, outputRows);
  }
  using ZRBProc::checkBufs;
  void checkBufs(int minInputs, int maxInputs, int minOutputs, int maxOutputs) override {
    log.push_back("checkBufs(" + std::to_string(minInputs) + ", " + std::to_string(maxInputs) + ", " +
                  std::to_string(minOutputs) + ", " + std::to_string(maxOutputs) + ")");
  }
};

TEST(ProcVirtualDispatch, readiness_asks_isDone) {
  AnsweringNode node;
  node.init();
  EXPECT_EQ(node.isReady(), 1);
  node.done = 1;
  EXPECT_EQ(node.isReady(), 0);
  node.ZRBProc::setDone(1);
  node.done = 0;
  EXPECT_EQ(node.isReady(), 1);
}

TEST(ProcVirtualDispatch, requests_ask_for_the_chunk_sizes) {
  CallLog log;
  LoggingBuf in(log, "in"), out(log, "out");
  ZRBProc source;
  source.setOutputBuf(0, &in);
  AnsweringNode node;
  node.setInputBuf(0, &in);
  node.setOutputBuf(0, &out);
  in.init();
  out.init();
  node.init();
  source.getOutputBufWriter(0)->releaseRows(100);
  node.numRows = 33;
  node.outputNumRows = 44;
  log.clear();
  EXPECT_EQ(node.executeRequestRows(), 33);
  EXPECT_EQ(changesOf(log), (CallLog{"in.setRequestRows(33)", "out.setRequestRows(44)"}));
  node.outputNumRows = 22;
  EXPECT_EQ(node.executeRequestRows(), 22);
  log.clear();
  node.executeReleaseRows(10);
  EXPECT_EQ(changesOf(log),
            (CallLog{"in.releaseRows(10)", "in.setRequestRows(33)", "out.releaseRows(10)", "out.setRequestRows(22)"}));
}

TEST(ProcVirtualDispatch, a_release_asks_isDone) {
  AnsweringNode node;
  node.init();
  node.done = 9;
  node.log.clear();
  EXPECT_EQ(node.executeReleaseRows(3, 4), 9);
  EXPECT_EQ(node.log, (CallLog{"executeReleaseRows(3, 4)"}));
}

TEST(ProcVirtualDispatch, a_release_of_one_count_calls_the_one_with_two) {
  AnsweringNode node;
  node.init();
  node.log.clear();
  node.incremented = 4711;
  EXPECT_EQ(node.executeReleaseRows(3), 4711);
  EXPECT_EQ(node.log, (CallLog{"executeReleaseRows(3, 3)", "incrementRowsDone(3)"}));
}

TEST(ProcVirtualDispatch, a_release_at_end_of_data_calls_setDone_before_it_counts) {
  ZRBMemoryBuf in;
  ZRBProc source;
  source.setOutputBuf(0, &in);
  AnsweringNode node;
  node.setInputBuf(0, &in);
  in.init();
  node.init();
  source.getOutputBufWriter(0)->releaseRows(6);
  source.getOutputBufWriter(0)->setEOF();
  node.log.clear();
  node.executeReleaseRows(6, 0);
  EXPECT_EQ(node.log, (CallLog{"executeReleaseRows(6, 0)", "setDone(1)", "incrementRowsDone(6)"}));
}

TEST(ProcVirtualDispatch, the_check_of_exact_numbers_calls_the_one_with_bounds) {
  AnsweringNode node;
  node.checkBufs(3, 4);
  EXPECT_EQ(node.log, (CallLog{"checkBufs(3, 3, 4, 4)"}));
}

TEST(ProcVirtualDispatch, properties_are_read_through_the_table) {
  AnsweringNode node;
  node.init();
  node.done = 1;
  node.ready = 1;
  node.numRows = 12;
  node.outputNumRows = 13;
  node.rowsDone = 14;
  node.executeCount = 15;
  EXPECT_EQ(PropertyCall("done").get(node).boolResult, 1);
  EXPECT_EQ(PropertyCall("ready").get(node).boolResult, 1);
  EXPECT_EQ(PropertyCall("num.rows").get(node).longResult, 12);
  EXPECT_EQ(PropertyCall("output.num.rows").get(node).longResult, 13);
  EXPECT_EQ(PropertyCall("rows.done").get(node).longLongResult, 14);
  EXPECT_EQ(PropertyCall("execute.count").get(node).longLongResult, 15);
}

TEST(ProcVirtualDispatch, properties_are_set_through_the_table) {
  AnsweringNode node;
  PropertyCall("init").set(node);
  PropertyCall("num.rows").with(21).set(node);
  PropertyCall("output.num.rows").with(22).set(node);
  PropertyCall("rows.done").with(23).set(node);
  PropertyCall("execute.count").with(24).set(node);
  PropertyCall("execute").set(node);
  EXPECT_EQ(node.log, (CallLog{"init", "setNumRows(21)", "setOutputNumRows(22)", "setRowsDone(23)",
                               "setExecuteCount(24)", "execute"}));
}

TEST(ProcVirtualDispatch, the_ends_ask_the_node_for_its_chunk_sizes) {
  ZRBMemoryBuf buf;
  AnsweringNode node;
  node.setInputBuf(0, &buf);
  node.setOutputBuf(0, &buf);
  node.init();
  node.numRows = 5;
  node.outputNumRows = 6;
  node.getInputBufReader(0)->setRequestRows(6);
  node.getOutputBufWriter(0)->setRequestRows(7);
  EXPECT_EQ(messagesOf(node),
            (Messages{"ZRBBufReader::setRequestRows asked for more rows than ZRBProc::getNumRows(): 6",
                      "ZRBBufWriter::setRequestRows asked for more rows than ZRBProc::getNumRows(): 7"}));
  EXPECT_EQ(node.getInputBufReader(0)->getRequestRows(), 0);
  EXPECT_EQ(node.getOutputBufWriter(0)->getRequestRows(), 0);
}

// ---- The nodes of the library ----

// Notes what a node asks of the node base.
template <class Node>
class LoggingNode final : public Node {
public:
  CallLog log;
  long executeRequestRows() override {
    log.push_back("executeRequestRows");
    return Node::executeRequestRows();
  }
  long executeReleaseRows(long rows) override {
    log.push_back("executeReleaseRows(" + logText(rows) + ")");
    return Node::executeReleaseRows(rows);
  }
  long executeReleaseRows(long inputRows, long outputRows) override {
    log.push_back("executeReleaseRows(" + logText(inputRows) + ", " + logText(outputRows) + ")");
    return Node::executeReleaseRows(inputRows, outputRows);
  }
  void checkBufs(int numInputs, int numOutputs) override {
    log.push_back("checkBufs(" + std::to_string(numInputs) + ", " + std::to_string(numOutputs) + ")");
    Node::checkBufs(numInputs, numOutputs);
  }
  void setDone(int done) override {
    log.push_back("setDone(" + std::to_string(done) + ")");
    Node::setDone(done);
  }
  long long incrementRowsDone(long rows) override {
    log.push_back("incrementRowsDone(" + logText(rows) + ")");
    return Node::incrementRowsDone(rows);
  }

private:
  // The one with bounds is not a step of its own.
  using Node::checkBufs;
};

template <class Node>
CallLog callsOfSink() {
  ZRBMemoryBuf buf;
  ZRBProc source;
  LoggingNode<Node> node;
  buf.setNumColumns(1);
  source.setOutputBuf(0, &buf);
  node.setInputBuf(0, &buf);
  buf.init();
  node.init();
  source.getOutputBufWriter(0)->releaseRows(5);
  source.getOutputBufWriter(0)->setEOF();
  node.execute();
  return node.log;
}

template <class Node>
CallLog callsOfSource() {
  ZRBMemoryBuf buf;
  LoggingNode<Node> node;
  buf.setNumColumns(1);
  node.setTotalRows(5);
  node.setOutputBuf(0, &buf);
  buf.init();
  node.init();
  node.execute();
  return node.log;
}

TEST(ProcVirtualDispatch, the_nodes_of_the_library_ask_the_node_base_through_the_table) {
  const CallLog sink = {"checkBufs(1, 0)",          "executeRequestRows", "executeReleaseRows(5)",
                        "executeReleaseRows(5, 5)", "setDone(1)",         "incrementRowsDone(5)"};
  EXPECT_EQ(callsOfSink<ZRBProcNullWriter>(), sink);
  EXPECT_EQ(callsOfSink<ZRBProcLm>(), sink);
  EXPECT_EQ(callsOfSink<ZRBProcCount>(), (CallLog{"checkBufs(1, 0)", "setDone(1)", "incrementRowsDone(5)"}));
  const CallLog source = {"checkBufs(0, 1)",          "executeRequestRows",   "executeReleaseRows(5)",
                          "executeReleaseRows(5, 5)", "incrementRowsDone(5)", "setDone(1)"};
  EXPECT_EQ(callsOfSource<ZRBProcNullReader>(), source);
  EXPECT_EQ(callsOfSource<ZRBProcRandomReader>(), source);
}

}  // namespace
