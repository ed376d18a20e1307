#include "fit.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <vector>

#include "ToolRun.h"
#include "failure.h"

namespace {

using Json = nlohmann::ordered_json;
using zrbtool::Fit;

std::string dataFile(const std::string& name) { return std::string(ZRB_DATA_DIR) + "/" + name; }

Fit fit(const std::string& file, const std::string& formula, long chunkRows = zrbtool::kFitChunkRows) {
  return zrbtool::fitModel(file, {}, formula, chunkRows);
}

Fit fitText(const TempFolder& folder, const std::string& csv, const std::string& formula,
            long chunkRows = zrbtool::kFitChunkRows) {
  return fit(folder.path() + "/" + folder.write("in.csv", csv), formula, chunkRows);
}

std::map<std::string, double> estimatesOf(const Fit& fit) {
  std::map<std::string, double> estimates;
  for (const auto& c : fit.coefficients) estimates[c.name] = c.estimate;
  return estimates;
}

std::vector<std::string> namesOf(const Fit& fit) {
  std::vector<std::string> names;
  for (const auto& c : fit.coefficients) names.push_back(c.name);
  return names;
}

std::vector<std::string> droppedTexts(const Fit& fit) {
  std::vector<std::string> texts;
  for (const auto& part : fit.dropped) texts.push_back(part.name + ": " + part.reason);
  return texts;
}

double agreeingDigits(double value, double certified) {
  return value == certified ? 16 : -std::log10(std::fabs(value - certified) / std::fabs(certified));
}

// Agreement of two fits of the same rows: rounding moves a coefficient by far less than the data leave open, and by some
// units in its last place.
void expectSameFit(const Fit& a, const Fit& b) {
  ASSERT_EQ(namesOf(a), namesOf(b));
  for (std::size_t i = 0; i < a.coefficients.size(); ++i) {
    SCOPED_TRACE(a.coefficients[i].name);
    EXPECT_NEAR(a.coefficients[i].estimate, b.coefficients[i].estimate,
                1e-9 * a.coefficients[i].standardError + 50 * 0x1p-53 * std::fabs(a.coefficients[i].estimate));
    EXPECT_NEAR(a.coefficients[i].standardError / b.coefficients[i].standardError, 1, 1e-9);
  }
  EXPECT_NEAR(a.residualDeviation / b.residualDeviation, 1, 1e-11);
  EXPECT_EQ(a.degreesOfFreedom, b.degreesOfFreedom);
}

// ---- Certified and known values ----

// Certified values and how many digits of them are to be reached: see data/README.md for the source.
TEST(Fit, Longley_agrees_with_the_certified_values_at_every_chunk_size) {
  const double estimates[] = {-3482258.63459582, 15.0618722713733,    -0.0358191792925910, -2.02022980381683,
                              -1.03322686717359, -0.0511041056535807, 1829.15146461355};
  for (const long chunkRows : {1, 2, 3, 5, 7, 15, 16, 500}) {
    SCOPED_TRACE(chunkRows);
    const Fit result = fit(dataFile("longley.csv"), "TOTEMP ~ GNPDEFL + GNP + UNEMP + ARMED + POP + YEAR", chunkRows);
    ASSERT_EQ(result.coefficients.size(), 7u);
    for (std::size_t i = 0; i < 7; ++i)
      EXPECT_GE(agreeingDigits(result.coefficients[i].estimate, estimates[i]), 11) << i;
    EXPECT_GE(agreeingDigits(result.residualDeviation, 304.854073561965), 12);
    EXPECT_GE(agreeingDigits(result.r2, 0.995479004577296), 14);
    EXPECT_GE(agreeingDigits(result.f, 330.285339234588), 12);
    EXPECT_GE(agreeingDigits(result.coefficients[0].standardError, 890420.383607373), 11);
    EXPECT_GE(agreeingDigits(result.coefficients[6].standardError, 455.478499142212), 11);
  }
}

TEST(Fit, penguins_have_342_rows_without_NA_and_the_known_share_explained) {
  const Fit result = fit(dataFile("penguins.csv"), "body_mass_g ~ flipper_length_mm + bill_length_mm + bill_depth_mm");
  EXPECT_EQ(result.rows, 344);
  EXPECT_EQ(result.rowsWithNA, 2);
  EXPECT_EQ(result.degreesOfFreedom, 338);
  EXPECT_NEAR(result.r2, 0.76147048412725, 1e-14);
}

// One slope by hand: x 1..5, y 2 4 5 4 5; b = 0.6, a = 2.2, residual sum of squares 2.4, sum of squares of y 6.
TEST(Fit, a_line_has_the_figures_of_the_textbook) {
  const TempFolder folder;
  const Fit result = fitText(folder, "x,y\n1,2\n2,4\n3,5\n4,4\n5,5\n", "y ~ x");
  constexpr double kFewUlps = 20 * 0x1p-53;
  EXPECT_NEAR(result.coefficients[0].estimate, 2.2, 2.2 * kFewUlps);
  EXPECT_NEAR(result.coefficients[1].estimate, 0.6, 0.6 * kFewUlps);
  EXPECT_NEAR(result.residualDeviation, std::sqrt(0.8), kFewUlps);
  EXPECT_NEAR(result.coefficients[1].standardError, std::sqrt(0.08), kFewUlps);
  EXPECT_NEAR(result.coefficients[0].standardError, std::sqrt(0.8 * 1.1), kFewUlps);
  EXPECT_NEAR(result.r2, 0.6, kFewUlps);
  EXPECT_NEAR(result.adjustedR2, 1 - 0.4 * 4 / 3, kFewUlps);
  EXPECT_NEAR(result.f, 4.5, 4.5 * kFewUlps);
  // With 1 and 3 degrees of freedom, F is the square of a t with 3: p = 1 - 2/pi (atan(t/r3) + t/r3 / (1 + t^2/3)).
  const double t = std::sqrt(4.5), u = t / std::sqrt(3.0);
  const double p = 1 - 2 / std::acos(-1.0) * (std::atan(u) + u / (1 + u * u));
  EXPECT_NEAR(result.fP, p, 1e-14);
  EXPECT_NEAR(result.coefficients[1].p, p, 1e-14);
  // The 97.5 % point of t with 3 degrees of freedom is 3.1824463052837078.
  EXPECT_NEAR(result.coefficients[1].high, 0.6 + 3.1824463052837078 * std::sqrt(0.08), 1e-14);
  EXPECT_NEAR(result.coefficients[1].low, 0.6 - 3.1824463052837078 * std::sqrt(0.08), 1e-14);
}

// ---- Rows in any order, in any chunks, in any unit ----

struct Generated {
  std::string csv;
  std::string reversed;
};

// Levels that come up late, a column that is constant for long, NA here and there.
Generated mixedRows() {
  std::mt19937_64 engine(20261121);
  std::normal_distribution<double> normal;
  std::vector<std::string> lines;
  for (int i = 0; i < 900; ++i) {
    const std::string group = i < 300 ? "m" : i < 600 ? (i % 2 ? "m" : "c") : std::string(1, "mcaz"[i % 4]);
    const std::string side = i < 450 ? "left" : i % 3 ? "left" : "right";
    const double x = normal(engine);
    const double late = i < 700 ? 5 : normal(engine);
    const double y = 3 + 2 * x + (group == "c" ? 4 : 0) + (side == "right" ? x : 0) - late + normal(engine);
    lines.push_back((i % 50 == 7 ? "NA" : std::to_string(y)) + "," + (i % 60 == 9 ? "NA" : std::to_string(x)) + "," +
                    group + "," + (i % 100 == 30 ? "" : side) + "," + std::to_string(late) + "\n");
  }
  Generated generated{"y,x,group,side,late\n", "y,x,group,side,late\n"};
  for (const std::string& line : lines) generated.csv += line;
  for (std::size_t i = lines.size(); i-- > 0;) generated.reversed += lines[i];
  return generated;
}

TEST(Fit, chunks_and_the_order_of_rows_do_not_matter_though_levels_come_up_late) {
  const TempFolder folder;
  const Generated rows = mixedRows();
  for (const char* formula : {"y ~ x + group + side + late", "y ~ x*side + group:side + late", "y ~ late:group + x"}) {
    SCOPED_TRACE(formula);
    const Fit whole = fitText(folder, rows.csv, formula, 900);
    for (const long chunkRows : {1, 2, 17, 64, 500}) {
      SCOPED_TRACE(chunkRows);
      expectSameFit(fitText(folder, rows.csv, formula, chunkRows), whole);
      expectSameFit(fitText(folder, rows.reversed, formula, chunkRows), whole);
    }
  }
}

TEST(Fit, units_and_offsets_do_not_matter) {
  const TempFolder folder;
  std::mt19937_64 engine(5);
  std::normal_distribution<double> normal;
  std::string plain = "y,a,b\n", scaled = "y,a,b\n";
  for (int i = 0; i < 200; ++i) {
    // Numbers with few digits: the other unit and the offset round nothing.
    const double a = std::round(normal(engine) * 1000), b = std::round(normal(engine) * 1000);
    const double y = std::round(a + 2 * b + 500 * normal(engine));
    plain += std::to_string(y) + "," + std::to_string(a) + "," + std::to_string(b) + "\n";
    char line[200];
    std::snprintf(line, sizeof line, "%.17g,%.17g,%.17g\n", std::ldexp(y, -60), a + 1e9, std::ldexp(b, 70));
    scaled += line;
  }
  const Fit expected = fitText(folder, plain, "y ~ a + b");
  const Fit result = fitText(folder, scaled, "y ~ a + b");
  EXPECT_NEAR(std::ldexp(result.coefficients[1].estimate, 60) / expected.coefficients[1].estimate, 1, 1e-13);
  EXPECT_NEAR(std::ldexp(result.coefficients[2].estimate, 130) / expected.coefficients[2].estimate, 1, 1e-13);
  for (const std::size_t i : {1u, 2u}) EXPECT_NEAR(result.coefficients[i].t / expected.coefficients[i].t, 1, 1e-13);
  EXPECT_NEAR(result.r2, expected.r2, 1e-14);
}

TEST(Fit, a_first_value_far_from_the_others_costs_no_digits) {
  const TempFolder folder;
  // y = x exactly but for +-1 in turn, and one row far away.
  std::string first, rest;
  for (int i = 0; i < 100; ++i) rest += std::to_string(i + (i % 2 ? 1 : -1)) + "," + std::to_string(i) + "\n";
  first = "1000000,1000000\n";
  expectSameFit(fitText(folder, "y,x\n" + first + rest, "y ~ x"), fitText(folder, "y,x\n" + rest + first, "y ~ x"));
}

// ---- Terms ----

TEST(Fit, dates_are_days) {
  const TempFolder folder;
  const Fit result = fitText(
      folder, "y,when\n1,2026-01-01\n3,2026-01-02\n6,2026-01-03\n8,2026-01-04T12:00:00\n9,2026-01-05\n", "y ~ when");
  // Days 0 1 2 3.5 4, of mean 2.1: squares around it 11.2, products of them and y 22.3.
  EXPECT_NEAR(result.coefficients[1].estimate, 22.3 / 11.2, 1e-13);
}

TEST(Fit, a_factor_has_a_coefficient_for_every_level_but_the_first) {
  const TempFolder folder;
  const Fit result = fitText(folder, "y,f\n5,b\n7,b\n1,a\n2,a\n10,c\n14,c\n", "y ~ f");
  EXPECT_EQ(namesOf(result), (std::vector<std::string>{"(Intercept)", "f=b", "f=c"}));
  ASSERT_EQ(result.baseLevels.size(), 1u);
  EXPECT_EQ(result.baseLevels[0].factor, "f");
  EXPECT_EQ(result.baseLevels[0].level, "a");
  const auto estimates = estimatesOf(result);
  EXPECT_NEAR(estimates.at("(Intercept)"), 1.5, 1e-14);  // the means are 1.5, 6 and 12
  EXPECT_NEAR(estimates.at("f=b"), 4.5, 1e-14);
  EXPECT_NEAR(estimates.at("f=c"), 10.5, 1e-14);
}

TEST(Fit, levels_that_are_numbers_are_in_the_order_of_numbers) {
  const TempFolder folder;
  folder.write("in.csv", "y,f\n5,10\n7,10\n1,9\n2,9\n10,101\n14,101\n");
  const ToolResult result = runTool(folder, {"fit", "in.csv", "y ~ f", "--types", "f=factor", "--json"});
  const Json json = Json::parse(result.out);
  EXPECT_EQ(json.at("base_levels").at("f"), "9");
  EXPECT_EQ(json.at("coefficients")[1].at("name"), "f=10");
  EXPECT_EQ(json.at("coefficients")[2].at("name"), "f=101");
}

TEST(Fit, a_level_of_rows_with_NA_only_is_no_part_of_the_model) {
  const TempFolder folder;
  const Fit result = fitText(folder, "y,f\nNA,a\n5,b\n7,b\n10,c\n14,c\n", "y ~ f");
  EXPECT_EQ(result.baseLevels[0].level, "b");
  EXPECT_EQ(namesOf(result), (std::vector<std::string>{"(Intercept)", "f=c"}));
  EXPECT_EQ(result.rowsWithNA, 1);
}

TEST(Fit, a_response_alone_has_its_mean) {
  const TempFolder folder;
  const Fit result = fitText(folder, "y\n1\n2\n6\n", "y ~ 1");
  EXPECT_NEAR(result.coefficients[0].estimate, 3, 1e-15);
  EXPECT_NEAR(result.residualDeviation, std::sqrt(7.0), 1e-15);
  EXPECT_EQ(result.r2, 0);
  EXPECT_TRUE(std::isnan(result.f));
}

// ---- What the rows cannot tell ----

TEST(Fit, columns_that_tell_nothing_are_dropped_by_name_and_the_others_fitted_without_them) {
  const TempFolder folder;
  std::mt19937_64 engine(8);
  std::normal_distribution<double> normal;
  std::string csv = "y,a,b,ab,copy,same,one,f,g\n";
  for (int i = 0; i < 120; ++i) {
    const double a = std::round(normal(engine) * 100) / 10, b = std::round(normal(engine) * 100) / 10 + 1e6;
    char line[300];
    std::snprintf(line, sizeof line, "%.3f,%.1f,%.1f,%.1f,%.10g,7,1,%s,%s\n", a + b + normal(engine), a, b, 2 * a - b,
                  a * 0.3 + 5, i % 3 ? "u" : "v", i % 3 ? "U" : "V");
    csv += line;
  }
  const Fit result = fitText(folder, csv, "y ~ a + b + ab + copy + same + f + g");
  EXPECT_EQ(namesOf(result), (std::vector<std::string>{"(Intercept)", "a", "b", "f=v"}));
  EXPECT_EQ(droppedTexts(result),
            (std::vector<std::string>{"same: constant, 7 in every row", "ab: a linear combination of a, b",
                                      "copy: a linear combination of a", "g=V: a linear combination of f=v"}));
  expectSameFit(result, fitText(folder, csv, "y ~ a + b + f"));
}

TEST(Fit, a_factor_with_one_level_and_combinations_without_rows_are_reported) {
  const TempFolder folder;
  const std::string csv =
      "y,f,one,g\n1,a,x,p\n2,a,x,q\n4,b,x,p\n5,b,x,q\n9,c,x,p\n1.5,a,x,p\n2.1,a,x,q\n4.4,b,x,p\n5.2,b,x,q\n9.3,c,x,p\n";
  const Fit result = fitText(folder, csv, "y ~ one + f*g");
  EXPECT_EQ(namesOf(result), (std::vector<std::string>{"(Intercept)", "f=b", "f=c", "g=q", "f=b:g=q"}));
  EXPECT_EQ(droppedTexts(result), (std::vector<std::string>{"one: constant, one is 'x' in every row",
                                                            "f:g: 1 of 2 combinations of levels without rows"}));
}

TEST(Fit, nearly_collinear_columns_are_not_dropped) {
  const TempFolder folder;
  std::string csv = "y,a,b\n";
  std::mt19937_64 engine(8);
  std::normal_distribution<double> normal;
  for (int i = 0; i < 100; ++i) {
    const double a = normal(engine), e = normal(engine);
    char line[200];
    std::snprintf(line, sizeof line, "%.17g,%.17g,%.17g\n", a + 1e7 * (1e-7 * e) + 0.1 * normal(engine), a,
                  a + 1e-7 * e);
    csv += line;
  }
  const Fit result = fitText(folder, csv, "y ~ a + b");
  EXPECT_TRUE(result.dropped.empty());
  EXPECT_NEAR(result.coefficients[2].estimate, 1e7, 6 * result.coefficients[2].standardError);
}

TEST(Fit, a_perfect_fit_is_called_one) {
  const TempFolder folder;
  folder.write("in.csv", "x,y\n1,0.3\n2,0.5\n4,0.9\n5,1.1\n7,1.5\n");  // 0.1 + 0.2 x, rounded in every number
  const ToolResult result = runTool(folder, {"fit", "in.csv", "y ~ x"});
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.out.find("Perfect fit"), std::string::npos) << result.out;
  EXPECT_EQ(result.out.find("nan"), std::string::npos) << result.out;
  EXPECT_EQ(result.out.find("std. error"), std::string::npos) << result.out;
  const Json json = Json::parse(runTool(folder, {"fit", "in.csv", "y ~ x", "--json"}).out);
  EXPECT_EQ(json.at("perfect"), true);
  EXPECT_TRUE(json.at("f").is_null());
  EXPECT_TRUE(json.at("coefficients")[1].at("p").is_null());
  EXPECT_NEAR(json.at("coefficients")[1].at("estimate").get<double>(), 0.2, 1e-14);
}

TEST(Fit, what_cannot_be_fitted_is_refused_with_the_reason) {
  const TempFolder folder;
  folder.write("in.csv", "y,x,z,f,t\n1,1,1,a,q1\n2,2,5,b,q2\n4,3,NA,a,q3\n");
  folder.write("na.csv", "y,x\n1,NA\nNA,2\n");
  folder.write("none.csv", "y,x\n");
  folder.write("flat.csv", "y,x\n5,1\n5,2\n5,4\n");
  folder.write("huge.csv", "y,x\n1,1\n2,2\n3,1e200\n9,-1e300\n7,3\n");
  const struct {
    std::vector<std::string> arguments;
    int status;
    const char* error;
  } cases[] = {
      {{"in.csv", "y ~ x + z"},
       1,
       "in.csv:0:y: too few rows for the model, found 2 rows without NA for 2 coefficients, expected more rows than "
       "coefficients"},
      {{"in.csv", "f ~ x"},
       2,
       "in.csv:0:f: column cannot be fitted, found type factor, expected a response of numbers or dates"},
      {{"in.csv", "y ~ t", "--types", "t=string"},
       2,
       "in.csv:0:t: column cannot be fitted, found type string, expected numbers, dates or a factor (--types t=factor "
       "takes its texts as levels)"},
      {{"in.csv", "y ~ w"}, 2, "in.csv:1:w: unknown column, found 'w', expected one of 'y', 'x', 'z', 'f', 't'"},
      {{"na.csv", "y ~ x"},
       1,
       "na.csv:0:y: no rows to fit, found 2 rows, 2 of them with NA in a used column, expected rows without NA in the "
       "columns of the formula"},
      {{"none.csv", "y ~ x", "--types", "y=double,x=double"},
       1,
       "none.csv:0:y: no rows to fit, found 0 rows, 0 of them with NA in a used column, expected rows without NA in "
       "the columns of the formula"},
      {{"flat.csv", "y ~ x"},
       1,
       "flat.csv:0:y: nothing to explain, found 5 in every row, expected a response that varies"},
      {{"huge.csv", "y ~ x", "--types", "x=double"},
       1,
       "huge.csv:0:y: numbers out of range, found sums of squares beyond the range of doubles, expected columns whose "
       "numbers differ less in size"},
      {{"in.csv", "y ~ x - 1"},
       2,
       "zrb fit: formula, character 7: found '- 1', expected a model with intercept (without one, R2 and F would "
       "compare with zero instead of the mean)"},
  };
  for (const auto& c : cases) {
    std::vector<std::string> arguments = {"fit"};
    arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
    expectFailure(runTool(folder, arguments), c.status, c.error);
  }
}

TEST(Fit, too_many_coefficients_are_refused_before_they_fill_the_memory) {
  const TempFolder folder;
  // 40 and 40 levels, whose combinations are more than the model may have.
  std::string csv = "y,f,g\n";
  for (int i = 0; i < 1600; ++i)
    csv += std::to_string(i % 7) + ",f" + std::to_string(i % 40) + ",g" + std::to_string(i / 40) + "\n";
  folder.write("in.csv", csv);
  expectFailure(runTool(folder, {"fit", "in.csv", "y ~ f + g + f:g"}), 1,
                "in.csv:0:f:g: model too large, found more than 1000 coefficients, expected factors with fewer levels "
                "(--types NAME=double or timeDate takes values as numbers)");
  ASSERT_EQ(runTool(folder, {"import", "in.csv", "in.zrb"}).status, 0);
  expectFailure(runTool(folder, {"fit", "in.zrb", "y ~ f + g + f:g"}), 1,
                "in.zrb:0:f:g: model too large, found more than 1000 coefficients, expected factors with fewer levels "
                "(importing again with --types NAME=double or timeDate takes values as numbers)");
}

TEST(Fit, a_stored_column_of_texts_is_refused_and_the_way_out_works) {
  const TempFolder folder;
  folder.write("in.csv", "y,my t,p\n1,a,in.csv\n2,b,in.csv\n4,a,in.csv\n");
  ASSERT_EQ(runTool(folder, {"import", "in.csv", "in.zrb", "--types", "my t=string", "--blob-column", "b=p"}).status,
            0);
  expectFailure(runTool(folder, {"fit", "in.zrb", "y ~ `my t`"}), 2,
                "in.zrb:0:my t: column cannot be fitted, found type string, expected numbers, dates or a factor "
                "(importing again with --types 'my t=factor' takes its texts as levels)");
  // No import makes levels of blobs.
  expectFailure(runTool(folder, {"fit", "in.zrb", "y ~ b"}), 2,
                "in.zrb:0:b: column cannot be fitted, found type blob, expected numbers, dates or a factor");
  ASSERT_EQ(runTool(folder, {"import", "in.csv", "in.zrb", "--types", "my t=factor"}).status, 0);
  EXPECT_EQ(runTool(folder, {"fit", "in.zrb", "y ~ `my t`"}).status, 0);
}

// ---- What is shown ----

TEST(Fit, the_text_has_what_a_regression_table_has) {
  const TempFolder folder;
  folder.write("in.csv", "y,x,f\n2,1,a\n4,2,b\n5,3,a\n4,4,b\n5,5,a\nNA,6,b\n");
  const ToolResult result = runTool(folder, {"fit", "in.csv", "y ~ x"});
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out,
            "in.csv: y ~ x\n"
            "5 rows fitted, 1 row with NA left out\n"
            "\n"
            "             estimate  std. error      t       p    95% from        to\n"
            "(Intercept)       2.2   0.9380832  2.345  0.1007  -0.7853993  5.185399\n"
            "x                 0.6   0.2828427  2.121   0.124  -0.3001317  1.500132\n"
            "\n"
            "Residual standard error 0.8944272 on 3 degrees of freedom\n"
            "R2 0.6, adjusted 0.4666667\n"
            "F 4.5 on 1 and 3 degrees of freedom, p 0.124\n");
}

TEST(Fit, standard_input_is_fitted_in_one_pass) {
  const TempFolder folder;
  const ToolResult result = runShell(folder,
                                     "{ echo y,x; seq 1 20000 | awk '{print $1 % 7 + $1 \",\" $1}'; } | "
                                     "zrb fit - 'y ~ x' --json");
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(Json::parse(result.out).at("rows_fitted"), 20000);
}

}  // namespace
