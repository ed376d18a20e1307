// Arrays of doubles out of and into columns of the library's own ends, against one cell at a time.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <vector>

#include "support/BufSnapshot.h"
#include "support/Harness.h"
#include "support/SavedSettings.h"

namespace {

constexpr long kColumns = 5;  // one of each type

const std::vector<double>& oddNumbers() {
  static const std::vector<double> numbers = {0.0,
                                              -0.0,
                                              1.5,
                                              -1.0,
                                              65534.0,
                                              65535.0,
                                              1e300,
                                              -1e300,
                                              std::numeric_limits<double>::infinity(),
                                              -std::numeric_limits<double>::infinity(),
                                              std::numeric_limits<double>::quiet_NaN(),
                                              ZRBObj::getDoubleNA(),
                                              0x1p63 / 86400000.0,
                                              5e-324};
  return numbers;
}

struct Arrays {
  FlowHarness<> together{50, oneColumnOfEachType()};
  FlowHarness<> single{50, oneColumnOfEachType()};

  void pass(long rows) {
    together.pass(rows);
    single.pass(rows);
  }
};

}  // namespace

TEST(DoubleArray, writing_stores_what_single_cells_store) {
  Arrays arrays;
  for (int chunk = 0; chunk < 12; ++chunk) {
    for (const long count : {0L, -1L, 1L, 14L, 23L}) {
      std::vector<double> values;
      for (long i = 0; i < count; ++i)
        values.push_back(oddNumbers()[static_cast<std::size_t>(i + chunk) % oddNumbers().size()]);
      for (long column = 0; column < kColumns; ++column) {
        arrays.together.writer.setDoubleArray(3, column, count, values.data());
        for (long i = 0; i < count; ++i)
          arrays.single.writer.setDouble(3 + i, column, values[static_cast<std::size_t>(i)]);
      }
      ASSERT_EQ(differenceOf(BufSnapshot(arrays.together.buf), BufSnapshot(arrays.single.buf)), "");
    }
    arrays.pass(17);
  }
}

TEST(DoubleArray, reading_gives_what_single_cells_give) {
  const SavedSettings saved;
  ZRBObj::setDoubleDateEpoch(-123456789);
  FlowHarness<> flow(50, oneColumnOfEachType());
  for (long row = 0; row < 50; ++row) {
    flow.buf.setRawDouble(row, 0, oddNumbers()[static_cast<std::size_t>(row) % oddNumbers().size()]);
    flow.buf.setRawLevelNum(row, 1, row % 4 == 0 ? -1 : row * 1300);
    flow.buf.setRawString(row, 2, row % 5 == 0 ? ZRBObj::getStringNA() : "12.5");
    flow.buf.setRawTimeDate(row, 3, row % 3 == 0 ? ZRBObj::getTimeDateNA() - row : row * 99999999999);
    flow.buf.setRawBlobOffset(row, 4, row);
    flow.buf.setRawBlobLength(row, 4, row);
  }
  for (int chunk = 0; chunk < 12; ++chunk) {
    flow.writer.releaseRows(33);
    for (const long count : {-1L, 0L, 1L, 30L}) {
      for (long column = 0; column < kColumns; ++column) {
        std::vector<double> values(33, 4711.0);
        flow.reader.getDoubleArray(3, column, count, values.data());
        for (long i = 0; i < 33; ++i)
          ASSERT_EQ(bitsOf(values[static_cast<std::size_t>(i)]),
                    bitsOf(i < count ? flow.reader.getDouble(3 + i, column) : 4711.0))
              << "chunk " << chunk << ", column " << column << ", value " << i << " of " << count;
      }
    }
    flow.reader.releaseRows(33);
  }
}

TEST(DoubleArray, a_reader_that_has_released_everything_repeats_the_first_row) {
  FlowHarness<> flow(50, oneColumnOfEachType());
  for (long row = 0; row < 50; ++row) {
    flow.buf.setRawLevelNum(row, 1, 100 + row);
    flow.buf.setRawTimeDate(row, 3, 86400000 * row);
  }
  flow.writer.releaseRows(50);
  flow.reader.releaseAll();
  for (const long column : {1, 3}) {
    double values[5];
    flow.reader.getDoubleArray(2, column, 5, values);
    for (const double value : values) EXPECT_EQ(value, flow.reader.getDouble(0, column));
  }
}

TEST(DoubleArray, an_end_that_a_host_derives_sees_every_cell) {
  struct HostReader : ZRBMemoryBufReader {
    using ZRBMemoryBufReader::ZRBMemoryBufReader;
    long levels = 0, doubles = 0;
    long getLevelNum(long row, long column) override {
      ++levels;
      return ZRBMemoryBufReader::getLevelNum(row, column);
    }
    double getDouble(long row, long column) override {
      ++doubles;
      return ZRBMemoryBufReader::getDouble(row, column);
    }
  };
  struct HostWriter : ZRBMemoryBufWriter {
    using ZRBMemoryBufWriter::ZRBMemoryBufWriter;
    long levels = 0, times = 0;
    void setLevelNum(long row, long column, long level) override {
      ++levels;
      ZRBMemoryBufWriter::setLevelNum(row, column, level);
    }
    void setTimeDate(long row, long column, long long timeMs) override {
      ++times;
      ZRBMemoryBufWriter::setTimeDate(row, column, timeMs);
    }
  };
  FlowHarness<HostReader, HostWriter> flow(50, oneColumnOfEachType());
  std::vector<double> values(20, 3.0);
  flow.writer.setDoubleArray(0, 1, 20, values.data());
  flow.writer.setDoubleArray(0, 3, 20, values.data());
  flow.writer.releaseRows(20);
  flow.reader.getDoubleArray(0, 1, 20, values.data());
  flow.reader.getDoubleArray(0, 3, 20, values.data());
  EXPECT_EQ(flow.writer.levels, 20);
  EXPECT_EQ(flow.writer.times, 20);
  EXPECT_EQ(flow.reader.levels, 20);
  EXPECT_EQ(flow.reader.doubles, 20);
  EXPECT_EQ(values.front(), 3.0);
}
