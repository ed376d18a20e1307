// Which linear model fits the rows that went by?
#include "ZRBProcLm.h"

#include <algorithm>
#include <limits>
#include <new>

#include "ZRBBuf.h"
#include "ZRBBufReader.h"
#include "base/format_message.h"
#include "base/property_table.h"
#include "buf/saturating.h"

using namespace property;

namespace {

constexpr double kTolerance = 1e-10;
constexpr long kNotAllocated = -1;
constexpr long kMaxCount = std::numeric_limits<long>::max() / static_cast<long>(sizeof(double));

// Not cleared; null when there is no room.
std::unique_ptr<double[]> allocate(long count) {
  if (count > kMaxCount) return nullptr;
  return std::unique_ptr<double[]>(new (std::nothrow) double[static_cast<std::size_t>(count)]);
}

std::unique_ptr<double[]> allocateZeros(long count) {
  std::unique_ptr<double[]> array = allocate(count);
  if (array) std::fill_n(array.get(), count, 0.0);
  return array;
}

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

// Makes room for chunks of `rowCapacity` rows of `columns` columns; false with an error when there is none, and nothing
// is changed.  More rows keep the fit, other columns do not.
bool ZRBProcLm::ensureArrays(long rowCapacity, long columns) {
  const bool keepsFit = columns == m_allocated_columns;
  if (keepsFit && rowCapacity <= m_allocated_rows) return true;
  const long rows = addSaturating(rowCapacity, columns);
  std::unique_ptr<double[]> work = allocate(multiplySaturating(rows, columns));
  std::unique_ptr<double[]> rhs = allocate(rows);
  std::unique_ptr<double[]> factor = allocateZeros(keepsFit ? 0 : multiplySaturating(columns, columns));
  std::unique_ptr<double[]> results = allocateZeros(keepsFit ? 0 : columns);
  if (!work || !rhs || !factor || !results) {
    setError(formatMessage("can't allocate a fit of %ld columns in chunks of %ld rows", columns, rowCapacity).c_str());
    return false;
  }
  if (keepsFit) {
    std::copy_n(m_rhs.get(), columns, rhs.get());
  } else {
    std::fill_n(rhs.get(), columns, 0.0);
    m_factor = std::move(factor);
    m_results = std::move(results);
  }
  m_rhs = std::move(rhs);
  m_work = std::move(work);
  m_allocated_rows = rowCapacity;
  m_allocated_columns = columns;
  return true;
}

long ZRBProcLm::execute() {
  const long rows = executeRequestRows();
  if (rows < 0) return rows;
  if (rows > 0) processChunk(rows);
  return executeReleaseRows(rows);
}

void ZRBProcLm::processChunk(long rows) {
  ZRBBufReader* reader = getInputBufReader(0);
  if (!reader || rows < 0) return;
  const long p = reader->getBuf()->getNumColumns();
  if (!ensureArrays(rows, p)) return;
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
  // Deliberate: `info` is not looked at, and of a stack that was left half done the first p rows are kept.  Pinned by "a
  // chunk in which a column is constant loses rows of the columns behind it".
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
