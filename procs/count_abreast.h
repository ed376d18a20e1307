// Running statistics of many columns at once: the same results as addValue value by value, columns abreast.
#pragma once

#include <array>

#include "ZRBProcCount.h"
#include "base/simd.h"
#include "procs/count_kernels.h"
#include "procs/count_table.h"

class CountAbreast {
public:
  static constexpr long kBlockRows = 64;
  using Block = std::array<double, kBlockRows * count_kernel::kMaxLanes>;

  // Takes over the statistics of `columns` columns, 1 to kMaxLanes.
  CountAbreast(Simd simd, ZRBProcCountColumnInfo* const* infos, int columns);
  // Gives them back.
  ~CountAbreast();
  CountAbreast(const CountAbreast&) = delete;
  CountAbreast& operator=(const CountAbreast&) = delete;

  // Lanes per row of what addRows takes: one for one column, else the columns filled up to a multiple of kLaneStep.
  int lanes() const { return m_lanes; }

  // Adds rows of lanes() doubles; lanes that fill up hold NaN.
  void addRows(const char* firstRow, long strideBytes, long rows);

  // Adds a factor's cells, and counts their levels.  REQUIRES: one column.
  void addLevels(const char* firstCell, long strideBytes, long rows, CountTable& levels);

private:
  long rowsBeforeFirstValue(const char* firstRow, long strideBytes, long rows) const;
  void addRow(const char* row);
  void load();
  void store();

  count_kernel::Update m_update;
  count_kernel::UpdateLevels m_updateLevels;
  ZRBProcCountColumnInfo* const* m_infos;
  int m_columns;
  int m_lanes;
  count_kernel::Lanes m_state;
};
