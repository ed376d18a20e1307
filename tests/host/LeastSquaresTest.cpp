#include "zrb/least_squares.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "zrb/zrb.h"

namespace {

using Rows = std::vector<std::vector<double>>;  // response first

class RowsSource : public zrb::SourceNode {
public:
  explicit RowsSource(const Rows& rows) : m_rows(rows) {}

private:
  void prepare() override { m_next = 0; }
  long work(long rows) override {
    long row = 0;
    for (; row < rows && m_next < m_rows.size(); ++row, ++m_next)
      for (std::size_t column = 0; column < m_rows[m_next].size(); ++column)
        output().setDouble(row, static_cast<long>(column), m_rows[m_next][column]);
    return row;
  }

  const Rows& m_rows;
  std::size_t m_next = 0;
};

// Feeds `rows` to the node in chunks of `chunkRows`.  With `resume` the node goes on from the fit it has.
void feed(zrb::LeastSquares& fit, const Rows& rows, long chunkRows, bool resume = false) {
  auto buf = zrb::make<ZRBMemoryBuf>();
  zrb::set(buf, "num.rows", 3 * chunkRows);
  zrb::set(buf, "num.columns", rows.front().size());
  auto source = zrb::make<RowsSource>(rows);
  zrb::set(source, "num.rows", chunkRows);
  zrb::set(source, "outbuf", buf);
  zrb::set(fit, "num.rows", chunkRows);
  zrb::set(fit, "inbuf", buf);
  auto pipeline = zrb::make<ZRBPipeline>();
  zrb::set(pipeline, "add.buf", buf);
  zrb::set(pipeline, "add.proc", source);
  if (!resume) {
    zrb::set(pipeline, "add.proc", fit);
    zrb::run(*pipeline);
    return;
  }
  zrb::set(pipeline, "init");
  fit.resume();
  zrb::set(pipeline, "add.proc", fit);
  zrb::set(pipeline, "execute", 0);
  zrb::checkAll(*pipeline);
}

std::vector<double> solve(zrb::LeastSquares& fit) {
  fit.calcResults();
  std::vector<double> results;
  for (long i = 0; i < fit.getNumResults(); ++i) results.push_back(fit.getResult(i));
  return results;
}

long double wide(double value) { return static_cast<long double>(value); }

constexpr double kSize = zrb::LeastSquares::kColumnSize;

// y = 2 + 3 a - b with a residual, a and b of the size that the node wants.
Rows randomRows(std::size_t count, unsigned seed) {
  std::mt19937_64 engine(seed);
  std::normal_distribution<double> normal;
  Rows rows;
  for (std::size_t i = 0; i < count; ++i) {
    const double a = normal(engine), b = normal(engine);
    rows.push_back({2 + 3 * a - b + 0.1 * normal(engine), a * kSize, b * kSize});
  }
  return rows;
}

// Coefficients and residual sum of squares by elimination of the normal equations of the rows in long double: with
// columns as independent as these it loses a few of its 64 bits.
struct Reference {
  std::vector<double> coefficients;
  double residual;
};
Reference referenceOf(const Rows& rows) {
  const std::size_t p = rows.front().size();
  std::vector<std::vector<long double>> m(p, std::vector<long double>(p + 1, 0));
  const auto x = [](const std::vector<double>& row, std::size_t j) { return j == 0 ? 1.0L : wide(row[j] / kSize); };
  for (const auto& row : rows)
    for (std::size_t i = 0; i < p; ++i) {
      for (std::size_t j = 0; j < p; ++j) m[i][j] += x(row, i) * x(row, j);
      m[i][p] += x(row, i) * wide(row[0]);
    }
  for (std::size_t i = 0; i < p; ++i)
    for (std::size_t k = 0; k < p; ++k) {
      if (k == i) continue;
      const long double share = m[k][i] / m[i][i];
      for (std::size_t j = i; j <= p; ++j) m[k][j] -= share * m[i][j];
    }
  Reference reference{{}, 0};
  std::vector<long double> b;
  for (std::size_t i = 0; i < p; ++i) b.push_back(m[i][p] / m[i][i]);
  long double sum = 0;
  for (const auto& row : rows) {
    long double rest = wide(row[0]);
    for (std::size_t i = 0; i < p; ++i) rest -= b[i] * x(row, i);
    sum += rest * rest;
  }
  for (std::size_t i = 0; i < p; ++i)
    reference.coefficients.push_back(static_cast<double>(i == 0 ? b[i] : b[i] / wide(kSize)));
  reference.residual = static_cast<double>(sum);
  return reference;
}

// Rounding of some hundred updates of well-conditioned columns: a few hundred units.
constexpr double kRounding = 1000 * 0x1p-53;

void expectFit(zrb::LeastSquares& fit, const Reference& reference) {
  const std::vector<double> results = solve(fit);
  ASSERT_EQ(results.size(), reference.coefficients.size());
  for (std::size_t i = 0; i < results.size(); ++i)
    EXPECT_NEAR(results[i] / reference.coefficients[i], 1, kRounding) << i;
  EXPECT_NEAR(fit.residualSumOfSquares() / reference.residual, 1, kRounding);
}

TEST(LeastSquares, coefficients_and_residual_are_the_same_at_every_chunk_size) {
  const Rows rows = randomRows(300, 1);
  const Reference reference = referenceOf(rows);
  for (const long chunkRows : {1, 2, 3, 7, 64, 100, 299, 300, 1000}) {
    SCOPED_TRACE(chunkRows);
    zrb::LeastSquares fit;
    feed(fit, rows, chunkRows);
    expectFit(fit, reference);
    EXPECT_EQ(fit.rows(), 300);
  }
}

TEST(LeastSquares, a_regressor_that_is_zero_for_many_chunks_loses_nothing) {
  Rows rows = randomRows(300, 2);
  for (std::size_t i = 0; i < 200; ++i) rows[i][1] = 0;
  const Reference reference = referenceOf(rows);
  for (const long chunkRows : {1, 10, 150, 300}) {
    SCOPED_TRACE(chunkRows);
    zrb::LeastSquares fit;
    feed(fit, rows, chunkRows);
    expectFit(fit, reference);
  }
}

TEST(LeastSquares, the_prior_does_not_reach_a_digit_of_an_exact_fit) {
  // y = 1 + x / kSize in whole numbers: every step but the reflections is exact.
  Rows rows;
  for (int i = 0; i < 8; ++i) rows.push_back({1.0 + i, i * kSize});
  zrb::LeastSquares fit;
  feed(fit, rows, 3);
  const std::vector<double> results = solve(fit);
  EXPECT_NEAR(results[0], 1, 50 * 0x1p-53);
  EXPECT_NEAR(results[1] * kSize, 1, 50 * 0x1p-53);
  EXPECT_LT(std::sqrt(fit.residualSumOfSquares()), 8 * 50 * 0x1p-53);
}

TEST(LeastSquares, a_regressor_without_a_value_keeps_the_prior_and_disturbs_no_other) {
  Rows rows = randomRows(100, 3);
  const Reference reference = referenceOf(rows);
  for (auto& row : rows) row = {row[0], 0.0, row[1], row[2]};
  zrb::LeastSquares fit;
  feed(fit, rows, 10);
  EXPECT_EQ(std::fabs(fit.factor(1, 1)), zrb::LeastSquares::kPrior);
  const std::vector<double> results = solve(fit);
  EXPECT_EQ(results[1], 0);
  EXPECT_NEAR(results[2] / reference.coefficients[1], 1, kRounding);
  EXPECT_NEAR(results[3] / reference.coefficients[2], 1, kRounding);
  EXPECT_NEAR(fit.residualSumOfSquares() / reference.residual, 1, kRounding);
}

// The triangle stands for the rows even where their columns are copies of each other, so that a fit without the copies can
// be had from it: R'R = X'X, R'z = X'y, z'z and the residual make y'y.
TEST(LeastSquares, copies_of_a_column_end_no_update_and_lose_no_information) {
  Rows rows = randomRows(100, 4);
  for (auto& row : rows) row = {row[0], row[1], row[1], row[2]};  // the copy comes before b
  const auto x = [&](std::size_t row, long j) {
    return j == 0 ? 1.0L : wide(rows[row][static_cast<std::size_t>(j)] / kSize);
  };
  for (const long chunkRows : {1, 10, 100}) {
    SCOPED_TRACE(chunkRows);
    zrb::LeastSquares fit;
    feed(fit, rows, chunkRows);
    const auto r = [&](long i, long j) { return wide(j == 0 ? fit.factor(i, j) : fit.factor(i, j) / kSize); };
    long double responses = 0, transformed = wide(fit.residualSumOfSquares());
    for (const auto& row : rows) responses += wide(row[0]) * wide(row[0]);
    for (long i = 0; i < 4; ++i) {
      EXPECT_GT(i == 0 ? 1 : std::fabs(fit.factor(i, i)), 1e-10) << i;
      for (long j = 0; j < 4; ++j) {
        long double expected = 0, found = 0;
        for (std::size_t row = 0; row < rows.size(); ++row) expected += x(row, i) * x(row, j);
        for (long k = 0; k < 4; ++k) found += r(k, i) * r(k, j);
        EXPECT_NEAR(static_cast<double>(found - expected), 0, 100 * kRounding) << i << ' ' << j;  // 100 rows of size 1
      }
      long double expected = 0, found = 0;
      for (std::size_t row = 0; row < rows.size(); ++row) expected += x(row, i) * wide(rows[row][0]);
      for (long k = 0; k < 4; ++k) found += r(k, i) * wide(fit.transformedResponse(k));
      EXPECT_NEAR(static_cast<double>(found - expected), 0, 100 * kRounding) << i;
      transformed += wide(fit.transformedResponse(i)) * wide(fit.transformedResponse(i));
    }
    EXPECT_NEAR(static_cast<double>(transformed / responses), 1, kRounding);
  }
}

TEST(LeastSquares, a_fit_goes_on_with_more_columns_where_it_stood) {
  Rows rows = randomRows(300, 5);
  for (std::size_t i = 0; i < 120; ++i) rows[i][2] = 0;
  const Reference reference = referenceOf(rows);
  Rows first, rest;
  for (std::size_t i = 0; i < rows.size(); ++i)
    if (i < 120)
      first.push_back({rows[i][0], rows[i][1]});
    else
      rest.push_back(rows[i]);
  zrb::LeastSquares fit;
  feed(fit, first, 50);
  EXPECT_EQ(fit.columns(), 2);
  feed(fit, rest, 50, true);
  EXPECT_EQ(fit.columns(), 3);
  EXPECT_EQ(fit.rows(), 300);
  expectFit(fit, reference);
}

TEST(LeastSquares, init_begins_afresh) {
  const Rows rows = randomRows(50, 6);
  zrb::LeastSquares fit;
  feed(fit, randomRows(80, 7), 10);
  feed(fit, rows, 10);
  EXPECT_EQ(fit.rows(), 50);
  expectFit(fit, referenceOf(rows));
}

}  // namespace
