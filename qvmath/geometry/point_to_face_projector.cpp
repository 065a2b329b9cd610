// SPDX-License-Identifier: MIT
#include <qvmath/geometry/point_to_face_projector.h>

IPointToFaceProjector::~IPointToFaceProjector() = default;

bool IPointToFaceProjector::projectPoint(const REmath::Point3D_d& p, REmath::Point3D_d& q,
                                         double& a, double& b, bool& flag) {
  return OnProjectPoint(p, q, a, b, flag);
}

bool IPointToFaceProjector::OnProjectPoint(const REmath::Point3D_d& p, REmath::Point3D_d& q) {
  double a = 0.0, b = 0.0;
  bool flag = false;
  return OnProjectPoint(p, q, a, b, flag);
}

bool IPointToFaceProjector::OnProjectPoint(const REmath::Point3D_d&, REmath::Point3D_d&, double&,
                                           double&, bool&) {
  return false;
}
