// SPDX-License-Identifier: MIT
#include <qvmath/core/detail/vec3.h>
#include <qvmath/geometry/dist_point_segment.h>
#include <qvmath/geometry/local_frame.h>
#include <qvmath/geometry/point_net.h>

#include <algorithm>
#include <cmath>

using REmath::Matrix;
using REmath::Point3D;

namespace {

constexpr float kSnap = 1e-5f;

// Sizes below which a Newton step is taken as converged: relative to the cell size in space
// and absolute in the parameters, both well below float resolution of the net.
constexpr double kStepRel = 1e-12;
constexpr int kMaxNewton = 30;

using REmath::detail::Dot3;

// One bilinear cell relative to the query point: B(s, t) − p = p00 + s·a + t·b + s·t·c.
struct Cell {
  double p00[3], a[3], b[3], c[3];
  double size;

  Cell(const Point3D& q00, const Point3D& q10, const Point3D& q01, const Point3D& q11,
       const float* p) {
    for (int k = 0; k < 3; ++k) {
      const double c00 = double(q00.asArray()[k]) - p[k], c10 = double(q10.asArray()[k]) - p[k];
      const double c01 = double(q01.asArray()[k]) - p[k], c11 = double(q11.asArray()[k]) - p[k];
      p00[k] = c00;
      a[k] = c10 - c00;
      b[k] = c01 - c00;
      c[k] = (c11 - c10) - (c01 - c00);
    }
    size = GetSizeOfInitSquare(q00.asArray(), q10.asArray(), q01.asArray(), q11.asArray());
  }

  void Eval(double s, double t, double* r) const {
    for (int k = 0; k < 3; ++k) r[k] = p00[k] + s * a[k] + t * b[k] + s * t * c[k];
  }
  double Dist2(double s, double t) const {
    double r[3];
    Eval(s, t, r);
    return Dot3(r, r);
  }
};

struct Best {
  double d2, s, t;
};

void Offer(Best& best, double d2, double s, double t) {
  if (d2 < best.d2) best = {d2, s, t};
}

// Nearest point of the straight edge from B(s0, t0) to B(s1, t1) of the cell; the query
// point is the origin of the cell's coordinates.
void OfferEdge(const Cell& cell, double s0, double t0, double s1, double t1, Best& best) {
  static const double kOrigin[3] = {0.0, 0.0, 0.0};
  double e0[3], e1[3], f = 0.0;
  cell.Eval(s0, t0, e0);
  cell.Eval(s1, t1, e1);
  const double d2 = DistancePoint2Segment(kOrigin, e0, e1, f);
  Offer(best, d2, s0 + f * (s1 - s0), t0 + f * (t1 - t0));
}

// Minimises |B(s, t) − p|² over the unit square from (s, t): Newton steps on the patch
// (its second derivatives are 0, 0 and c), Gauss–Newton where the Hessian is not positive
// definite, each step clamped to the square and halved until the distance does not grow.
void Descend(const Cell& cell, double s, double t, Best& best) {
  double f = cell.Dist2(s, t);
  for (int it = 0; it < kMaxNewton; ++it) {
    double r[3], bs[3], bt[3];
    cell.Eval(s, t, r);
    for (int k = 0; k < 3; ++k) {
      bs[k] = cell.a[k] + t * cell.c[k];
      bt[k] = cell.b[k] + s * cell.c[k];
    }
    const double gs = Dot3(bs, r), gt = Dot3(bt, r);
    const double hss = Dot3(bs, bs), htt = Dot3(bt, bt), hgn = Dot3(bs, bt);
    double hst = hgn + Dot3(r, cell.c);
    double det = hss * htt - hst * hst;
    if (!(hss > 0.0 && det > 1e-14 * hss * htt)) {
      hst = hgn;
      det = hss * htt - hst * hst;
      if (!(det > 1e-14 * hss * htt) || !(hss > 0.0)) break;  // a patch folded to a curve
    }
    double ds = -(htt * gs - hst * gt) / det, dt = -(hss * gt - hst * gs) / det;
    bool moved = false;
    for (int halve = 0; halve < 20; ++halve) {
      const double ns = std::clamp(s + ds, 0.0, 1.0), nt = std::clamp(t + dt, 0.0, 1.0);
      const double nf = cell.Dist2(ns, nt);
      if (nf <= f) {
        ds = ns - s, dt = nt - t;
        s = ns, t = nt, f = nf;
        moved = true;
        break;
      }
      ds *= 0.5, dt *= 0.5;
    }
    if (!moved) break;
    const double stepLen = std::sqrt(hss) * std::fabs(ds) + std::sqrt(htt) * std::fabs(dt);
    if (stepLen <= kStepRel * cell.size || (ds == 0.0 && dt == 0.0)) break;
  }
  Offer(best, f, s, t);
}

// The nearest point of one cell: its four edges exactly (the edges of a bilinear patch are
// straight), then the interior by descent from the centre and from the best edge point.
Best SearchCell(const Cell& cell) {
  Best best = {cell.Dist2(0.0, 0.0), 0.0, 0.0};
  if (!(cell.size > 0.0)) return best;  // collapsed to one point
  OfferEdge(cell, 0.0, 0.0, 1.0, 0.0, best);
  OfferEdge(cell, 0.0, 0.0, 0.0, 1.0, best);
  OfferEdge(cell, 1.0, 0.0, 1.0, 1.0, best);
  OfferEdge(cell, 0.0, 1.0, 1.0, 1.0, best);
  const Best edge = best;
  Descend(cell, 0.5, 0.5, best);
  Descend(cell, edge.s, edge.t, best);
  return best;
}

// Squared distance from p to the bounding box of the four corners: a lower bound of the
// distance to the cell, which lies in the convex hull of its corners.
double BoxDist2(const Point3D& q00, const Point3D& q10, const Point3D& q01, const Point3D& q11,
                const float* p) {
  double d2 = 0.0;
  for (int k = 0; k < 3; ++k) {
    const float c[4] = {q00.asArray()[k], q10.asArray()[k], q01.asArray()[k], q11.asArray()[k]};
    const double lo = *std::min_element(c, c + 4), hi = *std::max_element(c, c + 4);
    const double x = p[k];
    const double g = x < lo ? lo - x : (x > hi ? x - hi : 0.0);
    d2 += g * g;
  }
  return d2;
}

}  // namespace

void getPointOnNet(float u, float v, const Matrix<Point3D>& net, float* out) {
  const int i = static_cast<int>(u), j = static_cast<int>(v);
  const float fu = u - static_cast<float>(i), fv = v - static_cast<float>(j);
  const float* p = net(i, j).asArray();
  if (fu < kSnap && fv < kSnap) {
    for (int k = 0; k < 3; ++k) out[k] = p[k];
  } else if (fv < kSnap) {
    const float* pu = net(i + 1, j).asArray();
    for (int k = 0; k < 3; ++k) out[k] = (1.0f - fu) * p[k] + fu * pu[k];
  } else if (fu >= kSnap) {
    const float* pu = net(i + 1, j).asArray();
    const float* pv = net(i, j + 1).asArray();
    const float* puv = net(i + 1, j + 1).asArray();
    for (int k = 0; k < 3; ++k)
      out[k] = (1.0f - fv) * ((1.0f - fu) * p[k] + fu * pu[k]) +
               fv * ((1.0f - fu) * pv[k] + fu * puv[k]);
  } else {
    const float* pv = net(i, j + 1).asArray();
    for (int k = 0; k < 3; ++k) out[k] = (1.0f - fv) * p[k] + fv * pv[k];
  }
}

void GetNearestNetKnot(const float* p, const Matrix<Point3D>& net, int& i, int& j) {
  float best = 1e30f;
  for (int c = 0; c < net.cols(); ++c) {
    for (int r = 0; r < net.rows(); ++r) {
      const Point3D& q = net(r, c);
      const float dx = q.m_x - p[0], dy = q.m_y - p[1], dz = q.m_z - p[2];
      const float d2 = dx * dx + dy * dy + dz * dz;
      if (d2 < best) {
        best = d2;
        i = r;
        j = c;
      }
    }
  }
}

void GetNetNormal(const Matrix<Point3D>& net, int i, int j, Point3D& n, bool keepOrientation) {
  const int R = net.rows(), C = net.cols();
  if (R < 2 || C < 2 || i < 0 || i >= R || j < 0 || j >= C) {
    n = Point3D(0.0f, 0.0f, 0.0f);
    return;
  }
  int ai, aj, bi, bj;  // the knots a and b lead to
  if (j != C - 1) {
    if (i + 1 < R) {
      ai = i + 1, aj = j, bi = i, bj = j + 1;
    } else {
      ai = i, aj = j + 1, bi = i - 1, bj = j;
    }
  } else if (i > 0) {
    ai = i - 1, aj = j, bi = i, bj = j - 1;
  } else {
    ai = i, aj = j - 1, bi = i + 1, bj = j;
  }
  const Point3D& P = net(i, j);
  const float a[3] = {net(ai, aj).m_x - P.m_x, net(ai, aj).m_y - P.m_y, net(ai, aj).m_z - P.m_z};
  const float b[3] = {net(bi, bj).m_x - P.m_x, net(bi, bj).m_y - P.m_y, net(bi, bj).m_z - P.m_z};
  float c[3];
  REmath::detail::Cross3(a, b, c);
  if (!keepOrientation) c[0] = -c[0], c[1] = -c[1], c[2] = -c[2];
  NormalizeVector(c);
  n = Point3D(c[0], c[1], c[2]);
}

void ProjectPointToNet(const float* p, const Matrix<Point3D>& net, double& u, double& v) {
  const int R = net.rows(), C = net.cols();
  if (R < 1 || C < 1) return;
  // Cells are indexed by their first knot; a net of one row (column) has cells collapsed to
  // the segments between neighbouring knots of that row (column).
  const int cellRows = std::max(R - 1, 1), cellCols = std::max(C - 1, 1);
  auto knot = [&](int r, int c) -> const Point3D& {
    return net(std::min(r, R - 1), std::min(c, C - 1));
  };

  Best best = {HUGE_VAL, 0.0, 0.0};
  int bestI = 0, bestJ = 0;
  auto search = [&](int ci, int cj) {
    const Cell cell(knot(ci, cj), knot(ci + 1, cj), knot(ci, cj + 1), knot(ci + 1, cj + 1), p);
    const Best b = SearchCell(cell);
    if (b.d2 < best.d2) best = b, bestI = ci, bestJ = cj;
  };

  int ki = 0, kj = 0;
  GetNearestNetKnot(p, net, ki, kj);
  // The cells around the nearest knot, then every cell that may still hold a nearer point.
  const int ci0 = std::max(ki - 1, 0), ci1 = std::min(ki, cellRows - 1);
  const int cj0 = std::max(kj - 1, 0), cj1 = std::min(kj, cellCols - 1);
  for (int cj = cj0; cj <= cj1; ++cj)
    for (int ci = ci0; ci <= ci1; ++ci) search(ci, cj);
  for (int cj = 0; cj < cellCols; ++cj) {
    for (int ci = 0; ci < cellRows; ++ci) {
      if (ci >= ci0 && ci <= ci1 && cj >= cj0 && cj <= cj1) continue;
      const double lb =
          BoxDist2(knot(ci, cj), knot(ci + 1, cj), knot(ci, cj + 1), knot(ci + 1, cj + 1), p);
      if (lb < best.d2) search(ci, cj);
    }
  }
  // A collapsed direction has no second knot: its parameter is 0.
  u = R > 1 ? bestI + best.s : 0.0;
  v = C > 1 ? bestJ + best.t : 0.0;
}

double GetSizeOfInitSquare(const float* p00, const float* p10, const float* p01, const float* p11) {
  const float* q[4] = {p00, p10, p01, p11};
  double d2 = 0.0;
  for (int m = 0; m < 4; ++m) {
    for (int n = m + 1; n < 4; ++n) {
      double s = 0.0;
      for (int k = 0; k < 3; ++k) {
        const double d = double(q[m][k]) - q[n][k];
        s += d * d;
      }
      d2 = std::max(d2, s);
    }
  }
  return std::sqrt(d2);
}
