// Bytes of words reversed, with AVX2.
#include <immintrin.h>

#include "buf/word_reversal.h"

namespace word_reversal::avx2 {
#include "buf/word_reversal.inc"
}
