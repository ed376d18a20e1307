// The property tables of the node base.
#include <gtest/gtest.h>

#include "ZRBMemoryBuf.h"
#include "ZRBProc.h"
#include "support/Harness.h"
#include "support/PropertyCall.h"
#include "support/PropertyChains.h"

namespace {

TEST(ProcProperties, names_are_tested_in_order_and_an_unknown_one_is_reported_once) {
  ZRBProc node;
  expectChains(node, joined({kProcSetNames, kObjSetNames}), joined({kProcGetNames, kObjGetNames}));
}

TEST(ProcProperties, set_reads_the_arguments_of_each_row) {
  const PropertyRow rows[] = {
      {"num.rows", {"getLongArg"}},
      {"output.num.rows", {"getLongArg"}},
      {"inbuf", {"getBufArg"}},
      {"outbuf", {"getBufArg"}},
      {"inbuf.list", {"getLongArg", "getNextArg"}, {"getBufArg"}},
      {"outbuf.list", {"getLongArg", "getNextArg"}, {"getBufArg"}},
      {"execute", {}},
      {"rows.done", {"getLongLongArg"}},
      {"execute.count", {"getLongLongArg"}},
      {"callback.val", {"getLongArg"}},
      {"callback.info", {"getLongArg"}},
  };
  ASSERT_EQ(std::size(rows), kProcSetNames.size());
  for (const PropertyRow& row : rows) {
    ZRBProc node;
    expectSetRow(node, row);
  }
}

TEST(ProcProperties, get_stores_the_result_of_each_row) {
  const PropertyRow rows[] = {
      {"num.rows", {"setLongResult"}},
      {"output.num.rows", {"setLongResult"}},
      {"num.inbufs", {"setLongResult"}},
      {"num.outbufs", {"setLongResult"}},
      {"inbuf.list", {"getLongArg", "setBufResult"}},
      {"outbuf.list", {"getLongArg", "setBufResult"}},
      {"done", {"setBoolResult"}},
      {"ready", {"setBoolResult"}},
      {"rows.done", {"setLongLongResult"}},
      {"execute.count", {"setLongLongResult"}},
      {"data.pass.count", {"setLongResult"}},
      {"callback.val", {"setLongResult"}},
      {"callback.info", {"setLongResult"}},
  };
  ASSERT_EQ(std::size(rows), kProcGetNames.size());
  ZRBMemoryBuf buf;
  ZRBProc node;
  node.setInputBuf(0, &buf);
  node.setOutputBuf(0, &buf);
  for (const PropertyRow& row : rows) expectGetRow(node, row);
}

TEST(ProcProperties, set_only_names_are_unknown_to_get) {
  ZRBProc node;
  expectUnknownToGet(
      node, {"inbuf", "outbuf", "execute", "init", "warning", "information", "verbose", "debug", "clear.messages"});
}

TEST(ProcProperties, get_only_names_are_unknown_to_set) {
  ZRBProc node;
  expectUnknownToSet(node, {"num.inbufs", "num.outbufs", "done", "ready", "data.pass.count", "num.messages",
                            "num.messages.added", "message", "severity", "num.messages.at.level", "has.error"});
}

TEST(ProcProperties, a_new_node_reads_its_defaults) {
  ZRBProc node;
  EXPECT_EQ(PropertyCall("num.rows").get(node).longResult, 1000);
  EXPECT_EQ(PropertyCall("output.num.rows").get(node).longResult, 1000);
  EXPECT_EQ(PropertyCall("num.inbufs").get(node).longResult, 0);
  EXPECT_EQ(PropertyCall("num.outbufs").get(node).longResult, 0);
  EXPECT_EQ(PropertyCall("done").get(node).boolResult, 0);
  EXPECT_EQ(PropertyCall("ready").get(node).boolResult, 0);
  EXPECT_EQ(PropertyCall("rows.done").get(node).longLongResult, 0);
  EXPECT_EQ(PropertyCall("execute.count").get(node).longLongResult, 0);
  EXPECT_EQ(PropertyCall("data.pass.count").get(node).longResult, 1);
  EXPECT_EQ(PropertyCall("callback.val").get(node).longResult, -1);
  EXPECT_EQ(PropertyCall("callback.info").get(node).longResult, 0);
  EXPECT_STREQ(PropertyCall("error").get(node).stringResult.value(), "uninitialized");
  EXPECT_EQ(PropertyCall("has.error").get(node).boolResult, 1);
}

TEST(ProcProperties, numbers_set_are_read_back) {
  ZRBProc node;
  PropertyCall("num.rows").with(70).set(node);
  EXPECT_EQ(PropertyCall("num.rows").get(node).longResult, 70);
  EXPECT_EQ(PropertyCall("output.num.rows").get(node).longResult, 70);
  PropertyCall("output.num.rows").with(10).set(node);
  EXPECT_EQ(PropertyCall("output.num.rows").get(node).longResult, 10);
  EXPECT_EQ(PropertyCall("num.rows").get(node).longResult, 70);
  PropertyCall("rows.done").with(5000000000).set(node);
  EXPECT_EQ(PropertyCall("rows.done").get(node).longLongResult, 5000000000);
  PropertyCall("execute.count").with(6000000000).set(node);
  EXPECT_EQ(PropertyCall("execute.count").get(node).longLongResult, 6000000000);
  PropertyCall("callback.val").with(42).set(node);
  EXPECT_EQ(PropertyCall("callback.val").get(node).longResult, 42);
  PropertyCall("callback.info").with(-43).set(node);
  EXPECT_EQ(PropertyCall("callback.info").get(node).longResult, -43);
}

TEST(ProcProperties, callback_numbers_are_kept_as_int) {
  ZRBProc node;
  PropertyCall("callback.val").with(4294967296 + 5).set(node);
  PropertyCall("callback.info").with(4294967295).set(node);
  EXPECT_EQ(PropertyCall("callback.val").get(node).longResult, 5);
  EXPECT_EQ(PropertyCall("callback.info").get(node).longResult, -1);
}

TEST(ProcProperties, inbuf_and_outbuf_connect_index_0) {
  ZRBMemoryBuf in, out;
  ZRBProc node;
  PropertyCall("inbuf").with(&in).set(node);
  PropertyCall("outbuf").with(&out).set(node);
  EXPECT_EQ(node.getInputBuf(0), &in);
  EXPECT_EQ(node.getOutputBuf(0), &out);
  EXPECT_EQ(PropertyCall("num.inbufs").get(node).longResult, 1);
  EXPECT_EQ(PropertyCall("num.outbufs").get(node).longResult, 1);
  PropertyCall("inbuf").with(static_cast<ZRBBuf*>(nullptr)).set(node);
  PropertyCall("outbuf").with(static_cast<ZRBBuf*>(nullptr)).set(node);
  EXPECT_EQ(PropertyCall("num.inbufs").get(node).longResult, 0);
  EXPECT_EQ(PropertyCall("num.outbufs").get(node).longResult, 0);
}

TEST(ProcProperties, lists_connect_an_index) {
  ZRBMemoryBuf in, out;
  ZRBProc node;
  PropertyCall("inbuf.list").with(2).with(&in).set(node);
  PropertyCall("outbuf.list").with(1).with(&out).set(node);
  EXPECT_EQ(node.getInputBuf(2), &in);
  EXPECT_EQ(node.getOutputBuf(1), &out);
  EXPECT_EQ(PropertyCall("num.inbufs").get(node).longResult, 3);
  EXPECT_EQ(PropertyCall("num.outbufs").get(node).longResult, 2);
  EXPECT_EQ(PropertyCall("inbuf.list").with(2).get(node).bufResult, &in);
  EXPECT_EQ(PropertyCall("outbuf.list").with(1).get(node).bufResult, &out);
}

TEST(ProcProperties, a_list_index_without_a_buffer_stores_no_result) {
  ZRBMemoryBuf buf;
  ZRBProc node;
  node.setInputBuf(1, &buf);
  node.setOutputBuf(1, &buf);
  for (const char* name : {"inbuf.list", "outbuf.list"}) {
    for (const long index : {-1L, 0L, 2L}) {
      PropertyCall call(name);
      call.with(index).get(node);
      EXPECT_EQ(call.calls, Names{"getLongArg"}) << name << " " << index;
      EXPECT_FALSE(call.bufResult.has_value()) << name << " " << index;
      EXPECT_EQ(call.unknown, 0) << name << " " << index;
    }
  }
}

class CountingNode final : public ZRBProc {
public:
  int executed = 0;
  long execute() override { return ++executed; }
};

TEST(ProcProperties, execute_runs_the_node_once_without_asking_whether_it_is_ready) {
  CountingNode node;  // uninitialized
  PropertyCall call("execute");
  call.set(node);
  EXPECT_EQ(node.executed, 1);
  EXPECT_EQ(call.calls, Names{});
  EXPECT_EQ(node.getExecuteCount(), 0);
  EXPECT_EQ(messagesOf(node), Messages{"uninitialized"});
}

TEST(ProcProperties, init_runs_the_initialisation_of_the_node) {
  ZRBProc node;
  node.setRowsDone(5);
  PropertyCall("init").set(node);
  EXPECT_EQ(PropertyCall("rows.done").get(node).longLongResult, 0);
  EXPECT_EQ(PropertyCall("has.error").get(node).boolResult, 0);
  EXPECT_EQ(PropertyCall("ready").get(node).boolResult, 1);
  node.setDone(1);
  EXPECT_EQ(PropertyCall("done").get(node).boolResult, 1);
  EXPECT_EQ(PropertyCall("ready").get(node).boolResult, 0);
}

TEST(ProcProperties, clear_messages_lets_a_node_run_that_was_never_initialised) {
  ZRBProc node;
  PropertyCall("clear.messages").set(node);
  EXPECT_EQ(PropertyCall("ready").get(node).boolResult, 1);
}

}  // namespace
