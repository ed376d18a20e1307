// The random reader's stream in the plainest way: one draw after the other.
#pragma once

#include <cstdint>

namespace bench {

class PlainGenerator {
public:
  explicit PlainGenerator(std::uint64_t seed) {
    std::uint64_t factor = 69069;
    for (std::uint64_t steps = seed << 20; steps != 0; steps >>= 1) {
      if (steps & 1) m_congruential *= factor;
      factor *= factor;
    }
  }

  double draw() {
    std::uint64_t r;
    do {
      m_congruential *= 69069;
      m_shift ^= m_shift >> 15;
      m_shift ^= m_shift << 17;
      r = (m_shift ^ m_congruential) >> 1;
    } while (r == 0);
    return static_cast<double>(static_cast<std::int64_t>(r)) * 0x1p-31;
  }

private:
  std::uint64_t m_congruential = 1803752341;
  std::uint64_t m_shift = 3697165728;
};

}  // namespace bench
