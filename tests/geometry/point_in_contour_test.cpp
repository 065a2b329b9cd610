// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/geometry/point_in_contour.h>

#include <cmath>
#include <vector>

#include "test_util.h"

TEST(PointInContourTest, Properties_ParityOfWindingNumberAndNoClosing) {
  qvtest::TestRng rng(8817);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 300; ++trial) {
    // Closed, often self-intersecting polygons on an integer grid without vertical edges; odd
    // queries share an abscissa with vertices (the nudge decides), none lies on an edge.
    std::vector<double> xy;
    const int n = rng.Int(3, 9);
    for (int k = 0; k < n; ++k) {
      int x = rng.Int(0, 10);
      while ((k > 0 && x == xy[2 * k - 2]) || (k == n - 1 && x == xy[0])) x = rng.Int(0, 10);
      xy.insert(xy.end(), {double(x), double(rng.Int(0, 10))});
    }
    xy.insert(xy.end(), {xy[0], xy[1]});
    for (int q = 0; q < 30; ++q) {
      const double x = q % 2 ? rng.Int(0, 10) : rng.Uniform(-1, 11), y = rng.Uniform(-1, 11);
      double turn = 0;  // oracle: the winding number, whose parity is the crossing parity
      for (int k = 0; k < 2 * n; k += 2)
        turn += std::atan2((xy[k] - x) * (xy[k + 3] - y) - (xy[k + 1] - y) * (xy[k + 2] - x),
                           (xy[k] - x) * (xy[k + 2] - x) + (xy[k + 1] - y) * (xy[k + 3] - y));
      ASSERT_EQ(isPointInContour(x, y, xy), std::lround(turn / 6.283185307179586) % 2 != 0)
          << trial;
    }
  }
  // No automatic closing: an unclosed triangle is two edges, two vertices one.
  EXPECT_FALSE(isPointInContour(2, 2, {0, 4, 2, 0, 4, 4}));  // the top edge is missing
  EXPECT_TRUE(isPointInContour(2, 2, {0, 4, 2, 0, 4, 4, 0, 4}));
  EXPECT_TRUE(isPointInContour(0.5, -1, {0, 0, 1, 0}));  // one edge
  EXPECT_FALSE(isPointInContour(0, -1, {0, 0}));
}
