// What does a cross-tabulation with the counts of all prefixes cost?
//
// The node always keeps the statistics and the level counts of the columns too.  The cross-tabulation itself is the
// difference between two nodes over the same rows, one with it and one without.
#include "support/counter_tables.h"
#include "support/fixed_random.h"
#include "support/row_flow.h"
#include "support/running_statistics.h"
#include "support/suite.h"

using namespace bench;

namespace {

using CountFlow = RowFlow<ZRBProcCount>;

std::shared_ptr<PackedRows> makeRows(const std::vector<long>& levels, long numRows) {
  std::vector<ColumnSpec> columns;
  for (const long count : levels) columns.push_back(factorColumn(count));
  auto rows = std::make_shared<PackedRows>(columns, numRows);
  FixedRandom random(4);
  for (long row = 0; row < numRows; ++row)
    for (std::size_t c = 0; c < levels.size(); ++c)
      rows->setLevel(row, static_cast<long>(c), random.chance(0.01) ? -1 : random.below(levels[c]));
  return rows;
}

std::shared_ptr<CountFlow> countFlow(std::shared_ptr<PackedRows> rows, int crossSize) {
  auto flow = std::make_shared<CountFlow>(std::move(rows), create<ZRBProcCount>(zrb_s_create_ZRBProcCount));
  flow->node().setCrossSize(crossSize);
  for (int p = 0; p < crossSize; ++p) flow->node().setCrossColumn(p, p);
  flow->start();
  return flow;
}

// How many rows hold each combination of levels, for every prefix of the columns.
class ExpectedCross {
public:
  ExpectedCross(const PackedRows& rows, std::vector<long> levels, long rowsTaken) : m_levels(std::move(levels)) {
    std::size_t size = 1;
    for (const long count : m_levels) m_tables.emplace_back(size *= static_cast<std::size_t>(count + 1));
    for (long row = 0; row < rowsTaken; ++row) {
      std::size_t at = 0;
      for (std::size_t p = 0; p < m_levels.size(); ++p) {
        at = at * static_cast<std::size_t>(m_levels[p] + 1) +
             static_cast<std::size_t>(rows.getLevel(row % rows.numRows(), static_cast<long>(p)) + 1);
        ++m_tables[p][at];
      }
    }
  }
  template <class Visit>
  void forEachPrefix(Visit visit) const {
    for (std::size_t p = 0; p < m_tables.size(); ++p) {
      std::vector<long> prefix(p + 1);
      for (std::size_t at = 0; at < m_tables[p].size(); ++at) {
        std::size_t rest = at;
        for (std::size_t q = p + 1; q-- > 0;) {
          const std::size_t base = static_cast<std::size_t>(m_levels[q] + 1);
          prefix[q] = static_cast<long>(rest % base) - 1;
          rest /= base;
        }
        visit(prefix, m_tables[p][at]);
      }
    }
  }

private:
  std::vector<long> m_levels;
  std::vector<std::vector<long long>> m_tables;  // by position; NA first
};

void checkCross(CountFlow& flow, const std::vector<long>& levels) {
  flow.check();
  ZRBProcCount& node = flow.node();
  // Positions in the columns' value lists; -1 where the rows do not hold the level at all.
  std::vector<std::vector<int>> positions;
  for (std::size_t c = 0; c < levels.size(); ++c) {
    const int column = static_cast<int>(c);
    checkLevels(node, column, expectedLevels(flow.rows(), column, flow.rowsTaken()));
    std::vector<int>& at = positions.emplace_back(static_cast<std::size_t>(levels[c] + 1), -1);
    for (int k = 0; k < node.getColumnNumLevels(column); ++k)
      at[static_cast<std::size_t>(node.getColumnLevelInt(column, k) + 1)] = k;
  }
  const ExpectedCross expected(flow.rows(), levels, flow.rowsTaken());
  expected.forEachPrefix([&](const std::vector<long>& prefix, long long rows) {
    const int size = static_cast<int>(prefix.size());
    node.setCrossSize(size);
    for (int p = 0; p < size; ++p) {
      const std::size_t q = static_cast<std::size_t>(p);
      const int position = positions[q][static_cast<std::size_t>(prefix[q] + 1)];
      if (position < 0) return requireEqual(0, rows, "rows of a level that is not in the list");
      node.setCrossIndex(p, position);
    }
    requireEqual(node.getCrossCount(), rows, "count of a combination");
  });
  node.setCrossSize(static_cast<int>(levels.size()));
}

struct CrossSetup {
  std::shared_ptr<CountFlow> with, without;
  Work work;
};

CrossSetup crosstab(const std::vector<long>& levels, long numRows, std::string name) {
  const auto rows = makeRows(levels, numRows);
  const auto with = countFlow(rows, static_cast<int>(levels.size()));
  const auto floorFlow = std::make_shared<FloorFlow>(rows);
  const auto counters = std::make_shared<CombinationCounters>(levels);
  Work work;
  work.name = std::move(name);
  work.unit = "row";
  work.unitsPerRun = static_cast<double>(with->rowsPerRun());
  work.floor = [=] {
    return floorFlow->run([&](const char* cells, long count) { counters->add(cells, rows->rowBytes(), count); });
  };
  work.check = [=] {
    checkCross(*with, levels);
    ExpectedCross(*rows, levels, floorFlow->rowsTaken())
        .forEachPrefix([&](const std::vector<long>& prefix, long long count) {
          requireEqual(counters->count(prefix), count, "floor: count of a combination");
        });
  };
  return {with, countFlow(rows, 0), std::move(work)};
}

}  // namespace

int main(int argc, char** argv) {
  Suite suite(argc, argv);
  const long rows = suite.pick(3L, 200L, 1000L) * kChunkRows;
  const std::pair<const char*, std::vector<long>> cases[] = {{"5x500", {5, 500}}, {"5x500x4", {5, 500, 4}}};
  for (const auto& [text, levels] : cases) {
    const std::string label = text;
    suite.add("crosstab/itself/" + label, [=, levels = levels] {
      CrossSetup setup = crosstab(levels, rows, "cross-tabulation with all prefixes, " + label);
      setup.work.library = [with = setup.with, without = setup.without] { return with->run() - without->run(); };
      setup.work.reach = "2 x";
      setup.work.aim = "1.3 x";
      return setup.work;
    });
    suite.add("crosstab/whole_node/" + label, [=, levels = levels] {
      CrossSetup setup = crosstab(levels, rows, "the same " + label + " with the columns' statistics and levels");
      setup.work.library = [with = setup.with] { return with->run(); };
      return setup.work;
    });
  }
  return suite.run();
}
