// A node under measurement that writes a memory buffer.  Nobody reads it, so that the ring always has room.
#pragma once

#include <limits>
#include <memory>
#include <utility>
#include <vector>

#include "row_flow.h"

namespace bench {

constexpr long long kEndlessRows = std::numeric_limits<long long>::max() / 2;

class WriteFlow {
public:
  WriteFlow(const std::vector<ColumnSpec>& columns, std::unique_ptr<ZRBProc> node)
      : m_buf(create<ZRBMemoryBuf>(zrb_s_create_ZRBMemoryBuf)),
        m_node(std::move(node)),
        m_pipeline(create<ZRBPipeline>(zrb_s_create_ZRBPipeline)) {
    PackedRows(columns, 0).setSchemaOf(*m_buf);
    m_buf->setNumRows(kRingRows);
    m_node->setNumRows(kChunkRows);
    m_node->setOutputBuf(0, m_buf.get());
    m_pipeline->addBuf(m_buf.get());
    m_pipeline->addProc(m_node.get());
    m_pipeline->init();
    requireNoError(*m_buf, "buffer");
    requireNoError(*m_node, "node");
  }

  // A whole number of chunks.
  double run(long rows) {
    Stopwatch watch;
    watch.start();
    m_pipeline->execute(rows / kChunkRows);
    watch.stop();
    m_rows_done += rows;
    return watch.ns();
  }

  ZRBBuf& buf() { return *m_buf; }
  long long rowsDone() const { return m_rows_done; }
  long rowsInRing() const { return static_cast<long>(std::min<long long>(m_rows_done, kRingRows)); }

  // Ends the program unless the node has written every row, and the latest ones hold what `expected` does.
  void checkRing(const PackedRows& expected) {
    requireNoError(*m_buf, "buffer");
    requireNoError(*m_node, "node");
    requireEqual(m_node->getRowsDone(), m_rows_done, "rows of the node");
    requireEqual(m_buf->getInputRowsReleased(), m_rows_done, "rows released");
    for (long row = 0; row < expected.numRows(); ++row) {
      const long ringRow = static_cast<long>((m_rows_done - expected.numRows() + row) % kRingRows);
      if (std::memcmp(m_buf->getDataPtr(ringRow, 0, 0), expected.row(row),
                      static_cast<std::size_t>(expected.rowBytes())) != 0)
        fail("row %lld of the stream is wrong", m_rows_done - expected.numRows() + row);
    }
  }

private:
  std::unique_ptr<ZRBMemoryBuf> m_buf;  // before the node, so that it goes after it
  std::unique_ptr<ZRBProc> m_node;
  std::unique_ptr<ZRBPipeline> m_pipeline;
  long long m_rows_done = 0;
};

}  // namespace bench
