#pragma once

#include "ZRBProc.h"
#include "export.h"

// A sink: one input, no output; reads every cell as a double and forgets it.  Property: "access.buf".
class ZRB_EXPORT ZRBProcNullWriter : public ZRBProc {
public:
  ZRBProcNullWriter();
  ~ZRBProcNullWriter() override;
  int init() override;
  void setProperty(ZRBPropertyInfo* info) override;
  void getProperty(ZRBPropertyInfo* info) override;
  long execute() override;

  void setAccessBuf(int flag);  // 0: rows flow, but no cell is read.  1 in a new node
  int getAccessBuf();

private:
  struct ZRB_HIDDEN Properties;

  int m_access_buf;
};
