// What the tool accepts at most.
#pragma once

#include <cstddef>

namespace zrbtool {

// Bytes of a CSV record that has not ended, give or take a block.
inline constexpr std::size_t kLongestRecord = std::size_t{4} << 20;

// Different texts of a factor column.
inline constexpr long kMostLevels = 65534;

// Width of a string column, its terminator included.
inline constexpr long kLeastStringBytes = 4;
inline constexpr long kMostStringBytes = 1 << 20;

// Bytes of a blob's record around its data.
inline constexpr long long kBlobMarkBytes = 24;

// A row of a .zrb file, and the schema file beside it.
inline constexpr long long kMostRowBytes = 16LL << 20;
inline constexpr long long kMostSchemaBytes = 32LL << 20;

// Variables of a cross-tabulation, and cells of its table.
inline constexpr long kMostCrossColumns = 10;
inline constexpr long long kMostCrossCells = 1'000'000;

}  // namespace zrbtool
