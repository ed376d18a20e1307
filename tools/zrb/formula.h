// What a model formula says, as in: weight ~ height + sex + height:sex
//
//   a + b     both                     `a b`    a name that is not made of letters, digits, _ and . only
//   a:b       their product            1        the intercept, which is always there
//   a*b       a + b + a:b
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace zrbtool {

// Columns of one term; the term's effect depends on all of them together.
inline constexpr std::size_t kMostTermVariables = 4;

struct Formula {
  std::string response;
  std::vector<std::string> variables;           // in order of appearance
  std::vector<std::vector<std::size_t>> terms;  // ascending numbers of variables; terms with fewer variables first

  std::vector<std::string> columns() const;  // the response, then the variables
};

// Throws Failure (usage) with the place in the text.
Formula parseFormula(const std::string& text);

// "a:b", by the variables' names.
std::string termName(const Formula& formula, std::size_t term);

}  // namespace zrbtool
