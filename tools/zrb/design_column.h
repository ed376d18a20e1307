// One regressor of a design, shifted and scaled as its values come.
//
// The least squares see (value - shift) * 2^exponent.  The shift is the column's first value, so that a large common
// part (years, dates) costs no digits; the exponent makes the first value that differs about as large as
// zrb::LeastSquares::kColumnSize, so that the unit does not matter.  Until such a value comes the column is zero, and
// zero does not depend on the exponent.  Multiplying by a power of two rounds nothing.
#pragma once

#include <cmath>

namespace zrbtool {

class DesignColumn {
public:
  // A column that is not shifted has to keep its zeros, as the one of a level has.
  DesignColumn(bool shifted, int sizeExponent) : m_shifted(shifted), m_size_exponent(sizeExponent) {}

  double encode(double value) {
    if (!m_begun) {
      m_begun = true;
      if (m_shifted) m_shift = value;
    }
    m_largest = std::fmax(m_largest, std::fabs(value));
    const double difference = value - m_shift;
    if (difference == 0) return 0;
    if (m_factor == 0) choose(difference);
    return difference * m_factor;
  }

  bool isConstant() const { return m_factor == 0; }  // every value so far was the shift
  double shift() const { return m_shift; }
  double factor() const { return m_factor == 0 ? 1 : m_factor; }
  double largest() const { return m_largest; }  // size of the values

private:
  void choose(double difference) {
    // Both ends of the doubles' range leave room for values of another size.
    constexpr int kMostExponent = 900;
    const int exponent = m_size_exponent - std::ilogb(difference);
    m_factor = std::ldexp(1.0, exponent > kMostExponent    ? kMostExponent
                               : exponent < -kMostExponent ? -kMostExponent
                                                           : exponent);
  }

  bool m_shifted;
  int m_size_exponent;
  bool m_begun = false;
  double m_shift = 0;
  double m_factor = 0;  // 0: not chosen yet
  double m_largest = 0;
};

}  // namespace zrbtool
