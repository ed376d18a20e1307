// How a node takes, keeps and loses its inputs and outputs.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "ZRBBuf.h"
#include "ZRBBufReader.h"
#include "ZRBBufWriter.h"
#include "ZRBMemoryBuf.h"
#include "ZRBProc.h"
#include "support/Harness.h"

namespace {

// Inputs and outputs follow the same rules: each test runs on both.
struct Inputs {
  using End = ZRBBufReader;
  static constexpr const char* kBaseBufError = "ZRBBuf::newBufReader called: shouldn't happen";
  static void attach(ZRBProc& node, int index, ZRBBuf* buf) { node.setInputBuf(index, buf); }
  static int count(ZRBProc& node) { return node.getNumInputs(); }
  static End* end(ZRBProc& node, int index) { return node.getInputBufReader(index); }
  static ZRBBuf* buf(ZRBProc& node, int index) { return node.getInputBuf(index); }
  static void unlink(ZRBProc& node, End* end) { node.unlinkBufReader(end); }
  static long listed(ZRBBuf& buf) { return buf.getNumReaders(); }
  static End* listedEnd(ZRBBuf& buf, int index) { return buf.getBufReader(index); }
  static ZRBProc* listedNode(ZRBBuf& buf, int index) { return buf.getBufReaderProc(index); }
  static long othersListed(ZRBBuf& buf) { return buf.getNumWriters(); }
};
struct Outputs {
  using End = ZRBBufWriter;
  static constexpr const char* kBaseBufError = "ZRBBuf::newBufWriter called: shouldn't happen";
  static void attach(ZRBProc& node, int index, ZRBBuf* buf) { node.setOutputBuf(index, buf); }
  static int count(ZRBProc& node) { return node.getNumOutputs(); }
  static End* end(ZRBProc& node, int index) { return node.getOutputBufWriter(index); }
  static ZRBBuf* buf(ZRBProc& node, int index) { return node.getOutputBuf(index); }
  static void unlink(ZRBProc& node, End* end) { node.unlinkBufWriter(end); }
  static long listed(ZRBBuf& buf) { return buf.getNumWriters(); }
  static End* listedEnd(ZRBBuf& buf, int index) { return buf.getBufWriter(index); }
  static ZRBProc* listedNode(ZRBBuf& buf, int index) { return buf.getBufWriterProc(index); }
  static long othersListed(ZRBBuf& buf) { return buf.getNumReaders(); }
};

struct SideNames {
  template <class Side>
  static std::string GetName(int) {
    return std::is_same_v<Side, Inputs> ? "Inputs" : "Outputs";
  }
};

template <class Side>
class ProcConnections : public testing::Test {};
using Sides = testing::Types<Inputs, Outputs>;
TYPED_TEST_SUITE(ProcConnections, Sides, SideNames);

TYPED_TEST(ProcConnections, a_new_node_has_none) {
  ZRBProc node;
  EXPECT_EQ(TypeParam::count(node), 0);
  for (const int index : {-1, 0, 1}) {
    EXPECT_EQ(TypeParam::end(node, index), nullptr) << index;
    EXPECT_EQ(TypeParam::buf(node, index), nullptr) << index;
  }
}

TYPED_TEST(ProcConnections, attaching_a_buffer_makes_an_end_of_that_buffer_for_this_node) {
  ZRBMemoryBuf buf;
  ZRBProc node;
  TypeParam::attach(node, 0, &buf);
  EXPECT_EQ(TypeParam::count(node), 1);
  ASSERT_NE(TypeParam::end(node, 0), nullptr);
  EXPECT_EQ(TypeParam::end(node, 0)->getBuf(), &buf);
  EXPECT_EQ(TypeParam::end(node, 0)->getProc(), &node);
  EXPECT_EQ(TypeParam::buf(node, 0), &buf);
  EXPECT_EQ(TypeParam::listed(buf), 1);
  EXPECT_EQ(TypeParam::listedEnd(buf, 0), TypeParam::end(node, 0));
  EXPECT_EQ(TypeParam::listedNode(buf, 0), &node);
  EXPECT_EQ(TypeParam::othersListed(buf), 0);
  EXPECT_EQ(TypeParam::end(node, -1), nullptr);
  EXPECT_EQ(TypeParam::end(node, 1), nullptr);
  EXPECT_EQ(TypeParam::buf(node, -1), nullptr);
  EXPECT_EQ(TypeParam::buf(node, 1), nullptr);
}

TYPED_TEST(ProcConnections, a_negative_index_is_ignored) {
  ZRBMemoryBuf buf;
  ZRBProc node;
  TypeParam::attach(node, -1, &buf);
  TypeParam::attach(node, -2147483647 - 1, &buf);
  EXPECT_EQ(TypeParam::count(node), 0);
  EXPECT_EQ(TypeParam::listed(buf), 0);
}

TYPED_TEST(ProcConnections, attaching_past_the_end_leaves_missing_ones_in_between) {
  ZRBMemoryBuf buf;
  ZRBProc node;
  TypeParam::attach(node, 2, &buf);
  EXPECT_EQ(TypeParam::count(node), 3);
  EXPECT_EQ(TypeParam::end(node, 0), nullptr);
  EXPECT_EQ(TypeParam::end(node, 1), nullptr);
  EXPECT_EQ(TypeParam::buf(node, 1), nullptr);
  EXPECT_EQ(TypeParam::buf(node, 2), &buf);
}

TYPED_TEST(ProcConnections, detaching_the_last_one_cuts_off_the_missing_ones_before_it) {
  ZRBMemoryBuf buf;
  ZRBProc node;
  TypeParam::attach(node, 2, &buf);
  TypeParam::attach(node, 2, nullptr);
  EXPECT_EQ(TypeParam::count(node), 0);
  EXPECT_EQ(TypeParam::listed(buf), 0);
}

TYPED_TEST(ProcConnections, detaching_the_last_one_keeps_those_before_the_gap) {
  ZRBMemoryBuf first, last;
  ZRBProc node;
  TypeParam::attach(node, 0, &first);
  TypeParam::attach(node, 3, &last);
  TypeParam::attach(node, 3, nullptr);
  EXPECT_EQ(TypeParam::count(node), 1);
  EXPECT_EQ(TypeParam::buf(node, 0), &first);
}

TYPED_TEST(ProcConnections, detaching_one_in_the_middle_leaves_a_gap) {
  ZRBMemoryBuf bufs[3];
  ZRBProc node;
  for (int i = 0; i < 3; ++i) TypeParam::attach(node, i, &bufs[i]);
  TypeParam::attach(node, 1, nullptr);
  EXPECT_EQ(TypeParam::count(node), 3);
  EXPECT_EQ(TypeParam::buf(node, 0), &bufs[0]);
  EXPECT_EQ(TypeParam::end(node, 1), nullptr);
  EXPECT_EQ(TypeParam::buf(node, 2), &bufs[2]);
  EXPECT_EQ(TypeParam::listed(bufs[1]), 0);
}

TYPED_TEST(ProcConnections, detaching_where_nothing_is_attached_changes_nothing) {
  ZRBMemoryBuf buf;
  ZRBProc node;
  TypeParam::attach(node, 0, &buf);
  typename TypeParam::End* end = TypeParam::end(node, 0);
  TypeParam::attach(node, 7, nullptr);
  TypeParam::attach(node, -1, nullptr);
  EXPECT_EQ(TypeParam::count(node), 1);
  EXPECT_EQ(TypeParam::end(node, 0), end);
  EXPECT_EQ(TypeParam::listed(buf), 1);
}

TYPED_TEST(ProcConnections, attaching_another_buffer_gives_the_old_end_back) {
  ZRBMemoryBuf before, after;
  ZRBProc node;
  TypeParam::attach(node, 0, &before);
  TypeParam::attach(node, 0, &after);
  EXPECT_EQ(TypeParam::count(node), 1);
  EXPECT_EQ(TypeParam::buf(node, 0), &after);
  EXPECT_EQ(TypeParam::listed(before), 0);
  EXPECT_EQ(TypeParam::listed(after), 1);
}

TYPED_TEST(ProcConnections, attaching_the_same_buffer_again_replaces_the_end) {
  ZRBMemoryBuf buf;
  ZRBProc node;
  TypeParam::attach(node, 0, &buf);
  TypeParam::attach(node, 0, &buf);
  EXPECT_EQ(TypeParam::count(node), 1);
  EXPECT_EQ(TypeParam::listed(buf), 1);
  EXPECT_EQ(TypeParam::end(node, 0), TypeParam::listedEnd(buf, 0));
}

TYPED_TEST(ProcConnections, one_buffer_at_two_indexes_has_two_ends) {
  ZRBMemoryBuf buf;
  ZRBProc node;
  TypeParam::attach(node, 0, &buf);
  TypeParam::attach(node, 1, &buf);
  EXPECT_EQ(TypeParam::count(node), 2);
  EXPECT_EQ(TypeParam::listed(buf), 2);
  EXPECT_NE(TypeParam::end(node, 0), TypeParam::end(node, 1));
  TypeParam::attach(node, 0, nullptr);
  EXPECT_EQ(TypeParam::listed(buf), 1);
  EXPECT_EQ(TypeParam::listedEnd(buf, 0), TypeParam::end(node, 1));
}

TYPED_TEST(ProcConnections, two_nodes_on_one_buffer_have_an_end_each) {
  ZRBMemoryBuf buf;
  ZRBProc first;
  {
    ZRBProc second;
    TypeParam::attach(first, 0, &buf);
    TypeParam::attach(second, 0, &buf);
    EXPECT_EQ(TypeParam::listed(buf), 2);
    EXPECT_EQ(TypeParam::listedNode(buf, 0), &first);
    EXPECT_EQ(TypeParam::listedNode(buf, 1), &second);
  }
  EXPECT_EQ(TypeParam::listed(buf), 1);
  EXPECT_EQ(TypeParam::listedEnd(buf, 0), TypeParam::end(first, 0));
}

TYPED_TEST(ProcConnections, a_buffer_that_makes_no_end_leaves_nothing_attached) {
  ZRBBuf buf;  // the base class makes none and says so
  ZRBProc node;
  TypeParam::attach(node, 0, &buf);
  EXPECT_EQ(TypeParam::count(node), 0);
  EXPECT_EQ(TypeParam::listed(buf), 0);
  EXPECT_EQ(messagesOf(buf), Messages{TypeParam::kBaseBufError});
}

TYPED_TEST(ProcConnections, connecting_leaves_the_messages_of_the_node_alone) {
  ZRBMemoryBuf buf;
  ZRBProc node;
  TypeParam::attach(node, 0, &buf);
  TypeParam::attach(node, 2, &buf);
  TypeParam::attach(node, 0, nullptr);
  EXPECT_EQ(messagesOf(node), Messages{"uninitialized"});
  EXPECT_EQ(messagesOf(buf), Messages{});
}

TYPED_TEST(ProcConnections, a_destroyed_node_gives_its_ends_back) {
  ZRBMemoryBuf first, second;
  {
    ZRBProc node;
    TypeParam::attach(node, 0, &first);
    TypeParam::attach(node, 2, &second);  // with a gap in between
  }
  EXPECT_EQ(TypeParam::listed(first), 0);
  EXPECT_EQ(TypeParam::listed(second), 0);
}

TYPED_TEST(ProcConnections, a_destroyed_buffer_leaves_a_missing_end) {
  ZRBMemoryBuf last;
  ZRBProc node;
  auto middle = std::make_unique<ZRBMemoryBuf>();
  TypeParam::attach(node, 0, middle.get());
  TypeParam::attach(node, 1, &last);
  middle.reset();
  EXPECT_EQ(TypeParam::count(node), 2);
  EXPECT_EQ(TypeParam::end(node, 0), nullptr);
  EXPECT_EQ(TypeParam::buf(node, 0), nullptr);
  EXPECT_EQ(TypeParam::buf(node, 1), &last);
}

TYPED_TEST(ProcConnections, ends_missing_at_the_end_of_the_list_do_not_count) {
  ZRBMemoryBuf first;
  auto last = std::make_unique<ZRBMemoryBuf>();
  ZRBProc node;
  TypeParam::attach(node, 0, &first);
  TypeParam::attach(node, 1, last.get());
  last.reset();
  EXPECT_EQ(TypeParam::count(node), 1);
  EXPECT_EQ(TypeParam::end(node, 1), nullptr);
}

TYPED_TEST(ProcConnections, a_destroyed_buffer_leaves_every_index_where_it_was_attached) {
  ZRBMemoryBuf last;
  auto twice = std::make_unique<ZRBMemoryBuf>();
  ZRBProc node;
  TypeParam::attach(node, 0, twice.get());
  TypeParam::attach(node, 1, twice.get());
  TypeParam::attach(node, 2, &last);
  twice.reset();
  EXPECT_EQ(TypeParam::end(node, 0), nullptr);
  EXPECT_EQ(TypeParam::end(node, 1), nullptr);
  EXPECT_EQ(TypeParam::count(node), 3);
}

TYPED_TEST(ProcConnections, a_gap_left_by_a_destroyed_buffer_can_be_filled) {
  ZRBMemoryBuf last, another;
  auto gone = std::make_unique<ZRBMemoryBuf>();
  ZRBProc node;
  TypeParam::attach(node, 0, gone.get());
  TypeParam::attach(node, 1, &last);
  gone.reset();
  TypeParam::attach(node, 0, &another);
  EXPECT_EQ(TypeParam::count(node), 2);
  EXPECT_EQ(TypeParam::buf(node, 0), &another);
}

TYPED_TEST(ProcConnections, unlinking_takes_the_end_from_the_node_and_the_node_from_the_end) {
  ZRBMemoryBuf buf;
  ZRBProc node;
  TypeParam::attach(node, 0, &buf);
  typename TypeParam::End* end = TypeParam::end(node, 0);
  TypeParam::unlink(node, end);
  EXPECT_EQ(TypeParam::end(node, 0), nullptr);
  EXPECT_EQ(TypeParam::count(node), 0);
  EXPECT_EQ(end->getProc(), nullptr);
  EXPECT_EQ(TypeParam::listed(buf), 1);  // the buffer keeps it until it is deleted
  EXPECT_EQ(TypeParam::listedNode(buf, 0), nullptr);
}

TYPED_TEST(ProcConnections, unlinking_null_does_nothing) {
  ZRBMemoryBuf buf;
  ZRBProc node;
  TypeParam::attach(node, 1, &buf);  // index 0 is missing, that is null too
  typename TypeParam::End* end = TypeParam::end(node, 1);
  TypeParam::unlink(node, nullptr);
  EXPECT_EQ(TypeParam::count(node), 2);
  EXPECT_EQ(TypeParam::end(node, 1), end);
  EXPECT_EQ(end->getProc(), &node);
}

// A node that shows its lists.
class OpenNode final : public ZRBProc {
public:
  std::vector<ZRBBufReader*>& inputs() { return m_inputs; }
  std::vector<ZRBBufWriter*>& outputs() { return m_outputs; }
};

TEST(ProcInputsAndOutputs, are_cut_off_behind_the_last_connected_end) {
  ZRBMemoryBuf buf;
  OpenNode node;
  node.setInputBuf(4, &buf);
  node.setOutputBuf(4, &buf);
  EXPECT_EQ(node.inputs().size(), 5u);
  EXPECT_EQ(node.outputs().size(), 5u);
  node.setInputBuf(1, &buf);
  node.setOutputBuf(1, &buf);
  node.setInputBuf(4, nullptr);
  node.setOutputBuf(4, nullptr);
  EXPECT_EQ(node.inputs().size(), 2u);
  EXPECT_EQ(node.outputs().size(), 2u);
  node.setInputBuf(9, nullptr);
  node.setOutputBuf(9, nullptr);
  EXPECT_EQ(node.inputs().size(), 2u);
  EXPECT_EQ(node.outputs().size(), 2u);
}

TEST(ProcInputsAndOutputs, are_not_shortened_by_unlinking) {
  ZRBMemoryBuf buf;
  OpenNode node;
  node.setInputBuf(1, &buf);
  node.setOutputBuf(1, &buf);
  node.unlinkBufReader(node.inputs()[1]);
  node.unlinkBufWriter(node.outputs()[1]);
  EXPECT_EQ(node.inputs(), (std::vector<ZRBBufReader*>{nullptr, nullptr}));
  EXPECT_EQ(node.outputs(), (std::vector<ZRBBufWriter*>{nullptr, nullptr}));
  node.setInputBuf(0, nullptr);  // the next change cuts them off
  node.setOutputBuf(0, nullptr);
  EXPECT_TRUE(node.inputs().empty());
  EXPECT_TRUE(node.outputs().empty());
}

TEST(ProcInputsAndOutputs, lose_an_unlinked_end_wherever_it_stands) {
  ZRBMemoryBuf buf;
  OpenNode node;
  node.setInputBuf(0, &buf);
  node.setOutputBuf(0, &buf);
  node.inputs().resize(3, node.inputs()[0]);
  node.outputs().resize(3, node.outputs()[0]);
  node.unlinkBufReader(node.inputs()[0]);
  node.unlinkBufWriter(node.outputs()[0]);
  EXPECT_EQ(node.inputs(), std::vector<ZRBBufReader*>(3, nullptr));
  EXPECT_EQ(node.outputs(), std::vector<ZRBBufWriter*>(3, nullptr));
}

TEST(ProcInputsAndOutputs, are_separate_lists) {
  ZRBMemoryBuf in, out;
  ZRBProc node;
  node.setInputBuf(0, &in);
  node.setOutputBuf(1, &out);
  EXPECT_EQ(node.getNumInputs(), 1);
  EXPECT_EQ(node.getNumOutputs(), 2);
  EXPECT_EQ(node.getInputBuf(0), &in);
  EXPECT_EQ(node.getOutputBuf(0), nullptr);
  EXPECT_EQ(node.getOutputBuf(1), &out);
}

TEST(ProcInputsAndOutputs, a_node_may_read_and_write_the_same_buffer) {
  ZRBMemoryBuf buf;
  ZRBProc node;
  node.setInputBuf(0, &buf);
  node.setOutputBuf(0, &buf);
  EXPECT_EQ(buf.getNumReaders(), 1);
  EXPECT_EQ(buf.getNumWriters(), 1);
}

}  // namespace
