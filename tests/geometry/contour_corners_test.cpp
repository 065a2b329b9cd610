// SPDX-License-Identifier: MIT
#include <qvmath/geometry/contour_corners.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace {

using Contour = std::vector<REmath::Point3D_d>;
constexpr double kPi = 3.14159265358979323846;

// The planar polyline through integer vertices, each edge cut into max(|dx|, |dy|) equal
// steps; a closed one stops before returning to its first vertex.
Contour Poly(const std::vector<std::pair<int, int>>& v, bool closed) {
  Contour out;
  for (std::size_t e = 0; e + 1 < v.size() + closed; ++e) {
    const auto [ax, ay] = v[e];
    const auto [bx, by] = v[(e + 1) % v.size()];
    const int n = std::max(std::abs(bx - ax), std::abs(by - ay));
    for (int k = 0; k < n; ++k)
      out.emplace_back(ax + (bx - ax) * k / double(n), ay + (by - ay) * k / double(n), 0);
  }
  if (!closed) out.emplace_back(v.back().first, v.back().second, 0);
  return out;
}

// An open three-point contour whose middle point has the chord cosine c.
Contour Bend(double c) { return {{1, 0, 0}, {0, 0, 0}, {c, std::sqrt(1 - c * c), 0}}; }

}  // namespace

TEST(ContourCornerMarksTest, Regions_KnownCorners) {
  const struct {
    Contour pts;
    double minChord2;
    bool closed;
    const char* marks;  // one digit per point; "F" when marking fails
  } cases[] = {
      // Equal measures at all four corners: a plateau, all marked (no thinning: n ≤ 10).
      {Poly({{0, 0}, {1, 0}, {1, 1}, {0, 1}}, true), 0.01, true, "1111"},
      {Poly({{1, 0}, {2, 0}, {3, 1}, {3, 2}, {2, 3}, {1, 3}, {0, 2}, {0, 1}}, true), 0.01, true,
       "00000000"},
      // The threshold is −0.7 rounded to float, −0.699999988; chords must be strictly longer.
      {Bend(-0.699999995), 0.01, false, "101"},
      {Bend(-0.69999998), 0.01, false, "111"},
      {Bend(0), 1.0, false, "101"},
      // Corners 4 apart on a 16-point loop: ties drop the earlier mark, across the wrap too.
      {Poly({{0, 0}, {4, 0}, {4, 4}, {0, 4}}, true), 0.01, true, "0000000000001000"},
      // Far chords: the points beside a corner reach two points back (measure −0.447).
      {Poly({{0, 0}, {6, 0}, {6, 6}, {0, 6}}, true), 2.25, true, "100000100000100000100000"},
      // A corner 3 points before the open end clears the end mark; near the start it does not.
      {Poly({{0, 0}, {8, 0}, {8, 3}}, false), 0.01, false, "100000001000"},
      {Poly({{0, 0}, {3, 0}, {3, 8}}, false), 0.01, false, "100100000001"},
      {Poly({{0, 0}, {6, 0}, {6, 3}}, false), 0.01, false, "1000001001"},  // n = 10: kept
      // A sharper corner (cos 0.707) keeps its mark against a right angle 2 points later.
      {Poly({{0, 0}, {5, 0}, {3, 2}, {8, 7}}, false), 0.01, false, "1000010000001"},
      {Poly({{0, 0}, {1, 0}, {1, 1}}, true), 4.0, true, "F"},
      {{{1, 2, 3}}, 0.0, true, "F"},
  };
  for (const auto& tc : cases) {
    std::vector<int> marks(3, 7);
    std::string got = GetContourCornerMarks(tc.pts, tc.minChord2, tc.closed, marks) ? "" : "F";
    for (int m : marks) got += got == "F" ? "" : std::to_string(m);
    EXPECT_EQ(got, tc.marks);
  }
}

TEST(SplitContourByCornersTest, Regions_PiecesBetweenCorners) {
  // A lens: tips (−1, 0) and (1, 0) at indices 3 and 12 of 20, 9 steps apart along the upper
  // arc and 11 back along the lower one (quarter circles of radius √2). A teardrop: a
  // right-angled tip (√2, 0) at index 5, closed by 270° of the unit circle.
  Contour lens, drop;
  for (int i = 0; i < 20; ++i) {
    const int s = (i + 17) % 20, up = s <= 9;
    const double a = up ? 0.75 * kPi - 0.5 * kPi * s / 9 : -0.25 * kPi - 0.5 * kPi * (s - 9) / 11;
    lens.emplace_back(std::sqrt(2.0) * std::cos(a), 1 - 2 * up + std::sqrt(2.0) * std::sin(a), 0.0);
  }
  for (int k = 8; k < 22; ++k) {
    const double a = 0.25 * kPi + 0.125 * kPi * (k % 14);
    drop.emplace_back(k == 13 ? std::sqrt(2.0) : std::cos(a), k == 13 ? 0.0 : std::sin(a), 0.0);
  }
  const struct {
    Contour pts;
    bool closed;
    int count;
    std::vector<std::pair<int, int>> runs;  // expected pieces P[s] .. P[s + len], modulo n
  } cases[] = {
      {lens, true, 2, {{3, 9}, {12, 11}}},
      {drop, true, 1, {{5, 14}}},
      {Poly({{0, 0}, {11, 0}}, false), false, 2, {{0, 11}}},
      {Poly({{0, 0}, {8, 0}, {8, 3}}, false), false, 2, {{0, 8}}},  // the tail is dropped
      {Poly({{0, 0}, {6, 0}, {6, 6}, {12, 6}}, false), false, 4, {{0, 6}, {6, 6}, {12, 6}}},
  };
  for (const auto& tc : cases) {
    std::vector<Contour> got(1, Contour(1)), want = got;  // existing entries are kept
    for (const auto& [s, len] : tc.runs) {
      want.emplace_back();
      for (int k = 0; k <= len; ++k) want.back().push_back(tc.pts[(s + k) % tc.pts.size()]);
    }
    int count = -1;
    ASSERT_TRUE(SplitContourByCorners(&got, tc.pts, 0.01, tc.closed, &count));
    EXPECT_EQ(count, tc.count);
    ASSERT_EQ(got.size(), want.size());
    for (std::size_t p = 0; p < got.size(); ++p)
      EXPECT_EQ(std::memcmp(got[p].data(), want[p].data(), 24 * got[p].size()), 0) << p;
  }
}

TEST(SplitContourByCornersTest, Degenerate_FailuresAndWholeContours) {
  const std::vector<REmath::Point3D> square = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
  std::vector<std::vector<REmath::Point3D>> pieces;
  int count = -1;
  EXPECT_FALSE(SplitContourByCorners(nullptr, square, 0.01, true, &count));
  EXPECT_FALSE(SplitContourByCorners(&pieces, square, 4.0, true, &count));
  EXPECT_TRUE(pieces.empty() && count == -1);
  // No corner: the contour is appended whole (here the empty one).
  ASSERT_TRUE(SplitContourByCorners(&pieces, {}, 0.01, false, &count));
  EXPECT_TRUE(pieces.size() == 1 && pieces[0].empty() && count == 0);
}
