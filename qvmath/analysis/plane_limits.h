// SPDX-License-Identifier: MIT
// Extents of a point selection: CPlaneLimits (an in-plane basis with the range of the
// points along each axis), the basis routine behind it and the axis-aligned box.
#pragma once

#include <qvmath/analysis/coord3d_refs.h>
#include <qvmath/analysis/plane_equation.h>
#include <qvmath/platform/export.h>

namespace REmath {

/// Axis-aligned bounding box of the points of `points`, in double.
/// @param[out] lo, hi three doubles each: the smallest and largest x, y, z.
/// @return false for an empty source (lo and hi untouched), true otherwise.
QVMATH_API bool GetSelectionLinearLimits(const ICoord3DRefs& points, double* lo, double* hi);

/// A right-handed orthonormal basis (e0, e1, e2) with e2 along `normal`, and the range of
/// the points' coordinates along each axis.
/// Conventions: e2 = normal / |normal|. With alignToPoints nonzero, e0 is the direction of
/// largest spread of the points projected onto the plane ⟂ e2 (the major axis of their 2-D
/// scatter about the centroid; for an isotropic spread, the default axis below); with
/// alignToPoints zero, e0 depends on the normal only: the perpendicular of
/// `BuildDefPerpendicular`. e1 = e2 × e0. The coordinate of p along eᵢ is the dot product
/// p·eᵢ (world position, no origin shift), so along e2 the range is that of n·p for the
/// unit normal: for points on the plane n·p + d = 0 it is [−d, −d].
/// Computed in double; three passes over the points, no allocation.
/// @param[out] basis nine doubles: e0, e1, e2.
/// @param[out] limits six doubles: (min, max) along e0, then e1, then e2.
/// @return false for an empty source or a zero or non-finite normal (outputs untouched).
QVMATH_API bool DefinePointsLimitsBasis(const ICoord3DRefs& points, const double* normal,
                                        double* basis, double* limits, int alignToPoints);

/// An in-plane frame of a point selection with its extents: basis vectors e0, e1 in the
/// plane and e2 along its normal, each with the (min, max) of the points' coordinates p·eᵢ.
/// A cleared object has a zero basis and zero limits. Plain value semantics (copyable);
/// virtual destructor.
class QVMATH_API CPlaneLimits {
 public:
  static const int DIM = 3;

  /// A cleared object.
  CPlaneLimits() { Clear(); }
  CPlaneLimits(const CPlaneLimits&) = default;
  CPlaneLimits& operator=(const CPlaneLimits&) = default;
  virtual ~CPlaneLimits();

  /// Zeroes the basis and the limits.
  void Clear();

  /// Basis vector i (0 <= i < DIM, not checked): three doubles.
  const double* GetBasisVector(int i) const { return m_basis[i]; }
  double* GetBasisVector(int i) { return m_basis[i]; }
  /// The (min, max) of p·eᵢ over the points, two doubles (0 <= i < DIM, not checked).
  const double* GetLimitsInDir(int i) const { return m_limits[i]; }
  double* GetLimitsInDir(int i) { return m_limits[i]; }

  /// Derives the basis and limits of `points` for `plane`: `DefinePointsLimitsBasis` with
  /// the plane's normal and e0 along the points' largest in-plane spread.
  /// @return false, with the object cleared, for an invalid plane, a zero normal or an
  ///         empty source.
  /// Re-entrant; no allocation.
  bool DefineAuto(const ICoord3DRefs& points, const CPlaneEquation& plane);

 private:
  double m_basis[DIM][DIM];
  double m_limits[DIM][2];
};

}  // namespace REmath
