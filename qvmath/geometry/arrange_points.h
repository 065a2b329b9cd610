// SPDX-License-Identifier: MIT
// Even redistribution of a run of planar polyline points along the circular arc through the
// run's ends and middle, or along the chord between its ends.
#pragma once

#include <qvmath/platform/export.h>

#include <vector>

/// Moves the interior points of the run first..last of a planar polyline to equal spacing
/// along the circular arc that passes through the run's first point, its middle point
/// (index first + (last − first)/2, integer division) and its last point, in that order.
/// Point k of the run (k = 0 .. n, n = last − first) goes to the arc point at the fraction
/// k/n of the arc's angle (equal arc lengths and equal chords between neighbours); the two
/// ends stay exactly where they are, points outside the run are not touched, and the run
/// keeps its order from the first point through the old middle's side of the circle to the
/// last. Computed in double without forming the centre (so nearly straight runs with huge
/// radii stay accurate) and stored as float.
/// @param[in,out] pts interleaved coordinates x0, y0, x1, y1, ... (point k at pts[2k],
///        pts[2k + 1]).
/// @param[in] first index of the first point of the run.
/// @param[in] last index of the last point of the run.
/// @return true on success; false, with pts untouched, when the indices do not describe a run
///         of at least three points inside pts (first < 0, last − first < 2, or
///         2·last + 1 ≥ pts.size()), or when the first, middle and last points are collinear
///         or coincide (there is no circle through them; `ArrangePointsOnLine` handles a
///         straight run).
QVMATH_API bool ArrangePointsOnCircle(std::vector<float>& pts, int first, int last);

/// Moves the interior points of the run first..last of a planar polyline to equal spacing on
/// the chord from the run's first point to its last point: point k of the run
/// (k = 0 .. n, n = last − first) goes to first + (k/n)·(last − first). The ends and the
/// points outside the run are not touched. Computed in double, stored as float.
/// @param[in,out] pts interleaved coordinates as for `ArrangePointsOnCircle`.
/// @param[in] first index of the first point of the run.
/// @param[in] last index of the last point of the run.
/// @return true on success (a run of two points is left as it is); false, with pts
///         untouched, when the indices do not describe a run of at least two points inside
///         pts (first < 0, last ≤ first, or 2·last + 1 ≥ pts.size()), or when a run with
///         interior points has coinciding ends (a chord of zero length).
QVMATH_API bool ArrangePointsOnLine(std::vector<float>& pts, int first, int last);
