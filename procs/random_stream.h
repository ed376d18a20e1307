// The random reader's stream of draws.
#pragma once

#include "base/simd.h"
#include "procs/random_lanes.h"

namespace random_stream {

// The generator between two draws.
struct State {
  unsigned long congruential;
  unsigned long shiftRegister;
};

constexpr void step(State& state) {
  state.congruential *= random_lanes::kMultiplier;
  state.shiftRegister ^= state.shiftRegister >> 15;
  state.shiftRegister ^= state.shiftRegister << 17;
}

inline double draw(State& state) {
  unsigned long bits;
  do {
    step(state);
    bits = (state.shiftRegister ^ state.congruential) >> 1;
  } while (bits == 0);
  return static_cast<double>(static_cast<long>(bits)) * random_lanes::kDrawScale;
}

// The draws that draw() gives, many at a time.
class Blocks {
public:
  Blocks(const State& state, Simd simd);

  // Stores the next `count` draws, at most kBlockDraws, as doubles at `draws`, which has room for kBlockDraws.  Returns the
  // least of them, or a lower draw that follows them.
  double draw(char* draws, int count);

  // The generator after the draws so far.
  const State& state() const { return m_state; }

private:
  double drawSingly(char* draws, int count);
  void toLanes();
  State stateInBlock(int draws) const;

  random_lanes::DrawBlock m_draw_block;
  State m_state;
  random_lanes::Lanes m_lanes;  // of the block that begins at m_state, where m_in_lanes
  bool m_in_lanes;
};

}  // namespace random_stream
