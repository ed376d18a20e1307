// Draws in blocks, on any x86-64 processor.
#include "procs/random_lanes.h"

namespace random_lanes::baseline {
#include "procs/random_lanes.inc"
}
