// SPDX-License-Identifier: MIT
// Unit normal of a roughly planar closed 3-D contour.
#pragma once

#include <qvmath/core/point3d.h>
#include <qvmath/platform/export.h>

#include <vector>

/// Unit normal of the closed contour pts (pts[n − 1] is followed by pts[0]): the sum over i
/// of (P[i] − c) × (P[i + 1] − c) about the centroid c, normalised with `NormalizeVector`.
/// The sum is twice the vector area of the contour, so the normal follows the right-hand
/// rule: the points run counter-clockwise seen from its tip.
/// Single precision throughout: the centroid is the float sum of the points divided by
/// their count, and the cross products are formed and summed in float.
/// @param[in] pts the contour points.
/// @param[out] normal three floats; (0, 0, 0) on failure (unless null).
/// @return true with the unit normal; false when normal is null or the summed vector has no
///         positive squared length (fewer than three points, collinear or coincident points,
///         a contour that cancels out such as a symmetric figure-eight, or non-finite input).
QVMATH_API bool DetectContourNormal(const std::vector<REmath::Point3D>& pts, float* normal);
