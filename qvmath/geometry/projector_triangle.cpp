// SPDX-License-Identifier: MIT
#include <qvmath/core/detail/vec3.h>
#include <qvmath/geometry/local_frame.h>
#include <qvmath/geometry/projector_triangle.h>

#include <algorithm>
#include <cmath>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace REmath {

namespace {

using detail::Dot3;

// Squared distance from w to the segment from the origin to d (in-plane), with the cached
// reciprocal 1/|d|² (0 for a zero-length edge, which then measures |w|²). The parameter is
// clamped rather than branched on (random queries would mispredict region branches), and
// in double the remainder w − t·d keeps far more digits than the float result needs.
// Only the portable path (no SSE2) calls it.
[[maybe_unused]] inline double EdgeDist2(double wx, double wy, double dx, double dy, double invL) {
  const double t = std::min(std::max((wx * dx + wy * dy) * invL, 0.0), 1.0);
  const double rx = wx - t * dx, ry = wy - t * dy;
  return rx * rx + ry * ry;
}

}  // namespace

CProjectorTriangle::CProjectorTriangle()
    : m_precalced(false),
      m_side2{0.0, 0.0, 0.0},
      m_xyRows{{1.0, 0.0}, {0.0, 1.0}, {0.0, 0.0}, {0.0, 0.0}},
      m_edgeOrg{{0.0, 0.0}, {0.0, 0.0}},
      m_edgeDir{{0.0, 0.0}, {0.0, 0.0}},
      m_edgeInv{0.0, 0.0},
      m_invAB(0.0),
      m_bx(0.0),
      m_by(0.0),
      m_outside(HUGE_VAL) {}

CProjectorTriangle::CProjectorTriangle(const Point3D& a, const Point3D& b, const Point3D& c)
    : CProjectorTriangle() {
  SetTriangle(a, b, c);
}

void CProjectorTriangle::SetTriangle(const Point3D& a, const Point3D& b, const Point3D& c) {
  m_v[0] = a;
  m_v[1] = b;
  m_v[2] = c;
  m_precalced = false;
}

void CProjectorTriangle::PreCalc() {
  double A[3], e1[3], e2[3], e3[3];
  for (int k = 0; k < 3; ++k) {
    A[k] = m_v[0].asArray()[k];
    e1[k] = double(m_v[1].asArray()[k]) - A[k];
    e2[k] = double(m_v[2].asArray()[k]) - A[k];
    e3[k] = double(m_v[2].asArray()[k]) - m_v[1].asArray()[k];
  }
  m_side2[0] = Dot3(e1, e1);
  m_side2[1] = Dot3(e3, e3);
  m_side2[2] = Dot3(e2, e2);
  double n[3];
  detail::Cross3(e1, e2, n);
  const double nn = Dot3(n, n);
  double x[3], y[3], z[3];
  const bool flat = !(nn > 0.0);
  if (!flat) {
    const double l1 = std::sqrt(m_side2[0]), ln = std::sqrt(nn);
    for (int k = 0; k < 3; ++k) x[k] = e1[k] / l1, z[k] = n[k] / ln;
  } else {
    // Zero area: the vertices lie on a line through A (or coincide). Any frame with x along
    // that line keeps them in z = 0; the perpendiculars come from the default construction.
    const double* along = m_side2[0] >= m_side2[2] ? e1 : e2;
    const double l = std::sqrt(std::max(m_side2[0], m_side2[2]));
    if (l > 0.0) {
      for (int k = 0; k < 3; ++k) x[k] = along[k] / l;
    } else {
      x[0] = 1.0, x[1] = 0.0, x[2] = 0.0;
    }
    BuildDefPerpendicular(x, z);
  }
  detail::Cross3(z, x, y);
  m_frame.m.setRow(0, Point3D_d(x[0], x[1], x[2]));
  m_frame.m.setRow(1, Point3D_d(y[0], y[1], y[2]));
  m_frame.m.setRow(2, Point3D_d(z[0], z[1], z[2]));
  for (int r = 0; r < 3; ++r) m_frame.t[r] = -Dot3(m_frame.m.m[r], A);
  auto inv = [](double l2) { return l2 > 0.0 ? 1.0 / l2 : 0.0; };
  m_bx = Dot3(x, e1);
  m_by = flat ? Dot3(y, e1) : 0.0;  // exactly 0 by construction when x is along AB
  const double cx = Dot3(x, e2), cy = Dot3(y, e2);
  for (int k = 0; k < 3; ++k) m_xyRows[k][0] = x[k], m_xyRows[k][1] = y[k];
  m_xyRows[3][0] = m_frame.t[0], m_xyRows[3][1] = m_frame.t[1];
  m_edgeOrg[0][0] = 0.0, m_edgeOrg[0][1] = m_bx;
  m_edgeOrg[1][0] = 0.0, m_edgeOrg[1][1] = m_by;
  m_edgeDir[0][0] = cx, m_edgeDir[0][1] = cx - m_bx;
  m_edgeDir[1][0] = cy, m_edgeDir[1][1] = cy - m_by;
  m_edgeInv[0] = inv(m_side2[2]), m_edgeInv[1] = inv(m_side2[1]);
  m_invAB = inv(m_side2[0]);
  m_outside = flat ? HUGE_VAL : 0.0;
  m_precalced = true;
}

float CProjectorTriangle::DistToTriangle2(const float* p) {
  if (!m_precalced) PreCalc();
  return DistToTriangle2Precalced(p);
}

// The query: local coordinates rounded to float, the inside test with the outward normals
// of the counter-clockwise outline A, B, C in the frame (AB → (0, −1), CA → (−cy, cx),
// BC → (cy, −(cx − bx)); unnormalised, only the signs matter), and outside it the least of
// the three clamped edge distances (the distance to a convex outline), selected without
// branches. The SSE2 body computes the x and y rows and the edges AC and BC in the two
// lanes of a double vector; every lane performs the operations of the scalar body in the
// same order, so both give the same bits.
float CProjectorTriangle::DistToTriangle2Precalced(const float* p) const {
#if !defined(__SSE2__)
  return DistToTriangle2PrecalcedScalar(p);
#else
  const double(&m)[3][3] = m_frame.m.m;
  const double px = p[0], py = p[1], pz = p[2];
  const float zf = float(m[2][0] * px + m[2][1] * py + m[2][2] * pz + m_frame.t[2]);
  const double z2 = double(zf) * zf;
  const __m128d vpx = _mm_set1_pd(px), vpy = _mm_set1_pd(py), vpz = _mm_set1_pd(pz);
  __m128d xy = _mm_add_pd(_mm_mul_pd(_mm_loadu_pd(m_xyRows[0]), vpx),
                          _mm_mul_pd(_mm_loadu_pd(m_xyRows[1]), vpy));
  xy = _mm_add_pd(_mm_add_pd(xy, _mm_mul_pd(_mm_loadu_pd(m_xyRows[2]), vpz)),
                  _mm_loadu_pd(m_xyRows[3]));
  xy = _mm_cvtps_pd(_mm_cvtpd_ps(xy));  // rounded to float
  const __m128d x = _mm_unpacklo_pd(xy, xy), y = _mm_unpackhi_pd(xy, xy);
  const __m128d zero = _mm_setzero_pd(), one = _mm_set1_pd(1.0);
  // Lanes (AC, BC).
  const __m128d wx = _mm_sub_pd(x, _mm_loadu_pd(m_edgeOrg[0]));
  const __m128d wy = _mm_sub_pd(y, _mm_loadu_pd(m_edgeOrg[1]));
  const __m128d dx = _mm_loadu_pd(m_edgeDir[0]), dy = _mm_loadu_pd(m_edgeDir[1]);
  __m128d t =
      _mm_mul_pd(_mm_add_pd(_mm_mul_pd(wx, dx), _mm_mul_pd(wy, dy)), _mm_loadu_pd(m_edgeInv));
  t = _mm_min_pd(_mm_max_pd(t, zero), one);
  const __m128d rx = _mm_sub_pd(wx, _mm_mul_pd(t, dx)), ry = _mm_sub_pd(wy, _mm_mul_pd(t, dy));
  const __m128d dPair = _mm_add_pd(_mm_mul_pd(rx, rx), _mm_mul_pd(ry, ry));
  // Signed sides: CA = dx·wy − dy·wx; BC = −(dx·wy − dy·wx) (an exact negation).
  const __m128d cr = _mm_sub_pd(_mm_mul_pd(dx, wy), _mm_mul_pd(dy, wx));
  const __m128d sides = _mm_xor_pd(cr, _mm_set_pd(-0.0, 0.0));
  // AB in the low lane.
  const __m128d bx = _mm_set_sd(m_bx), by = _mm_set_sd(m_by);
  __m128d tab = _mm_mul_sd(_mm_add_sd(_mm_mul_sd(x, bx), _mm_mul_sd(y, by)), _mm_set_sd(m_invAB));
  tab = _mm_min_sd(_mm_max_sd(tab, zero), one);
  const __m128d rax = _mm_sub_sd(x, _mm_mul_sd(tab, bx)), ray = _mm_sub_sd(y, _mm_mul_sd(tab, by));
  const __m128d dAB = _mm_add_sd(_mm_mul_sd(rax, rax), _mm_mul_sd(ray, ray));
  const __m128d sAB = _mm_sub_sd(_mm_set_sd(m_outside), y);
  const __m128d edge = _mm_min_sd(dAB, _mm_min_sd(dPair, _mm_unpackhi_pd(dPair, dPair)));
  const __m128d inPair = _mm_cmple_pd(sides, zero);
  const __m128d inside =
      _mm_and_pd(_mm_cmple_sd(sAB, zero), _mm_and_pd(inPair, _mm_unpackhi_pd(inPair, inPair)));
  return float(_mm_cvtsd_f64(_mm_add_sd(_mm_set_sd(z2), _mm_andnot_pd(inside, edge))));
#endif
}

float CProjectorTriangle::DistToTriangle2PrecalcedScalar(const float* p) const {
  const double(&m)[3][3] = m_frame.m.m;
  const double px = p[0], py = p[1], pz = p[2];
  const float zf = float(m[2][0] * px + m[2][1] * py + m[2][2] * pz + m_frame.t[2]);
  const double z2 = double(zf) * zf;
  const float xf = float(m[0][0] * px + m[0][1] * py + m[0][2] * pz + m_frame.t[0]);
  const float yf = float(m[1][0] * px + m[1][1] * py + m[1][2] * pz + m_frame.t[1]);
  const double x = xf, y = yf;
  const double cx = m_edgeDir[0][0], cy = m_edgeDir[1][0];
  const double bcx = m_edgeDir[0][1], bcy = m_edgeDir[1][1];
  const double wx = x - m_bx, wy = y - m_by;
  const double crCA = cx * y - cy * x, crBC = bcx * wy - bcy * wx;
  const bool inside = (m_outside - y <= 0.0) & (crCA <= 0.0) & (-crBC <= 0.0);
  const double edge = std::min(EdgeDist2(x, y, m_bx, m_by, m_invAB),
                               std::min(EdgeDist2(x - 0.0, y - 0.0, cx, cy, m_edgeInv[0]),
                                        EdgeDist2(wx, wy, bcx, bcy, m_edgeInv[1])));
  return float(z2 + (inside ? 0.0 : edge));
}

double CProjectorTriangle::GetMaxSideLen2() const {
  return std::max({m_side2[0], m_side2[1], m_side2[2]});
}

}  // namespace REmath
