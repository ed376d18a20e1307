// What the tool accepts at most.
#pragma once

namespace zrbtool {

// Different texts of a factor column.
inline constexpr long kMostLevels = 65534;

// Width of a string column, its terminator included.
inline constexpr long kLeastStringBytes = 4;
inline constexpr long kMostStringBytes = 1 << 20;

// Variables of a cross-tabulation, and cells of its table.
inline constexpr long kMostCrossColumns = 10;
inline constexpr long long kMostCrossCells = 1'000'000;

}  // namespace zrbtool
