// What a host needs to write a node of its own: derive from SourceNode, SinkNode or TransformNode, and override work(),
// which does one chunk.  column.h reads and writes the cells.
//
//   class Squares : public zrb::SourceNode {
//     std::optional<zrb::OutputColumn<double>> m_x;
//     long m_next = 0;
//     void prepare() override {                        // after the connections are checked, before the first chunk
//       m_x.emplace(output(), "x");
//       m_next = 0;
//     }
//     long work(long rows) override {                  // fills chunk rows 0..rows-1
//       for (long row = 0; row < rows; ++row, ++m_next) m_x->set(row, double(m_next) * double(m_next));
//       return rows;                                   // fewer rows, also none, end the data
//     }
//   };
//
// prepare() and work() may throw.  The node then stops with the exception's text as its error, and zrb::run() or
// rethrowFailure() throws the exception again.
//
// A node that fits none of the three derives from ZRBProc (or from Node, for the exceptions) and does in execute() what
// ZRBProc.h shows.
#pragma once

#include <exception>
#include <stdexcept>
#include <string>

#include "ZRBBufReader.h"
#include "ZRBBufWriter.h"
#include "ZRBProc.h"
#include "zrb/error.h"

namespace zrb {

// A node with a fixed number of inputs and outputs whose exceptions reach the host.
class Node : public ZRBProc {
public:
  int init() override {
    ZRBProc::init();
    m_failure = nullptr;
    checkBufs(m_num_inputs, m_num_outputs);
    if (!hasError()) guarded([&] { prepare(); });
    return hasError();
  }

  long execute() override {
    long result = -1;
    guarded([&] { result = runChunk(); });
    return result;
  }

  // Throws what prepare() or work() threw since the last init(); does nothing if they did not.
  void rethrowFailure() {
    if (m_failure) std::rethrow_exception(m_failure);
  }

protected:
  Node(int numInputs, int numOutputs) : m_num_inputs(numInputs), m_num_outputs(numOutputs) {}

  // Called by init() when all inputs and outputs are connected and their buffers have been initialised.
  virtual void prepare() {}

  // One execute().
  virtual long runChunk() = 0;

  // REQUIRES: the input or output is connected, as it is from prepare() on.
  ZRBBufReader& input(int index = 0) { return *getInputBufReader(index); }
  ZRBBufWriter& output(int index = 0) { return *getOutputBufWriter(index); }

  // Throws unless a count of rows that work() was given and one that it returned go together.
  void checkWorked(long returned, long given) {
    if (returned >= 0 && returned <= given) return;
    throw Error(describeObject(*this) + ": work(" + std::to_string(given) + ") returned " + std::to_string(returned) +
                " rows, expected 0 to " + std::to_string(given));
  }

private:
  template <class Action>
  void guarded(Action action) {
    try {
      action();
    } catch (const std::exception& failure) {
      m_failure = std::current_exception();
      setError(failure.what());
    } catch (...) {
      m_failure = std::current_exception();
      setError("exception of an unknown type");
    }
  }

  int m_num_inputs;
  int m_num_outputs;
  std::exception_ptr m_failure;
};

// No input, one output.
class SourceNode : public Node {
protected:
  SourceNode() : Node(0, 1) {}

  // Writes chunk rows 0..rows-1 of output(), where rows is above 0, and returns how many it wrote.  Fewer than `rows`
  // end the data.
  virtual long work(long rows) = 0;

  long runChunk() override {
    const long room = executeRequestRows();
    if (room < 0) return room;
    if (room == 0) throw Error(describeObject(*this) + ": \"num.rows\" is 0, so that it would run for ever");
    const long rows = work(room);
    checkWorked(rows, room);
    executeReleaseRows(rows);
    if (rows < room) {
      setDone(1);
      output().setEOF();
    }
    return static_cast<long>(getRowsDone());
  }
};

// One input, no output.
class SinkNode : public Node {
protected:
  SinkNode() : Node(1, 0) {}

  // Reads chunk rows 0..rows-1 of input(); rows is above 0.
  virtual void work(long rows) = 0;
  // Called once, after the last row.
  virtual void finish() {}

  long runChunk() override {
    const long rows = executeRequestRows();
    if (rows < 0) return rows;
    if (rows > 0) work(rows);
    const long result = executeReleaseRows(rows);
    if (isDone()) finish();
    return result;
  }
};

// One input, one output, at most one row out for every row in.
class TransformNode : public Node {
protected:
  TransformNode() : Node(1, 1) {}

  // Reads chunk rows 0..rows-1 of input(), where rows is above 0, writes rows 0..k-1 of output() and returns k <= rows.
  virtual long work(long rows) = 0;

  long runChunk() override {
    const long rows = executeRequestRows();
    if (rows < 0) return rows;
    const long written = rows > 0 ? work(rows) : 0;
    checkWorked(written, rows);
    return executeReleaseRows(rows, written);
  }
};

}  // namespace zrb
