// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/geometry/split_contour.h>

#include <cmath>
#include <utility>
#include <vector>

#include "contour_test_util.h"

namespace {

using REmath::Point3D_d;
using Pieces = std::vector<std::vector<Point3D_d>>;

// n points of the circle (cx, cy, r) from angle a0 to a1, both ends included.
void Arc(std::vector<Point3D_d>& out, double cx, double cy, double r, double a0, double a1, int n) {
  for (int k = 0; k < n; ++k) {
    const double a = a0 + (a1 - a0) * k / (n - 1);
    out.emplace_back(cx + r * std::cos(a), cy + r * std::sin(a), 0.0);
  }
}

// The pieces P[s], ..., P[s + len] (modulo n) for each (s, len).
Pieces Expected(const std::vector<Point3D_d>& p, const std::vector<std::pair<int, int>>& runs) {
  Pieces out;
  for (const auto& [s, len] : runs) {
    out.emplace_back();
    for (int k = 0; k <= len; ++k) out.back().push_back(p[(s + k) % p.size()]);
  }
  return out;
}

bool Same(const std::vector<Point3D_d>& a, const std::vector<Point3D_d>& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i)
    if (a[i].m_x != b[i].m_x || a[i].m_y != b[i].m_y || a[i].m_z != b[i].m_z) return false;
  return true;
}

}  // namespace

TEST(SplitContourByCornersTest, Regions_PiecesBetweenCorners) {
  constexpr double kPi = 3.14159265358979323846;
  // A lens with its tips at indices 3 and 12 of 20: 9 steps along the upper arc, 11 back.
  std::vector<Point3D_d> lens;
  Arc(lens, 0, 1, std::sqrt(2.0), -0.25 * kPi - 0.5 * kPi * 8 / 11, -0.75 * kPi, 4);
  Arc(lens, 0, -1, std::sqrt(2.0), 0.75 * kPi - 0.5 * kPi / 9, 0.25 * kPi, 9);
  Arc(lens, 0, 1, std::sqrt(2.0), -0.25 * kPi - 0.5 * kPi / 11, -0.25 * kPi - 0.5 * kPi * 7 / 11,
      7);
  // A teardrop: a right-angled tip at (√2, 0) closed by 270° of the unit circle; the list
  // starts 5 points before the tip.
  std::vector<Point3D_d> arc, drop;
  Arc(arc, 0, 0, 1, 0.25 * kPi, 1.75 * kPi, 13);
  drop.assign(arc.begin() + 8, arc.end());
  drop.emplace_back(std::sqrt(2.0), 0.0, 0.0);
  drop.insert(drop.end(), arc.begin(), arc.begin() + 8);
  const auto line = qvtest::Polyline({{0, 0}, {11, 0}}, false, 1);
  const auto ell = qvtest::Polyline({{0, 0}, {8, 0}, {8, 3}}, false, 1);
  const auto vee = qvtest::Polyline({{0, 0}, {6, 0}, {6, 6}, {12, 6}}, false, 1);
  struct Case {
    const char* name;
    const std::vector<Point3D_d>& pts;
    bool closed;
    int count;
    std::vector<std::pair<int, int>> runs;
  };
  const std::vector<Case> cases = {
      {"lens", lens, true, 2, {{3, 9}, {12, 11}}},
      {"teardrop", drop, true, 1, {{5, 14}}},
      {"open line", line, false, 2, {{0, 11}}},
      {"open corner 3 before end", ell, false, 2, {{0, 8}}},
      {"open two corners", vee, false, 4, {{0, 6}, {6, 6}, {12, 6}}},
  };
  for (const auto& tc : cases) {
    SCOPED_TRACE(tc.name);
    const std::vector<Point3D_d> keep = {{9.0, 9.0, 9.0}};
    Pieces pieces = {keep};
    int count = -1;
    ASSERT_TRUE(SplitContourByCorners(&pieces, tc.pts, 0.01, tc.closed, &count));
    EXPECT_EQ(count, tc.count);
    const Pieces want = Expected(tc.pts, tc.runs);
    ASSERT_EQ(pieces.size(), want.size() + 1);
    EXPECT_TRUE(Same(pieces[0], keep));
    for (std::size_t i = 0; i < want.size(); ++i) EXPECT_TRUE(Same(pieces[i + 1], want[i])) << i;
  }
}

TEST(SplitContourByCornersTest, Degenerate_FailuresAndWholeContours) {
  const auto square = qvtest::Polyline({{0, 0}, {1, 0}, {1, 1}, {0, 1}}, true, 1);
  std::vector<std::vector<REmath::Point3D>> pieces;
  int count = -1;
  EXPECT_FALSE(SplitContourByCorners(static_cast<Pieces*>(nullptr), square, 0.01, true, &count));
  const std::vector<REmath::Point3D> fsq = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
  EXPECT_FALSE(SplitContourByCorners(&pieces, fsq, 4.0, true, &count));
  EXPECT_TRUE(pieces.empty());
  EXPECT_EQ(count, -1);
  // An empty contour and a closed one without corners are appended whole.
  const std::vector<REmath::Point3D> octagon = {{1, 0, 0}, {2, 0, 0}, {3, 1, 0}, {3, 2, 0},
                                                {2, 3, 0}, {1, 3, 0}, {0, 2, 0}, {0, 1, 0}};
  ASSERT_TRUE(SplitContourByCorners(&pieces, octagon, 0.01, true, &count));
  EXPECT_EQ(count, 0);
  ASSERT_TRUE(SplitContourByCorners(&pieces, {}, 0.01, true, nullptr));
  ASSERT_EQ(pieces.size(), 2u);
  EXPECT_EQ(pieces[0].size(), octagon.size());
  EXPECT_TRUE(pieces[1].empty());
  // Four corners of a float square: four pieces of two points, the last back to the start.
  ASSERT_TRUE(SplitContourByCorners(&pieces, fsq, 0.01, true, &count));
  ASSERT_EQ(pieces.size(), 6u);
  EXPECT_EQ(pieces[5][0].m_y, 1.0f);
  EXPECT_EQ(pieces[5][1].m_y, 0.0f);
}
