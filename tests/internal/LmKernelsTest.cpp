// The update of a triangle by blocks: the same bits on every target, and fe_srif's triangle but for rounding.
#include "procs/lm_kernels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "ZRBProcLm.h"
#include "base/simd.h"

namespace {

using lm_kernel::kBlockRows;
using lm_kernel::kPartialSums;

struct Fit {
  std::vector<double> r, z;
  std::vector<double> residual;
};

struct Problem {
  long p;
  long rows;
  Fit prior;
  std::vector<double> x;  // rows x p, column-major
  std::vector<double> y;
};

std::size_t at(long index) { return static_cast<std::size_t>(index); }

// The triangle and right-hand side of [prior; rows] by fe_srif.
Fit stack(const Problem& problem, const double* r, const double* z, long first, long rows) {
  const long p = problem.p;
  const long above = r ? p : 0;
  long m = above + rows;
  std::vector<double> a(at(m * p)), b(at(m));
  for (long j = 0; j < p; ++j) {
    for (long i = 0; i < above; ++i) a[at(i + j * m)] = r[i + j * p];
    for (long i = 0; i < rows; ++i) a[at(above + i + j * m)] = problem.x[at(first + i + j * problem.rows)];
  }
  for (long i = 0; i < above; ++i) b[at(i)] = z[i];
  for (long i = 0; i < rows; ++i) b[at(above + i)] = problem.y[at(first + i)];
  long n = p;
  long info = 0;
  double tolerance = 1e-10;
  fe_srif(a.data(), &m, &n, &tolerance, b.data(), &info);
  EXPECT_EQ(info, 0);
  Fit fit;
  for (long j = 0; j < p; ++j)
    for (long i = 0; i < p; ++i) fit.r.push_back(a[at(i + j * m)]);
  fit.z.assign(b.begin(), b.begin() + p);
  fit.residual.assign(b.begin() + p, b.end());
  return fit;
}

Problem makeProblem(long p, long rows, double scale) {
  std::mt19937_64 generator(static_cast<std::uint64_t>(100 * p + rows));
  std::normal_distribution<double> normal(0.0, scale);
  Problem problem{p, rows + 2 * p, {}, {}, {}};
  for (long i = 0; i < problem.rows * p; ++i) problem.x.push_back(normal(generator));
  for (long i = 0; i < problem.rows; ++i) problem.y.push_back(normal(generator));
  problem.prior = stack(problem, nullptr, nullptr, 0, 2 * p);
  return problem;
}

// A triangle column by column as one row by row, and back.
std::vector<double> transposed(const std::vector<double>& triangle, long p) {
  std::vector<double> result;
  for (long i = 0; i < p; ++i)
    for (long j = 0; j < p; ++j) result.push_back(triangle[at(i + j * p)]);
  return result;
}

Fit updateByBlocks(const Problem& problem, lm_kernel::UpdateBlock update) {
  const long p = problem.p;
  Fit fit = problem.prior;
  fit.r = transposed(fit.r, p);
  fit.residual.clear();
  std::vector<double> block(at(kBlockRows * (p + 1))), products(at(p + 1));
  for (long first = 2 * p; first < problem.rows; first += kBlockRows) {
    const long rows = std::min(problem.rows - first, kBlockRows);
    const long used = (rows + kPartialSums - 1) / kPartialSums * kPartialSums;
    std::fill(block.begin(), block.end(), 0.0);
    for (long i = 0; i < rows; ++i) {
      for (long j = 0; j < p; ++j) block[at(i + j * kBlockRows)] = problem.x[at(first + i + j * problem.rows)];
      block[at(i + p * kBlockRows)] = problem.y[at(first + i)];
    }
    update(fit.r.data(), fit.z.data(), block.data(), p, used, products.data());
    fit.residual.insert(fit.residual.end(), block.begin() + p * kBlockRows, block.begin() + p * kBlockRows + rows);
  }
  fit.r = transposed(fit.r, p);
  return fit;
}

double sumOfSquares(const std::vector<double>& values) {
  double sum = 0.0;
  for (double value : values) sum += value * value;
  return sum;
}

const struct {
  long p, rows;
} kShapes[] = {{1, 1}, {1, 64}, {2, 7}, {3, 8}, {3, 65}, {5, 1000}, {10, 200}, {17, 129}, {50, 300}, {90, 100}};

}  // namespace

TEST(LmKernels, every_target_gives_the_same_bits) {
  for (const auto& shape : kShapes) {
    const Problem problem = makeProblem(shape.p, shape.rows, 3.0);
    const Fit expected = updateByBlocks(problem, lm_kernel::kBaselineUpdate);
    std::vector<lm_kernel::UpdateBlock> others;
    if (bestSimd() != Simd::baseline) others.push_back(lm_kernel::kAvx2Update);
    if (bestSimd() == Simd::avx512) others.push_back(lm_kernel::kAvx512Update);
    for (lm_kernel::UpdateBlock update : others) {
      const Fit actual = updateByBlocks(problem, update);
      EXPECT_EQ(actual.r, expected.r) << shape.p << 'x' << shape.rows;
      EXPECT_EQ(actual.z, expected.z);
      EXPECT_EQ(actual.residual, expected.residual);
    }
  }
}

// Rows of R are unique but for their signs.  Entries agree to c (p + rows) u times the length of their column, with
// c = 10 for the condition of these well-conditioned random rows.
TEST(LmKernels, the_triangle_is_that_of_all_rows_stacked) {
  for (const auto& shape : kShapes) {
    const Problem problem = makeProblem(shape.p, shape.rows, 3.0);
    const Fit actual = updateByBlocks(problem, lm_kernel::kBaselineUpdate);
    const Fit expected = stack(problem, problem.prior.r.data(), problem.prior.z.data(), 2 * shape.p, shape.rows);
    const double relative = 10.0 * static_cast<double>(shape.p + shape.rows) * 0x1p-53;
    for (long i = 0; i < shape.p; ++i) {
      const double sign = actual.r[at(i + i * shape.p)] * expected.r[at(i + i * shape.p)] < 0 ? -1.0 : 1.0;
      for (long j = i; j < shape.p; ++j) {
        double columnSquares = 0.0;
        for (long k = 0; k <= j; ++k) columnSquares += std::pow(expected.r[at(k + j * shape.p)], 2);
        EXPECT_NEAR(sign * actual.r[at(i + j * shape.p)], expected.r[at(i + j * shape.p)],
                    relative * std::sqrt(columnSquares));
      }
      EXPECT_NEAR(sign * actual.z[at(i)], expected.z[at(i)],
                  relative * std::sqrt(sumOfSquares(expected.z) + sumOfSquares(expected.residual)));
    }
    EXPECT_NEAR(sumOfSquares(actual.residual), sumOfSquares(expected.residual),
                relative * (sumOfSquares(expected.z) + sumOfSquares(expected.residual)));
  }
}

// Squares of these are near the end of the range, where the norm is scaled.
TEST(LmKernels, huge_rows_do_not_overflow) {
  const Problem problem = makeProblem(4, 100, 3.0);
  Problem scaled = problem;
  const double factor = 0x1p465;  // a power of two: everything scales exactly
  for (double& value : scaled.x) value *= factor;
  for (double& value : scaled.prior.r) value *= factor;
  const Fit expected = updateByBlocks(problem, lm_kernel::kBaselineUpdate);
  const Fit actual = updateByBlocks(scaled, lm_kernel::kBaselineUpdate);
  for (long j = 0; j < 4; ++j)
    for (long i = 0; i <= j; ++i)
      EXPECT_NEAR(actual.r[at(i + j * 4)] / factor, expected.r[at(i + j * 4)], 1e-12);  // 16 digits, columns near 30
}
