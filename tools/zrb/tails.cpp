#include "tails.h"

#include <boost/math/distributions/fisher_f.hpp>
#include <boost/math/distributions/students_t.hpp>
#include <cmath>

namespace zrbtool {

namespace {

// In double, which is enough for the digits that are shown; tails too thin for a double are 0.
using Policy =
    boost::math::policies::policy<boost::math::policies::promote_double<false>,
                                  boost::math::policies::overflow_error<boost::math::policies::ignore_error>,
                                  boost::math::policies::underflow_error<boost::math::policies::ignore_error>>;
using StudentsT = boost::math::students_t_distribution<double, Policy>;
using FisherF = boost::math::fisher_f_distribution<double, Policy>;

}  // namespace

double tTail(double t, double degreesOfFreedom) {
  return 2 * boost::math::cdf(boost::math::complement(StudentsT(degreesOfFreedom), std::fabs(t)));
}

double tOf95Percent(double degreesOfFreedom) {
  return boost::math::quantile(boost::math::complement(StudentsT(degreesOfFreedom), 0.025));
}

double fTail(double f, double degreesOfFreedom1, double degreesOfFreedom2) {
  return boost::math::cdf(boost::math::complement(FisherF(degreesOfFreedom1, degreesOfFreedom2), f));
}

}  // namespace zrbtool
