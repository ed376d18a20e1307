// The running statistics of columns abreast against the same update value by value: the same bits, on every target.
#include "procs/count_abreast.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "base/conversions.h"
#include "procs/running_stats.h"

namespace {

using count_kernel::kMaxLanes;

constexpr double kNaN = conversions::kDoubleNA;

ZRBProcCountColumnInfo emptyInfo() { return {kNaN, kNaN, kNaN, kNaN, 0, 0, -1}; }

std::vector<Simd> targets() {
  std::vector<Simd> all = {Simd::baseline};
  if (bestSimd() != Simd::baseline) all.push_back(Simd::avx2);
  return all;
}

// Bytes, so that NaNs count too.
void expectSame(const ZRBProcCountColumnInfo& actual, const ZRBProcCountColumnInfo& expected) {
  EXPECT_EQ(std::memcmp(&actual.min, &expected.min, sizeof(double)), 0) << actual.min << ' ' << expected.min;
  EXPECT_EQ(std::memcmp(&actual.max, &expected.max, sizeof(double)), 0) << actual.max << ' ' << expected.max;
  EXPECT_EQ(std::memcmp(&actual.mean, &expected.mean, sizeof(double)), 0) << actual.mean << ' ' << expected.mean;
  EXPECT_EQ(std::memcmp(&actual.m2, &expected.m2, sizeof(double)), 0) << actual.m2 << ' ' << expected.m2;
  EXPECT_EQ(actual.count_na, expected.count_na);
  EXPECT_EQ(actual.count_ok, expected.count_ok);
}

// Feeds the same rows both ways, `chunkRows` at a time.
void compare(const std::vector<std::vector<double>>& columns, long chunkRows) {
  const int numColumns = static_cast<int>(columns.size());
  const long rows = static_cast<long>(columns[0].size());
  std::vector<ZRBProcCountColumnInfo> expected(columns.size(), emptyInfo());
  for (std::size_t c = 0; c < columns.size(); ++c)
    for (double x : columns[c]) addValue(expected[c], x);

  for (Simd target : targets()) {
    std::vector<ZRBProcCountColumnInfo> actual(columns.size(), emptyInfo());
    std::vector<ZRBProcCountColumnInfo*> infos;
    for (ZRBProcCountColumnInfo& info : actual) infos.push_back(&info);
    for (long first = 0; first < rows; first += chunkRows) {
      CountAbreast statistics(target, infos.data(), numColumns);
      const long count = std::min(chunkRows, rows - first);
      const long lanes = statistics.lanes();
      std::vector<double> block(static_cast<std::size_t>(count * lanes), kNaN);
      for (long row = 0; row < count; ++row)
        for (int c = 0; c < numColumns; ++c)
          block[static_cast<std::size_t>(row * lanes + c)] =
              columns[static_cast<std::size_t>(c)][static_cast<std::size_t>(first + row)];
      // At an odd address, as cells are.
      std::vector<char> bytes(block.size() * sizeof(double) + 1);
      std::memcpy(bytes.data() + 1, block.data(), block.size() * sizeof(double));
      statistics.addRows(bytes.data() + 1, lanes * static_cast<long>(sizeof(double)), count);
    }
    for (std::size_t c = 0; c < columns.size(); ++c) {
      SCOPED_TRACE(testing::Message() << "target " << static_cast<int>(target) << ", column " << c << " of "
                                      << numColumns << ", chunks of " << chunkRows);
      expectSame(actual[c], expected[c]);
    }
  }
}

}  // namespace

TEST(CountAbreast, any_number_of_columns_gives_the_bits_of_the_plain_update) {
  std::mt19937_64 generator(1);
  std::normal_distribution<double> normal(1e3, 7.0);
  for (int numColumns = 1; numColumns <= kMaxLanes; ++numColumns) {
    std::vector<std::vector<double>> columns(static_cast<std::size_t>(numColumns));
    for (auto& column : columns)
      for (int row = 0; row < 500; ++row) column.push_back(generator() % 100 == 0 ? kNaN : normal(generator));
    for (long chunkRows : {1L, 7L, 64L, 500L}) compare(columns, chunkRows);
  }
}

TEST(CountAbreast, columns_may_see_their_first_value_at_any_row) {
  std::mt19937_64 generator(2);
  for (int round = 0; round < 50; ++round) {
    std::vector<std::vector<double>> columns(round % 5 == 0 ? 1 : 7, std::vector<double>(40, kNaN));
    for (auto& column : columns)
      for (std::size_t row = generator() % 50; row < column.size(); ++row)
        if (generator() % 3 != 0) column[row] = static_cast<double>(generator() % 9) - 4.0;
    for (long chunkRows : {1L, 13L, 40L}) compare(columns, chunkRows);
  }
}

TEST(CountAbreast, means_that_cannot_be_guessed_have_the_bits_of_the_plain_update) {
  std::mt19937_64 generator(3);
  std::uniform_real_distribution<double> uniform(-1.0, 1.0);
  const auto columnOf = [](auto value) {
    std::vector<double> column;
    for (int row = 0; row < 3000; ++row) column.push_back(value(row));
    return column;
  };
  const std::vector<std::vector<double>> columns = {
      columnOf([&](int) { return uniform(generator); }),                           // a mean around 0
      columnOf([&](int row) { return std::ldexp(uniform(generator), row / 2); }),  // every value outgrows the mean
      columnOf([&](int row) { return std::ldexp(uniform(generator), -row / 2); }),
      columnOf([&](int) { return std::ldexp(uniform(generator), static_cast<int>(generator() % 2098) - 1074); }),
      columnOf([&](int) { return 0x1p-1074 * static_cast<double>(generator() % 5); }),  // quotients underflow
      columnOf([](int row) { return row % 2 ? 0.0 : -0.0; }),
      columnOf([](int row) { return row % 2 ? 1.5 : -1.5; }),  // every other mean is 0
      columnOf([](int row) { return row < 10  ? -0.0
                                    : row % 3 ? 0x1p-1074
                                              : -0x1p-1074; }),
      columnOf([](int row) { return row == 100 ? std::numeric_limits<double>::infinity() : row; }),
      columnOf([&](int row) { return row % 3 ? kNaN : 1e308 * uniform(generator); }),
  };
  for (std::size_t first = 0; first < columns.size(); ++first)
    for (const unsigned abreast : {1u, 2u, 4u}) {
      std::vector<std::vector<double>> some;
      for (std::size_t i = 0; i < abreast; ++i) some.push_back(columns[(first + i) % columns.size()]);
      for (const long chunkRows : {7L, 1000L}) compare(some, chunkRows);
    }
}

TEST(CountAbreast, the_levels_of_a_factor_alone_are_counted_beside_its_statistics) {
  std::mt19937_64 generator(4);
  for (const Simd target : targets())
    for (const unsigned levels : {1u, 2u, 5u, 500u, 60000u}) {
      SCOPED_TRACE(testing::Message() << "target " << static_cast<int>(target) << ", levels " << levels);
      std::vector<char> cells(1);  // at odd addresses
      std::vector<long long> expected(65536);
      ZRBProcCountColumnInfo actualInfo = emptyInfo(), expectedInfo = emptyInfo();
      for (int row = 0; row < 3000; ++row) {
        const bool isNA = row < 800 || generator() % 20 == 0;  // the first value comes late
        const unsigned level = isNA ? 65535u : static_cast<unsigned>(generator() % levels);
        cells.push_back(static_cast<char>(level >> 8));
        cells.push_back(static_cast<char>(level & 0xFF));
        addValue(expectedInfo, isNA ? kNaN : static_cast<double>(level));
        ++expected[isNA ? 0 : level + 1];
      }
      CountTable table;
      const std::size_t width = 3;
      ASSERT_TRUE(table.layOut(&width, 1));
      std::vector<ZRBProcCountCountInfo> records(65536);  // by slot
      for (long first = 0; first < 3000; first += 750) {
        ZRBProcCountColumnInfo* info = &actualInfo;
        CountAbreast(target, &info, 1).addLevels(cells.data() + 1 + 2 * first, 2, 750, table);
        table.link([](const std::size_t* slots, int* record) { *record = static_cast<int>(*slots); });
        if (first == 1500) table.settle(records);
      }
      table.settle(records);
      expectSame(actualInfo, expectedInfo);
      for (std::size_t slot = 0; slot < expected.size(); ++slot) ASSERT_EQ(records[slot].count, expected[slot]) << slot;
    }
}

TEST(CountAbreast, a_column_of_NA_only_stays_empty) {
  compare({std::vector<double>(100, kNaN), {std::vector<double>(100, 1.5)}}, 30);
}

TEST(CountAbreast, extreme_values_give_the_bits_of_the_plain_update) {
  const double inf = std::numeric_limits<double>::infinity();
  const double tiny = std::numeric_limits<double>::denorm_min();
  const double huge = std::numeric_limits<double>::max();
  const std::vector<double> values = {0.0, -0.0, tiny, -tiny, huge, -huge, inf, -inf, kNaN, 1.0, 1e9 + 4, 1e9 + 7};
  std::mt19937_64 generator(3);
  for (int round = 0; round < 200; ++round) {
    std::vector<std::vector<double>> columns(round % 2 ? 3 : 5);
    for (auto& column : columns)
      for (int row = 0; row < 30; ++row) column.push_back(values[generator() % values.size()]);
    compare(columns, 11);
  }
}

TEST(CountAbreast, a_first_value_of_minus_zero_is_kept) { compare({{-0.0, -0.0}, {kNaN, -0.0}, {-0.0, 0.0}}, 2); }
