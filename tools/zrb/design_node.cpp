#include "design_node.h"

#include <fmt/format.h>

#include <cmath>
#include <limits>
#include <utility>

#include "failure.h"
#include "zrb/iso_date.h"
#include "zrb/least_squares.h"

namespace zrbtool {

namespace {

constexpr int kLevelBits = 16;  // a factor's cell holds no more
static_assert(kMostTermVariables * kLevelBits <= 64);

const int kRegressorExponent = std::ilogb(zrb::LeastSquares::kColumnSize);
constexpr int kResponseExponent = 0;

}  // namespace

DesignNode::DesignNode(const Formula& formula, const TableSource& table, std::size_t mostRegressors)
    : zrb::Node(1, 1),
      m_formula(formula),
      m_table(table),
      m_most_regressors(mostRegressors),
      m_response(true, kResponseExponent) {}

void DesignNode::prepare() {
  ZRBBuf& buf = *input().getBuf();
  m_types.clear();
  for (long column = 0; column < buf.getNumColumns(); ++column) m_types.push_back(buf.getColumnType(column));
  m_values.assign(m_types.size(), std::vector<double>(static_cast<std::size_t>(getNumRows())));
  m_lookup.assign(m_formula.terms.size(), {});
  m_found.assign(m_formula.terms.size(), 0);
  m_regressors.clear();
  m_response = DesignColumn(true, kResponseExponent);
  m_rows_with_na = 0;
  m_wants_columns = false;
}

void DesignNode::resume() { m_wants_columns = false; }

int DesignNode::isReady() { return !m_wants_columns && zrb::Node::isReady(); }

long DesignNode::runChunk() {
  const long rows = executeRequestRows();
  if (rows < 0) return rows;
  readChunk(rows);
  const std::size_t columns = static_cast<std::size_t>(output().getBuf()->getNumColumns());
  m_out.assign(columns, std::vector<double>(static_cast<std::size_t>(rows), 0.0));
  long row = 0;
  long written = 0;
  for (; row < rows && !m_wants_columns; ++row) {
    if (hasNA(row)) {
      ++m_rows_with_na;
      continue;
    }
    findRegressors(row);
    m_wants_columns = 1 + m_regressors.size() > columns;
    if (m_wants_columns) break;
    encodeRow(row, written++);
  }
  // Stopping costs an update of the fit, so that the rest of the chunk is asked for what it will need.
  for (long later = row + 1; later < rows; ++later)
    if (!hasNA(later)) findRegressors(later);
  if (written > 0)
    for (std::size_t column = 0; column < columns; ++column)
      output().setDoubleArray(0, static_cast<long>(column), written, m_out[column].data());
  const long result = executeReleaseRows(row, written);
  // The rows so far are to be fitted as they are, before the columns change.
  if (m_wants_columns) output().setEOF();
  return result;
}

void DesignNode::readChunk(long rows) {
  for (std::size_t column = 0; column < m_types.size(); ++column) {
    std::vector<double>& values = m_values[column];
    const long at = static_cast<long>(column);
    switch (m_types[column]) {
      case ZRBBuf::column_factor:
        for (long row = 0; row < rows; ++row) {
          const long level = input().getLevelNum(row, at);
          values[static_cast<std::size_t>(row)] =
              ZRBObj::isLevelNumNA(level) ? std::numeric_limits<double>::quiet_NaN() : static_cast<double>(level);
        }
        break;
      case ZRBBuf::column_timeDate:
        for (long row = 0; row < rows; ++row) {
          const long long timeMs = input().getTimeDate(row, at);
          values[static_cast<std::size_t>(row)] =
              ZRBObj::isTimeDateNA(timeMs) ? std::numeric_limits<double>::quiet_NaN()
                                           : static_cast<double>(timeMs) / static_cast<double>(zrb::kMsPerDay);
        }
        break;
      default:
        if (rows > 0) input().getDoubleArray(0, at, rows, values.data());
    }
  }
}

bool DesignNode::hasNA(long row) const {
  bool found = false;
  for (std::size_t column = 0; column < m_types.size(); ++column) {
    const double value = m_values[column][static_cast<std::size_t>(row)];
    if (std::isinf(value)) {
      const std::string& name = column == 0 ? m_formula.response : m_formula.variables[column - 1];
      throw failureAt(ExitStatus::data, m_table.file(), 0, name,
                      {"no number to fit", value > 0 ? "inf" : "-inf", "finite numbers or NA"});
    }
    found = found || std::isnan(value);
  }
  return found;
}

void DesignNode::findRegressors(long row) {
  for (std::size_t term = 0; term < m_formula.terms.size(); ++term) {
    const auto [entry, isNew] = m_lookup[term].try_emplace(key(term, row), m_regressors.size());
    if (isNew) addRegressor(term, row);
    m_found[term] = entry->second;
  }
}

std::uint64_t DesignNode::key(std::size_t term, long row) const {
  std::uint64_t key = 0;
  for (const std::size_t variable : m_formula.terms[term])
    if (isFactor(variable))
      key = key << kLevelBits | static_cast<std::uint64_t>(m_values[variable + 1][static_cast<std::size_t>(row)]);
  return key;
}

void DesignNode::addRegressor(std::size_t term, long row) {
  if (m_regressors.size() >= m_most_regressors)
    throw failureAt(ExitStatus::data, m_table.file(), 0, termName(m_formula, term),
                    {"model too large", fmt::format("more than {} coefficients", m_most_regressors),
                     fmt::format("factors with fewer levels ({} or timeDate takes values as numbers)",
                                 m_table.typesHint("NAME=double"))});
  std::vector<long> levels;
  for (const std::size_t variable : m_formula.terms[term])
    if (isFactor(variable)) levels.push_back(static_cast<long>(m_values[variable + 1][static_cast<std::size_t>(row)]));
  const bool isNumeric = levels.empty();
  m_regressors.push_back({term, std::move(levels), DesignColumn(isNumeric, kRegressorExponent)});
}

double DesignNode::product(std::size_t term, long row) const {
  double product = 1;
  for (const std::size_t variable : m_formula.terms[term])
    if (!isFactor(variable)) product *= m_values[variable + 1][static_cast<std::size_t>(row)];
  return product;
}

void DesignNode::encodeRow(long row, long to) {
  const std::size_t at = static_cast<std::size_t>(to);
  m_out[0][at] = m_response.encode(m_values[0][static_cast<std::size_t>(row)]);
  for (std::size_t term = 0; term < m_found.size(); ++term)
    m_out[1 + m_found[term]][at] = m_regressors[m_found[term]].column.encode(product(term, row));
}

}  // namespace zrbtool
