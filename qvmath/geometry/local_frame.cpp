// SPDX-License-Identifier: MIT
// Normalisation, default perpendiculars and local frames, float and double.
#include <qvmath/core/detail/vec3.h>
#include <qvmath/geometry/local_frame.h>

#include <algorithm>
#include <cmath>

namespace {

using REmath::detail::Cross3;
using REmath::detail::Dot3;

template <class R>
void DefPerpendicular(const R* n, R* out) {
  // Near the z axis the x-y part of n is too small to divide by; use the y-z part, which
  // then holds almost all of the length. R(0.1) is the single-precision 0.1 for float.
  if (n[0] * n[0] + n[1] * n[1] <= R(0.1)) {
    const R len = std::sqrt(n[1] * n[1] + n[2] * n[2]);
    out[0] = R(0) / len;
    out[1] = -n[2] / len;
    out[2] = n[1] / len;
  } else {
    const R len = std::sqrt(n[0] * n[0] + n[1] * n[1]);
    out[0] = -n[1] / len;
    out[1] = n[0] / len;
    out[2] = R(0) / len;
  }
}

template <class R>
void UCSbyVector(const R* n, R* u, R* v) {
  DefPerpendicular(n, u);
  Cross3(n, u, v);
}

}  // namespace

void NormalizeVector(float* p) {
  const double x = p[0], y = p[1], z = p[2];
  const float len = float(std::sqrt(x * x + y * y + z * z));
  if (len == 0 || std::isnan(len)) return;
  const float inv = float(1.0 / len);
  for (int i = 0; i < 3; ++i) p[i] *= inv;
}

void NormalizeVector(double* p) {
  const double len = std::sqrt(Dot3(p, p));
  if (len == 0 || std::isnan(len)) return;
  const double inv = 1.0 / len;
  for (int i = 0; i < 3; ++i) p[i] *= inv;
}

void BuildDefPerpendicular(const float* n, float* out) { DefPerpendicular(n, out); }
void BuildDefPerpendicular(const double* n, double* out) { DefPerpendicular(n, out); }

void BuildUCSbyVector(const float* n, float* u, float* v) { UCSbyVector(n, u, v); }
void BuildUCSbyVector(const double* n, double* u, double* v) { UCSbyVector(n, u, v); }

bool CoordinateRelativeForPlaneReperDbl(const double* p, const double* e1, const double* e2,
                                        double& x, double& y, double tol) {
  const double g11 = Dot3(e1, e1), g22 = Dot3(e2, e2), g12 = Dot3(e1, e2);
  const double D = g11 * g22 - g12 * g12;
  if (std::min(g11 * g11, g22 * g22) * tol >= std::fabs(D)) return false;
  const double b1 = Dot3(p, e1), b2 = Dot3(p, e2);
  x = (g22 * b1 - b2 * g12) / D;
  y = (g11 * b2 - g12 * b1) / D;
  return true;
}
