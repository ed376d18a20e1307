// Writes the columns that the other tools are measured on, and what they should find in them.
//
//   make_columns FOLDER ROWS
//
// d0.f64 .. d7.f64     doubles, 1 % NaN for NA
// f5.i32 f500.i32 ...  levels 1, 2, ..., 1 % 0 for NA
// x1.f64 .. x49.f64    regressors, ROWS / 5 of them; yP.f64 = 1 + 2 x1 + ... + P x(P-1), exactly
// table.csv            8 doubles and 2 factors, 150 ROWS bytes, at most 150 MB
// expected.txt         a name and a number per line; csv0 .. csv9 are the columns of table.csv
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

#include "support/csv_table.h"
#include "support/fixed_random.h"

namespace {

using bench::FixedRandom;

std::string folder;

std::FILE* create(const std::string& name) {
  std::FILE* file = std::fopen((folder + "/" + name).c_str(), "wb");
  if (!file) {
    std::perror(name.c_str());
    std::exit(1);
  }
  return file;
}

void close(std::FILE* file) {
  if (std::fclose(file) != 0) {
    std::perror(folder.c_str());
    std::exit(1);
  }
}

template <class Value>
void save(const std::string& name, const std::vector<Value>& values) {
  std::FILE* file = create(name);
  std::fwrite(values.data(), sizeof(Value), values.size(), file);
  close(file);
}

void printStatistics(std::FILE* expected, const std::string& name, double min, double max, long double mean,
                     long double deviation, long long countNA) {
  std::fprintf(expected, "%s.min %.17g\n%s.max %.17g\n", name.c_str(), min, name.c_str(), max);
  std::fprintf(expected, "%s.mean %.17Lg\n%s.sd %.17Lg\n", name.c_str(), mean, name.c_str(), deviation);
  std::fprintf(expected, "%s.na %lld\n", name.c_str(), countNA);
}

void expectStatistics(std::FILE* expected, const std::string& name, const std::vector<double>& values) {
  double min = std::numeric_limits<double>::infinity(), max = -min;
  long double sum = 0, squares = 0;
  long count = 0;
  for (const double x : values) {
    if (x != x) continue;
    min = std::min(min, x);
    max = std::max(max, x);
    sum += static_cast<long double>(x);
    ++count;
  }
  const long double mean = sum / static_cast<long double>(count);
  for (const double x : values) {
    const long double deviation = static_cast<long double>(x) - mean;
    if (x == x) squares += deviation * deviation;
  }
  printStatistics(expected, name, min, max, mean, std::sqrt(squares / static_cast<long double>(count - 1)),
                  static_cast<long>(values.size()) - count);
}

// Of the combinations that occur: how many, and the sum of the squares of their counts.
void printCounts(std::FILE* expected, const std::string& name, const std::vector<long long>& counts) {
  long long cells = 0, squares = 0;
  for (const long long count : counts) {
    cells += count > 0;
    squares += count * count;
  }
  std::fprintf(expected, "%s.cells %lld\n%s.squares %lld\n", name.c_str(), cells, name.c_str(), squares);
}

// Of the combinations without NA.
void expectCounts(std::FILE* expected, const std::string& name, const std::vector<const std::vector<int>*>& columns,
                  const std::vector<int>& levels) {
  std::size_t size = 1;
  for (const int count : levels) size *= static_cast<std::size_t>(count);
  std::vector<long long> counts(size);
  for (std::size_t row = 0; row < columns[0]->size(); ++row) {
    std::size_t at = 0;
    bool isNA = false;
    for (std::size_t c = 0; c < columns.size(); ++c) {
      const int level = (*columns[c])[row];
      isNA = isNA || level == 0;
      at = at * static_cast<std::size_t>(levels[c]) + static_cast<std::size_t>(level - 1);
    }
    if (!isNA) ++counts[at];
  }
  printCounts(expected, name, counts);
}

void makeTable(std::FILE* expected, long bytes) {
  using bench::CsvTable;
  const CsvTable table(bench::CsvNumbers::fullDoubles, bytes, (folder + "/table.csv").c_str());
  std::fprintf(expected, "csv_bytes %ld\n", table.bytes());
  for (long c = 0; c < CsvTable::kDoubles; ++c) {
    const bench::RunningStatistics& found = table.statistics(c);
    printStatistics(expected, "csv" + std::to_string(c), found.min, found.max, static_cast<long double>(found.mean),
                    static_cast<long double>(found.stdDev()), found.countNA);
  }
  for (std::size_t factor = 0; factor < CsvTable::kLevels.size(); ++factor)
    printCounts(expected, "csv" + std::to_string(CsvTable::kDoubles + static_cast<long>(factor)),
                table.levelCounts(factor));
}

}  // namespace

int main(int argc, char** argv) {
  const long rows = argc == 3 ? std::strtol(argv[2], nullptr, 10) : 0;
  if (rows < 1000) {
    std::fputs("usage: make_columns FOLDER ROWS (1000 or more)\n", stderr);
    return 2;
  }
  folder = argv[1];
  const std::size_t count = static_cast<std::size_t>(rows), fitCount = count / 5;
  std::FILE* expected = create("expected.txt");
  std::fprintf(expected, "rows %zu\nfit_rows %zu\n", count, fitCount);

  for (int c = 0; c < 8; ++c) {
    FixedRandom random(static_cast<std::uint64_t>(100 + c));
    std::vector<double> values(count);
    for (double& x : values)
      x = random.chance(0.01) ? std::numeric_limits<double>::quiet_NaN() : 100.0 * c + 10.0 * random.normal();
    const std::string name = "d" + std::to_string(c);
    save(name + ".f64", values);
    expectStatistics(expected, name, values);
  }

  const int levels[] = {4, 5, 500, 60000};
  std::vector<std::vector<int>> factors;
  for (const int levelCount : levels) {
    FixedRandom random(static_cast<std::uint64_t>(200 + levelCount));
    std::vector<int>& values = factors.emplace_back(count);
    for (int& level : values) level = random.chance(0.01) ? 0 : 1 + static_cast<int>(random.below(levelCount));
    const std::string name = "f" + std::to_string(levelCount);
    save(name + ".i32", values);
    expectCounts(expected, name, {&values}, {levelCount});
  }
  expectCounts(expected, "5x500", {&factors[1], &factors[2]}, {5, 500});
  expectCounts(expected, "5x500x4", {&factors[1], &factors[2], &factors[0]}, {5, 500, 4});

  // Whole numbers of moderate size: every sum of their multiples is exact.
  std::vector<double> sum(fitCount, 1.0);
  for (int c = 1; c < 50; ++c) {
    FixedRandom random(static_cast<std::uint64_t>(300 + c));
    std::vector<double> values(fitCount);
    for (std::size_t row = 0; row < fitCount; ++row) {
      values[row] = std::nearbyint(1000 * random.normal());
      sum[row] += (c + 1) * values[row];
    }
    save("x" + std::to_string(c) + ".f64", values);
    if (c + 1 == 5 || c + 1 == 10 || c + 1 == 50) save("y" + std::to_string(c + 1) + ".f64", sum);
  }
  makeTable(expected, std::min(150 * rows, 150'000'000L));
  close(expected);
}
