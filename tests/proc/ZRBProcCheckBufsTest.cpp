// The check of a node's connections, which nodes make in their init().
#include <gtest/gtest.h>

#include "ZRBMemoryBuf.h"
#include "ZRBProc.h"
#include "support/Harness.h"

namespace {

// A node with its first `inputs` inputs and `outputs` outputs connected, and no message.
struct WiredNode {
  ZRBMemoryBuf in, out;
  ZRBProc node;

  WiredNode(int inputs, int outputs) {
    for (int i = 0; i < inputs; ++i) node.setInputBuf(i, &in);
    for (int i = 0; i < outputs; ++i) node.setOutputBuf(i, &out);
    node.clearMessages();
  }
};

TEST(ProcCheckBufs, the_number_of_ends_must_be_within_the_bounds) {
  struct {
    int inputs, outputs;
    int minInputs, maxInputs, minOutputs, maxOutputs;
    const char* error;
  } const cases[] = {
      {0, 0, 0, 0, 0, 0, nullptr},
      {2, 3, 2, 2, 3, 3, nullptr},
      {1, 1, 1, 3, 1, 3, nullptr},  // bounds are inclusive
      {3, 3, 1, 3, 1, 3, nullptr},
      {2, 0, 1, 1, 0, 0, "this node expects 1 inputs, but was given 2 inputs"},  // the plural stays
      {0, 0, 1, 1, 0, 0, "this node expects 1 inputs, but was given 0 inputs"},
      {1, 0, 0, 0, 0, 0, "this node expects 0 inputs, but was given 1 inputs"},
      {0, 0, 1, 3, 0, 0, "this node expects between 1 and 3 inputs, but was given 0 inputs"},
      {4, 0, 1, 3, 0, 0, "this node expects between 1 and 3 inputs, but was given 4 inputs"},
      {0, 2, 0, 0, 1, 1, "this node expects 1 outputs, but was given 2 outputs"},
      {0, 0, 0, 0, 1, 1, "this node expects 1 outputs, but was given 0 outputs"},
      {0, 0, 0, 0, 2, 5, "this node expects between 2 and 5 outputs, but was given 0 outputs"},
      {0, 6, 0, 0, 2, 5, "this node expects between 2 and 5 outputs, but was given 6 outputs"},
      {3, 3, 1, 1, 1, 1, "this node expects 1 inputs, but was given 3 inputs"},  // inputs first, then no more
      {1, 0, 3, 2, 0, 0, "this node expects between 3 and 2 inputs, but was given 1 inputs"},
  };
  for (const auto& c : cases) {
    WiredNode wired(c.inputs, c.outputs);
    wired.node.checkBufs(c.minInputs, c.maxInputs, c.minOutputs, c.maxOutputs);
    EXPECT_EQ(messagesOf(wired.node), c.error ? Messages{c.error} : Messages{});
  }
}

TEST(ProcCheckBufs, exact_numbers_may_be_given_once) {
  struct {
    int inputs, outputs;
    int numInputs, numOutputs;
    const char* error;
  } const cases[] = {
      {1, 2, 1, 2, nullptr},
      {2, 1, 1, 1, "this node expects 1 inputs, but was given 2 inputs"},
      {1, 2, 1, 1, "this node expects 1 outputs, but was given 2 outputs"},
  };
  for (const auto& c : cases) {
    WiredNode wired(c.inputs, c.outputs);
    wired.node.checkBufs(c.numInputs, c.numOutputs);
    EXPECT_EQ(messagesOf(wired.node), c.error ? Messages{c.error} : Messages{});
  }
}

TEST(ProcCheckBufs, a_missing_input_in_between_is_an_error) {
  WiredNode wired(0, 0);
  wired.node.setInputBuf(2, &wired.in);
  wired.node.checkBufs(3, 0);
  EXPECT_EQ(messagesOf(wired.node), Messages{"NULL input buf found"});  // once, for two missing ones
}

TEST(ProcCheckBufs, a_missing_output_in_between_is_an_error) {
  WiredNode wired(1, 0);
  wired.node.setOutputBuf(2, &wired.out);
  wired.node.checkBufs(1, 3);
  EXPECT_EQ(messagesOf(wired.node), Messages{"NULL output buf found"});
}

TEST(ProcCheckBufs, a_missing_input_hides_a_missing_output) {
  WiredNode wired(0, 0);
  wired.node.setInputBuf(1, &wired.in);
  wired.node.setOutputBuf(1, &wired.out);
  wired.node.checkBufs(2, 2);
  EXPECT_EQ(messagesOf(wired.node), Messages{"NULL input buf found"});
}

TEST(ProcCheckBufs, the_wrong_number_of_outputs_hides_a_missing_input) {
  WiredNode wired(0, 1);
  wired.node.setInputBuf(1, &wired.in);
  wired.node.checkBufs(2, 0);
  EXPECT_EQ(messagesOf(wired.node), Messages{"this node expects 0 outputs, but was given 1 outputs"});
}

TEST(ProcCheckBufs, missing_ends_at_the_end_of_the_list_do_not_count) {
  WiredNode wired(1, 0);
  {
    ZRBMemoryBuf gone;
    wired.node.setInputBuf(1, &gone);
  }
  wired.node.checkBufs(1, 0);
  EXPECT_EQ(messagesOf(wired.node), Messages{});
}

TEST(ProcCheckBufs, keeps_earlier_messages) {
  WiredNode wired(0, 0);
  wired.node.addWarning("careful");
  wired.node.checkBufs(1, 0);
  EXPECT_EQ(messagesOf(wired.node),
            (Messages{"warning: careful", "this node expects 1 inputs, but was given 0 inputs"}));
  EXPECT_STREQ(wired.node.getError(), "this node expects 1 inputs, but was given 0 inputs");
}

}  // namespace
