// SPDX-License-Identifier: MIT
// Batched squared distances: many points against one triangle or one segment, from flat
// coordinate arrays, vectorised across the points.
#pragma once

#include <qvmath/platform/export.h>

/// Squared distances from the n points pts[3i..3i+3) to the triangle tri[0], tri[1], tri[2]
/// (A, B, C), with the region codes and the foot points.
///
/// Every result is bit for bit the one `distancePointTriangle2(p, tri, region, foot)`
/// returns for that point: the same float operations in the same order, four points at a
/// time in SSE2 lanes (the triangle's edges, normal and squared lengths formed once), the
/// remainder and non-SSE2 targets by the scalar body. Region codes as there: 0 face, 1 AB,
/// 2 BC, 3 CA, 4 A, 5 B, 6 C; degenerate triangles give what the single query gives (the
/// least edge distance, a zero-length edge with its edge code).
/// @param[in] pts 3n floats, point after point (the layout of `REmath::Point3D` arrays).
/// @param[in] n the number of points; n <= 0 writes nothing.
/// @param[out] d2 n squared distances.
/// @param[out] regions n region codes, written when not null.
/// @param[out] feet 3n floats, the nearest point of each, written when not null.
/// Outputs may not overlap pts.
QVMATH_API void distancePointsTriangle2(const float* pts, int n, const float* const* tri, float* d2,
                                        int* regions = nullptr, float* feet = nullptr);

/// Squared distances from the n points pts[3i..3i+3) to the segment from a to b, with the
/// region codes and the foot points, each bit for bit what
/// `DistancePoint2Segment(p, a, b, foot, region)` returns for that point (its rule: region 0
/// interior or degenerate segment, 1 end a, 2 end b, a tie between the ends going to b).
/// Vectorised four points at a time as `distancePointsTriangle2`.
/// @param[in] pts 3n floats, point after point; n <= 0 writes nothing.
/// @param[out] d2 n squared distances.
/// @param[out] regions n region codes, written when not null.
/// @param[out] feet 3n floats, written when not null. Outputs may not overlap pts.
QVMATH_API void DistancePoints2Segment(const float* pts, int n, const float* a, const float* b,
                                       float* d2, int* regions = nullptr, float* feet = nullptr);
