// Which vector instructions this processor has.
//
// A kernel is one source, name.inc, compiled once per target: name_baseline.cpp, name_avx2.cpp and, where it pays,
// name_avx512.cpp include it, and the build gives each file its target's options.  Each shows its entry points as a
// constant of its own name or in a namespace of its own; everything else is in an unnamed namespace.  Such a source
// includes nothing that the library shares: an inline function compiled for a newer processor could end up in everybody's
// hands.  All targets give the same bits.
#pragma once

enum class Simd { baseline, avx2, avx512 };

// The best that the processor can do.
inline Simd bestSimd() {
  static const Simd best = [] {
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl") &&
        __builtin_cpu_supports("avx512bw"))
      return Simd::avx512;
    return __builtin_cpu_supports("avx2") ? Simd::avx2 : Simd::baseline;
  }();
  return best;
}

// Of the targets that a kernel is compiled for, the best that `simd` has.
template <class Kernel>
const Kernel& kernelFor(Simd simd, const Kernel& baseline, const Kernel& avx2) {
  return simd == Simd::baseline ? baseline : avx2;
}
template <class Kernel>
const Kernel& kernelFor(Simd simd, const Kernel& baseline, const Kernel& avx2, const Kernel& avx512) {
  return simd == Simd::avx512 ? avx512 : kernelFor(simd, baseline, avx2);
}
