// SPDX-License-Identifier: MIT
#include <qvmath/geometry/arrange_points.h>

#include <cmath>
#include <cstddef>

namespace {

bool ValidRun(const std::vector<float>& pts, int first, int last, int minIntervals) {
  if (first < 0 || last - first < minIntervals) return false;
  return 2 * static_cast<std::size_t>(last) + 1 < pts.size();
}

}  // namespace

bool ArrangePointsOnCircle(std::vector<float>& pts, int first, int last) {
  if (!ValidRun(pts, first, last, 2)) return false;
  const int mid = first + (last - first) / 2;
  const double x0 = pts[2 * first], y0 = pts[2 * first + 1];
  const double xm = pts[2 * mid], ym = pts[2 * mid + 1];
  const double x1 = pts[2 * last], y1 = pts[2 * last + 1];
  // Inscribed angle at the middle point: the arc from the first to the last point through
  // the middle spans 2·(π − φ), with φ the angle P0–Pm–P1 (the arc that does not contain Pm
  // spans 2φ). atan2(|cross|, −dot) is π − φ directly, accurate also when it is tiny.
  const double ax = x0 - xm, ay = y0 - ym, bx = x1 - xm, by = y1 - ym;
  const double cross = ax * by - ay * bx;
  if (cross == 0.0 || !std::isfinite(cross)) return false;
  const double halfSweep = std::atan2(std::fabs(cross), -(ax * bx + ay * by));
  // Counter-clockwise when the turn P0 → Pm → P1 is to the left: cross(Pm − P0, P1 − Pm) > 0,
  // which is −cross.
  const double o = cross < 0.0 ? 1.0 : -1.0;
  // The chord from P0 to the point at angle θ along the arc has length |c|·sin(θ/2)/sin(Θ/2)
  // (c the whole chord, Θ the whole sweep) and makes the angle o·(θ − Θ)/2 with c.
  const double cx = x1 - x0, cy = y1 - y0;
  const double sinHalf = std::sin(halfSweep);
  const int n = last - first;
  for (int k = 1; k < n; ++k) {
    const double halfTheta = halfSweep * k / n;
    const double scale = std::sin(halfTheta) / sinHalf;
    const double rot = o * (halfTheta - halfSweep);
    const double cr = std::cos(rot), sr = std::sin(rot);
    pts[2 * (first + k)] = static_cast<float>(x0 + scale * (cr * cx - sr * cy));
    pts[2 * (first + k) + 1] = static_cast<float>(y0 + scale * (sr * cx + cr * cy));
  }
  return true;
}

bool ArrangePointsOnLine(std::vector<float>& pts, int first, int last) {
  if (!ValidRun(pts, first, last, 1)) return false;
  const double x0 = pts[2 * first], y0 = pts[2 * first + 1];
  const double cx = pts[2 * last] - x0, cy = pts[2 * last + 1] - y0;
  const int n = last - first;
  if (n >= 2 && cx == 0.0 && cy == 0.0) return false;
  for (int k = 1; k < n; ++k) {
    const double f = static_cast<double>(k) / n;
    pts[2 * (first + k)] = static_cast<float>(x0 + f * cx);
    pts[2 * (first + k) + 1] = static_cast<float>(y0 + f * cy);
  }
  return true;
}
