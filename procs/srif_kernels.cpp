// How is a stack of rows made triangular, and the triangle solved?
#include <algorithm>
#include <cmath>

#include "ZRBProcLm.h"
#include "procs/srif_kernels.h"

namespace {

double largestAbsolute(const double* values, long count) {
  double largest = 0.0;
  for (long i = 0; i < count; ++i) largest = std::max(largest, std::fabs(values[i]));
  return largest;
}

// The Euclidean norm, scaled by the largest entry against overflow.  Deliberate: by its reciprocal.  Pinned by "the norm
// is scaled by multiplication with the reciprocal".
double scaledNorm(const double* values, long count, double largest) {
  const double scale = 1.0 / largest;
  double sum = 0.0;
  for (long i = 0; i < count; ++i) {
    const double scaled = values[i] * scale;
    sum += scaled * scaled;
  }
  return largest * std::sqrt(sum);
}

// Reflects one column: `target` holds the entries from the diagonal row down, v = (u, tail) is the reflection vector.
void reflect(double u, const double* tail, long tailCount, double beta, double* target) {
  double sum = u * target[0];
  for (long i = 0; i < tailCount; ++i) sum += tail[i] * target[i + 1];
  const double t = beta * sum;
  if (t == 0.0) return;
  target[0] += t * u;
  for (long i = 0; i < tailCount; ++i) target[i + 1] += t * tail[i];
}

}  // namespace

// Deliberate: n rows are zeroed even of a matrix that has fewer, which reaches into the columns behind.  Pinned by "with
// fewer rows than columns the zeros reach into the columns behind".
void fe_srif(double* a, long* m, long* n, double* tol, double* b, long* info) {
  triangularise(a, *m, *n, *tol, b, *info, *n);
}

void triangularise(double* a, long rows, long columns, double tolerance, double* b, long& info, long rowsOfR) {
  for (long j = 0; j < columns; ++j) {
    const long below = rows - j;  // entries from the diagonal down
    double* const diagonal = a + j * rows + j;
    const double largest = below > 0 ? largestAbsolute(diagonal, below) : 0.0;
    if (below < 1 || largest <= tolerance) {
      info = 1;
      return;
    }
    const double norm = scaledNorm(diagonal, below, largest);
    const double alpha = *diagonal > 0.0 ? -norm : norm;
    const double u = *diagonal - alpha;
    const double beta = 1.0 / (alpha * u);
    for (long c = j + 1; c < columns; ++c) reflect(u, diagonal + 1, below - 1, beta, a + c * rows + j);
    reflect(u, diagonal + 1, below - 1, beta, b + j);
    *diagonal = alpha;
    // Deliberate: only the rows of R.  Pinned by "rows of R are zero below the diagonal and further rows keep the
    // reflection".
    std::fill(diagonal + 1, diagonal + rowsOfR - j, 0.0);
  }
}

void fe_solve(double* r, long* n, double* z, double* x) {
  const long size = *n;
  for (long i = size - 1; i >= 0; --i) {
    double sum = 0.0;
    for (long j = i + 1; j < size; ++j) sum += r[i + j * size] * x[j];
    x[i] = (z[i] - sum) / r[i + i * size];
  }
}
