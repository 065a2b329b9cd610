// SPDX-License-Identifier: MIT
#include <qvmath/analysis/detail/small_spd.h>
#include <qvmath/analysis/ortho_norm_basis.h>
#include <qvmath/analysis/signed_curvature.h>
#include <qvmath/core/detail/vec3.h>

#include <algorithm>
#include <cmath>

using REmath::Point3D_d;

namespace {

// The largest tangential distance of the points from the origin, sqrt(max(u² + v²)) over the
// local coordinates that local(i, q) writes: the scale that makes the fit's unknowns O(1).
template <class Local>
double TangentRadius(int n, const Local& local) {
  double r2 = 0;
  for (int i = 0; i < n; ++i) {
    double q[3];
    local(i, q);
    r2 = std::max(r2, q[0] * q[0] + q[1] * q[1]);
  }
  return std::sqrt(r2);
}

// Below this reciprocal condition number of the equilibrated normal matrix, its inverse
// (whose square root bounds the amplification of data errors into the coefficients) would
// carry fewer than about five correct digits of the curvatures.
constexpr double kMinConditioning = 1e-10;

void Invalid(CSignedCurvature& out, double conditioning) {
  out = CSignedCurvature{0, 0, 0, 0, Point3D_d(), Point3D_d(), false, conditioning};
}

// The result from the second fundamental form [[p11, p12], [p12, p22]] (positive = bending
// away from the normal) in the orthonormal tangent vectors T1, T2 (T2 = N × T1) given in
// the local coordinates of frame.
bool Finish(const COrthoNormBasis& frame, const double* T1, const double* T2, double p11,
            double p12, double p22, double rcond, CSignedCurvature& out) {
  const double m = (p11 + p22) / 2, h = (p11 - p22) / 2;
  const double rad = std::hypot(h, p12);
  // Eigenvector of the larger eigenvalue of [[p11, p12], [p12, p22]] at angle θ from T1;
  // θ = 0 at umbilics (h = p12 = 0), a deterministic choice.
  const double theta = 0.5 * std::atan2(p12, h);
  const double ct = std::cos(theta), st = std::sin(theta);
  double d1[3], d2[3];
  for (int k = 0; k < 3; ++k) {
    d1[k] = ct * T1[k] + st * T2[k];
    d2[k] = -st * T1[k] + ct * T2[k];
  }
  const CRotationMatrix& B = frame.getBackCoordTransform().m;
  auto world = [&B](const double* a) {
    Point3D_d w(B.m[0][0] * a[0] + B.m[0][1] * a[1] + B.m[0][2] * a[2],
                B.m[1][0] * a[0] + B.m[1][1] * a[1] + B.m[1][2] * a[2],
                B.m[2][0] * a[0] + B.m[2][1] * a[1] + B.m[2][2] * a[2]);
    return w.unitLength();
  };
  CSignedCurvature r{m + rad, m - rad, m, (m + rad) * (m - rad), world(d1), world(d2), true, rcond};
  if (!std::isfinite(r.k1) || !std::isfinite(r.k2) || !std::isfinite(r.dir1.length()) ||
      !std::isfinite(r.dir2.length())) {
    Invalid(out, rcond);
    return false;
  }
  out = r;
  return true;
}

}  // namespace

bool GetSignedCurvatures(int n, const REmath::Point3D* pts, const Point3D_d& origin,
                         const Point3D_d& normal, CSignedCurvature& out) {
  Invalid(out, 0.0);
  const double nl = normal.length();
  if (n < 6 || !(nl > 0) || !std::isfinite(nl) || !std::isfinite(origin.length())) return false;
  const COrthoNormBasis frame = COrthoNormBasis::buildAnyRightHandByV2AndOrigin(normal, origin);
  const CRotationMatrix& F = frame.getForthCoordTransform().m;
  auto local = [&](int i, double q[3]) {
    const double d[3] = {double(pts[i].x()) - origin.x(), double(pts[i].y()) - origin.y(),
                         double(pts[i].z()) - origin.z()};
    for (int r = 0; r < 3; ++r) q[r] = F.m[r][0] * d[0] + F.m[r][1] * d[1] + F.m[r][2] * d[2];
  };
  const double s = TangentRadius(n, local);
  if (!(s > 0) || !std::isfinite(s)) return false;

  REmath::detail::NormalEquations<6> ne;
  for (int i = 0; i < n; ++i) {
    double q[3];
    local(i, q);
    const double u = q[0] / s, v = q[1] / s;
    const double row[6] = {1.0, u, v, u * u, u * v, v * v};
    ne.Add(row, q[2] / s, 1.0);
  }
  double c[6], rcond;
  if (!REmath::detail::SolveIfConditioned(ne, kMinConditioning, c, rcond)) {
    Invalid(out, rcond);
    return false;
  }
  // Unscaled derivatives at (0, 0): h_u, h_v, h_uu, h_uv, h_vv.
  const double hu = c[1], hv = c[2];
  const double huu = 2 * c[3] / s, huv = c[4] / s, hvv = 2 * c[5] / s;

  // Orthonormal tangent frame of the graph at (0, 0) in local coordinates: T1 along the
  // u-tangent (1, 0, hu), N = (−hu, −hv, 1)/W on the side of `normal`, T2 = N × T1.
  const double W = std::sqrt(1 + hu * hu + hv * hv);
  const double N[3] = {-hu / W, -hv / W, 1 / W};
  const double l1 = std::sqrt(1 + hu * hu);
  const double T1[3] = {1 / l1, 0, hu / l1};
  double T2[3];
  REmath::detail::Cross3(N, T1, T2);
  // Second fundamental form II(a, b) = (a_u, a_v)·Hess(h)·(b_u, b_v)/W, where the parameter
  // components of a tangent vector are its local x and y. Negated: positive = bending
  // away from the normal.
  auto II = [&](const double* a, const double* b) {
    return (a[0] * (huu * b[0] + huv * b[1]) + a[1] * (huv * b[0] + hvv * b[1])) / W;
  };
  return Finish(frame, T1, T2, -II(T1, T1), -II(T1, T2), -II(T2, T2), rcond, out);
}

bool GetSignedCurvatures(int n, const REmath::Point3D* pts, const REmath::Point3D* normals,
                         const Point3D_d& origin, const Point3D_d& normal, CSignedCurvature& out) {
  if (!normals) return GetSignedCurvatures(n, pts, origin, normal, out);
  Invalid(out, 0.0);
  const double nl = normal.length();
  if (n < 6 || !(nl > 0) || !std::isfinite(nl) || !std::isfinite(origin.length())) return false;
  Point3D_d axis = normal;
  for (int pass = 0;; ++pass) {
    const COrthoNormBasis frame = COrthoNormBasis::buildAnyRightHandByV2AndOrigin(axis, origin);
    const CRotationMatrix& F = frame.getForthCoordTransform().m;
    auto rotate = [&F](const double d[3], double q[3]) {
      for (int r = 0; r < 3; ++r) q[r] = F.m[r][0] * d[0] + F.m[r][1] * d[1] + F.m[r][2] * d[2];
    };
    auto local = [&](int i, double q[3]) {
      const double d[3] = {double(pts[i].x()) - origin.x(), double(pts[i].y()) - origin.y(),
                           double(pts[i].z()) - origin.z()};
      rotate(d, q);
    };
    const double s = TangentRadius(n, local);
    if (!(s > 0) || !std::isfinite(s)) return false;
    // Unknowns: the tangential normal components a, b at origin and S11, S12, S22 (scaled
    // by s). Normal i gives two equations.
    REmath::detail::NormalEquations<5> ne;
    for (int i = 0; i < n; ++i) {
      double q[3], m[3];
      local(i, q);
      const double d[3] = {double(normals[i].x()), double(normals[i].y()), double(normals[i].z())};
      rotate(d, m);
      const double ml = std::copysign(std::sqrt(m[0] * m[0] + m[1] * m[1] + m[2] * m[2]), m[2]);
      if (!(std::fabs(ml) > 0) || !std::isfinite(ml)) return false;
      const double u = q[0] / s, v = q[1] / s;
      const double rowU[5] = {1, 0, u, v, 0}, rowV[5] = {0, 1, 0, u, v};
      ne.Add(rowU, m[0] / ml, 1.0);
      ne.Add(rowV, m[1] / ml, 1.0);
    }
    double c[5], rcond;
    if (!REmath::detail::SolveIfConditioned(ne, kMinConditioning, c, rcond)) {
      Invalid(out, rcond);
      return false;
    }
    if (pass == 1) {
      const double T1[3] = {1, 0, 0}, T2[3] = {0, 1, 0};
      return Finish(frame, T1, T2, c[2] / s, c[3] / s, c[4] / s, rcond, out);
    }
    // The fitted normal at origin, in world axes, becomes the frame of the second pass.
    const double t2 = c[0] * c[0] + c[1] * c[1];
    if (!(t2 < 1)) return false;
    const CRotationMatrix& B = frame.getBackCoordTransform().m;
    const double a[3] = {c[0], c[1], std::sqrt(1 - t2)};
    axis = Point3D_d(B.m[0][0] * a[0] + B.m[0][1] * a[1] + B.m[0][2] * a[2],
                     B.m[1][0] * a[0] + B.m[1][1] * a[1] + B.m[1][2] * a[2],
                     B.m[2][0] * a[0] + B.m[2][1] * a[1] + B.m[2][2] * a[2]);
  }
}
