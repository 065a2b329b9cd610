// SPDX-License-Identifier: MIT
// Point-to-line distance and the line-to-point perpendicular, float and double.
#include <qvmath/core/detail/vec3.h>
#include <qvmath/geometry/dist_point_line.h>

namespace {

using REmath::detail::Dot3;
using REmath::detail::Sub3;

template <class R>
R PointLine2(const R* p, const R* a, const R* dir) {
  R w[3];
  Sub3(p, a, w);
  R s = Dot3(w, dir);
  const R dd = Dot3(dir, dir);
  // A zero direction leaves s unscaled; it then multiplies the zero vector and the result
  // is |p − a|², the distance to the only point the "line" has.
  if (dd > 0) s /= dd;
  for (int i = 0; i < 3; ++i) w[i] -= s * dir[i];
  return Dot3(w, w);
}

}  // namespace

float DistancePoint2Line(const float* p, const float* a, const float* dir) {
  return PointLine2(p, a, dir);
}
double DistancePoint2Line(const double* p, const double* a, const double* dir) {
  return PointLine2(p, a, dir);
}

void Vector_Line2Point(const double* a, const double* b, const double* p, double* out) {
  REmath::detail::PerpFromLine(a, b, p, out);
}
void Vector_Line2Point(const float* a, const float* b, const float* p, float* out) {
  REmath::detail::PerpFromLine(a, b, p, out);
}
