// SPDX-License-Identifier: MIT
#include <qvmath/geometry/contour_self_intersections.h>

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

// A closed ring of n points at radii alternating rOdd, rEven, visited with the given
// step around the circle (step 2 of 5 is a pentagram); the first point is repeated.
std::vector<double> Ring(int n, int step, double rEven, double rOdd) {
  std::vector<double> xy;
  for (int k = 0; k <= n; ++k) {
    const double a = 2 * 3.14159265358979323846 * (k * step % n) / n, r = k % 2 ? rOdd : rEven;
    xy.push_back(r * std::cos(a)), xy.push_back(r * std::sin(a));
  }
  return xy;
}

}  // namespace

TEST(Check2dContourSelfIntersectionsTest, Regions_Table) {
  const struct {
    const char* name;
    std::vector<double> xy;
    bool simple;
  } cases[] = {
      {"figure-eight", {0, 0, 2, 2, 2, 0, 0, 2, 0, 0}, false},
      {"square", {0, 0, 1, 0, 1, 1, 0, 1, 0, 0}, true},
      {"convex 12-gon", Ring(12, 1, 1, 1), true},
      {"pentagram", Ring(5, 2, 1, 1), false},
      {"simple star", Ring(10, 1, 1, 0.4), true},
      {"four points", {0, 0, 2, 2, 2, 0, 0, 2}, true},
      // Two loops meeting only at the vertex (1, 1): touching ends do not count.
      {"touching vertex", {0, 0, 2, 0, 1, 1, 2, 3, 0, 3, 1, 1, 0, 0}, true},
      // Collinear overlaps ahead of and behind the first segment's start.
      {"collinear ahead", {0, 0, 4, 0, 4, 2, 2, 2, 2, 0, 3, 0, 3, -1, 0, -1, 0, 0}, false},
      {"collinear behind", {0, 0, 4, 0, 4, 2, -1, 2, -1, 0, 1, 0, 1, -1, 0, -1, 0, 0}, false},
      {"collinear apart", {0, 0, 4, 0, 4, 1, 6, 1, 6, 0, 5, 0, 5, -1, 0, -1, 0, 0}, true},
      // The first and last segments overlap, but that pair is never tested.
      {"closing pair skipped", {0, 0, 4, 0, 4, 2, 3, 2, 3, 0, 0, 0}, true},
  };
  for (const auto& tc : cases)
    EXPECT_EQ(Check2dContourSelfIntersections(tc.xy), tc.simple) << tc.name;
}
