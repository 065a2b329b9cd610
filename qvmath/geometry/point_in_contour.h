// SPDX-License-Identifier: MIT
// Crossing-number test of a 2-D point against a 2-D contour.
#pragma once

#include <qvmath/platform/export.h>

#include <vector>

/// True when the point (x, y) lies inside the 2-D contour xy by the crossing-number rule:
/// the ray from (x, y) in the +y direction crosses the edges an odd number of times.
///
/// Conventions: xy holds x0, y0, x1, y1, ...; a trailing odd coordinate is ignored. The
/// edges are the consecutive vertex pairs V[k], V[k + 1] only: the contour is not closed
/// automatically, so a closed contour must repeat its first vertex at its end (an unclosed
/// triangle of three vertices is two edges). An edge counts when x lies between its end
/// abscissae and its height at x is ≥ y, so a point exactly on a non-vertical edge counts
/// that edge. A vertex whose abscissa equals x exactly is moved to x + 1e-10 for that test
/// (the vertex is nudged, not the point): the two edges meeting at a vertex on the ray see it
/// on the same side, so a crossing there counts once (a turning vertex twice or not at all),
/// and vertical edges at x are never counted. The nudge is absolute: where 1e-10 is below half
/// a unit in the last place of x (|x| beyond about 1e6) it has no effect and a ray through
/// a vertex may count it twice.
/// @return the parity; false for fewer than two vertices.
QVMATH_API bool isPointInContour(double x, double y, const std::vector<double>& xy);
