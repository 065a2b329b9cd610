// SPDX-License-Identifier: MIT
// Squared distance from a point to a triangle in 3-D, with the foot point and the region
// code of the closest feature.
#pragma once

#include <qvmath/core/point3d.h>
#include <qvmath/platform/export.h>

/// Squared distance from p to the triangle tri[0], tri[1], tri[2] (A, B, C), with the foot
/// point and the region code of the closest feature. Float arithmetic throughout.
///
/// The projection q of p into the plane counts as inside when it lies in the closed
/// triangle (the boundary counts as inside); then region 0, foot = the projection and the
/// result is the squared distance to the plane. Otherwise the edges are queried with
/// `DistancePoint2Segment` in the order AB, AC, BC and the least distance wins, ties going
/// to the earlier edge. Region codes:
/// 0 face, 1 edge AB, 2 edge BC, 3 edge CA, 4 vertex A, 5 vertex B, 6 vertex C.
/// A vertex is reported by its vertex code whichever edge found it; a degenerate
/// (zero-length) edge reports its edge code, not a vertex code.
/// @param[in] tri three pointers to the vertices A, B, C (three floats each).
/// Large input: when the float products overflow (legs above about 4e9, where |n|² leaves
/// the float range) the same steps are recomputed in double and the distance, the foot and
/// the region come from that computation, the distance rounded to float (+inf when the
/// squared distance itself exceeds the float range).
/// Non-finite input (a NaN or infinite coordinate of p or of a vertex): the result is NaN,
/// region -1 and the foot (when given) NaN in all three components: no real answer looks
/// like that.
/// @param[out] region the region code, always written.
/// @param[out] foot three components, written when not null; may alias p.
/// @return the squared distance. Degenerate triangles are not guarded and callers must
///         not pass one: when |n|² is exactly 0 (coincident or exactly collinear vertices)
///         the projection is NaN, fails the inside test, and the least edge distance is
///         returned (a zero-length edge with its edge code); for nearly degenerate
///         triangles the inside test is unreliable and the result unspecified.
QVMATH_API float distancePointTriangle2(const float* p, const float* const* tri, int& region,
                                        float* foot);

/// Squared distance from p to the triangle tri[0], tri[1], tri[2]; the same rule as the
/// region-reporting overload (same inside test; outside, the least of the three edge
/// distances) without region or foot. Degenerate triangles, large and non-finite input: as
/// there (NaN for non-finite input).
QVMATH_API float distancePointTriangle2(const float* p, const REmath::Point3D* tri);
