// SPDX-License-Identifier: MIT
// Parallelism and coplanarity tests, corner cosines and half-plane products.
#include <qvmath/core/detail/vec3.h>
#include <qvmath/geometry/vector_angles.h>

#include <cmath>

namespace {

using REmath::Point3D;
using REmath::Point3D_d;
using REmath::detail::Cross3;
using REmath::detail::Dot3;
using REmath::detail::Sub3;

// Perpendicular from the line a→b to p in float; zero when a and b coincide exactly
// (a zero-length edge defines no half-plane, and the callers read the zero as such).
void EdgePerpendicular(const Point3D& a, const Point3D& b, const Point3D& p, float* out) {
  out[0] = out[1] = out[2] = 0;
  if (a.m_x == b.m_x && a.m_y == b.m_y && a.m_z == b.m_z) return;
  REmath::detail::PerpFromLine(a.asArray(), b.asArray(), p.asArray(), out);
}

}  // namespace

bool VectorsAreParallel(const Point3D_d& a, const Point3D_d& b, double tol) {
  double c[3];
  Cross3(a.asArray(), b.asArray(), c);
  return Dot3(c, c) < tol * Dot3(a.asArray(), a.asArray()) * Dot3(b.asArray(), b.asArray());
}

bool PointInPlane(const Point3D_d& p, const Point3D_d& q, const Point3D_d& n, double tol) {
  double d[3];
  Sub3(p.asArray(), q.asArray(), d);
  const double L = Dot3(d, d);
  if (L < tol * tol) return true;
  const double len = std::sqrt(L);
  const double u[3] = {d[0] / len, d[1] / len, d[2] / len};
  double c[3];
  Cross3(u, n.asArray(), c);
  return std::fabs(Dot3(c, c) - 1) < tol;
}

float cos_ABC(const Point3D& a, const Point3D& b, const Point3D& c) {
  float ba[3], bc[3];
  Sub3(a.asArray(), b.asArray(), ba);
  Sub3(c.asArray(), b.asArray(), bc);
  const float D = Dot3(bc, bc) * Dot3(ba, ba);
  if (D <= 0) return kCosUndefined;
  return Dot3(bc, ba) / std::sqrt(D);
}

float SemiPlanarScalarProd(const Point3D& a, const Point3D& b, const Point3D& c, const Point3D& d) {
  float u[3], w[3];
  EdgePerpendicular(a, b, c, u);
  EdgePerpendicular(a, b, d, w);
  return Dot3(u, w);
}

float SemiPlanarCos2(const Point3D& a, const Point3D& b, const Point3D& c, const Point3D& d) {
  float u[3], w[3];
  EdgePerpendicular(a, b, c, u);
  EdgePerpendicular(a, b, d, w);
  const float lu = Dot3(u, u), lw = Dot3(w, w), q = Dot3(u, w);
  // A perpendicular below 1e-12 of the other in squared length (1e-6 in length) makes the
  // cosine meaningless; both zero (a = b, or c and d on the edge line) lands here too.
  const float kNegligible = 1e-12f;
  if (lw * kNegligible >= lu) return kCosUndefined;
  if (lu * kNegligible >= lw) return kCosUndefined;
  const float r = q * (q / lu / lw);
  return q <= 0 ? -r : r;
}
