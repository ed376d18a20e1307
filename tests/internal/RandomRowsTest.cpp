// The random reader's draws in blocks, and rows of them, against one draw and one cell at a time.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ZRBMemoryBuf.h"
#include "ZRBMemoryBufReader.h"
#include "ZRBMemoryBufWriter.h"
#include "ZRBProcRandomReader.h"
#include "procs/random_rows.h"
#include "procs/random_stream.h"
#include "support/BufSnapshot.h"
#include "support/Harness.h"
#include "support/SimdTargets.h"

using random_lanes::kBlockDraws;
using random_lanes::kLaneDraws;
using random_stream::State;

namespace {

constexpr State kStart{0x0123456789ABCDEF, 3697165728};

// A state whose draw number `step` (from 0) is r * 2^-31.
State stateBefore(int step, std::uint64_t r) {
  State state = kStart;
  for (int i = 0; i <= step; ++i) random_stream::step(state);
  std::uint64_t congruential = r << 1 ^ state.shiftRegister;
  // The multiplier's inverse modulo 2^64: Newton's iteration doubles the right bits, of which the number itself has 3.
  std::uint64_t inverse = random_lanes::kMultiplier;
  for (int i = 0; i < 5; ++i) inverse *= 2 - random_lanes::kMultiplier * inverse;
  for (int i = 0; i <= step; ++i) congruential *= inverse;
  return {congruential, kStart.shiftRegister};
}

std::uint64_t drawnBits(double draw) { return static_cast<std::uint64_t>(draw * 0x1p31); }

std::string textOf(const State& state) {
  return std::to_string(state.congruential) + " " + std::to_string(state.shiftRegister);
}

// The draws of both ways, `counts` of them at a time in turn.
void expectSameDraws(State start, const std::vector<int>& counts, int calls) {
  for (const Simd simd : runnableTargets()) {
    SCOPED_TRACE(nameOf(simd));
    random_stream::Blocks blocks(start, simd);
    State plain = start;
    std::vector<char> draws(kBlockDraws * sizeof(double));
    for (int call = 0; call < calls; ++call) {
      const int count = counts[static_cast<std::size_t>(call) % counts.size()];
      const double least = blocks.draw(draws.data(), count);
      for (int i = 0; i < count; ++i) {
        const double expected = random_stream::draw(plain);
        double drawn;
        std::memcpy(&drawn, draws.data() + i * 8, 8);
        ASSERT_EQ(bitsOf(drawn), bitsOf(expected)) << "call " << call << " draw " << i;
        ASSERT_LE(least, expected);
      }
      ASSERT_EQ(textOf(blocks.state()), textOf(plain)) << "call " << call;
    }
  }
}

constexpr auto kDouble = ZRBBuf::column_double;
constexpr auto kFactor = ZRBBuf::column_factor;
constexpr auto kString = ZRBBuf::column_string;
constexpr auto kTimeDate = ZRBBuf::column_timeDate;
constexpr auto kBlob = ZRBBuf::column_blob;

using Prepare = std::function<void(ZRBBuf&)>;

// Writes chunks of rows into two buffers, as a kernel does and cell by cell, and compares everything after each.
void expectSameRows(
    const std::vector<Column>& columns, long capacity, const std::vector<long>& chunks, State start = kStart,
    const Prepare& prepare = [](ZRBBuf&) {}) {
  for (const Simd simd : runnableTargets()) {
    SCOPED_TRACE(nameOf(simd));
    FlowHarness<> fast(capacity, columns);
    FlowHarness<> plain(capacity, columns);
    prepare(fast.buf);
    prepare(plain.buf);
    State fastState = start;
    State plainState = start;
    for (const long rows : chunks) {
      setRandomRows(fast.writer, rows, fastState, simd);
      for (long row = 0; row < rows; ++row)
        for (long column = 0; column < plain.buf.getNumColumns(); ++column)
          setRandomCell(plain.writer, row, column, random_stream::draw(plainState));
      ASSERT_EQ(textOf(fastState), textOf(plainState));
      ASSERT_EQ(differenceOf(BufSnapshot(fast.buf), BufSnapshot(plain.buf)), "");
      fast.pass(rows);
      plain.pass(rows);
    }
  }
}

}  // namespace

TEST(RandomDraws, blocks_give_the_draws_and_the_state_of_single_draws) {
  expectSameDraws(kStart, {kBlockDraws}, 40);
  expectSameDraws(kStart, {1, kBlockDraws, kBlockDraws - 1, 7, kLaneDraws, 0, kBlockDraws / 2, kBlockDraws}, 80);
  std::vector<int> every;
  for (int count = 0; count <= kBlockDraws; ++count) every.push_back(count);
  expectSameDraws(kStart, every, kBlockDraws + 1);
}

TEST(RandomDraws, the_crafted_states_draw_what_they_are_made_for) {
  State state = stateBefore(5, 1234567890123);
  for (int i = 0; i < 5; ++i) random_stream::draw(state);
  EXPECT_EQ(drawnBits(random_stream::draw(state)), 1234567890123u);
}

TEST(RandomDraws, integers_are_rounded_to_the_nearest_double) {
  // 2^53 + 1 lies halfway between doubles, as do the others by their own spacing; ties go to the even one.
  for (const std::uint64_t r :
       {(1ull << 53) + 1, (1ull << 53) + 3, (1ull << 62) + (1ull << 9), (1ull << 62) + (1ull << 9) + 1,
        (1ull << 62) + (3ull << 9), (1ull << 63) - 1, (1ull << 32) - 1, 1ull << 32, 0xFFFFFFFFull << 31, 1ull, 2ull}) {
    for (const int step : {0, 3, kLaneDraws, kBlockDraws - 1}) {
      SCOPED_TRACE(std::to_string(r) + " at step " + std::to_string(step));
      expectSameDraws(stateBefore(step, r), {kBlockDraws}, 2);
    }
  }
}

TEST(RandomDraws, a_zero_is_drawn_again_wherever_it_falls_in_a_block) {
  for (const int step : {0, 1, kLaneDraws - 1, kLaneDraws, kBlockDraws / 2, kBlockDraws - 1, kBlockDraws,
                         2 * kBlockDraws - 1, 2 * kBlockDraws + 5}) {
    SCOPED_TRACE(step);
    const State start = stateBefore(step, 0);
    State state = start;
    int steps = 0;
    for (int i = 0; i <= step; ++i) {
      const State before = state;
      random_stream::draw(state);
      State once = before;
      random_stream::step(once);
      steps += textOf(once) == textOf(state) ? 1 : 2;
    }
    ASSERT_EQ(steps, step + 2) << "the state does not draw a zero";
    expectSameDraws(start, {kBlockDraws}, 4);
    expectSameDraws(start, {kBlockDraws - 3, 11}, 8);
  }
}

TEST(RandomRows, double_columns_of_any_number_come_out_the_same_across_wraps) {
  for (const int columns : {1, 2, 3, 7, 8, 9, 16, 17, 100, 1000, 1025}) {
    SCOPED_TRACE(columns);
    const long capacity = columns > 99 ? 37 : 3000;
    const long chunk = columns > 99 ? 11 : 1000;
    expectSameRows(std::vector<Column>(static_cast<std::size_t>(columns), {"x", kDouble}), capacity,
                   {chunk, chunk, chunk, 1, chunk - 1, 0, chunk, capacity, 3, chunk});
  }
}

TEST(RandomRows, mixed_columns_come_out_the_same_across_wraps_and_odd_chunks) {
  const std::vector<std::vector<Column>> schemas = {
      oneColumnOfEachType(),
      {{"f", kFactor}},
      {{"s", kString}},
      {{"t", kTimeDate}},
      {{"b", kBlob}},
      {{"d", kDouble}, {"d", kDouble}, {"f", kFactor}, {"f", kFactor}, {"s", kString, 11}, {"t", kTimeDate}},
      {{"s", kString, 17}, {"s", kString, 16}, {"s", kString, 12}, {"s", kString, 200}, {"d", kDouble}},
      {{"f", kFactor}, {"d", kDouble}, {"f", kFactor}, {"d", kDouble}, {"b", kBlob}, {"b", kBlob}, {"d", kDouble}},
  };
  for (const std::vector<Column>& columns : schemas) {
    SCOPED_TRACE(&columns - schemas.data());
    expectSameRows(columns, 3000, {1000, 1000, 1000, 1000, 999, 1, 0, 3000, 2});
    expectSameRows(columns, 101, {100, 7, 101, 13, 99, 64, 101});
    expectSameRows(columns, 1, {1, 1, 0, 1});
  }
}

TEST(RandomRows, wide_mixed_rows_come_out_the_same) {
  std::vector<Column> columns;
  for (int i = 0; i < 400; ++i) columns.push_back({"x", static_cast<ZRBBuf::column_type>(i * 7 % 9 % 5)});
  expectSameRows(columns, 29, {10, 10, 10, 29, 1, 5});
}

TEST(RandomRows, low_draws_choose_other_texts_in_any_column) {
  // Texts 1 to 4, the end of the fourth, and 1 again.
  for (const std::uint64_t hundredths : {10u, 30u, 50u, 70u, 79u, 81u}) {
    for (const int step : {0, 1, 2, 3, 4, kBlockDraws + 1, kBlockDraws + 2, 3 * kBlockDraws, 4997}) {
      SCOPED_TRACE(std::to_string(hundredths) + " hundredths at step " + std::to_string(step));
      expectSameRows(oneColumnOfEachType(), 3000, {1000, 700}, stateBefore(step, (1ull << 31) * hundredths / 100));
    }
  }
}

TEST(RandomRows, a_zero_draw_moves_the_rest_of_the_stream) {
  for (const int step : {0, 17, kBlockDraws, 2 * kBlockDraws - 1, 3333}) {
    SCOPED_TRACE(step);
    expectSameRows(oneColumnOfEachType(), 3000, {900, 900}, stateBefore(step, 0));
    expectSameRows(std::vector<Column>(8, {"x", kDouble}), 1000, {900, 900}, stateBefore(step, 0));
  }
}

TEST(RandomRows, levels_and_overflows_are_those_of_single_cells) {
  const SavedSettings restored;
  ZRBObj::setErrorOnLevelOverflow(1);
  const std::vector<Column> columns = {{"a", kFactor}, {"d", kDouble}, {"b", kFactor}, {"c", kFactor}};
  const State lowDraw = stateBefore(2002, (1ull << 31) * 3 / 10);
  const std::vector<long> chunks = {500, 500, 500, 1, 7};
  const std::pair<const char*, Prepare> preparations[] = {
      {"levels that are there", [](ZRBBuf& buf) { buf.addLevel(0, "other"), buf.addLevel(0, "lev1"); }},
      {"no room for levels", [](ZRBBuf& buf) { buf.setMaxAutoLevels(0, 0), buf.setMaxAutoLevels(2, 0); }},
      {"room for one level", [](ZRBBuf& buf) { buf.setDefaultMaxAutoLevels(1); }},
      {"an overflow level",
       [](ZRBBuf& buf) {
         buf.setMaxAutoLevels(0, 1), buf.setOverflowLevel(0, "other");
         buf.setMaxAutoLevels(2, 0), buf.setOverflowLevel(2, "lev1");
       }},
      {"counts below zero, which repeat the message",
       [](ZRBBuf& buf) {
         buf.setDefaultMaxAutoLevels(0);
         for (long column : {0, 2, 3}) buf.setOverflowCount(column, -20 - column);
       }},
      {"a name twice", [](ZRBBuf& buf) { buf.addLevel(3, "lev1"), buf.addLevel(3, "lev1"); }},
      {"a level beyond the code of NA",
       [](ZRBBuf& buf) { buf.setNumLevels(0, 65540), buf.setLevelName(0, 65539, "lev1"); }},
  };
  for (const auto& [name, prepare] : preparations) {
    SCOPED_TRACE(name);
    expectSameRows(columns, 700, chunks, kStart, prepare);
    expectSameRows(columns, 700, chunks, lowDraw, prepare);
  }
}

TEST(RandomRows, texts_that_are_cut_are_counted_and_reported_as_by_single_cells) {
  const SavedSettings restored;
  ZRBObj::setErrorOnStringTruncation(1);
  const std::vector<Column> columns = {
      {"a", kString, 10}, {"d", kDouble}, {"b", kString, 4}, {"c", kString, 11}, {"e", kString, 12}};
  for (const State& start : {kStart, stateBefore(1003, (1ull << 31) * 5 / 10), stateBefore(1004, (1ull << 31) / 2)})
    expectSameRows(columns, 700, {500, 500, 500, 1, 7}, start);
}

TEST(RandomRows, a_schema_changed_without_a_new_layout_is_written_in_the_order_of_cells) {
  const std::vector<Column> columns = {{"f", kFactor}, {"g", kFactor}, {"s", kString}, {"d", kDouble}, {"e", kDouble}};
  const std::pair<const char*, Prepare> preparations[] = {
      {"a factor that became a double", [](ZRBBuf& buf) { buf.setColumnType(0, kDouble); }},
      {"a longer text", [](ZRBBuf& buf) { buf.setColumnStringBytes(2, 20); }},
      {"columns at one place", [](ZRBBuf& buf) { buf.setColumnOffsetBytes(4, buf.getColumnOffsetBytes(3)); }},
      {"columns out of order",
       [](ZRBBuf& buf) {
         const long offset = buf.getColumnOffsetBytes(4);
         buf.setColumnOffsetBytes(4, buf.getColumnOffsetBytes(3)), buf.setColumnOffsetBytes(3, offset);
       }},
      {"fewer columns", [](ZRBBuf& buf) { buf.setNumColumns(2); }},
      {"an unknown type", [](ZRBBuf& buf) { forceColumnType(buf, 3, 9); }},
      {"a shorter text", [](ZRBBuf& buf) { buf.setColumnStringBytes(2, 12); }},
  };
  for (const auto& [name, prepare] : preparations) {
    SCOPED_TRACE(name);
    expectSameRows(columns, 300, {200, 200, 33}, kStart, prepare);
  }
}

TEST(RandomRows, the_node_writes_the_same_rows_through_its_own_and_through_a_hosts_writer) {
  // A class of its own: the node must make each of its virtual calls.
  struct HostWriter : ZRBMemoryBufWriter {
    using ZRBMemoryBufWriter::ZRBMemoryBufWriter;
    long cells = 0;
    void setConvertDouble(long row, long column, double value) override {
      ++cells;
      ZRBMemoryBufWriter::setConvertDouble(row, column, value);
    }
    void setConvertFactor(long row, long column, const char* text) override {
      ++cells;
      ZRBMemoryBufWriter::setConvertFactor(row, column, text);
    }
  };
  struct Flow {
    std::unique_ptr<ZRBMemoryBuf> buf;
    ZRBProcRandomReader node;
    explicit Flow(std::unique_ptr<ZRBMemoryBuf> made) : buf(std::move(made)) {
      setColumns(*buf, oneColumnOfEachType());
      buf->setNumRows(700);
      node.setOutputBuf(0, buf.get());
      node.setNumRows(333);
      node.setTotalRows(2000);
      node.setSeed(77);
      buf->init();
      node.init();
    }
  };
  Flow own(std::make_unique<ZRBMemoryBuf>());
  Flow host(std::make_unique<BufWithEnds<ZRBMemoryBufReader, HostWriter>>());
  while (!own.node.isDone()) {
    ASSERT_EQ(own.node.execute(), host.node.execute());
    ASSERT_EQ(differenceOf(BufSnapshot(*own.buf), BufSnapshot(*host.buf)), "");
  }
  EXPECT_TRUE(host.node.isDone());
  EXPECT_EQ(static_cast<HostWriter*>(host.buf->getBufWriter(0))->cells, 2000 * 4)
      << "doubles, times, blobs and factors";
}
