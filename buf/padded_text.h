// Text cells as they mostly are, a text with nothing but zeros behind it, copied without a walk along the text.
#pragma once

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace padded_text {

constexpr long kLeastBytes = 4;
constexpr long kMostBytes = 64;

// Whether the bytes that are zero, a bit for each of `width`, are all those from the first one on; at least one is.
inline bool isPadded(std::uint64_t zeros, long width) {
  const std::uint64_t first = zeros & (~zeros + 1);
  return zeros != 0 && zeros + first == (width < 64 ? 1UL << width : 0UL);
}

inline std::uint64_t zerosOf(__m128i bytes) {
  return static_cast<std::uint64_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_setzero_si128())));
}

// Copies `width` bytes, in blocks of 16 of which the last may overlap the one before.  False, and nothing copied, unless
// they are a padded text.
template <std::size_t kBlocks>
bool copyBlocks(const char* from, char* to, long width) {
  __m128i blocks[kBlocks];
  std::uint64_t zeros = 0;
  const auto at = [width](std::size_t block) {
    return block < kBlocks - 1 ? 16 * static_cast<long>(block) : width - 16;
  };
  for (std::size_t i = 0; i < kBlocks; ++i) {
    std::memcpy(&blocks[i], from + at(i), 16);
    zeros |= zerosOf(blocks[i]) << at(i);
  }
  if (!isPadded(zeros, width)) return false;
  for (std::size_t i = 0; i < kBlocks; ++i) std::memcpy(to + at(i), &blocks[i], 16);
  return true;
}

// The same for sizeof(Half) to 2 sizeof(Half) - 1 bytes, in two moves.
template <class Half>
bool copyHalves(const char* from, char* to, long width) {
  constexpr long kHalfBytes = sizeof(Half);
  Half halves[2];
  std::memcpy(&halves[0], from, sizeof(Half));
  std::memcpy(&halves[1], from + width - kHalfBytes, sizeof(Half));
  const __m128i both = sizeof(Half) == 8
                           ? _mm_set_epi64x(static_cast<long long>(halves[1]), static_cast<long long>(halves[0]))
                           : _mm_set_epi32(-1, static_cast<int>(halves[1]), -1, static_cast<int>(halves[0]));
  const std::uint64_t zeros = zerosOf(both);
  constexpr std::uint64_t kHalf = (std::uint64_t{1} << kHalfBytes) - 1;
  if (!isPadded((zeros & kHalf) | (zeros >> 8 & kHalf) << (width - kHalfBytes), width)) return false;
  std::memcpy(to, &halves[0], sizeof(Half));
  std::memcpy(to + width - kHalfBytes, &halves[1], sizeof(Half));
  return true;
}

// Calls use(copy) with what copies `width` bytes; false when the width is out of bounds.
template <class Use>
bool withCopy(long width, Use use) {
  if (width < kLeastBytes || width > kMostBytes) return false;
  if (width < 8)
    use([](const char* from, char* to, long w) { return copyHalves<std::uint32_t>(from, to, w); });
  else if (width < 16)
    use([](const char* from, char* to, long w) { return copyHalves<std::uint64_t>(from, to, w); });
  else if (width == 16)
    use([](const char* from, char* to, long) { return copyBlocks<1>(from, to, 16); });
  else if (width <= 32)
    use([](const char* from, char* to, long w) { return copyBlocks<2>(from, to, w); });
  else if (width <= 48)
    use([](const char* from, char* to, long w) { return copyBlocks<3>(from, to, w); });
  else
    use([](const char* from, char* to, long w) { return copyBlocks<4>(from, to, w); });
  return true;
}

}  // namespace padded_text
