// Reverses the bytes of 8-byte words in rows.  Wider vectors than those of AVX2 gain nothing.
#pragma once

namespace word_reversal {

constexpr long kWordBytes = 8;
constexpr long kMostWords = 16;  // of a row at once

// The same 1 to kMostWords neighbouring words in each of some rows.
struct WordRows {
  char* words;
  long count;
  long rowBytes;
  long rows;
};

// In place.
using Reverse = void (*)(const WordRows& at);

namespace baseline {
void reverse(const WordRows& at);
}
namespace avx2 {
void reverse(const WordRows& at);
}

}  // namespace word_reversal
