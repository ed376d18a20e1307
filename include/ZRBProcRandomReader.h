#pragma once

#include "ZRBProc.h"
#include "export.h"

// A source of pseudo-random rows, reproducible from its seed: no input, one output, every cell written, no NA.
//
// One draw per cell, row by row.  Draws are greater than 0 and at most 2^32: doubles, time-dates and blobs receive the
// draw itself, factors and strings one of five fixed texts (nearly always the first; the fifth is never chosen).
// Properties: "seed", "total.rows".
class ZRB_EXPORT ZRBProcRandomReader : public ZRBProc {
public:
  ZRBProcRandomReader();
  ~ZRBProcRandomReader() override;
  int init() override;  // restarts the stream from the seed
  void setProperty(ZRBPropertyInfo* info) override;
  void getProperty(ZRBPropertyInfo* info) override;
  long execute() override;

  void setSeed(long seed);  // below 1 counts as 1; takes effect with the next init()
  long getSeed();
  void setTotalRows(long long rows);  // 0 in a new node
  long long getTotalRows();

private:
  struct ZRB_HIDDEN Properties;

  ZRB_HIDDEN void seedGenerator();
  ZRB_HIDDEN double draw();

  long m_seed;
  unsigned long m_congruential;
  unsigned long m_shift_register;
  long long m_total_rows;
};
