// The running statistics of one column.
#pragma once

#include <cmath>

#include "ZRBProcCount.h"

// Adds one value.  Welford's update (Technometrics 4(3), 1962, p. 419); n already counts x:
//   mean' = mean + (x - mean) / n        m2' = m2 + (x - mean) (x - mean')
// Relative error of m2 is at most about n kappa u, kappa = sqrt(1 + n mean^2 / m2), u = 2^-53 (Chan, Golub, LeVeque,
// Amer. Statistician 37, 1983).  Row order is part of the result: do not pair, reorder or fuse.
inline void addValue(ZRBProcCountColumnInfo& info, double x) {
  if (std::isnan(x)) {
    ++info.count_na;
    return;
  }
  if (info.count_ok == 0) {
    info.min = info.max = info.mean = x;
    info.m2 = 0.0;
  } else {
    if (x < info.min)
      info.min = x;
    else if (x > info.max)
      info.max = x;
    const double mean = info.mean;
    info.mean = mean + (x - mean) / static_cast<double>(info.count_ok + 1);
    info.m2 += (x - mean) * (x - info.mean);
  }
  ++info.count_ok;
}
