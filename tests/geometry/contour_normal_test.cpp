// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/geometry/contour_normal.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "geom_test_util.h"

TEST(DetectContourNormalTest, Properties_RightHandRule) {
  using namespace qvtest;
  TestRng rng(4411);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 200; ++trial) {
    // A noisy loop run counter-clockwise about n in the frame (u, v, n), 1e3 from the
    // origin in every other trial.
    const V3 n = RandomUnit(rng), w = Cross(n, RandomUnit(rng));
    const V3 u = Scale(w, 1 / std::sqrt(Norm2(w))), v = Cross(n, u);
    std::vector<REmath::Point3D> pts;
    for (int k = 0, count = rng.Int(3, 40); k < count; ++k) {
      const double a = 2 * 3.14159265358979323846 * (k + rng.Uniform(-0.3, 0.3)) / count;
      const double r = rng.Uniform(0.5, 2), h = rng.Uniform(-0.05, 0.05) + trial % 2 * 1e3;
      const V3 p = Add(Add(Scale(u, r * std::cos(a)), Scale(v, r * std::sin(a))), Scale(n, h));
      pts.emplace_back(p[0], p[1], p[2]);
    }
    // Heights of ±0.05 against radii ≥ 0.5 tilt the area vector by well under 0.2 rad.
    for (double sign : {1, -1}) {
      float g[3];
      ASSERT_TRUE(DetectContourNormal(pts, g));
      EXPECT_NEAR(Norm2(ToV3(g)), 1, 1e-6);
      EXPECT_GT(sign * Dot(ToV3(g), n), 0.98) << trial;
      std::reverse(pts.begin(), pts.end());
    }
  }
}

TEST(DetectContourNormalTest, Degenerate_NoArea) {
  float n[3] = {7, 7, 7};
  EXPECT_FALSE(DetectContourNormal({}, n));
  EXPECT_FALSE(DetectContourNormal({{0, 0, 0}, {1, 1, 1}, {3, 3, 3}, {2, 2, 2}}, n));
  EXPECT_TRUE(n[0] == 0 && n[1] == 0 && n[2] == 0);
  EXPECT_FALSE(DetectContourNormal({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, nullptr));
}
