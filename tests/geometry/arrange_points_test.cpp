// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/geometry/arrange_points.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "geometry/geom_test_util.h"

namespace {

// A polyline with `pre` points before the run and `post` after it (random, to check they
// stay), and a run of n + 1 points on the circle (cx, cy, r) with angles a0 .. a1: the ends
// and the middle exactly at a0, at the angle of the middle index and at a1, the other
// interior points scattered off the circle and unevenly along it.
std::vector<float> ArcRun(qvtest::TestRng& rng, int pre, int n, int post, double cx, double cy,
                          double r, double a0, double a1) {
  std::vector<float> pts;
  for (int k = 0; k < pre; ++k)
    pts.push_back(float(rng.Uniform(-9, 9))), pts.push_back(float(rng.Uniform(-9, 9)));
  const int mid = n / 2;
  for (int k = 0; k <= n; ++k) {
    double f = double(k) / n, rr = r;
    if (k != 0 && k != mid && k != n) {
      f += rng.Uniform(-0.3, 0.3) / n;
      rr *= 1 + rng.Uniform(-0.05, 0.05);
    }
    const double a = a0 + (a1 - a0) * f;
    pts.push_back(float(cx + rr * std::cos(a)));
    pts.push_back(float(cy + rr * std::sin(a)));
  }
  for (int k = 0; k < post; ++k)
    pts.push_back(float(rng.Uniform(-9, 9))), pts.push_back(float(rng.Uniform(-9, 9)));
  return pts;
}

}  // namespace

TEST(ArrangePointsOnCircleTest, Properties_EqualAnglesOnTheCircleThroughEndsAndMiddle) {
  qvtest::TestRng rng(5331);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 400; ++trial) {
    const int pre = rng.Int(0, 3), post = rng.Int(0, 3), n = rng.Int(2, 12);
    const double cx = rng.Uniform(-5, 5), cy = rng.Uniform(-5, 5), r = rng.Uniform(0.5, 5);
    // Sweeps of either sense, up to 1.8π: arcs longer than a half circle included. The
    // middle point must be off the chord for n = 2 or 3, which any sweep above 0 gives.
    const double sweep = (rng.Uniform(0, 1) < 0.5 ? -1 : 1) * rng.Uniform(0.2, 1.8 * qvtest::kPi);
    const double a0 = rng.Uniform(0, 2 * qvtest::kPi), a1 = a0 + sweep;
    // The ends and the middle carry float rounding; the oracle reuses the exact ideal angles,
    // so the tolerance covers that rounding amplified by the circle's conditioning.
    std::vector<float> pts = ArcRun(rng, pre, n, post, cx, cy, r, a0, a1);
    const std::vector<float> before = pts;
    ASSERT_TRUE(ArrangePointsOnCircle(pts, pre, pre + n));
    // The middle's angle fraction is mid/n exactly, so the ideal arrangement is known.
    for (int k = 0; k <= n; ++k) {
      const double a = a0 + sweep * k / n;
      const float* q = &pts[2 * (pre + k)];
      EXPECT_TRUE(qvtest::Near3({q[0], q[1], 0}, {cx + r * std::cos(a), cy + r * std::sin(a), 0},
                                2e-4 * (r + 5)))
          << "point " << k << " of " << n;
    }
    // Ends and points outside the run are bit-for-bit unchanged.
    EXPECT_TRUE(std::equal(pts.begin(), pts.begin() + 2 * pre + 2, before.begin()));
    EXPECT_TRUE(std::equal(pts.begin() + 2 * (pre + n), pts.end(), before.begin() + 2 * (pre + n)));
  }
}

TEST(ArrangePointsOnCircleTest, Degenerate_NoCircleOrBadRunGivesFalse) {
  std::vector<float> line = {0, 0, 1, 1, 5, 5, 2, 2, 4, 4};  // ends and middle collinear
  const std::vector<float> keep = line;
  EXPECT_FALSE(ArrangePointsOnCircle(line, 0, 4));
  EXPECT_EQ(line, keep);
  std::vector<float> closed = {0, 0, 1, 0, 1, 1, 0, 1, 0, 0};  // first == last
  EXPECT_FALSE(ArrangePointsOnCircle(closed, 0, 4));
  // Two points; before the start; past the end; reversed.
  std::vector<float> arc = {1, 0, 0.7f, 0.7f, 0, 1, -0.7f, 0.7f, -1, 0};
  const std::vector<float> arcKeep = arc;
  for (const auto& [first, last] :
       std::vector<std::pair<int, int>>{{0, 1}, {-1, 3}, {2, 5}, {3, 1}})
    EXPECT_FALSE(ArrangePointsOnCircle(arc, first, last)) << first << " " << last;
  EXPECT_EQ(arc, arcKeep);
  std::vector<float> odd = {1, 0, 0, 1, -1, 0, 5};  // a dangling coordinate is not a point
  EXPECT_FALSE(ArrangePointsOnCircle(odd, 1, 3));
  EXPECT_TRUE(ArrangePointsOnCircle(odd, 0, 2));
}

TEST(ArrangePointsOnLineTest, Properties_EqualSpacingOnTheChord) {
  qvtest::TestRng rng(5333);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 300; ++trial) {
    const int n = rng.Int(1, 15), pre = rng.Int(0, 2);
    std::vector<float> pts;
    for (int k = 0; k < 2 * (pre + n + 1 + 2); ++k) pts.push_back(float(rng.Uniform(-10, 10)));
    const std::vector<float> before = pts;
    ASSERT_TRUE(ArrangePointsOnLine(pts, pre, pre + n));
    const double x0 = before[2 * pre], y0 = before[2 * pre + 1];
    const double x1 = before[2 * (pre + n)], y1 = before[2 * (pre + n) + 1];
    // The nearest float to the exact point (k/n steps in double); the rest unchanged.
    for (int k = 0; k <= n; ++k) {
      EXPECT_EQ(pts[2 * (pre + k)], float(x0 + (x1 - x0) * (double(k) / n)));
      EXPECT_EQ(pts[2 * (pre + k) + 1], float(y0 + (y1 - y0) * (double(k) / n)));
    }
    EXPECT_TRUE(std::equal(pts.begin(), pts.begin() + 2 * pre, before.begin()));
    EXPECT_TRUE(
        std::equal(pts.begin() + 2 * (pre + n + 1), pts.end(), before.begin() + 2 * (pre + n + 1)));
  }
}

TEST(ArrangePointsOnLineTest, Degenerate_ZeroChordAndBadRuns) {
  // An interior point but no chord direction: false; nothing to move: true; bad runs.
  std::vector<float> loop = {3, 4, 0, 0, 3, 4};
  const std::vector<float> keep = loop;
  EXPECT_TRUE(!ArrangePointsOnLine(loop, 0, 2) && ArrangePointsOnLine(loop, 0, 1));
  EXPECT_EQ(loop, keep);
  EXPECT_FALSE(ArrangePointsOnLine(loop, 1, 1) || ArrangePointsOnLine(loop, 0, 3) ||
               ArrangePointsOnLine(loop, -1, 1));
}
