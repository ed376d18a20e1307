// What a count node is to find, computed in the plainest way; and the fastest loop that gives the same bits.
#pragma once

#include <immintrin.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "answers.h"
#include "packed_rows.h"
#include "zrbbase.h"

namespace bench {

// Welford's update, value by value.
struct RunningStatistics {
  double min = std::numeric_limits<double>::quiet_NaN();
  double max = min, mean = min, m2 = min;
  long long countNA = 0, countOK = 0;

  void add(double x) {
    if (x != x) {
      ++countNA;
      return;
    }
    if (countOK == 0) {
      min = max = mean = x;
      m2 = 0;
    } else {
      if (x < min)
        min = x;
      else if (x > max)
        max = x;
      const double old = mean;
      mean = old + (x - old) / static_cast<double>(countOK + 1);
      m2 += (x - old) * (x - mean);
    }
    ++countOK;
  }
  double stdDev() const {
    return countOK > 1    ? std::sqrt(m2 / static_cast<double>(countOK - 1))
           : countOK == 1 ? 0.0
                          : std::numeric_limits<double>::quiet_NaN();
  }

  void requireSame(const RunningStatistics& found, const char* what) const {
    requireSameBits(found.min, min, what);
    requireSameBits(found.max, max, what);
    requireSameBits(found.mean, mean, what);
    requireSameBits(found.m2, m2, what);
    requireEqual(found.countNA, countNA, what);
    requireEqual(found.countOK, countOK, what);
  }
};

// Of one column of the rows, taken in rounds until `rowsTaken`.  The mean and the deviation of the first
// round are held against two passes in extended precision.
inline RunningStatistics expectedStatistics(const PackedRows& rows, long column, long rowsTaken) {
  RunningStatistics running;
  long double sum = 0, squares = 0;
  const long firstRound = std::min(rows.numRows(), rowsTaken);
  for (long row = 0; row < firstRound; ++row) {
    const double x = rows.measured(row, column);
    running.add(x);
    if (x == x) sum += static_cast<long double>(x);
  }
  if (running.countOK > 1) {
    const long double count = static_cast<long double>(running.countOK);
    const long double mean = sum / count;
    for (long row = 0; row < firstRound; ++row) {
      const double x = rows.measured(row, column);
      const long double deviation = static_cast<long double>(x) - mean;
      if (x == x) squares += deviation * deviation;
    }
    // The running update loses about a rounding per row: of the mean relative to the size of the values, and of the
    // squares kappa times that, kappa being the ratio of the size to the deviation.
    const long double deviation = std::sqrt(squares / count);
    const long double size = deviation + std::fabs(mean);
    const long double allowed = count * 0x1p-52L;
    if (std::fabs(static_cast<long double>(running.mean) - mean) > allowed * size ||
        std::fabs(static_cast<long double>(running.m2) - squares) * deviation > allowed * squares * size)
      fail("column %ld: the running update is off", column);
  }
  for (long row = firstRound; row < rowsTaken; ++row) running.add(rows.measured(row % rows.numRows(), column));
  return running;
}

inline void checkStatistics(ZRBProcCount& node, long column, const RunningStatistics& expected) {
  requireSameBits(node.getMin(static_cast<int>(column)), expected.min, "minimum");
  requireSameBits(node.getMax(static_cast<int>(column)), expected.max, "maximum");
  requireSameBits(node.getMean(static_cast<int>(column)), expected.mean, "mean");
  requireSameBits(node.getStdDev(static_cast<int>(column)), expected.stdDev(), "standard deviation");
  requireEqual(node.getCountNA(static_cast<int>(column)), expected.countNA, "NA");
  requireEqual(node.getCountOK(static_cast<int>(column)), expected.countOK, "values");
}

// Welford's update of 8 neighbouring double columns abreast: one division hides behind the other columns' work, and
// every column sees its own operations in their own order.
class EightAbreast {
public:
  static bool possible() { return __builtin_cpu_supports("avx2"); }

  // `cells` is the first of the 8 cells in the first row.
  void add(const char* cells, long rowBytes, long rows) {
    long row = 0;
    for (; row < rows && !m_all_have_values; ++row, cells += rowBytes) addSlowly(cells);
    addFast(cells, rowBytes, rows - row);
    m_rows += rows;
  }

  RunningStatistics column(int index) const {
    if (!m_all_have_values) return m_first[index];
    RunningStatistics result;
    result.min = m_min[index];
    result.max = m_max[index];
    result.mean = m_mean[index];
    result.m2 = m_m2[index];
    result.countOK = static_cast<long long>(m_count[index]);
    result.countNA = m_rows - result.countOK;
    return result;
  }

private:
  // Until every column has its first value.
  void addSlowly(const char* cells) {
    bool all = true;
    for (int c = 0; c < 8; ++c) {
      double x;
      std::memcpy(&x, cells + 8 * c, 8);
      m_first[c].add(x);
      all = all && m_first[c].countOK > 0;
    }
    if (!all) return;
    for (int c = 0; c < 8; ++c) {
      m_min[c] = m_first[c].min;
      m_max[c] = m_first[c].max;
      m_mean[c] = m_first[c].mean;
      m_m2[c] = m_first[c].m2;
      m_count[c] = static_cast<double>(m_first[c].countOK);
    }
    m_all_have_values = true;
  }

  [[gnu::target("avx2")]] void addFast(const char* cells, long rowBytes, long rows) {
    if (rows < 1) return;
    const __m256d one = _mm256_set1_pd(1.0);
    __m256d min[2], max[2], mean[2], m2[2], count[2];
    for (int h = 0; h < 2; ++h) {
      min[h] = _mm256_loadu_pd(m_min + 4 * h);
      max[h] = _mm256_loadu_pd(m_max + 4 * h);
      mean[h] = _mm256_loadu_pd(m_mean + 4 * h);
      m2[h] = _mm256_loadu_pd(m_m2 + 4 * h);
      count[h] = _mm256_loadu_pd(m_count + 4 * h);
    }
    for (long row = 0; row < rows; ++row, cells += rowBytes) {
#pragma GCC unroll 2
      for (int h = 0; h < 2; ++h) {
        const __m256d x = _mm256_loadu_pd(reinterpret_cast<const double*>(cells + 32 * h));
        const __m256d isValue = _mm256_cmp_pd(x, x, _CMP_ORD_Q);
        count[h] = _mm256_add_pd(count[h], _mm256_and_pd(isValue, one));
        min[h] = _mm256_min_pd(x, min[h]);  // the second operand where x is NaN
        max[h] = _mm256_max_pd(x, max[h]);
        const __m256d fromOld = _mm256_sub_pd(x, mean[h]);
        const __m256d newMean = _mm256_add_pd(mean[h], _mm256_div_pd(fromOld, count[h]));
        const __m256d newM2 = _mm256_add_pd(m2[h], _mm256_mul_pd(fromOld, _mm256_sub_pd(x, newMean)));
        mean[h] = _mm256_blendv_pd(mean[h], newMean, isValue);
        m2[h] = _mm256_blendv_pd(m2[h], newM2, isValue);
      }
    }
    for (int h = 0; h < 2; ++h) {
      _mm256_storeu_pd(m_min + 4 * h, min[h]);
      _mm256_storeu_pd(m_max + 4 * h, max[h]);
      _mm256_storeu_pd(m_mean + 4 * h, mean[h]);
      _mm256_storeu_pd(m_m2 + 4 * h, m2[h]);
      _mm256_storeu_pd(m_count + 4 * h, count[h]);
    }
  }

  bool m_all_have_values = false;
  long long m_rows = 0;
  RunningStatistics m_first[8];
  double m_min[8], m_max[8], m_mean[8], m_m2[8], m_count[8];
};

}  // namespace bench
