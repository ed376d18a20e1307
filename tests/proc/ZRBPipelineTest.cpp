// How the pipeline keeps its lists and runs its nodes.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "ZRBBufReader.h"
#include "ZRBBufWriter.h"
#include "ZRBMemoryBuf.h"
#include "ZRBPipeline.h"
#include "ZRBProc.h"
#include "ZRBProcNullReader.h"
#include "ZRBProcNullWriter.h"
#include "support/Harness.h"
#include "support/PropertyCall.h"
#include "support/PropertyChains.h"

namespace {

using Log = std::vector<std::string>;

// A node without buffers that notes each run under its name; ready for ever unless `step` changes that.
class StepNode final : public ZRBProc {
public:
  StepNode(Log& log, const char* name, std::function<void(StepNode&)> step = nullptr)
      : m_log(log), m_step(std::move(step)) {
    setName(name);
    clearMessages();
  }
  int init() override {
    m_log.push_back("init " + std::string(getName()));
    return ZRBProc::init();
  }
  long execute() override {
    m_log.emplace_back(getName());
    if (m_step) m_step(*this);
    return 0;
  }

private:
  Log& m_log;
  std::function<void(StepNode&)> m_step;
};

class InitBuf final : public ZRBMemoryBuf {
public:
  InitBuf(Log& log, const char* name) : m_log(log) { setName(name); }
  int init() override {
    m_log.push_back("init " + std::string(getName()));
    return ZRBMemoryBuf::init();
  }

private:
  Log& m_log;
};

// Copies its input to its output, a chunk at a time.
class CopyNode final : public ZRBProc {
public:
  int init() override {
    ZRBProc::init();
    checkBufs(1, 1);
    return hasError();
  }
  long execute() override {
    const long rows = executeRequestRows();
    if (rows < 0) return rows;
    getOutputBufWriter(0)->copyBufData(getInputBufReader(0), 0, 0, 0, 0, rows, getInputBuf(0)->getNumColumns());
    return executeReleaseRows(rows);
  }
};

// Three nodes that never finish: a, b and c.
struct ThreeEndlessNodes {
  Log log;
  StepNode a{log, "a"}, b{log, "b"}, c{log, "c"};
  ZRBPipeline pipeline;

  ThreeEndlessNodes() {
    pipeline.addProc(&a);
    pipeline.addProc(&b);
    pipeline.addProc(&c);
  }
};

// ---- Lists ----

TEST(PipelineLists, a_new_pipeline_is_empty) {
  ZRBPipeline pipeline;
  EXPECT_EQ(pipeline.getNumProcs(), 0);
  EXPECT_EQ(pipeline.getNumBufs(), 0);
  EXPECT_EQ(pipeline.getProc(0), nullptr);
  EXPECT_EQ(pipeline.getBuf(0), nullptr);
  EXPECT_EQ(pipeline.getProc("a"), nullptr);
  EXPECT_EQ(pipeline.getBuf("a"), nullptr);
  EXPECT_EQ(pipeline.getAnyProcReady(), 0);
  EXPECT_EQ(pipeline.getLastExecutionCount(), 0);
  EXPECT_EQ(pipeline.getTotalExecutionCount(), 0);
  EXPECT_EQ(messagesOf(pipeline), Messages{});
}

TEST(PipelineLists, nodes_and_buffers_are_kept_in_the_order_added) {
  ZRBPipeline pipeline;
  std::vector<std::unique_ptr<ZRBProc>> nodes;
  std::vector<std::unique_ptr<ZRBMemoryBuf>> bufs;
  for (int i = 0; i < 25; ++i) {  // more than the room reserved
    nodes.push_back(std::make_unique<ZRBProc>());
    bufs.push_back(std::make_unique<ZRBMemoryBuf>());
    pipeline.addProc(nodes.back().get());
    pipeline.addBuf(bufs.back().get());
  }
  EXPECT_EQ(pipeline.getNumProcs(), 25);
  EXPECT_EQ(pipeline.getNumBufs(), 25);
  for (int i = 0; i < 25; ++i) {
    EXPECT_EQ(pipeline.getProc(i), nodes[static_cast<std::size_t>(i)].get()) << i;
    EXPECT_EQ(pipeline.getBuf(i), bufs[static_cast<std::size_t>(i)].get()) << i;
  }
  EXPECT_EQ(pipeline.getProc(-1), nullptr);
  EXPECT_EQ(pipeline.getProc(25), nullptr);
  EXPECT_EQ(pipeline.getBuf(-1), nullptr);
  EXPECT_EQ(pipeline.getBuf(25), nullptr);
}

TEST(PipelineLists, adding_again_moves_to_the_end) {
  ZRBPipeline pipeline;
  ZRBProc a, b, c;
  ZRBMemoryBuf x, y;
  for (ZRBProc* node : {&a, &b, &c, &a}) pipeline.addProc(node);
  for (ZRBMemoryBuf* buf : {&x, &y, &x}) pipeline.addBuf(buf);
  ASSERT_EQ(pipeline.getNumProcs(), 3);
  EXPECT_EQ(pipeline.getProc(0), &b);
  EXPECT_EQ(pipeline.getProc(1), &c);
  EXPECT_EQ(pipeline.getProc(2), &a);
  ASSERT_EQ(pipeline.getNumBufs(), 2);
  EXPECT_EQ(pipeline.getBuf(0), &y);
  EXPECT_EQ(pipeline.getBuf(1), &x);
}

TEST(PipelineLists, adding_the_only_one_again_leaves_one_entry) {
  ZRBPipeline pipeline;
  ZRBProc a;
  pipeline.addProc(&a);
  pipeline.addProc(&a);
  ASSERT_EQ(pipeline.getNumProcs(), 1);
  EXPECT_EQ(pipeline.getProc(0), &a);
}

TEST(PipelineLists, removing_keeps_the_order_of_the_rest) {
  ZRBPipeline pipeline;
  ZRBProc a, b, c, stranger;
  ZRBMemoryBuf x, y, z, strangeBuf;
  for (ZRBProc* node : {&a, &b, &c}) pipeline.addProc(node);
  for (ZRBMemoryBuf* buf : {&x, &y, &z}) pipeline.addBuf(buf);
  pipeline.removeProc(&b);
  pipeline.removeProc(&stranger);
  pipeline.removeBuf(&x);
  pipeline.removeBuf(&strangeBuf);
  ASSERT_EQ(pipeline.getNumProcs(), 2);
  EXPECT_EQ(pipeline.getProc(0), &a);
  EXPECT_EQ(pipeline.getProc(1), &c);
  ASSERT_EQ(pipeline.getNumBufs(), 2);
  EXPECT_EQ(pipeline.getBuf(0), &y);
  EXPECT_EQ(pipeline.getBuf(1), &z);
  EXPECT_EQ(messagesOf(pipeline), Messages{});
}

TEST(PipelineLists, null_is_ignored) {
  ZRBPipeline pipeline;
  ZRBProc a;
  pipeline.addProc(&a);
  pipeline.addProc(nullptr);
  pipeline.removeProc(nullptr);
  pipeline.addBuf(nullptr);
  pipeline.removeBuf(nullptr);
  EXPECT_EQ(pipeline.getNumProcs(), 1);
  EXPECT_EQ(pipeline.getNumBufs(), 0);
}

TEST(PipelineLists, a_name_finds_the_first_of_that_name) {
  ZRBPipeline pipeline;
  ZRBProc unnamed, first, second, empty;
  ZRBMemoryBuf unnamedBuf, buf, sameBuf;
  first.setName("node");
  second.setName("node");
  empty.setName("");
  buf.setName("buf");
  sameBuf.setName("buf");
  for (ZRBProc* node : {&unnamed, &first, &second, &empty}) pipeline.addProc(node);
  for (ZRBMemoryBuf* each : {&unnamedBuf, &buf, &sameBuf}) pipeline.addBuf(each);
  EXPECT_EQ(pipeline.getProc("node"), &first);
  EXPECT_EQ(pipeline.getProc("Node"), nullptr);
  EXPECT_EQ(pipeline.getProc("nod"), nullptr);
  EXPECT_EQ(pipeline.getProc("buf"), nullptr);
  EXPECT_EQ(pipeline.getProc(""), &empty);
  EXPECT_EQ(pipeline.getProc(static_cast<const char*>(nullptr)), nullptr);
  EXPECT_EQ(pipeline.getBuf("buf"), &buf);
  EXPECT_EQ(pipeline.getBuf("node"), nullptr);
  EXPECT_EQ(pipeline.getBuf(""), nullptr);
  EXPECT_EQ(pipeline.getBuf(static_cast<const char*>(nullptr)), nullptr);
  pipeline.addProc(&first);  // now at the end
  EXPECT_EQ(pipeline.getProc("node"), &second);
}

// ---- init ----

TEST(PipelineInit, buffers_come_before_nodes_each_in_list_order) {
  Log log;
  StepNode a(log, "a"), b(log, "b");
  InitBuf x(log, "x"), y(log, "y");
  ZRBPipeline pipeline;
  pipeline.addProc(&b);
  pipeline.addBuf(&y);
  pipeline.addProc(&a);
  pipeline.addBuf(&x);
  pipeline.init();
  EXPECT_EQ(log, (Log{"init y", "init x", "init b", "init a"}));
}

TEST(PipelineInit, clears_its_own_messages_and_counts) {
  ThreeEndlessNodes three;
  three.pipeline.execute(4);
  three.pipeline.addError("left over");
  EXPECT_EQ(three.pipeline.init(), 0);
  EXPECT_EQ(messagesOf(three.pipeline), Messages{});
  EXPECT_EQ(three.pipeline.getLastExecutionCount(), 0);
  EXPECT_EQ(three.pipeline.getTotalExecutionCount(), 0);
  three.log.clear();
  three.pipeline.execute(1);  // the cursor is back at the first node, not at the second
  EXPECT_EQ(three.log, Log{"a"});
}

TEST(PipelineInit, errors_stay_with_their_objects) {
  ZRBMemoryBuf buf;  // nobody writes it
  ZRBProcNullReader unconnected;
  ZRBPipeline pipeline;
  pipeline.addBuf(&buf);
  pipeline.addProc(&unconnected);
  EXPECT_EQ(pipeline.init(), 0);
  EXPECT_EQ(messagesOf(pipeline), Messages{});
  EXPECT_EQ(messagesOf(buf), Messages{"no writer"});
  EXPECT_EQ(messagesOf(unconnected), Messages{"this node expects 1 outputs, but was given 0 outputs"});
}

TEST(PipelineInit, makes_new_nodes_ready) {
  ZRBProc node;
  ZRBPipeline pipeline;
  pipeline.addProc(&node);
  EXPECT_EQ(pipeline.getAnyProcReady(), 0);
  pipeline.init();
  EXPECT_EQ(pipeline.getAnyProcReady(), 1);
}

// ---- execute ----

TEST(PipelineExecute, an_empty_pipeline_runs_nothing) {
  ZRBPipeline pipeline;
  pipeline.execute(0);
  EXPECT_EQ(pipeline.getLastExecutionCount(), 0);
  EXPECT_EQ(pipeline.getTotalExecutionCount(), 0);
}

TEST(PipelineExecute, a_pipeline_that_became_empty_resets_the_last_count_only) {
  ThreeEndlessNodes three;
  three.pipeline.execute(5);
  three.pipeline.removeProc(&three.a);
  three.pipeline.removeProc(&three.b);
  three.pipeline.removeProc(&three.c);
  three.pipeline.execute(0);
  EXPECT_EQ(three.pipeline.getLastExecutionCount(), 0);
  EXPECT_EQ(three.pipeline.getTotalExecutionCount(), 5);
}

TEST(PipelineExecute, a_limit_stops_within_a_round_and_the_next_call_goes_on_there) {
  ThreeEndlessNodes three;
  three.pipeline.execute(2);
  EXPECT_EQ(three.log, (Log{"a", "b"}));
  EXPECT_EQ(three.pipeline.getLastExecutionCount(), 2);
  EXPECT_EQ(three.pipeline.getTotalExecutionCount(), 2);
  three.log.clear();
  three.pipeline.execute(2);
  EXPECT_EQ(three.log, (Log{"c", "a"}));
  EXPECT_EQ(three.pipeline.getLastExecutionCount(), 2);
  EXPECT_EQ(three.pipeline.getTotalExecutionCount(), 4);
  EXPECT_EQ(three.a.getExecuteCount(), 2);
  EXPECT_EQ(three.b.getExecuteCount(), 1);
  EXPECT_EQ(three.c.getExecuteCount(), 1);
}

TEST(PipelineExecute, a_limit_may_span_several_rounds) {
  ThreeEndlessNodes three;
  three.pipeline.execute(7);
  EXPECT_EQ(three.log, (Log{"a", "b", "c", "a", "b", "c", "a"}));
  EXPECT_EQ(three.pipeline.getLastExecutionCount(), 7);
}

TEST(PipelineExecute, single_steps_take_turns) {
  ThreeEndlessNodes three;
  for (int i = 0; i < 5; ++i) three.pipeline.execute(1);
  EXPECT_EQ(three.log, (Log{"a", "b", "c", "a", "b"}));
}

TEST(PipelineExecute, nodes_that_cannot_run_are_skipped_and_not_counted) {
  ThreeEndlessNodes three;
  three.b.setError("broken");
  three.pipeline.execute(3);
  EXPECT_EQ(three.log, (Log{"a", "c", "a"}));
  three.log.clear();
  three.c.setDone(1);
  three.pipeline.execute(2);
  EXPECT_EQ(three.log, (Log{"a", "a"}));
  EXPECT_EQ(three.b.getExecuteCount(), 0);
}

TEST(PipelineExecute, without_a_limit_it_ends_with_a_round_that_runs_nothing) {
  for (const long long limit : {0LL, -1LL, -9000000000LL}) {
    Log log;
    const auto stopAfter = [](long long runs) {
      return [runs](StepNode& node) {
        if (node.getExecuteCount() + 1 == runs) node.setDone(1);  // this run is counted after it
      };
    };
    StepNode a(log, "a", stopAfter(1)), b(log, "b", stopAfter(3)), c(log, "c", stopAfter(2));
    ZRBPipeline pipeline;
    for (StepNode* node : {&a, &b, &c}) pipeline.addProc(node);
    pipeline.execute(limit);
    EXPECT_EQ(log, (Log{"a", "b", "c", "b", "c", "b"})) << limit;
    EXPECT_EQ(pipeline.getLastExecutionCount(), 6) << limit;
    pipeline.execute(limit);
    EXPECT_EQ(pipeline.getLastExecutionCount(), 0) << limit;
    EXPECT_EQ(pipeline.getTotalExecutionCount(), 6) << limit;
  }
}

TEST(PipelineExecute, a_limit_above_what_can_run_ends_all_the_same) {
  Log log;
  StepNode a(log, "a", [](StepNode& node) { node.setDone(1); });
  ZRBPipeline pipeline;
  pipeline.addProc(&a);
  pipeline.execute(1000);
  EXPECT_EQ(log, Log{"a"});
  EXPECT_EQ(pipeline.getLastExecutionCount(), 1);
}

TEST(PipelineExecute, a_node_made_ready_by_a_later_one_runs_in_the_next_round) {
  Log log;
  StepNode first(log, "first", [](StepNode& node) { node.setDone(1); });
  first.setError("waits");
  StepNode second(log, "second", [&](StepNode& node) {
    first.clearMessages();
    node.setDone(1);
  });
  ZRBPipeline pipeline;
  pipeline.addProc(&first);
  pipeline.addProc(&second);
  pipeline.execute(0);
  EXPECT_EQ(log, (Log{"second", "first"}));
}

TEST(PipelineExecute, the_cursor_starts_over_when_the_list_became_shorter) {
  ThreeEndlessNodes three;
  three.pipeline.execute(2);  // the next one is c, at position 2
  three.pipeline.removeProc(&three.c);
  three.log.clear();
  three.pipeline.execute(1);
  EXPECT_EQ(three.log, Log{"a"});
}

TEST(PipelineExecute, the_cursor_is_a_position_not_a_node) {
  ThreeEndlessNodes three;
  three.pipeline.execute(1);  // the next one is at position 1
  three.pipeline.removeProc(&three.a);
  three.log.clear();
  three.pipeline.execute(1);  // b, c: position 1 is c
  EXPECT_EQ(three.log, Log{"c"});
}

TEST(PipelineExecute, an_unlimited_call_leaves_the_cursor_where_it_began_the_last_round) {
  Log log;
  StepNode a(log, "a"), b(log, "b"), c(log, "c");
  ZRBPipeline pipeline;
  for (StepNode* node : {&a, &b, &c}) pipeline.addProc(node);
  pipeline.execute(1);
  for (StepNode* node : {&a, &b, &c}) node->setDone(1);
  pipeline.execute(0);  // one whole round from b on, without a run
  EXPECT_EQ(pipeline.getLastExecutionCount(), 0);
  for (StepNode* node : {&a, &b, &c}) node->setDone(0);
  log.clear();
  pipeline.execute(1);
  EXPECT_EQ(log, Log{"b"});
}

TEST(PipelineExecute, a_call_that_runs_nothing_keeps_the_total) {
  ThreeEndlessNodes three;
  three.pipeline.execute(2);
  three.a.setDone(1);
  three.b.setDone(1);
  three.c.setDone(1);
  three.pipeline.execute(10);
  EXPECT_EQ(three.pipeline.getLastExecutionCount(), 0);
  EXPECT_EQ(three.pipeline.getTotalExecutionCount(), 2);
}

// A node that notes every question of the pipeline.
class QuestionedNode final : public ZRBProc {
public:
  Log log;
  int done = 0, ready = 1;

  int isDone() override {
    log.push_back("isDone");
    return done;
  }
  int isReady() override {
    log.push_back("isReady");
    return ready;
  }
  long execute() override {
    log.push_back("execute");
    return 0;
  }
  long long incrementExecuteCount() override {
    log.push_back("incrementExecuteCount");
    return ZRBProc::incrementExecuteCount();
  }
};

TEST(PipelineExecute, asks_a_node_whether_it_is_done_then_whether_it_is_ready) {
  QuestionedNode node;
  ZRBPipeline pipeline;
  pipeline.addProc(&node);
  pipeline.execute(1);
  EXPECT_EQ(node.log, (Log{"isDone", "isReady", "execute", "incrementExecuteCount"}));
  node.log.clear();
  node.ready = 0;
  pipeline.execute(0);
  EXPECT_EQ(node.log, (Log{"isDone", "isReady"}));
  node.log.clear();
  node.done = 1;
  pipeline.execute(0);
  EXPECT_EQ(node.log, (Log{"isDone"}));
}

TEST(PipelineAnyProcReady, stops_at_the_first_node_that_is_not_done_and_ready) {
  QuestionedNode done, waiting, ready, unasked;
  done.done = 1;
  waiting.ready = 0;
  ZRBPipeline pipeline;
  for (QuestionedNode* node : {&done, &waiting, &ready, &unasked}) pipeline.addProc(node);
  EXPECT_EQ(pipeline.getAnyProcReady(), 1);
  EXPECT_EQ(done.log, (Log{"isDone"}));
  EXPECT_EQ(waiting.log, (Log{"isDone", "isReady"}));
  EXPECT_EQ(ready.log, (Log{"isDone", "isReady"}));
  EXPECT_EQ(unasked.log, Log{});
  pipeline.removeProc(&ready);
  pipeline.removeProc(&unasked);
  EXPECT_EQ(pipeline.getAnyProcReady(), 0);
}

// ---- Exceptions ----

TEST(PipelineExceptions, a_node_that_throws_gets_an_error_and_the_others_go_on) {
  struct NoException {};
  const std::function<void(StepNode&)> throwers[] = {
      [](StepNode&) { throw std::runtime_error("not shown"); },
      [](StepNode&) { throw 5; },
      [](StepNode&) { throw NoException(); },
  };
  for (const auto& thrower : throwers) {
    Log log;
    int runsLeft = 3;
    StepNode bad(log, "bad", thrower);
    StepNode good(log, "good", [&](StepNode& node) {
      if (--runsLeft == 0) node.setDone(1);
    });
    ZRBPipeline pipeline;
    pipeline.addProc(&bad);
    pipeline.addProc(&good);
    EXPECT_NO_THROW(pipeline.execute(0));
    EXPECT_EQ(log, (Log{"bad", "good", "good", "good"}));
    EXPECT_EQ(messagesOf(bad), Messages{"exception during execution"});
    EXPECT_EQ(messagesOf(good), Messages{});
    EXPECT_EQ(messagesOf(pipeline), Messages{});
    EXPECT_EQ(bad.getExecuteCount(), 1);
    EXPECT_EQ(bad.isReady(), 0);
    EXPECT_EQ(bad.isDone(), 0);
    EXPECT_EQ(pipeline.getLastExecutionCount(), 4);
  }
}

TEST(PipelineExceptions, count_against_the_limit) {
  Log log;
  StepNode bad(log, "bad", [](StepNode&) { throw 1; });
  StepNode good(log, "good");
  ZRBPipeline pipeline;
  pipeline.addProc(&bad);
  pipeline.addProc(&good);
  pipeline.execute(1);
  EXPECT_EQ(log, Log{"bad"});
  EXPECT_EQ(pipeline.getLastExecutionCount(), 1);
  EXPECT_EQ(pipeline.getTotalExecutionCount(), 1);
}

TEST(PipelineExceptions, a_node_that_throws_runs_again_after_init) {
  Log log;
  StepNode bad(log, "bad", [](StepNode&) { throw 1; });
  ZRBPipeline pipeline;
  pipeline.addProc(&bad);
  pipeline.execute(0);
  pipeline.init();
  log.clear();
  pipeline.execute(0);
  EXPECT_EQ(log, Log{"bad"});
  EXPECT_EQ(messagesOf(bad), Messages{"exception during execution"});  // once: init cleared the first
}

// ---- Whole flows ----

TEST(PipelineFlow, a_source_a_copy_and_a_sink_end_when_all_are_done) {
  ZRBMemoryBuf first, second;
  for (ZRBMemoryBuf* buf : {&first, &second}) {
    buf->setNumColumns(2);
    buf->setNumRows(50);
  }
  ZRBProcNullReader source;
  CopyNode copy;
  ZRBProcNullWriter sink;
  source.setTotalRows(1234);
  source.setNumRows(20);
  copy.setNumRows(7);
  sink.setNumRows(40);  // 40 and the copy's 7 fit into the ring together
  source.setOutputBuf(0, &first);
  copy.setInputBuf(0, &first);
  copy.setOutputBuf(0, &second);
  sink.setInputBuf(0, &second);
  ZRBPipeline pipeline;
  pipeline.addBuf(&first);
  pipeline.addBuf(&second);
  for (ZRBProc* node : std::initializer_list<ZRBProc*>{&sink, &source, &copy}) pipeline.addProc(node);
  pipeline.init();
  pipeline.execute(0);
  for (ZRBProc* node : std::initializer_list<ZRBProc*>{&source, &copy, &sink}) {
    EXPECT_EQ(node->isDone(), 1);
    EXPECT_EQ(node->getRowsDone(), 1234);
    EXPECT_EQ(messagesOf(*node), Messages{});
  }
  EXPECT_EQ(pipeline.getLastExecutionCount(),
            source.getExecuteCount() + copy.getExecuteCount() + sink.getExecuteCount());
  EXPECT_EQ(second.getTotalNumRows(), 1234);
  EXPECT_EQ(pipeline.getAnyProcReady(), 0);
}

TEST(PipelineFlow, runs_each_chunk_as_soon_as_it_is_there) {
  struct {
    bool sourceFirst;
    long long sourceRuns, sinkRuns;
  } const cases[] = {
      {true, 3, 3},   // 1000, 1000, 500 rows; the sink takes each in the same round
      {false, 3, 4},  // nothing was asked for yet, so the sink runs once in vain
  };
  for (const auto& c : cases) {
    ZRBMemoryBuf buf;
    buf.setNumColumns(1);
    ZRBProcNullReader source;
    ZRBProcNullWriter sink;
    source.setTotalRows(2500);
    source.setOutputBuf(0, &buf);
    sink.setInputBuf(0, &buf);
    ZRBPipeline pipeline;
    pipeline.addBuf(&buf);
    if (c.sourceFirst) pipeline.addProc(&source);
    pipeline.addProc(&sink);
    if (!c.sourceFirst) pipeline.addProc(&source);
    pipeline.init();
    pipeline.execute(0);
    EXPECT_EQ(source.getExecuteCount(), c.sourceRuns);
    EXPECT_EQ(sink.getExecuteCount(), c.sinkRuns);
    EXPECT_EQ(pipeline.getLastExecutionCount(), c.sourceRuns + c.sinkRuns);
    EXPECT_EQ(sink.isDone(), 1);
    EXPECT_EQ(sink.getRowsDone(), 2500);
  }
}

TEST(PipelineFlow, single_steps_give_the_same_run_as_one_call) {
  ZRBMemoryBuf buf;
  buf.setNumColumns(1);
  buf.setNumRows(30);
  ZRBProcNullReader source;
  ZRBProcNullWriter sink;
  source.setTotalRows(100);
  source.setNumRows(10);
  sink.setNumRows(15);
  source.setOutputBuf(0, &buf);
  sink.setInputBuf(0, &buf);
  ZRBPipeline pipeline;
  pipeline.addBuf(&buf);
  pipeline.addProc(&source);
  pipeline.addProc(&sink);
  pipeline.init();
  pipeline.execute(0);
  const long long total = pipeline.getTotalExecutionCount();
  const long long sourceRuns = source.getExecuteCount();
  EXPECT_EQ(sink.getRowsDone(), 100);

  pipeline.init();
  long long steps = 0;
  while (pipeline.getAnyProcReady()) {
    pipeline.execute(1);
    ASSERT_EQ(pipeline.getLastExecutionCount(), 1);
    ++steps;
  }
  EXPECT_EQ(steps, total);
  EXPECT_EQ(pipeline.getTotalExecutionCount(), total);
  EXPECT_EQ(source.getExecuteCount(), sourceRuns);
  EXPECT_EQ(sink.getRowsDone(), 100);
}

TEST(PipelineFlow, ends_when_a_ring_is_full_and_nobody_takes_the_rows) {
  ZRBMemoryBuf buf;
  buf.setNumColumns(1);
  buf.setNumRows(25);
  ZRBProcNullReader source;
  ZRBProcNullWriter sink;
  source.setTotalRows(100);
  source.setNumRows(10);
  source.setOutputBuf(0, &buf);
  sink.setInputBuf(0, &buf);
  ZRBPipeline pipeline;
  pipeline.addBuf(&buf);
  pipeline.addProc(&source);  // the sink is not run
  pipeline.init();
  pipeline.execute(0);
  EXPECT_EQ(source.getRowsDone(), 20);
  EXPECT_EQ(source.isDone(), 0);
  EXPECT_EQ(source.isReady(), 0);
  EXPECT_EQ(pipeline.getLastExecutionCount(), 2);
  EXPECT_EQ(messagesOf(source), Messages{});
}

// ---- Ownership ----

TEST(PipelineOwnership, a_destroyed_pipeline_leaves_nodes_and_buffers_alone) {
  ZRBMemoryBuf buf;
  buf.setNumColumns(1);
  ZRBProcNullReader source;
  source.setTotalRows(10);
  source.setOutputBuf(0, &buf);
  {
    ZRBPipeline pipeline;
    pipeline.addBuf(&buf);
    pipeline.addProc(&source);
    pipeline.init();
    pipeline.execute(0);
  }
  EXPECT_EQ(source.getOutputBuf(0), &buf);
  EXPECT_EQ(buf.getNumWriters(), 1);
  EXPECT_EQ(source.getRowsDone(), 10);
}

TEST(PipelineOwnership, nodes_and_buffers_may_be_destroyed_before_the_pipeline) {
  ZRBPipeline pipeline;
  {
    ZRBMemoryBuf buf;
    ZRBProcNullReader source;
    source.setOutputBuf(0, &buf);
    pipeline.addBuf(&buf);
    pipeline.addProc(&source);
  }
  SUCCEED();  // the destructor of the pipeline must not look at them: the sanitizers would tell
}

TEST(PipelineOwnership, a_node_may_be_in_two_pipelines) {
  Log log;
  StepNode node(log, "node");
  ZRBPipeline first, second;
  first.addProc(&node);
  second.addProc(&node);
  first.execute(1);
  second.execute(2);
  EXPECT_EQ(node.getExecuteCount(), 3);
  EXPECT_EQ(first.getTotalExecutionCount(), 1);
  EXPECT_EQ(second.getTotalExecutionCount(), 2);
}

// ---- Properties ----

const Names kPipelineSetNames = {"execute", "add.proc", "remove.proc", "add.buf", "remove.buf"};
const Names kPipelineGetNames = {"last.execution.count", "total.execution.count", "any.proc.ready",
                                 "get.proc.by.number",   "get.proc.by.name",      "get.num.procs",
                                 "get.buf.by.number",    "get.buf.by.name",       "get.num.bufs"};

TEST(PipelineProperties, names_are_tested_in_order_and_an_unknown_one_is_reported_once) {
  ZRBPipeline pipeline;
  expectChains(pipeline, joined({kPipelineSetNames, kObjSetNames}), joined({kPipelineGetNames, kObjGetNames}));
}

TEST(PipelineProperties, set_reads_the_arguments_of_each_row) {
  const PropertyRow rows[] = {
      {"execute", {"getLongLongArg"}}, {"add.proc", {"getProcArg"}},  {"remove.proc", {"getProcArg"}},
      {"add.buf", {"getBufArg"}},      {"remove.buf", {"getBufArg"}},
  };
  ASSERT_EQ(std::size(rows), kPipelineSetNames.size());
  ZRBPipeline pipeline;
  for (const PropertyRow& row : rows) expectSetRow(pipeline, row);
}

TEST(PipelineProperties, get_stores_the_result_of_each_row) {
  const PropertyRow rows[] = {
      {"last.execution.count", {"setLongLongResult"}},
      {"total.execution.count", {"setLongLongResult"}},
      {"any.proc.ready", {"setBoolResult"}},
      {"get.proc.by.number", {"getLongArg", "setProcResult"}},
      {"get.proc.by.name", {"getStringArg", "setProcResult"}},
      {"get.num.procs", {"setLongResult"}},
      {"get.buf.by.number", {"getLongArg", "setBufResult"}},
      {"get.buf.by.name", {"getStringArg", "setBufResult"}},
      {"get.num.bufs", {"setLongResult"}},
  };
  ASSERT_EQ(std::size(rows), kPipelineGetNames.size());
  ZRBPipeline pipeline;
  for (const PropertyRow& row : rows) expectGetRow(pipeline, row);
}

TEST(PipelineProperties, set_only_and_get_only_names_are_unknown_to_the_other_table) {
  ZRBPipeline pipeline;
  expectUnknownToGet(pipeline, joined({kPipelineSetNames, {"init", "clear.messages"}}));
  expectUnknownToSet(pipeline, joined({kPipelineGetNames, {"has.error", "num.messages"}}));
}

TEST(PipelineProperties, drive_a_whole_run) {
  Log log;
  StepNode a(log, "a"), b(log, "b");
  InitBuf x(log, "x");
  ZRBPipeline pipeline;
  PropertyCall("add.proc").with(static_cast<ZRBProc*>(&a)).set(pipeline);
  PropertyCall("add.proc").with(static_cast<ZRBProc*>(&b)).set(pipeline);
  PropertyCall("add.buf").with(static_cast<ZRBBuf*>(&x)).set(pipeline);
  EXPECT_EQ(PropertyCall("get.num.procs").get(pipeline).longResult, 2);
  EXPECT_EQ(PropertyCall("get.num.bufs").get(pipeline).longResult, 1);
  EXPECT_EQ(PropertyCall("get.proc.by.number").with(1).get(pipeline).procResult, &b);
  EXPECT_EQ(PropertyCall("get.proc.by.number").with(2).get(pipeline).procResult, std::optional<ZRBProc*>(nullptr));
  EXPECT_EQ(PropertyCall("get.proc.by.number").with(-1).get(pipeline).procResult, std::optional<ZRBProc*>(nullptr));
  EXPECT_EQ(PropertyCall("get.proc.by.name").with("b").get(pipeline).procResult, &b);
  EXPECT_EQ(PropertyCall("get.proc.by.name").with("x").get(pipeline).procResult, std::optional<ZRBProc*>(nullptr));
  EXPECT_EQ(PropertyCall("get.buf.by.number").with(0).get(pipeline).bufResult, &x);
  EXPECT_EQ(PropertyCall("get.buf.by.number").with(1).get(pipeline).bufResult, std::optional<ZRBBuf*>(nullptr));
  EXPECT_EQ(PropertyCall("get.buf.by.name").with("x").get(pipeline).bufResult, &x);
  EXPECT_EQ(PropertyCall("get.buf.by.name").with("a").get(pipeline).bufResult, std::optional<ZRBBuf*>(nullptr));

  PropertyCall("init").set(pipeline);
  EXPECT_EQ(log, (Log{"init x", "init a", "init b"}));
  log.clear();
  EXPECT_EQ(PropertyCall("any.proc.ready").get(pipeline).boolResult, 1);
  PropertyCall("execute").with(3).set(pipeline);
  EXPECT_EQ(log, (Log{"a", "b", "a"}));
  EXPECT_EQ(PropertyCall("last.execution.count").get(pipeline).longLongResult, 3);
  PropertyCall("execute").with(1).set(pipeline);
  EXPECT_EQ(PropertyCall("last.execution.count").get(pipeline).longLongResult, 1);
  EXPECT_EQ(PropertyCall("total.execution.count").get(pipeline).longLongResult, 4);

  PropertyCall("remove.proc").with(static_cast<ZRBProc*>(&a)).set(pipeline);
  PropertyCall("remove.buf").with(static_cast<ZRBBuf*>(&x)).set(pipeline);
  EXPECT_EQ(PropertyCall("get.num.procs").get(pipeline).longResult, 1);
  EXPECT_EQ(PropertyCall("get.num.bufs").get(pipeline).longResult, 0);
  PropertyCall("init").set(pipeline);
  EXPECT_EQ(PropertyCall("total.execution.count").get(pipeline).longLongResult, 0);
}

}  // namespace
