// SPDX-License-Identifier: MIT
// Constrained plane of a selection: scatter about the anchor or the centroid, the normal
// restricted to a cone about a direction, and rejection rounds against the previous plane.
#include <qvmath/analysis/detail/scatter3.h>
#include <qvmath/analysis/plane_selection_constrained.h>
#include <qvmath/core/detail/vec3.h>
#include <qvmath/geometry/local_frame.h>

#include <cmath>

namespace {

using REmath::Point3D;
using REmath::Point3D_d;
using REmath::detail::Cross3;
using REmath::detail::Dot3;

constexpr double kHalfPi = 1.5707963267948966;

// The points in use: all of them, or those within tol of the plane through o with unit
// normal n. Recomputed on the fly so that no per-point flags are stored.
struct Selection {
  bool all = true;
  double o[3] = {0, 0, 0}, n[3] = {0, 0, 0}, tol = 0;
  bool Has(const Point3D& p) const {
    if (all) return true;
    const double d = (double(p.x()) - o[0]) * n[0] + (double(p.y()) - o[1]) * n[1] +
                     (double(p.z()) - o[2]) * n[2];
    return std::fabs(d) <= tol;
  }
};

// What the caller asked of the normal.
struct NormalRule {
  enum Kind { kFree, kFixed, kCone } kind = kFree;
  double u[3] = {0, 0, 0};  // unit reference direction
  double cosAlpha = 1, sinAlpha = 0;
};

struct PlaneFit {
  unsigned count = 0;
  double c[3] = {0, 0, 0};  // centroid of the points in use
  double q[3] = {0, 0, 0};  // point of the plane: the anchor or the centroid
  double n[3] = {0, 0, 0};  // unit normal
};

// Minimum of nᵀ·M·n over the circle n(φ) = cosα·u + sinα·(cosφ·a + sinφ·b). Inside the cone
// the only critical point of nᵀMn on the sphere that is a minimum is the smallest
// eigenvector, so when that lies outside, the constrained minimum is on this circle.
// f(φ) is a trigonometric polynomial of degree 2: the best of 72 samples (5° apart) is
// refined by guarded Newton steps on f'.
void ConeBoundaryMin(const double M[3][3], const NormalRule& rule, double n[3]) {
  double a[3], b[3];
  BuildUCSbyVector(rule.u, a, b);
  auto quad = [&M](const double* x, const double* y) {
    double r = 0;
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) r += x[i] * M[i][j] * y[j];
    }
    return r;
  };
  const double* u = rule.u;
  const double uu = quad(u, u), ua = quad(u, a), ub = quad(u, b);
  const double aa = quad(a, a), ab = quad(a, b), bb = quad(b, b);
  const double c = rule.cosAlpha, s = rule.sinAlpha;
  auto f = [&](double p) {
    const double cp = std::cos(p), sp = std::sin(p);
    return c * c * uu + 2 * c * s * (cp * ua + sp * ub) +
           s * s * (cp * cp * aa + 2 * sp * cp * ab + sp * sp * bb);
  };
  double best = 0, fbest = f(0);
  for (int k = 1; k < 72; ++k) {
    const double p = k * (2 * 3.141592653589793 / 72);
    const double fp = f(p);
    if (fp < fbest) fbest = fp, best = p;
  }
  for (int it = 0; it < 8; ++it) {
    const double cp = std::cos(best), sp = std::sin(best);
    const double c2 = std::cos(2 * best), s2 = std::sin(2 * best);
    const double d1 = 2 * c * s * (-sp * ua + cp * ub) + s * s * (s2 * (bb - aa) + 2 * c2 * ab);
    const double d2 = 2 * c * s * (-cp * ua - sp * ub) + s * s * (2 * c2 * (bb - aa) - 4 * s2 * ab);
    if (!(d2 > 0)) break;
    const double p = best - d1 / d2;
    const double fp = f(p);
    if (!(fp < fbest)) break;
    best = p, fbest = fp;
  }
  const double cp = std::cos(best), sp = std::sin(best);
  for (int i = 0; i < 3; ++i) n[i] = c * u[i] + s * (cp * a[i] + sp * b[i]);
}

bool FitOnce(const std::vector<Point3D>& pts, const Selection& sel, const Point3D& viewDir,
             bool throughAnchor, const Point3D_d& anchor, const NormalRule& rule, PlaneFit& out) {
  // Centroid, shifted by the first point in use so that far-away scans keep their digits.
  unsigned count = 0;
  double first[3] = {0, 0, 0}, s[3] = {0, 0, 0};
  for (const Point3D& p : pts) {
    if (!sel.Has(p)) continue;
    const double v[3] = {p.x(), p.y(), p.z()};
    if (count++ == 0) {
      for (int j = 0; j < 3; ++j) first[j] = v[j];
    }
    for (int j = 0; j < 3; ++j) s[j] += v[j] - first[j];
  }
  if (count < 3) return false;
  PlaneFit fit;
  fit.count = count;
  for (int j = 0; j < 3; ++j) {
    fit.c[j] = first[j] + s[j] / count;
    fit.q[j] = throughAnchor ? anchor.asArray()[j] : fit.c[j];
  }
  double M[3][3] = {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}};
  for (const Point3D& p : pts) {
    if (!sel.Has(p)) continue;
    const double d[3] = {p.x() - fit.q[0], p.y() - fit.q[1], p.z() - fit.q[2]};
    for (int i = 0; i < 3; ++i) {
      for (int j = i; j < 3; ++j) M[i][j] += d[i] * d[j];
    }
  }
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < i; ++j) M[i][j] = M[j][i];
  }
  if (rule.kind == NormalRule::kFixed) {
    for (int j = 0; j < 3; ++j) fit.n[j] = rule.u[j];
  } else {
    double w[3][3];
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) w[i][j] = M[i][j];
    }
    double* work[3] = {w[0], w[1], w[2]};
    double ev[3];
    if (!REmath::detail::DiagonaliseSym3(work, ev)) return false;
    const int k = REmath::detail::SmallestEigenIndex(ev, 1e100);
    if (k < 0) return false;
    for (int j = 0; j < 3; ++j) fit.n[j] = w[j][k];
    if (rule.kind == NormalRule::kCone &&
        std::fabs(Dot3(fit.n, rule.u)) < rule.cosAlpha * std::sqrt(Dot3(fit.n, fit.n))) {
      ConeBoundaryMin(M, rule, fit.n);
    }
  }
  if (fit.n[0] * viewDir.x() + fit.n[1] * viewDir.y() + fit.n[2] * viewDir.z() < 0) {
    for (double& v : fit.n) v = -v;
  }
  NormalizeVector(fit.n);
  for (int j = 0; j < 3; ++j) {
    if (!std::isfinite(fit.n[j]) || !std::isfinite(fit.q[j])) return false;
  }
  out = fit;
  return true;
}

struct FitErrors {
  double max = 0, mean = 0, rms = 0;
};

FitErrors Errors(const std::vector<Point3D>& pts, const Selection& sel, const PlaneFit& fit) {
  FitErrors e;
  for (const Point3D& p : pts) {
    if (!sel.Has(p)) continue;
    const double d = std::fabs((p.x() - fit.q[0]) * fit.n[0] + (p.y() - fit.q[1]) * fit.n[1] +
                               (p.z() - fit.q[2]) * fit.n[2]);
    e.mean += d;
    e.rms += d * d;
    if (d > e.max) e.max = d;
  }
  e.mean /= fit.count;
  e.rms = std::sqrt(e.rms / fit.count);
  return e;
}

bool SamePlane(const PlaneFit& a, const PlaneFit& b) {
  for (int j = 0; j < 3; ++j) {
    if (a.n[j] != b.n[j] || a.q[j] != b.q[j]) return false;
  }
  return true;
}

}  // namespace

bool RecognizePlaneSelectionConstrained(const std::vector<Point3D>& pts, const Point3D& viewDir,
                                        int maxRejectRounds, double rejectDist, bool throughAnchor,
                                        double maxNormalAngle, const Point3D_d& anchor,
                                        const Point3D_d& direction, Point3D_d& origin,
                                        Point3D_d& normal, double& maxErr, double& meanErr,
                                        Point3D_d& axis0, Point3D_d& axis1, double* lo,
                                        double* hi) {
  NormalRule rule;
  if (maxNormalAngle >= 0 && maxNormalAngle < kHalfPi) {
    const double len = direction.length();
    if (!(len > 0) || !std::isfinite(len)) return false;
    for (int j = 0; j < 3; ++j) rule.u[j] = direction.asArray()[j] / len;
    rule.kind = maxNormalAngle == 0 ? NormalRule::kFixed : NormalRule::kCone;
    rule.cosAlpha = std::cos(maxNormalAngle);
    rule.sinAlpha = std::sin(maxNormalAngle);
  }
  Selection sel;
  PlaneFit cur;
  if (!FitOnce(pts, sel, viewDir, throughAnchor, anchor, rule, cur)) return false;
  FitErrors err = Errors(pts, sel, cur);
  for (int round = 0; round < maxRejectRounds && rejectDist != 0; ++round) {
    Selection next;
    next.all = false;
    for (int j = 0; j < 3; ++j) {
      next.o[j] = cur.q[j];
      next.n[j] = cur.n[j];
    }
    next.tol = rejectDist > 0 ? rejectDist : -rejectDist * err.rms;
    PlaneFit fit;
    if (!FitOnce(pts, next, viewDir, throughAnchor, anchor, rule, fit)) break;
    const bool settled = SamePlane(fit, cur);
    cur = fit;
    sel = next;
    err = Errors(pts, sel, cur);
    if (settled) break;
  }
  // In-plane frame: the major axis of the 2-D scatter of the points in use about their
  // centroid (closed-form angle of the 2 × 2 eigenproblem; isotropic spread gives u).
  double u[3], v[3];
  BuildUCSbyVector(cur.n, u, v);
  double suu = 0, svv = 0, suv = 0;
  for (const Point3D& p : pts) {
    if (!sel.Has(p)) continue;
    const double d[3] = {p.x() - cur.c[0], p.y() - cur.c[1], p.z() - cur.c[2]};
    const double a = Dot3(d, u), b = Dot3(d, v);
    suu += a * a, svv += b * b, suv += a * b;
  }
  const double theta = 0.5 * std::atan2(2 * suv, suu - svv);
  double e0[3], e1[3], o[3];
  for (int j = 0; j < 3; ++j) e0[j] = std::cos(theta) * u[j] + std::sin(theta) * v[j];
  Cross3(cur.n, e0, e1);
  double cq[3];
  REmath::detail::Sub3(cur.c, cur.q, cq);
  const double h = Dot3(cq, cur.n);
  for (int j = 0; j < 3; ++j) o[j] = cur.c[j] - h * cur.n[j];
  if (lo || hi) {
    double l[2] = {0, 0}, g[2] = {0, 0};
    bool firstPt = true;
    for (const Point3D& p : pts) {
      if (!sel.Has(p)) continue;
      const double d[3] = {p.x() - o[0], p.y() - o[1], p.z() - o[2]};
      const double t[2] = {Dot3(d, e0), Dot3(d, e1)};
      for (int k = 0; k < 2; ++k) {
        if (firstPt || t[k] < l[k]) l[k] = t[k];
        if (firstPt || t[k] > g[k]) g[k] = t[k];
      }
      firstPt = false;
    }
    for (int k = 0; k < 2; ++k) {
      if (lo) lo[k] = l[k];
      if (hi) hi[k] = g[k];
    }
  }
  origin = Point3D_d(o[0], o[1], o[2]);
  normal = Point3D_d(cur.n[0], cur.n[1], cur.n[2]);
  axis0 = Point3D_d(e0[0], e0[1], e0[2]);
  axis1 = Point3D_d(e1[0], e1[1], e1[2]);
  maxErr = err.max;
  meanErr = err.mean;
  return true;
}
