// How far out a t or F value is.  By Boost.Math.
#pragma once

namespace zrbtool {

// The probability of a t of that size or larger, of either sign.
double tTail(double t, double degreesOfFreedom);

// The t that 95 % of all values lie within, of either sign.
double tOf95Percent(double degreesOfFreedom);

// The probability of an F as large or larger.
double fTail(double f, double degreesOfFreedom1, double degreesOfFreedom2);

}  // namespace zrbtool
