// The targets whose kernels this processor runs.
#pragma once

#include <vector>

#include "base/simd.h"

inline std::vector<Simd> runnableTargets() {
  std::vector<Simd> targets;
  for (const Simd simd : {Simd::baseline, Simd::avx2, Simd::avx512})
    if (simd <= bestSimd()) targets.push_back(simd);
  return targets;
}

inline const char* nameOf(Simd simd) {
  switch (simd) {
    case Simd::avx512:
      return "AVX-512";
    case Simd::avx2:
      return "AVX2";
    default:
      return "baseline";
  }
}
