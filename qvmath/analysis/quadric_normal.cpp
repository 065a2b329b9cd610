// SPDX-License-Identifier: MIT
#include <qvmath/analysis/detail/local_quadric_fit.h>
#include <qvmath/analysis/detail/scatter3.h>
#include <qvmath/analysis/detail/small_spd.h>
#include <qvmath/analysis/ortho_norm_basis.h>
#include <qvmath/analysis/quadric_normal.h>

#include <algorithm>
#include <cmath>

using REmath::Point3D;
using REmath::Point3D_d;

namespace {

// Unknowns of the local fit, in this order; the z terms come last so that, on a flat
// neighbourhood, they are the ones the equilibrated Cholesky drops.
enum { kXX, kXY, kYY, kX, kY, kK, kZZ, kXZ, kYZ, kUnknowns };

// A pivot (squared sine of a column against the earlier ones) this small means the
// column is a rounding-level combination of the others: the unknown is undetermined.
constexpr double kDropTol = 1e-12;
// RMS thickness over RMS extent below which a neighbourhood counts as flat: the normal
// turns by roughly 8·ratio radians across it, under 0.05° at 1e-4.
constexpr double kFlatRatio = 1e-4;
// The z terms of the quadric are built from the measured heights: where the heights are
// mostly noise (the first fit's mean square residual against the mean square thickness),
// they fit the noise and tilt the normal. Their diagonal of the normal matrix is raised by
// this factor times that ratio: nothing on exact data, a strong damping on noisy scans.
constexpr double kRidgeScale = 10.0;
// Middle over largest eigenvalue of the scatter at or below which the points are collinear.
constexpr double kCollinear = 1e-16;

bool Finite3(const double* v) {
  return std::isfinite(v[0]) && std::isfinite(v[1]) && std::isfinite(v[2]);
}

}  // namespace

namespace REmath {
namespace detail {

bool FitLocalQuadric(int n, const Point3D* pts, const LocalQuadricOptions& opt,
                     LocalQuadricResult& out) {
  const int need = opt.freeTerm ? 10 : 9;
  if (n < need) return false;
  double c[3], S[3][3], ev[3];
  CentroidAndScatter(n, pts, c, S);
  double* work[3] = {S[0], S[1], S[2]};
  if (!Finite3(c) || !DiagonaliseSym3(work, ev)) return false;
  const int imin = SmallestEigenIndex(ev, 1e30);
  if (imin < 0) return false;
  const double trace = ev[0] + ev[1] + ev[2];
  const double lmax = std::max({ev[0], ev[1], ev[2]});
  // Coincident points, or collinear ones (width below 1e-8 of the length: rounding level
  // of float input): no surface to fit, flat or not.
  if (!(trace > 0) || !(trace - lmax - ev[imin] > kCollinear * lmax)) return false;
  const Point3D_d axis(S[0][imin], S[1][imin], S[2][imin]);
  const Point3D_d p0(double(pts[0].x()), double(pts[0].y()), double(pts[0].z()));
  const COrthoNormBasis frame = COrthoNormBasis::buildAnyRightHandByV2AndOrigin(axis, p0);
  const CRotationMatrix& F = frame.getForthCoordTransform().m;
  const CRotationMatrix& B = frame.getBackCoordTransform().m;

  // Local coordinates relative to a world point o: with o = pts[0] the float differences are
  // exact in double, and any o near the points keeps a neighbourhood far from the origin
  // fitted like the same one at the origin.
  double o[3] = {p0.x(), p0.y(), p0.z()};
  auto local = [&](int i, double q[3]) {
    const double d[3] = {double(pts[i].x()) - o[0], double(pts[i].y()) - o[1],
                         double(pts[i].z()) - o[2]};
    for (int r = 0; r < 3; ++r) q[r] = F.m[r][0] * d[0] + F.m[r][1] * d[1] + F.m[r][2] * d[2];
  };
  auto moveOrigin = [&](const double q[3]) {  // o += the local vector q
    for (int r = 0; r < 3; ++r) o[r] += B.m[r][0] * q[0] + B.m[r][1] * q[1] + B.m[r][2] * q[2];
  };
  double radius2 = 0;
  for (int i = 0; i < n; ++i) {
    double q[3];
    local(i, q);
    radius2 = std::max(radius2, q[0] * q[0] + q[1] * q[1] + q[2] * q[2]);
  }
  const double s = std::sqrt(radius2);
  if (!(s > 0) || !std::isfinite(s)) return false;
  double floor = double(opt.minDist);
  if (!(floor > 0)) floor = 1e-3 * s;
  const double floor2 = floor * floor;

  // The weighted fit about the current origin o, in coordinates scaled by s.
  double residual2 = 0;
  // The design row of point i, its weight and its scaled height z.
  auto rowOf = [&](int i, bool freeTerm, double* row, double& w) {
    double q[3];
    local(i, q);
    const double d2 = q[0] * q[0] + q[1] * q[1] + q[2] * q[2];
    w = opt.weighted ? 1.0 / std::max(d2, floor2) : 1.0;
    const double u = q[0] / s, v = q[1] / s, z = q[2] / s;
    const double r[kUnknowns] = {u * u, u * v, v * v, u, v, freeTerm ? 1.0 : 0.0,
                                 z * z, u * z, v * z};
    std::copy(r, r + kUnknowns, row);
    return z;
  };
  auto fit = [&](bool freeTerm, double ridge, double* coef) {
    NormalEquations<kUnknowns> ne;
    for (int i = 0; i < n; ++i) {
      double row[kUnknowns], w;
      const double z = rowOf(i, freeTerm, row, w);
      ne.Add(row, z, w);
    }
    ne.Symmetrise();
    for (int j = kZZ; j <= kYZ; ++j) ne.G[j][j] *= 1 + ridge;
    EquilibratedCholesky<kUnknowns> ch;
    ch.Factor(ne.G, kDropTol);
    for (int j = kXX; j <= kY; ++j)
      if (ch.dropped[j]) return false;  // collinear: no surface to speak of
    ch.Solve(ne.r, coef);
    // The weighted mean square of the algebraic residual (scaled units).
    double rr = 0, ws = 0;
    for (int i = 0; i < n; ++i) {
      double row[kUnknowns], w;
      const double z = rowOf(i, freeTerm, row, w);
      double e = z;
      for (int j = 0; j < kUnknowns; ++j) e -= row[j] * coef[j];
      rr += w * e * e;
      ws += w;
    }
    residual2 = rr / ws;
    return true;
  };

  const double lmin = ev[imin];
  const bool flat = !opt.force2 && lmin <= kFlatRatio * kFlatRatio * (trace - lmin);
  double coef[kUnknowns] = {};
  if (flat) {
    // First-order fit: the covariance plane through the centroid, the origin moved onto it.
    const double dc[3] = {c[0] - p0.x(), c[1] - p0.y(), c[2] - p0.z()};
    const double q[3] = {0, 0, F.m[2][0] * dc[0] + F.m[2][1] * dc[1] + F.m[2][2] * dc[2]};
    if (opt.footOrigin) {
      moveOrigin(q);
    } else if (opt.freeTerm) {
      coef[kK] = q[2] / s;
    }
  } else {
    if (opt.footOrigin && n >= 10) {
      // A first fit with the free term about pts[0]; the origin then moves along e2 onto
      // its surface (the root nearer pts[0]), so that the noise of pts[0] itself does not
      // pull the surface through it.
      if (!fit(true, 0.0, coef)) return false;
      const double qa = -coef[kZZ], qb = 1.0, qc = -coef[kK];
      const double disc = qb * qb - 4 * qa * qc;
      if (disc >= 0) {
        const double q[3] = {0, 0, s * (-2 * qc / (qb + std::sqrt(disc)))};
        if (std::isfinite(q[2])) moveOrigin(q);
      }
      std::fill(coef, coef + kUnknowns, 0.0);
    }
    double ridge = 0;
    if (opt.footOrigin) {
      const double thick2 = lmin / n / (s * s);
      ridge = kRidgeScale * residual2 / thick2;
    }
    if (!fit(opt.freeTerm, ridge, coef)) return false;
  }
  // Back to unscaled local coordinates: a term of degree k scales by s^(1 − k).
  CQuadraticForm f = CQuadraticForm::buildFromCoefficients(
      -coef[kXX] / s, -coef[kYY] / s, -coef[kZZ] / s, -coef[kXY] / s, -coef[kXZ] / s,
      -coef[kYZ] / s, -coef[kX], -coef[kY], 1.0, -coef[kK] * s);

  Point3D_d foot(0.0, 0.0, 0.0);
  if (opt.freeTerm) {
    double z1 = 0, z2 = 0;
    const CQuadraticForm::CalcZResult r = f.calculateZByXY(0, 0, z1, z2);
    if (r == CQuadraticForm::CZR_OneRoot || r == CQuadraticForm::CZR_TwoRoots) foot.z() = z1;
  }
  const Point3D_d gl = f.evalGradient(foot);
  const double gn = gl.length();
  double rms = 0;
  for (int i = 0; i < n; ++i) {
    double q[3];
    local(i, q);
    const Point3D_d pq(q);
    const double g = f.evalGradient(pq).length();
    const double dist = g > 0 ? f.eval(pq) / g : 0.0;
    rms += dist * dist;
  }
  rms = std::sqrt(rms / n);

  // World axes, origin kept at pts[0]: the frame seen from the local side maps shifted
  // world coordinates to local ones (back matrix = the rows e0, e1, e2).
  COrthoNormBasis axes = frame.getMovedTo(Point3D_d(0.0, 0.0, 0.0));
  f.transformToBasis(axes.getWorldBasisInLocalCoords());
  double nrm[3];
  for (int r = 0; r < 3; ++r)
    nrm[r] = (B.m[r][0] * gl.x() + B.m[r][1] * gl.y() + B.m[r][2] * gl.z()) / gn;
  if (!Finite3(nrm) || !std::isfinite(rms)) return false;
  out.quad = f;
  for (int r = 0; r < 3; ++r) out.normal[r] = nrm[r];
  out.aniso = float(lmin / trace);
  out.rms = rms;
  for (int r = 0; r < 3; ++r) out.origin[r] = o[r];
  return true;
}

}  // namespace detail
}  // namespace REmath

CGetNormal2Prms::CGetNormal2Prms() { SetDefault(); }

CGetNormal2Prms::~CGetNormal2Prms() = default;

void CGetNormal2Prms::SetDefault() {
  m_Force2 = false;
  m_ZeroFremTerm = true;
  m_Appr2MinDist = 0.01f;
}

namespace {

template <class Real>
bool GetNormal2T(int n, const Point3D* pts, const CGetNormal2Prms* prms, CQuadraticForm* quad,
                 Real* normal, float* x, double* y) {
  const CGetNormal2Prms defaults;
  const CGetNormal2Prms& p = prms ? *prms : defaults;
  REmath::detail::LocalQuadricOptions opt;
  opt.minDist = p.Appr2MinDist();
  opt.freeTerm = !p.ZeroFremTerm();
  opt.force2 = p.Force2();
  opt.footOrigin = true;
  REmath::detail::LocalQuadricResult r;
  if (!REmath::detail::FitLocalQuadric(n, pts, opt, r)) return false;
  if (quad) *quad = r.quad;
  for (int i = 0; i < 3; ++i) normal[i] = Real(r.normal[i]);
  if (x) *x = r.aniso;
  if (y) *y = r.rms;
  return true;
}

template <class Real>
bool ShiftedNonScaledT(int n, const Point3D* pts, CQuadraticForm& quad, Real* normal) {
  REmath::detail::LocalQuadricOptions opt;
  opt.weighted = false;
  opt.force2 = true;
  REmath::detail::LocalQuadricResult r;
  if (!REmath::detail::FitLocalQuadric(n, pts, opt, r)) return false;
  quad = r.quad;
  for (int i = 0; i < 3; ++i) normal[i] = Real(r.normal[i]);
  return true;
}

}  // namespace

bool GetNormal2(int n, const Point3D* pts, const CGetNormal2Prms* prms, CQuadraticForm* quad,
                double* const normal, float* const x, double* y) {
  return GetNormal2T(n, pts, prms, quad, normal, x, y);
}

bool GetNormal2(int n, const Point3D* pts, const CGetNormal2Prms* prms, CQuadraticForm* quad,
                float* const normal, float* const x, double* y) {
  return GetNormal2T(n, pts, prms, quad, normal, x, y);
}

bool GetNormalAndQuadricApprShiftedNonScaled(int n, const Point3D* pts, CQuadraticForm& quad,
                                             double* normal) {
  return ShiftedNonScaledT(n, pts, quad, normal);
}

bool GetNormalAndQuadricApprShiftedNonScaled(int n, const Point3D* pts, CQuadraticForm& quad,
                                             float* normal) {
  return ShiftedNonScaledT(n, pts, quad, normal);
}
