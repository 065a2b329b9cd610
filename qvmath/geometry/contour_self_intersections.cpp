// SPDX-License-Identifier: MIT
// Pairwise segment test of a closed 2-D contour: parallel and collinear rules, then the
// crossing parameters of the two supporting lines.
#include <qvmath/geometry/contour_self_intersections.h>

#include <cmath>
#include <cstddef>

namespace {

// Relative tolerance of the parallel and collinear tests, and the parameter margin that
// keeps touching ends from counting; fixed values of the documented rule.
constexpr double kParallelTol = 1e-8;
constexpr double kParamLo = 1e-6;
constexpr double kParamHi = 0.999999;

struct V2 {
  double x, y;
};

V2 At(const std::vector<double>& xy, std::size_t i) { return {xy[2 * i], xy[2 * i + 1]}; }
V2 Minus(V2 a, V2 b) { return {a.x - b.x, a.y - b.y}; }
double Dot(V2 a, V2 b) { return a.x * b.x + a.y * b.y; }

bool SegmentsIntersect(V2 pi, V2 pi1, V2 pj, V2 pj1) {
  const V2 d = Minus(pi1, pi), e = Minus(pj1, pj), w = Minus(pj, pi);
  const double dd = Dot(d, d), ee = Dot(e, e), dot = Dot(d, e);
  const double k = dd * ee, den = k - dot * dot;
  if (std::fabs(den) <= kParallelTol * (k + dot * dot)) {
    if (std::fabs(w.x * d.y - w.y * d.x) > kParallelTol * (Dot(w, w) + dd)) return false;
    const V2 toEnd = Minus(pj1, pi);
    if (Dot(w, d) >= 0) return dd >= Dot(w, w) || Dot(toEnd, toEnd) <= dd;
    return Dot(toEnd, d) >= 0;
  }
  const double wd = Dot(w, d), we = Dot(w, e);
  const double t = (wd * ee - we * dot) / den;
  const double u = (dot * wd - we * dd) / den;
  return t >= kParamLo && t <= kParamHi && u >= kParamLo && u <= kParamHi;
}

}  // namespace

bool Check2dContourSelfIntersections(const std::vector<double>& xy) {
  const std::size_t n = xy.size() / 2;
  if (n < 5) return true;
  const std::size_t m = n - 1;
  for (std::size_t i = 0; i + 2 < m; ++i) {
    for (std::size_t j = i + 2; j < m; ++j) {
      if (i == 0 && j == m - 1) continue;
      if (SegmentsIntersect(At(xy, i), At(xy, i + 1), At(xy, j), At(xy, j + 1))) return false;
    }
  }
  return true;
}
