// How does cost grow?  Each curve should be flat, or as its name says.
#include <cmath>
#include <numeric>

#include "support/counter_tables.h"
#include "support/fixed_random.h"
#include "support/row_flow.h"
#include "support/running_statistics.h"
#include "support/suite.h"

using namespace bench;

namespace {

using CountFlow = RowFlow<ZRBProcCount>;

// Chunks above this many bytes leave the second-level cache: those of many columns have fewer rows instead.
constexpr long kCacheBytes = 256 * 1024;

long roundUp(long rows, long chunkRows) { return (rows + chunkRows - 1) / chunkRows * chunkRows; }

// Not fewer than three chunks, and a whole number.
long preparedRows(long chunkRows, long rowBytes, long preparedBytes) {
  return roundUp(std::max(preparedBytes / rowBytes, 3 * chunkRows), chunkRows);
}

// ---- The count node over columns and over chunk rows ----

Point countDoubles(long columns, long chunkRows, long preparedBytes) {
  const auto rows =
      std::make_shared<PackedRows>(doubleColumns(columns), preparedRows(chunkRows, 8 * columns, preparedBytes));
  FixedRandom random(10);
  for (long row = 0; row < rows->numRows(); ++row)
    for (long c = 0; c < columns; ++c)
      rows->setDouble(row, c, random.chance(0.01) ? ZRBObj::getDoubleNA() : random.uniform());
  const auto flow = std::make_shared<CountFlow>(rows, create<ZRBProcCount>(zrb_s_create_ZRBProcCount), chunkRows);
  flow->start();
  Point point;
  point.unitsPerRun = static_cast<double>(flow->rowsPerRun() * columns);
  point.library = [=] { return flow->run(); };
  point.check = [=] {
    flow->check();
    for (const long c : {0L, columns / 2, columns - 1})
      checkStatistics(flow->node(), c, expectedStatistics(*rows, c, flow->rowsTaken()));
  };
  return point;
}

// ---- Levels ----

std::shared_ptr<PackedRows> levelRows(const std::vector<long>& levels, long numRows) {
  std::vector<ColumnSpec> columns;
  for (const long count : levels) columns.push_back(factorColumn(count));
  auto rows = std::make_shared<PackedRows>(columns, numRows);
  FixedRandom random(11);
  for (long row = 0; row < numRows; ++row)
    for (std::size_t c = 0; c < levels.size(); ++c) rows->setLevel(row, static_cast<long>(c), random.below(levels[c]));
  return rows;
}

// The position of a level in a column's value list; -1 where it is not there.
int listPosition(ZRBProcCount& node, int column, long level) {
  int position = 0;
  for (int index = node.getColumnInfo(column)->level_list; index >= 0; index = node.getCountInfo(index)->next) {
    if (node.getCountInfo(index)->value == static_cast<double>(level)) return position;
    ++position;
  }
  return -1;
}

// The combinations of the first and the last level of each of two columns.
void checkCorners(CountFlow& flow, const std::vector<long>& levels) {
  for (const long first : {0L, levels[0] - 1})
    for (const long second : {0L, levels[1] - 1}) {
      long long expected = 0;
      for (long row = 0; row < flow.rowsTaken(); ++row) {
        const long prepared = row % flow.rows().numRows();
        expected += flow.rows().getLevel(prepared, 0) == first && flow.rows().getLevel(prepared, 1) == second;
      }
      flow.node().setCrossIndex(0, listPosition(flow.node(), 0, first));
      flow.node().setCrossIndex(1, listPosition(flow.node(), 1, second));
      requireEqual(flow.node().getCrossCount(), expected, "count of a combination");
    }
}

// `crossSize` is 0 or 2.  The first pass, which meets the levels and their combinations, is not in the cost.
Point countLevels(const std::vector<long>& levels, int crossSize, long numRows) {
  const auto rows = levelRows(levels, numRows);
  const auto flow = std::make_shared<CountFlow>(rows, create<ZRBProcCount>(zrb_s_create_ZRBProcCount));
  flow->node().setCrossSize(crossSize);
  for (int p = 0; p < crossSize; ++p) flow->node().setCrossColumn(p, p);
  flow->start();
  Point point;
  point.unitsPerRun = static_cast<double>(flow->rowsPerRun());
  point.library = [=] { return flow->run(); };
  point.check = [=] {
    flow->check();
    for (std::size_t c = 0; c < levels.size(); ++c)
      checkLevels(flow->node(), static_cast<long>(c), expectedLevels(*rows, static_cast<long>(c), flow->rowsTaken()));
    if (crossSize > 0) checkCorners(*flow, levels);
  };
  return point;
}

// Each row brings a level that was not met before, in no order.  One run is one init() and one pass.
Point firstSight(long levels) {
  std::vector<long> order(static_cast<std::size_t>(levels));
  std::iota(order.begin(), order.end(), 0);
  FixedRandom random(12);
  for (std::size_t i = order.size(); i > 1; --i)
    std::swap(order[i - 1], order[static_cast<std::size_t>(random.below(static_cast<long>(i)))]);
  const long chunkRows = std::min(levels, kChunkRows);
  const long numRows = roundUp(levels, chunkRows);
  const auto rows = std::make_shared<PackedRows>(std::vector<ColumnSpec>{factorColumn(levels)}, numRows);
  for (long row = 0; row < numRows; ++row) rows->setLevel(row, 0, order[static_cast<std::size_t>(row % levels)]);
  const auto flow = std::make_shared<CountFlow>(rows, create<ZRBProcCount>(zrb_s_create_ZRBProcCount), chunkRows);
  Point point;
  point.unitsPerRun = static_cast<double>(numRows);
  point.library = [=] { return flow->start(); };
  point.check = [=] {
    flow->check();
    checkLevels(flow->node(), 0, expectedLevels(*rows, 0, flow->rowsTaken()));
  };
  return point;
}

// A dictionary filled by the texts themselves, from empty.
Point newTexts(long levels) {
  std::vector<std::string> names;
  for (long level = 0; level < levels; ++level) names.push_back("level " + std::to_string(level * 7919 % 1000003));
  const std::shared_ptr<ZRBMemoryBuf> buf = create<ZRBMemoryBuf>(zrb_s_create_ZRBMemoryBuf);
  Point point;
  point.unitsPerRun = static_cast<double>(levels);
  point.library = [=] {
    buf->setNumColumns(0);
    buf->setNumColumns(1);
    buf->setColumnType(0, ZRBBuf::column_factor);
    buf->setMaxAutoLevels(0, levels);
    Stopwatch watch;
    watch.start();
    for (const std::string& name : names) buf->mapStringToLevelNum(0, name.c_str());
    watch.stop();
    return watch.ns();
  };
  point.check = [=] {
    requireEqual(buf->getNumLevels(0), levels, "levels");
    for (long level = 0; level < levels; ++level)
      requireEqual(buf->lookupLevel(0, names[static_cast<std::size_t>(level)].c_str()), level, "level of a text");
  };
  return point;
}

// ---- The linear model over p ----

// The response is an exact sum of the regressors, each with its number as coefficient, and the intercept 1.
Point linearModel(long p, long preparedBytes) {
  const auto rows = std::make_shared<PackedRows>(doubleColumns(p), preparedRows(kChunkRows, 8 * p, preparedBytes));
  FixedRandom random(13);
  for (long row = 0; row < rows->numRows(); ++row) {
    double y = 1;
    for (long c = 1; c < p; ++c) {
      const double x = std::nearbyint(1000 * random.normal());  // products and sums are exact
      rows->setDouble(row, c, x);
      y += static_cast<double>(c + 1) * x;
    }
    rows->setDouble(row, 0, y);
  }
  const auto flow = std::make_shared<RowFlow<ZRBProcLm>>(rows, create<ZRBProcLm>(zrb_s_create_ZRBProcLm));
  flow->start();
  Point point;
  point.unitsPerRun = static_cast<double>(flow->rowsPerRun() * p * p);
  point.library = [=] { return flow->run(); };
  point.check = [=] {
    flow->check();
    flow->node().calcResults();
    // The columns are close to orthogonal and the residual is 0; coefficients reach p, values 1000 times that.
    for (long i = 0; i < p; ++i) {
      const double found = flow->node().getResult(i);
      if (!(std::fabs(found - static_cast<double>(i + 1)) < 1e-9 * static_cast<double>(p)))
        fail("p = %ld: coefficient %ld is %.17g", p, i, found);
    }
  };
  return point;
}

}  // namespace

int main(int argc, char** argv) {
  Suite suite(argc, argv);
  const long preparedBytes = suite.pick(1L << 18, 1L << 23, 1L << 25);
  const auto add = [&suite](const char* label, std::string curve, const std::vector<long>& xs, auto make) {
    for (const long x : xs)
      suite.addPoint("growth/" + std::string(label) + "/" + std::to_string(x), [=] {
        Point point = make(x);
        point.curve = curve;
        point.x = x;
        return point;
      });
  };

  add("columns", "count node: ns per cell over double columns", {1, 2, 4, 8, 16, 50, 100, 200, 500, 1000},
      [=](long columns) {
        return countDoubles(columns, std::min(kChunkRows, kCacheBytes / (8 * columns)), preparedBytes);
      });
  add("chunk_rows", "count node, 8 double columns: ns per cell over chunk rows",
      {1, 3, 10, 30, 100, 300, 1000, 3000, 10000, 30000, 100000},
      [=](long chunkRows) { return countDoubles(8, chunkRows, preparedBytes); });
  const std::vector<long> levels = {2, 5, 20, 100, 500, 2000, 10000, 30000, 60000};
  const long levelRowsMade = suite.pick(20L, 200L, 200L) * kChunkRows;
  add("levels", "count node, one factor column: ns per row over levels", levels,
      [=](long count) { return countLevels({count}, 0, levelRowsMade); });
  add("crosstab_levels", "count node, cross-tabulation with a factor of 5: ns per row over levels", levels,
      [=](long count) {
        return countLevels({5, count}, 2, levelRowsMade);
      });
  add("first_sight", "count node, levels met for the first time: ns per level over levels", levels, firstSight);
  add("new_texts", "text to a new level: ns per text over levels", levels, newTexts);
  add("p", "linear model: ns per row and p² over p", {2, 5, 10, 20, 50, 100, 200},
      [=](long p) { return linearModel(p, preparedBytes); });
  return suite.run();
}
