// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/geometry/contour_normal.h>

#include <algorithm>
#include <vector>

TEST(DetectContourNormalTest, Regions_RightHandRuleAndNoArea) {
  // Loops run counter-clockwise about n: a square far from the origin, a non-convex loop in
  // the y-z plane, a triangle across the axes. Reversed, each must give −n.
  const struct {
    std::vector<REmath::Point3D> pts;
    float n[3];
  } cases[] = {
      {{{1000, 1000, 5}, {1002, 1000, 5}, {1002, 1001, 5}, {1000, 1001, 5}}, {0, 0, 1}},
      {{{0, 0, 0}, {0, 4, 0}, {0, 4, 4}, {0, 2, 1}, {0, 0, 4}}, {1, 0, 0}},
      {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {0.57735027f, 0.57735027f, 0.57735027f}},
  };
  for (const auto& tc : cases) {
    auto pts = tc.pts;
    for (float sign : {1.0f, -1.0f}) {
      float g[3];
      ASSERT_TRUE(DetectContourNormal(pts, g));
      for (int i = 0; i < 3; ++i) EXPECT_NEAR(g[i], sign * tc.n[i], 1e-6);
      std::reverse(pts.begin(), pts.end());
    }
  }
  float n[3] = {7, 7, 7};  // no area: false and a zero normal
  EXPECT_FALSE(DetectContourNormal({{0, 0, 0}, {1, 1, 1}, {3, 3, 3}, {2, 2, 2}}, n));
  EXPECT_TRUE(n[0] == 0 && n[1] == 0 && n[2] == 0 && !DetectContourNormal({}, n));
  EXPECT_FALSE(DetectContourNormal({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, nullptr));
}
