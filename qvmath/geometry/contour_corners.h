// SPDX-License-Identifier: MIT
// Corner marks of a 3-D contour (points where the chords to the nearest far-enough
// neighbours ahead and behind meet at a sharp enough angle) and its splitting at them.
#pragma once

#include <qvmath/core/point3d.h>
#include <qvmath/platform/export.h>

#include <vector>

/// Marks the corner points of the contour pts (closed: pts[n − 1] is followed by pts[0];
/// open: no wrap-around) in marks, one entry per point: 1 for a corner, 0 otherwise.
///
/// Measure: for each point P[i], the forward chord runs to the first point P[i + k],
/// k = 1, 2, ..., whose squared distance from P[i] is strictly greater than minChord2, the
/// backward chord likewise to the first such P[i − k]; the measure c[i] is the cosine between
/// the two unit chords (−1 on a straight run, towards +1 at a sharp spike). A closed contour
/// walks at most n − 1 steps each way, modulo n. On an open contour the walks stop at the
/// ends, and a point without a far-enough neighbour on either side keeps c = −1 (so do both
/// end points).
///
/// Marking: a candidate is a corner when c[i] ≥ −0.7f (the single-precision constant
/// −0.699999988079071, about 134.4° between the chords) and c[i] ≥ c[i − 1] and
/// c[i] ≥ c[i + 1] (non-strict: every point of a plateau of equal values is marked).
/// Candidates: every point of a closed contour (neighbours modulo n); the interior points
/// 1 .. n − 2 of an open one, whose two end points are always marked first.
///
/// Thinning, only when n > 10: while some marked point i (in index order; open contours
/// from 1 to n − 2) has another mark j within 5 positions ahead (j = i + 1 .. i + 5, modulo n
/// when closed, below n when open), the nearest such j and i are compared and the mark of
/// i is cleared if c[j] ≥ c[i] (ties drop the earlier mark), that of j otherwise. On an
/// open contour the first point is thus never cleared, but the last one (c = −1) is cleared
/// whenever a corner lies within 5 points before it. This asymmetry is kept deliberately; it
/// is why `SplitContourByCorners` drops the tail of such a contour.
///
/// @param[in] pts the contour points.
/// @param[in] minChord2 the square of the minimal chord length; with a negative value even
///            a coincident neighbour qualifies, and its zero chord gives the measure 0.
/// @param[in] closed whether the contour is closed.
/// @param[out] marks cleared and resized to pts.size(). An empty contour gives empty marks
///             and true; an open contour of one point gives the single mark 1.
/// @return true on success; false only for a closed contour on which some point has no
///         other point farther than sqrt(minChord2) (for instance every point within that
///         distance of each other, or fewer than two points); marks then holds pts.size()
///         zeros.
QVMATH_API bool GetContourCornerMarks(const std::vector<REmath::Point3D_d>& pts, double minChord2,
                                      bool closed, std::vector<int>& marks);

/// Converts pts to `REmath::Point3D_d` and marks the corners as the double overload does.
QVMATH_API bool GetContourCornerMarks(const std::vector<REmath::Point3D>& pts, double minChord2,
                                      bool closed, std::vector<int>& marks);

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
