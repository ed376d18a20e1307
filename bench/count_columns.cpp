// What do minimum, maximum, mean, deviation and the count of NA of double columns cost?
#include "support/fixed_random.h"
#include "support/row_flow.h"
#include "support/running_statistics.h"
#include "support/suite.h"

using namespace bench;

namespace {

std::shared_ptr<PackedRows> makeRows(long columns, long numRows, double partNA) {
  auto rows = std::make_shared<PackedRows>(doubleColumns(columns), numRows);
  FixedRandom random(1);
  for (long row = 0; row < numRows; ++row)
    for (long c = 0; c < columns; ++c)
      rows->setDouble(
          row, c,
          random.chance(partNA) ? ZRBObj::getDoubleNA() : 100.0 * static_cast<double>(c) + 10.0 * random.normal());
  return rows;
}

Work countColumns(long numRows, double partNA, const char* name) {
  constexpr long kColumns = 8;
  const auto rows = makeRows(kColumns, numRows, partNA);
  const auto flow = std::make_shared<RowFlow<ZRBProcCount>>(rows, create<ZRBProcCount>(zrb_s_create_ZRBProcCount));
  flow->start();
  const auto floorFlow = std::make_shared<FloorFlow>(rows);
  const bool hasFloor = EightAbreast::possible();
  const auto abreast = std::make_shared<EightAbreast>();

  Work work;
  work.name = name;
  work.unit = "cell";
  work.unitsPerRun = static_cast<double>(kColumns * flow->rowsPerRun());
  work.library = [=] { return flow->run(); };
  if (hasFloor)
    work.floor = [=] {
      return floorFlow->run([&](const char* cells, long count) { abreast->add(cells, kColumns * 8, count); });
    };
  else
    work.remark = "no AVX2 for the floor";
  work.check = [=] {
    flow->check();
    for (int c = 0; c < kColumns; ++c) {
      checkStatistics(flow->node(), c, expectedStatistics(*rows, c, flow->rowsTaken()));
      if (hasFloor) expectedStatistics(*rows, c, floorFlow->rowsTaken()).requireSame(abreast->column(c), "floor");
    }
  };
  return work;
}

}  // namespace

int main(int argc, char** argv) {
  Suite suite(argc, argv);
  const long rows = suite.pick(3L, 200L, 1000L) * kChunkRows;
  suite.add("count_columns/8_doubles", [=] {
    Work work = countColumns(rows, 0.01, "count node: 8 double columns, 1 % NA");
    work.reach = "1.4 x";
    work.aim = "1.1 x";
    return work;
  });
  suite.add("count_columns/8_doubles_without_NA",
            [=] { return countColumns(rows, 0.0, "count node: 8 double columns, no NA"); });
  return suite.run();
}
