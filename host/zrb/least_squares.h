// Least squares with a residual: the library's linear model node, extended by what standard errors need.
//
//   auto fit = zrb::make<zrb::LeastSquares>();
//   zrb::set(fit, "inbuf", design);        // column 0 the response, the others the regressors
//   ... run ...
//   fit->factor(i, j), fit->transformedResponse(i), fit->residualSumOfSquares(), fit->rows()
//
// The node keeps R and z with R x = z (see ZRBProcLm) for the intercept and the regressors.  Every update leaves behind
// z what its rows add to the residual; this node sums its squares.  R'R is the matrix X'X of all rows, whatever their
// order, so that a model with fewer columns can be had from R afterwards.
//
// The prior.  ZRBProcLm ends an update at a column that is all but zero (1e-10) from the diagonal down, as the column of
// a level that has not come up yet is.  The fit therefore begins with the rows kPrior * e_j for every regressor j (not
// for the intercept, whose column is never zero), and every chunk is an update of it.  Row j of R has zeros left of the
// diagonal, so an update's reflections for columns before j leave it alone and the one for column j can only make its
// diagonal entry larger, up to rounding: it stays above 1e-10 and no update ends early.
// The prior adds kPrior^2 to the diagonal of X'X.  With columns of a size of kColumnSize, as they should be scaled to,
// that is 2^-144 of the column's own entry: a rounding error in the column is 2^-53, or 2^-106 when squared.
#pragma once

#include <cstddef>
#include <vector>

#include "ZRBBuf.h"
#include "ZRBBufReader.h"
#include "ZRBProcLm.h"

namespace zrb {

class LeastSquares : public ZRBProcLm {
public:
  static constexpr double kPrior = 0x1p-32;      // 2.3e-10, above what ends an update
  static constexpr double kColumnSize = 0x1p40;  // typical size of the entries of a regressor

  // Begins afresh.
  int init() override {
    ZRBProcLm::init();
    m_rows = 0;
    m_residual = 0;
    if (!hasError()) startFromPrior(0, {}, {});
    return hasError();
  }

  // Initialises the node, but keeps the fit.  The input's buffer may have got regressors behind those it had: they count
  // as 0 in all rows so far.
  int resume() {
    const long before = columns();
    std::vector<double> factor, rhs;
    for (long j = 0; j < before; ++j) {
      for (long i = 0; i < before; ++i) factor.push_back(this->factor(i, j));
      rhs.push_back(transformedResponse(j));
    }
    ZRBProcLm::init();
    if (!hasError()) startFromPrior(before, factor, rhs);
    return hasError();
  }

  long execute() override {
    const long rows = executeRequestRows();
    if (rows < 0) return rows;
    if (rows > 0) update(rows);
    return executeReleaseRows(rows);
  }

  long columns() { return m_allocated_columns < 0 ? 0 : m_allocated_columns; }  // intercept and regressors
  long long rows() { return m_rows; }                                           // that went into the fit
  double factor(long i, long j) { return m_factor[static_cast<std::size_t>(i + j * columns())]; }
  double transformedResponse(long i) { return m_rhs[static_cast<std::size_t>(i)]; }
  double residualSumOfSquares() { return m_residual; }

private:
  void update(long rows) {
    const long p = columns();
    processChunk(rows);
    if (hasError()) return;  // no memory for so many rows
    double sum = 0;
    for (long i = p; i < p + rows; ++i) sum += m_rhs[static_cast<std::size_t>(i)] * m_rhs[static_cast<std::size_t>(i)];
    m_residual += sum;
    m_rows += rows;
  }

  // `known` columns have a triangle; the others begin with the prior.
  void startFromPrior(long known, const std::vector<double>& factor, const std::vector<double>& rhs) {
    const long p = columns();
    for (long j = 0; j < p; ++j) {
      double* const column = m_factor.get() + j * p;
      const bool isKnown = j < known;
      for (long i = 0; i < p; ++i)
        column[i] = isKnown && i < known ? factor[static_cast<std::size_t>(i + j * known)] : 0;
      if (!isKnown && j > 0) column[j] = kPrior;
      m_rhs[static_cast<std::size_t>(j)] = isKnown ? rhs[static_cast<std::size_t>(j)] : 0;
    }
    setRowsDone(p);  // the prior's rows: ZRBProcLm starts afresh where none are done
  }

  long long m_rows = 0;
  double m_residual = 0;
};

}  // namespace zrb
