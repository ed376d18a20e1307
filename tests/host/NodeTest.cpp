#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "zrb/zrb.h"

namespace {

// 0, 1, 2, ... in column "x".
class Numbers : public zrb::SourceNode {
public:
  explicit Numbers(long rows) : m_rows(rows) {}
  int prepared = 0;

private:
  void prepare() override {
    ++prepared;
    m_x.emplace(output(), "x");
    m_next = 0;
  }
  long work(long rows) override {
    long row = 0;
    for (; row < rows && m_next < m_rows; ++row, ++m_next) m_x->set(row, static_cast<double>(m_next));
    return row;
  }

  long m_rows;
  long m_next = 0;
  std::optional<zrb::OutputColumn<double>> m_x;
};

// Passes the even numbers on.
class Evens : public zrb::TransformNode {
  void prepare() override {
    m_in.emplace(input(), "x");
    m_out.emplace(output(), "x");
  }
  long work(long rows) override {
    long kept = 0;
    for (long row = 0; row < rows; ++row)
      if (static_cast<long>((*m_in)[row]) % 2 == 0) m_out->set(kept++, (*m_in)[row]);
    return kept;
  }

  std::optional<zrb::InputColumn<double>> m_in;
  std::optional<zrb::OutputColumn<double>> m_out;
};

class Gather : public zrb::SinkNode {
public:
  std::vector<double> values;
  int finished = 0;

private:
  void prepare() override {
    values.clear();
    finished = 0;
    m_x.emplace(input(), "x");
  }
  void work(long rows) override {
    EXPECT_GT(rows, 0);
    EXPECT_EQ(finished, 0);
    for (long row = 0; row < rows; ++row) values.push_back((*m_x)[row]);
  }
  void finish() override { ++finished; }

  std::optional<zrb::InputColumn<double>> m_x;
};

zrb::Handle<ZRBMemoryBuf> bufOfX(long ringRows) {
  auto buf = zrb::make<ZRBMemoryBuf>();
  zrb::set(buf, "num.rows", ringRows);
  zrb::set(buf, "num.columns", 1);
  zrb::set(buf, "column.name", 0, "x");
  return buf;
}

// Adds nodes that are connected, with their buffers, and runs.
template <class... Objects>
void runAll(Objects&... objects) {
  auto pipeline = zrb::make<ZRBPipeline>();
  const auto add = [&](auto& object) {
    if (dynamic_cast<ZRBBuf*>(object.get()))
      zrb::set(pipeline, "add.buf", dynamic_cast<ZRBBuf*>(static_cast<ZRBObj*>(object.get())));
    else
      zrb::set(pipeline, "add.proc", dynamic_cast<ZRBProc*>(static_cast<ZRBObj*>(object.get())));
  };
  (add(objects), ...);
  zrb::run(*pipeline);
}

std::vector<double> numbersBelow(long end, long step) {
  std::vector<double> values;
  for (long i = 0; i < end; i += step) values.push_back(static_cast<double>(i));
  return values;
}

TEST(Node, rows_pass_from_a_source_through_a_transform_into_a_sink_whatever_the_ring_and_the_chunk) {
  for (const long rows : {0L, 1L, 2L, 999L, 1000L, 2501L})
    for (const long chunk : {1L, 7L, 1000L})
      for (const long ring : {2 * chunk, 2 * chunk + 1, 3 * chunk}) {  // fewer could not move on
        auto all = bufOfX(ring);
        auto even = bufOfX(ring);
        auto numbers = zrb::make<Numbers>(rows);
        auto evens = zrb::make<Evens>();
        auto gather = zrb::make<Gather>();
        for (ZRBProc* node : {static_cast<ZRBProc*>(numbers.get()), static_cast<ZRBProc*>(evens.get()),
                              static_cast<ZRBProc*>(gather.get())})
          zrb::set(node, "num.rows", chunk);
        zrb::set(numbers, "outbuf", all);
        zrb::set(evens, "inbuf", all);
        zrb::set(evens, "outbuf", even);
        zrb::set(gather, "inbuf", even);
        runAll(all, even, numbers, evens, gather);
        EXPECT_EQ(gather->values, numbersBelow(rows, 2)) << rows << " rows, chunk " << chunk << ", ring " << ring;
        EXPECT_EQ(gather->finished, 1);
        EXPECT_EQ(zrb::get<long long>(numbers, "rows.done"), rows);
      }
}

TEST(Node, init_prepares_for_another_run) {
  auto buf = bufOfX(3000);
  auto numbers = zrb::make<Numbers>(10);
  auto gather = zrb::make<Gather>();
  zrb::set(numbers, "outbuf", buf);
  zrb::set(gather, "inbuf", buf);
  runAll(buf, numbers, gather);
  runAll(buf, numbers, gather);
  EXPECT_EQ(numbers->prepared, 2);
  EXPECT_EQ(gather->values, numbersBelow(10, 1));
}

TEST(Node, connections_that_are_missing_or_too_many_are_errors_before_prepare) {
  auto numbers = zrb::make<Numbers>(10);
  EXPECT_EQ(numbers->init(), 1);
  EXPECT_STREQ(numbers->getError(), "this node expects 1 outputs, but was given 0 outputs");
  auto evens = zrb::make<Evens>();
  auto buf = bufOfX(10);
  zrb::set(evens, "inbuf", buf);
  EXPECT_EQ(evens->init(), 1);
  EXPECT_STREQ(evens->getError(), "this node expects 1 outputs, but was given 0 outputs");
  auto gather = zrb::make<Gather>();
  zrb::set(gather, "inbuf", buf);
  zrb::set(gather, "inbuf.list", 1, buf);
  EXPECT_EQ(gather->init(), 1);
  EXPECT_STREQ(gather->getError(), "this node expects 1 inputs, but was given 2 inputs");
  EXPECT_EQ(numbers->prepared, 0);
}

struct Refused : std::runtime_error {
  using runtime_error::runtime_error;
};

class ThrowsAtRow : public zrb::SourceNode {
public:
  explicit ThrowsAtRow(long row) : m_row(row) {}
  int calls = 0;

private:
  long work(long rows) override {
    ++calls;
    if (m_row < rows) throw Refused("row refused");
    m_row -= rows;
    return rows;
  }
  long m_row;
};

TEST(Node, an_exception_of_work_stops_the_node_and_comes_out_of_run_as_it_was) {
  auto buf = bufOfX(3000);
  auto source = zrb::make<ThrowsAtRow>(2500);
  auto gather = zrb::make<Gather>();
  zrb::set(source, "outbuf", buf);
  zrb::set(gather, "inbuf", buf);
  EXPECT_THROW(runAll(buf, source, gather), Refused);
  EXPECT_EQ(source->calls, 3);
  EXPECT_STREQ(source->getError(), "row refused");
  EXPECT_THROW(source->rethrowFailure(), Refused);
  EXPECT_EQ(gather->finished, 0);
}

TEST(Node, init_forgets_the_exception_of_the_last_run) {
  auto buf = bufOfX(3000);
  auto source = zrb::make<ThrowsAtRow>(0);
  auto gather = zrb::make<Gather>();
  zrb::set(source, "outbuf", buf);
  zrb::set(gather, "inbuf", buf);
  EXPECT_THROW(runAll(buf, source, gather), Refused);
  EXPECT_EQ(source->init(), 0);
  EXPECT_NO_THROW(source->rethrowFailure());
}

TEST(Node, an_exception_of_prepare_is_an_error_of_init) {
  auto buf = zrb::make<ZRBMemoryBuf>();
  zrb::set(buf, "name", "rows");
  auto source = zrb::make<Numbers>(1);
  auto gather = zrb::make<Gather>();
  zrb::set(source, "outbuf", buf);
  zrb::set(gather, "inbuf", buf);
  EXPECT_THROW(runAll(buf, source, gather), zrb::Error);
  EXPECT_STREQ(source->getError(), "ZRBMemoryBuf \"rows\": there is no column \"x\"");
}

class ThrowsAnInt : public zrb::SinkNode {
  void work(long) override { throw 5; }
};

TEST(Node, an_exception_that_is_no_std_exception_is_kept_as_well) {
  auto buf = bufOfX(3000);
  auto numbers = zrb::make<Numbers>(10);
  auto sink = zrb::make<ThrowsAnInt>();
  zrb::set(numbers, "outbuf", buf);
  zrb::set(sink, "inbuf", buf);
  EXPECT_THROW(runAll(buf, numbers, sink), int);
  EXPECT_STREQ(sink->getError(), "exception of an unknown type");
}

class ReturnsTooMany : public zrb::SourceNode {
  long work(long rows) override { return rows + 1; }
};

TEST(Node, a_count_of_rows_outside_the_chunk_is_refused) {
  auto buf = bufOfX(3000);
  auto source = zrb::make<ReturnsTooMany>();
  auto gather = zrb::make<Gather>();
  zrb::set(source, "outbuf", buf);
  zrb::set(gather, "inbuf", buf);
  zrb::set(source, "name", "many");
  EXPECT_THROW(runAll(buf, source, gather), zrb::Error);
  EXPECT_NE(std::string(source->getError())
                .find("ReturnsTooMany \"many\": work(1000) returned 1001 rows, expected 0 to 1000"),
            std::string::npos)
      << source->getError();
}

TEST(Node, a_source_of_chunks_without_rows_is_refused_rather_than_run_for_ever) {
  auto buf = bufOfX(3000);
  auto source = zrb::make<Numbers>(10);
  auto gather = zrb::make<Gather>();
  zrb::set(source, "num.rows", 0);
  zrb::set(source, "outbuf", buf);
  zrb::set(gather, "inbuf", buf);
  EXPECT_THROW(runAll(buf, source, gather), zrb::Error);
  EXPECT_NE(std::string(source->getError()).find("\"num.rows\" is 0, so that it would run for ever"), std::string::npos)
      << source->getError();
}

}  // namespace
