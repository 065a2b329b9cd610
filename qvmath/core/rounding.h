// SPDX-License-Identifier: MIT
// Rounding helpers on doubles: nearest integer with ties upward, rounding to significant
// digits, decimal scaling, and rounded axis boundaries with their steps.
#pragma once

#include <qvmath/platform/export.h>

/// Nearest integer to x, ties upward (towards +infinity): 2.5 -> 3, -2.5 -> -2, -0.5 -> 0.
/// x is first rounded in the default round-to-nearest-even mode to i; when i + 0.5 equals x
/// exactly the result is i + 1, otherwise i.
/// @return the rounded value; for NaN and for results outside the range of int, INT_MIN
///         (the "integer indefinite" value that the processor's conversion produces).
QVMATH_API int rndtoni(double x);

/// *v = rndtoni(*v · f) for products within the int range.
/// Out of range: a product beyond the int range saturates to INT_MAX or INT_MIN, and a NaN
/// product (f NaN) leaves *v unchanged.
QVMATH_API void mulrnd(double f, int* v);

/// rndtoni(x·100)·0.01 — a multiplication by 0.01, not a division by 100, deliberately.
/// The rounding is done in double with the same tie rule, so |x·100| beyond the int range
/// is rounded as well instead of collapsing to INT_MIN·0.01 (fRound2(1e8) is 1e8); NaN and
/// infinities are returned as they are.
QVMATH_API double fRound2(double x);

/// x rounded to n + 1 significant decimal digits, ties upward: fRoundN(123.456, 2) is 123,
/// fRoundN(-0.0012345, 2) is -0.00123. |x| < 1e-30 gives 0. The decimal scaling is done by
/// repeated multiplications (by 10 or 0.1, 1e8 or 1e-8 for blocks of eight digits), so the
/// result carries their rounding error; it is not the nearest double to the decimal value.
/// n < 0 is treated as 0.
/// Out of range: NaN and infinities are returned at once, unchanged. For n >= 16 (more than
/// the 17 significant digits a double holds) x is returned unchanged. Near the top of the
/// double range, where r·10^e would overflow, the digits are scaled down before the decimal
/// exponent is applied; a rounded value beyond the largest double returns x unchanged
/// (fRound4(DBL_MAX) is DBL_MAX).
QVMATH_API double fRoundN(double x, int n);

/// fRoundN(x, 4): five significant digits (3.14159265 gives 3.1416).
QVMATH_API double fRound4(double x);

/// x·10^n by repeated multiplication: by 10.0 n times for n >= 1, by 0.1 (-n) times for
/// n <= 0. Never through pow; the rounding error of the repeated products is accepted.
/// The loop stops once x is 0, infinite or NaN (no further factor changes it), so any n,
/// INT_MIN and INT_MAX included, returns promptly.
QVMATH_API void scaleDouble(double& x, int n);

/// Decimal exponent e and mantissa of x > 0: L = log10(x·0.99999999), e = L truncated toward
/// zero, minus 1 when L < 0. The factor puts an exact power of ten into the lower decade, so
/// the mantissa lies in (1, 10]: getScale(100) gives e = 1 and returns 10.
/// @return x·10^-e computed with scaleDouble.
/// @throws std::domain_error("getScale: x must be positive and finite") otherwise; e is then
///         untouched.
QVMATH_API double getScale(double x, int& e);

/// A rounded boundary at or above x > 0 and its step, for axis labelling. With e and the
/// mantissa m from getScale, the first row whose limit is >= m gives (bound, step, kind):
/// 1.2 (1.2, 0.2, 2), 1.4 (1.4, 0.2, 1), 1.5 (1.5, 0.5, 5), 2.5 (2.5, 0.5, 5), 3..8 (m's row
/// value, 1, 2), otherwise (10, 5, 5); bound and step are scaled back by 10^e with
/// scaleDouble. The kind 1 of the 1.4 row, where its neighbours have 2, is kept as it is.
/// Example: x = 0.13 gives bound 0.14, step 0.02, kind 1, e = -1.
/// @throws std::domain_error as getScale, and ("roundBoundary: the boundary exceeds the
///         double range") when the boundary is beyond the largest double (x above about
///         1e308); the outputs are then untouched.
QVMATH_API void roundBoundary(double& x, double& bound, double& step, int& kind, int& e);
