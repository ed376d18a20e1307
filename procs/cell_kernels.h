// The cells of a table of counters, found for several rows at a time.
#pragma once

#include <cstdint>

namespace cell_kernel {

// Takes one more position into the cells of `rows` rows: cell = cell * width + slot.  On entry `slots` holds the level
// codes as rows do, high byte first; on exit 0 for NA and otherwise the level + 1.  Returns the greatest slot.
using AddPosition = std::uint16_t (*)(std::uint16_t* slots, long rows, std::uint32_t width, std::uint32_t* cells);

extern const AddPosition kBaselineAddPosition;
extern const AddPosition kAvx2AddPosition;

}  // namespace cell_kernel
