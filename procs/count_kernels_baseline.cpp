#include "procs/count_kernels.h"

namespace {
constexpr unsigned long kVectorBytes = 16;
}
#include "procs/count_kernels.inc"

const count_kernel::Updates count_kernel::kBaselineUpdates = {
    updateOne, updateLevels, {update<4>, update<8>, update<12>, update<16>}};
