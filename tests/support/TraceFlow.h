// A node that prints its chunks, behind a buffer that the test fills.
#pragma once

#include <string>
#include <vector>

#include "ZRBBufWriter.h"
#include "ZRBMemoryBuf.h"
#include "support/CapturedOutput.h"
#include "support/Harness.h"

template <class Node>
struct TraceFlow {
  ZRBMemoryBuf buf;
  HarnessNode source;
  Node node;
  ZRBBufWriter& writer;

  explicit TraceFlow(const std::vector<Column>& columns, long ringRows = 3000) : writer(source.writeTo(buf)) {
    buf.setNumRows(ringRows);
    setColumns(buf, columns);
    node.setInputBuf(0, &buf);
    node.setNumRows(ringRows);
    buf.init();
    node.init();
  }

  // Hands on the rows that the test has written, runs the node on them as one chunk and returns what it prints.
  std::string print(long rows) {
    node.setNumRows(rows);
    writer.releaseRows(rows);
    return run();
  }
  std::string run() {
    CapturedOutput output;
    result = node.execute();
    return output.text();
  }

  long result = 0;  // of the latest run
};
