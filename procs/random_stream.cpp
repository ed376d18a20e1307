// How does a lane of the generator get to its place, and what does a block mean for the generator?
#include "procs/random_stream.h"

#include <algorithm>

#include "buf/cell_codec.h"

namespace random_stream {

namespace {

using namespace random_lanes;

// Fewer draws come sooner one by one than as part of a block.
constexpr int kWorthABlock = kBlockDraws / 3;

// A power of the generator's step.
class Jump {
public:
  // `advance` takes a state as many steps on.
  template <class Advance>
  constexpr explicit Jump(Advance advance) : m_factor(0), m_images() {
    for (int bit = 0; bit < 64; ++bit) {
      State state{1, 1UL << bit};
      advance(state);
      m_factor = state.congruential;
      // The image of some bits is the sum of their images.
      for (int value = 0; value < kGroupValues; ++value)
        if (value >> bit % kGroupBits & 1) m_images[bit / kGroupBits][value] ^= state.shiftRegister;
    }
  }

  constexpr void operator()(unsigned long& congruential, unsigned long& shiftRegister) const {
    congruential *= m_factor;
    unsigned long image = 0;
    for (int group = 0; group < kGroups; ++group)
      image ^= m_images[group][shiftRegister >> group * kGroupBits & (kGroupValues - 1)];
    shiftRegister = image;
  }

private:
  static constexpr int kGroupBits = 4;
  static constexpr int kGroups = 64 / kGroupBits;
  static constexpr int kGroupValues = 1 << kGroupBits;

  unsigned long m_factor;
  unsigned long m_images[kGroups][kGroupValues];  // of the shift register's bits, taken in groups
};

constexpr Jump kToNextLane([](State& state) {
  for (int i = 0; i < kLaneDraws; ++i) step(state);
});
// A block leaves each lane where the next lane began.
constexpr Jump kToNextBlock([](State& state) {
  for (int i = 0; i < kLanes - 1; ++i) kToNextLane(state.congruential, state.shiftRegister);
});

DrawBlock drawBlockFor(Simd simd) {
  return kernelFor<DrawBlock>(simd, baseline::drawBlock, avx2::drawBlock, avx512::drawBlock);
}

}  // namespace

Blocks::Blocks(const State& state, Simd simd)
    : m_draw_block(drawBlockFor(simd)), m_state(state), m_lanes(), m_in_lanes(false) {}

double Blocks::draw(char* draws, int count) {
  if (count < kWorthABlock) return drawSingly(draws, count);
  if (!m_in_lanes) toLanes();
  Lanes lanes = m_lanes;
  const double least = m_draw_block(lanes, draws);
  if (least == 0) return drawSingly(draws, count);
  if (count < kBlockDraws) {
    m_state = stateInBlock(count);
    m_in_lanes = false;
    return least;
  }
  for (int i = 0; i < kLanes; ++i) kToNextBlock(lanes.congruential[i], lanes.shiftRegister[i]);
  m_lanes = lanes;
  m_state = {lanes.congruential[0], lanes.shiftRegister[0]};
  return least;
}

double Blocks::drawSingly(char* draws, int count) {
  m_in_lanes = false;
  double least = kMaxDraw;
  for (int i = 0; i < count; ++i) {
    const double value = random_stream::draw(m_state);
    least = std::min(least, value);
    cell::store(draws + i * 8, value);
  }
  return least;
}

void Blocks::toLanes() {
  State lane = m_state;
  for (int i = 0; i < kLanes; ++i) {
    m_lanes.congruential[i] = lane.congruential;
    m_lanes.shiftRegister[i] = lane.shiftRegister;
    kToNextLane(lane.congruential, lane.shiftRegister);
  }
  m_in_lanes = true;
}

// The generator after `draws` draws, below kBlockDraws, of the block that begins at m_lanes.
State Blocks::stateInBlock(int draws) const {
  const int lane = draws / kLaneDraws;
  State state{m_lanes.congruential[lane], m_lanes.shiftRegister[lane]};
  for (int i = 0; i < draws % kLaneDraws; ++i) step(state);
  return state;
}

}  // namespace random_stream
