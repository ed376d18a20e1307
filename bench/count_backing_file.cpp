// What do the statistics of a file of rows cost, and how much memory?
//
// The process makes its rows piece by piece, so that its peak memory is the library's and the measurement's own.
#include "support/counter_tables.h"
#include "support/row_file.h"
#include "support/row_flow.h"
#include "support/running_statistics.h"
#include "support/suite.h"

using namespace bench;

namespace {

class CountedFile {
public:
  explicit CountedFile(long chunks)
      : m_chunks(chunks),
        m_buf(create<ZRBBackingFileBuf>(zrb_s_create_ZRBBackingFileBuf)),
        m_node(create<ZRBProcCount>(zrb_s_create_ZRBProcCount)),
        m_pipeline(create<ZRBPipeline>(zrb_s_create_ZRBPipeline)),
        m_expected(fileColumns().size()),
        m_expected_levels(kFileFactors, std::vector<long long>(65536)) {
    FileHandle file(m_file.path(), O_WRONLY | O_CREAT | O_TRUNC);
    PackedRows rows(fileColumns(), kChunkRows);
    for (long chunk = 0; chunk < m_chunks; ++chunk) {
      fillFileChunk(rows, chunk);
      for (long row = 0; row < kChunkRows; ++row) {
        for (std::size_t c = 0; c < m_expected.size(); ++c) m_expected[c].add(rows.measured(row, static_cast<long>(c)));
        for (long c = 0; c < kFileFactors; ++c)
          ++m_expected_levels[static_cast<std::size_t>(c)][rows.getLevel(row, kFileDoubles + c) & 0xFFFF];
      }
      reverseDoubles(rows);
      file.writeAll(rows.row(0), kChunkRows * rows.rowBytes());
    }

    rows.setSchemaOf(*m_buf);
    m_buf->setNumRows(kRingRows);
    m_buf->setBackingFileName(m_file.path());
    m_buf->setBackingFileTotalRows(m_chunks * kChunkRows);
    m_node->setNumRows(kRingRows);
    m_node->setInputBuf(0, m_buf.get());
    m_pipeline->addBuf(m_buf.get());
    m_pipeline->addProc(m_node.get());
    m_row_bytes = rows.rowBytes();
  }

  double runLibrary() {
    m_pipeline->init();
    Stopwatch watch;
    watch.start();
    m_pipeline->execute(0);
    watch.stop();
    return watch.ns();
  }

  // In the pieces that the ring takes.
  double runFloor() {
    std::vector<char> ring(static_cast<std::size_t>(kRingRows * m_row_bytes));
    FileHandle file(m_file.path(), O_RDONLY);
    Stopwatch watch;
    watch.start();
    for (long row = 0; row < m_chunks * kChunkRows; row += kRingRows)
      file.readAll(ring.data(), std::min(kRingRows, m_chunks * kChunkRows - row) * m_row_bytes);
    watch.stop();
    return watch.ns();
  }

  void check() {
    requireNoError(*m_buf, "buffer");
    requireNoError(*m_node, "node");
    requireEqual(m_node->isDone(), 1, "done");
    requireEqual(m_node->getRowsDone(), m_chunks * kChunkRows, "rows");
    for (std::size_t c = 0; c < m_expected.size(); ++c) checkStatistics(*m_node, static_cast<long>(c), m_expected[c]);
    for (long c = 0; c < kFileFactors; ++c)
      checkLevels(*m_node, kFileDoubles + c, m_expected_levels[static_cast<std::size_t>(c)]);
  }

private:
  long m_chunks;
  long m_row_bytes = 0;
  ScratchFile m_file{"count"};
  std::unique_ptr<ZRBBackingFileBuf> m_buf;  // before the node, so that it goes after it
  std::unique_ptr<ZRBProcCount> m_node;
  std::unique_ptr<ZRBPipeline> m_pipeline;
  std::vector<RunningStatistics> m_expected;
  std::vector<std::vector<long long>> m_expected_levels;
};

// The most memory that the process ever had, in kB.
long peakResident() {
  long kilobytes = 0;
  if (std::FILE* status = std::fopen("/proc/self/status", "r")) {
    char line[256];
    while (std::fgets(line, sizeof line, status))
      if (std::strncmp(line, "VmHWM:", 6) == 0) kilobytes = std::strtol(line + 6, nullptr, 10);
    std::fclose(status);
  }
  return kilobytes;
}

}  // namespace

int main(int argc, char** argv) {
  Suite suite(argc, argv);
  const long chunks = suite.pick(10L, 900L, 28572L);  // 63 MB, 2 GB
  suite.add(
      "count_backing_file",
      [=] {
        const auto file = std::make_shared<CountedFile>(chunks);
        Work work;
        work.name = "count node over a backing file of " + std::to_string(chunks * kChunkRows * 70 / 1000000) +
                    " MB, 8 doubles and 3 factors a row";
        work.unit = "row";
        work.unitsPerRun = static_cast<double>(chunks * kChunkRows);
        work.library = [=] { return file->runLibrary(); };
        work.floor = [=] { return file->runFloor(); };
        work.reach = "25 ns/row";
        work.aim = "17 ns/row";
        work.repeatDisturbedRuns = false;
        work.check = [=] { file->check(); };
        return work;
      },
      Suite::kFewPairs);
  suite.addFigure("count_backing_file/peak_memory", [] {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f MB", static_cast<double>(peakResident()) / 1024);
    return Figure{"peak memory of that process, the measurement's own included", text, "", "10 MB"};
  });
  return suite.run();
}
