// The numbers of rows in the byte order of files, and back.
#pragma once

#include "base/simd.h"

class ZRBBuf;

// Reverses the bytes of every 8-byte number of `count` rows from `ringRow` on, wrapping at the ring's end.
// REQUIRES: a capacity of at least 1.
void reverseNumbers(ZRBBuf& buf, long ringRow, long count, Simd simd = bestSimd());

// The same, number by number.
void reverseNumbersSingly(ZRBBuf& buf, long ringRow, long count);
