// The callback handler that all nodes share.
#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

#include "ZRBMemoryBuf.h"
#include "ZRBPipeline.h"
#include "ZRBProc.h"
#include "ZRBProcNullReader.h"
#include "ZRBProcNullWriter.h"
#include "support/Harness.h"

namespace {

std::vector<int> g_values;
void noteValue(int value) { g_values.push_back(value); }
void throwText(int) { throw std::runtime_error("from the handler"); }
void throwNumber(int value) { throw value; }

class ProcCallback : public testing::Test {
protected:
  void SetUp() override { g_values.clear(); }
  void TearDown() override { ZRBProc::setCallbackHandler(nullptr); }
};

TEST_F(ProcCallback, without_a_handler_nothing_happens) {
  ZRBProc::setCallbackHandler(nullptr);
  ZRBProc node;
  node.init();
  node.doCallback();
  EXPECT_EQ(messagesOf(node), Messages{});
}

TEST_F(ProcCallback, the_handler_gets_the_value_of_the_node_that_calls) {
  ZRBProc::setCallbackHandler(noteValue);
  ZRBProc first, second;
  first.setCallbackVal(11);
  second.setCallbackVal(22);
  first.doCallback();
  second.doCallback();
  first.doCallback();
  EXPECT_EQ(g_values, (std::vector<int>{11, 22, 11}));
}

TEST_F(ProcCallback, a_new_node_has_value_minus_1_and_info_0) {
  ZRBProc::setCallbackHandler(noteValue);
  ZRBProc node;
  EXPECT_EQ(node.getCallbackVal(), -1);
  EXPECT_EQ(node.getCallbackInfo(), 0);
  node.doCallback();
  EXPECT_EQ(g_values, std::vector<int>{-1});
}

TEST_F(ProcCallback, value_and_info_are_separate) {
  ZRBProc node;
  node.setCallbackVal(3);
  node.setCallbackInfo(4);
  EXPECT_EQ(node.getCallbackVal(), 3);
  EXPECT_EQ(node.getCallbackInfo(), 4);
}

TEST_F(ProcCallback, an_exception_of_the_handler_is_dropped) {
  ZRBProc node;
  node.init();
  ZRBProc::setCallbackHandler(throwText);
  EXPECT_NO_THROW(node.doCallback());
  ZRBProc::setCallbackHandler(throwNumber);
  EXPECT_NO_THROW(node.doCallback());
  EXPECT_EQ(messagesOf(node), Messages{});
}

TEST_F(ProcCallback, the_library_never_calls_it_by_itself) {
  ZRBProc::setCallbackHandler(noteValue);
  ZRBMemoryBuf buf;
  buf.setNumColumns(1);
  ZRBProcNullReader source;
  ZRBProcNullWriter sink;
  source.setTotalRows(2500);
  source.setOutputBuf(0, &buf);
  sink.setInputBuf(0, &buf);
  ZRBPipeline pipeline;
  pipeline.addBuf(&buf);
  pipeline.addProc(&source);
  pipeline.addProc(&sink);
  pipeline.init();
  pipeline.execute(0);
  EXPECT_EQ(sink.getRowsDone(), 2500);
  EXPECT_EQ(g_values, std::vector<int>{});
}

}  // namespace
