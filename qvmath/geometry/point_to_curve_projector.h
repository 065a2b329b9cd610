// SPDX-License-Identifier: MIT
// IPointToCurveProjector: a point projector onto a curve, which also reports the curve
// parameter of the projected point.
#pragma once

#include <qvmath/core/point3d.h>
#include <qvmath/geometry/point_to_geom_obj_projector.h>
#include <qvmath/platform/export.h>

/// Projects a point onto a curve, giving the nearest point found and its curve parameter.
/// Derived classes override the three-argument hook; the two-argument projection of the
/// base calls it with a scratch parameter.
///
/// Virtual operations in slot order: those of `IPointToGeomObjProjector`, then
/// `OnProjectPoint(p, q, param)`. Holds nothing; constructors are protected.
class QVMATH_API IPointToCurveProjector : public IPointToGeomObjProjector {
 public:
  ~IPointToCurveProjector() override;

  using IPointToGeomObjProjector::projectPoint;
  /// Projects p onto the curve: calls `OnProjectPoint(p, q, param)`.
  /// @param[out] q the nearest point found, when the result is true.
  /// @param[out] param the curve parameter of q, when the result is true.
  bool projectPoint(const REmath::Point3D_d& p, REmath::Point3D_d& q, double& param);
  /// The same for a single-precision p, widened to double first.
  bool projectPoint(const REmath::Point3D& p, REmath::Point3D_d& q, double& param);

 protected:
  IPointToCurveProjector() = default;
  IPointToCurveProjector(const IPointToCurveProjector&) = default;
  IPointToCurveProjector& operator=(const IPointToCurveProjector&) = default;

 private:
  /// The point projection of the base: calls the three-argument hook with a scratch
  /// parameter that is then dropped.
  bool OnProjectPoint(const REmath::Point3D_d& p, REmath::Point3D_d& q) override;
  /// Called by the three-argument `projectPoint`. The default returns false and leaves q
  /// and param untouched.
  virtual bool OnProjectPoint(const REmath::Point3D_d& p, REmath::Point3D_d& q, double& param);
};
