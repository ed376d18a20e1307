#include "procs/lm_kernels.h"

namespace {
constexpr long kVectorBytes = 32;
constexpr long kColumnsAbreast = 2;  // as many as the registers hold
}  // namespace
#include "procs/lm_kernels.inc"

const lm_kernel::UpdateBlock lm_kernel::kAvx2Update = updateBlock;
