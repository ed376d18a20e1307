// Objects may be destroyed in any order, before, between and after runs.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "support/SystemObjects.h"

namespace {

// A source before a first buffer, two sinks behind it, and a pipeline; each object can go on its own.
struct Objects {
  std::unique_ptr<ZRBMemoryBuf> buf = makeBuf();
  std::unique_ptr<ZRBProcRandomReader> source = makeRandomReader();
  std::unique_ptr<ZRBProcCount> count = makeCount();
  std::unique_ptr<ZRBProcNullWriter> sink = makeNullWriter();
  std::unique_ptr<ZRBPipeline> pipeline = makePipeline();

  Objects() {
    setColumnsThroughProperties(*buf,
                                {{"d", "double"}, {"f", "factor"}, {"s", "string"}, {"t", "timeDate"}, {"b", "blob"}});
    setProperty(*buf, "num.rows", 50);
    setProperty(*source, "num.rows", 20);
    setProperty(*source, "total.rows", 300);
    setProperty(*sink, "num.rows", 11);
    connectOutput(*source, *buf);
    connectInput(*count, *buf);
    connectInput(*sink, *buf);
    addToPipeline(*pipeline, *buf);
    addToPipeline(*pipeline, *source);
    addToPipeline(*pipeline, *count);
    addToPipeline(*pipeline, *sink);
  }
  void destroy(int which) {
    switch (which) {
      case 0:
        buf.reset();
        break;
      case 1:
        source.reset();
        break;
      case 2:
        count.reset();
        break;
      case 3:
        sink.reset();
        break;
      default:
        pipeline.reset();
        break;
    }
  }
  // What is left of the connections must be right after each step.
  void expectConnections() {
    if (buf) {
      EXPECT_EQ(getLong(*buf, "num.writers"), source ? 1 : 0);
      EXPECT_EQ(getLong(*buf, "num.readers"), (count ? 1 : 0) + (sink ? 1 : 0));
    }
    if (source) {
      EXPECT_EQ(getLong(*source, "num.outbufs"), buf ? 1 : 0);
    }
    if (count) {
      EXPECT_EQ(getLong(*count, "num.inbufs"), buf ? 1 : 0);
    }
    if (sink) {
      EXPECT_EQ(getLong(*sink, "num.inbufs"), buf ? 1 : 0);
    }
  }
};

TEST(TearDown, works_in_every_order_at_every_stage) {
  enum { unconnected, initialised, halfway, finished, stages };
  for (int stage = unconnected; stage < stages; ++stage) {
    std::vector<int> order = {0, 1, 2, 3, 4};
    do {
      Objects objects;
      if (stage >= initialised) setProperty(*objects.pipeline, "init");
      if (stage == halfway) setProperty(*objects.pipeline, "execute", 7);
      if (stage == finished) setProperty(*objects.pipeline, "execute", 0);
      for (const int which : order) {
        objects.destroy(which);
        objects.expectConnections();
      }
    } while (std::next_permutation(order.begin(), order.end()));
  }
}

TEST(TearDown, a_sink_that_goes_lets_the_others_run_on) {
  Objects objects;
  setProperty(*objects.pipeline, "init");
  setProperty(*objects.pipeline, "execute", 4);
  setProperty(*objects.pipeline, "remove.proc", static_cast<ZRBProc*>(objects.sink.get()));
  objects.sink.reset();
  setProperty(*objects.pipeline, "execute", 0);
  EXPECT_EQ(getBool(*objects.count, "done"), 1);
  EXPECT_EQ(getLongLong(*objects.count, "rows.done"), 300);
}

TEST(TearDown, results_outlive_the_buffer) {
  Objects objects;
  setProperty(*objects.pipeline, "init");
  setProperty(*objects.pipeline, "execute", 0);
  const double mean = getDouble(*objects.count, "col.mean", 0);
  EXPECT_EQ(getString(*objects.count, "col.level.name", 1, 0), "lev1");
  objects.buf.reset();
  EXPECT_EQ(getDouble(*objects.count, "col.mean", 0), mean);
  EXPECT_EQ(getLongLong(*objects.count, "col.level.count", 1, 0), 300);
  EXPECT_EQ(getString(*objects.count, "col.level.name", 1, 0), "not.a.factor");  // the names were the buffer's
}

TEST(TearDown, a_node_that_lost_its_buffer_says_so) {
  Objects objects;
  setProperty(*objects.pipeline, "init");
  objects.buf.reset();
  // Its list of inputs is empty now: nothing keeps it from running, but it has nothing to run on.
  setProperty(*objects.count, "execute");
  EXPECT_EQ(messagesThroughProperties(*objects.count), std::vector<std::string>{"null input buf"});
  setProperty(*objects.source, "init");
  EXPECT_EQ(messagesThroughProperties(*objects.source),
            std::vector<std::string>{"this node expects 1 outputs, but was given 0 outputs"});
}

TEST(TearDown, nodes_move_to_another_buffer) {
  Objects objects;
  setProperty(*objects.pipeline, "init");
  setProperty(*objects.pipeline, "execute", 5);
  auto other = makeBuf();
  setColumnsThroughProperties(*other, {{"x", "double"}});
  connectOutput(*objects.source, *other);
  connectInput(*objects.count, *other);
  connectInput(*objects.sink, *other);
  EXPECT_EQ(getLong(*objects.buf, "num.readers"), 0);
  EXPECT_EQ(getLong(*objects.buf, "num.writers"), 0);
  setProperty(*objects.pipeline, "remove.buf", static_cast<ZRBBuf*>(objects.buf.get()));
  objects.buf.reset();
  addToPipeline(*objects.pipeline, *other);
  setProperty(*objects.pipeline, "init");
  setProperty(*objects.pipeline, "execute", 0);
  EXPECT_EQ(getLongLong(*objects.count, "col.count.ok", 0), 300);
  EXPECT_EQ(getLongLong(*objects.sink, "rows.done"), 300);
}

}  // namespace
