// The node that turns rows of a table into rows of a design: the response, then one number per regressor.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "ZRBBuf.h"
#include "design_column.h"
#include "formula.h"
#include "table_source.h"
#include "zrb/node.h"

namespace zrbtool {

// A regressor: a term of the formula, and a level for each of the term's factors.
struct Regressor {
  std::size_t term;
  std::vector<long> levels;  // in the order of the term's variables, of its factors only
  DesignColumn column;
};

// Numbers are taken as they are, dates as days since 1970; a term's numbers are multiplied.  A factor has a regressor for
// each of its levels, a term with several factors for each combination; they come into being with the first row that
// needs them, in this order behind each other.  Rows with NA in any used column are left out.
//
// The output has no columns for new regressors.  The node then stops before the row that brings them and ends its output;
// wantsColumns() tells.  After the host has given the output more columns (1 + regressors().size()) and initialised it,
// resume() lets the node go on.
class DesignNode : public zrb::Node {
public:
  // The input's columns are those of formula.columns(), in this order.  `formula` and `table`, which the rows come from,
  // are borrowed.
  // Throws Failure (data) while it runs: a value that is infinite, or more than `mostRegressors` of them.
  DesignNode(const Formula& formula, const TableSource& table, std::size_t mostRegressors);

  const std::vector<Regressor>& regressors() const { return m_regressors; }
  const DesignColumn& response() const { return m_response; }
  long long rowsWithNA() const { return m_rows_with_na; }
  bool isFactor(std::size_t variable) const { return m_types[variable + 1] == ZRBBuf::column_factor; }

  bool wantsColumns() const { return m_wants_columns; }
  void resume();

  int isReady() override;

private:
  void prepare() override;
  long runChunk() override;

  void readChunk(long rows);
  bool hasNA(long row) const;
  void findRegressors(long row);
  std::uint64_t key(std::size_t term, long row) const;
  void addRegressor(std::size_t term, long row);
  double product(std::size_t term, long row) const;
  void encodeRow(long row, long to);

  const Formula& m_formula;    // borrowed
  const TableSource& m_table;  // borrowed; for messages
  std::size_t m_most_regressors;
  std::vector<ZRBBuf::column_type> m_types;                              // of the input's columns
  std::vector<std::unordered_map<std::uint64_t, std::size_t>> m_lookup;  // per term: levels -> regressor
  std::vector<Regressor> m_regressors;
  DesignColumn m_response;
  long long m_rows_with_na = 0;
  bool m_wants_columns = false;

  std::vector<std::vector<double>> m_values;  // the chunk, by input column; NaN for NA, a level's number for a factor
  std::vector<std::vector<double>> m_out;     // by output column
  std::vector<std::size_t> m_found;           // per term: the row's regressor
};

}  // namespace zrbtool
