// Draws in blocks, with AVX-512.
#include <immintrin.h>

#include "procs/random_lanes.h"

namespace random_lanes::avx512 {
#include "procs/random_lanes.inc"
}
