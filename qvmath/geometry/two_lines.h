// SPDX-License-Identifier: MIT
// Closest points of two lines in 3-D: the parameters of the common perpendicular, a gap
// test, and the midpoint of the two closest points.
#pragma once

#include <qvmath/platform/export.h>

/// Closest points of the lines L1 = P1 + t1·a and L2 = P2 + t2·b, with a gap test.
/// On input r = P2 − P1. With aa = |a|², bb = |b|², ab = a·b, D = aa·bb − ab²:
/// the lines count as parallel when 0.0076·aa·bb ≥ D (the squared sine of their angle is at
/// most 0.0076, about 5°; the constant is a double in both overloads).
/// @param[in,out] r in: P2 − P1; out: the gap vector from the foot on L1 to the foot on L2,
///                r − t[0]·a + t[1]·b.
/// @param[out] t t[0] = t1 and t[1] = t2, the parameters of the two closest points.
/// @param[in] tol compared with the squared gap |r|².
/// @return false for (nearly) parallel lines, with r and t untouched; otherwise r and t
///         are written and the result is true iff |r|² < tol (strict).
QVMATH_API bool meetTwoVectors(const float* a, const float* b, float* r, float* t, float tol);
QVMATH_API bool meetTwoVectors(const double* a, const double* b, double* r, double* t, double tol);

/// Parameters t[0], t[1] of the closest points P1 + t[0]·d1 and P2 + t[1]·d2 of two lines.
/// The lines count as parallel when aa·1e-6·bb ≥ |D| (aa = |d1|², bb = |d2|², D as in
/// `meetTwoVectors`; the float overload uses 1e-6 rounded to float).
/// @return false for (nearly) parallel lines, t untouched; otherwise true with t written.
QVMATH_API bool MakeMinDist2Lines(const double* P1, const double* d1, const double* P2,
                                  const double* d2, double* t);
QVMATH_API bool MakeMinDist2Lines(const float* P1, const float* d1, const float* P2,
                                  const float* d2, float* t);

/// Midpoint of the two closest points: out := ((P1 + t[0]·d1) + (P2 + t[1]·d2))·0.5, with t
/// as computed by `MakeMinDist2Lines` or `meetTwoVectors`.
/// @param[out] out three components.
QVMATH_API void makeTwoVectorsMediumPoint(const float* P1, const float* P2, const float* d1,
                                          const float* d2, const float* t, float* out);
QVMATH_API void makeTwoVectorsMediumPoint(const double* P1, const double* P2, const double* d1,
                                          const double* d2, const double* t, double* out);
