// What does the update of a linear model cost, against LAPACK's triangularisation of the same stack [R; chunk]?
//
// Both copy the chunk into a matrix of columns, a column of ones for the intercept included, and update R; the response
// is LAPACK's last column.  Of dgeqr2 and dtpqrt in several block sizes the fastest is taken.  LAPACK is OpenBLAS's,
// loaded when the benchmark runs, with one thread.
#include <dlfcn.h>

#include <cmath>
#include <limits>

#include "support/fixed_random.h"
#include "support/row_flow.h"
#include "support/suite.h"

using namespace bench;

namespace {

using LmFlow = RowFlow<ZRBProcLm>;

extern "C" {
using Dgeqr2 = void (*)(const int* m, const int* n, double* a, const int* lda, double* tau, double* work, int* info);
using Dtpqrt = void (*)(const int* m, const int* n, const int* l, const int* nb, double* a, const int* lda, double* b,
                        const int* ldb, double* t, const int* ldt, double* work, int* info);
using SetNumThreads = void (*)(int threads);
}

struct Lapack {
  Dgeqr2 dgeqr2 = nullptr;
  Dtpqrt dtpqrt = nullptr;

  bool present() const { return dgeqr2 && dtpqrt; }

  static const Lapack& get() {
    static const Lapack lapack = load();
    return lapack;
  }

private:
  static Lapack load() {
    setenv("OPENBLAS_NUM_THREADS", "1", 1);
    void* library = dlopen("libopenblas.so.0", RTLD_NOW | RTLD_LOCAL);
    if (!library) return {};
    if (const auto setNumThreads = reinterpret_cast<SetNumThreads>(dlsym(library, "openblas_set_num_threads")))
      setNumThreads(1);
    return {reinterpret_cast<Dgeqr2>(dlsym(library, "dgeqr2_")), reinterpret_cast<Dtpqrt>(dlsym(library, "dtpqrt_"))};
  }
};

// Response in column 0; the coefficients are 1, 2, 3, ... and the noise is of deviation 1.
std::shared_ptr<PackedRows> makeRows(long p, long numRows) {
  auto rows = std::make_shared<PackedRows>(doubleColumns(p), numRows);
  FixedRandom random(5);
  for (long row = 0; row < numRows; ++row) {
    double y = 1.0 + random.normal();
    for (long c = 1; c < p; ++c) {
      const double x = random.normal();
      rows->setDouble(row, c, x);
      y += static_cast<double>(c + 1) * x;
    }
    rows->setDouble(row, 0, y);
  }
  return rows;
}

// The normal equations, summed in extended precision, over rows taken in rounds until `rowsTaken`.
std::vector<double> expectedCoefficients(const PackedRows& rows, long rowsTaken) {
  const std::size_t p = static_cast<std::size_t>(rows.numColumns());
  const std::size_t width = p + 1;
  std::vector<long double> sums(p * width);  // of the products x_i x_j, and x_i y last
  std::vector<long double> x(width);
  for (long row = 0; row < std::min(rows.numRows(), rowsTaken); ++row) {
    const long double rounds = static_cast<long double>((rowsTaken - row - 1) / rows.numRows() + 1);
    x[0] = 1;
    for (std::size_t j = 1; j < p; ++j) x[j] = static_cast<long double>(rows.getDouble(row, static_cast<long>(j)));
    x[p] = static_cast<long double>(rows.getDouble(row, 0));
    for (std::size_t i = 0; i < p; ++i) {
      const long double factor = rounds * x[i];
      for (std::size_t j = i; j < width; ++j) sums[i * width + j] += factor * x[j];
    }
  }
  // Elimination without pivots: the matrix is symmetric, positive definite and close to diagonal.
  for (std::size_t k = 0; k < p; ++k)
    for (std::size_t i = k + 1; i < p; ++i) {
      const long double factor = sums[k * width + i] / sums[k * width + k];
      for (std::size_t j = i; j < width; ++j) sums[i * width + j] -= factor * sums[k * width + j];
    }
  std::vector<double> solution(p);
  for (std::size_t i = p; i-- > 0;) {
    long double rest = sums[i * width + p];
    for (std::size_t j = i + 1; j < p; ++j) rest -= sums[i * width + j] * static_cast<long double>(solution[j]);
    solution[i] = static_cast<double>(rest / sums[i * width + i]);
  }
  return solution;
}

// The columns are close to orthogonal, so a fit loses little more than the roundings of a long sum.
void requireCoefficient(double found, double expected, long p, const char* what) {
  if (!(std::fabs(found - expected) <= 1e-11 * static_cast<double>(p)))
    fail("%s: coefficient %.17g, expected %.17g", what, found, expected);
}

// R of the model and the response together, (p + 1) x (p + 1), updated by LAPACK.
class LapackFit {
public:
  static constexpr int kGeqr2 = 0;  // instead of a block size

  LapackFit(long p, int blockSize)
      : m_n(static_cast<int>(p + 1)),
        m_block_size(std::min(blockSize, m_n)),
        m_rows_of_stack(m_n + static_cast<int>(kChunkRows)),
        m_r(size(m_n, m_n)),
        m_stack(size(m_rows_of_stack, m_n)),
        m_tau(size(m_n, 1)),
        m_t(size(m_n, m_n)),
        m_work(size(m_n, m_n)) {}

  // The cells of a row are y, x1, x2, ...
  void add(const char* cells, long rowBytes, long rows) {
    if (m_block_size == kGeqr2)
      addByGeqr2(cells, rowBytes, rows);
    else
      addByTpqrt(cells, rowBytes, rows);
  }

  std::vector<double> coefficients() const {
    const int p = m_n - 1;
    std::vector<double> solution(size(p, 1));
    for (int i = p - 1; i >= 0; --i) {
      double rest = m_r[at(i, p)];
      for (int j = i + 1; j < p; ++j) rest -= m_r[at(i, j)] * solution[static_cast<std::size_t>(j)];
      solution[static_cast<std::size_t>(i)] = rest / m_r[at(i, i)];
    }
    return solution;
  }

private:
  static std::size_t size(int rows, int columns) {
    return static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns);
  }
  std::size_t at(int i, int j) const { return static_cast<std::size_t>(i) + size(j, m_n); }

  // From `first` on with leading dimension `ld`: ones, x1, x2, ..., y.
  void copyChunk(const char* cells, long rowBytes, long rows, double* first, long ld) {
    const long p = m_n - 1;
    std::fill_n(first, rows, 1.0);
    for (long c = 1; c <= p; ++c) {
      double* const target = first + c * ld;
      const char* cell = cells + (c == p ? 0 : 8 * c);
      for (long row = 0; row < rows; ++row, cell += rowBytes) std::memcpy(target + row, cell, 8);
    }
  }

  void addByGeqr2(const char* cells, long rowBytes, long rows) {
    const int m = m_n + static_cast<int>(rows);
    for (int j = 0; j < m_n; ++j) {
      double* const column = m_stack.data() + static_cast<long>(j) * m;
      std::copy_n(m_r.data() + at(0, j), j + 1, column);
      std::fill(column + j + 1, column + m_n, 0.0);
    }
    copyChunk(cells, rowBytes, rows, m_stack.data() + m_n, m);
    int info = 0;
    Lapack::get().dgeqr2(&m, &m_n, m_stack.data(), &m, m_tau.data(), m_work.data(), &info);
    requireEqual(info, 0, "dgeqr2");
    for (int j = 0; j < m_n; ++j) std::copy_n(m_stack.data() + static_cast<long>(j) * m, j + 1, m_r.data() + at(0, j));
  }

  void addByTpqrt(const char* cells, long rowBytes, long rows) {
    const int m = static_cast<int>(rows), none = 0;
    copyChunk(cells, rowBytes, rows, m_stack.data(), m);
    int info = 0;
    Lapack::get().dtpqrt(&m, &m_n, &none, &m_block_size, m_r.data(), &m_n, m_stack.data(), &m, m_t.data(),
                         &m_block_size, m_work.data(), &info);
    requireEqual(info, 0, "dtpqrt");
  }

  int m_n;
  int m_block_size;
  int m_rows_of_stack;
  std::vector<double> m_r, m_stack, m_tau, m_t, m_work;
};

Work linearModel(long p, long numRows) {
  const auto rows = makeRows(p, numRows);
  const auto flow = std::make_shared<LmFlow>(rows, create<ZRBProcLm>(zrb_s_create_ZRBProcLm));
  flow->start();

  Work work;
  work.name = "linear model, p = " + std::to_string(p);
  work.unit = "row";
  work.unitsPerRun = static_cast<double>(flow->rowsPerRun());
  work.library = [=] { return flow->run(); };
  work.check = [=] {
    flow->check();
    flow->node().calcResults();
    const std::vector<double> expected = expectedCoefficients(*rows, flow->rowsTaken());
    for (long i = 0; i < p; ++i)
      requireCoefficient(flow->node().getResult(i), expected[static_cast<std::size_t>(i)], p, "linear model");
  };
  if (!Lapack::get().present()) {
    work.remark = "no floor: libopenblas.so.0 is not installed";
    return work;
  }

  // The fastest way for these columns, found in a few runs each.
  int best = LapackFit::kGeqr2;
  double bestTime = std::numeric_limits<double>::infinity();
  for (const int blockSize : {LapackFit::kGeqr2, 2, 4, 8, 16, 32}) {
    if (blockSize > p) continue;
    FloorFlow trialFlow(rows);
    LapackFit trial(p, blockSize);
    for (int i = 0; i < 5; ++i) {
      const double time =
          trialFlow.run([&](const char* cells, long count) { trial.add(cells, rows->rowBytes(), count); });
      if (time < bestTime) {
        bestTime = time;
        best = blockSize;
      }
    }
  }
  work.remark = best == LapackFit::kGeqr2 ? "floor: dgeqr2" : "floor: dtpqrt, blocks of " + std::to_string(best);

  const auto floorFlow = std::make_shared<FloorFlow>(rows);
  const auto fit = std::make_shared<LapackFit>(p, best);
  work.floor = [=] {
    return floorFlow->run([&](const char* cells, long count) { fit->add(cells, rows->rowBytes(), count); });
  };
  work.check = [=, inner = work.check] {
    inner();
    const std::vector<double> expected = expectedCoefficients(*rows, floorFlow->rowsTaken());
    const std::vector<double> found = fit->coefficients();
    for (std::size_t i = 0; i < expected.size(); ++i) requireCoefficient(found[i], expected[i], p, "LAPACK");
  };
  return work;
}

}  // namespace

int main(int argc, char** argv) {
  Suite suite(argc, argv);
  for (const long p : {5L, 10L, 50L}) {
    const long chunks = suite.pick(3L, p > 10 ? 40L : 200L, p > 10 ? 200L : 1000L);
    suite.add(
        "linear_model/" + std::to_string(p),
        [=] {
          Work work = linearModel(p, chunks * kChunkRows);
          work.reach = "1.0 x";
          work.aim = "0.7 x";
          return work;
        },
        p > 10 ? 41 : Suite::kManyPairs);
  }
  return suite.run();
}
