#include "model_columns.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "failure.h"
#include "zrb/number_text.h"

namespace zrbtool {

namespace {

// The levels of one factor that occur in the design, in the model's order.
struct FactorLevels {
  std::vector<std::string> names;
  std::map<long, std::size_t> positions;  // by level number
};

std::string valueText(double value) { return zrb::numberText(value); }

class ModelBuilder {
public:
  ModelBuilder(const Formula& formula, const DesignNode& design, ZRBBuf& table)
      : m_formula(formula), m_design(design), m_terms(formula.terms.begin(), formula.terms.end()) {
    m_levels.resize(formula.variables.size());
    for (std::size_t variable = 0; variable < formula.variables.size(); ++variable)
      if (design.isFactor(variable)) findLevels(variable, table);
  }

  ModelColumns build() {
    for (std::size_t term = 0; term < m_formula.terms.size(); ++term) addTerm(term);
    return std::move(m_model);
  }

private:
  // A regressor of a term, with its levels' positions.
  struct Placed {
    std::size_t regressor;
    std::vector<std::size_t> positions;
  };

  // Every row of the fit has a level of every factor, so that one term with the factor shows all.
  void findLevels(std::size_t variable, ZRBBuf& table) {
    std::set<long> numbers;
    for (const Regressor& regressor : m_design.regressors()) {
      std::size_t factor = 0;
      for (const std::size_t other : m_formula.terms[regressor.term]) {
        if (!m_design.isFactor(other)) continue;
        if (other == variable) numbers.insert(regressor.levels[factor]);
        ++factor;
      }
    }
    struct Level {
      long number;
      std::string name;
      std::optional<double> value;
    };
    std::vector<Level> levels;
    for (const long number : numbers) {
      const char* name = table.getLevelName(static_cast<long>(variable) + 1, number);
      levels.push_back({number, name ? name : std::to_string(number), std::nullopt});
      levels.back().value = zrb::parseNumber(levels.back().name);
    }
    const bool areNumbers = std::all_of(levels.begin(), levels.end(), [](const Level& level) { return level.value; });
    std::sort(levels.begin(), levels.end(), [&](const Level& a, const Level& b) {
      if (areNumbers && *a.value != *b.value) return *a.value < *b.value;
      return a.name < b.name;
    });
    for (const Level& level : levels) {
      m_levels[variable].positions[level.number] = m_levels[variable].names.size();
      m_levels[variable].names.push_back(level.name);
    }
    if (!levels.empty()) m_model.baseLevels.push_back({m_formula.variables[variable], levels.front().name});
  }

  bool usesContrasts(std::size_t term, std::size_t variable) const {
    std::vector<std::size_t> without = m_formula.terms[term];
    without.erase(std::find(without.begin(), without.end(), variable));
    return without.empty() || m_terms.contains(without);
  }

  void addTerm(std::size_t term) {
    std::vector<std::size_t> factors;
    for (const std::size_t variable : m_formula.terms[term])
      if (m_design.isFactor(variable)) factors.push_back(variable);
    // How many columns the term would have if all its combinations of levels occurred.
    std::vector<bool> contrasts;
    std::size_t possible = 1;
    for (const std::size_t factor : factors) {
      contrasts.push_back(usesContrasts(term, factor));
      possible *= m_levels[factor].names.size() - (contrasts.back() ? 1 : 0);
    }
    if (possible == 0) return dropOneLevel(term, factors, contrasts);

    std::size_t found = 0;
    for (const Placed& placed : regressorsOf(term, factors)) {
      bool isBase = false;
      for (std::size_t i = 0; i < factors.size(); ++i) isBase = isBase || (contrasts[i] && placed.positions[i] == 0);
      if (isBase) continue;
      ++found;
      addColumn(term, placed);
    }
    if (found < possible)
      m_model.dropped.push_back(
          {termName(m_formula, term),
           fmt::format("{} of {} combinations of levels without rows", possible - found, possible),
           {}});
  }

  std::vector<Placed> regressorsOf(std::size_t term, const std::vector<std::size_t>& factors) const {
    std::vector<Placed> all;
    for (std::size_t i = 0; i < m_design.regressors().size(); ++i) {
      const Regressor& regressor = m_design.regressors()[i];
      if (regressor.term != term) continue;
      Placed placed{i, {}};
      for (std::size_t k = 0; k < factors.size(); ++k)
        placed.positions.push_back(m_levels[factors[k]].positions.at(regressor.levels[k]));
      all.push_back(std::move(placed));
    }
    std::sort(all.begin(), all.end(), [](const Placed& a, const Placed& b) {
      return std::lexicographical_compare(a.positions.rbegin(), a.positions.rend(), b.positions.rbegin(),
                                          b.positions.rend());
    });
    return all;
  }

  void addColumn(std::size_t term, const Placed& placed) {
    std::string name;
    std::size_t factor = 0;
    for (const std::size_t variable : m_formula.terms[term]) {
      name += (name.empty() ? "" : ":") + m_formula.variables[variable];
      if (m_design.isFactor(variable)) name += "=" + m_levels[variable].names[placed.positions[factor++]];
    }
    const DesignColumn& column = m_design.regressors()[placed.regressor].column;
    if (column.isConstant())
      m_model.dropped.push_back({std::move(name), "constant, " + valueText(column.shift()) + " in every row", {}});
    else
      m_model.columns.push_back({placed.regressor, std::move(name)});
  }

  void dropOneLevel(std::size_t term, const std::vector<std::size_t>& factors, const std::vector<bool>& contrasts) {
    for (std::size_t i = 0; i < factors.size(); ++i)
      if (contrasts[i] && m_levels[factors[i]].names.size() == 1)
        return m_model.dropped.push_back(
            {termName(m_formula, term),
             fmt::format("constant, {} is {} in every row", m_formula.variables[factors[i]],
                         quote(m_levels[factors[i]].names.front())),
             {}});
  }

  const Formula& m_formula;
  const DesignNode& m_design;
  std::set<std::vector<std::size_t>> m_terms;
  std::vector<FactorLevels> m_levels;  // by variable
  ModelColumns m_model;
};

}  // namespace

ModelColumns modelColumns(const Formula& formula, const DesignNode& design, ZRBBuf& table) {
  return ModelBuilder(formula, design, table).build();
}

}  // namespace zrbtool
