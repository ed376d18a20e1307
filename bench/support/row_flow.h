// A source of prepared rows, a memory buffer, and a node under measurement.
//
// The cost of the source stays outside: the pipeline runs one node at a time, and only the executions of the measured
// node are timed.  A chunk has just been copied into the ring when that node runs, so it is in the second-level cache,
// as behind any source; the prepared rows are so many that no predictor knows them from the pass before.
#pragma once

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "packed_rows.h"
#include "stopwatch.h"
#include "zrbbase.h"

namespace bench {

constexpr long kChunkRows = 1000;
constexpr long kRingRows = 3000;

template <class Object>
std::unique_ptr<Object> create(void (*factory)(void**)) {
  void* object = nullptr;
  factory(&object);
  return std::unique_ptr<Object>(static_cast<Object*>(object));
}

// Writes the prepared rows again and again.
class RowSource final : public ZRBProc {
public:
  explicit RowSource(const PackedRows& rows) : m_rows(rows) {}

  int init() override {
    ZRBProc::init();
    checkBufs(0, 1);
    m_next = 0;
    return hasError();
  }

  long execute() override {
    const long rows = executeRequestRows();
    if (rows < 1) return rows;
    ZRBBufWriter& writer = *getOutputBufWriter(0);
    ZRBBuf& buf = *writer.getBuf();
    for (long written = 0; written < rows;) {
      const long ringRow = writer.getBufferRowNum(written);
      const long count = std::min({rows - written, buf.getNumRows() - ringRow, m_rows.numRows() - m_next});
      std::memcpy(buf.getDataPtr(ringRow, 0, 0), m_rows.row(m_next),
                  static_cast<std::size_t>(count * m_rows.rowBytes()));
      written += count;
      m_next = (m_next + count) % m_rows.numRows();
    }
    return executeReleaseRows(rows);
  }

private:
  const PackedRows& m_rows;
  long m_next = 0;
};

// Prepared rows in endless rounds, a few chunks per run: a short run has a fair chance to keep the processor.
class Rounds {
public:
  Rounds(std::shared_ptr<PackedRows> rows, long chunkRows) : m_rows(std::move(rows)), m_chunk_rows(chunkRows) {
    if (m_rows->numRows() % chunkRows != 0) fail("the rows are no whole number of chunks");
  }

  const PackedRows& rows() const { return *m_rows; }
  long chunkRows() const { return m_chunk_rows; }
  long chunks() const { return m_rows->numRows() / m_chunk_rows; }
  long chunksPerRun() const { return std::clamp(kRowsPerRun / m_chunk_rows, 1L, chunks()); }
  long rowsPerRun() const { return chunksPerRun() * m_chunk_rows; }

  long rowsTaken() const { return m_rows_taken; }
  void restart() { m_rows_taken = 0; }
  void takeChunk() { m_rows_taken += m_chunk_rows; }

private:
  static constexpr long kRowsPerRun = 20000;

  std::shared_ptr<PackedRows> m_rows;
  long m_chunk_rows;
  long m_rows_taken = 0;
};

// The two nodes, the buffer and the pipeline.
template <class Node>
class RowFlow : public Rounds {
public:
  RowFlow(std::shared_ptr<PackedRows> prepared, std::unique_ptr<Node> measuredNode, long chunkRowsToUse = kChunkRows)
      : Rounds(std::move(prepared), chunkRowsToUse),
        m_buf(create<ZRBMemoryBuf>(zrb_s_create_ZRBMemoryBuf)),
        m_source(rows()),
        m_node(std::move(measuredNode)),
        m_pipeline(create<ZRBPipeline>(zrb_s_create_ZRBPipeline)) {
    rows().setSchemaOf(*m_buf);
    m_buf->setNumRows(kRingRows / kChunkRows * chunkRows());
    m_source.setNumRows(chunkRows());
    m_node->setNumRows(chunkRows());
    m_source.setOutputBuf(0, m_buf.get());
    m_node->setInputBuf(0, m_buf.get());
    m_pipeline->addBuf(m_buf.get());
    m_pipeline->addProc(&m_source);
    m_pipeline->addProc(m_node.get());
  }
  RowFlow(const RowFlow&) = delete;
  RowFlow& operator=(const RowFlow&) = delete;

  // Begins anew, and takes all prepared rows once.
  double start() {
    m_pipeline->init();
    requireNoError(*m_buf, "buffer");
    requireNoError(*m_node, "node");
    restart();
    return runChunks(chunks());
  }
  double run() { return runChunks(chunksPerRun()); }

  // Ends the program unless the measured node has taken every row of every run.
  void check() {
    requireNoError(*m_buf, "buffer");
    requireNoError(m_source, "source");
    requireNoError(*m_node, "node");
    requireEqual(m_node->getRowsDone(), rowsTaken(), "rows of the node");
  }

  Node& node() { return *m_node; }
  ZRBMemoryBuf& buf() { return *m_buf; }

private:
  double runChunks(long count) {
    Stopwatch watch;
    for (long chunk = 0; chunk < count; ++chunk) {
      m_pipeline->execute(1);
      watch.start();
      m_pipeline->execute(1);
      watch.stop();
      takeChunk();
    }
    return watch.ns();
  }

  std::unique_ptr<ZRBMemoryBuf> m_buf;  // before the nodes, so that it goes after them
  RowSource m_source;
  std::unique_ptr<Node> m_node;
  std::unique_ptr<ZRBPipeline> m_pipeline;
};

// The same rows for a floor: each chunk is copied into a ring like the buffer's, then `loop(rows, count)` is timed.
class FloorFlow : public Rounds {
public:
  explicit FloorFlow(std::shared_ptr<PackedRows> prepared, long chunkRowsToUse = kChunkRows)
      : Rounds(std::move(prepared), chunkRowsToUse),
        m_ring(static_cast<std::size_t>(kRingRows / kChunkRows * chunkRows() * rows().rowBytes())) {}

  template <class Loop>
  double run(Loop loop) {
    Stopwatch watch;
    const long chunkBytes = chunkRows() * rows().rowBytes();
    for (long i = 0; i < chunksPerRun(); ++i) {
      const long chunk = rowsTaken() / chunkRows();
      char* const target = m_ring.data() + chunk % (kRingRows / kChunkRows) * chunkBytes;
      std::memcpy(target, rows().row(chunk % chunks() * chunkRows()), static_cast<std::size_t>(chunkBytes));
      watch.start();
      loop(static_cast<const char*>(target), chunkRows());
      watch.stop();
      takeChunk();
    }
    return watch.ns();
  }

private:
  std::vector<char> m_ring;
};

}  // namespace bench
