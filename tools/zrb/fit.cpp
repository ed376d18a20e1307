#include "fit.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <utility>

#include "design_node.h"
#include "failure.h"
#include "formula.h"
#include "model_columns.h"
#include "table_source.h"
#include "tails.h"
#include "triangle_fit.h"
#include "zrb/column.h"
#include "zrb/handle.h"
#include "zrb/least_squares.h"
#include "zrb/number_text.h"
#include "zrb/property.h"
#include "zrb/run.h"

namespace zrbtool {

namespace {

// The triangle takes 8 bytes times the square of this, and every row time in proportion to the square.
constexpr std::size_t kMostRegressors = 1000;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

void checkTypes(TableSource& source, const Formula& formula) {
  ZRBBuf& buf = source.buf();
  const std::vector<std::string> names = formula.columns();
  for (std::size_t i = 0; i < names.size(); ++i) {
    const ZRBBuf::column_type type = buf.getColumnType(static_cast<long>(i));
    const bool fits =
        type == ZRBBuf::column_double || type == ZRBBuf::column_timeDate || (type == ZRBBuf::column_factor && i > 0);
    if (fits) continue;
    std::string expected = i == 0 ? "a response of numbers or dates" : "numbers, dates or a factor";
    if (i > 0 && type == ZRBBuf::column_string)
      expected += fmt::format(" ({} takes its texts as levels)", source.typesHint(names[i] + "=factor"));
    throw failureAt(ExitStatus::usage, source.file(), 0, names[i],
                    {"column cannot be fitted", fmt::format("type {}", zrb::columnTypeName(type)), expected});
  }
}

// table -> DesignNode -> design -> LeastSquares, run to the end.
class FitRun {
public:
  FitRun(const std::string& file, const CsvOptions& options, const Formula& formula, long chunkRows)
      : m_source(openTable(file, options, requestOf(formula))), m_node(formula, *m_source, kMostRegressors) {
    checkTypes(*m_source, formula);
    const long inputRows = m_source->chunkRows();
    m_design = zrb::make<ZRBMemoryBuf>();
    zrb::set(m_design, "name", "design");
    zrb::set(m_design, "num.columns", 1);
    zrb::set(m_design, "num.rows", inputRows + 2 * chunkRows);
    zrb::set(m_node, "name", "design");
    zrb::set(m_node, "num.rows", inputRows);
    zrb::set(m_node, "inbuf", m_source->buf());
    zrb::set(m_node, "outbuf", m_design);
    zrb::set(m_fit, "name", "fit");
    zrb::set(m_fit, "num.rows", chunkRows);
    zrb::set(m_fit, "inbuf", m_design);
    run();
  }

  TableSource& source() { return *m_source; }
  DesignNode& design() { return m_node; }

  Triangle triangle() {
    Triangle triangle;
    const long size = m_fit.columns();
    triangle.size = static_cast<std::size_t>(size);
    for (long j = 0; j < size; ++j) {
      for (long i = 0; i < size; ++i) triangle.factor.push_back(m_fit.factor(i, j));
      triangle.rhs.push_back(m_fit.transformedResponse(j));
    }
    triangle.residual = m_fit.residualSumOfSquares();
    triangle.rows = m_fit.rows();
    return triangle;
  }

private:
  static TableRequest requestOf(const Formula& formula) {
    TableRequest request;
    request.columns = formula.columns();
    return request;
  }

  void run() {
    auto pipeline = zrb::make<ZRBPipeline>();
    m_source->addTo(*pipeline);
    zrb::set(pipeline, "add.buf", m_design);
    zrb::set(pipeline, "add.proc", m_node);
    zrb::set(pipeline, "add.proc", m_fit);
    zrb::set(pipeline, "init");
    zrb::checkAll(*pipeline);
    for (;;) {
      zrb::set(pipeline, "execute", 0);
      zrb::checkAll(*pipeline);
      if (!m_node.wantsColumns()) break;
      zrb::set(m_design, "num.columns", m_node.regressors().size() + 1);
      m_design->init();
      m_fit.resume();
      m_node.resume();
      zrb::checkAll(*pipeline);
    }
    if (!m_fit.isDone()) throw zrb::Error("the fit is not done, and waits for rows that nobody provides");
  }

  std::unique_ptr<TableSource> m_source;
  zrb::Handle<ZRBMemoryBuf> m_design;  // before the nodes that are connected to it
  DesignNode m_node;
  zrb::LeastSquares m_fit;
};

// Residuals below this part of the numbers they come from are rounding: those of the file are rounded to 2^-53, and
// sums of many of them to somewhat more.
constexpr double kPerfect = 0x1p-46;

// The design of the model's columns, in the units of the file: value = shift + (what was fitted) / factor.
struct FittedColumn {
  std::string name;
  double shift;
  double factor;
};

// Turns what was fitted into what is reported.
class FitReport {
public:
  FitReport(const Triangle& triangle, const TriangleFit& solution, const std::vector<FittedColumn>& columns,
            const DesignColumn& response)
      : m_solution(solution),
        m_columns(columns),
        m_response(response),
        m_rows(triangle.rows),
        m_free(triangle.rows - static_cast<long long>(solution.kept().size())) {}

  void fill(Fit& fit) const {
    const double rows = static_cast<double>(m_rows);
    const double free = static_cast<double>(m_free);
    const double deviation = std::sqrt(m_solution.residual() / free);  // in the units of the fit
    fit.degreesOfFreedom = m_free;
    fit.isPerfect = std::sqrt(m_solution.residual() / rows) <=
                    kPerfect * std::max(m_response.largest() * m_response.factor(), m_solution.fittedSize());
    fit.residualDeviation = deviation / m_response.factor();
    fit.r2 = 1 - m_solution.residual() / m_solution.total();
    fit.adjustedR2 = 1 - m_solution.residual() / free / (m_solution.total() / (rows - 1));
    fit.fDegreesOfFreedom = static_cast<double>(m_solution.kept().size() - 1);
    fit.f = fit.fP = kNaN;
    if (fit.fDegreesOfFreedom > 0 && !fit.isPerfect) {
      fit.f = (m_solution.total() - m_solution.residual()) / fit.fDegreesOfFreedom / (deviation * deviation);
      fit.fP = fTail(fit.f, fit.fDegreesOfFreedom, free);
    }
    for (std::size_t i = 0; i < m_columns.size(); ++i)
      fit.coefficients.push_back(coefficient(i, deviation, fit.isPerfect));
  }

private:
  // The coefficient as a sum of the fitted ones: its own, and for the intercept what the shifts have taken out of it.
  std::vector<double> weights(std::size_t i) const {
    std::vector<double> weights(m_columns.size(), 0.0);
    weights[i] = m_columns[i].factor / m_response.factor();
    if (i == 0)
      for (std::size_t j = 1; j < m_columns.size(); ++j)
        weights[j] = -m_columns[j].shift * m_columns[j].factor / m_response.factor();
    return weights;
  }

  Coefficient coefficient(std::size_t i, double deviation, bool isPerfect) const {
    const std::vector<double> weights = this->weights(i);
    long double sum = static_cast<long double>(i == 0 ? m_response.shift() : 0.0);
    for (std::size_t j = 0; j < weights.size(); ++j)
      sum += static_cast<long double>(weights[j]) * static_cast<long double>(m_solution.coefficients()[j]);
    Coefficient result{m_columns[i].name, static_cast<double>(sum), kNaN, kNaN, kNaN, kNaN, kNaN};
    if (isPerfect) return result;
    const double free = static_cast<double>(m_free);
    result.standardError = deviation * m_solution.deviation(weights);
    result.t = result.estimate / result.standardError;
    result.p = tTail(result.t, free);
    const double reach = tOf95Percent(free) * result.standardError;
    result.low = result.estimate - reach;
    result.high = result.estimate + reach;
    return result;
  }

  const TriangleFit& m_solution;
  const std::vector<FittedColumn>& m_columns;
  const DesignColumn& m_response;
  long long m_rows;
  long long m_free;
};

// Statements in place of a table that would hold no numbers.
void checkFittable(const Fit& fit, const DesignColumn& response, const Triangle& triangle) {
  const auto refuse = [&](const std::string& what, const std::string& found, const std::string& expected) {
    throw failureAt(ExitStatus::data, fit.file, 0, fit.response, {what, found, expected});
  };
  if (triangle.rows == 0)
    refuse("no rows to fit",
           fmt::format("{}, {} of them with NA in a used column", counted(fit.rows, "row"), fit.rowsWithNA),
           "rows without NA in the columns of the formula");
  if (response.isConstant())
    refuse("nothing to explain", zrb::numberText(response.shift()) + " in every row", "a response that varies");
  const auto isFinite = [](double value) { return std::isfinite(value); };
  if (!std::all_of(triangle.factor.begin(), triangle.factor.end(), isFinite) ||
      !std::all_of(triangle.rhs.begin(), triangle.rhs.end(), isFinite) || !std::isfinite(triangle.residual))
    refuse("numbers out of range", "sums of squares beyond the range of doubles",
           "columns whose numbers differ less in size");
}

}  // namespace

Fit fitModel(const std::string& file, const CsvOptions& options, const std::string& text, long chunkRows) {
  const Formula formula = parseFormula(text);
  FitRun run(file, options, formula, chunkRows);
  const DesignNode& design = run.design();
  const Triangle triangle = run.triangle();

  Fit fit{};
  fit.file = file;
  fit.formula = text;
  fit.response = formula.response;
  fit.rowsWithNA = design.rowsWithNA();
  fit.rows = triangle.rows + fit.rowsWithNA;
  checkFittable(fit, design.response(), triangle);

  ModelColumns model = modelColumns(formula, design, run.source().buf());
  fit.dropped = std::move(model.dropped);
  fit.baseLevels = std::move(model.baseLevels);
  std::vector<Candidate> candidates = {{0, 0.0}};
  std::vector<FittedColumn> all = {{"(Intercept)", 0.0, 1.0}};
  for (ModelColumn& column : model.columns) {
    const DesignColumn& values = design.regressors()[column.regressor].column;
    candidates.push_back({column.regressor + 1, values.largest() * values.factor()});
    all.push_back({std::move(column.name), values.shift(), values.factor()});
  }
  const TriangleFit solution(triangle, candidates);
  for (const DroppedCandidate& dropped : solution.dropped()) {
    DroppedPart part{all[dropped.candidate].name, "", {}};
    for (const std::size_t other : dropped.others) part.others.push_back(all[other].name);
    part.reason = fmt::format("a linear combination of {}", fmt::join(part.others, ", "));
    fit.dropped.push_back(std::move(part));
  }
  std::vector<FittedColumn> kept;
  for (const std::size_t candidate : solution.kept()) kept.push_back(all[candidate]);
  if (triangle.rows <= static_cast<long long>(kept.size()))
    throw failureAt(ExitStatus::data, file, 0, fit.response,
                    {"too few rows for the model",
                     fmt::format("{} without NA for {}", counted(triangle.rows, "row"),
                                 counted(static_cast<long long>(kept.size()), "coefficient")),
                     "more rows than coefficients"});
  FitReport(triangle, solution, kept, design.response()).fill(fit);
  return fit;
}

}  // namespace zrbtool
