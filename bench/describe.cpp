// What do the statistics of a CSV file cost, and how much memory?
//
// The program zrb runs as a user runs it, start and output included.
#include <map>
#include <memory>
#include <nlohmann/json.hpp>

#include "support/child_process.h"
#include "support/csv_table.h"
#include "support/stopwatch.h"
#include "support/suite.h"

using namespace bench;

namespace {

long peakKilobytes = 0;  // of all runs

// ---- The program, and its answer ----

ChildRun describe(const char* file, const char* input) {
  ChildRun run = runChild({ZRB_PROGRAM, "describe", "--json", file}, input);
  peakKilobytes = std::max(peakKilobytes, run.peakKilobytes);
  return run;
}

using Json = nlohmann::json;

// Numbers are written with the digits that give the same double, and the running update has one order: the bits agree.
void checkDoubles(const Json& column, const RunningStatistics& expected) {
  requireSameBits(column["min"].get<double>(), expected.min, "minimum");
  requireSameBits(column["max"].get<double>(), expected.max, "maximum");
  requireSameBits(column["mean"].get<double>(), expected.mean, "mean");
  requireSameBits(column["sd"].get<double>(), expected.stdDev(), "standard deviation");
  requireEqual(column["n"].get<long long>(), expected.countOK, "values");
  requireEqual(column["na"].get<long long>(), expected.countNA, "NA");
}

void checkFactor(const Json& column, const CsvTable& table, std::size_t factor) {
  std::map<std::string, long long> found;
  for (const Json& level : column["levels"]) found[level["level"]] = level["count"];
  const std::vector<long long>& expected = table.levelCounts(factor);
  long long values = 0, seen = 0;
  for (std::size_t level = 0; level < expected.size(); ++level) {
    requireEqual(found[CsvTable::levelName(factor, level)], expected[level], "level");
    values += expected[level];
    ++seen;
  }
  requireEqual(static_cast<long long>(found.size()), seen, "levels");
  requireEqual(column["n"].get<long long>(), values, "levels counted");
  requireEqual(column["na"].get<long long>(), table.rows() - values, "NA");
}

void checkAnswer(const std::string& output, const CsvTable& table) {
  const Json answer = Json::parse(output);
  const Json& columns = answer["columns"];
  requireEqual(answer["rows"].get<long long>(), table.rows(), "rows");
  requireEqual(static_cast<long long>(columns.size()), CsvTable::kDoubles + 2, "columns");
  for (long c = 0; c < CsvTable::kDoubles; ++c) checkDoubles(columns[static_cast<std::size_t>(c)], table.statistics(c));
  for (std::size_t f = 0; f < 2; ++f) checkFactor(columns[CsvTable::kDoubles + f], table, f);
}

// ---- The floor ----

// from_chars over the numbers of whole lines; the factors are passed over.
struct NumberScan {
  double sum = 0;
  long lines = 0;

  void addLines(const char* at, const char* end) {
    for (; at < end; ++lines) {
      for (long c = 0; c < CsvTable::kDoubles; ++c) {
        double value;
        const auto [behind, error] = std::from_chars(at, end, value);
        if (error == std::errc()) sum += value;
        at = find(behind, end, ',');
      }
      at = find(at, end, ',');
      at = find(at, end, '\n');
    }
  }

private:
  // Behind the next one.
  static const char* find(const char* at, const char* end, char what) {
    if (*at == what) return at + 1;
    return static_cast<const char*>(std::memchr(at, what, static_cast<std::size_t>(end - at))) + 1;
  }
};

NumberScan scanFile(const char* path) {
  const FileHandle file(path, O_RDONLY);
  std::vector<char> block(256 * 1024);
  NumberScan scan;
  std::size_t kept = 0;  // of a line that has begun
  while (const std::size_t bytes = file.readSome(block.data() + kept, block.size() - kept)) {
    const std::string_view text(block.data(), kept + bytes);
    const std::size_t whole = text.rfind('\n') + 1;
    scan.addLines(text.data() + (scan.lines == 0 ? text.find('\n') + 1 : 0), text.data() + whole);
    kept = text.size() - whole;
    std::memmove(block.data(), block.data() + whole, kept);
  }
  return scan;
}

// ---- The two in turns ----

class DescribedTable {
public:
  DescribedTable(CsvNumbers numbers, long bytes) : m_table(numbers, bytes, m_file.path()) {}

  double runProgram() {
    ChildRun run = describe(m_file.path(), "/dev/null");
    m_output = std::move(run.output);
    return run.ns;
  }

  double runFloor() {
    Stopwatch watch;
    watch.start();
    m_scan = scanFile(m_file.path());
    watch.stop();
    return watch.ns();
  }

  void check() {
    checkAnswer(m_output, m_table);
    checkAnswer(describe("-", m_file.path()).output, m_table);  // as standard input
    requireEqual(m_scan.lines, m_table.rows(), "lines of the floor");
    requireSameBits(m_scan.sum, m_table.sum(), "sum of the floor");
  }

  const CsvTable& table() const { return m_table; }

private:
  ScratchFile m_file{"table.csv"};
  CsvTable m_table;
  std::string m_output;
  NumberScan m_scan;
};

}  // namespace

int main(int argc, char** argv) {
  Suite suite(argc, argv);
  const struct {
    CsvNumbers numbers;
    const char* name;
    const char* text;
  } cases[] = {{CsvNumbers::fullDoubles, "describe/full_doubles", "8 doubles in full"},
               {CsvNumbers::measured, "describe/four_decimals", "8 doubles of four decimals"}};
  const long bytes = suite.pick(400'000L, 150'000'000L, 1'000'000'000L);
  for (const auto& c : cases)
    suite.add(
        c.name,
        [=] {
          const auto described = std::make_shared<DescribedTable>(c.numbers, bytes);
          const long size = described->table().bytes();
          Work work;
          work.name =
              "zrb describe of a CSV file of " + std::to_string(size / 1'000'000) + " MB, " + c.text + " and 2 factors";
          work.unit = "byte";
          work.unitsPerRun = static_cast<double>(size);
          work.library = [=] { return described->runProgram(); };
          work.floor = [=] { return described->runFloor(); };
          work.reach = "3.1 ns/byte";
          work.aim = "1.67 x";
          work.repeatDisturbedRuns = false;
          work.check = [=] { described->check(); };
          return work;
        },
        Suite::kFewPairs);
  suite.addFigure("describe/peak_memory", [] {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f MB", static_cast<double>(peakKilobytes) / 1024);
    return Figure{"peak memory of these runs, from a file and from standard input", text, "32 MB", "16 MB"};
  });
  return suite.run();
}
