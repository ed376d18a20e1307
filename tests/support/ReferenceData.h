// Data sets with certified results, and the agreement with them.
//
// The data sets and their certified values are those of the Statistical Reference Datasets of the National Institute of
// Standards and Technology (https://www.itl.nist.gov/div898/strd/), except for the polynomial of degree 10, whose exact
// fit scripts/exact_polynomial computes.
#pragma once

#include <cmath>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/ExactPolynomial.h"
#include "support/LeastSquares.h"

// A least-squares problem; its matrix starts with the column of ones.
struct ReferenceFit {
  std::string name;
  LeastSquares problem;
  std::vector<long double> certified;  // the coefficients
  double required;                     // digits that every fit has to agree in
};

struct ReferenceSample {
  std::string name;
  std::vector<double> values;
  long double mean;
  long double deviation;
  double requiredOfMean;
  double requiredOfDeviation;
};

// The significant digits in which a result agrees with the certified value: the log relative error, or the log absolute
// error where the certified value is 0; 15 at most, the digits that are certified, and 0 at least.
inline double agreeingDigits(long double result, long double certified) {
  if (!std::isfinite(result)) return 0;
  const long double error = std::fabs(result - certified) / (certified == 0 ? 1 : std::fabs(certified));
  if (error == 0) return 15;
  return std::fmin(15.0, std::fmax(0.0, static_cast<double>(-std::log10(error))));
}

// A table of numbers with a header line; the first column is the response.
inline LeastSquares readProblem(const std::string& path) {
  std::ifstream file(path);
  std::string line;
  if (!std::getline(file, line)) throw std::runtime_error("cannot read " + path);
  std::vector<std::vector<double>> rows;
  while (std::getline(file, line)) {
    std::istringstream cells(line);
    std::vector<double> row;
    for (std::string cell; std::getline(cells, cell, ',');) row.push_back(std::stod(cell));
    rows.push_back(row);
  }
  LeastSquares problem{Matrix<double>(static_cast<long>(rows.size()), static_cast<long>(rows.at(0).size())), {}};
  for (std::size_t i = 0; i < rows.size(); ++i) {
    problem.b.push_back(rows[i].at(0));
    problem.a(static_cast<long>(i), 0) = 1;
    for (std::size_t j = 1; j < rows[i].size(); ++j) problem.a(static_cast<long>(i), static_cast<long>(j)) = rows[i][j];
  }
  return problem;
}

// The powers 0..degree of x = 0, step, 2 step, ... as regressors; exact in doubles for what is used here.
inline LeastSquares powers(long rows, long degree, double step) {
  LeastSquares problem{Matrix<double>(rows, degree + 1), std::vector<double>(static_cast<std::size_t>(rows))};
  for (long i = 0; i < rows; ++i) {
    double power = 1;
    for (long j = 0; j <= degree; ++j, power *= step * static_cast<double>(i)) problem.a(i, j) = power;
  }
  return problem;
}

// Wampler1, 3, 4 and 5: y is the sum of the powers 0..5 of x = 0..20 plus `size` times an error that is orthogonal to
// all of them, so that every coefficient is 1.
inline LeastSquares wampler(double size) {
  constexpr double kErrors[] = {759,   -2048, 2048,  -2048, 2523,  -2048, 2048,  -2048, 1838,  -2048, 2048,
                                -2048, 1838,  -2048, 2048,  -2048, 2523,  -2048, 2048,  -2048, 759};
  LeastSquares problem = powers(static_cast<long>(std::size(kErrors)), 5, 1);
  for (long i = 0; i < problem.a.rows; ++i) {
    double y = size * kErrors[i];
    for (long j = 0; j <= 5; ++j) y += problem.a(i, j);
    problem.b[static_cast<std::size_t>(i)] = y;
  }
  return problem;
}

// y = 1 + 0.1 x + 0.01 x^2 + ... + 0.00001 x^5, of which a double holds the nearest number.
inline LeastSquares wampler2() {
  LeastSquares problem = powers(21, 5, 1);
  for (long i = 0; i < problem.a.rows; ++i) {
    double hundredThousandths = 0;
    double unit = 100000;
    for (long j = 0; j <= 5; ++j, unit /= 10) hundredThousandths += unit * problem.a(i, j);
    problem.b[static_cast<std::size_t>(i)] = hundredThousandths / 100000;
  }
  return problem;
}

inline LeastSquares polynomial() {
  LeastSquares problem = powers(kExactPolynomialRows, kExactPolynomialDegree, 0.125);
  for (long i = 0; i < problem.a.rows; ++i) {
    double y = i % 2 == 0 ? -1 : 1;
    for (long j = 0; j <= kExactPolynomialDegree; ++j) y += problem.a(i, j);
    problem.b[static_cast<std::size_t>(i)] = y;
  }
  return problem;
}

inline std::vector<ReferenceFit> referenceFits() {
  const std::vector<long double> ones(6, 1.0L);
  const std::string data = ZRB_DATA_DIR;
  return {
      {"Norris", readProblem(data + "/norris.csv"), {-0.262323073774029L, 1.00211681802045L}, 11},
      {"Longley",
       readProblem(data + "/longley.csv"),
       {-3482258.63459582L, 15.0618722713733L, -0.358191792925910E-01L, -2.02022980381683L, -1.03322686717359L,
        -0.511041056535807E-01L, 1829.15146461355L},
       10},
      {"Wampler1", wampler(0), ones, 8.5},
      {"Wampler2", wampler2(), {1.0L, 0.1L, 0.01L, 0.001L, 0.0001L, 0.00001L}, 12},
      {"Wampler3", wampler(1), ones, 8.5},
      {"Wampler4", wampler(100), ones, 7},
      {"Wampler5", wampler(10000), ones, 5},
      {"polynomial of degree 10", polynomial(), {std::begin(kExactPolynomial), std::end(kExactPolynomial)}, 7.5},
  };
}

inline std::vector<ReferenceSample> referenceSamples() {
  // A value, then a thousand that lie below and above it in turn.
  const auto around = [](double middle, double below, double above) {
    std::vector<double> values = {middle};
    for (int i = 0; i < 500; ++i) values.insert(values.end(), {below, above});
    return values;
  };
  return {
      {"NumAcc1", {10000001, 10000003, 10000002}, 10000002, 1, 14, 14},
      {"NumAcc2", around(1.2, 1.1, 1.3), 1.2L, 0.1L, 14, 14},
      {"NumAcc3", around(1000000.2, 1000000.1, 1000000.3), 1000000.2L, 0.1L, 14, 9},
      {"NumAcc4", around(10000000.2, 10000000.1, 10000000.3), 10000000.2L, 0.1L, 14, 8},
  };
}
