// Which coefficients, and how sure they are, from the triangle of a least-squares fit.
//
// The triangle R with R'R = X'X stands for all rows.  A fit of some columns only is R's columns made triangular again.
// That is done from left to right, and a column of which too little is left behind those before it is dropped: its
// coefficient would be rounding.
#pragma once

#include <cstddef>
#include <vector>

namespace zrbtool {

struct Triangle {
  std::size_t size = 0;
  std::vector<double> factor;  // size x size, column-major, upper triangular
  std::vector<double> rhs;     // what X turns into R turns the response into this ...
  double residual = 0;         // ... with this sum of squares left over
  long long rows = 0;
};

// A column to be fitted.
struct Candidate {
  std::size_t column;  // of the triangle
  double magnitude;    // size of the numbers it was made of, in its own unit: they are rounded to 2^-53 of that
};

struct DroppedCandidate {
  std::size_t candidate;
  std::vector<std::size_t> others;  // the candidates it is a linear combination of
};

class TriangleFit {
public:
  // REQUIRES: the first candidate is never dropped, since its norm is above 0: the intercept.
  TriangleFit(const Triangle& triangle, const std::vector<Candidate>& candidates);

  const std::vector<std::size_t>& kept() const { return m_kept; }  // candidates, ascending
  const std::vector<DroppedCandidate>& dropped() const { return m_dropped; }
  const std::vector<double>& coefficients() const { return m_coefficients; }  // of the kept ones
  double residual() const { return m_residual; }                              // sum of squares
  double total() const { return m_total; }                                    // the same around the first candidate
  // Sum over the kept candidates of |coefficient| times the root mean square of its column.
  double fittedSize() const { return m_fitted_size; }
  // The standard deviation of sum w_i coefficient_i, in units of the residual's.
  double deviation(const std::vector<double>& weights) const;

private:
  void triangularise(const std::vector<Candidate>& candidates, double rootRows);
  bool isCombination(std::size_t candidate, const std::vector<Candidate>& candidates, double rootRows);
  void reflect(std::size_t candidate);
  std::vector<double> solve(const double* rhs) const;
  double* column(std::size_t candidate) { return m_columns.data() + candidate * m_rows; }
  const double* column(std::size_t candidate) const { return m_columns.data() + candidate * m_rows; }

  std::size_t m_rows;             // of the candidates' columns
  std::vector<double> m_columns;  // the candidates, then the right-hand side
  std::vector<double> m_norms;    // of the candidates
  std::vector<std::size_t> m_kept;
  std::vector<DroppedCandidate> m_dropped;
  std::vector<double> m_coefficients;
  double m_residual = 0;
  double m_total = 0;
  double m_fitted_size = 0;
};

}  // namespace zrbtool
