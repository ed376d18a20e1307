#include "formula.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <set>
#include <utility>

#include "failure.h"
#include "utf8.h"

namespace zrbtool {

namespace {

using Term = std::vector<std::size_t>;

bool isNameCharacter(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '.' || (static_cast<unsigned char>(c) & 0x80);
}

constexpr const char* kInterceptReason =
    "a model with intercept (without one, R2 and F would compare with zero instead of the mean)";

class FormulaParser {
public:
  explicit FormulaParser(const std::string& text) : m_text(text) {}

  Formula parse() {
    skipBlanks();
    m_formula.response = name("the name of the response");
    if (!take('~')) fail(m_at, "~ after the response, as in zrb fit FILE 'y ~ x'");
    sum();
    for (std::size_t i = 0; i < m_formula.variables.size(); ++i)
      if (m_formula.variables[i] == m_formula.response) fail(m_first_at[i], "other columns than the response");
    std::stable_sort(m_formula.terms.begin(), m_formula.terms.end(),
                     [](const Term& a, const Term& b) { return a.size() < b.size(); });
    return std::move(m_formula);
  }

private:
  void sum() {
    do {
      const std::size_t begin = m_at;
      if (peek() == '-' || (peek() == '0' && isWholeWord())) fail(begin, kInterceptReason);
      if (peek() == '1' && isWholeWord())
        take('1');
      else
        product();
      if (peek() == '-') fail(m_at, kInterceptReason);
    } while (take('+'));
    if (m_at < m_text.size()) fail(m_at, "+, :, * or the end");
  }

  // a:b*c:d stands for a:b + c:d + a:b:c:d
  void product() {
    std::vector<Term> factors;
    const std::size_t begin = m_at;
    do factors.push_back(interaction());
    while (take('*'));
    // A term of as many variables needs no more factors, and the terms double with each.
    if (factors.size() > kMostTermVariables) fail(begin, tooManyVariables());
    std::vector<Term> terms;
    for (std::size_t subset = 1; subset < std::size_t{1} << factors.size(); ++subset) {
      Term term;
      for (std::size_t i = 0; i < factors.size(); ++i)
        if (subset >> i & 1) term.insert(term.end(), factors[i].begin(), factors[i].end());
      terms.push_back(std::move(term));
    }
    for (Term& term : terms) add(std::move(term), begin);
  }

  Term interaction() {
    Term term;
    do {
      const std::size_t at = m_at;
      term.push_back(variable(name("the name of a column"), at));
    } while (take(':'));
    return term;
  }

  void add(Term term, std::size_t at) {
    std::sort(term.begin(), term.end());
    term.erase(std::unique(term.begin(), term.end()), term.end());
    if (term.size() > kMostTermVariables) fail(at, tooManyVariables());
    if (m_known.insert(term).second) m_formula.terms.push_back(std::move(term));
  }

  static std::string tooManyVariables() { return fmt::format("at most {} columns in one term", kMostTermVariables); }

  std::size_t variable(const std::string& variable, std::size_t at) {
    auto& variables = m_formula.variables;
    const auto found = std::find(variables.begin(), variables.end(), variable);
    if (found != variables.end()) return static_cast<std::size_t>(found - variables.begin());
    variables.push_back(variable);
    m_first_at.push_back(at);
    return variables.size() - 1;
  }

  std::string name(const char* expected) {
    const std::size_t begin = m_at;
    if (peek() == '`') {
      const std::size_t end = m_text.find('`', begin + 1);
      if (end == std::string::npos) fail(begin, "a ` that ends the name");
      if (end == begin + 1) fail(begin, expected);
      m_at = end + 1;
      skipBlanks();
      return m_text.substr(begin + 1, end - begin - 1);
    }
    std::size_t end = begin;
    while (end < m_text.size() && isNameCharacter(m_text[end])) ++end;
    if (end == begin) fail(begin, expected);
    std::string word = m_text.substr(begin, end - begin);
    if (std::isdigit(static_cast<unsigned char>(word[0])) || word == ".")
      fail(begin, fmt::format("{}, in ` where it begins with a digit or is not made of letters", expected));
    m_at = end;
    skipBlanks();
    if (peek() == '(')
      fail(begin, "the name of a column (functions of columns are not computed here: add a column to the file)");
    return word;
  }

  char peek() const { return m_at < m_text.size() ? m_text[m_at] : '\0'; }

  bool isWholeWord() const { return m_at + 1 >= m_text.size() || !isNameCharacter(m_text[m_at + 1]); }

  bool take(char c) {
    if (peek() != c || m_at >= m_text.size()) return false;
    ++m_at;
    skipBlanks();
    return true;
  }

  void skipBlanks() {
    while (m_at < m_text.size() && std::isspace(static_cast<unsigned char>(m_text[m_at]))) ++m_at;
  }

  [[noreturn]] void fail(std::size_t at, const std::string& expected) const {
    const std::string before = m_text.substr(0, at);
    const std::size_t place = isUtf8(before) ? utf8Length(before) + 1 : at + 1;
    throw Failure(ExitStatus::usage,
                  fmt::format("zrb fit: formula, character {}: found {}, expected {}", place,
                              at < m_text.size() ? quote(m_text.substr(at)) : std::string("the end"), expected));
  }

  const std::string& m_text;
  std::size_t m_at = 0;
  Formula m_formula;
  std::vector<std::size_t> m_first_at;  // where each variable stands first
  std::set<Term> m_known;
};

}  // namespace

std::vector<std::string> Formula::columns() const {
  std::vector<std::string> all = {response};
  all.insert(all.end(), variables.begin(), variables.end());
  return all;
}

Formula parseFormula(const std::string& text) { return FormulaParser(text).parse(); }

std::string termName(const Formula& formula, std::size_t term) {
  std::string name;
  for (const std::size_t variable : formula.terms[term])
    name += (name.empty() ? "" : ":") + formula.variables[variable];
  return name;
}

}  // namespace zrbtool
