// Random numbers that are the same in every run and on every machine.
#pragma once

#include <cmath>
#include <cstdint>

namespace bench {

// splitmix64 (G. Steele, D. Lea, C. Flood, "Fast Splittable Pseudorandom Number Generators", OOPSLA 2014).
class FixedRandom {
public:
  explicit FixedRandom(std::uint64_t seed) : m_state(seed) {}

  std::uint64_t next() {
    std::uint64_t z = m_state += 0x9E3779B97F4A7C15;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
    return z ^ (z >> 31);
  }
  // In [0, 1).
  double uniform() { return static_cast<double>(next() >> 11) * 0x1p-53; }
  long below(long limit) { return static_cast<long>(next() % static_cast<std::uint64_t>(limit)); }
  bool chance(double probability) { return uniform() < probability; }
  // Of mean 0 and deviation 1 (Box and Muller).
  double normal() {
    const double radius = std::sqrt(-2 * std::log(1 - uniform()));
    return radius * std::cos(6.283185307179586 * uniform());
  }

private:
  std::uint64_t m_state;
};

}  // namespace bench
