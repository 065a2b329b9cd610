// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/geometry/contour_self_intersections.h>

#include <vector>

TEST(Check2dContourSelfIntersectionsTest, Regions_Table) {
  const struct {
    std::vector<double> xy;
    bool simple;
  } cases[] = {
      {{0, 0, 4, 2, 4, 0, 0, 2, 0, 0}, false},                         // figure-eight
      {{0, 0, 2, 4, 4, 0, -1, 3, 5, 3, 0, 0}, false},                  // pentagram
      {{0, 0, 3, 0, 5, 2, 4, 5, 1, 4, -1, 2, 0, 0}, true},             // convex
      {{0, 0, 2, 1, 4, 0, 3, 2, 4, 4, 2, 3, 0, 4, 1, 2, 0, 0}, true},  // star
      {{0, 0, 2, 2, 2, 0, 0, 2}, true},  // four points: nothing to check
      // Two loops meeting only at the vertex (1, 1): touching ends do not count.
      {{0, 0, 2, 0, 1, 1, 2, 3, 0, 3, 1, 1, 0, 0}, true},
      // Collinear with segment 0 = (0, 0)–(4, 0): starting on it (1e-9 off, within the
      // tolerance), ending on it, neither; behind its start, ending exactly at it.
      {{0, 0, 4, 0, 4, 2, 2, 2, 2, 1e-9, 6, 1e-9, 6, -1, 0, -1, 0, 0}, false},
      {{0, 0, 4, 0, 4, 1, 6, 1, 6, 0, 3, 0, 3, -1, 0, -1, 0, 0}, false},
      {{0, 0, 4, 0, 4, 1, 6, 1, 6, 0, 5, 0, 5, -1, 0, -1, 0, 0}, true},
      {{0, 0, 4, 0, 4, 2, -2, 2, -2, 0, 0, 0, 0, -1, 1, -1, 0, 0}, false},
      // The first and last segments overlap, but that pair is never tested.
      {{0, 0, 4, 0, 4, 2, 3, 2, 3, 0, 0, 0}, true},
  };
  for (const auto& tc : cases) EXPECT_EQ(Check2dContourSelfIntersections(tc.xy), tc.simple);
}
