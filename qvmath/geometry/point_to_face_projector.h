// SPDX-License-Identifier: MIT
// IPointToFaceProjector: a point projector onto a face (a surface piece), which also reports
// two values of the user's own and a flag with the projected point.
#pragma once

#include <qvmath/core/point3d.h>
#include <qvmath/geometry/point_to_geom_obj_projector.h>
#include <qvmath/platform/export.h>

/// Projects a point onto a face, giving the nearest point found, two doubles and a flag.
/// The library implements no face projector: the meaning of a, b and flag is the derived
/// class's (surface parameters and an "inside the trimmed face" flag are the usual choice);
/// they are passed through unchanged. Derived classes override the five-argument hook; the
/// two-argument projection of the base calls it with scratch values.
///
/// Virtual operations in slot order: those of `IPointToGeomObjProjector`, then
/// `OnProjectPoint(p, q, a, b, flag)`. Holds nothing; constructors are protected.
class QVMATH_API IPointToFaceProjector : public IPointToGeomObjProjector {
 public:
  ~IPointToFaceProjector() override;

  using IPointToGeomObjProjector::projectPoint;
  /// Projects p onto the face: calls `OnProjectPoint(p, q, a, b, flag)`.
  /// @param[out] q the nearest point found, when the result is true.
  /// @param[out] a, b, flag as the derived class defines them.
  bool projectPoint(const REmath::Point3D_d& p, REmath::Point3D_d& q, double& a, double& b,
                    bool& flag);

 protected:
  IPointToFaceProjector() = default;
  IPointToFaceProjector(const IPointToFaceProjector&) = default;
  IPointToFaceProjector& operator=(const IPointToFaceProjector&) = default;

 private:
  /// The point projection of the base: calls the five-argument hook with scratch a, b and
  /// flag that are then dropped.
  bool OnProjectPoint(const REmath::Point3D_d& p, REmath::Point3D_d& q) override;
  /// Called by the five-argument `projectPoint`. The default returns false and leaves every
  /// output untouched.
  virtual bool OnProjectPoint(const REmath::Point3D_d& p, REmath::Point3D_d& q, double& a,
                              double& b, bool& flag);
};
