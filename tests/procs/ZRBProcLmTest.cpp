// The sink that fits a linear model chunk by chunk.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "ZRBBufReader.h"
#include "ZRBBufWriter.h"
#include "ZRBMemoryBuf.h"
#include "ZRBPipeline.h"
#include "ZRBProcLm.h"
#include "support/Harness.h"
#include "support/LeastSquares.h"
#include "support/LmFlow.h"
#include "support/LoggingEnds.h"
#include "support/PropertyCall.h"
#include "support/PropertyChains.h"
#include "support/TableSource.h"

namespace {

// In units of m n u: the threshold that LAPACK's own tests of QR factorisations use for such ratios.
constexpr long double kThreshold = 30;

using Doubles = std::vector<double>;

// y = 2 + 3 x for x = first, first + 1, ...
LeastSquares line(long first, long rows) {
  LeastSquares problem{Matrix<double>(rows, 2), {}};
  for (long i = 0; i < rows; ++i) {
    problem.a(i, 0) = 1;
    problem.a(i, 1) = static_cast<double>(first + i);
    problem.b.push_back(2 + 3 * problem.a(i, 1));
  }
  return problem;
}

// R'R = A'A and R'z = A'b for the rows so far, column by column in units of m n u.
void expectFactorOf(LmFlow& flow, const LeastSquares& rows) {
  const long m = rows.a.rows;
  const long p = rows.a.columns;
  const long double unit = static_cast<long double>(m * p) * kUnitRoundoff;
  const auto sizes = [&](long j) { return norm(rows.a.column(j), m); };
  for (long j = 0; j < p; ++j) {
    for (long i = j + 1; i < p; ++i) ASSERT_EQ(flow.factor(i, j), 0) << i << ", " << j;
    for (long c = 0; c <= j; ++c) {
      long double product = 0;
      for (long i = 0; i <= c; ++i)
        product += static_cast<long double>(flow.factor(i, j)) * static_cast<long double>(flow.factor(i, c));
      ASSERT_LE(std::fabs(product - dot(rows.a.column(j), rows.a.column(c), m)),
                kThreshold * unit * sizes(j) * sizes(c))
          << j << ", " << c;
    }
    long double product = 0;
    for (long i = 0; i <= j; ++i)
      product += static_cast<long double>(flow.factor(i, j)) * static_cast<long double>(flow.rhs(i));
    ASSERT_LE(std::fabs(product - dot(rows.a.column(j), rows.b.data(), m)),
              kThreshold * unit * sizes(j) * norm(rows.b.data(), m))
        << j;
  }
}

// ---- Fits ----

TEST(Lm, finds_the_line_that_the_rows_lie_on_in_any_chunks) {
  const LeastSquares rows = line(-3, 60);
  for (long chunkRows = 1; chunkRows <= 60; ++chunkRows) {
    const Doubles results = fitInChunks(rows, chunkRows);
    ASSERT_EQ(results.size(), 2u);
    // To rounding: 60 rows of 2 columns with a condition below 70.
    EXPECT_NEAR(results[0], 2, 60 * 2 * 70 * 0x1p-53) << chunkRows;
    EXPECT_NEAR(results[1], 3, 60 * 2 * 0x1p-53) << chunkRows;
  }
}

TEST(Lm, the_factor_and_right_hand_side_are_those_of_all_rows_so_far) {
  for (const long chunkRows : {1L, 2L, 4L, 5L, 6L, 17L, 64L}) {
    SCOPED_TRACE(chunkRows);
    const LeastSquares problem = withIntercept(randomProblem(64, 4, 77, {1, 1e3, 1e-3}));
    LmFlow flow(5, chunkRows);
    for (long first = 0; first < 64; first += chunkRows) {
      const long rows = std::min(chunkRows, 64 - first);
      EXPECT_EQ(flow.update(rowsOf(problem, first, rows)), first + rows);
      expectFactorOf(flow, rowsOf(problem, 0, first + rows));
    }
    EXPECT_EQ(messagesOf(flow.node), Messages{});
  }
}

TEST(Lm, fits_are_least_squares_solutions_at_every_chunk_size) {
  const struct {
    long rows, regressors;
    Doubles scales;
  } cases[] = {{1, 0, {1}}, {20, 0, {1}}, {2, 1, {1}}, {30, 1, {1e6}}, {40, 5, {1, 1e4, 1e-4}}, {12, 11, {1}}};
  unsigned seed = 1;
  for (const auto& c : cases) {
    const LeastSquares problem = withIntercept(randomProblem(c.rows, c.regressors, seed++, c.scales));
    const std::vector<long double> expected = solveInLongDouble(problem);
    EXPECT_LE(orthogonalityDefect(problem, expected.data()), 1) << "of the comparison itself";
    for (long chunkRows = 1; chunkRows <= c.rows; ++chunkRows)
      EXPECT_LE(orthogonalityDefect(problem, fitInChunks(problem, chunkRows).data()), kThreshold)
          << c.rows << " x " << c.regressors << " in chunks of " << chunkRows;
  }
}

TEST(Lm, a_hundred_thousand_updates_of_one_row_keep_the_fit) {
  constexpr long kRows = 100000;
  LmFlow flow(2, 1, 1);
  for (long row = 0; row < kRows; ++row) flow.update(line(row % 1000, 1));
  const Doubles results = flow.results();
  // Every update adds an error of a few units of roundoff: kRows u is 1e-11, the condition of the columns is near 1200.
  EXPECT_NEAR(results[0], 2, 1e-8);
  EXPECT_NEAR(results[1], 3, 1e-11);
  EXPECT_EQ(flow.node.getRowsDone(), kRows);
}

TEST(Lm, a_response_alone_is_fitted_by_its_mean) {
  LeastSquares problem{Matrix<double>(4, 1), {1, 2, 3, 10}};
  std::fill(problem.a.cells.begin(), problem.a.cells.end(), 1.0);
  for (const long chunkRows : {1L, 2L, 3L, 4L}) {
    const Doubles results = fitInChunks(problem, chunkRows);
    ASSERT_EQ(results.size(), 1u);
    EXPECT_NEAR(results[0], 4, 4 * 10 * 0x1p-53) << chunkRows;
  }
}

// ---- Before there are as many rows as coefficients ----

TEST(LmStart, what_a_first_chunk_of_few_rows_lacks_is_zero) {
  const LeastSquares problem = withIntercept(randomProblem(9, 5, 3));
  for (long rows = 1; rows < 6; ++rows) {
    LmFlow flow(6, 10);
    // What an earlier fit left in the same arrays is to go.
    flow.update(problem);
    flow.node.setNumRows(10);
    flow.init();
    ASSERT_NE(flow.factor(5, 5), 0);
    flow.update(rowsOf(problem, 0, rows));
    for (long j = 0; j < 6; ++j)
      for (long i = 0; i < 6; ++i) {
        if (i > j || i >= rows) {
          EXPECT_EQ(flow.factor(i, j), 0) << rows << ": " << i << ", " << j;
        } else {
          EXPECT_NE(flow.factor(i, j), 0) << rows << ": " << i << ", " << j;
        }
      }
    for (long i = rows; i < 6; ++i) EXPECT_EQ(flow.rhs(i), 0) << rows << ": " << i;
    // The rows that follow complete it.
    flow.update(rowsOf(problem, rows, 9 - rows));
    expectFactorOf(flow, problem);
    EXPECT_LE(orthogonalityDefect(problem, flow.results().data()), kThreshold) << rows;
  }
}

TEST(LmStart, without_enough_rows_coefficients_are_divided_by_zero) {
  LmFlow flow(3, 10);
  flow.update(withIntercept(randomProblem(2, 2, 5)));
  EXPECT_EQ(flow.node.getNumResults(), 3);
  EXPECT_FALSE(std::isfinite(flow.results()[2]));
  EXPECT_EQ(messagesOf(flow.node), Messages{});
}

// ---- Columns without spread ----

TEST(LmTolerance, a_constant_column_stops_the_update_silently) {
  LeastSquares problem = line(0, 20);
  std::fill_n(problem.a.column(1), 20, 4.0);
  LmFlow flow(2, 20);
  EXPECT_EQ(flow.update(problem), 20);
  EXPECT_LE(std::fabs(flow.factor(1, 1)), 1e-10);
  EXPECT_EQ(messagesOf(flow.node), Messages{});
  EXPECT_EQ(flow.node.getNumResults(), 2);
}

TEST(LmTolerance, is_1e_minus_10) {
  // Two rows, so that 0 and d in the column leave d / sqrt(2) below the diagonal.
  for (const auto& [spread, reflected] : {std::pair{1.3e-10, false}, std::pair{1.5e-10, true}}) {
    LeastSquares problem = line(0, 2);
    problem.a(1, 1) = spread;
    LmFlow flow(2, 2);
    flow.update(problem);
    // A reflection changes the sign: without it the entry stays as the first reflection left it, positive.
    EXPECT_EQ(flow.factor(1, 1) < 0, reflected) << spread;
    EXPECT_NEAR(std::fabs(flow.factor(1, 1)), spread / std::sqrt(2.0), 1e-24) << spread;
  }
}

// Deliberate: the update stops at the first column without spread and keeps as many rows as there are columns, so that
// what the columns behind it had in further rows is gone.
TEST(LmTolerance, a_chunk_in_which_a_column_is_constant_loses_rows_of_the_columns_behind_it) {
  // x1 is 0 in the first ten rows and 1 in the others; y = x2 with an error in row 9 that the fit is to even out.
  LeastSquares problem{Matrix<double>(20, 3), Doubles(20)};
  for (long i = 0; i < 20; ++i) {
    problem.a(i, 0) = 1;
    problem.a(i, 1) = i < 10 ? 0 : 1;
    problem.a(i, 2) = static_cast<double>((i * 7) % 10);
    problem.b[static_cast<std::size_t>(i)] = problem.a(i, 2) + (i == 9 ? 1 : 0);
  }
  EXPECT_LE(orthogonalityDefect(problem, fitInChunks(problem, 20).data()), kThreshold);
  EXPECT_GT(orthogonalityDefect(problem, fitInChunks(problem, 10).data()), 1e10);
  // With the column that is constant at first in the last place, nothing is behind it.
  for (long i = 0; i < 20; ++i) std::swap(problem.a(i, 1), problem.a(i, 2));
  EXPECT_LE(orthogonalityDefect(problem, fitInChunks(problem, 20).data()), kThreshold);
  EXPECT_LE(orthogonalityDefect(problem, fitInChunks(problem, 10).data()), kThreshold);
}

TEST(LmTolerance, NA_spoils_the_fit) {
  for (const long column : {0L, 1L, 2L})
    for (const long chunkRows : {1L, 4L, 10L}) {
      LeastSquares problem = withIntercept(randomProblem(10, 2, 9));
      (column == 0 ? problem.b[3] : problem.a(3, column)) = ZRBObj::getDoubleNA();
      const Doubles results = fitInChunks(problem, chunkRows);
      EXPECT_TRUE(std::isnan(results[0])) << column << ", " << chunkRows;
    }
}

// ---- Readers of the library's own and of a host's ----

namespace {

// Its reader is a host's, so that the node goes cell by cell and chunk by chunk.
class HostReaderBuf : public ZRBMemoryBuf {
public:
  ZRBBufReader* newBufReader(ZRBProc* proc) override {
    struct HostReader : ZRBMemoryBufReader {
      using ZRBMemoryBufReader::ZRBMemoryBufReader;
    };
    return new HostReader(this, proc);
  }
};
using PlainFlow = LmFlowThrough<HostReaderBuf>;

// Numbers of the fits below are under 1000 and well conditioned: both ways round within 1e-12 of each other, and a wrong
// sign shows.
constexpr double kRounding = 1e-10;

}  // namespace

TEST(LmReaders, NA_in_a_regressor_spares_the_columns_behind_it_whatever_the_reader) {
  for (const long column : {1L, 2L, 3L})
    for (const long row : {0L, 7L, 70L, 199L}) {
      SCOPED_TRACE(testing::Message() << "column " << column << ", row " << row);
      LeastSquares second = withIntercept(randomProblem(200, 3, 10));
      second.a(row, column) = ZRBObj::getDoubleNA();
      LmFlow own(4, 200);
      PlainFlow plain(4, 200);
      own.update(withIntercept(randomProblem(20, 3, 9)));
      plain.update(withIntercept(randomProblem(20, 3, 9)));
      for (int chunk = 0; chunk < 2; ++chunk) {
        own.update(second);
        plain.update(second);
        const Doubles results = own.results();
        const Doubles expected = plain.results();
        for (std::size_t i = 0; i < 4; ++i) {
          EXPECT_EQ(bitsOf(results[i]), bitsOf(expected[i])) << i;
          EXPECT_EQ(std::isfinite(results[i]), static_cast<long>(i) > column) << i;
        }
        second = withIntercept(randomProblem(200, 3, 11));
      }
    }
}

TEST(LmReaders, the_signs_of_the_fit_are_those_of_one_update_per_chunk) {
  for (const long rows : {1L, 63L, 64L, 65L, 128L, 129L, 200L, 256L}) {
    LmFlow own(3, 300);
    PlainFlow plain(3, 300);
    for (const unsigned chunk : {1U, 2U, 3U}) {
      const LeastSquares problem = withIntercept(randomProblem(chunk == 1 ? 20 : rows, 2, chunk));
      own.update(problem);
      plain.update(problem);
      for (long i = 0; i < 3; ++i) {
        EXPECT_NEAR(own.rhs(i), plain.rhs(i), kRounding) << rows << " rows, z " << i;
        for (long j = 0; j < 3; ++j) EXPECT_NEAR(own.factor(i, j), plain.factor(i, j), kRounding) << rows << " rows";
      }
    }
  }
}

TEST(LmReaders, an_infinite_cell_gives_what_one_update_gives) {
  for (const long column : {0L, 1L, 2L}) {
    LmFlow own(3, 100);
    PlainFlow plain(3, 100);
    for (const unsigned chunk : {1U, 2U, 3U}) {
      LeastSquares problem = withIntercept(randomProblem(100, 2, chunk));
      if (chunk == 2) (column == 0 ? problem.b[70] : problem.a(70, column)) = std::numeric_limits<double>::infinity();
      own.update(problem);
      plain.update(problem);
    }
    const Doubles results = own.results();
    const Doubles expected = plain.results();
    for (std::size_t i = 0; i < 3; ++i) {
      EXPECT_TRUE(std::isnan(expected[i]) ? std::isnan(results[i]) : std::fabs(results[i] - expected[i]) <= kRounding)
          << "column " << column << ", result " << i << ": " << results[i] << ", not " << expected[i];
    }
  }
}

// ---- Columns of other types ----

TEST(LmColumns, are_read_as_doubles) {
  const SavedSettings restored;
  ZRBObj::setDoubleDateEpoch(0);
  ZRBMemoryBuf buf;
  HarnessNode source;
  ZRBProcLm node;
  ZRBBufWriter& writer = source.writeTo(buf);
  node.setInputBuf(0, &buf);
  node.setNumRows(12);
  setColumns(buf, {{"y", ZRBBuf::column_string},
                   {"f", ZRBBuf::column_factor},
                   {"t", ZRBBuf::column_timeDate},
                   {"x", ZRBBuf::column_double}});
  buf.init();
  node.init();
  LeastSquares problem{Matrix<double>(12, 4), {}};
  for (long i = 0; i < 12; ++i) {
    problem.a(i, 0) = 1;
    problem.a(i, 1) = static_cast<double>((i * 5) % 7);
    problem.a(i, 2) = static_cast<double>(i * i) / 4;
    problem.a(i, 3) = static_cast<double>(i % 3) - 1;
    problem.b.push_back(static_cast<double>((i * i * i) % 11) / 2);
    writer.setDouble(i, 0, problem.b.back());  // as text
    writer.setLevelNum(i, 1, static_cast<long>(problem.a(i, 1)));
    writer.setTimeDate(i, 2, static_cast<long long>(problem.a(i, 2) * 86400000));
    writer.setDouble(i, 3, problem.a(i, 3));
  }
  writer.releaseRows(12);
  EXPECT_EQ(node.execute(), 12);
  node.calcResults();
  Doubles results;
  for (long i = 0; i < 4; ++i) results.push_back(node.getResult(i));
  EXPECT_LE(orthogonalityDefect(problem, results.data()), kThreshold);
}

TEST(LmColumns, each_cell_is_read_once_through_the_reader) {
  CallLog log;
  LoggingBuf buf(log, "in");
  HarnessNode source;
  ZRBProcLm node;
  ZRBBufWriter& writer = source.writeTo(buf);
  node.setInputBuf(0, &buf);
  node.setNumRows(3);
  setColumns(buf, {{"y", ZRBBuf::column_double}, {"x", ZRBBuf::column_double}});
  buf.init();
  node.init();
  buf.reader().addToDoubles = 1;
  for (int row = 0; row < 3; ++row) {
    writer.setDouble(row, 0, 5 + 2 * row - 1);
    writer.setDouble(row, 1, row - 1);
  }
  writer.releaseRows(3);
  log.clear();
  node.execute();
  EXPECT_EQ(changesOf(log), (CallLog{"in.setRequestRows(3)", "in.getDouble(0, 0)", "in.getDouble(1, 0)",
                                     "in.getDouble(2, 0)", "in.getDouble(0, 1)", "in.getDouble(1, 1)",
                                     "in.getDouble(2, 1)", "in.releaseRows(3)", "in.setRequestRows(3)"}));
  node.calcResults();
  EXPECT_NEAR(node.getResult(0), 5, 1e-14);
  EXPECT_NEAR(node.getResult(1), 2, 1e-14);
}

TEST(LmColumns, rows_without_columns_have_no_fit) {
  LmFlow flow(0, 5);
  flow.writer.releaseRows(5);
  EXPECT_EQ(flow.node.execute(), 5);
  flow.node.calcResults();
  EXPECT_EQ(flow.node.getNumResults(), 0);
  EXPECT_EQ(flow.node.getResult(0), 0);
  EXPECT_EQ(messagesOf(flow.node), Messages{});
}

// ---- Results ----

TEST(LmResults, their_number_is_0_before_the_first_row) {
  LmFlow flow(3, 10);
  EXPECT_EQ(PropertyCall("num.results").get(flow.node).longResult, 0);
  flow.update(withIntercept(randomProblem(1, 2, 1)));
  EXPECT_EQ(PropertyCall("num.results").get(flow.node).longResult, 3);
  flow.init();
  EXPECT_EQ(PropertyCall("num.results").get(flow.node).longResult, 0);
}

TEST(LmResults, their_number_is_that_of_the_columns_of_the_input_now) {
  LmFlow flow(3, 10);
  flow.node.setRowsDone(5);
  EXPECT_EQ(flow.node.getNumResults(), 3);
  flow.buf.setNumColumns(4);
  EXPECT_EQ(flow.node.getNumResults(), 4);
  EXPECT_EQ(flow.node.getResult(3), 0);
}

TEST(LmResults, are_0_outside_their_range) {
  LmFlow flow(2, 10);
  flow.update(line(0, 10));
  flow.results();
  const struct {
    long index;
    bool inside;
  } cases[] = {{0, true},
               {1, true},
               {2, false},
               {3, false},
               {-1, false},
               {std::numeric_limits<long>::max(), false},
               {std::numeric_limits<long>::min(), false}};
  for (const auto& c : cases) {
    const double result = *PropertyCall("result").with(c.index).get(flow.node).doubleResult;
    EXPECT_EQ(result != 0, c.inside) << c.index;
    EXPECT_EQ(flow.node.getResult(c.index), result) << c.index;
  }
}

TEST(LmResults, stay_until_they_are_calculated_again) {
  LmFlow flow(2, 10);
  flow.update(line(0, 5));
  const Doubles first = flow.results();
  LeastSquares more = line(5, 5);
  for (double& y : more.b) y += 100;
  flow.update(more);
  EXPECT_EQ(flow.storedResults(), first);
  EXPECT_GT(flow.results()[1], 10);
}

TEST(LmResults, can_be_calculated_again_and_again_while_rows_go_by) {
  LmFlow flow(2, 10);
  for (long first = 0; first < 50; first += 5) {
    flow.update(line(first, 5));
    const Doubles once = flow.results();
    EXPECT_EQ(flow.results(), once);
    EXPECT_NEAR(once[1], 3, 1e-12) << first;
  }
}

TEST(LmResults, without_rows_are_0) {
  LmFlow flow(2, 10);
  flow.update(line(0, 10));
  flow.results();
  flow.init();
  EXPECT_EQ(flow.results(), (Doubles{0, 0}));
}

TEST(LmResults, can_be_asked_for_before_init) {
  ZRBProcLm node;
  node.calcResults();
  EXPECT_EQ(node.getNumResults(), 0);
  EXPECT_EQ(node.getResult(0), 0);
  node.setRowsDone(5);
  node.calcResults();
  EXPECT_EQ(node.getNumResults(), 0);
  EXPECT_EQ(node.getResult(0), 0);
  EXPECT_EQ(messagesOf(node), Messages{"uninitialized"});
}

TEST(LmResults, survive_the_loss_of_the_input) {
  LmFlow flow(2, 10);
  flow.update(line(0, 10));
  flow.node.setInputBuf(0, nullptr);
  flow.node.calcResults();
  EXPECT_EQ(flow.node.getNumResults(), 2);
  EXPECT_NEAR(flow.node.getResult(1), 3, 1e-13);
}

// ---- Arrays ----

TEST(LmArrays, have_no_size_in_a_new_node) {
  const OpenLm node;
  EXPECT_EQ(node.m_allocated_rows, -1);
  EXPECT_EQ(node.m_allocated_columns, -1);
  EXPECT_EQ(node.m_work, nullptr);
  EXPECT_EQ(node.m_rhs, nullptr);
  EXPECT_EQ(node.m_factor, nullptr);
  EXPECT_EQ(node.m_results, nullptr);
}

TEST(LmArrays, are_kept_by_init_when_their_sizes_are_unchanged) {
  LmFlow flow(2, 10);
  flow.update(line(0, 10));
  const Doubles results = flow.results();
  const double* const arrays[] = {flow.node.m_work.get(), flow.node.m_rhs.get(), flow.node.m_factor.get(),
                                  flow.node.m_results.get()};
  EXPECT_EQ(flow.init(), 0);
  EXPECT_EQ(flow.node.m_work.get(), arrays[0]);
  EXPECT_EQ(flow.node.m_rhs.get(), arrays[1]);
  EXPECT_EQ(flow.node.m_factor.get(), arrays[2]);
  EXPECT_EQ(flow.node.m_results.get(), arrays[3]);
  EXPECT_EQ(flow.storedResults(), results) << "of the run before";
}

TEST(LmArrays, follow_the_rows_and_columns_at_init) {
  LmFlow flow(2, 10);
  EXPECT_EQ(flow.node.m_allocated_rows, 10);
  EXPECT_EQ(flow.node.m_allocated_columns, 2);
  flow.node.setNumRows(4);
  flow.init();
  EXPECT_EQ(flow.node.m_allocated_rows, 4);
  EXPECT_EQ(flow.node.m_allocated_columns, 2);
  flow.buf.setNumColumns(7);
  flow.init();
  EXPECT_EQ(flow.node.m_allocated_rows, 4);
  EXPECT_EQ(flow.node.m_allocated_columns, 7);
  const LeastSquares problem = withIntercept(randomProblem(12, 6, 2));
  for (long first = 0; first < 12; first += 4) flow.update(rowsOf(problem, first, 4));
  EXPECT_LE(orthogonalityDefect(problem, flow.results().data()), kThreshold);
}

TEST(LmArrays, a_fit_after_init_knows_nothing_of_the_one_before) {
  LmFlow flow(2, 10);
  LeastSquares other = line(0, 10);
  for (double& y : other.b) y = 1e6 - y;
  flow.update(other);
  flow.update(other);
  flow.init();
  EXPECT_EQ(flow.node.getRowsDone(), 0);
  flow.update(line(0, 10));
  LmFlow fresh(2, 10);
  fresh.update(line(0, 10));
  EXPECT_EQ(flow.results(), fresh.results());
}

TEST(LmArrays, grow_with_larger_chunks_after_init_and_keep_the_fit) {
  const LeastSquares problem = withIntercept(randomProblem(200, 3, 4));
  LmFlow flow(4, 2);
  long first = 0;
  for (const long rows : {2L, 1L, 5L, 40L, 3L, 120L, 29L}) {
    flow.update(rowsOf(problem, first, rows));
    first += rows;
  }
  ASSERT_EQ(first, 200);
  EXPECT_EQ(flow.node.m_allocated_rows, 120);
  expectFactorOf(flow, problem);
  EXPECT_LE(orthogonalityDefect(problem, flow.results().data()), kThreshold);
  EXPECT_EQ(messagesOf(flow.node), Messages{});
}

TEST(LmArrays, growth_keeps_the_results) {
  LmFlow flow(2, 2);
  flow.update(line(0, 2));
  const Doubles results = flow.results();
  flow.update(line(2, 50));
  EXPECT_EQ(flow.storedResults(), results);
}

TEST(LmArrays, smaller_chunks_after_init_are_as_good) {
  const LeastSquares problem = withIntercept(randomProblem(20, 3, 4));
  LmFlow flow(4, 1000);
  flow.update(rowsOf(problem, 0, 12));
  flow.update(rowsOf(problem, 12, 8));
  EXPECT_EQ(flow.node.m_allocated_rows, 1000);
  EXPECT_LE(orthogonalityDefect(problem, flow.results().data()), kThreshold);
}

TEST(LmArrays, a_size_that_cannot_be_had_is_an_error) {
  ZRBMemoryBuf buf;
  OpenLm node;
  buf.setNumColumns(3);
  node.setInputBuf(0, &buf);
  node.setNumRows(std::numeric_limits<long>::max());
  EXPECT_EQ(node.init(), 1);
  EXPECT_EQ(messagesOf(node), Messages{"can't allocate a fit of 3 columns in chunks of 9223372036854775807 rows"});
  EXPECT_EQ(node.getNumResults(), 0);
  node.setNumRows(10);
  EXPECT_EQ(node.init(), 0);
  EXPECT_EQ(node.m_allocated_rows, 10);
}

TEST(LmArrays, a_node_that_wants_no_rows_has_room_for_its_factor) {
  for (const long rows : {0L, -5L}) {
    ZRBMemoryBuf buf;
    OpenLm node;
    buf.setNumColumns(3);
    node.setInputBuf(0, &buf);
    node.setNumRows(rows);
    EXPECT_EQ(node.init(), 0) << rows;
    EXPECT_EQ(node.m_allocated_columns, 3);
  }
}

// ---- Flow ----

TEST(LmFlowControl, waits_for_its_rows) {
  LmFlow flow(2, 5);
  flow.release(line(0, 4));
  EXPECT_EQ(flow.node.execute(), -1);
  EXPECT_EQ(flow.node.getRowsDone(), 0);
  EXPECT_EQ(flow.node.getNumResults(), 0);
  flow.release(line(4, 1));
  EXPECT_EQ(flow.node.execute(), 5);
  EXPECT_EQ(flow.node.getNumResults(), 2);
  EXPECT_NEAR(flow.results()[1], 3, 1e-13);
}

TEST(LmFlowControl, an_empty_last_chunk_changes_nothing) {
  LmFlow flow(2, 5);
  flow.update(line(0, 5));
  const Doubles results = flow.results();
  const double diagonal = flow.factor(0, 0);
  flow.writer.setEOF();
  EXPECT_EQ(flow.node.isDone(), 0);
  EXPECT_EQ(flow.node.execute(), 5);
  EXPECT_EQ(flow.factor(0, 0), diagonal) << "a reflection would change its sign";
  EXPECT_EQ(flow.node.isDone(), 1);
  EXPECT_EQ(flow.node.getRowsDone(), 5);
  EXPECT_EQ(flow.results(), results);
}

TEST(LmFlowControl, runs_in_a_pipeline_whatever_the_ring_and_the_chunks) {
  const LeastSquares problem = withIntercept(randomProblem(500, 4, 11));
  for (const auto& [ringRows, chunkRows] : {std::pair{1L, 1L}, {7L, 3L}, {10L, 10L}, {100L, 64L}, {1000L, 1000L}}) {
    ZRBMemoryBuf buf;
    buf.setNumColumns(5);
    buf.setNumRows(ringRows);
    TableSource source(500,
                       [&](ZRBBufWriter& writer, long row, long long streamRow) {
                         const long i = static_cast<long>(streamRow);
                         writer.setDouble(row, 0, problem.b[static_cast<std::size_t>(i)]);
                         for (long j = 1; j < 5; ++j) writer.setDouble(row, j, problem.a(i, j));
                       },
                       {4, 1, 9});
    ZRBProcLm node;
    node.setNumRows(chunkRows);
    source.setOutputBuf(0, &buf);
    node.setInputBuf(0, &buf);
    ZRBPipeline pipeline;
    pipeline.addBuf(&buf);
    pipeline.addProc(&source);
    pipeline.addProc(&node);
    pipeline.init();
    pipeline.execute(0);
    EXPECT_EQ(node.isDone(), 1);
    EXPECT_EQ(node.getRowsDone(), 500);
    EXPECT_EQ(messagesOf(node), Messages{});
    node.calcResults();
    Doubles results;
    for (long i = 0; i < 5; ++i) results.push_back(node.getResult(i));
    EXPECT_LE(orthogonalityDefect(problem, results.data()), kThreshold) << ringRows << ", " << chunkRows;
  }
}

TEST(LmFlowControl, wants_one_input_and_no_output) {
  ZRBMemoryBuf buf;
  ZRBProcLm node;
  EXPECT_EQ(messagesOf(node), Messages{"uninitialized"});
  EXPECT_EQ(node.init(), 1);
  EXPECT_EQ(messagesOf(node), Messages{"this node expects 1 inputs, but was given 0 inputs"});
  node.setInputBuf(0, &buf);
  EXPECT_EQ(node.init(), 0);
  EXPECT_EQ(messagesOf(node), Messages{});
  node.setOutputBuf(0, &buf);
  EXPECT_EQ(node.init(), 1);
  EXPECT_EQ(messagesOf(node), Messages{"this node expects 0 outputs, but was given 1 outputs"});
  node.setOutputBuf(0, nullptr);
  node.setInputBuf(1, &buf);
  EXPECT_EQ(node.init(), 1);
  EXPECT_EQ(messagesOf(node), Messages{"this node expects 1 inputs, but was given 2 inputs"});
}

TEST(LmFlowControl, a_failed_init_keeps_the_results) {
  LmFlow flow(2, 10);
  flow.update(line(0, 10));
  const Doubles results = flow.results();
  ZRBMemoryBuf other;
  flow.node.setInputBuf(1, &other);
  EXPECT_EQ(flow.node.init(), 1);
  EXPECT_EQ(flow.storedResults(), results);
  flow.node.setInputBuf(1, nullptr);
}

TEST(LmFlowControl, processChunk_by_hand_is_one_update) {
  LmFlow flow(2, 10);
  flow.release(line(0, 10));
  flow.node.processChunk(10);
  EXPECT_EQ(flow.node.getRowsDone(), 0);
  EXPECT_EQ(flow.results(), (Doubles{0, 0})) << "no rows are done";
  flow.node.setRowsDone(10);
  EXPECT_NEAR(flow.results()[1], 3, 1e-13);
  const double diagonal = flow.factor(1, 1);
  flow.node.processChunk(-1);
  EXPECT_EQ(flow.factor(1, 1), diagonal) << "a negative count is nothing to do";
}

TEST(LmFlowControl, processChunk_without_an_input_does_nothing) {
  ZRBProcLm node;
  node.processChunk(3);
  EXPECT_EQ(messagesOf(node), Messages{"uninitialized"});
}

// ---- Properties ----

TEST(LmProperties, names_are_tested_in_order_and_an_unknown_one_is_reported_once) {
  ZRBProcLm node;
  expectChains(node, joined({{"calculate.results"}, kProcSetNames, kObjSetNames}),
               joined({{"num.results", "result"}, kProcGetNames, kObjGetNames}));
}

TEST(LmProperties, use_the_operation_of_their_type) {
  LmFlow flow(2, 10);
  expectSetRow(flow.node, {"calculate.results", {}});
  expectGetRow(flow.node, {"num.results", {"setLongResult"}});
  expectGetRow(flow.node, {"result", {"getLongArg", "setDoubleResult"}});
}

TEST(LmProperties, are_either_set_or_read) {
  LmFlow flow(2, 10);
  expectUnknownToGet(flow.node, {"calculate.results"});
  expectUnknownToSet(flow.node, {"num.results", "result"});
}

}  // namespace
