// What does one step of a pipeline cost when the chunk is empty of work?
#include "support/suite.h"
#include "support/write_flow.h"

using namespace bench;

namespace {

// A null reader and a null writer that touch no cell: half of the steps are the one's, half the other's.
class EmptySteps {
public:
  explicit EmptySteps(long chunkRows)
      : m_chunk_rows(chunkRows),
        m_buf(create<ZRBMemoryBuf>(zrb_s_create_ZRBMemoryBuf)),
        m_reader(create<ZRBProcNullReader>(zrb_s_create_ZRBProcNullReader)),
        m_writer(create<ZRBProcNullWriter>(zrb_s_create_ZRBProcNullWriter)),
        m_pipeline(create<ZRBPipeline>(zrb_s_create_ZRBPipeline)) {
    m_buf->setNumColumns(8);
    m_reader->setTotalRows(kEndlessRows);
    m_reader->setAccessBuf(0);
    m_writer->setAccessBuf(0);
    m_reader->setNumRows(chunkRows);
    m_writer->setNumRows(chunkRows);
    m_reader->setOutputBuf(0, m_buf.get());
    m_writer->setInputBuf(0, m_buf.get());
    m_pipeline->addBuf(m_buf.get());
    m_pipeline->addProc(m_reader.get());
    m_pipeline->addProc(m_writer.get());
    m_pipeline->init();
  }

  double run(long steps) {
    Stopwatch watch;
    watch.start();
    m_pipeline->execute(steps);
    watch.stop();
    m_steps += steps;
    return watch.ns();
  }

  void check() {
    requireNoError(*m_buf, "buffer");
    requireNoError(*m_reader, "null reader");
    requireNoError(*m_writer, "null writer");
    requireEqual(m_pipeline->getTotalExecutionCount(), m_steps, "steps");
    requireEqual(m_reader->getExecuteCount(), m_steps / 2, "steps of the null reader");
    requireEqual(m_writer->getExecuteCount(), m_steps / 2, "steps of the null writer");
    requireEqual(m_reader->getRowsDone(), m_steps / 2 * m_chunk_rows, "rows of the null reader");
    requireEqual(m_writer->getRowsDone(), m_steps / 2 * m_chunk_rows, "rows of the null writer");
  }

private:
  long m_chunk_rows;
  std::unique_ptr<ZRBMemoryBuf> m_buf;  // before the nodes, so that it goes after them
  std::unique_ptr<ZRBProcNullReader> m_reader;
  std::unique_ptr<ZRBProcNullWriter> m_writer;
  std::unique_ptr<ZRBPipeline> m_pipeline;
  long long m_steps = 0;
};

Work emptySteps(long chunkRows, const char* name, long steps) {
  const auto flow = std::make_shared<EmptySteps>(chunkRows);
  Work work;
  work.name = name;
  work.unit = "step";
  work.unitsPerRun = static_cast<double>(steps);
  work.library = [=] { return flow->run(steps); };
  work.reach = "50 ns";
  work.aim = "20 ns";
  work.check = [=] { flow->check(); };
  return work;
}

}  // namespace

int main(int argc, char** argv) {
  Suite suite(argc, argv);
  const long steps = suite.pick(100L, 10000L, 10000L);
  suite.add("pipeline_step/no_rows", [=] { return emptySteps(0, "pipeline step, chunk of 0 rows", steps); });
  suite.add("pipeline_step/no_access",
            [=] { return emptySteps(kChunkRows, "pipeline step, 1000 rows, no cell touched", steps); });
  return suite.run();
}
