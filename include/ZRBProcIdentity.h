#pragma once

#include "ZRBProc.h"
#include "export.h"

// A pass-through for watching data go by: prints a header and the first rows of each chunk of input 0 to standard
// output, and copies every row of it to each output.  Any number of inputs and outputs; further inputs are only released.
//
// Cells pass as doubles, factors by level name: strings, time-dates and blobs arrive as the number they read as.
// Columns that an output lacks are left out.
// Property: "num.to.print".
class ZRB_EXPORT ZRBProcIdentity : public ZRBProc {
public:
  ZRBProcIdentity();
  ~ZRBProcIdentity() override;
  int init() override;
  void setProperty(ZRBPropertyInfo* info) override;
  void getProperty(ZRBPropertyInfo* info) override;
  long execute() override;

private:
  struct ZRB_HIDDEN Properties;

  int m_num_to_print;  // rows of each chunk that are printed; 2 in a new node
};
