// What does a draw of the random reader cost, with its cell?
#include "support/plain_generator.h"
#include "support/suite.h"
#include "support/write_flow.h"

using namespace bench;

namespace {

constexpr long kSeed = 7;

// The stream's first three draws and its 100,000th, computed with integers of any length elsewhere.
void checkGenerator() {
  PlainGenerator generator(kSeed);
  double last = 0;
  for (int i = 0; i < 100000; ++i) {
    last = generator.draw();
    if (i == 0) requireSameBits(last, 0x1.8d3cab257cb71p+30, "draw 1");
    if (i == 1) requireSameBits(last, 0x1.92a34374410d8p+30, "draw 2");
    if (i == 2) requireSameBits(last, 0x1.ff8f9e6fb44a8p+30, "draw 3");
  }
  requireSameBits(last, 0x1.986e0b0551758p+30, "draw 100000");
}

// What the node makes of a draw.  Below 0.8 it would choose another text: once in five milliards of draws.
void writeExpected(PackedRows& rows, long row, long column, ZRBBuf::column_type type, double draw) {
  if (draw < 0.8) fail("a draw below 0.8: choose another seed");
  switch (type) {
    case ZRBBuf::column_factor:
      return rows.setLevel(row, column, 0);
    case ZRBBuf::column_string:
      return rows.setText(row, column, "string-one");
    case ZRBBuf::column_timeDate:
      return rows.setTimeDate(row, column, static_cast<long long>(draw * 86400000));
    default:
      return rows.setDouble(row, column, draw);
  }
}

// Ends the program unless the ring ends with the stream's latest rows.
void checkRing(WriteFlow& flow, const std::vector<ColumnSpec>& columns) {
  PackedRows expected(columns, flow.rowsInRing());
  PlainGenerator generator(kSeed);
  for (long long row = 0; row < flow.rowsDone(); ++row) {
    const long long ringRow = row - (flow.rowsDone() - flow.rowsInRing());
    for (long c = 0; c < expected.numColumns(); ++c) {
      const double draw = generator.draw();
      if (ringRow >= 0) writeExpected(expected, ringRow, c, columns[static_cast<std::size_t>(c)].type, draw);
    }
  }
  flow.checkRing(expected);
}

// The plain generator loop into rows of 80 bytes.
class PlainRows {
public:
  explicit PlainRows(long columns) : m_columns(columns), m_ring(static_cast<std::size_t>(kRowBytes * kRingRows)) {}

  double run(long rows) {
    Stopwatch watch;
    for (long done = 0; done < rows; done += kChunkRows) {
      char* row = m_ring.data() + m_rows_done % kRingRows * kRowBytes;
      watch.start();
      PlainGenerator generator = m_generator;  // in registers
      for (long i = 0; i < kChunkRows; ++i, row += kRowBytes)
        for (long c = 0; c < m_columns; ++c) {
          const double draw = generator.draw();
          std::memcpy(row + 8 * c, &draw, 8);
        }
      m_generator = generator;
      watch.stop();
      m_rows_done += kChunkRows;
    }
    return watch.ns();
  }

  void check() const {
    if (m_rows_done < 1) return;
    PlainGenerator generator(kSeed);
    double last = 0;
    for (long i = 0; i < m_rows_done * m_columns; ++i) last = generator.draw();
    double found;
    std::memcpy(&found, m_ring.data() + (m_rows_done - 1) % kRingRows * kRowBytes + 8 * (m_columns - 1), 8);
    requireSameBits(found, last, "floor: last draw");
  }

private:
  static constexpr long kRowBytes = 80;

  PlainGenerator m_generator{kSeed};
  long m_columns;
  std::vector<char> m_ring;
  long m_rows_done = 0;
};

Work randomReader(const std::vector<ColumnSpec>& columns, long rowsPerRun) {
  checkGenerator();
  auto node = create<ZRBProcRandomReader>(zrb_s_create_ZRBProcRandomReader);
  node->setSeed(kSeed);
  node->setTotalRows(kEndlessRows);
  const auto flow = std::make_shared<WriteFlow>(columns, std::move(node));
  const auto floor = std::make_shared<PlainRows>(static_cast<long>(columns.size()));
  Work work;
  work.unit = "draw";
  work.unitsPerRun = static_cast<double>(rowsPerRun) * static_cast<double>(columns.size());
  work.library = [=] { return flow->run(rowsPerRun); };
  work.floor = [=] { return floor->run(rowsPerRun); };
  work.check = [=] {
    checkRing(*flow, columns);
    floor->check();
  };
  return work;
}

}  // namespace

int main(int argc, char** argv) {
  Suite suite(argc, argv);
  const long rows = suite.pick(4L, 20L, 20L) * kChunkRows;
  suite.add("random_reader/8_doubles", [=] {
    Work work = randomReader(doubleColumns(8), rows);
    work.name = "random reader, 8 double columns";
    work.reach = "1.15 x";
    work.aim = "0.4 x";
    return work;
  });
  suite.add("random_reader/mixed", [=] {
    std::vector<ColumnSpec> columns = doubleColumns(10);  // 80 bytes a row
    columns[2] = columns[6] = factorColumn(0);
    columns[4] = {ZRBBuf::column_string, 0, 20};
    columns[3].type = columns[8].type = ZRBBuf::column_timeDate;
    Work work = randomReader(columns, rows);
    work.name = "random reader, mixed columns (5 double, 2 factor, 1 string, 2 time-date)";
    work.reach = "3 x";
    work.aim = "0.4 x";
    return work;
  });
  return suite.run();
}
