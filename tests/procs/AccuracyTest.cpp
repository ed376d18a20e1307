// Agreement of fits and statistics with certified results, and what docs/numerics.md says about it.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "support/NumericsTables.h"

namespace {

// ---- The measure ----

TEST(AgreeingDigits, are_counted_by_the_relative_error) {
  constexpr long double kNaN = std::numeric_limits<long double>::quiet_NaN();
  constexpr long double kInf = std::numeric_limits<long double>::infinity();
  const struct {
    long double result, certified;
    double digits;
  } cases[] = {
      {3, 3, 15},          {3 + 3e-3L, 3, 3},
      {-200.02L, -200, 4}, {1 + 1e-18L, 1, 15},  // no more than are certified
      {2, 1, 0},           {-1, 1, 0},
      {1000, 1, 0},        {1e-5L, 0, 5},  // the error itself, where there is nothing to relate it to
      {0, 0, 15},          {kNaN, 1, 0},
      {kInf, 1, 0},        {-kInf, 1, 0},
  };
  for (const auto& c : cases)
    EXPECT_NEAR(agreeingDigits(c.result, c.certified), c.digits, 1e-12)
        << static_cast<double>(c.result) << ", " << static_cast<double>(c.certified);
}

// ---- The linear model node ----

TEST(Accuracy, fits_agree_with_certified_coefficients_at_every_chunk_size) {
  for (const ReferenceFit& fit : referenceFits())
    for (long chunkRows = 1; chunkRows <= fit.problem.a.rows; ++chunkRows)
      EXPECT_GE(worstDigits(fit, chunkRows), fit.required) << fit.name << " in chunks of " << chunkRows;
}

TEST(Accuracy, fits_agree_with_certified_coefficients_however_the_rows_are_cut) {
  std::mt19937 random(19620901);
  for (const ReferenceFit& fit : referenceFits())
    for (int cut = 0; cut < 50; ++cut) {
      LmFlow flow(fit.problem.a.columns, 1);
      std::string chunks;
      for (long first = 0; first < fit.problem.a.rows;) {
        const long rows = std::min(fit.problem.a.rows - first, 1 + static_cast<long>(random() % 9));
        flow.update(rowsOf(fit.problem, first, rows));
        first += rows;
        chunks += " " + std::to_string(rows);
      }
      const std::vector<double> results = flow.results();
      for (std::size_t j = 0; j < results.size(); ++j)
        EXPECT_GE(agreeingDigits(extended(results[j]), fit.certified[j]), fit.required)
            << fit.name << ", coefficient " << j << ", chunks of" << chunks;
    }
}

TEST(Accuracy, the_reference_data_are_complete) {
  const struct {
    const char* name;
    long rows, coefficients;
  } expected[] = {{"Norris", 36, 2},   {"Longley", 16, 7},  {"Wampler1", 21, 6}, {"Wampler2", 21, 6},
                  {"Wampler3", 21, 6}, {"Wampler4", 21, 6}, {"Wampler5", 21, 6}, {"polynomial of degree 10", 25, 11}};
  const std::vector<ReferenceFit> fits = referenceFits();
  ASSERT_EQ(fits.size(), std::size(expected));
  for (std::size_t i = 0; i < fits.size(); ++i) {
    EXPECT_EQ(fits[i].name, expected[i].name);
    EXPECT_EQ(fits[i].problem.a.rows, expected[i].rows) << fits[i].name;
    EXPECT_EQ(fits[i].problem.a.columns, expected[i].coefficients) << fits[i].name;
    EXPECT_EQ(fits[i].problem.b.size(), static_cast<std::size_t>(expected[i].rows)) << fits[i].name;
    EXPECT_EQ(fits[i].certified.size(), static_cast<std::size_t>(expected[i].coefficients)) << fits[i].name;
  }
  // Extended precision has 11 bits more: three digits beyond what is required of a double.
  for (const ReferenceFit& fit : fits) {
    const std::vector<long double> results = solveInLongDouble(fit.problem);
    for (std::size_t j = 0; j < results.size(); ++j)
      EXPECT_GE(agreeingDigits(results[j], fit.certified[j]), std::min(fit.required + 3, 13.0)) << fit.name;
  }
}

// ---- The count node ----

TEST(Accuracy, statistics_agree_with_certified_values_at_every_chunk_size) {
  for (const ReferenceSample& sample : referenceSamples())
    for (long chunkRows = 1; chunkRows <= static_cast<long>(sample.values.size()); ++chunkRows) {
      const SampleDigits digits = digitsOf(sample, chunkRows);
      ASSERT_GE(digits.mean, sample.requiredOfMean) << sample.name << " in chunks of " << chunkRows;
      ASSERT_GE(digits.deviation, sample.requiredOfDeviation) << sample.name << " in chunks of " << chunkRows;
    }
}

// ---- The document ----

std::vector<std::string> linesOf(const std::string& path) {
  std::ifstream file(path);
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

// The cells of a line of a table: | a | b |
std::vector<std::string> cellsOf(const std::string& line) {
  std::vector<std::string> cells;
  for (std::size_t start = 2; start < line.size();) {
    const std::size_t end = std::min(line.find(" |", start), line.size());
    cells.push_back(line.substr(start, end - start));
    start = end + 3;
  }
  return cells;
}

// What is measured may be somewhat better than the document says (other compilers round in another order), never worse.
TEST(NumericsDocument, says_what_is_measured) {
  const std::vector<std::string> lines = linesOf(ZRB_DATA_DIR "/../docs/numerics.md");
  ASSERT_FALSE(lines.empty());
  for (const NumericsTable& table : numericsTables()) {
    SCOPED_TRACE(table.name);
    const auto begin = std::find(lines.begin(), lines.end(), numericsBegin(table.name));
    const auto end = std::find(begin, lines.end(), numericsEnd(table.name));
    ASSERT_NE(end, lines.end()) << "run scripts/print-numerics";
    const std::vector<std::string> printed(begin + 1, end);
    ASSERT_EQ(printed.size(), table.rows.size() + 2) << "run scripts/print-numerics";
    EXPECT_EQ(cellsOf(printed[0]), table.header);
    for (std::size_t i = 0; i < table.rows.size(); ++i) {
      const NumericsRow& row = table.rows[i];
      const std::vector<std::string> cells = cellsOf(printed[i + 2]);
      ASSERT_EQ(cells.size(), row.facts.size() + row.reached.size());
      const auto digits = cells.begin() + static_cast<std::ptrdiff_t>(row.facts.size());
      EXPECT_EQ(std::vector<std::string>(cells.begin(), digits), row.facts);
      for (std::size_t j = 0; j < row.reached.size(); ++j) {
        const std::string& text = cells[row.facts.size() + j];
        const double documented = std::stod(text);
        EXPECT_EQ(text, digitsText(documented)) << row.facts[0];
        EXPECT_GE(row.reached[j] + 1e-9, documented) << row.facts[0];  // tenths have no exact double
        EXPECT_LE(row.reached[j], documented + 0.5) << row.facts[0] << ": run scripts/print-numerics";
      }
    }
  }
}

}  // namespace
