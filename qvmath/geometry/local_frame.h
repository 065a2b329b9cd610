// SPDX-License-Identifier: MIT
// Local frames about a direction: normalisation, a default perpendicular, a (u, v) frame
// about a normal, and the coordinates of a vector in a two-vector frame.
#pragma once

#include <qvmath/platform/export.h>

/// Scales the three components of p to unit length, in place, by multiplying each with the
/// reciprocal of the length. A vector whose length is 0 or not a number is left unchanged.
/// The float overload computes the length in double and rounds the length and its
/// reciprocal to float (a length that rounds to 0 in float also leaves p unchanged).
QVMATH_API void NormalizeVector(float* p);
QVMATH_API void NormalizeVector(double* p);

/// A default unit vector perpendicular to the unit vector n (n is not normalised here):
/// if n.x² + n.y² ≤ 0.1 (n near the z axis), out := (0, −n.z, n.y) / sqrt(n.y² + n.z²);
/// otherwise out := (−n.y, n.x, 0) / sqrt(n.x² + n.y²).
/// So (0, 0, 1) gives (0, −1, 0) and (1, 0, 0) gives (0, 1, 0). The float overload
/// computes in float with the constant 0.1 rounded to float.
/// A zero n gives non-finite components (caller's responsibility).
/// @param[out] out three components.
QVMATH_API void BuildDefPerpendicular(const float* n, float* out);
QVMATH_API void BuildDefPerpendicular(const double* n, double* out);

/// A local frame (u, v) about the unit vector n: u := `BuildDefPerpendicular`(n) and
/// v := n × u, so that (u, v, n) is right-handed and, for unit n, orthonormal.
/// The float overload computes in float.
/// @param[out] u, v three components each.
QVMATH_API void BuildUCSbyVector(const float* n, float* u, float* v);
QVMATH_API void BuildUCSbyVector(const double* n, double* u, double* v);

/// Least-squares coordinates (x, y) of the vector p in the frame e1, e2, which need be
/// neither orthogonal nor unit: the solution of the Gram system
/// [g11 g12; g12 g22]·(x, y) = (p·e1, p·e2) with g11 = |e1|², g22 = |e2|², g12 = e1·e2, so
/// x·e1 + y·e2 is the projection of p onto the plane of the frame.
/// @param[in] tol relative degeneracy bound: the frame is rejected when
///            min(g11², g22²)·tol ≥ |g11·g22 − g12²|, i.e. when sin² of the angle between
///            e1 and e2, times the ratio of their squared lengths (larger over smaller), is
///            at most tol.
/// @return true with x, y written; false for a degenerate frame, x and y untouched.
QVMATH_API bool CoordinateRelativeForPlaneReperDbl(const double* p, const double* e1,
                                                   const double* e2, double& x, double& y,
                                                   double tol);
