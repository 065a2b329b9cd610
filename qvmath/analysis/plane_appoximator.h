// SPDX-License-Identifier: MIT
// IPlaneAppoximator: an incremental least-squares plane fitter that takes points in and out,
// and its factory by constraint type.
#pragma once

#include <qvmath/analysis/coord3d_refs.h>
#include <qvmath/analysis/plane_equation.h>
#include <qvmath/platform/export.h>

namespace REmath {

/// The constraint of an approximator made by `IPlaneAppoximator::CreateByConstraint`. Only
/// the unconstrained fit exists; the type is an int so that any value can be passed.
enum PlaneFitConstraintType : int {
  PLANE_FIT_UNCONSTRAINED = 0,  ///< least-squares plane through the mean of the points
};

/// An incremental plane fitter: points are added and removed in batches, and the
/// least-squares plane of the points currently held is computed on demand.
/// Virtual slots, in order: the destructor, `CalcPlane`, `AddPoints`, `RemovePoints`,
/// `UpdatePoints` (add and remove call `UpdatePoints` with sign +1 and −1).
/// Ownership: the approximator keeps no reference to the sources it is given.
/// Thread safety: distinct approximators may be used on distinct threads at once; one
/// approximator is not synchronised (`CalcPlane` alone may run concurrently).
class QVMATH_API IPlaneAppoximator {
 public:
  /// A new approximator for `type`, owned by the caller (delete it through this class).
  /// @throws std::bad_alloc, whose what() is "bad allocation", for any type other than
  ///         PLANE_FIT_UNCONSTRAINED: an unsupported type is reported as a failed
  ///         allocation, on purpose; there is no other error path.
  static IPlaneAppoximator* CreateByConstraint(PlaneFitConstraintType type);

  virtual ~IPlaneAppoximator();

  /// The plane of the points held, into `plane`, which is first cleared.
  /// Unconstrained fit: with fewer than 3 points, a failed diagonalisation, or an
  /// eigenvector of squared length below 9.999999999999998e-15, `plane` stays cleared
  /// (invalid). Otherwise the normal is the unit eigenvector of the smallest eigenvalue of
  /// the scatter matrix (first minimum of indices 0..2 on ties), negated when its dot
  /// product with the sum of the supplied normals is < 0; w = its length (1 up to
  /// rounding) and d = −(n·mean), so the plane passes through the mean of the points.
  virtual void CalcPlane(CPlaneEquation& plane) const = 0;

  /// Adds every point of `points`; `normals`, when not null, adds its vectors (all of
  /// them, whatever their count) to the orientation sum. Same as UpdatePoints(…, +1).
  virtual void AddPoints(const ICoord3DRefs& points, const ICoord3DRefs* normals = nullptr);
  /// Removes points added before (and their normals). Same as UpdatePoints(…, −1).
  virtual void RemovePoints(const ICoord3DRefs& points, const ICoord3DRefs* normals = nullptr);
  /// Adds (sign > 0) or removes (sign < 0) the points and optional normals; sign 0 does
  /// nothing. The count changes by the number of points; when it reaches 0 every sum is
  /// reset to exactly zero. Removing points that were never added is a caller error: the
  /// count may go below zero, the sums are then reset to zero and the plane stays invalid
  /// until the count is 3 or more again.
  virtual void UpdatePoints(const ICoord3DRefs& points, const ICoord3DRefs* normals, int sign) = 0;
};

}  // namespace REmath
