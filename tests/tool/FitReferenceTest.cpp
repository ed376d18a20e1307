// The fit compared with that of R's lm.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "ToolRun.h"
#include "fit.h"

namespace {

using zrbtool::Coefficient;
using zrbtool::Fit;

struct ReferenceFit {
  std::map<std::string, std::vector<double>> coefficients;  // estimate, error, t, p, low, high; only those R could tell
  std::vector<double> overall;                              // rows, df, sigma, R2, adjusted R2, F, its df, p
};

std::vector<std::string> fieldsOf(const std::string& line) {
  std::vector<std::string> fields;
  std::istringstream stream(line);
  for (std::string field; std::getline(stream, field, '\t');) fields.push_back(field);
  return fields;
}

ReferenceFit referenceOf(const std::string& output) {
  ReferenceFit reference;
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) {
    const std::vector<std::string> fields = fieldsOf(line);
    const bool isCoefficient = fields.front() == "coefficient";
    std::vector<double> values;
    for (std::size_t i = isCoefficient ? 2 : 1; i < fields.size(); ++i)
      if (fields[i] != "NA") values.push_back(std::stod(fields[i]));
    if (!isCoefficient)
      reference.overall = values;
    else if (!values.empty())
      reference.coefficients[fields[1]] = values;
  }
  return reference;
}

// R puts a level right behind the name of its factor.
std::string nameInR(std::string name) {
  name.erase(std::remove(name.begin(), name.end(), '='), name.end());
  return name;
}

// Relative agreement.  Both compute by reflections in doubles, R without shifting its columns: with columns of condition
// k it loses k of its 2^53, and the largest condition below is about 1e6.
constexpr double kAgreement = 1e-8;

void expectNear(double value, double expected, double scale) {
  EXPECT_NEAR(value, expected, kAgreement * std::max(std::fabs(expected), scale));
}

// A tail that is too thin for a double, or is it for R's printing, is compared in size only.
void expectTail(double p, double expected) { EXPECT_NEAR(p, expected, std::max(1e-6 * expected, 1e-300)); }

void expectAgreement(const Fit& fit, const ReferenceFit& reference) {
  ASSERT_EQ(fit.coefficients.size(), reference.coefficients.size());
  for (const Coefficient& c : fit.coefficients) {
    SCOPED_TRACE(c.name);
    const auto found = reference.coefficients.find(nameInR(c.name));
    ASSERT_NE(found, reference.coefficients.end());
    const std::vector<double>& expected = found->second;
    const double error = expected[1];
    expectNear(c.estimate, expected[0], error);
    expectNear(c.standardError, error, 0);
    expectNear(c.t, expected[2], 1);
    expectTail(c.p, expected[3]);
    expectNear(c.low, expected[4], error);
    expectNear(c.high, expected[5], error);
  }
  const std::vector<double>& overall = reference.overall;
  ASSERT_EQ(overall.size(), 8u);
  EXPECT_EQ(static_cast<double>(fit.rows - fit.rowsWithNA), overall[0]);
  EXPECT_EQ(static_cast<double>(fit.degreesOfFreedom), overall[1]);
  expectNear(fit.residualDeviation, overall[2], 0);
  expectNear(fit.r2, overall[3], 1);
  expectNear(fit.adjustedR2, overall[4], 1);
  expectNear(fit.f, overall[5], 0);
  EXPECT_EQ(fit.fDegreesOfFreedom, overall[6]);
  expectTail(fit.fP, overall[7]);
}

std::string number(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.12g", value);
  return text;
}

// Numbers of the size 1e6 and 1e-6, dates, factors whose levels come up late, columns that say the same, and NA.
std::string generatedTable() {
  std::mt19937_64 engine(1861);
  std::normal_distribution<double> normal;
  std::string csv = "y,small,large,sum,date,f,g,same,weight\n";
  for (int i = 0; i < 400; ++i) {
    const double a = normal(engine), b = normal(engine);
    const double small = std::round(a * 1e6) / 1e12, large = std::round(b * 1e6);
    const int day = static_cast<int>(engine() % 28), month = static_cast<int>(engine() % 12);
    const char* f = i < 150 ? "q" : (i % 3 == 0 ? "q" : i % 3 == 1 ? "b" : "m");
    const char* g = (engine() % 2) ? "on" : "off";
    const double y = 1e3 + 5 * a - 3 * b + 0.02 * day + (f[0] == 'm' ? 4 : 0) + (g[1] == 'n' ? a : 0) + normal(engine);
    char date[40];
    std::snprintf(date, sizeof date, "20%02d-%02d-%02d", 10 + i % 9, month + 1, day + 1);
    csv += (i % 41 == 3 ? "NA" : number(y)) + "," + (i % 53 == 4 ? "" : number(small)) + "," + number(large) + "," +
           number(small * 1e6 + large / 1e6) + "," + (i % 67 == 5 ? "NA" : date) + "," + f + "," +
           (i % 71 == 6 ? "NA" : g) + ",7," + number(50 + 10 * normal(engine)) + "\n";
  }
  return csv;
}

TEST(FitReference, agrees_with_lm_of_R) {
  const TempFolder folder;
  if (runShell(folder, "command -v Rscript").status != 0)
    GTEST_SKIP() << "Rscript is not there: the comparison with R needs the Debian package r-base-core";
  folder.write("generated.csv", generatedTable());
  const std::string generated = folder.path() + "/generated.csv";
  const std::string penguins = std::string(ZRB_DATA_DIR) + "/penguins.csv";
  const std::string longley = std::string(ZRB_DATA_DIR) + "/longley.csv";
  const struct {
    std::string file;
    const char* formula;
    const char* dates;
    const char* factors;
  } cases[] = {
      {penguins, "body_mass_g ~ flipper_length_mm + bill_length_mm + bill_depth_mm", "-", "-"},
      {penguins, "body_mass_g ~ species*sex + year", "-", "species,sex"},
      {penguins, "body_mass_g ~ species + island + species:island", "-", "species,island"},
      {penguins, "body_mass_g ~ species:sex", "-", "species,sex"},
      {penguins, "bill_length_mm ~ species:bill_depth_mm", "-", "species"},
      {penguins, "bill_length_mm ~ bill_depth_mm + bill_depth_mm:species", "-", "species"},
      {penguins, "bill_length_mm ~ bill_depth_mm*flipper_length_mm*sex", "-", "sex"},
      {penguins, "year ~ sex*island*species", "-", "sex,island,species"},
      {longley, "TOTEMP ~ GNPDEFL + UNEMP + ARMED + YEAR", "-", "-"},
      {generated, "y ~ small + large + date + f + g", "date", "f,g"},
      {generated, "y ~ small*g + large:f + weight", "-", "f,g"},
      {generated, "y ~ small + large + sum + same + f", "-", "f"},
      {generated, "y ~ same + weight + f:g", "-", "f,g"},
      {generated, "date ~ weight + f", "date", "f"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.formula);
    const ToolResult r = runShell(folder, "Rscript --vanilla " +
                                              shellWord(std::string(ZRB_DATA_DIR) + "/../tests/tool/fit_reference.R") +
                                              " " + shellWord(c.file) + " " + shellWord(c.formula) + " " +
                                              shellWord(c.dates) + " " + shellWord(c.factors));
    ASSERT_EQ(r.status, 0) << r.err;
    expectAgreement(zrbtool::fitModel(c.file, {}, c.formula), referenceOf(r.out));
  }
}

}  // namespace
