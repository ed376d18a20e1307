#pragma once

#include <memory>

#include "ZRBProc.h"
#include "export.h"

// A sink that fits a linear model by least squares without keeping the rows: one input, no output.
//
// Input column 0 is the response, the others are the regressors; there is always an intercept.  The fit is a square-root
// information filter (G. J. Bierman, "Factorization Methods for Discrete Sequential Estimation", 1977): an upper
// triangular factor R and a transformed right-hand side z with R x = z, updated from every chunk by Householder
// reflections of the stacked rows [R z; X y].  The fit of all rows so far does not depend on how they were cut into
// chunks, except for rounding.
//
// Every column is read as a double.  NA is not treated specially and spoils the fit.  A column that is all but zero
// below the diagonal (1e-10) stops an update silently: scale the columns, and leave constant ones out.  Until R has a
// full diagonal, a column that is constant so far even costs the columns behind it rows of the chunk: begin with a chunk
// in which the columns are independent (docs/numerics.md).
// Properties: "calculate.results", "num.results", "result".
class ZRB_EXPORT ZRBProcLm : public ZRBProc {
public:
  ZRBProcLm();
  ~ZRBProcLm() override;
  // Sizes the arrays for the input's columns p and the node's getNumRows(); unchanged sizes keep them and the results.
  int init() override;
  void setProperty(ZRBPropertyInfo* info) override;
  void getProperty(ZRBPropertyInfo* info) override;
  long execute() override;

  // Updates the fit with the first `rows` rows of the input's chunk.  The first update since init() (no rows done)
  // starts afresh.
  void processChunk(long rows);
  // Solves for the coefficients of the rows done; all 0 before the first.
  void calcResults();
  long getNumResults();          // the input's columns now (without an input, p); 0 before the first row
  double getResult(long index);  // intercept, then one per regressor, as of the latest calcResults(); 0.0 outside

protected:
  std::unique_ptr<double[]> m_work;     // (row capacity + p) x p or more: scratch of an update
  std::unique_ptr<double[]> m_rhs;      // row capacity + p: z and, after a later update of k rows, k numbers the
                                        // squares of which that update added to the residual sum of squares
  std::unique_ptr<double[]> m_factor;   // R, p x p, column-major
  std::unique_ptr<double[]> m_results;  // p
  long m_allocated_rows;                // row capacity of the arrays; -1 = none yet
  long m_allocated_columns;             // p of the arrays; -1 = none yet

private:
  struct ZRB_HIDDEN Properties;
  ZRB_HIDDEN bool ensureArrays(long rowCapacity, long columns);
  ZRB_HIDDEN bool isTriangleComplete();
  ZRB_HIDDEN bool updateByBlocks(ZRBBufReader& reader, long rows);
};

// Householder triangularisation of a matrix and its right-hand side, in place.
//
//   a     m x n, column-major, leading dimension m.  On exit the upper triangle of the top n rows is R with R'R = A'A;
//         below the diagonal those rows are 0; further rows hold the reflections.
//   b     m.  On exit Q'b.
//   tol   a column whose entries from the diagonal down are all at most tol in size ends the work.
//   info  set to 1 in that case, else left alone.  The remaining columns are left as they stand.
//
// With m < n the columns from m on have no entries from the diagonal down and end the work.  The zeros are then written
// below the diagonal as if a column had n rows, over the beginning of the columns behind it; never outside the matrix.
// Nothing happens for n < 1.
// Computed R is exact for A + E, ||e_j|| <= c m n u ||a_j|| by column, u = 2^-53 (Higham, Accuracy and Stability of
// Numerical Algorithms, 2nd ed., Theorem 19.4).
ZRB_EXPORT void fe_srif(double* a, long* m, long* n, double* tol, double* b, long* info);

// Back substitution: x with R x = z.
//
//   r  n x n, column-major, upper triangular; what is below the diagonal is not read.  A zero on the diagonal divides.
//   z  n
//   x  n; may be z.  Nothing happens for n < 1.
ZRB_EXPORT void fe_solve(double* r, long* n, double* z, double* x);
