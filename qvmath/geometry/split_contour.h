// SPDX-License-Identifier: MIT
// Splitting of a 3-D contour into pieces at its corner points.
#pragma once

#include <qvmath/core/point3d.h>
#include <qvmath/platform/export.h>

#include <vector>

/// Splits the contour pts at the corners that `GetContourCornerMarks`(pts, minChord2, closed)
/// marks and appends the pieces to *pieces; entries already in *pieces are kept.
///
/// Pieces run in contour order from the first (lowest-index) corner, and consecutive pieces
/// share their corner point: each piece holds the points from one corner up to and including
/// the next. A closed contour gives one piece per corner, the last one running across the
/// end of the point list back to the first corner (marks at 3 and 12 of 20 points give
/// P[3] ... P[12] and P[12] ... P[19], P[0] ... P[3]); with a single corner s the one piece is
/// the whole loop P[s], P[s + 1], ..., P[s − 1], P[s] (n + 1 points). An open contour gives
/// one piece fewer than it has marks: its ends are always marked, so an open contour
/// without interior corners yields one piece equal to the contour, but when thinning has
/// removed the mark of the last point (a corner within 5 points before it), the tail behind
/// the last remaining mark is not emitted. An open contour of one point yields no piece.
/// A contour without any mark (an empty contour, or a closed one whose turns are all
/// gentler than the threshold) is appended whole as one piece.
///
/// The float and double overloads behave identically; the pieces have the input's point type.
/// @param[out] pieces receives the pieces at its end.
/// @param[in] pts, minChord2, closed as for `GetContourCornerMarks`.
/// @param[out] cornerCount if non-null, the number of marks (including the ends of an open
///             contour) once marking has succeeded.
/// @return true on success; false when pieces is null or marking fails (a closed contour
///         with a point that has no far-enough neighbour). Nothing is appended and
///         *cornerCount is untouched on failure.
QVMATH_API bool SplitContourByCorners(std::vector<std::vector<REmath::Point3D_d>>* pieces,
                                      const std::vector<REmath::Point3D_d>& pts, double minChord2,
                                      bool closed, int* cornerCount);
QVMATH_API bool SplitContourByCorners(std::vector<std::vector<REmath::Point3D>>* pieces,
                                      const std::vector<REmath::Point3D>& pts, double minChord2,
                                      bool closed, int* cornerCount);
