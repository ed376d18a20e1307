// A linear model node behind a buffer that the test fills, and fits of whole problems in chunks.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "ZRBBufWriter.h"
#include "ZRBMemoryBuf.h"
#include "ZRBProcLm.h"
#include "support/Harness.h"
#include "support/LeastSquares.h"
#include "support/PropertyCall.h"

// The node with its fields.
class OpenLm final : public ZRBProcLm {
public:
  using ZRBProcLm::m_allocated_columns;
  using ZRBProcLm::m_allocated_rows;
  using ZRBProcLm::m_factor;
  using ZRBProcLm::m_results;
  using ZRBProcLm::m_rhs;
  using ZRBProcLm::m_work;
};

// Double columns: the response, then the regressors.
template <class Buf>
struct LmFlowThrough {
  Buf buf;
  HarnessNode source;
  OpenLm node;
  ZRBBufWriter& writer;

  LmFlowThrough(long columns, long nodeRows, long ringRows = 3000) : writer(source.writeTo(buf)) {
    buf.setNumRows(ringRows);
    buf.setNumColumns(columns);
    node.setInputBuf(0, &buf);
    node.setNumRows(nodeRows);
    init();
  }
  int init() {
    buf.init();
    return node.init();
  }

  // Hands over one chunk and runs the node on it.  The matrix starts with the column of ones that the node adds itself.
  long update(const LeastSquares& rows) {
    node.setNumRows(rows.a.rows);
    release(rows);
    return node.execute();
  }
  void release(const LeastSquares& rows) {
    for (long i = 0; i < rows.a.rows; ++i) {
      writer.setDouble(i, 0, rows.b[static_cast<std::size_t>(i)]);
      for (long j = 1; j < rows.a.columns; ++j) writer.setDouble(i, j, rows.a(i, j));
    }
    writer.releaseRows(rows.a.rows);
  }

  std::vector<double> results() {
    PropertyCall("calculate.results").set(node);
    return storedResults();
  }
  std::vector<double> storedResults() {
    std::vector<double> values;
    for (long i = 0; i < buf.getNumColumns(); ++i)
      values.push_back(*PropertyCall("result").with(i).get(node).doubleResult);
    return values;
  }
  double factor(long i, long j) { return node.m_factor[static_cast<std::size_t>(i + j * buf.getNumColumns())]; }
  double rhs(long i) { return node.m_rhs[static_cast<std::size_t>(i)]; }
};
using LmFlow = LmFlowThrough<ZRBMemoryBuf>;

// With the node's column of ones in front.
inline LeastSquares withIntercept(const LeastSquares& problem) {
  LeastSquares result{Matrix<double>(problem.a.rows, problem.a.columns + 1), problem.b};
  std::fill_n(result.a.column(0), problem.a.rows, 1.0);
  std::copy(problem.a.cells.begin(), problem.a.cells.end(), result.a.column(1));
  return result;
}

// The coefficients of a problem (with its column of ones) that the node finds in chunks of `chunkRows` rows.
inline std::vector<double> fitInChunks(const LeastSquares& problem, long chunkRows) {
  LmFlow flow(problem.a.columns, chunkRows, chunkRows);
  for (long first = 0; first < problem.a.rows; first += chunkRows)
    flow.update(rowsOf(problem, first, std::min(chunkRows, problem.a.rows - first)));
  return flow.results();
}
