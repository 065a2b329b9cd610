// SPDX-License-Identifier: MIT
// Point-to-line queries: the squared distance from a point to an infinite line, and the
// perpendicular vector from a line to a point.
#pragma once

#include <qvmath/platform/export.h>

/// Squared distance from p to the line through a with direction dir.
/// dir need not be unit length. With w = p − a and s = w·dir / |dir|², the result is
/// |w − s·dir|²; a zero dir leaves s = w·dir unscaled, which gives |w − 0|² = |p − a|²
/// (the distance to the point a).
/// The float overload computes in float; the double one in double.
QVMATH_API float DistancePoint2Line(const float* p, const float* a, const float* dir);
QVMATH_API double DistancePoint2Line(const double* p, const double* a, const double* dir);

/// The perpendicular from the line through a and b to the point p:
/// out := (p − a) − ((p − a)·d / |d|²)·d with d = b − a, i.e. the component of p − a
/// orthogonal to the line, pointing from the foot to p.
/// No guard against a = b: the division by |d|² = 0 then gives non-finite components.
/// The float overload rounds every intermediate to float.
/// @param[out] out three components (written after all inputs are read).
QVMATH_API void Vector_Line2Point(const double* a, const double* b, const double* p, double* out);
QVMATH_API void Vector_Line2Point(const float* a, const float* b, const float* p, float* out);
