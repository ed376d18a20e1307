#include "procs/cell_kernels.h"

#include "procs/cell_kernels.inc"

const cell_kernel::AddPosition cell_kernel::kBaselineAddPosition = addPosition;
