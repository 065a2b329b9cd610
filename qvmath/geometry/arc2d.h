// SPDX-License-Identifier: MIT
// CArc2D: a planar circular arc or straight segment fitted through points of a polyline,
// with the intersection of two such records, their fillet, and the four-point arc error.
#pragma once

#include <qvmath/platform/export.h>

/// A planar arc or straight segment, held as a plain record of single-precision fields in
/// this order: centre x, centre y, first point x, first point y, last point x, last point y,
/// radius, straight flag (an `int`, 1 for the straight segment from the first to the last
/// point, 0 for a true arc). Centre and radius are meaningful only for a true arc.
/// Plain value class: copying copies every field; a default record is all zero with the
/// straight flag set (a segment from the origin to the origin).
///
/// An arc record does not store which way round its circle it runs. Where a direction is
/// needed (`Make2ArcsFillet`), an arc runs from its first to its last point the shorter way
/// round (counter-clockwise when the two points are diametrically opposite or equal).
///
/// Thread safety: the class switch `m_bArcApprox` is a process-wide plain `bool` (its type
/// is part of the exported interface, so it cannot become an atomic): set it before use.
/// The host sets it once, before any thread fits a record, and does not change it while
/// `MakeBy3Points` may run on another thread: such a write is a data race, undefined
/// behaviour, and a fit running meanwhile may see either value. Reading it from several
/// threads at once is safe. Everything else is re-entrant.
class QVMATH_API CArc2D {
 public:
  float m_cx;       ///< centre x (true arcs only)
  float m_cy;       ///< centre y (true arcs only)
  float m_x0;       ///< first point x
  float m_y0;       ///< first point y
  float m_x1;       ///< last point x
  float m_y1;       ///< last point y
  float m_r;        ///< radius (true arcs only)
  int m_bStraight;  ///< 1: straight segment from the first to the last point; 0: arc

  /// Enables fitting of true arcs in `MakeBy3Points`. False by default, deliberately: until
  /// the host sets it, every fitted record is the straight segment between the outer points.
  /// Set before use: see the thread-safety note above.
  static bool m_bArcApprox;

  /// All fields zero, straight flag 1.
  CArc2D();
  CArc2D(const CArc2D& other) = default;
  /// Copies every field.
  CArc2D& operator=(const CArc2D& other) = default;

  /// Fits the record through the planar points (xs[0], ys[0]), (xs[1], ys[1]), (xs[2], ys[2]).
  /// The first point becomes point 0 and the last point point 2. When `m_bArcApprox` is set
  /// and the points are not collinear (|D| ≥ 1e-10 for the float determinant
  /// D = (y1 − y2)·x0 + (y2 − y0)·x1 + (y0 − y1)·x2), the centre and radius of the circle
  /// through the three points are stored and the straight flag is cleared; otherwise the
  /// straight flag is set and centre and radius keep their previous values.
  /// Float arithmetic throughout.
  /// @param[in] xs, ys three coordinates each.
  void MakeBy3Points(float* xs, float* ys);

  /// Fillet of a given radius between this record and other, where this record runs into
  /// the corner and other leaves it: the circle of radius r tangent to both that turns the
  /// way the corner turns, so that the path along this record, the fillet arc and then
  /// other is tangent-continuous with no reversal. The turning sense is that of the turn
  /// from this record's direction at its last point to other's direction at its first
  /// point. Both records are taken as their whole supporting lines and circles: the tangent
  /// points may fall outside the stored ends (the records are extended, as a CAD fillet
  /// does); among several fillets of that sense the one whose centre is nearest to the
  /// corner (the midpoint of this record's last point and other's first point) is chosen.
  /// Neither record is modified. Float arithmetic.
  /// @param[in] other the record that leaves the corner.
  /// @param[in,out] out seven floats in the record's field order: on input out[6] holds
  ///        the fillet radius r; on success out[0..1] receive the fillet centre, out[2..3]
  ///        the tangent point on this record, out[4..5] the tangent point on other, and
  ///        out[6] keeps r.
  /// @return true on success; false, with out untouched, when other or out is null, r is not
  ///         a positive finite number, a record is degenerate (a segment of zero length, an
  ///         arc of non-positive radius or with an end at its centre), the two directions
  ///         at the corner are parallel (sine of the turn below 1e-6: already smooth, or a
  ///         reversal), r does not fit inside an arc on the turning side (r ≥ its radius),
  ///         or no circle of radius r touches both.
  bool Make2ArcsFillet(CArc2D* other, float* out);
};

/// Intersection of the records arcs[0] (a) and arcs[1] (b), each taken as its whole
/// supporting line or circle. Float arithmetic.
/// - Both straight: the crossing of the two infinite lines,
///   a.first + s·(a.last − a.first) with s from the 2×2 solve; parallel lines are not
///   detected (the division gives non-finite coordinates and true is returned).
/// - One straight, one arc: the line P + s·d (P the first point, d = last − first) against
///   the circle (C, r): with k = d·(C − P) and disc = k² − (|C − P|² − r²)·|d|², the
///   candidates are P + ((k ∓ √disc)/|d|²)·d.
/// - Both arcs: with e = C_b − C_a, L = |e|, h = (L² + r_a² − r_b²)/(2L) and q = r_a² − h²,
///   the candidates are C_a + (h/L)·e ± (√q/L)·(e.y, −e.x), the first with the plus sign.
///   Two equal concentric circles give non-finite coordinates (as parallel lines do).
/// Of two candidates, the one nearer to the coordinate origin is returned (the first on a
/// tie): callers work in coordinates whose origin lies near the expected intersection.
/// @param[in] arcs two records.
/// @param[out] out x, y of the intersection.
/// @return true when a point is written; false (out untouched) when the line misses the
///         circle (disc < 0) or the circles do not meet (q < 0).
QVMATH_API bool Get2ArcsIntersect(CArc2D* arcs, float* out);

/// How far the planar point 2 lies off the circle through points 0, 1 and 3:
/// | |P2 − C| − |P0 − C| | with C the centre of that circle (the circle of
/// `CArc2D::MakeBy3Points`, with the same collinearity test |D| < 1e-10). When points 0, 1
/// and 3 are collinear, the distance from point 2 to the line through points 0 and 1.
/// Float arithmetic.
/// @param[in] xs, ys four coordinates each.
/// @return the deviation, in the units of the input; non-negative. Points 0 and 1 must
///         differ when 0, 1, 3 are collinear (otherwise the result is not finite).
QVMATH_API float Arc4pointsError(float* xs, float* ys);
