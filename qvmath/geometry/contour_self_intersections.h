// SPDX-License-Identifier: MIT
// Self-intersection check of a closed 2-D contour, segment pair by segment pair.
#pragma once

#include <qvmath/platform/export.h>

#include <vector>

/// True when the closed 2-D contour xy has no self-intersection.
///
/// Conventions: xy holds x0, y0, x1, y1, ... (a trailing odd coordinate is ignored) and its
/// last point repeats the first; segment i runs from P[i] to P[i + 1], m = n − 1 segments.
/// Every pair of non-adjacent segments i < j (j ≥ i + 2) is tested, except the pair
/// (0, m − 1), which meets at the closing point. With d, e the directions of segments i and
/// j, w = P[j] − P[i], dot = d·e and k = |d|²·|e|²:
/// - nearly parallel, |k − dot²| ≤ 1e-8·(k + dot²): no intersection unless collinear,
///   |w × d| ≤ 1e-8·(|w|² + |d|²). Collinear with w·d ≥ 0: an overlap when
///   |d|² ≥ |w|² or |P[j + 1] − P[i]|² ≤ |d|². Collinear with w·d < 0: an overlap when
///   (P[j + 1] − P[i])·d ≥ 0;
/// - otherwise the lines' crossing parameters t (on i) and u (on j) are solved; an
///   intersection when both lie in [1e-6, 0.999999], so segments touching at their very
///   ends (within 1e-6 of the parameter range) do not count.
/// A zero-length segment counts as parallel to everything.
/// Runs in O(m²).
/// @return false at the first intersecting pair; true when none is found, and always when
///         m < 4 (fewer than five points: nothing to check).
QVMATH_API bool Check2dContourSelfIntersections(const std::vector<double>& xy);
