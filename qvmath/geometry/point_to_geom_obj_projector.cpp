// SPDX-License-Identifier: MIT
#include <qvmath/geometry/point_to_geom_obj_projector.h>

// The destructor is the key function: the vtable and type information live in the library.
IPointToGeomObjProjector::~IPointToGeomObjProjector() = default;

bool IPointToGeomObjProjector::projectPoint(const REmath::Point3D_d& p, REmath::Point3D_d& q) {
  return OnProjectPoint(p, q);
}

IPointToGeomObjProjector* IPointToGeomObjProjector::Copy() const { return OnCopy(); }

IPointToGeomObjProjector* IPointToGeomObjProjector::OnCopy() const { return nullptr; }

bool IPointToGeomObjProjector::OnProjectPoint(const REmath::Point3D_d&, REmath::Point3D_d&) {
  return false;
}
