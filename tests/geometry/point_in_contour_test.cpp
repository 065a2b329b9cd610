// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/geometry/point_in_contour.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "test_util.h"

namespace {

// Winding number of the closed contour xy (last vertex repeating the first) about (x, y),
// from the summed angles the edges subtend; its parity is the crossing parity.
int WindingNumber(double x, double y, const std::vector<double>& xy) {
  double sum = 0;
  for (std::size_t k = 0; k + 3 < xy.size(); k += 2) {
    const double ax = xy[k] - x, ay = xy[k + 1] - y, bx = xy[k + 2] - x, by = xy[k + 3] - y;
    sum += std::atan2(ax * by - ay * bx, ax * bx + ay * by);
  }
  return int(std::lround(sum / (2 * 3.14159265358979323846)));
}

double DistToEdges(double x, double y, const std::vector<double>& xy) {
  double best = 1e300;
  for (std::size_t k = 0; k + 3 < xy.size(); k += 2) {
    const double dx = xy[k + 2] - xy[k], dy = xy[k + 3] - xy[k + 1];
    const double t =
        std::clamp(((x - xy[k]) * dx + (y - xy[k + 1]) * dy) / (dx * dx + dy * dy), 0.0, 1.0);
    best = std::min(best, std::hypot(xy[k] + t * dx - x, xy[k + 1] + t * dy - y));
  }
  return best;
}

}  // namespace

TEST(PointInContourTest, Properties_ParityOfWindingNumber) {
  qvtest::TestRng rng(8817);
  SCOPED_TRACE(rng.Trace());
  int inside = 0, checked = 0;
  for (int trial = 0; trial < 300; ++trial) {
    // Random, often self-intersecting polygons on an integer grid, so that many query
    // abscissae hit a vertex exactly and the nudge decides.
    std::vector<double> xy;
    const int n = rng.Int(3, 9);
    for (int k = 0; k < 2 * n; ++k) xy.push_back(rng.Int(0, 10));
    xy.push_back(xy[0]), xy.push_back(xy[1]);
    for (int q = 0; q < 30; ++q) {
      const double x = q % 2 ? rng.Int(0, 10) : rng.Uniform(-1, 11), y = rng.Uniform(-1, 11);
      if (DistToEdges(x, y, xy) < 1e-6) continue;
      const bool want = WindingNumber(x, y, xy) % 2 != 0;
      ASSERT_EQ(isPointInContour(x, y, xy), want) << x << ", " << y << " trial " << trial;
      inside += want, ++checked;
    }
  }
  EXPECT_GT(inside, checked / 10);  // the sample covers both answers
}

TEST(PointInContourTest, Degenerate_NoAutomaticClosing) {
  const std::vector<double> open = {0, 4, 2, 0, 4, 4};  // the top edge is missing
  std::vector<double> closed = open;
  closed.insert(closed.end(), {0, 4});
  EXPECT_FALSE(isPointInContour(2, 2, open));
  EXPECT_TRUE(isPointInContour(2, 2, closed));
  EXPECT_FALSE(isPointInContour(0, 0, {0, 0}));
}
