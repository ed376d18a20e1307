// What docs/numerics.md says about the agreement with certified results: measured here, printed by print_numerics.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

#include "ZRBBufWriter.h"
#include "ZRBMemoryBuf.h"
#include "ZRBProcCount.h"
#include "support/Harness.h"
#include "support/LmFlow.h"
#include "support/ReferenceData.h"

// The digits of the worst coefficient of a fit in chunks of `chunkRows` rows.
inline double worstDigits(const ReferenceFit& fit, long chunkRows) {
  const std::vector<double> results = fitInChunks(fit.problem, chunkRows);
  double worst = 15;
  for (std::size_t j = 0; j < results.size(); ++j)
    worst = std::min(worst, agreeingDigits(extended(results[j]), fit.certified[j]));
  return worst;
}

// The digits of the worst coefficient of the worst chunk size from 1 to all rows.
inline double worstDigits(const ReferenceFit& fit) {
  double worst = 15;
  for (long chunkRows = 1; chunkRows <= fit.problem.a.rows; ++chunkRows)
    worst = std::min(worst, worstDigits(fit, chunkRows));
  return worst;
}

struct SampleDigits {
  double mean;
  double deviation;
};

// The count node's digits when the sample comes in chunks of `chunkRows` rows.
inline SampleDigits digitsOf(const ReferenceSample& sample, long chunkRows) {
  ZRBMemoryBuf buf;
  HarnessNode source;
  ZRBProcCount node;
  ZRBBufWriter& writer = source.writeTo(buf);
  buf.setNumColumns(1);
  buf.setNumRows(chunkRows);
  node.setInputBuf(0, &buf);
  buf.init();
  node.init();
  const long count = static_cast<long>(sample.values.size());
  for (long first = 0; first < count; first += chunkRows) {
    const long rows = std::min(chunkRows, count - first);
    for (long row = 0; row < rows; ++row)
      writer.setDouble(row, 0, sample.values[static_cast<std::size_t>(first + row)]);
    writer.releaseRows(rows);
    node.execute();
  }
  return {agreeingDigits(extended(node.getMean(0)), sample.mean),
          agreeingDigits(extended(node.getStdDev(0)), sample.deviation)};
}

inline SampleDigits worstDigits(const ReferenceSample& sample) {
  SampleDigits worst = {15, 15};
  for (long chunkRows = 1; chunkRows <= static_cast<long>(sample.values.size()); ++chunkRows) {
    const SampleDigits digits = digitsOf(sample, chunkRows);
    worst.mean = std::min(worst.mean, digits.mean);
    worst.deviation = std::min(worst.deviation, digits.deviation);
  }
  return worst;
}

// The digits in which the deviation of the doubles that hold the sample agrees: those of an exact calculation.
inline double digitsOfStoredValues(const ReferenceSample& sample) {
  const long double count = static_cast<long double>(sample.values.size());
  long double sum = 0;
  for (const double x : sample.values) sum += extended(x);
  const long double mean = sum / count;
  long double squares = 0;
  for (const double x : sample.values) squares += (extended(x) - mean) * (extended(x) - mean);
  return agreeingDigits(std::sqrt(squares / (count - 1)), sample.deviation);
}

// A row of a table: what it is about, and digits that have been reached, rounded down to tenths.
struct NumericsRow {
  std::vector<std::string> facts;
  std::vector<double> reached;
};

struct NumericsTable {
  std::string name;  // between the markers in the document
  std::vector<std::string> header;
  std::vector<NumericsRow> rows;
};

// With one decimal; without, as a power of ten.
inline std::string digitsText(double digits) {
  char text[40];
  std::snprintf(text, sizeof text, "%.1f", digits);
  return text;
}
inline std::string magnitudeText(long double number) {
  char text[40];
  std::snprintf(text, sizeof text, "%.0Le", number);
  return text;
}
inline double inTenths(double digits) { return std::floor(10 * digits) / 10; }

inline std::vector<NumericsTable> numericsTables() {
  NumericsTable fits{"least squares", {"data set", "rows", "coefficients", "condition", "required", "reached"}, {}};
  for (const ReferenceFit& fit : referenceFits())
    fits.rows.push_back({{fit.name, std::to_string(fit.problem.a.rows), std::to_string(fit.problem.a.columns),
                          magnitudeText(scaledCondition(fit.problem.a)), digitsText(fit.required)},
                         {inTenths(worstDigits(fit))}});
  NumericsTable samples{"count",
                        {"data set", "values", "required of the mean", "of the deviation",
                         "exact deviation of the doubles", "reached by the mean", "by the deviation"},
                        {}};
  for (const ReferenceSample& sample : referenceSamples()) {
    const SampleDigits worst = worstDigits(sample);
    samples.rows.push_back(
        {{sample.name, std::to_string(sample.values.size()), digitsText(sample.requiredOfMean),
          digitsText(sample.requiredOfDeviation), digitsText(inTenths(digitsOfStoredValues(sample)))},
         {inTenths(worst.mean), inTenths(worst.deviation)}});
  }
  return {fits, samples};
}

// The lines that stand before and after a table in the document.
inline std::string numericsBegin(const std::string& name) {
  return "<!-- " + name + ": printed by scripts/print-numerics -->";
}
inline std::string numericsEnd(const std::string& name) { return "<!-- " + name + ": end -->"; }
