#pragma once

#include "ZRBProc.h"
#include "export.h"

// A source of predictable rows: no input, one output; each cell holds its stream row plus its column number, converted
// to the column's type.  Properties: "total.rows", "access.buf".
class ZRB_EXPORT ZRBProcNullReader : public ZRBProc {
public:
  ZRBProcNullReader();
  ~ZRBProcNullReader() override;
  int init() override;
  void setProperty(ZRBPropertyInfo* info) override;
  void getProperty(ZRBPropertyInfo* info) override;
  long execute() override;

  void setTotalRows(long long rows);  // 0 in a new node
  long long getTotalRows();
  void setAccessBuf(int flag);  // 0: rows flow, but no cell is written.  1 in a new node
  int getAccessBuf();

private:
  struct ZRB_HIDDEN Properties;

  int m_access_buf;
  long long m_total_rows;
};
