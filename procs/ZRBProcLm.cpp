// Which linear model fits the rows that went by?
#include "ZRBProcLm.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <new>

#include "ZRBBuf.h"
#include "ZRBBufReader.h"
#include "base/format_message.h"
#include "base/property_table.h"
#include "base/simd.h"
#include "buf/buf_access.h"
#include "buf/saturating.h"
#include "procs/lm_kernels.h"
#include "procs/srif_kernels.h"

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

using lm_kernel::kBlockRows;
using lm_kernel::kPartialSums;

// Whether every diagonal entry of a triangle alone keeps fe_srif from stopping at its column.
bool isComplete(const double* triangle, long columns) {
  for (long j = 0; j < columns; ++j)
    if (!(std::fabs(triangle[j * (columns + 1)]) > kTolerance)) return false;
  return true;
}

constexpr long kLineBytes = 64;  // of the caches
constexpr long kLineDoubles = kLineBytes / static_cast<long>(sizeof(double));

// What the work matrix must hold: an update by fe_srif; or a block from the beginning of a cache line on, its products and
// the fit.
long workSize(long rowCapacity, long columns) {
  return std::max(multiplySaturating(addSaturating(rowCapacity, columns), columns),
                  addSaturating(multiplySaturating(addSaturating(kBlockRows + 1, columns), addSaturating(columns, 1)),
                                kLineDoubles - 1));
}

// Where the first whole cache line begins: a vector of a block is then in one line.
double* firstLine(double* work) {
  const std::uintptr_t behind = reinterpret_cast<std::uintptr_t>(work) % kLineBytes;
  return behind == 0 ? work : work + (kLineBytes - behind) / sizeof(double);
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
  std::unique_ptr<double[]> work = allocate(workSize(rowCapacity, columns));
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
  if (getRowsDone() > 0 && p > 0 && isOwnEnd(*reader) && isTriangleComplete() && updateByBlocks(*reader, rows)) return;
  const long priorRows = getRowsDone() > 0 ? p : 0;
  const long m = priorRows + rows;
  double* const work = m_work.get();
  double* const factor = m_factor.get();
  double* const rhs = m_rhs.get();

  for (long row = 0; row < rows; ++row) rhs[priorRows + row] = reader->getDouble(row, 0);
  for (long j = 0; j < p; ++j) {
    double* const column = work + j * m;
    std::copy_n(factor + j * p, priorRows, column);
    for (long row = 0; row < rows; ++row) column[priorRows + row] = j == 0 ? 1.0 : reader->getDouble(row, j);
  }

  const long rowsOfR = std::min(m, p);
  long info = 0;
  // Deliberate: `info` is not looked at, and of a stack that was left half done the first p rows are kept.  Pinned by "a
  // chunk in which a column is constant loses rows of the columns behind it".
  triangularise(work, m, p, kTolerance, rhs, info, rowsOfR);

  // A first chunk of fewer than p rows leaves the rest of the triangle zero, for the next chunks to fill.
  for (long j = 0; j < p; ++j) {
    double* const column = factor + j * p;
    std::copy_n(work + j * m, rowsOfR, column);
    std::fill(column + rowsOfR, column + p, 0.0);
  }
  std::fill(rhs + rowsOfR, rhs + p, 0.0);
}

bool ZRBProcLm::isTriangleComplete() { return isComplete(m_factor.get(), m_allocated_columns); }

// The update of a complete triangle: the result of fe_srif but for rounding (procs/lm_kernels.h).  False, with the fit as
// it was: a regressor holds a NaN, at which fe_srif ends.
bool ZRBProcLm::updateByBlocks(ZRBBufReader& reader, long rows) {
  const lm_kernel::UpdateBlock update =
      kernelFor(bestSimd(), lm_kernel::kBaselineUpdate, lm_kernel::kAvx2Update, lm_kernel::kAvx512Update);
  const long p = m_allocated_columns;
  double* const block = firstLine(m_work.get());
  double* const products = block + kBlockRows * (p + 1);
  double* const r = products + p + 1;  // row by row
  double* const z = r + p * p;
  for (long j = 0; j < p; ++j)
    for (long i = 0; i <= j; ++i) r[i * p + j] = m_factor[static_cast<std::size_t>(i + j * p)];
  std::copy_n(m_rhs.get(), p, z);
  for (long first = 0; first < rows; first += kBlockRows) {
    const long blockRows = std::min(rows - first, kBlockRows);
    const long usedRows = (blockRows + kPartialSums - 1) / kPartialSums * kPartialSums;
    for (long j = 0; j <= p; ++j) {
      double* const column = block + j * kBlockRows;
      if (j == 0)
        std::fill_n(column, blockRows, 1.0);
      else
        reader.getDoubleArray(first, j < p ? j : 0, blockRows, column);
      std::fill(column + blockRows, column + usedRows, 0.0);
    }
    update(r, z, block, p, usedRows, products);
    std::copy_n(block + p * kBlockRows, blockRows, m_rhs.get() + p + first);
  }
  if (!isComplete(r, p)) return false;
  // Each update turns the signs; one by fe_srif would do so once.
  const long updates = (rows + kBlockRows - 1) / kBlockRows;
  const double sign = updates % 2 == 0 ? -1.0 : 1.0;
  for (long j = 0; j < p; ++j)
    for (long i = 0; i <= j; ++i) m_factor[static_cast<std::size_t>(i + j * p)] = sign * r[i * p + j];
  std::transform(z, z + p, m_rhs.get(), [sign](double value) { return sign * value; });
  return true;
}

void ZRBProcLm::calcResults() {
  long p = std::max(m_allocated_columns, 0L);
  std::fill_n(m_results.get(), p, 0.0);
  if (getRowsDone() > 0) fe_solve(m_factor.get(), &p, m_rhs.get(), m_results.get());
}

long ZRBProcLm::getNumResults() {
  if (getRowsDone() < 1) return 0;
  ZRBBuf* const buf = getInputBuf(0);
  return buf ? buf->getNumColumns() : std::max(m_allocated_columns, 0L);
}

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
