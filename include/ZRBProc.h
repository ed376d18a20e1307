#pragma once

#include <vector>

#include "ZRBObj.h"
#include "export.h"

class ZRBBuf;
class ZRBBufReader;
class ZRBBufWriter;

// The base of every processing node: numbered inputs and outputs, chunk sizes, readiness and completion.
//
// A node's execute() does one chunk:
//
//   const long rows = executeRequestRows();   // tells every end what is wanted; -1: not ready or badly connected
//   if (rows < 0) return rows;
//   ... read rows 0..rows-1 through getInputBufReader(i), write them through getOutputBufWriter(i) ...
//   return executeReleaseRows(rows);          // done, and end of data downstream, once an input is exhausted
//
// A new node has the error "uninitialized" and cannot run before init().  A node with an error does not run.
// Deriving: call the base class's init() first, then checkBufs(); all calls below between virtual operations go through
// the table, so an override of isDone(), getNumRows() and the like is seen by the base class.
class ZRB_EXPORT ZRBProc : public ZRBObj {
public:
  ZRBProc();

  // Virtual slots 0..23: declaration order is binary interface (tests/abi/SlotsTest.cpp).
  ~ZRBProc() override;  // hands its ends back to their buffers
  int init() override;  // not done, no rows done, execute count 0
  void setProperty(ZRBPropertyInfo* info) override;
  void getProperty(ZRBPropertyInfo* info) override;
  // One chunk.  Negative: nothing could be done.  Here: nothing, 0.
  virtual long execute();
  // Not done, no error, and every end connected and ready.
  virtual int isReady();
  virtual void setDone(int done);
  virtual int isDone();
  virtual long long getExecuteCount();
  virtual void setExecuteCount(long long count);
  virtual long long incrementExecuteCount();  // returns the new count
  virtual long long getRowsDone();
  virtual void setRowsDone(long long rows);
  virtual long long incrementRowsDone(long rows);  // returns the new count
  // Most rows of a chunk; 1000 in a new node.  With 0 the node is always ready and moves nothing: a pipeline without a
  // limit then runs for ever.
  virtual void setNumRows(long rows);
  virtual long getNumRows();
  virtual void setOutputNumRows(long rows);  // the same for outputs; negative (as in a new node): getNumRows()
  virtual long getOutputNumRows();
  // Asks every end for a chunk and returns its rows: the fewest that an end has ready, at most getNumRows() of inputs and
  // getOutputNumRows() of outputs; 0 without ends; -1 when an end is missing (an error) or not ready.
  virtual long executeRequestRows();
  virtual long executeReleaseRows(long rows);  // the same count on inputs and outputs
  // Releases the rows of the chunk and requests the next.  When an input is at end of data with no rows left, the node
  // is done and its outputs get end of data.  Returns the rows done, or 1 when nothing was released because the node was
  // done or has an error.
  virtual long executeReleaseRows(long inputRows, long outputRows);
  // An error unless the number of connected ends is as given and none is missing in between.
  virtual void checkBufs(int numInputs, int numOutputs);
  virtual void checkBufs(int minInputs, int maxInputs, int minOutputs, int maxOutputs);

  // ---- Connections ----
  // Connects input `index` to `buf`, replacing what was there; null detaches.  The buffer is borrowed and must outlive
  // the connection or be destroyed properly, which detaches it.  Negative indexes are ignored.
  void setInputBuf(int index, ZRBBuf* buf);
  void setOutputBuf(int index, ZRBBuf* buf);
  ZRBBufReader* getInputBufReader(int index);  // null when there is none
  ZRBBufWriter* getOutputBufWriter(int index);
  ZRBBuf* getInputBuf(int index);
  ZRBBuf* getOutputBuf(int index);
  int getNumInputs();  // up to the last connected one
  int getNumOutputs();
  // Called by a buffer that takes its end back.
  void unlinkBufReader(ZRBBufReader* reader);
  void unlinkBufWriter(ZRBBufWriter* writer);

  // ---- Callback: one handler for all nodes, called by a node or a host, never by the library itself ----
  static void setCallbackHandler(void (*handler)(int));
  void setCallbackVal(int value);
  int getCallbackVal();
  void setCallbackInfo(int info);
  int getCallbackInfo();
  void doCallback();  // calls the handler with getCallbackVal(); an exception of the handler is dropped

protected:
  int m_done;
  long long m_execute_count;
  std::vector<ZRBBufReader*> m_inputs;   // owned by their buffers; entries may be null
  std::vector<ZRBBufWriter*> m_outputs;  // likewise
  long long m_rows_done;
  long m_num_rows;
  long m_output_num_rows;
  int m_callback_val;
  int m_callback_info;

private:
  struct ZRB_HIDDEN Properties;
};
