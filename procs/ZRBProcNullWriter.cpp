// What happens to rows that nobody wants?
#include "ZRBProcNullWriter.h"

#include "ZRBBuf.h"
#include "ZRBBufReader.h"
#include "base/property_table.h"
#include "buf/buf_access.h"
#include "procs/null_rows.h"

using namespace property;

ZRBProcNullWriter::ZRBProcNullWriter() : m_access_buf(1) {}
ZRBProcNullWriter::~ZRBProcNullWriter() = default;

void ZRBProcNullWriter::setAccessBuf(int flag) { m_access_buf = flag; }
int ZRBProcNullWriter::getAccessBuf() { return m_access_buf; }

int ZRBProcNullWriter::init() {
  ZRBProc::init();
  checkBufs(1, 0);
  return hasError();
}

long ZRBProcNullWriter::execute() {
  const long rows = executeRequestRows();
  if (rows < 0) return rows;
  ZRBBufReader* reader = getInputBufReader(0);
  if (!reader) return -1;
  if (m_access_buf && isOwnEnd(*reader)) {
    loadRows(*reader, rows);
  } else if (m_access_buf) {
    const long numColumns = reader->getBuf()->getNumColumns();
    for (long row = 0; row < rows; ++row)
      for (long column = 0; column < numColumns; ++column) reader->getDouble(row, column);
  }
  return executeReleaseRows(rows);
}

struct ZRBProcNullWriter::Properties {
  static constexpr Property<ZRBProcNullWriter> setTable[] = {
      {"access.buf", set<Bool, &ZRBProcNullWriter::setAccessBuf>},
  };
  static constexpr Property<ZRBProcNullWriter> getTable[] = {
      {"access.buf", get<Bool, &ZRBProcNullWriter::getAccessBuf>},
  };
};

void ZRBProcNullWriter::setProperty(ZRBPropertyInfo* info) {
  if (!applyProperty(Properties::setTable, *this, *info)) ZRBProc::setProperty(info);
}

void ZRBProcNullWriter::getProperty(ZRBPropertyInfo* info) {
  if (!applyProperty(Properties::getTable, *this, *info)) ZRBProc::getProperty(info);
}
