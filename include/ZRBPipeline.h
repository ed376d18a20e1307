#pragma once

#include <vector>

#include "ZRBObj.h"
#include "export.h"

class ZRBBuf;
class ZRBProc;

// Runs nodes round robin, one chunk at a time, on the caller's thread.  Borrows its nodes and buffers: it never creates,
// connects or deletes them.  Delete nodes before the buffers they use.
class ZRB_EXPORT ZRBPipeline : public ZRBObj {
public:
  ZRBPipeline();

  // Virtual slots 0..4 are ZRBObj's.
  ~ZRBPipeline() override;
  int init() override;  // counts to 0, then init() of every buffer, then of every node, in list order
  void setProperty(ZRBPropertyInfo* info) override;
  void getProperty(ZRBPropertyInfo* info) override;

  // Null is ignored; adding again moves to the end of the list.
  void addProc(ZRBProc* proc);
  void removeProc(ZRBProc* proc);
  long getNumProcs();
  ZRBProc* getProc(int index);         // null outside the list
  ZRBProc* getProc(const char* name);  // the first of that name; null when there is none
  void addBuf(ZRBBuf* buf);
  void removeBuf(ZRBBuf* buf);
  long getNumBufs();
  ZRBBuf* getBuf(int index);
  ZRBBuf* getBuf(const char* name);

  // Runs ready nodes until a whole round runs none, or until `maxCount` executions (0 or less: no limit).  The next call
  // goes on with the node after the last one considered.  A node that throws gets the error "exception during
  // execution".  The list of nodes must not change meanwhile.
  void execute(long long maxCount);
  long long getLastExecutionCount();   // of the latest execute()
  long long getTotalExecutionCount();  // since init()
  int getAnyProcReady();

private:
  struct ZRB_HIDDEN Properties;

  std::vector<ZRBBuf*> m_bufs;    // borrowed, never null
  std::vector<ZRBProc*> m_procs;  // borrowed, never null
  int m_cursor;                   // the next node to consider
  long long m_last_execution_count;
  long long m_total_execution_count;
};
