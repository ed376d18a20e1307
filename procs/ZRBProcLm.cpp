// Which linear model fits the rows that went by?
#include "ZRBProcLm.h"

#include <algorithm>

#include "ZRBBuf.h"
#include "ZRBBufReader.h"
#include "base/property_table.h"

using namespace property;

namespace {

constexpr double kTolerance = 1e-10;
constexpr long kNotAllocated = -1;

std::unique_ptr<double[]> zeros(long count) { return std::make_unique<double[]>(static_cast<std::size_t>(count)); }

}  // namespace

ZRBProcLm::ZRBProcLm() : m_allocated_rows(kNotAllocated), m_allocated_columns(kNotAllocated) {}
ZRBProcLm::~ZRBProcLm() = default;

int ZRBProcLm::init() {
  ZRBProc::init();
  checkBufs(1, 0);
  if (hasError()) return 1;
  const long rowCapacity = std::max(getNumRows(), 0L);
  const long columns = getInputBuf(0)->getNumColumns();
  if (rowCapacity != m_allocated_rows) m_allocated_columns = kNotAllocated;
  ensureArrays(rowCapacity, columns);
  return hasError();
}

// Makes room for chunks of `rowCapacity` rows of `columns` columns.  More rows keep the fit, other columns do not.
void ZRBProcLm::ensureArrays(long rowCapacity, long columns) {
  if (columns == m_allocated_columns && rowCapacity <= m_allocated_rows) return;
  std::unique_ptr<double[]> rhs = zeros(rowCapacity + columns);
  if (columns == m_allocated_columns) {
    std::copy_n(m_rhs.get(), columns, rhs.get());
  } else {
    m_factor = zeros(columns * columns);
    m_results = zeros(columns);
  }
  m_rhs = std::move(rhs);
  m_work = zeros((rowCapacity + columns) * columns);
  m_allocated_rows = rowCapacity;
  m_allocated_columns = columns;
}

long ZRBProcLm::execute() {
  const long rows = executeRequestRows();
  if (rows < 0) return rows;
  if (rows > 0) processChunk(rows);
  return executeReleaseRows(rows);
}

void ZRBProcLm::processChunk(long rows) {
  ZRBBufReader* reader = getInputBufReader(0);
  if (!reader) return;
  const long p = reader->getBuf()->getNumColumns();
  ensureArrays(rows, p);
  const long priorRows = getRowsDone() > 0 ? p : 0;
  long m = priorRows + rows;
  double* const work = m_work.get();
  double* const factor = m_factor.get();
  double* const rhs = m_rhs.get();

  for (long row = 0; row < rows; ++row) rhs[priorRows + row] = reader->getDouble(row, 0);
  for (long j = 0; j < p; ++j) {
    double* const column = work + j * m;
    std::copy_n(factor + j * p, priorRows, column);
    for (long row = 0; row < rows; ++row) column[priorRows + row] = j == 0 ? 1.0 : reader->getDouble(row, j);
  }

  long columns = p;
  double tolerance = kTolerance;
  long info = 0;
  fe_srif(work, &m, &columns, &tolerance, rhs, &info);

  // A first chunk of fewer than p rows leaves the rest of the triangle zero, for the next chunks to fill.
  const long rowsOfR = std::min(m, p);
  for (long j = 0; j < p; ++j) {
    double* const column = factor + j * p;
    std::copy_n(work + j * m, rowsOfR, column);
    std::fill(column + rowsOfR, column + p, 0.0);
  }
  std::fill(rhs + rowsOfR, rhs + p, 0.0);
}

void ZRBProcLm::calcResults() {
  long p = std::max(m_allocated_columns, 0L);
  std::fill_n(m_results.get(), p, 0.0);
  if (getRowsDone() > 0) fe_solve(m_factor.get(), &p, m_rhs.get(), m_results.get());
}

long ZRBProcLm::getNumResults() { return getRowsDone() >= 1 ? std::max(m_allocated_columns, 0L) : 0; }

double ZRBProcLm::getResult(long index) {
  return index >= 0 && index < m_allocated_columns ? m_results[static_cast<std::size_t>(index)] : 0.0;
}

struct ZRBProcLm::Properties {
  static constexpr Property<ZRBProcLm> setTable[] = {
      {"calculate.results", call<&ZRBProcLm::calcResults>},
  };
  static constexpr Property<ZRBProcLm> getTable[] = {
      {"num.results", get<Long, &ZRBProcLm::getNumResults>},
      {"result", getAt<Long, Double, &ZRBProcLm::getResult>},
  };
};

void ZRBProcLm::setProperty(ZRBPropertyInfo* info) {
  if (!applyProperty(Properties::setTable, *this, *info)) ZRBProc::setProperty(info);
}

void ZRBProcLm::getProperty(ZRBPropertyInfo* info) {
  if (!applyProperty(Properties::getTable, *this, *info)) ZRBProc::getProperty(info);
}
