// The two calls around a chunk: executeRequestRows() and executeReleaseRows().
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "ZRBMemoryBuf.h"
#include "ZRBProc.h"
#include "support/Harness.h"
#include "support/LoggingEnds.h"

namespace {

// A node with logging inputs in0, in1, ... and outputs out0, out1, ..., initialised; every ring has 3000 rows.
class LoggedNode {
public:
  CallLog log;

  LoggedNode(int inputs, int outputs) {
    for (int i = 0; i < inputs; ++i) {
      m_inputs.push_back(std::make_unique<LoggingBuf>(log, "in" + std::to_string(i)));
      m_sources.push_back(std::make_unique<ZRBProc>());
      m_sources.back()->setOutputBuf(0, m_inputs.back().get());
      node.setInputBuf(i, m_inputs.back().get());
      m_inputs.back()->init();
    }
    for (int i = 0; i < outputs; ++i) {
      m_outputs.push_back(std::make_unique<LoggingBuf>(log, "out" + std::to_string(i)));
      node.setOutputBuf(i, m_outputs.back().get());
      m_outputs.back()->init();
    }
    node.init();
    log.clear();
  }

  ZRBProc node;
  LoggingBuf& in(std::size_t i = 0) { return *m_inputs[i]; }
  LoggingBuf& out(std::size_t i = 0) { return *m_outputs[i]; }

  // What the other side does; not in the log.
  void feed(long rows, std::size_t i = 0) {
    in(i).writer().releaseRows(rows);
    log.clear();
  }
  void endInput(std::size_t i = 0) {
    in(i).writer().setEOF();
    log.clear();
  }
  long request() {
    log.clear();
    return node.executeRequestRows();
  }
  CallLog changes() const { return changesOf(log); }

private:
  std::vector<std::unique_ptr<LoggingBuf>> m_inputs;
  std::vector<std::unique_ptr<LoggingBuf>> m_outputs;
  std::vector<std::unique_ptr<ZRBProc>> m_sources;
};

// ---- executeRequestRows ----

TEST(ProcRequestRows, a_node_without_buffers_gets_no_rows) {
  ZRBProc node;
  node.init();
  EXPECT_EQ(node.executeRequestRows(), 0);
  EXPECT_EQ(messagesOf(node), Messages{});
}

TEST(ProcRequestRows, the_chunk_is_the_fewest_rows_of_all_ends_within_the_chunk_sizes) {
  struct {
    std::vector<long> readable;  // per input
    std::vector<long> room;      // per output
    long numRows, outputNumRows;
    long chunk;
    const char* reason;
  } const cases[] = {
      {{3000}, {}, 1000, -1, 1000, "at most num rows of an input"},
      {{1000}, {}, 1000, -1, 1000, "exactly"},
      {{}, {3000}, 1000, -1, 1000, "at most num rows of an output without a size of its own"},
      {{}, {3000}, 1000, 30, 30, "at most its own size"},
      {{}, {3000}, 10, 2000, 2000, "which may be the larger one"},
      {{3000}, {3000}, 1000, 30, 30, "the smaller size, here of the output"},
      {{3000}, {3000}, 20, 30, 20, "the smaller size, here of the input"},
      {{3000, 3000}, {3000, 3000}, 50, 50, 50, "several ends"},
      {{3000}, {}, 0, -1, 0, "a size of 0"},
  };
  for (const auto& c : cases) {
    LoggedNode logged(static_cast<int>(c.readable.size()), static_cast<int>(c.room.size()));
    logged.node.setNumRows(c.numRows);
    logged.node.setOutputNumRows(c.outputNumRows);
    for (std::size_t i = 0; i < c.readable.size(); ++i) logged.feed(c.readable[i], i);
    for (std::size_t i = 0; i < c.room.size(); ++i) logged.out(i).writer().rowsReady = c.room[i];
    EXPECT_EQ(logged.request(), c.chunk) << c.reason;
    EXPECT_EQ(messagesOf(logged.node), Messages{}) << c.reason;
  }
}

TEST(ProcRequestRows, an_input_at_end_of_data_gives_what_is_left) {
  LoggedNode logged(2, 1);
  logged.feed(2000, 0);
  logged.feed(17, 1);
  logged.endInput(1);
  EXPECT_EQ(logged.request(), 17);
}

TEST(ProcRequestRows, an_input_at_end_of_data_with_nothing_left_gives_a_chunk_of_no_rows) {
  LoggedNode logged(1, 1);
  logged.endInput(0);
  EXPECT_EQ(logged.request(), 0);
}

TEST(ProcRequestRows, an_output_that_is_ready_with_less_room_than_asked_shortens_the_chunk) {
  LoggedNode logged(1, 1);
  logged.feed(1000);
  logged.out().writer().ready = 1;
  logged.out().writer().rowsReady = 12;
  EXPECT_EQ(logged.request(), 12);
}

TEST(ProcRequestRows, every_end_is_told_how_many_rows_are_wanted) {
  LoggedNode logged(2, 2);
  logged.node.setNumRows(40);
  logged.node.setOutputNumRows(50);
  logged.feed(100, 0);
  logged.feed(100, 1);
  EXPECT_EQ(logged.request(), 40);
  EXPECT_EQ(logged.changes(), (CallLog{"in0.setRequestRows(40)", "in1.setRequestRows(40)", "out0.setRequestRows(50)",
                                       "out1.setRequestRows(50)"}));
}

TEST(ProcRequestRows, an_end_that_is_not_ready_gives_no_chunk_and_no_error) {
  {
    LoggedNode logged(1, 1);
    logged.feed(999);
    EXPECT_EQ(logged.request(), -1) << "one row less than asked for";
    EXPECT_EQ(messagesOf(logged.node), Messages{});
  }
  {
    LoggedNode logged(1, 1);
    logged.feed(1000);
    logged.out().writer().ready = 0;
    EXPECT_EQ(logged.request(), -1);
    EXPECT_EQ(messagesOf(logged.node), Messages{});
  }
}

TEST(ProcRequestRows, the_other_ends_are_told_even_when_one_is_not_ready) {
  LoggedNode logged(3, 2);
  logged.feed(1000, 0);
  logged.feed(1000, 2);  // the second has nothing
  EXPECT_EQ(logged.request(), -1);
  EXPECT_EQ(logged.changes(),
            (CallLog{"in0.setRequestRows(1000)", "in1.setRequestRows(1000)", "in2.setRequestRows(1000)",
                     "out0.setRequestRows(1000)", "out1.setRequestRows(1000)"}));
}

TEST(ProcRequestRows, missing_inputs_are_errors_with_their_index_and_give_no_chunk) {
  ZRBMemoryBuf buf;
  ZRBProc source, node;
  source.setOutputBuf(0, &buf);
  node.setInputBuf(2, &buf);
  buf.init();
  node.init();
  EXPECT_EQ(node.executeRequestRows(), -1);
  EXPECT_EQ(messagesOf(node), (Messages{"null input buf: 0", "null input buf: 1"}));
  EXPECT_EQ(node.getInputBufReader(2)->getRequestRows(), 1000);  // told all the same
}

TEST(ProcRequestRows, missing_outputs_are_errors_with_their_index_and_give_no_chunk) {
  ZRBMemoryBuf buf;
  ZRBProc node;
  node.setOutputBuf(2, &buf);
  buf.init();
  node.init();
  EXPECT_EQ(node.executeRequestRows(), -1);
  EXPECT_EQ(messagesOf(node), (Messages{"null output buf: 0", "null output buf: 1"}));
  EXPECT_EQ(node.getOutputBufWriter(2)->getRequestRows(), 1000);
}

TEST(ProcRequestRows, missing_inputs_are_reported_before_missing_outputs) {
  ZRBMemoryBuf in, out;
  ZRBProc node;
  node.setInputBuf(1, &in);
  node.setOutputBuf(1, &out);
  node.init();
  EXPECT_EQ(node.executeRequestRows(), -1);
  EXPECT_EQ(messagesOf(node), (Messages{"null input buf: 0", "null output buf: 0"}));
}

TEST(ProcRequestRows, a_request_that_the_ring_cannot_hold_is_an_error_of_the_node) {
  ZRBMemoryBuf buf;
  buf.setNumRows(7);
  ZRBProc source, node;
  source.setOutputBuf(0, &buf);
  node.setInputBuf(0, &buf);
  buf.init();
  source.init();
  node.init();
  source.getOutputBufWriter(0)->releaseRows(5);
  // The reader keeps its old request, of 0 rows, and is ready.
  EXPECT_EQ(node.executeRequestRows(), 5);
  EXPECT_EQ(messagesOf(node),
            Messages{"ZRBBufReader::setRequestRows asked for more rows than ZRBBuf::getNumRows(): 1000"});
  EXPECT_EQ(node.getInputBufReader(0)->getRequestRows(), 0);
  EXPECT_EQ(node.isReady(), 0);
}

TEST(ProcRequestRows, counts_beyond_32_bits_are_taken_as_int) {
  LoggedNode logged(1, 1);
  logged.in().reader().ready = 1;
  logged.in().reader().rowsReady = 4294967296 + 5;
  EXPECT_EQ(logged.request(), 5);
}

// ---- executeReleaseRows ----

TEST(ProcReleaseRows, releases_on_every_end_and_asks_for_the_next_chunk) {
  LoggedNode logged(2, 2);
  logged.node.setNumRows(40);
  logged.node.setOutputNumRows(50);
  logged.feed(100, 0);
  logged.feed(100, 1);
  EXPECT_EQ(logged.node.executeReleaseRows(30), 30);
  EXPECT_EQ(logged.changes(), (CallLog{"in0.releaseRows(30)", "in0.setRequestRows(40)", "in1.releaseRows(30)",
                                       "in1.setRequestRows(40)", "out0.releaseRows(30)", "out0.setRequestRows(50)",
                                       "out1.releaseRows(30)", "out1.setRequestRows(50)"}));
  EXPECT_EQ(logged.node.getRowsDone(), 30);
  EXPECT_EQ(logged.node.isDone(), 0);
  EXPECT_EQ(logged.out().getInputRowsReleased(), 30);
  EXPECT_EQ(logged.in().reader().getChunkPosition(), 30);
}

TEST(ProcReleaseRows, may_release_other_counts_on_inputs_and_outputs_and_counts_those_of_the_inputs) {
  LoggedNode logged(1, 1);
  logged.feed(100);
  EXPECT_EQ(logged.node.executeReleaseRows(60, 7), 60);
  EXPECT_EQ(logged.changes(), (CallLog{"in0.releaseRows(60)", "in0.setRequestRows(1000)", "out0.releaseRows(7)",
                                       "out0.setRequestRows(1000)"}));
  EXPECT_EQ(logged.node.getRowsDone(), 60);
  EXPECT_EQ(logged.node.executeReleaseRows(40, 0), 100);  // the result goes on from there
}

TEST(ProcReleaseRows, without_buffers_only_counts) {
  ZRBProc node;
  node.init();
  EXPECT_EQ(node.executeReleaseRows(12), 12);
  EXPECT_EQ(node.executeReleaseRows(3), 15);
  EXPECT_EQ(node.isDone(), 0);
}

TEST(ProcReleaseRows, an_exhausted_input_finishes_the_node_and_ends_its_outputs) {
  LoggedNode logged(1, 2);
  logged.feed(25);
  logged.endInput();
  EXPECT_EQ(logged.node.executeReleaseRows(25), 25);
  EXPECT_EQ(logged.changes(), (CallLog{"in0.releaseRows(25)", "out0.releaseRows(25)", "out0.setEOF",
                                       "out1.releaseRows(25)", "out1.setEOF"}));
  EXPECT_EQ(logged.node.isDone(), 1);
  EXPECT_EQ(logged.out(0).getEOF(), 1);
  EXPECT_EQ(logged.out(1).getEOF(), 1);
  EXPECT_EQ(logged.node.getRowsDone(), 25);
}

TEST(ProcReleaseRows, an_input_at_end_of_data_with_rows_left_goes_on) {
  LoggedNode logged(1, 1);
  logged.feed(25);
  logged.endInput();
  EXPECT_EQ(logged.node.executeReleaseRows(24), 24);
  EXPECT_EQ(logged.node.isDone(), 0);
  EXPECT_EQ(logged.out().getEOF(), 0);
  EXPECT_EQ(logged.node.executeReleaseRows(1), 25);
  EXPECT_EQ(logged.node.isDone(), 1);
  EXPECT_EQ(logged.out().getEOF(), 1);
}

TEST(ProcReleaseRows, an_input_without_rows_that_has_not_ended_goes_on) {
  LoggedNode logged(1, 1);
  EXPECT_EQ(logged.node.executeReleaseRows(0), 0);
  EXPECT_EQ(logged.node.isDone(), 0);
  EXPECT_EQ(logged.out().getEOF(), 0);
}

TEST(ProcReleaseRows, end_of_data_with_no_rows_at_all_finishes_the_node) {
  LoggedNode logged(1, 1);
  logged.endInput();
  EXPECT_EQ(logged.node.executeReleaseRows(0), 0);
  EXPECT_EQ(logged.node.isDone(), 1);
  EXPECT_EQ(logged.out().getEOF(), 1);
}

TEST(ProcReleaseRows, the_shortest_of_several_inputs_finishes_the_node) {
  LoggedNode logged(3, 1);
  for (std::size_t i = 0; i < 3; ++i) logged.feed(i == 1 ? 10 : 500, i);
  logged.endInput(1);
  EXPECT_EQ(logged.node.executeReleaseRows(10), 10);
  // Nothing more is asked of the exhausted one.
  EXPECT_EQ(logged.changes(),
            (CallLog{"in0.releaseRows(10)", "in0.setRequestRows(1000)", "in1.releaseRows(10)", "in2.releaseRows(10)",
                     "in2.setRequestRows(1000)", "out0.releaseRows(10)", "out0.setEOF"}));
  EXPECT_EQ(logged.node.isDone(), 1);
}

TEST(ProcReleaseRows, a_done_node_releases_nothing_and_returns_its_flag) {
  LoggedNode logged(1, 1);
  logged.feed(10);
  logged.node.setDone(7);
  EXPECT_EQ(logged.node.executeReleaseRows(5), 7);
  EXPECT_EQ(logged.changes(), CallLog{});
  EXPECT_EQ(logged.node.getRowsDone(), 0);
}

TEST(ProcReleaseRows, a_node_with_an_error_releases_nothing_and_returns_nonzero) {
  LoggedNode logged(1, 1);
  logged.feed(10);
  logged.node.setError("broken");
  EXPECT_NE(logged.node.executeReleaseRows(5), 0);
  EXPECT_NE(logged.node.executeReleaseRows(5, 2), 0);
  EXPECT_EQ(logged.changes(), CallLog{});
  EXPECT_EQ(logged.node.getRowsDone(), 0);
  EXPECT_EQ(messagesOf(logged.node), Messages{"broken"});
}

TEST(ProcReleaseRows, missing_ends_are_errors_with_their_index_and_the_others_go_on) {
  ZRBMemoryBuf in, out;
  ZRBProc source, node;
  source.setOutputBuf(0, &in);
  node.setInputBuf(1, &in);
  node.setOutputBuf(2, &out);
  in.init();
  out.init();
  node.init();
  source.getOutputBufWriter(0)->releaseRows(10);
  EXPECT_EQ(node.executeReleaseRows(4), 4);
  EXPECT_EQ(messagesOf(node), (Messages{"null input buf: 0", "null output buf: 0", "null output buf: 1"}));
  EXPECT_EQ(node.getInputBufReader(1)->getChunkPosition(), 4);
  EXPECT_EQ(out.getInputRowsReleased(), 4);
  EXPECT_EQ(node.getRowsDone(), 4);
}

TEST(ProcReleaseRows, releasing_too_many_rows_is_an_error_of_the_node_and_still_counts) {
  LoggedNode logged(1, 0);
  logged.feed(5);
  EXPECT_EQ(logged.node.executeReleaseRows(6), 6);
  EXPECT_EQ(messagesOf(logged.node), Messages{"ZRBBufReader::releaseRows can't release more rows than are ready: 6"});
  EXPECT_EQ(logged.in().reader().getChunkPosition(), 0);
}

TEST(ProcReleaseRows, a_chunk_can_be_worked_through_in_the_described_cycle) {
  LoggedNode logged(1, 1);
  logged.node.setNumRows(4);
  logged.feed(10);
  logged.endInput();
  std::vector<long> chunks;
  while (!logged.node.isDone()) {
    ASSERT_EQ(logged.node.isReady(), 1);
    const long rows = logged.node.executeRequestRows();
    ASSERT_GE(rows, 0);
    chunks.push_back(rows);
    logged.node.executeReleaseRows(rows);
  }
  EXPECT_EQ(chunks, (std::vector<long>{4, 4, 2}));
  EXPECT_EQ(logged.node.getRowsDone(), 10);
  EXPECT_EQ(logged.out().getInputRowsReleased(), 10);
  EXPECT_EQ(logged.out().getTotalNumRows(), 10);
}

}  // namespace
