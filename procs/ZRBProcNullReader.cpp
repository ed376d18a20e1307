// Which rows come from nothing?
#include "ZRBProcNullReader.h"

#include "ZRBBuf.h"
#include "ZRBBufWriter.h"
#include "base/own_class.h"
#include "base/property_table.h"
#include "buf/buf_access.h"
#include "procs/null_rows.h"
#include "procs/rows_left.h"

using namespace property;

namespace {

// Whether a node is no class of a host's, which may answer getRowsDone() otherwise from row to row.
bool isPlain(ZRBProcNullReader& node) { return isExactly<ZRBProcNullReader>(node); }

}  // namespace

ZRBProcNullReader::ZRBProcNullReader() : m_access_buf(1), m_total_rows(0) {}
ZRBProcNullReader::~ZRBProcNullReader() = default;

void ZRBProcNullReader::setTotalRows(long long rows) { m_total_rows = rows; }
long long ZRBProcNullReader::getTotalRows() { return m_total_rows; }
void ZRBProcNullReader::setAccessBuf(int flag) { m_access_buf = flag; }
int ZRBProcNullReader::getAccessBuf() { return m_access_buf; }

int ZRBProcNullReader::init() {
  ZRBProc::init();
  checkBufs(0, 1);
  return hasError();
}

long ZRBProcNullReader::execute() {
  const long room = executeRequestRows();
  if (room < 0) return room;
  const long rows = rowsLeft(room, getRowsDone(), m_total_rows);
  ZRBBufWriter* writer = getOutputBufWriter(0);
  if (!writer) return -1;
  if (m_access_buf && isPlain(*this) && isOwnEnd(*writer)) {
    setNullRows(*writer, m_rows_done, rows);
  } else if (m_access_buf) {
    const int numColumns = static_cast<int>(writer->getBuf()->getNumColumns());
    for (long row = 0; row < rows; ++row) {
      const double base = static_cast<double>(getRowsDone()) + static_cast<double>(row);
      for (int column = 0; column < numColumns; ++column) writer->setConvertDouble(row, column, column + base);
    }
  }
  executeReleaseRows(rows);
  if (getRowsDone() < m_total_rows) return getRowsDone();
  setDone(1);
  return writer->setEOF();
}

struct ZRBProcNullReader::Properties {
  static constexpr Property<ZRBProcNullReader> setTable[] = {
      {"total.rows", set<LongLong, &ZRBProcNullReader::setTotalRows>},
      {"access.buf", set<Bool, &ZRBProcNullReader::setAccessBuf>},
  };
  static constexpr Property<ZRBProcNullReader> getTable[] = {
      {"total.rows", get<LongLong, &ZRBProcNullReader::getTotalRows>},
      {"access.buf", get<Bool, &ZRBProcNullReader::getAccessBuf>},
  };
};

void ZRBProcNullReader::setProperty(ZRBPropertyInfo* info) {
  if (!applyProperty(Properties::setTable, *this, *info)) ZRBProc::setProperty(info);
}

void ZRBProcNullReader::getProperty(ZRBPropertyInfo* info) {
  if (!applyProperty(Properties::getTable, *this, *info)) ZRBProc::getProperty(info);
}
