// The running update of several columns abreast.
//
// One column alone waits for the division of each row before the next can start.  Lanes do not depend on each other, so
// side by side they hide that wait, and every lane keeps the order of operations of addValue in ZRBProcCount.cpp: the
// same bits on every processor.
#pragma once

namespace count_kernel {

constexpr int kLaneStep = 4;  // lanes come in multiples of this
constexpr int kMaxLanes = 16;

// The statistics of up to kMaxLanes columns, by lane.  n counts the values seen, exactly.
struct Lanes {
  double n[kMaxLanes];
  double min[kMaxLanes];
  double max[kMaxLanes];
  double mean[kMaxLanes];
  double m2[kMaxLanes];
};

// Adds `rows` rows of doubles: lane l is the l-th double of a row, rows are `strideBytes` apart and start anywhere.
// NaN is passed over.  REQUIRES: a lane with n = 0 has only NaN in these rows.
using Update = void (*)(const char* firstRow, long strideBytes, long rows, Lanes& lanes);

// Takes a factor's cells, adds the level numbers to lane 0 and counts the levels: counters[0] NA, counters[l + 1] the
// level l.  Stops before a level that has no counter or whose counter is 0; how many cells it took.
// REQUIRES: lane 0 has seen a value, or there is a counter for NA only.
using UpdateLevels = long (*)(const char* firstCell, long strideBytes, long rows, unsigned* counters,
                              unsigned long numCounters, Lanes& lanes);

// Updates by number of lanes: [0] takes kLaneStep lanes, [1] twice as many, ...  One lane has its own.
struct Updates {
  Update one;
  UpdateLevels levels;
  Update byLanes[kMaxLanes / kLaneStep];
};
extern const Updates kBaselineUpdates;
extern const Updates kAvx2Updates;

}  // namespace count_kernel
