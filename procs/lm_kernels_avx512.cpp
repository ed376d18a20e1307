#include "procs/lm_kernels.h"

namespace {
constexpr long kVectorBytes = 64;
constexpr long kColumnsAbreast = 4;  // as many as the registers hold
}  // namespace
#include "procs/lm_kernels.inc"

const lm_kernel::UpdateBlock lm_kernel::kAvx512Update = updateBlock;
