// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/geometry/contour_normal.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "geom_test_util.h"

TEST(DetectContourNormalTest, Properties_RightHandRule) {
  qvtest::TestRng rng(4411);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 200; ++trial) {
    // A noisy, roughly planar loop run counter-clockwise about n in the frame (u, v, n),
    // possibly far from the origin.
    const qvtest::V3 n = qvtest::RandomUnit(rng), t = qvtest::RandomUnit(rng);
    const qvtest::V3 u =
        qvtest::Scale(qvtest::Cross(n, t), 1 / std::sqrt(qvtest::Norm2(qvtest::Cross(n, t))));
    const qvtest::V3 v = qvtest::Cross(n, u);
    const double shift = trial % 2 ? 1e3 : 0;
    std::vector<REmath::Point3D> pts;
    const int count = rng.Int(3, 40);
    for (int k = 0; k < count; ++k) {
      const double a = 2 * 3.14159265358979323846 * (k + rng.Uniform(-0.3, 0.3)) / count;
      const double r = rng.Uniform(0.5, 2), h = rng.Uniform(-0.05, 0.05);
      qvtest::V3 p{shift, -shift, shift};
      for (int i = 0; i < 3; ++i)
        p[i] += r * std::cos(a) * u[i] + r * std::sin(a) * v[i] + h * n[i];
      pts.emplace_back(p[0], p[1], p[2]);
    }
    for (int dir : {1, -1}) {
      if (dir < 0) std::reverse(pts.begin(), pts.end());
      float got[3];
      ASSERT_TRUE(DetectContourNormal(pts, got));
      const qvtest::V3 g{got[0], got[1], got[2]};
      EXPECT_NEAR(qvtest::Norm2(g), 1, 1e-6);
      // Out-of-plane noise of 0.05 against radii ≥ 0.5 tilts the area vector by < 0.2 rad.
      EXPECT_GT(dir * qvtest::Dot(g, n), 0.98) << trial;
    }
  }
}

TEST(DetectContourNormalTest, Degenerate_NoArea) {
  const std::vector<std::vector<REmath::Point3D>> cases = {
      {}, {{1, 2, 3}, {4, 5, 6}}, {{0, 0, 0}, {1, 1, 1}, {3, 3, 3}, {2, 2, 2}}};
  for (const auto& pts : cases) {
    float n[3] = {7, 7, 7};
    EXPECT_FALSE(DetectContourNormal(pts, n));
    EXPECT_EQ(n[0] == 0 && n[1] == 0 && n[2] == 0, true);
  }
  EXPECT_FALSE(DetectContourNormal(cases[2], nullptr));
}
