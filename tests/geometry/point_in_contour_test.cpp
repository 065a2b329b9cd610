// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/geometry/point_in_contour.h>

#include <cmath>
#include <vector>

#include "test_util.h"

TEST(PointInContourTest, Properties_ParityOfWindingNumber) {
  qvtest::TestRng rng(8817);
  SCOPED_TRACE(rng.Trace());
  int inside = 0, checked = 0;
  for (int trial = 0; trial < 300; ++trial) {
    // Random, often self-intersecting closed polygons on an integer grid without vertical
    // edges; half the queries share an abscissa with vertices, where the nudge decides. The
    // random ordinates keep the queries off the edges.
    std::vector<double> xy;
    const int n = rng.Int(3, 9);
    for (int k = 0; k < n; ++k) {
      int x = rng.Int(0, 10);
      while ((k > 0 && x == xy[2 * k - 2]) || (k == n - 1 && x == xy[0])) x = rng.Int(0, 10);
      xy.push_back(x), xy.push_back(rng.Int(0, 10));
    }
    xy.push_back(xy[0]), xy.push_back(xy[1]);
    for (int q = 0; q < 30; ++q) {
      const double x = q % 2 ? rng.Int(0, 10) : rng.Uniform(-1, 11), y = rng.Uniform(-1, 11);
      // Oracle: the winding number from the summed angles the edges subtend; its parity is
      // the crossing parity.
      double turn = 0;
      for (int k = 0; k < n; ++k) {
        const double ax = xy[2 * k] - x, ay = xy[2 * k + 1] - y;
        const double bx = xy[2 * k + 2] - x, by = xy[2 * k + 3] - y;
        turn += std::atan2(ax * by - ay * bx, ax * bx + ay * by);
      }
      const bool want = std::lround(turn / (2 * 3.14159265358979323846)) % 2 != 0;
      ASSERT_EQ(isPointInContour(x, y, xy), want) << x << ", " << y << " trial " << trial;
      inside += want, ++checked;
    }
  }
  EXPECT_GT(inside, checked / 10);  // the sample covers both answers
}

TEST(PointInContourTest, Degenerate_NoAutomaticClosing) {
  EXPECT_FALSE(isPointInContour(2, 2, {0, 4, 2, 0, 4, 4}));  // the top edge is missing
  EXPECT_TRUE(isPointInContour(2, 2, {0, 4, 2, 0, 4, 4, 0, 4}));
  EXPECT_FALSE(isPointInContour(0, 0, {0, 0}));
}
