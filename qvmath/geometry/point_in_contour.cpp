// SPDX-License-Identifier: MIT
// Crossing-number point-in-contour test with nudged vertices.
#include <qvmath/geometry/point_in_contour.h>

#include <cstddef>

bool isPointInContour(double x, double y, const std::vector<double>& xy) {
  const std::size_t n = xy.size() / 2;
  if (n < 2) return false;
  // A vertex on the ray's line is moved right by a fixed 1e-10 so that two edges meeting
  // there see it on the same side; the exact equality test is the documented behaviour.
  constexpr double kNudge = 1e-10;
  bool inside = false;
  for (std::size_t k = 0; k + 1 < n; ++k) {
    const double ya = xy[2 * k + 1], yb = xy[2 * k + 3];
    double xa = xy[2 * k], xb = xy[2 * k + 2];
    if (x == xa) xa += kNudge;
    if (x == xb) xb += kNudge;
    if ((x < xa && x < xb) || (x > xa && x > xb)) continue;
    // Reached with xa == xb only when the nudge is lost in rounding (x == xa == xb): the
    // interpolation would be 0/0, and the edge, vertical on the ray, is not counted.
    if (xa == xb) continue;
    const double yi = ya + (yb - ya) * (x - xa) / (xb - xa);
    if (yi >= y) inside = !inside;
  }
  return inside;
}
