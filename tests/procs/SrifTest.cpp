// The kernels of the linear model: triangularisation by Householder reflections, and back substitution.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "ZRBProcLm.h"
#include "support/Harness.h"
#include "support/LeastSquares.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr long kUntouched = 77;
// In units of m u (or m n u): the threshold that LAPACK's own tests of QR factorisations use for such ratios.
constexpr long double kThreshold = 30;

using Doubles = std::vector<double>;

// A matrix and its right-hand side between guards, as fe_srif leaves them.
struct Srif {
  Matrix<double> a;
  Doubles b;
  long info = kUntouched;
  bool guardsHold = true;

  Srif(const Matrix<double>& matrix, const Doubles& rhs, double tol = 1e-10) : a(matrix), b(rhs) {
    constexpr std::size_t kGuard = 64;
    const auto guarded = [](const Doubles& values) {
      Doubles room(values.size() + 2 * kGuard, -777.25);
      std::copy(values.begin(), values.end(), room.begin() + kGuard);
      return room;
    };
    Doubles aRoom = guarded(a.cells);
    Doubles bRoom = guarded(b);
    const Doubles before[] = {aRoom, bRoom};
    long m = a.rows;
    long n = a.columns;
    const double tolGiven = tol;
    fe_srif(aRoom.data() + kGuard, &m, &n, &tol, bRoom.data() + kGuard, &info);
    for (std::size_t i = 0; i < kGuard; ++i) {
      for (const auto& [now, then] : {std::pair{&aRoom, &before[0]}, std::pair{&bRoom, &before[1]}})
        guardsHold = guardsHold && (*now)[i] == (*then)[i] && *(now->end() - 1 - static_cast<long>(i)) == -777.25;
    }
    guardsHold = guardsHold && m == a.rows && n == a.columns && tol == tolGiven;
    std::copy_n(aRoom.begin() + kGuard, a.cells.size(), a.cells.begin());
    std::copy_n(bRoom.begin() + kGuard, b.size(), b.begin());
  }
};

Matrix<double> matrixOf(long rows, long columns, Doubles columnMajor) {
  Matrix<double> matrix(rows, columns);
  matrix.cells = std::move(columnMajor);
  return matrix;
}

std::vector<std::uint64_t> bitsOfAll(const Doubles& values) {
  std::vector<std::uint64_t> bits;
  for (const double value : values) bits.push_back(bitsOf(value));
  return bits;
}

// ---- Single steps, in numbers that are exact ----

TEST(Srif, a_positive_diagonal_takes_minus_the_norm) {
  // alpha = -4, v = (8, 0), beta = -1/32: (16, 8) gives t = -4.
  const Srif done(matrixOf(2, 1, {4, 0}), {16, 8});
  EXPECT_EQ(done.a.cells, (Doubles{-4, 0}));
  EXPECT_EQ(done.b, (Doubles{-16, 8}));
  EXPECT_EQ(done.info, kUntouched) << "success leaves it alone";
}

TEST(Srif, a_negative_diagonal_takes_plus_the_norm) {
  const Srif done(matrixOf(2, 1, {-4, 0}), {16, 8});
  EXPECT_EQ(done.a.cells, (Doubles{4, 0}));
  EXPECT_EQ(done.b, (Doubles{-16, 8}));
}

TEST(Srif, a_zero_diagonal_takes_plus_the_norm) {
  // v = (-4, 4, 0), beta = -1/16: (1, 2, 3) gives t = -1/4.
  for (const double zero : {0.0, -0.0}) {
    const Srif done(matrixOf(3, 1, {zero, 4, 0}), {1, 2, 3});
    EXPECT_EQ(done.a(0, 0), 4);
    EXPECT_EQ(done.b, (Doubles{2, 1, 3}));
  }
}

TEST(Srif, later_columns_and_the_right_hand_side_are_reflected_alike) {
  // v = (-4, 4), beta = -1/16.
  const Srif done(matrixOf(2, 2, {0, 4, 1, 2}), {1, 2});
  EXPECT_EQ(done.a(0, 0), 4);
  EXPECT_EQ(done.a(0, 1), 2);
  EXPECT_EQ(done.a(1, 0), 0);
  EXPECT_EQ(std::fabs(done.a(1, 1)), 1);
  EXPECT_EQ(done.b[0], 2);
  EXPECT_EQ(done.a(1, 1), -1) << "the second reflection changes the sign of what was 1";
  EXPECT_EQ(done.b[1], -1);
}

TEST(Srif, rows_of_R_are_zero_below_the_diagonal_and_further_rows_keep_the_reflection) {
  const LeastSquares problem = randomProblem(7, 3, 5);
  const Srif done(problem.a, problem.b);
  for (long j = 0; j < 3; ++j)
    for (long i = j + 1; i < 3; ++i) EXPECT_EQ(bitsOf(done.a(i, j)), bitsOf(0.0)) << i << ", " << j;
  // The tail of a reflection vector is the column itself: the first as it came, the others as they were reached.
  for (long i = 3; i < 7; ++i) {
    EXPECT_EQ(bitsOf(done.a(i, 0)), bitsOf(problem.a(i, 0))) << i;
    for (long j = 1; j < 3; ++j) EXPECT_NE(done.a(i, j), 0) << i << ", " << j;
  }
  EXPECT_EQ(done.info, kUntouched);
  EXPECT_TRUE(done.guardsHold);
}

TEST(Srif, the_tails_are_the_vectors_of_reflections_that_undo_the_work) {
  // Applying I - beta' v v' in reverse order to Q'b gives b back; v_j is known below row n only, so n = 1 is used.
  const LeastSquares problem = randomProblem(20, 1, 8);
  const Srif done(problem.a, problem.b);
  Doubles v(done.a.cells);
  v[0] = problem.a(0, 0) - done.a(0, 0);
  const long double t = 2 * dot(v.data(), done.b.data(), 20) / dot(v.data(), v.data(), 20);
  for (std::size_t i = 0; i < 20; ++i) {
    const long double restored = static_cast<long double>(done.b[i]) - t * static_cast<long double>(v[i]);
    EXPECT_LE(std::fabs(restored - static_cast<long double>(problem.b[i])),
              kThreshold * 20 * kUnitRoundoff * norm(problem.b.data(), 20));
  }
}

TEST(Srif, a_column_that_a_reflection_leaves_in_place_keeps_its_bytes) {
  // Orthogonal to v = (-2, 2, 0): adding t v with t = 0 would turn -0.0 into 0.0.
  const Srif done(matrixOf(3, 2, {0, 2, 0, -0.0, -0.0, 5}), {-0.0, -0.0, -1});
  EXPECT_EQ(bitsOf(done.a(0, 1)), bitsOf(-0.0));
  EXPECT_EQ(bitsOf(done.b[0]), bitsOf(-0.0));
  const Srif single(matrixOf(3, 1, {0, 2, 0}), {-0.0, -0.0, -1});
  EXPECT_EQ(bitsOfAll(single.b), bitsOfAll({-0.0, -0.0, -1}));
}

TEST(Srif, the_norm_is_scaled_by_multiplication_with_the_reciprocal) {
  // 49 (1/49) is not 1, so that the norm of the single entry 49 comes out one unit below it.
  const double scaled = 49.0 * (1.0 / 49.0);
  const double expected = 49.0 * std::sqrt(scaled * scaled);
  ASSERT_LT(expected, 49.0);
  const Srif done(matrixOf(1, 1, {49}), {1});
  EXPECT_EQ(done.a(0, 0), -expected);
}

// ---- The end of the work ----

TEST(Srif, a_column_of_at_most_the_tolerance_ends_the_work) {
  const struct {
    double largest, tol;
    bool ends;
  } cases[] = {
      {1e-10, 1e-10, true},  // inclusive
      {std::nextafter(1e-10, 1), 1e-10, false},
      {-1e-10, 1e-10, true},  // by size
      {0, 1e-10, true},
      {0, 0, true},
      {1e-200, 0, false},
      {5, 5, true},
      {5, 4.9, false},
  };
  for (const auto& c : cases) {
    const Matrix<double> a = matrixOf(3, 1, {0, c.largest, c.largest / 2});
    const Doubles b = {1, 2, 3};
    const Srif done(a, b, c.tol);
    EXPECT_EQ(done.info, c.ends ? 1 : kUntouched) << c.largest << ", " << c.tol;
    if (c.ends) {
      EXPECT_EQ(done.a.cells, a.cells) << c.largest;
      EXPECT_EQ(done.b, b) << c.largest;
    } else {
      EXPECT_NE(done.a.cells, a.cells) << c.largest;
    }
    EXPECT_TRUE(done.guardsHold);
  }
}

TEST(Srif, after_the_end_the_remaining_columns_stand_as_the_reflections_so_far_left_them) {
  // Column 0 is triangular already: its reflection changes the sign of row 0.  Column 1 is zero below the diagonal.
  const Srif done(matrixOf(4, 4, {2, 0, 0, 0, 5, 0, 0, 0, 7, 8, 9, 10, 3, 4, 0, -1}), {1, 2, 3, 4});
  EXPECT_EQ(done.a.cells, (Doubles{-2, 0, 0, 0, -5, 0, 0, 0, -7, 8, 9, 10, -3, 4, 0, -1}));
  EXPECT_EQ(done.b, (Doubles{-1, 2, 3, 4}));
  EXPECT_EQ(done.info, 1);
}

TEST(Srif, the_tolerance_is_for_what_is_left_from_the_diagonal_down) {
  // 5 in row 0 of column 1 does not count.
  const Srif done(matrixOf(3, 2, {2, 0, 0, 5, 1e-11, 1e-11}), {1, 2, 3});
  EXPECT_EQ(done.info, 1);
  EXPECT_EQ(done.a.cells, (Doubles{-2, 0, 0, -5, 1e-11, 1e-11}));
}

TEST(Srif, without_columns_nothing_happens) {
  for (const long columns : {0L, -1L, -1000L}) {
    long m = 3;
    long n = columns;
    long info = kUntouched;
    double tol = 1e-10;
    double a[] = {1, 2, 3};
    double b[] = {4, 5, 6};
    fe_srif(a, &m, &n, &tol, b, &info);
    fe_srif(nullptr, &m, &n, &tol, nullptr, &info);
    EXPECT_EQ(info, kUntouched);
    EXPECT_EQ(Doubles(a, a + 3), (Doubles{1, 2, 3}));
    EXPECT_EQ(Doubles(b, b + 3), (Doubles{4, 5, 6}));
  }
}

TEST(Srif, without_rows_the_first_column_ends_the_work) {
  for (const long rows : {0L, -1L}) {
    long m = rows;
    long n = 2;
    long info = kUntouched;
    double tol = 1e-10;
    double a[] = {1, 2, 3};
    double b[] = {4, 5, 6};
    fe_srif(a, &m, &n, &tol, b, &info);
    EXPECT_EQ(info, 1) << rows;
    EXPECT_EQ(Doubles(a, a + 3), (Doubles{1, 2, 3}));
    EXPECT_EQ(Doubles(b, b + 3), (Doubles{4, 5, 6}));
  }
}

TEST(Srif, with_fewer_rows_than_columns_the_zeros_reach_into_the_columns_behind) {
  const Srif done(matrixOf(2, 3, {3, 4, 1, 2, 5, 6}), {1, 2});
  // Column 0 leaves (-5, 0), (-2.2, 0.4), (-7.8, -0.4) and zeroes "row 2" of column 0, which is row 0 of column 1; column 1
  // turns -0.4 into 0.4 and zeroes row 0 of column 2.
  const double expected[] = {-5, 0, 0, -0.4, 0, 0.4};
  for (std::size_t i = 0; i < 6; ++i) EXPECT_NEAR(done.a.cells[i], expected[i], 1e-15) << i;
  EXPECT_EQ(done.info, 1);
}

TEST(Srif, fewer_rows_than_columns_touch_nothing_behind_the_matrix) {
  for (long m = 1; m <= 6; ++m)
    for (long n = m + 1; n <= 9; ++n) {
      const LeastSquares problem = randomProblem(m, n, static_cast<unsigned>(100 * m + n));
      const Srif done(problem.a, problem.b);
      EXPECT_TRUE(done.guardsHold) << m << " x " << n;
      EXPECT_EQ(done.info, 1) << "column " << m << " has no entries left";
    }
}

TEST(Srif, columns_without_entries_end_the_work_under_any_tolerance) {
  const LeastSquares problem = randomProblem(2, 3, 6);
  const Srif done(problem.a, problem.b, -1);
  EXPECT_EQ(done.info, 1);
  EXPECT_TRUE(done.guardsHold);
  EXPECT_EQ(done.a.cells, Srif(problem.a, problem.b).a.cells);
}

TEST(Srif, one_row_changes_its_sign_once) {
  const Srif done(matrixOf(1, 3, {2, 3, -4}), {5});
  EXPECT_EQ(done.a.cells, (Doubles{-2, 0, 0}));
  EXPECT_EQ(done.b, (Doubles{-5}));
  EXPECT_EQ(done.info, 1);
}

// ---- Accuracy ----

struct Shape {
  long m, n;
  Doubles scales;
};

const std::vector<Shape>& shapes() {
  static const std::vector<Shape> all = {
      {1, 1, {1}},         {2, 1, {1}},        {2, 2, {1}},         {3, 3, {1e-6, 1, 1e6}},     {5, 2, {1e6, 1}},
      {7, 7, {1}},         {12, 5, {1, 1e-3}}, {30, 8, {1}},        {30, 8, {1e9, 1e-6, 1}},    {64, 64, {1}},
      {101, 20, {1, 1e4}}, {150, 3, {1}},      {120, 30, {1, 1e7}}, {40, 10, {1e-9, 1, 1e100}},
  };
  return all;
}

TEST(SrifAccuracy, Q_times_R_is_the_matrix_and_Q_is_orthogonal) {
  unsigned seed = 1;
  for (const Shape& shape : shapes()) {
    const long m = shape.m;
    const long n = shape.n;
    const LeastSquares problem = randomProblem(m, n, seed++, shape.scales);
    SCOPED_TRACE(std::to_string(m) + " x " + std::to_string(n));
    // As right-hand sides, the columns of the identity give those of Q'.
    Matrix<double> qTransposed(m, m);
    Matrix<double> r;
    for (long j = 0; j < m; ++j) {
      Doubles unit(static_cast<std::size_t>(m), 0.0);
      unit[static_cast<std::size_t>(j)] = 1;
      const Srif done(problem.a, unit);
      ASSERT_EQ(done.info, kUntouched);
      ASSERT_TRUE(done.guardsHold);
      std::copy(done.b.begin(), done.b.end(), qTransposed.column(j));
      r = done.a;
    }
    const long double mu = static_cast<long double>(m) * kUnitRoundoff;
    for (long j = 0; j < n; ++j) {
      // ||R - Q'A|| by column.
      long double square = 0;
      for (long i = 0; i < m; ++i) {
        long double entry = i <= j ? static_cast<long double>(r(i, j)) : 0;
        for (long k = 0; k < m; ++k)
          entry -= static_cast<long double>(qTransposed(i, k)) * static_cast<long double>(problem.a(k, j));
        square += entry * entry;
      }
      EXPECT_LE(std::sqrt(square) / (mu * norm(problem.a.column(j), m)), kThreshold) << "column " << j;
    }
    long double square = 0;
    for (long i = 0; i < m; ++i)
      for (long j = 0; j < m; ++j) {
        const long double entry = dot(qTransposed.column(i), qTransposed.column(j), m) - (i == j ? 1 : 0);
        square += entry * entry;
      }
    EXPECT_LE(std::sqrt(square) / mu, kThreshold);
  }
}

TEST(SrifAccuracy, solutions_are_least_squares_solutions_whatever_the_scale_of_the_columns) {
  unsigned seed = 100;
  for (const Shape& shape : shapes()) {
    for (const double noise : {0.0, 1.0, 1e6}) {
      const LeastSquares problem = randomProblem(shape.m, shape.n, seed++, shape.scales, noise);
      Srif done(problem.a, problem.b);
      ASSERT_EQ(done.info, kUntouched);
      Matrix<double> r(shape.n, shape.n);
      for (long j = 0; j < shape.n; ++j)
        for (long i = 0; i <= j; ++i) r(i, j) = done.a(i, j);
      Doubles x(static_cast<std::size_t>(shape.n));
      long n = shape.n;
      fe_solve(r.cells.data(), &n, done.b.data(), x.data());
      EXPECT_LE(orthogonalityDefect(problem, x.data()), kThreshold) << shape.m << " x " << shape.n << ", " << noise;
    }
  }
}

TEST(SrifAccuracy, well_conditioned_fits_agree_with_extended_precision) {
  for (unsigned seed = 1; seed <= 20; ++seed) {
    const LeastSquares problem = randomProblem(200, 6, seed);
    Srif done(problem.a, problem.b);
    Matrix<double> r(6, 6);
    for (long j = 0; j < 6; ++j)
      for (long i = 0; i <= j; ++i) r(i, j) = done.a(i, j);
    Doubles x(6);
    long n = 6;
    fe_solve(r.cells.data(), &n, done.b.data(), x.data());
    const std::vector<long double> expected = solveInLongDouble(problem);
    // The forward error is about n kappa u: 200 normal deviates in 6 columns have a condition kappa below 2.
    for (std::size_t j = 0; j < 6; ++j)
      EXPECT_LE(std::fabs(static_cast<long double>(x[j]) - expected[j]), kThreshold * 2 * 6 * kUnitRoundoff) << seed;
  }
}

TEST(SrifAccuracy, the_right_hand_side_keeps_its_length) {
  unsigned seed = 300;
  for (const Shape& shape : shapes()) {
    const LeastSquares problem = randomProblem(shape.m, shape.n, seed++, shape.scales);
    const Srif done(problem.a, problem.b);
    const long double before = norm(problem.b.data(), shape.m);
    EXPECT_LE(std::fabs(norm(done.b.data(), shape.m) - before),
              kThreshold * static_cast<long double>(shape.m) * kUnitRoundoff * before);
  }
}

TEST(SrifAccuracy, the_norm_survives_numbers_whose_squares_do_not) {
  for (const double scale : {1e300, 1e-300, 1e200, 1e-200, 1.0}) {
    const Srif done(matrixOf(4, 1, {3 * scale, 1 * scale, -1 * scale, 5 * scale}), {0, 0, 0, 0}, 0);
    EXPECT_LE(std::fabs(static_cast<long double>(done.a(0, 0)) + 6 * static_cast<long double>(scale)),
              kThreshold * kUnitRoundoff * 6 * static_cast<long double>(scale))
        << scale;
    EXPECT_EQ(done.info, kUntouched);
  }
}

TEST(SrifAccuracy, fits_hold_as_long_as_squares_of_the_numbers_do) {
  for (const double scale : {1e150, 1e-150}) {
    const LeastSquares problem = randomProblem(20, 4, 42, {scale, 1});
    Srif done(problem.a, problem.b, 0);
    Matrix<double> r(4, 4);
    for (long j = 0; j < 4; ++j)
      for (long i = 0; i <= j; ++i) r(i, j) = done.a(i, j);
    Doubles x(4);
    long n = 4;
    fe_solve(r.cells.data(), &n, done.b.data(), x.data());
    EXPECT_LE(orthogonalityDefect(problem, x.data()), kThreshold) << scale;
  }
}

// Deliberate: only the norm is scaled.  1 / (alpha u) is 0 once alpha u overflows, and then t is 0 and nothing moves.
TEST(SrifAccuracy, beyond_the_square_root_of_the_largest_number_a_reflection_is_lost) {
  const Srif done(matrixOf(2, 1, {1e300, 1e300}), {1, 1});
  EXPECT_NEAR(done.a(0, 0) / 1e300, -std::sqrt(2.0), 1e-15);
  EXPECT_EQ(done.b, (Doubles{1, 1}));
}

TEST(Srif, NaN_spoils_what_it_meets) {
  const Srif inMatrix(matrixOf(3, 2, {1, kNaN, 2, 1, 1, 1}), {1, 2, 3});
  EXPECT_TRUE(std::isnan(inMatrix.a(0, 0)));
  EXPECT_TRUE(std::isnan(inMatrix.a(0, 1)));
  EXPECT_TRUE(std::isnan(inMatrix.b[0]));
  const Srif inRhs(matrixOf(3, 1, {1, 1, 2}), {1, kNaN, 3});
  EXPECT_FALSE(std::isnan(inRhs.a(0, 0)));
  for (const double value : inRhs.b) EXPECT_TRUE(std::isnan(value));
}

TEST(Srif, a_column_of_NaN_alone_has_no_size_and_ends_the_work) {
  const Srif done(matrixOf(2, 1, {kNaN, kNaN}), {1, 2});
  EXPECT_EQ(done.info, 1);
  EXPECT_EQ(done.b, (Doubles{1, 2}));
}

// ---- Back substitution ----

TEST(FeSolve, starts_from_the_last_row) {
  // 2 x0 + 3 x1 - x2 = 5, 4 x1 + 2 x2 = 16, 5 x2 = 10
  double r[] = {2, 0, 0, 3, 4, 0, -1, 2, 5};
  double z[] = {5, 16, 10};
  double x[] = {-1, -1, -1, -7};
  long n = 3;
  fe_solve(r, &n, z, x);
  EXPECT_EQ(Doubles(x, x + 4), (Doubles{-1, 3, 2, -7}));
  EXPECT_EQ(Doubles(z, z + 3), (Doubles{5, 16, 10}));
  EXPECT_EQ(n, 3);
}

TEST(FeSolve, may_overwrite_the_right_hand_side) {
  double r[] = {2, 0, 0, 3, 4, 0, -1, 2, 5};
  double z[] = {5, 16, 10};
  long n = 3;
  fe_solve(r, &n, z, z);
  EXPECT_EQ(Doubles(z, z + 3), (Doubles{-1, 3, 2}));
}

TEST(FeSolve, does_not_read_below_the_diagonal) {
  double r[] = {2, kNaN, kNaN, 3, 4, kNaN, -1, 2, 5};
  double z[] = {5, 16, 10};
  double x[3];
  long n = 3;
  fe_solve(r, &n, z, x);
  EXPECT_EQ(Doubles(x, x + 3), (Doubles{-1, 3, 2}));
}

TEST(FeSolve, without_rows_nothing_happens) {
  for (const long size : {0L, -1L, -5L}) {
    long n = size;
    double x[] = {7};
    double z[] = {8};
    double r[] = {9};
    fe_solve(r, &n, z, x);
    fe_solve(nullptr, &n, nullptr, nullptr);
    EXPECT_EQ(x[0], 7);
  }
}

TEST(FeSolve, a_zero_on_the_diagonal_divides) {
  long n = 1;
  double r[] = {0};
  double x[1];
  for (const double z : {1.0, -1.0}) {
    double rhs[] = {z};
    fe_solve(r, &n, rhs, x);
    EXPECT_EQ(x[0], z * kInf);
  }
  double zero[] = {0};
  fe_solve(r, &n, zero, x);
  EXPECT_TRUE(std::isnan(x[0]));
}

TEST(FeSolve, solves_a_nearby_triangle_exactly) {
  // Row by row |z - R x| <= gamma_n |R| |x|, gamma_n = n u / (1 - n u) (Higham, 2nd ed., Theorem 8.5).
  for (unsigned seed = 1; seed <= 10; ++seed) {
    const long n = 5 * static_cast<long>(seed);
    LeastSquares problem = randomProblem(n, n, seed, {1, 1e-5, 1e5});
    Doubles x(static_cast<std::size_t>(n));
    long size = n;
    fe_solve(problem.a.cells.data(), &size, problem.b.data(), x.data());
    const long double nu = static_cast<long double>(n) * kUnitRoundoff;
    for (long i = 0; i < n; ++i) {
      long double residual = extended(problem.b[static_cast<std::size_t>(i)]);
      long double sizes = 0;
      for (long j = i; j < n; ++j) {
        const long double product =
            static_cast<long double>(problem.a(i, j)) * static_cast<long double>(x[static_cast<std::size_t>(j)]);
        residual -= product;
        sizes += std::fabs(product);
      }
      EXPECT_LE(std::fabs(residual), nu / (1 - nu) * sizes) << seed << ", row " << i;
    }
  }
}

}  // namespace
