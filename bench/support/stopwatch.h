// Adds up the time of short laps, from below a microsecond on.
#pragma once

#include <x86intrin.h>

#include <chrono>
#include <cstdint>

namespace bench {

// The processor's time stamp counter, which runs at a constant rate, against the system's clock.
struct TimeStampClock {
  double ticksPerNs;
  std::uint64_t emptyLapTicks;  // what a lap without work shows

  static std::uint64_t before() {
    _mm_lfence();
    const std::uint64_t ticks = __rdtsc();
    _mm_lfence();
    return ticks;
  }
  static std::uint64_t after() {
    unsigned processor;
    const std::uint64_t ticks = __rdtscp(&processor);  // waits for the work before it
    _mm_lfence();
    return ticks;
  }

  static const TimeStampClock& get() {
    static const TimeStampClock clock = calibrate();
    return clock;
  }

private:
  static TimeStampClock calibrate() {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    const std::uint64_t startTicks = before();
    std::uint64_t emptyLap = ~std::uint64_t{0};
    Clock::time_point end;
    do {
      const std::uint64_t lapStart = before();
      const std::uint64_t lap = after() - lapStart;
      if (lap < emptyLap) emptyLap = lap;
      end = Clock::now();
    } while (end - start < std::chrono::milliseconds(50));
    const double ticks = static_cast<double>(after() - startTicks);
    return {ticks / static_cast<double>(std::chrono::nanoseconds(end - start).count()), emptyLap};
  }
};

class Stopwatch {
public:
  void start() { m_started = TimeStampClock::before(); }
  void stop() {
    m_ticks += static_cast<double>(TimeStampClock::after() - m_started);
    ++m_laps;
  }

  // Of all laps, without what the empty laps would show.
  double ns() const {
    const TimeStampClock& clock = TimeStampClock::get();
    const double ticks = m_ticks - static_cast<double>(m_laps) * static_cast<double>(clock.emptyLapTicks);
    return (ticks > 0 ? ticks : 0) / clock.ticksPerNs;
  }

private:
  std::uint64_t m_started = 0;
  double m_ticks = 0;
  long m_laps = 0;
};

}  // namespace bench
