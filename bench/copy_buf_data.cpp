// What does a cell cost in copyBufData, by column type, just above the switch to block copies and in whole chunks?
#include "support/counter_tables.h"
#include "support/fixed_random.h"
#include "support/row_flow.h"
#include "support/suite.h"

using namespace bench;

namespace {

constexpr long kColumns = 8;
constexpr long kLevels = 500;

// Copies its input to its output, in pieces of some rows; rows that make no whole piece are not copied.
class CopyNode final : public ZRBProc {
public:
  CopyNode(long pieceRows, std::shared_ptr<PackedRows> expected)
      : m_piece_rows(pieceRows), m_expected(std::move(expected)) {}

  int init() override {
    ZRBProc::init();
    checkBufs(1, 1);
    return hasError();
  }
  long execute() override {
    const long rows = executeRequestRows();
    if (rows < 0) return rows;
    ZRBBufReader* const reader = getInputBufReader(0);
    ZRBBufWriter* const writer = getOutputBufWriter(0);
    for (long row = 0; row + m_piece_rows <= rows; row += m_piece_rows)
      writer->copyBufData(reader, row, 0, row, 0, m_piece_rows, kColumns);
    if (m_verify) verify(*writer, rows);
    return executeReleaseRows(rows);
  }

  // Whether every chunk is held against what it should be.
  void setVerify(bool verify) { m_verify = verify; }

private:
  void verify(ZRBBufWriter& writer, long rows) {
    for (long row = 0; row < rows / m_piece_rows * m_piece_rows; ++row) {
      const char* const found = writer.getBuf()->getDataPtr(writer.getBufferRowNum(row), 0, 0);
      const char* const expected = m_expected->row((getRowsDone() + row) % m_expected->numRows());
      if (std::memcmp(found, expected, static_cast<std::size_t>(m_expected->rowBytes())) != 0)
        fail("row %lld is copied wrongly", getRowsDone() + row);
    }
  }

  long m_piece_rows;
  std::shared_ptr<PackedRows> m_expected;
  bool m_verify = true;
};

// The dictionary of the target runs the other way round.
long targetLevel(long level) { return level < 0 ? level : kLevels - 1 - level; }

void fillRows(PackedRows& source, PackedRows& target, ZRBBuf::column_type type) {
  FixedRandom random(6);
  for (long row = 0; row < source.numRows(); ++row)
    for (long c = 0; c < kColumns; ++c) {
      const bool isNA = random.chance(0.01);
      if (type == ZRBBuf::column_factor) {
        const long level = isNA ? -1 : random.below(kLevels);
        source.setLevel(row, c, level);
        target.setLevel(row, c, targetLevel(level));
      } else if (type == ZRBBuf::column_string) {
        const std::string text = isNA ? ZRBObj::getStringNA() : std::to_string(random.below(1000000000));
        source.setText(row, c, text);
        target.setText(row, c, text);
      } else {
        const double value = isNA ? ZRBObj::getDoubleNA() : random.normal();
        source.setDouble(row, c, value);
        target.setDouble(row, c, value);
      }
    }
}

// Column by column, cell by cell, with the strides of the rows.
class StridedCopy {
public:
  StridedCopy(ZRBBuf::column_type type, std::shared_ptr<PackedRows> expected)
      : m_type(type),
        m_expected(std::move(expected)),
        m_target(static_cast<std::size_t>(m_expected->rowBytes() * kRingRows)),
        m_map(65536) {
    for (long code = 0; code < 65536; ++code) {
      const unsigned target = static_cast<unsigned>(code < kLevels ? targetLevel(code) : 0xFFFF);
      m_map[static_cast<std::size_t>(code)] = __builtin_bswap16(static_cast<unsigned short>(target));
    }
  }

  void copy(const char* chunk, long rows, long pieceRows) {
    char* const target = m_target.data() + m_rows_done % kRingRows * m_expected->rowBytes();
    for (long row = 0; row + pieceRows <= rows; row += pieceRows)
      for (long c = 0; c < kColumns; ++c) {
        const long start = row * m_expected->rowBytes() + m_expected->offset(c);
        if (m_type == ZRBBuf::column_factor)
          copyLevels(chunk + start, target + start, pieceRows);
        else if (m_type == ZRBBuf::column_string)
          copyCells<16>(chunk + start, target + start, pieceRows);
        else
          copyCells<8>(chunk + start, target + start, pieceRows);
      }
    m_rows_done += rows;
    m_rows_copied = rows / pieceRows * pieceRows;
  }

  void check() const {
    if (m_rows_done == 0) return;
    const long chunkStart = m_rows_done - kChunkRows;
    for (long row = 0; row < m_rows_copied; ++row)
      if (std::memcmp(m_target.data() + (chunkStart + row) % kRingRows * m_expected->rowBytes(),
                      m_expected->row((chunkStart + row) % m_expected->numRows()),
                      static_cast<std::size_t>(m_expected->rowBytes())) != 0)
        fail("floor: row %ld is copied wrongly", row);
  }

private:
  template <std::size_t kWidth>
  void copyCells(const char* from, char* to, long rows) {
    const long rowBytes = m_expected->rowBytes();
    for (long row = 0; row < rows; ++row, from += rowBytes, to += rowBytes) std::memcpy(to, from, kWidth);
  }
  void copyLevels(const char* from, char* to, long rows) {
    const long rowBytes = m_expected->rowBytes();
    const unsigned short* const map = m_map.data();
    for (long row = 0; row < rows; ++row, from += rowBytes, to += rowBytes) std::memcpy(to, map + levelCode(from), 2);
  }

  ZRBBuf::column_type m_type;
  std::shared_ptr<PackedRows> m_expected;
  std::vector<char> m_target;
  std::vector<unsigned short> m_map;
  long m_rows_done = 0;
  long m_rows_copied = 0;  // of the latest chunk
};

struct TargetBuf {
  std::unique_ptr<ZRBMemoryBuf> buf = create<ZRBMemoryBuf>(zrb_s_create_ZRBMemoryBuf);
};

Work copyCells(const ColumnSpec& column, long pieceRows, long numRows) {
  const std::vector<ColumnSpec> columns(kColumns, column);
  const auto source = std::make_shared<PackedRows>(columns, numRows);
  const auto expected = std::make_shared<PackedRows>(columns, numRows);
  fillRows(*source, *expected, column.type);

  // Before the flow, so that the flow's nodes go first.
  const auto target = std::make_shared<TargetBuf>();
  target->buf->setNumRows(kRingRows);
  PackedRows(std::vector<ColumnSpec>(kColumns, ColumnSpec{column.type, 0, column.stringBytes}), 0)
      .setSchemaOf(*target->buf);
  for (long c = 0; c < kColumns; ++c)
    for (long level = 0; level < column.levels; ++level)
      target->buf->addLevel(c, ("level" + std::to_string(targetLevel(level))).c_str());
  auto node = std::make_unique<CopyNode>(pieceRows, expected);
  node->setOutputBuf(0, target->buf.get());
  target->buf->init();
  requireNoError(*target->buf, "target");
  const std::shared_ptr<RowFlow<CopyNode>> flow(new RowFlow<CopyNode>(source, std::move(node)),
                                                [target](RowFlow<CopyNode>* used) { delete used; });
  flow->start();
  flow->node().setVerify(false);

  const auto floorFlow = std::make_shared<FloorFlow>(source);
  const auto floor = std::make_shared<StridedCopy>(column.type, expected);
  Work work;
  work.unit = "cell";
  work.unitsPerRun = static_cast<double>(flow->chunksPerRun() * (kChunkRows / pieceRows * pieceRows) * kColumns);
  work.library = [=] { return flow->run(); };
  work.floor = [=] {
    return floorFlow->run([&](const char* chunk, long rows) { floor->copy(chunk, rows, pieceRows); });
  };
  work.check = [=] {
    flow->check();
    requireNoError(*target->buf, "target");
    flow->node().setVerify(true);
    flow->run();
    flow->node().setVerify(false);
    floor->check();
  };
  return work;
}

}  // namespace

int main(int argc, char** argv) {
  Suite suite(argc, argv);
  const long rows = suite.pick(3L, 60L, 200L) * kChunkRows;
  const struct {
    const char* label;
    const char* name;
    ColumnSpec column;
  } kinds[] = {{"doubles", "doubles", {}},
               {"strings", "strings of 16 bytes", {ZRBBuf::column_string, 0, 16}},
               {"factors", "factors, 500 levels", factorColumn(kLevels)}};
  for (const long pieceRows : {11L, 1000L})
    for (const auto& kind : kinds)
      suite.add(std::string("copy_buf_data/") + kind.label + "/" + std::to_string(pieceRows), [=] {
        Work work = copyCells(kind.column, pieceRows, rows);
        work.name = "copyBufData, " + std::to_string(pieceRows) + " rows, " + kind.name;
        if (kind.column.type == ZRBBuf::column_double) {
          work.reach = "1.3 x";
          work.aim = "1.1 x";
        }
        return work;
      });
  return suite.run();
}
