// A source node of a test: writes given rows, in chunks of given sizes.
#pragma once

#include <algorithm>
#include <functional>
#include <utility>
#include <vector>

#include "ZRBBufWriter.h"
#include "ZRBProc.h"

class TableSource final : public ZRBProc {
public:
  // Writes the cells of stream row `streamRow` into chunk row `row`.
  using WriteRow = std::function<void(ZRBBufWriter& writer, long row, long long streamRow)>;

  // The sizes of the chunks are taken from `chunks` in turn, each cut to the room in the ring.
  TableSource(long long totalRows, WriteRow writeRow, std::vector<long> chunks = {1000})
      : m_total_rows(totalRows), m_write_row(std::move(writeRow)), m_chunks(std::move(chunks)) {}

  int init() override {
    ZRBProc::init();
    m_next_chunk = 0;
    checkBufs(0, 1);
    return hasError();
  }

  long execute() override {
    ZRBBufWriter& writer = *getOutputBufWriter(0);
    writer.setRequestRows(1);
    if (!writer.isReady()) return -1;
    const long wanted = m_chunks[m_next_chunk++ % m_chunks.size()];
    const long left = static_cast<long>(m_total_rows - getRowsDone());
    const long rows = std::min({wanted, writer.getRowsReady(), left});
    for (long row = 0; row < rows; ++row) m_write_row(writer, row, getRowsDone() + row);
    writer.releaseRows(rows);
    incrementRowsDone(rows);
    if (getRowsDone() >= m_total_rows) {
      setDone(1);
      writer.setEOF();
    }
    return rows;
  }

private:
  long long m_total_rows;
  WriteRow m_write_row;
  std::vector<long> m_chunks;
  std::size_t m_next_chunk = 0;
};
