// Bytes of words reversed, on any x86-64 processor.
#include "buf/word_reversal.h"

namespace word_reversal::baseline {
#include "buf/word_reversal.inc"
}
