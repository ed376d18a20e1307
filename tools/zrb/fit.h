// The verb "fit": a linear model by least squares, in one pass over the table.
#pragma once

#include <string>
#include <vector>

#include "csv_options.h"

namespace zrbtool {

struct Coefficient {
  std::string name;  // "(Intercept)", "x", "sex=male", "sex=male:x"
  double estimate;
  // NaN where the fit is perfect.
  double standardError;
  double t;
  double p;
  double low, high;  // 95 % interval
};

// A part of the model that the rows say nothing about.
struct DroppedPart {
  std::string name;
  std::string reason;               // as in: a linear combination of a and b
  std::vector<std::string> others;  // in that case: a, b
};

struct BaseLevel {
  std::string factor;
  std::string level;
};

struct Fit {
  std::string file;
  std::string formula;
  std::string response;
  long long rows;        // of the table
  long long rowsWithNA;  // in a used column: left out
  std::vector<Coefficient> coefficients;
  std::vector<DroppedPart> dropped;
  std::vector<BaseLevel> baseLevels;
  bool isPerfect;  // the residuals are rounding errors: there is nothing to compare an estimate with
  double residualDeviation;
  long long degreesOfFreedom;
  double r2;
  double adjustedR2;
  // Against the mean alone; NaN where the model is no more than that, or perfect.
  double f;
  double fDegreesOfFreedom;
  double fP;
};

// Rows of the design fitted at a time, unless a test wants it otherwise.
inline constexpr long kFitChunkRows = 500;

// Throws Failure: a formula that is none, columns that do not exist or cannot be fitted, too few rows, a response that is
// constant.
Fit fitModel(const std::string& file, const CsvOptions& options, const std::string& formula,
             long chunkRows = kFitChunkRows);

// A table of the coefficients, and what the model explains.
std::string fitText(const Fit& fit);

std::string fitJson(const Fit& fit);

}  // namespace zrbtool
