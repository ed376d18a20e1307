// Which vector instructions this processor has.
//
// A kernel is one source, name.inc, compiled once per target: name_baseline.cpp, name_avx2.cpp and name_avx512.cpp each
// include it inside a namespace of their own, and the build gives each file its target's options.  Such a source includes
// nothing that the library shares (an inline function compiled for a newer processor could end up in everybody's hands)
// and keeps everything but its entry point in an unnamed namespace.  All targets give the same bits.
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
