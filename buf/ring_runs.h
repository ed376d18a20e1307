// The wrap arithmetic of a ring of rows, once.
#pragma once

#include <algorithm>

// Splits `count` rows from `ringRow` on into runs that do not wrap, and calls run(firstRingRow, rows) for each.
template <class Run>
void forEachRun(long ringRow, long count, long capacity, Run run) {
  while (count > 0) {
    const long rows = std::clamp(capacity - ringRow, 1L, count);
    run(ringRow, rows);
    count -= rows;
    ringRow = 0;
  }
}

// The same over two rings at once: run(sourceRingRow, targetRingRow, rows).
template <class Run>
void forEachRun(long sourceRow, long sourceCapacity, long targetRow, long targetCapacity, long count, Run run) {
  forEachRun(sourceRow, count, sourceCapacity, [&](long source, long sourceRows) {
    forEachRun(targetRow, sourceRows, targetCapacity, [&](long target, long rows) {
      run(source, target, rows);
      source += rows;
      targetRow = target + rows == targetCapacity ? 0 : target + rows;
    });
  });
}
