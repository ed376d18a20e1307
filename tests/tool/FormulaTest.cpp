#include "formula.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "failure.h"

namespace {

using zrbtool::Formula;
using zrbtool::parseFormula;

std::vector<std::string> termsOf(const std::string& text) {
  const Formula formula = parseFormula(text);
  std::vector<std::string> terms;
  for (std::size_t term = 0; term < formula.terms.size(); ++term) terms.push_back(zrbtool::termName(formula, term));
  return terms;
}

TEST(Formula, terms_stand_once_with_products_behind_their_parts) {
  const struct {
    const char* text;
    std::vector<std::string> terms;
  } cases[] = {
      {"y ~ a", {"a"}},
      {"y~a+b", {"a", "b"}},
      {"y ~ 1", {}},
      {"y ~ 1 + a", {"a"}},
      {"y ~ a + a", {"a"}},
      {"y ~ a:b + a", {"a", "a:b"}},
      {"y ~ b + a:b", {"b", "b:a"}},  // variables in the order of their first appearance
      {"y ~ a*b", {"a", "b", "a:b"}},
      {"y ~ a*b*c", {"a", "b", "c", "a:b", "a:c", "b:c", "a:b:c"}},
      {"y ~ a:a", {"a"}},
      {"y ~ a:b*c", {"c", "a:b", "a:b:c"}},
  };
  for (const auto& c : cases) EXPECT_EQ(termsOf(c.text), c.terms) << c.text;
}

TEST(Formula, names_of_any_text_stand_between_backquotes) {
  const Formula formula = parseFormula("`my y` ~ `2` + `a~b` + L\xC3\xA4nge + Sepal.Length");
  EXPECT_EQ(formula.response, "my y");
  EXPECT_EQ(formula.variables, (std::vector<std::string>{"2", "a~b", "L\xC3\xA4nge", "Sepal.Length"}));
}

TEST(Formula, a_mistake_is_reported_with_its_place) {
  const std::string intercept =
      "a model with intercept (without one, R2 and F would compare with zero instead of the mean)";
  const std::string name = "the name of a column";
  const std::string quoted = ", in ` where it begins with a digit or is not made of letters";
  const struct {
    const char* text;
    std::string error;
  } cases[] = {
      {"", "character 1: found the end, expected the name of the response"},
      {"~ x", "character 1: found '~ x', expected the name of the response"},
      {"y", "character 2: found the end, expected ~ after the response, as in zrb fit FILE 'y ~ x'"},
      {"y = x", "character 3: found '= x', expected ~ after the response, as in zrb fit FILE 'y ~ x'"},
      {"in.csv", "character 7: found the end, expected ~ after the response, as in zrb fit FILE 'y ~ x'"},
      {"data/in.csv", "character 5: found '/in.csv', expected ~ after the response, as in zrb fit FILE 'y ~ x'"},
      {"y ~ ", "character 5: found the end, expected " + name},
      {"y ~ x +", "character 8: found the end, expected " + name},
      {"y ~ x + + z", "character 9: found '+ z', expected " + name},
      {"y ~ x z", "character 7: found 'z', expected +, :, * or the end"},
      {"y ~ x^2", "character 6: found '^2', expected +, :, * or the end"},
      {"y ~ x - 1", "character 7: found '- 1', expected " + intercept},
      {"y ~ -1 + x", "character 5: found '-1 + x', expected " + intercept},
      {"y ~ x + 0", "character 9: found '0', expected " + intercept},
      {"y ~ 0", "character 5: found '0', expected " + intercept},
      {"y ~ 2", "character 5: found '2', expected " + name + quoted},
      {"y ~ .", "character 5: found '.', expected " + name + quoted},
      {"y ~ x + log(z)", "character 9: found 'log(z)', expected " + name +
                             " (functions of columns are not computed here: add a column to the file)"},
      {"y ~ `x", "character 5: found '`x', expected a ` that ends the name"},
      {"y ~ ``", "character 5: found '``', expected " + name},
      {"y ~ x + y:z", "character 9: found 'y:z', expected other columns than the response"},
      {"L\xC3\xA4nge ~ +", "character 9: found '+', expected " + name},
      {"y ~ a:b:c:d:e", "character 5: found 'a:b:c:d:e', expected at most 4 columns in one term"},
      {"y ~ a*b*c*d*e", "character 5: found 'a*b*c*d*e', expected at most 4 columns in one term"},
  };
  for (const auto& c : cases) {
    try {
      parseFormula(c.text);
      ADD_FAILURE() << c.text << " was accepted";
    } catch (const zrbtool::Failure& failure) {
      EXPECT_EQ(std::string(failure.what()), "zrb fit: formula, " + c.error);
      EXPECT_EQ(failure.status(), zrbtool::ExitStatus::usage);
    }
  }
}

}  // namespace
