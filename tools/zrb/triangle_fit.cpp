#include "triangle_fit.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "ZRBProcLm.h"

namespace zrbtool {

namespace {

constexpr double kUnit = 0x1p-53;

// Of a column that is a combination of others, rounding leaves some hundred units of its norm; the triangle of many
// updates is a little less exact.
constexpr double kLeastPart = 1e-11;
// A number of the file is off by half a unit; combinations of several such by a few.
constexpr double kNumberError = 16 * kUnit;
// Below this part a column is looked at more closely.
constexpr double kSuspiciousPart = 1e-5;
// A column takes part in a combination if it makes up this much of it.
constexpr double kLeastShare = 1e-6;

double norm(const double* values, std::size_t count) {
  double largest = 0;
  for (std::size_t i = 0; i < count; ++i) largest = std::max(largest, std::fabs(values[i]));
  if (largest == 0 || !std::isfinite(largest)) return largest;
  double sum = 0;
  for (std::size_t i = 0; i < count; ++i) sum += values[i] / largest * (values[i] / largest);
  return largest * std::sqrt(sum);
}

double sumOfSquares(const double* values, std::size_t count) {
  double sum = 0;
  for (std::size_t i = 0; i < count; ++i) sum += values[i] * values[i];
  return sum;
}

}  // namespace

TriangleFit::TriangleFit(const Triangle& triangle, const std::vector<Candidate>& candidates)
    : m_rows(triangle.size), m_columns((candidates.size() + 1) * triangle.size) {
  for (std::size_t i = 0; i < candidates.size(); ++i) {
    std::copy_n(triangle.factor.data() + candidates[i].column * m_rows, m_rows, column(i));
    m_norms.push_back(norm(column(i), m_rows));
  }
  double* const rhs = column(candidates.size());
  std::copy_n(triangle.rhs.data(), m_rows, rhs);
  const double rootRows = std::sqrt(static_cast<double>(triangle.rows));
  triangularise(candidates, rootRows);

  const std::size_t rank = m_kept.size();
  m_residual = triangle.residual + sumOfSquares(rhs + rank, m_rows - rank);
  m_total = triangle.residual + sumOfSquares(rhs + 1, m_rows - 1);
  m_coefficients = solve(rhs);
  for (std::size_t i = 0; i < rank; ++i) m_fitted_size += std::fabs(m_coefficients[i]) * m_norms[m_kept[i]] / rootRows;
}

void TriangleFit::triangularise(const std::vector<Candidate>& candidates, double rootRows) {
  for (std::size_t candidate = 0; candidate < candidates.size(); ++candidate) {
    if (candidate > 0 && isCombination(candidate, candidates, rootRows)) continue;
    reflect(candidate);
    m_kept.push_back(candidate);
  }
}

bool TriangleFit::isCombination(std::size_t candidate, const std::vector<Candidate>& candidates, double rootRows) {
  const std::size_t rank = m_kept.size();
  const double left = rank < m_rows ? norm(column(candidate) + rank, m_rows - rank) : 0;
  if (left > kSuspiciousPart * m_norms[candidate]) return false;
  const std::vector<double> weights = solve(column(candidate));
  double magnitude = candidates[candidate].magnitude;
  for (std::size_t i = 0; i < rank; ++i) magnitude += std::fabs(weights[i]) * candidates[m_kept[i]].magnitude;
  if (left > kLeastPart * m_norms[candidate] && left > kNumberError * rootRows * magnitude) return false;
  DroppedCandidate dropped{candidate, {}};
  for (std::size_t i = 0; i < rank; ++i)
    if (std::fabs(weights[i]) * m_norms[m_kept[i]] > kLeastShare * m_norms[candidate])
      dropped.others.push_back(m_kept[i]);
  m_dropped.push_back(std::move(dropped));
  return true;
}

// Makes the candidate's entries below the next diagonal element zero, and takes the columns behind it along.
void TriangleFit::reflect(std::size_t candidate) {
  const std::size_t rank = m_kept.size();
  const std::size_t below = m_rows - rank;
  double* const v = column(candidate) + rank;
  const double length = norm(v, below);
  const double alpha = v[0] > 0 ? -length : length;
  v[0] -= alpha;
  const double beta = 1 / (alpha * v[0]);
  const std::size_t columns = m_norms.size() + 1;
  for (std::size_t c = candidate + 1; c < columns; ++c) {
    double* const target = column(c) + rank;
    double sum = 0;
    for (std::size_t i = 0; i < below; ++i) sum += v[i] * target[i];
    for (std::size_t i = 0; i < below; ++i) target[i] += beta * sum * v[i];
  }
  v[0] = alpha;
  std::fill(v + 1, v + below, 0.0);
}

// Back substitution with the kept columns.
std::vector<double> TriangleFit::solve(const double* rhs) const {
  long rank = static_cast<long>(m_kept.size());
  std::vector<double> triangle;
  triangle.reserve(m_kept.size() * m_kept.size());
  for (const std::size_t kept : m_kept) triangle.insert(triangle.end(), column(kept), column(kept) + rank);
  std::vector<double> right(rhs, rhs + rank);
  std::vector<double> solution(m_kept.size());
  fe_solve(triangle.data(), &rank, right.data(), solution.data());
  return solution;
}

// With R b = z the deviation of w'b is |R'^-1 w|.
double TriangleFit::deviation(const std::vector<double>& weights) const {
  std::vector<double> solution(m_kept.size());
  for (std::size_t i = 0; i < m_kept.size(); ++i) {
    const double* const r = column(m_kept[i]);
    double sum = weights[i];
    for (std::size_t k = 0; k < i; ++k) sum -= r[k] * solution[k];
    solution[i] = sum / r[i];
  }
  return norm(solution.data(), solution.size());
}

}  // namespace zrbtool
