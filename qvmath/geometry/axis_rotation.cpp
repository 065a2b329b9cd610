// SPDX-License-Identifier: MIT
// Rotation about a line (Rodrigues) and the historical vector rotation.
#include <qvmath/core/detail/vec3.h>
#include <qvmath/geometry/axis_rotation.h>

#include <cmath>

namespace {

using REmath::detail::Cross3;
using REmath::detail::Dot3;

}  // namespace

void setAxisRotationTransform(RElinearTransform& T, const REmath::Point3D_d& point,
                              const REmath::Point3D_d& axis, double angle) {
  const double c = std::cos(angle), s = std::sin(angle), k = 1 - c;
  const double* u = axis.asArray();
  const double* p = point.asArray();
  auto& m = T.m.m;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) m[i][j] = u[i] * u[j] * k + (i == j ? c : 0.0);
  m[0][2] += u[1] * s;
  m[0][1] -= u[2] * s;
  m[1][0] += u[2] * s;
  m[1][2] -= u[0] * s;
  m[2][1] += u[0] * s;
  m[2][0] -= u[1] * s;
  // t = p − m·p written out so that a point on the axis maps to itself without the
  // cancellation of subtracting m·p from p.
  const double up = Dot3(u, p);
  double uxp[3];
  Cross3(u, p, uxp);
  for (int i = 0; i < 3; ++i) T.t[i] = (p[i] - u[i] * up) * k - uxp[i] * s;
}

void RotateVector(double* out, const double* axis, const double* v, double angle) {
  const double origin[3] = {0, 0, 0};
  double w[3], vPerp[3], vPar[3];
  Cross3(axis, v, w);
  REmath::detail::PerpFromLine(origin, axis, v, vPerp);
  for (int i = 0; i < 3; ++i) vPar[i] = v[i] - vPerp[i];
  const double perp2 = Dot3(vPerp, vPerp);
  // 1e-4 is a single-precision constant in this formula (9.999999747378752e-5 in double).
  if (perp2 <= double(1e-4f) * Dot3(v, v)) {
    for (int i = 0; i < 3; ++i) out[i] = v[i];
    return;
  }
  // W is w scaled to the length of v⊥ plus the axial part v∥; mixing v∥ into the sine
  // term is the deliberate quirk described in the header.
  const double k = std::sqrt(perp2 / Dot3(w, w));
  const double c = std::cos(angle), s = std::sin(angle);
  double r[3];
  for (int i = 0; i < 3; ++i) r[i] = v[i] * c + (k * w[i] + vPar[i]) * s;
  for (int i = 0; i < 3; ++i) out[i] = r[i];
}

void MakeRotationMatrix(REmath::Matrix<double>& M, const double* axis, double angle) {
  M.resize(3, 3);
  for (int i = 0; i < 3; ++i) {
    double e[3] = {0, 0, 0}, r[3];
    e[i] = 1;
    RotateVector(r, axis, e, angle);
    for (int j = 0; j < 3; ++j) M(i, j) = r[j];
  }
}
