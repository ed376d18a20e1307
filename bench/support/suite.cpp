#include "suite.h"

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "answers.h"

namespace bench {

namespace {

constexpr int kMaxAttempts = 5;

long involuntarySwitches() {
  rusage usage;
  getrusage(RUSAGE_THREAD, &usage);
  return usage.ru_nivcsw;
}

// The time of a run that had the processor for itself, or the shortest of several that had not.
double undisturbed(const Run& run, bool repeat) {
  double shortest = 0;
  for (int attempt = 0; attempt < kMaxAttempts; ++attempt) {
    const long switchesBefore = involuntarySwitches();
    const double ns = run();
    if (!repeat || involuntarySwitches() == switchesBefore) return ns;
    shortest = attempt == 0 ? ns : std::min(shortest, ns);
  }
  return shortest;
}

// Linear between neighbours; `part` is 0.5 for the median.
double quantile(std::vector<double> values, double part) {
  std::sort(values.begin(), values.end());
  const double at = part * static_cast<double>(values.size() - 1);
  const std::size_t below = static_cast<std::size_t>(at);
  const std::size_t above = std::min(below + 1, values.size() - 1);
  return values[below] + (at - static_cast<double>(below)) * (values[above] - values[below]);
}

double median(const std::vector<double>& values) { return quantile(values, 0.5); }

std::string decimal(double value, int digits) {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%.*f", digits, value);
  return buffer;
}

// Three digits are what repeated measurements agree on.
std::string figure(double value) { return decimal(value, value < 9.995 ? 2 : value < 99.95 ? 1 : 0); }

void printTable(const std::vector<std::vector<std::string>>& rows) {
  for (const auto& row : rows) {
    for (const std::string& cell : row) std::printf("| %s ", cell.c_str());
    std::puts("|");
  }
}

}  // namespace

Suite::Suite(int argc, char** argv) : m_argc(0), m_argv(argv) {
  for (int i = 0; i < argc; ++i) {
    const std::string_view argument = argv[i];
    constexpr std::string_view kLines = "--lines=";
    if (argument == "--tiny")
      m_size = Size::tiny;
    else if (argument == "--full")
      m_size = Size::full;
    else if (argument.substr(0, kLines.size()) == kLines)
      m_lines_name = argument.substr(kLines.size());
    else
      m_argv[m_argc++] = argv[i];
  }
  benchmark::Initialize(&m_argc, m_argv);
  if (benchmark::ReportUnrecognizedArguments(m_argc, m_argv)) std::exit(2);
}

void Suite::add(const std::string& name, std::function<Work()> make, int pairs) {
  const auto measure = [this, make = std::move(make)](benchmark::State& state) {
    const Work work = make();
    const auto once = [&](const Run& run) { return undisturbed(run, work.repeatDisturbedRuns); };
    // The first runs warm everything up.
    work.library();
    if (work.floor) work.floor();
    for (const auto& [what, run] : work.beside) run();
    work.check();

    std::vector<double> library, floor, ratio;
    std::vector<std::vector<double>> beside(work.beside.size());
    bool floorFirst = false;
    for ([[maybe_unused]] auto _ : state) {
      const double floorBefore = work.floor && floorFirst ? once(work.floor) : 0;
      library.push_back(once(work.library));
      if (work.floor) {
        floor.push_back(floorFirst ? floorBefore : once(work.floor));
        ratio.push_back(library.back() / floor.back());
      }
      for (std::size_t i = 0; i < beside.size(); ++i) beside[i].push_back(once(work.beside[i].second));
      floorFirst = !floorFirst;
      state.SetIterationTime(library.back() * 1e-9);
    }
    work.check();

    const auto perUnit = [&](const std::vector<double>& runs) { return median(runs) / work.unitsPerRun; };
    state.counters["library_ns"] = perUnit(library);
    std::string besideText = work.remark;
    for (std::size_t i = 0; i < beside.size(); ++i) {
      if (!besideText.empty()) besideText += "; ";
      besideText += work.beside[i].first + " " + figure(perUnit(beside[i]));
    }
    std::vector<std::string> line = {work.name, figure(perUnit(library)) + " ns/" + work.unit, "-", "-", "-"};
    if (work.floor) {
      const double middle = median(ratio);
      const double spread = middle > 0 ? (quantile(ratio, 0.75) - quantile(ratio, 0.25)) / 2 / middle : 0;
      state.counters["floor_ns"] = perUnit(floor);
      state.counters["ratio"] = middle;
      state.counters["spread"] = spread;
      state.counters["best_ratio"] =
          *std::min_element(library.begin(), library.end()) / *std::min_element(floor.begin(), floor.end());
      line[2] = figure(perUnit(floor));
      line[3] = figure(middle) + " x";
      line[4] = "± " + decimal(100 * spread, 0) + " %";
    }
    line.insert(line.end(), {work.reach, work.aim, besideText});
    m_lines.push_back(std::move(line));
  };
  benchmark::RegisterBenchmark(name.c_str(), measure)
      ->UseManualTime()
      ->Iterations(pick(1, pairs, pairs))
      ->Unit(benchmark::kMillisecond);
}

void Suite::addPoint(const std::string& name, std::function<Point()> make) {
  const auto measure = [this, make = std::move(make)](benchmark::State& state) {
    const Point point = make();
    point.library();
    point.check();
    std::vector<double> runs;
    for ([[maybe_unused]] auto _ : state) {
      runs.push_back(undisturbed(point.library, true));
      state.SetIterationTime(runs.back() * 1e-9);
    }
    point.check();
    state.counters["ns"] = median(runs) / point.unitsPerRun;
    m_lines.push_back({point.curve, std::to_string(point.x), figure(median(runs) / point.unitsPerRun)});
  };
  benchmark::RegisterBenchmark(name.c_str(), measure)
      ->UseManualTime()
      ->Iterations(pick(1, 7, 15))
      ->Unit(benchmark::kMillisecond);
}

void Suite::addFigure(const std::string& name, std::function<Figure()> take) {
  const auto measure = [this, take = std::move(take)](benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state) state.SetIterationTime(0);
    const Figure taken = take();
    m_lines.push_back({taken.name, taken.value, "-", "-", "-", taken.reach, taken.aim, ""});
  };
  benchmark::RegisterBenchmark(name.c_str(), measure)->UseManualTime()->Iterations(1);
}

int Suite::run() {
  if (benchmark::RunSpecifiedBenchmarks() == 0) fail("no benchmark has that name");
  benchmark::Shutdown();
  std::puts("");
  printTable(m_lines);
  if (m_lines_name.empty()) return 0;

  std::FILE* file = std::fopen(m_lines_name.c_str(), "a");
  if (!file) fail("can't open %s: %s", m_lines_name.c_str(), std::strerror(errno));
  for (const auto& line : m_lines)
    for (std::size_t i = 0; i < line.size(); ++i)
      std::fprintf(file, "%s%c", line[i].c_str(), i + 1 < line.size() ? '\t' : '\n');
  if (std::fclose(file) != 0) fail("can't write %s: %s", m_lines_name.c_str(), std::strerror(errno));
  return 0;
}

}  // namespace bench
