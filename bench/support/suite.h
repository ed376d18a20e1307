// Runs the library and a floor, a minimal hand-written loop over the same bytes, in turns, and prints a table.
//
// Both see the same weather: a pair of runs follows each other at once, the order changes from pair to pair, and the
// ratio is the median of the pairs' ratios.  A run during which the kernel gave the processor to somebody else is
// repeated, so runs are short.  The figures are medians, the spread is half the distance between the quartiles of the
// ratios.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace bench {

// Does some work once, over fresh rows, and returns the nanoseconds of its timed parts.
using Run = std::function<double()>;

// One line of the table.
struct Work {
  std::string name;        // as in "count node: 8 double columns, 1 % NA"
  std::string unit;        // what is counted, as in "cell"
  double unitsPerRun = 0;  // how many of them a run has
  Run library;
  Run floor;          // none: only the library's figure is shown
  std::string reach;  // the ratio (or the time) to reach, as in "1.4 x", and the one to aim at
  std::string aim;
  std::vector<std::pair<std::string, Run>> beside;  // measured in the same pairs, for information
  std::string remark;
  std::function<void()> check;      // ends the program where an answer is wrong; after the first run
                                    // and after the last
  bool repeatDisturbedRuns = true;  // no for runs that are long, or wait for a device
};

// A line whose figure is no time, as in the peak memory of a run.
struct Figure {
  std::string name;
  std::string value;
  std::string reach;
  std::string aim;
};

// One point of a curve of costs.
struct Point {
  std::string curve;  // as in "count node, double columns: ns per cell over columns"
  long x = 0;
  double unitsPerRun = 0;  // the cost is per unit
  Run library;
  std::function<void()> check;
};

enum class Size { tiny, usual, full };

class Suite {
public:
  // Takes --tiny (answers only), --full (the sizes of the published table) and --lines=FILE (appends the table there,
  // with tabs) off the command line; the rest is Google Benchmark's.
  Suite(int argc, char** argv);

  Size size() const { return m_size; }
  template <class Value>
  Value pick(Value tiny, Value usual, Value full) const {
    return m_size == Size::tiny ? tiny : m_size == Size::usual ? usual : full;
  }

  // `make` prepares the rows; it is called when the benchmark is about to run.  Few pairs are for long runs.
  static constexpr int kManyPairs = 101;
  static constexpr int kFewPairs = 11;
  void add(const std::string& name, std::function<Work()> make, int pairs = kManyPairs);
  void addPoint(const std::string& name, std::function<Point()> make);
  // A figure taken when everything before it has run.
  void addFigure(const std::string& name, std::function<Figure()> take);

  int run();

private:
  int m_argc;
  char** m_argv;
  Size m_size = Size::usual;
  std::string m_lines_name;
  std::vector<std::vector<std::string>> m_lines;
};

}  // namespace bench
