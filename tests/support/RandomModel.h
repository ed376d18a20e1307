// The random reader's stream, computed a second time: a multiplicative congruential generator combined with a xor-shift.
#pragma once

#include <cmath>
#include <cstdint>

class RandomModel {
public:
  explicit RandomModel(long seed) {
    const std::uint64_t steps = (std::uint64_t{1} << 20) * static_cast<std::uint64_t>(seed);
    m_congruential = 1803752341u * power(kMultiplier, steps);
  }

  // One draw, greater than 0 and at most 2^32.
  double draw() {
    while (true) {
      const std::uint64_t r = combined() >> 1;
      ++m_steps;
      if (r != 0) return std::ldexp(static_cast<double>(r), -31);
    }
  }
  // Generator steps so far: more than draws where one was 0.
  long long steps() const { return m_steps; }

  // The index into the node's tables that a draw selects.
  static int tableIndex(double draw) {
    const double fifths = draw / 0.2;
    if (fifths >= 2147483648.0) return 0;
    const int index = static_cast<int>(fifths);
    return index >= 4 ? 0 : index;
  }

  // A seed from 1 to 2^42 whose step number `step` (from 0) gives r with the upper 42 of its 63 bits as in `r`; the
  // lower 21 bits depend on the step alone.
  //
  // After seeding, the congruential state is 1803752341 g^seed with g = 69069^(2^20), which is 1 modulo 2^22 but not
  // modulo 2^23: the powers of g are all 2^42 numbers that are 1 modulo 2^22.  So at any step the upper 42 bits can be
  // had at will, and the exponent follows bit by bit, g^(2^b) changing bit 22 + b first.
  static long seedFor(long long step, std::uint64_t r) {
    RandomModel model(0);
    std::uint64_t origin = model.m_congruential;  // the state at this step, were the seed 0
    std::uint64_t shifted = kShiftOrigin;
    for (long long i = 0; i <= step; ++i) {
      origin *= kMultiplier;
      shifted = nextShift(shifted);
    }
    const std::uint64_t upper = ((r << 1) ^ shifted) & ~kLowBits;
    const std::uint64_t state = upper | (origin & kLowBits);
    const std::uint64_t wanted = state * inverse(origin);  // g^seed
    std::uint64_t reached = 1;
    std::uint64_t factor = power(kMultiplier, std::uint64_t{1} << 20);
    std::uint64_t seed = 0;
    for (int bit = 0; bit < 42; ++bit) {
      if (((reached ^ wanted) >> (22 + bit)) & 1) {
        seed |= std::uint64_t{1} << bit;
        reached *= factor;
      }
      factor *= factor;
    }
    return seed ? static_cast<long>(seed) : long{1} << 42;
  }

  // The first step, from `from` on, whose lower 21 bits of r are 0 with every seed.
  static long long stepWithLowBitsZero(long long from) {
    RandomModel model(0);
    for (long long step = 0;; ++step) {
      const std::uint64_t r = model.combined() >> 1;
      if (step >= from && (r & (kLowBits >> 1)) == 0) return step;
    }
  }

private:
  static constexpr std::uint64_t kMultiplier = 69069;
  static constexpr std::uint64_t kShiftOrigin = 0xDC5E45A0u;
  static constexpr std::uint64_t kLowBits = (std::uint64_t{1} << 22) - 1;

  static std::uint64_t power(std::uint64_t base, std::uint64_t exponent) {
    std::uint64_t result = 1;
    for (; exponent != 0; exponent >>= 1) {
      if (exponent & 1) result *= base;
      base *= base;
    }
    return result;
  }
  // Of an odd number modulo 2^64: Newton's iteration doubles the right bits, of which the number itself has 3.
  static std::uint64_t inverse(std::uint64_t odd) {
    std::uint64_t result = odd;
    for (int i = 0; i < 5; ++i) result *= 2 - odd * result;
    return result;
  }
  static std::uint64_t nextShift(std::uint64_t x) {
    x ^= x >> 15;
    x ^= x << 17;
    return x;
  }
  std::uint64_t combined() {
    m_congruential *= kMultiplier;
    m_shift = nextShift(m_shift);
    return m_shift ^ m_congruential;
  }

  std::uint64_t m_congruential;
  std::uint64_t m_shift = kShiftOrigin;
  long long m_steps = 0;
};
