// Least squares computed a second time, in extended precision and by another method, and measures of error.
#pragma once

#include <cmath>
#include <cstddef>
#include <random>
#include <utility>
#include <vector>

// Unit roundoff of double.
constexpr long double kUnitRoundoff = 0x1p-53L;

// A double in extended precision, said aloud for compilers that warn otherwise.
constexpr long double extended(double x) { return static_cast<long double>(x); }

// Column-major, leading dimension = rows.
template <class Number>
struct Matrix {
  long rows = 0;
  long columns = 0;
  std::vector<Number> cells;

  Matrix() = default;
  Matrix(long rowCount, long columnCount)
      : rows(rowCount), columns(columnCount), cells(static_cast<std::size_t>(rowCount * columnCount)) {}
  Number& operator()(long i, long j) { return cells[static_cast<std::size_t>(i + j * rows)]; }
  const Number& operator()(long i, long j) const { return cells[static_cast<std::size_t>(i + j * rows)]; }
  Number* column(long j) { return cells.data() + j * rows; }
  const Number* column(long j) const { return cells.data() + j * rows; }
};

struct LeastSquares {
  Matrix<double> a;
  std::vector<double> b;
};

// The rows first..first+rows-1 of a problem.
inline LeastSquares rowsOf(const LeastSquares& problem, long first, long rows) {
  LeastSquares part{Matrix<double>(rows, problem.a.columns), {}};
  for (long i = 0; i < rows; ++i) {
    for (long j = 0; j < problem.a.columns; ++j) part.a(i, j) = problem.a(first + i, j);
    part.b.push_back(problem.b[static_cast<std::size_t>(first + i)]);
  }
  return part;
}

template <class Number>
long double dot(const Number* x, const Number* y, long count) {
  long double sum = 0;
  for (long i = 0; i < count; ++i) sum += static_cast<long double>(x[i]) * static_cast<long double>(y[i]);
  return sum;
}
template <class Number>
long double norm(const Number* x, long count) {
  return std::sqrt(dot(x, x, count));
}

// The coefficients by modified Gram-Schmidt of [A b] in long double.  It is as stable as Householder reflections
// (Björck, BIT 7, 1967) with a unit roundoff of 2^-64.
inline std::vector<long double> solveInLongDouble(const LeastSquares& problem) {
  const long m = problem.a.rows;
  const long n = problem.a.columns;
  Matrix<long double> q(m, n);
  for (std::size_t i = 0; i < q.cells.size(); ++i) q.cells[i] = extended(problem.a.cells[i]);
  std::vector<long double> b(problem.b.begin(), problem.b.end());
  Matrix<long double> r(n, n);
  std::vector<long double> x(static_cast<std::size_t>(n));
  for (long j = 0; j < n; ++j) {
    long double* const v = q.column(j);
    const long double square = dot(v, v, m);
    r(j, j) = 1;
    const auto project = [&](long double* target) {
      const long double t = dot(v, target, m) / square;
      for (long i = 0; i < m; ++i) target[i] -= t * v[i];
      return t;
    };
    for (long c = j + 1; c < n; ++c) r(j, c) = project(q.column(c));
    x[static_cast<std::size_t>(j)] = project(b.data());
  }
  for (long i = n - 1; i >= 0; --i)
    for (long j = i + 1; j < n; ++j) x[static_cast<std::size_t>(i)] -= r(i, j) * x[static_cast<std::size_t>(j)];
  return x;
}

// How far the residual is from being orthogonal to the columns, in units of m n u: the largest over the columns j of
//   |a_j' (b - A x)| / (m n u ||a_j|| (||b|| + sum ||a_k|| |x_k|))
// A backward stable method keeps it below a small constant, whatever the condition of A and the scale of its columns.
template <class Number>
long double orthogonalityDefect(const LeastSquares& problem, const Number* x) {
  const long m = problem.a.rows;
  const long n = problem.a.columns;
  std::vector<long double> residual(problem.b.begin(), problem.b.end());
  long double scale = norm(problem.b.data(), m);
  for (long j = 0; j < n; ++j) {
    const long double coefficient = static_cast<long double>(x[j]);
    for (long i = 0; i < m; ++i) residual[static_cast<std::size_t>(i)] -= coefficient * extended(problem.a(i, j));
    scale += norm(problem.a.column(j), m) * std::fabs(coefficient);
  }
  long double worst = 0;
  for (long j = 0; j < n; ++j) {
    long double product = 0;
    for (long i = 0; i < m; ++i) product += residual[static_cast<std::size_t>(i)] * extended(problem.a(i, j));
    const long double unit = static_cast<long double>(m * n) * kUnitRoundoff * norm(problem.a.column(j), m) * scale;
    // A NaN is the worst of all.
    const long double defect = std::fabs(product) / unit;
    if (!(defect <= worst)) worst = defect;
  }
  return worst;
}

// The condition of a matrix whose columns are scaled to length 1, which is near the least that scaling of columns can
// reach: the ratio of its largest and smallest singular values, by one-sided Jacobi rotations.
inline long double scaledCondition(const Matrix<double>& matrix) {
  const long m = matrix.rows;
  const long n = matrix.columns;
  Matrix<long double> a(m, n);
  for (long j = 0; j < n; ++j) {
    const long double length = norm(matrix.column(j), m);
    for (long i = 0; i < m; ++i) a(i, j) = extended(matrix(i, j)) / length;
  }
  constexpr long double kOrthogonal = 0x1p-60L;
  for (bool rotated = true; rotated;) {
    rotated = false;
    for (long j = 0; j < n; ++j)
      for (long c = j + 1; c < n; ++c) {
        const long double jj = dot(a.column(j), a.column(j), m);
        const long double cc = dot(a.column(c), a.column(c), m);
        const long double jc = dot(a.column(j), a.column(c), m);
        if (std::fabs(jc) <= kOrthogonal * std::sqrt(jj * cc)) continue;
        rotated = true;
        const long double tau = (cc - jj) / (2 * jc);
        const long double tangent = std::copysign(1 / (std::fabs(tau) + std::sqrt(1 + tau * tau)), tau);
        const long double cosine = 1 / std::sqrt(1 + tangent * tangent);
        for (long i = 0; i < m; ++i) {
          const long double x = a(i, j);
          a(i, j) = cosine * (x - tangent * a(i, c));
          a(i, c) = cosine * (tangent * x + a(i, c));
        }
      }
  }
  long double largest = 0;
  long double smallest = norm(a.column(0), m);
  for (long j = 0; j < n; ++j) {
    largest = std::fmax(largest, norm(a.column(j), m));
    smallest = std::fmin(smallest, norm(a.column(j), m));
  }
  return largest / smallest;
}

// Normal deviates; column j is scaled by scales[j mod size], and the response is a fit of coefficients near 1 plus noise.
inline LeastSquares randomProblem(long m, long n, unsigned seed, const std::vector<double>& scales = {1.0},
                                  double noise = 1.0) {
  std::mt19937 random(seed);
  // Twelve uniform numbers: close enough to normal, and the same with every standard library.
  const auto deviate = [&random] {
    double sum = -6;
    for (int k = 0; k < 12; ++k) sum += static_cast<double>(random()) / 4294967296.0;
    return sum;
  };
  LeastSquares problem{Matrix<double>(m, n), std::vector<double>(static_cast<std::size_t>(m))};
  for (long j = 0; j < n; ++j)
    for (long i = 0; i < m; ++i) problem.a(i, j) = deviate() * scales[static_cast<std::size_t>(j) % scales.size()];
  for (long i = 0; i < m; ++i) {
    double value = noise * deviate();
    for (long j = 0; j < n; ++j) value += problem.a(i, j) / scales[static_cast<std::size_t>(j) % scales.size()];
    problem.b[static_cast<std::size_t>(i)] = value;
  }
  return problem;
}
