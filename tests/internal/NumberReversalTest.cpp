// The numbers of rows reversed in vectors, against one number at a time.
#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <vector>

#include "buf/number_reversal.h"
#include "support/BufSnapshot.h"
#include "support/Harness.h"
#include "support/SimdTargets.h"

namespace {

constexpr auto kDouble = ZRBBuf::column_double;
constexpr auto kFactor = ZRBBuf::column_factor;
constexpr auto kString = ZRBBuf::column_string;
constexpr auto kTimeDate = ZRBBuf::column_timeDate;
constexpr auto kBlob = ZRBBuf::column_blob;

using Schema = std::vector<Column>;
using Prepare = std::function<void(ZRBBuf&)>;

void fill(ZRBBuf& buf, unsigned seed) {
  std::mt19937 random(seed);
  char* bytes = buf.getDataPtr(0, 0, 0) - buf.getColumnOffsetBytes(0);
  for (long i = 0; i < buf.getNumRows() * buf.getBytesPerRow(); ++i) bytes[i] = static_cast<char>(random());
}

void expectSameBytes(
    const Schema& schema, long capacity, const Prepare& prepare = [](ZRBBuf&) {}) {
  const struct {
    long ringRow;
    long count;
  } runs[] = {{0, capacity}, {0, 1},  {capacity - 1, 1}, {capacity / 2, capacity}, {capacity - 1, 2},
              {3, 0},        {3, -4}, {1, capacity / 3}, {0, 2 * capacity + 5},    {5, 700},
              {0, 0}};
  for (const Simd simd : runnableTargets()) {
    SCOPED_TRACE(nameOf(simd));
    FlowHarness<> fast(capacity, schema), single(capacity, schema);
    for (ZRBBuf* buf : {static_cast<ZRBBuf*>(&fast.buf), static_cast<ZRBBuf*>(&single.buf)}) {
      fill(*buf, 5);
      prepare(*buf);
    }
    for (const auto& run : runs) {
      if (run.ringRow < 0 || run.ringRow >= capacity) continue;
      SCOPED_TRACE(testing::Message() << run.count << " rows from " << run.ringRow);
      reverseNumbers(fast.buf, run.ringRow, run.count, simd);
      reverseNumbersSingly(single.buf, run.ringRow, run.count);
      ASSERT_EQ(differenceOf(BufSnapshot(fast.buf), BufSnapshot(single.buf)), "");
    }
  }
}

}  // namespace

TEST(NumberReversal, every_number_of_neighbouring_columns_is_reversed) {
  for (int columns = 1; columns <= 40; ++columns) {
    SCOPED_TRACE(columns);
    expectSameBytes(Schema(static_cast<std::size_t>(columns), {"x", kDouble}), 300);
    Schema schema{{"f", kFactor}};
    for (int i = 0; i < columns; ++i) schema.push_back({"x", kDouble});
    schema.push_back({"s", kString, 5});
    expectSameBytes(schema, 31);
  }
}

TEST(NumberReversal, columns_of_every_type_keep_to_their_numbers) {
  const Schema schemas[] = {
      oneColumnOfEachType(),
      {{"f", kFactor}},
      {{"s", kString}, {"s", kString, 7}},
      {{"b", kBlob}},
      {{"b", kBlob}, {"b", kBlob}, {"t", kTimeDate}, {"f", kFactor}, {"b", kBlob}, {"d", kDouble}, {"d", kDouble}},
      {{"d", kDouble}, {"t", kTimeDate}, {"b", kBlob}, {"d", kDouble}, {"s", kString, 1000}, {"d", kDouble}},
      Schema(9, {"b", kBlob}),
      Schema(1000, {"t", kTimeDate})};
  for (const Schema& schema : schemas) {
    SCOPED_TRACE(&schema - schemas);
    expectSameBytes(schema, 300);
    expectSameBytes(schema, 7);
    expectSameBytes(schema, 1);
  }
}

TEST(NumberReversal, a_schema_changed_without_a_new_layout_is_reversed_column_by_column) {
  const Schema schema = {{"f", kFactor}, {"g", kFactor}, {"s", kString}, {"d", kDouble}, {"e", kDouble}};
  const Prepare preparations[] = {[](ZRBBuf& buf) { buf.setColumnType(0, kDouble); },
                                  [](ZRBBuf& buf) { buf.setColumnOffsetBytes(4, buf.getColumnOffsetBytes(3)); },
                                  [](ZRBBuf& buf) { buf.setColumnOffsetBytes(4, buf.getColumnOffsetBytes(3) + 3); },
                                  [](ZRBBuf& buf) { buf.setNumColumns(4); },
                                  [](ZRBBuf& buf) { forceColumnType(buf, 3, 9); },
                                  [](ZRBBuf& buf) { buf.setColumnType(3, kBlob); }};
  for (const Prepare& prepare : preparations) {
    SCOPED_TRACE(&prepare - preparations);
    expectSameBytes(schema, 50, prepare);
  }
}

TEST(NumberReversal, the_buffers_own_reversal_is_in_stream_rows) {
  FlowHarness<> fast(100, oneColumnOfEachType()), single(100, oneColumnOfEachType());
  fill(fast.buf, 6);
  fill(single.buf, 6);
  fast.buf.byteSwapBufNumbers(5000000000 * 100 + 95, 10);
  reverseNumbersSingly(single.buf, 95, 10);
  EXPECT_EQ(differenceOf(BufSnapshot(fast.buf), BufSnapshot(single.buf)), "");
  fast.buf.byteSwapBufNumbers(95, 10);
  fill(single.buf, 6);
  EXPECT_EQ(differenceOf(BufSnapshot(fast.buf), BufSnapshot(single.buf)), "") << "twice is not at all";
}
