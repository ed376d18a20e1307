// Printed by scripts/exact_polynomial: the exact least-squares fit, rounded to 21 digits, of
//   y = 1 + x + x^2 + ... + x^10 + e,  x = i / 8,  e = -1 for even i and 1 for odd i,  i = 0..24
#pragma once

constexpr long kExactPolynomialDegree = 10;
constexpr long kExactPolynomialRows = 25;
constexpr long double kExactPolynomial[] = {
    0.0607489803485354097145L,  // x^0
    39.1107314910739310594L,    // x^1
    -319.511407429343780693L,   // x^2
    1162.56690688494830566L,    // x^3
    -2267.39388888695700598L,   // x^4
    2640.77898188879527412L,    // x^5
    -1915.00276373344485401L,   // x^6
    876.104616007408482139L,    // x^7
    -243.374452293225293822L,   // x^8
    39.0997928057647230319L,    // x^9
    -1.53998618705098153546L,   // x^10
};
