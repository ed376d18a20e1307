// The update of a complete triangle by a block of rows, in the first-level cache.
//
// The same reflections as fe_srif of [R; X], without the zeros below R's diagonal.  Two things differ from it, in rounding
// only, and are the same on every processor:
//  (1) Rows come in blocks of kBlockRows, each an update of its own.
//  (2) A sum over the rows of a block has kPartialSums partial sums, row i in sum i mod kPartialSums, added up in pairs:
//      ((s0 + s4) + (s2 + s6)) + ((s1 + s5) + (s3 + s7)); the row of R comes first.
// The bound of fe_srif holds as it stands: a sum of m terms so grouped errs by at most (m / 8 + 3) u relative to the sum
// of absolute values, less than the m u of row order (Higham, 2nd ed., section 4.2), and an update by blocks is a product
// of as many reflections per block as R has columns (Theorem 19.4 with the number of blocks in the constant).
#pragma once

namespace lm_kernel {

constexpr long kBlockRows = 64;
constexpr long kPartialSums = 8;

// r         p x p, row-major (a reflection changes one row of it), upper triangular, nothing zero on the diagonal.  On
//           exit the updated triangle.
// z         p.  On exit the updated right-hand side.
// x         kBlockRows x (p + 1), column-major: the block's regressors and then its responses.  On exit the last column is
//           what the block adds to the residual.
// rows      rows of the block in use, a multiple of kPartialSums; those that are not there are 0.
// products  p + 1, scratch.
using UpdateBlock = void (*)(double* r, double* z, double* x, long p, long rows, double* products);

extern const UpdateBlock kBaselineUpdate;
extern const UpdateBlock kAvx2Update;
extern const UpdateBlock kAvx512Update;

}  // namespace lm_kernel
