// SPDX-License-Identifier: MIT
// IPointToGeomObjProjector: the root of the point projectors, objects that map a point in
// space to the nearest point found on some geometric object.
#pragma once

#include <qvmath/core/point3d.h>
#include <qvmath/platform/export.h>

/// Projects a point onto a geometric object (a curve, a face, a set of objects) and returns
/// the nearest point found. Users derive their own projectors and override the private
/// hooks; the public entry points are non-virtual and forward to them.
///
/// Virtual operations in slot order: the destructor, `OnCopy`, `OnProjectPoint(p, q)`.
/// The base holds nothing and is not abstract: every hook has a trivial default, and the
/// constructors are protected.
/// Ownership: a projector is the caller's; `Copy` returns a new heap object owned by the
/// caller (delete it through this base: the destructor is virtual).
/// Thread safety: as the derived class makes it; the library's projectors keep no state
/// that a projection changes, so distinct threads may project with one object.
class QVMATH_API IPointToGeomObjProjector {
 public:
  virtual ~IPointToGeomObjProjector();

  /// Projects p onto the object: calls `OnProjectPoint(p, q)`.
  /// @param[out] q the nearest point found, when the result is true.
  /// @return the hook's result; false when the object gives no point.
  bool projectPoint(const REmath::Point3D_d& p, REmath::Point3D_d& q);

  /// A copy of this projector: calls `OnCopy()`.
  /// @return a new heap object owned by the caller, or null when the projector cannot copy
  ///         itself.
  IPointToGeomObjProjector* Copy() const;

 protected:
  IPointToGeomObjProjector() = default;
  IPointToGeomObjProjector(const IPointToGeomObjProjector&) = default;
  IPointToGeomObjProjector& operator=(const IPointToGeomObjProjector&) = default;

 private:
  /// Called by `Copy`. The default returns null ("cannot copy").
  virtual IPointToGeomObjProjector* OnCopy() const;
  /// Called by `projectPoint(p, q)`. The default returns false and leaves q untouched.
  virtual bool OnProjectPoint(const REmath::Point3D_d& p, REmath::Point3D_d& q);
};
