// The random reader's generator, a block of draws at a time.
//
// The generator combines two sequences of 64-bit integers: a multiplicative congruential one, c' = 69069 c, and a
// xor-shift one, x ^= x >> 15, x ^= x << 17 (G. Marsaglia, "Xorshift RNGs", J. Stat. Software 8(14), 2003, names the
// family).  A draw is ((x ^ c) >> 1) * 2^-31, drawn again while it is 0.
//
// Each step needs the one before, so a block is divided among lanes, each of which steps through a stretch of its own.
// Both sequences are linear, which is how a lane gets to its start: k steps multiply c by the k-th power of 69069 modulo
// 2^64, and x, taken as 64 bits, by the k-th power of a bit matrix.
#pragma once

namespace random_lanes {

constexpr int kLanes = 8;
constexpr int kLaneDraws = 128;
constexpr int kBlockDraws = kLanes * kLaneDraws;

constexpr unsigned long kMultiplier = 69069;
constexpr double kDrawScale = 0x1p-31;
constexpr double kMaxDraw = 0x1p32;

// Lane i stands before draw i * kLaneDraws of its block.
struct alignas(64) Lanes {
  unsigned long congruential[kLanes];
  unsigned long shiftRegister[kLanes];
};

// Stores kBlockDraws doubles at `draws`, in stream order, and moves every lane kLaneDraws steps on.  Returns the least
// draw: 0 where the generator draws again, which a block does not.
using DrawBlock = double (*)(Lanes& lanes, char* draws);

namespace baseline {
double drawBlock(Lanes& lanes, char* draws);
}
namespace avx2 {
double drawBlock(Lanes& lanes, char* draws);
}
namespace avx512 {
double drawBlock(Lanes& lanes, char* draws);
}

}  // namespace random_lanes
