// What does a cell cost on its way from a null reader through a buffer to a null writer, both touching every cell?
#include "support/row_flow.h"
#include "support/suite.h"
#include "support/write_flow.h"

using namespace bench;

namespace {

constexpr long kColumns = 10;

class NullFlow {
public:
  NullFlow()
      : m_buf(create<ZRBMemoryBuf>(zrb_s_create_ZRBMemoryBuf)),
        m_reader(create<ZRBProcNullReader>(zrb_s_create_ZRBProcNullReader)),
        m_writer(create<ZRBProcNullWriter>(zrb_s_create_ZRBProcNullWriter)),
        m_pipeline(create<ZRBPipeline>(zrb_s_create_ZRBPipeline)) {
    m_buf->setNumColumns(kColumns);
    m_buf->setNumRows(kRingRows);
    m_reader->setTotalRows(kEndlessRows);
    m_reader->setOutputBuf(0, m_buf.get());
    m_writer->setInputBuf(0, m_buf.get());
    m_pipeline->addBuf(m_buf.get());
    m_pipeline->addProc(m_reader.get());
    m_pipeline->addProc(m_writer.get());
    m_pipeline->init();
  }

  double run(long rows) {
    Stopwatch watch;
    watch.start();
    m_pipeline->execute(2 * rows / kChunkRows);  // each chunk is written and read
    watch.stop();
    m_rows_done += rows;
    return watch.ns();
  }

  void check() {
    requireNoError(*m_buf, "buffer");
    requireNoError(*m_reader, "null reader");
    requireNoError(*m_writer, "null writer");
    requireEqual(m_reader->getRowsDone(), m_rows_done, "rows of the null reader");
    requireEqual(m_writer->getRowsDone(), m_rows_done, "rows of the null writer");
    for (long row = std::max(m_rows_done - kRingRows, 0L); row < m_rows_done; ++row)
      for (long c = 0; c < kColumns; ++c)
        requireSameBits(m_buf->getRawDouble(row % kRingRows, c), static_cast<double>(row + c), "cell");
  }

private:
  std::unique_ptr<ZRBMemoryBuf> m_buf;  // before the nodes, so that it goes after them
  std::unique_ptr<ZRBProcNullReader> m_reader;
  std::unique_ptr<ZRBProcNullWriter> m_writer;
  std::unique_ptr<ZRBPipeline> m_pipeline;
  long m_rows_done = 0;
};

// One store and one load per cell of the same rows.
class StoresAndLoads {
public:
  StoresAndLoads() : m_ring(static_cast<std::size_t>(kRingRows * kColumns * 8)) {}

  double run(long rows) {
    Stopwatch watch;
    watch.start();
    for (long done = 0; done < rows; done += kChunkRows) {
      char* const chunk = m_ring.data() + m_rows_done % kRingRows * kColumns * 8;
      store(chunk, static_cast<double>(m_rows_done));
      load(chunk);
      m_rows_done += kChunkRows;
    }
    watch.stop();
    return watch.ns();
  }

  void check() const {
    for (long row = std::max(m_rows_done - kRingRows, 0L); row < m_rows_done; ++row)
      for (long c = 0; c < kColumns; ++c) {
        double found;
        std::memcpy(&found, m_ring.data() + (row % kRingRows * kColumns + c) * 8, 8);
        requireSameBits(found, static_cast<double>(row + c), "floor: cell");
      }
  }

private:
  // The empty statements take a single value, which keeps the compiler from storing or loading several at once.
  static void store(char* cell, double firstBase) {
    for (long row = 0; row < kChunkRows; ++row) {
      const double base = firstBase + static_cast<double>(row);
      for (long c = 0; c < kColumns; ++c, cell += 8) {
        double value = static_cast<double>(c) + base;
        asm volatile("" : "+x"(value));
        std::memcpy(cell, &value, 8);
      }
    }
  }
  static void load(const char* cell) {
    for (long i = 0; i < kChunkRows * kColumns; ++i, cell += 8) {
      double value;
      std::memcpy(&value, cell, 8);
      asm volatile("" : : "x"(value) : "memory");
    }
  }

  std::vector<char> m_ring;
  long m_rows_done = 0;
};

}  // namespace

int main(int argc, char** argv) {
  Suite suite(argc, argv);
  const long rows = suite.pick(4L, 20L, 20L) * kChunkRows;
  suite.add("null_pipeline/10_doubles", [=] {
    const auto flow = std::make_shared<NullFlow>();
    const auto floor = std::make_shared<StoresAndLoads>();
    Work work;
    work.name = "null reader -> buffer -> null writer, 10 double columns";
    work.unit = "cell";
    work.unitsPerRun = static_cast<double>(rows * kColumns);
    work.library = [=] { return flow->run(rows); };
    work.floor = [=] { return floor->run(rows); };
    work.reach = "1.5 x";
    work.aim = "1.1 x";
    work.check = [=] {
      flow->check();
      floor->check();
    };
    return work;
  });
  return suite.run();
}
