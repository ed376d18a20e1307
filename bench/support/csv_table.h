// A CSV file of 8 doubles and 2 factors a row, and what there is to find in it.
#pragma once

#include <array>
#include <charconv>
#include <cmath>
#include <string>
#include <vector>

#include "fixed_random.h"
#include "row_file.h"
#include "running_statistics.h"

namespace bench {

// The values of its numbers.
enum class CsvNumbers {
  fullDoubles,  // as programs write them: the fewest digits that read back as the same double, 16 or 17
  measured      // four decimals
};

class CsvTable {
public:
  static constexpr long kDoubles = 8;
  static constexpr std::array<long, 2> kLevels = {12, 400};

  // Rows until the file at `path` has `bytes` bytes; written piece by piece, so that the process stays small.
  CsvTable(CsvNumbers numbers, long bytes, const char* path) : m_numbers(numbers) {
    for (const long levels : kLevels) m_levels.emplace_back(static_cast<std::size_t>(levels));
    FileHandle file(path, O_WRONLY | O_CREAT | O_TRUNC);
    std::string piece = "d1,d2,d3,d4,d5,d6,d7,d8,site,species\n";
    for (FixedRandom random(2026); m_bytes < bytes;) {
      while (piece.size() < kPieceBytes) addRow(random, piece);
      file.writeAll(piece.data(), static_cast<long>(piece.size()));
      m_bytes += static_cast<long>(piece.size());
      piece.clear();
    }
  }

  long bytes() const { return m_bytes; }
  long rows() const { return m_rows; }
  const RunningStatistics& statistics(long column) const { return m_statistics[static_cast<std::size_t>(column)]; }
  // How often each level occurs, by its number.
  const std::vector<long long>& levelCounts(std::size_t factor) const { return m_levels[factor]; }
  // Of all numbers, in their order.
  double sum() const { return m_sum; }

  static std::string levelName(std::size_t factor, std::size_t level) {
    return (factor == 0 ? "site " : "species_") + std::to_string(level);
  }

private:
  static constexpr std::size_t kPieceBytes = 64 * 1024;
  static constexpr double kPartNA = 0.01;

  double draw(FixedRandom& random) const {
    if (m_numbers == CsvNumbers::fullDoubles) return random.uniform() * 1000 - 300;
    return static_cast<double>(random.below(10'000'000) - 3'000'000) / 1e4;
  }

  void addRow(FixedRandom& random, std::string& text) {
    for (RunningStatistics& column : m_statistics) {
      if (random.chance(kPartNA)) {
        column.add(std::nan(""));
        text += "NA,";
        continue;
      }
      const double value = draw(random);
      column.add(value);
      m_sum += value;
      char digits[32];
      text.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
      text += ',';
    }
    for (std::size_t factor = 0; factor < m_levels.size(); ++factor) {
      const std::size_t level = static_cast<std::size_t>(random.below(kLevels[factor]));
      const bool isNA = random.chance(kPartNA);
      if (!isNA) ++m_levels[factor][level];
      text += isNA ? "NA" : levelName(factor, level);
      text += factor + 1 < m_levels.size() ? ',' : '\n';
    }
    ++m_rows;
  }

  CsvNumbers m_numbers;
  long m_bytes = 0;
  long m_rows = 0;
  std::array<RunningStatistics, kDoubles> m_statistics;
  std::vector<std::vector<long long>> m_levels;
  double m_sum = 0;
};

}  // namespace bench
