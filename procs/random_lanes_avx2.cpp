// Draws in blocks, with AVX2.
#include <immintrin.h>

#include "procs/random_lanes.h"

namespace random_lanes::avx2 {
#include "procs/random_lanes.inc"
}
