// SPDX-License-Identifier: MIT
// The circle circumscribed about a triangle in space: its centre from barycentric weights,
// and its radius, with the missing-radius sentinel on failure.
#pragma once

#include <qvmath/core/point3d.h>
#include <qvmath/platform/export.h>

/// Centre and radius of the circle through the points tri[0] = A, tri[1] = B, tri[2] = C.
///
/// The centre is the barycentric combination (w_A·A + w_B·B + w_C·C)/S with
/// w_A = |B − C|²·((B − A)·(C − A)), w_B = |C − A|²·((C − B)·(A − B)),
/// w_C = |A − B|²·((B − C)·(A − C)) and S = w_A + w_B + w_C; the radius is |centre − A|.
/// The `Point3D` overload computes in float (every intermediate rounded to float), the
/// `Point3D_d` overload in double.
/// @param[out] centre written only on success.
/// @param[out] radius set to the sentinel 6.66e19 (the float value 66600000947694338048,
///        also in the double overload) before anything else, so it carries the sentinel
///        on every failure; the radius on success.
/// @return false for a degenerate triangle (1e-6·|A − B|⁴ > |S|: collinear or coincident
///         points) and when the centre would lie too far from the triangle (some
///         |0.001·w| ≥ |S|: a barycentric coordinate of magnitude 1000 or more).
QVMATH_API bool CircumscribeCircle(const REmath::Point3D* const tri, REmath::Point3D& centre,
                                   float& radius);
QVMATH_API bool CircumscribeCircle(const REmath::Point3D_d* const tri, REmath::Point3D_d& centre,
                                   double& radius);

/// The same circle for the points a, b and c given as three coordinates each (forwards to
/// the point overload of the same precision).
/// @param[out] centre three coordinates, written only on success.
/// @param[out] radius the sentinel 6.66e19 on failure, as above.
QVMATH_API bool CircumscribeCircle(const float* a, const float* b, const float* c, float* centre,
                                   float& radius);
QVMATH_API bool CircumscribeCircle(const double* a, const double* b, const double* c,
                                   double* centre, double& radius);
