// SPDX-License-Identifier: MIT
// CProjectorToPolyline: projection of a point onto an open polyline in space, with the
// polyline parameter of the nearest point.
#pragma once

#include <qvmath/core/point3d.h>
#include <qvmath/geometry/point_to_curve_projector.h>
#include <qvmath/platform/export.h>

#include <cstddef>
#include <vector>

/// Projects points onto the open polyline through its vertices V[0], ..., V[n − 1].
///
/// The curve parameter runs from 0 at V[0] to n − 1 at V[n − 1]: a point on the segment from
/// V[i − 1] to V[i] at the fraction t has the parameter (i − 1) + t.
/// Ownership: holds its own copy of the vertices (a `std::vector<Point3D_d>`); copies are
/// deep. Thread safety: projecting does not change the object; filling it does.
class QVMATH_API CProjectorToPolyline : public IPointToCurveProjector {
 public:
  /// An empty polyline (every projection fails until vertices are given).
  CProjectorToPolyline();
  /// A deep copy of other's vertices.
  CProjectorToPolyline(const CProjectorToPolyline& other);
  CProjectorToPolyline& operator=(const CProjectorToPolyline& other);
  ~CProjectorToPolyline() override;

  /// Replaces the vertices by pts.
  void SetPoints(std::vector<REmath::Point3D_d> pts);
  /// Appends the vertex p.
  void AddPoint(const REmath::Point3D_d& p);
  /// The vertices, in order.
  const std::vector<REmath::Point3D_d>& GetPoints() const;

 private:
  /// A new `CProjectorToPolyline` with the same vertices.
  IPointToGeomObjProjector* OnCopy() const override;
  /// The nearest point of the polyline to p.
  /// Segments are searched in order with the double `DistancePoint2Segment` and its clamped
  /// parameter; a segment replaces the best one only when strictly nearer, so of equally
  /// near segments the first wins. Segments whose bounding ball lies farther than the best
  /// distance so far (with a margin well above the rounding of the segment query) are
  /// skipped: they could not be strictly nearer, so the result is the full scan's. q is the foot on
  /// the chosen segment and param its polyline parameter. One vertex: q is that vertex and param 0.
  /// @return false, with q and param untouched, for an empty polyline or when no segment
  ///         gives a finite distance below the largest double (non-finite coordinates).
  bool OnProjectPoint(const REmath::Point3D_d& p, REmath::Point3D_d& q, double& param) override;

  /// Rebuilds the segment bounds from segment `first` on.
  void UpdateBounds(std::size_t first);

  /// A ball around each segment (its midpoint and half length), index i − 1 for the
  /// segment from V[i − 1] to V[i]: lets a projection skip segments that cannot be nearer.
  struct SegmentBall {
    double m_cx, m_cy, m_cz, m_half;
  };

  std::vector<REmath::Point3D_d> m_points;
  std::vector<SegmentBall> m_balls;
};
