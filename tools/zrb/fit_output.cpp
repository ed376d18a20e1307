// How a fit is shown.
#include <fmt/format.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "failure.h"
#include "fit.h"
#include "json_text.h"
#include "text_table.h"

namespace zrbtool {

namespace {

using Json = nlohmann::ordered_json;

std::string estimateText(double value) { return fmt::format("{:.7g}", value); }
std::string testText(double value) { return fmt::format("{:.4g}", value); }

// A tail too thin for a double is not 0.
std::string tailText(double p) { return p > 0 ? testText(p) : "<1e-307"; }

std::string coefficientsText(const Fit& fit) {
  TextTable table({Align::left, Align::right, Align::right, Align::right, Align::right, Align::right, Align::right});
  if (fit.isPerfect) {
    table.addRow({"", "estimate"});
    for (const Coefficient& c : fit.coefficients) table.addRow({c.name, estimateText(c.estimate)});
    return table.render();
  }
  table.addRow({"", "estimate", "std. error", "t", "p", "95% from", "to"});
  for (const Coefficient& c : fit.coefficients)
    table.addRow({c.name, estimateText(c.estimate), estimateText(c.standardError), testText(c.t), tailText(c.p),
                  estimateText(c.low), estimateText(c.high)});
  return table.render();
}

std::string summaryText(const Fit& fit) {
  std::string text;
  if (fit.isPerfect)
    text += fmt::format("Perfect fit: what is left, {} on {}, is rounding, so that there are no errors, t and p.\n",
                        testText(fit.residualDeviation), counted(fit.degreesOfFreedom, "degree") + " of freedom");
  else
    text += fmt::format("Residual standard error {} on {} of freedom\n", estimateText(fit.residualDeviation),
                        counted(fit.degreesOfFreedom, "degree"));
  text += fmt::format("R2 {}, adjusted {}\n", estimateText(fit.r2), estimateText(fit.adjustedR2));
  if (!std::isnan(fit.f))
    text += fmt::format("F {} on {} and {}, p {}\n", testText(fit.f), fit.fDegreesOfFreedom,
                        counted(fit.degreesOfFreedom, "degree") + " of freedom", tailText(fit.fP));
  return text;
}

Json coefficientJson(const Coefficient& c) {
  Json json;
  json["name"] = c.name;
  json["estimate"] = numberJson(c.estimate);
  json["std_error"] = numberJson(c.standardError);
  json["t"] = numberJson(c.t);
  json["p"] = numberJson(c.p);
  json["ci95"] = {numberJson(c.low), numberJson(c.high)};
  return json;
}

}  // namespace

std::string fitText(const Fit& fit) {
  std::string text = fmt::format("{}: {}\n{}", onOneLine(fit.file), onOneLine(fit.formula),
                                 counted(fit.rows - fit.rowsWithNA, "row") + " fitted");
  if (fit.rowsWithNA > 0) text += fmt::format(", {} with NA left out", counted(fit.rowsWithNA, "row"));
  text += '\n';
  for (const BaseLevel& base : fit.baseLevels)
    text += fmt::format("Base level of {}: {}\n", onOneLine(base.factor), onOneLine(base.level));
  for (const DroppedPart& part : fit.dropped)
    text += fmt::format("{}: dropped, {}\n", onOneLine(part.name), onOneLine(part.reason));
  return text + "\n" + coefficientsText(fit) + "\n" + summaryText(fit);
}

std::string fitJson(const Fit& fit) {
  Json json;
  json["file"] = fit.file;
  json["formula"] = fit.formula;
  json["rows"] = fit.rows;
  json["rows_fitted"] = fit.rows - fit.rowsWithNA;
  json["rows_with_na"] = fit.rowsWithNA;
  json["base_levels"] = Json::object();
  for (const BaseLevel& base : fit.baseLevels) json["base_levels"][base.factor] = base.level;
  json["dropped"] = Json::array();
  for (const DroppedPart& part : fit.dropped)
    json["dropped"].push_back({{"name", part.name}, {"reason", part.reason}, {"others", part.others}});
  json["coefficients"] = Json::array();
  for (const Coefficient& c : fit.coefficients) json["coefficients"].push_back(coefficientJson(c));
  json["perfect"] = fit.isPerfect;
  json["residual_sd"] = numberJson(fit.residualDeviation);
  json["degrees_of_freedom"] = fit.degreesOfFreedom;
  json["r2"] = numberJson(fit.r2);
  json["adjusted_r2"] = numberJson(fit.adjustedR2);
  if (std::isnan(fit.f))
    json["f"] = nullptr;
  else
    json["f"] = {{"value", numberJson(fit.f)},
                 {"degrees_of_freedom", {fit.fDegreesOfFreedom, fit.degreesOfFreedom}},
                 {"p", numberJson(fit.fP)}};
  return jsonText(json);
}

}  // namespace zrbtool
