// SPDX-License-Identifier: MIT
// Extents of point selections: bounding box, in-plane principal basis, CPlaneLimits.
#include <qvmath/analysis/plane_limits.h>
#include <qvmath/core/detail/vec3.h>
#include <qvmath/geometry/local_frame.h>

#include <cmath>

namespace REmath {

bool GetSelectionLinearLimits(const ICoord3DRefs& points, double* lo, double* hi) {
  const unsigned n = points.GetPointCount();
  if (n == 0) return false;
  double a[3], b[3];
  const float* p = points.GetPointCoords(0);
  for (int j = 0; j < 3; ++j) a[j] = b[j] = p[j];
  for (unsigned i = 1; i < n; ++i) {
    p = points.GetPointCoords(i);
    for (int j = 0; j < 3; ++j) {
      const double v = p[j];
      if (v < a[j]) a[j] = v;
      if (v > b[j]) b[j] = v;
    }
  }
  for (int j = 0; j < 3; ++j) {
    lo[j] = a[j];
    hi[j] = b[j];
  }
  return true;
}

bool DefinePointsLimitsBasis(const ICoord3DRefs& points, const double* normal, double* basis,
                             double* limits, int alignToPoints) {
  using detail::Cross3;
  using detail::Dot3;
  const unsigned n = points.GetPointCount();
  const double len = std::sqrt(Dot3(normal, normal));
  if (n == 0 || !(len > 0) || !std::isfinite(len)) return false;
  double e[3][3];
  for (int j = 0; j < 3; ++j) e[2][j] = normal[j] / len;
  double u[3], v[3];
  BuildUCSbyVector(e[2], u, v);
  double c = 1, s = 0;
  if (alignToPoints) {
    // Major axis of the 2-D scatter of the (u, v) coordinates about their mean, shifted by
    // the first point so that far-away selections keep their digits. The angle
    // θ = atan2(2·Suv, Suu − Svv)/2 is the closed-form eigenvector of the 2 × 2 matrix; an
    // isotropic spread gives atan2(0, 0) = 0, that is e0 = u.
    const float* q = points.GetPointCoords(0);
    double su = 0, sv = 0;
    for (unsigned i = 0; i < n; ++i) {
      const float* p = points.GetPointCoords(i);
      double d[3];
      detail::Sub3(p, q, d);
      su += Dot3(d, u);
      sv += Dot3(d, v);
    }
    const double mu = su / n, mv = sv / n;
    double suu = 0, svv = 0, suv = 0;
    for (unsigned i = 0; i < n; ++i) {
      const float* p = points.GetPointCoords(i);
      double d[3];
      detail::Sub3(p, q, d);
      const double a = Dot3(d, u) - mu, b = Dot3(d, v) - mv;
      suu += a * a;
      svv += b * b;
      suv += a * b;
    }
    const double theta = 0.5 * std::atan2(2 * suv, suu - svv);
    c = std::cos(theta);
    s = std::sin(theta);
  }
  for (int j = 0; j < 3; ++j) e[0][j] = c * u[j] + s * v[j];
  Cross3(e[2], e[0], e[1]);
  double lim[3][2];
  for (unsigned i = 0; i < n; ++i) {
    const float* pf = points.GetPointCoords(i);
    const double p[3] = {pf[0], pf[1], pf[2]};
    for (int k = 0; k < 3; ++k) {
      const double t = Dot3(p, e[k]);
      if (i == 0 || t < lim[k][0]) lim[k][0] = t;
      if (i == 0 || t > lim[k][1]) lim[k][1] = t;
    }
  }
  for (int k = 0; k < 3; ++k) {
    for (int j = 0; j < 3; ++j) basis[3 * k + j] = e[k][j];
    limits[2 * k] = lim[k][0];
    limits[2 * k + 1] = lim[k][1];
  }
  return true;
}

CPlaneLimits::~CPlaneLimits() = default;

void CPlaneLimits::Clear() {
  for (auto& row : m_basis) {
    for (double& v : row) v = 0;
  }
  for (auto& row : m_limits) row[0] = row[1] = 0;
}

bool CPlaneLimits::DefineAuto(const ICoord3DRefs& points, const CPlaneEquation& plane) {
  double basis[9], limits[6];
  if (!plane.IsValid() || !DefinePointsLimitsBasis(points, plane.NormalDir(), basis, limits, 1)) {
    Clear();
    return false;
  }
  for (int k = 0; k < DIM; ++k) {
    for (int j = 0; j < DIM; ++j) m_basis[k][j] = basis[3 * k + j];
    m_limits[k][0] = limits[2 * k];
    m_limits[k][1] = limits[2 * k + 1];
  }
  return true;
}

}  // namespace REmath
