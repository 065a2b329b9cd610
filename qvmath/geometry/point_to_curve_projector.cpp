// SPDX-License-Identifier: MIT
#include <qvmath/geometry/point_to_curve_projector.h>

IPointToCurveProjector::~IPointToCurveProjector() = default;

bool IPointToCurveProjector::projectPoint(const REmath::Point3D_d& p, REmath::Point3D_d& q,
                                          double& param) {
  return OnProjectPoint(p, q, param);
}

bool IPointToCurveProjector::projectPoint(const REmath::Point3D& p, REmath::Point3D_d& q,
                                          double& param) {
  return OnProjectPoint(REmath::Point3D_d(p.x(), p.y(), p.z()), q, param);
}

bool IPointToCurveProjector::OnProjectPoint(const REmath::Point3D_d& p, REmath::Point3D_d& q) {
  double param = 0.0;
  return OnProjectPoint(p, q, param);
}

bool IPointToCurveProjector::OnProjectPoint(const REmath::Point3D_d&, REmath::Point3D_d&, double&) {
  return false;
}
