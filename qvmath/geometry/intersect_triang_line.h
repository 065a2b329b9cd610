// SPDX-License-Identifier: MIT
// Intersection of an unbounded line with a triangle: exact (closed triangle) and tolerant
// (reports how far outside the hit lies).
#pragma once

#include <qvmath/platform/export.h>

/// Intersects the line P + s·dir (s unbounded, negative included) with the closed triangle
/// A, B, C. Float arithmetic.
/// The hit X is the intersection with the triangle's plane; it is written before the inside
/// test, so X is also set when the hit falls outside the triangle. Points on the boundary
/// (edges and vertices) count as hits.
/// @param[out] X three components.
/// @return true when the line meets the closed triangle; false when it misses it (X then
///         holds the plane hit), or when dir·n is exactly 0 with n = (B − A) × (C − A)
///         (the line parallel to the plane, or a degenerate triangle; X untouched).
QVMATH_API bool IntersectTriangLine(const float* A, const float* B, const float* C, const float* P,
                                    const float* dir, float* X);

/// Intersects the line P + s·dir with the plane of the triangle A, B, C and accepts the hit
/// X if its barycentric weights u (of B − A) and v (of C − A) and u + v all lie in
/// [−tol, 1 + tol]. The normal, the plane hit and the 2×2 solve for u, v are computed in
/// double from the float inputs; X, overshoot and dist2 are rounded to float on output.
/// @param[out] X three components: the plane hit (written whenever dir·n ≠ 0 and the
///             triangle is not degenerate, even if the result is false).
/// @param[in] tol the tolerance on the weights (0 for the closed triangle).
/// @param[out] inside true when 0 ≤ u, v, u + v ≤ 1.
/// @param[out] overshoot the largest of the violations −u, u − 1, −v, v − 1, −(u + v),
///             u + v − 1 that are positive; 0 when inside.
/// @param[out] dist2 |X − P|², plus, when X is outside, the squared distance from X to the
///             nearest vertex or edge of the triangle (edges count only where the foot falls
///             strictly between their ends).
/// @return true when the hit is accepted; false when dir·n is exactly 0, the triangle is
///         degenerate (Gram determinant exactly 0; X has been written), or a weight lies
///         outside [−tol, 1 + tol] (X written; inside, overshoot and dist2 untouched).
QVMATH_API bool IntersectTriangLineFree(const float* A, const float* B, const float* C,
                                        const float* P, const float* dir, float* X, float tol,
                                        bool& inside, float& overshoot, float& dist2);
