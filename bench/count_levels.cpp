// What does counting the levels of a factor column cost?
//
// Besides the levels the node keeps the running statistics of the level numbers.  Their update is a chain of a
// subtraction, a division and an addition per row, for which a plain loop over one column waits; beside other columns it
// hides behind theirs.  Both are shown: a factor column alone, and one beside 8 double columns.
#include "support/counter_tables.h"
#include "support/fixed_random.h"
#include "support/row_flow.h"
#include "support/running_statistics.h"
#include "support/suite.h"

using namespace bench;

namespace {

using CountFlow = RowFlow<ZRBProcCount>;

// Some double columns, and last a factor column.
std::shared_ptr<PackedRows> makeRows(long doubles, long levels, long numRows) {
  std::vector<ColumnSpec> columns = doubleColumns(doubles);
  columns.push_back(factorColumn(levels));
  auto rows = std::make_shared<PackedRows>(columns, numRows);
  FixedRandom random(2);
  for (long row = 0; row < numRows; ++row) {
    for (long c = 0; c < doubles; ++c)
      rows->setDouble(row, c, random.chance(0.01) ? ZRBObj::getDoubleNA() : random.normal());
    rows->setLevel(row, doubles, random.chance(0.01) ? -1 : random.below(levels));
  }
  return rows;
}

// One table of counters, and the running update of the level numbers, both without a branch per row.
class CountersAndUpdate {
public:
  void add(const char* cells, long rowBytes, long rows) {
    m_counters.add(cells, rowBytes, rows);
    // Eight columns abreast would take as long as one: their divisions overlap.  One column uses the first of 8 places.
    for (long row = 0; row < rows; ++row, cells += rowBytes) {
      const unsigned code = levelCode(cells);
      m_values[static_cast<std::size_t>(row)] =
          code == 0xFFFF ? std::numeric_limits<double>::quiet_NaN() : static_cast<double>(code);
    }
    m_abreast.add(reinterpret_cast<const char*>(m_values), 8, rows);
  }
  RunningStatistics statistics() const { return m_abreast.column(0); }

private:
  LevelCounters m_counters;
  EightAbreast m_abreast;
  double m_values[kChunkRows + 7] = {};  // a row and the 7 behind it count as 8 columns
};

Work countFactor(long doubles, long levels, long numRows) {
  const auto rows = makeRows(doubles, levels, numRows);
  const auto flow = std::make_shared<CountFlow>(rows, create<ZRBProcCount>(zrb_s_create_ZRBProcCount));
  flow->start();
  const auto floorFlow = std::make_shared<FloorFlow>(rows);
  const auto counters = std::make_shared<LevelCounters>();
  const auto abreast = std::make_shared<EightAbreast>();
  const long factor = doubles, offset = rows->offset(factor), rowBytes = rows->rowBytes();

  Work work;
  work.unit = "row";
  work.unitsPerRun = static_cast<double>(flow->rowsPerRun());
  work.library = [=] { return flow->run(); };
  if (doubles == 0 || EightAbreast::possible())
    work.floor = [=] {
      return floorFlow->run([&](const char* cells, long count) {
        if (doubles > 0) abreast->add(cells, rowBytes, count);
        counters->add(cells + offset, rowBytes, count);
      });
    };
  work.check = [=] {
    flow->check();
    for (long c = 0; c <= factor; ++c)
      checkStatistics(flow->node(), c, expectedStatistics(*rows, c, flow->rowsTaken()));
    checkLevels(flow->node(), factor, expectedLevels(*rows, factor, flow->rowsTaken()));

    const std::vector<long long> expected = expectedLevels(*rows, factor, floorFlow->rowsTaken());
    for (long level = -1; level < levels; ++level)
      requireEqual(counters->count(level), expected[level & 0xFFFF], "floor: count of a level");
    if (floorFlow->rowsTaken() > 0)
      for (int c = 0; c < doubles; ++c)
        expectedStatistics(*rows, c, floorFlow->rowsTaken()).requireSame(abreast->column(c), "floor");
  };
  return work;
}

Work countFactorAlone(long levels, long numRows) {
  Work work = countFactor(0, levels, numRows);
  const auto rows = makeRows(0, levels, numRows);
  const auto flow = std::make_shared<FloorFlow>(rows);
  const auto both = std::make_shared<CountersAndUpdate>();
  if (!EightAbreast::possible()) return work;
  work.beside.emplace_back("counters and running update", [=] {
    return flow->run([&](const char* cells, long count) { both->add(cells, rows->rowBytes(), count); });
  });
  work.check = [=, inner = work.check] {
    inner();
    expectedStatistics(*rows, 0, flow->rowsTaken()).requireSame(both->statistics(), "counters and running update");
  };
  return work;
}

}  // namespace

int main(int argc, char** argv) {
  Suite suite(argc, argv);
  const long rows = suite.pick(20L, 200L, 1000L) * kChunkRows;
  for (const long levels : {5L, 500L, 60000L}) {
    const std::string text = std::to_string(levels);
    suite.add("count_levels/alone/" + text, [=] {
      Work work = countFactorAlone(levels, rows);
      work.name = "count node: one factor column of " + text + " levels";
      work.reach = levels > 500 ? "3 x" : "1.5 x";
      work.aim = "1.1 x";
      return work;
    });
    suite.add("count_levels/beside_8_doubles/" + text, [=] {
      Work work = countFactor(8, levels, rows);
      work.name = "the same " + text + " levels beside 8 double columns";
      work.remark = "floor: 8 columns abreast, and the counters";
      return work;
    });
  }
  return suite.run();
}
