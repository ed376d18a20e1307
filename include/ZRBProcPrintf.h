#pragma once

#include "ZRBProc.h"
#include "export.h"

// A sink that prints a header and the first rows of each chunk to standard output: one input, no output.
// Property: "num.to.print".
class ZRB_EXPORT ZRBProcPrintf : public ZRBProc {
public:
  ZRBProcPrintf();
  ~ZRBProcPrintf() override;
  int init() override;
  void setProperty(ZRBPropertyInfo* info) override;
  void getProperty(ZRBPropertyInfo* info) override;
  long execute() override;

private:
  struct ZRB_HIDDEN Properties;

  int m_num_to_print;  // rows of each chunk that are printed; 2 in a new node
};
