// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/geometry/contour_corners.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace {

using Contour = std::vector<REmath::Point3D_d>;

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
    const char* marks;  // one digit per point
  } cases[] = {
      // Equal measures at all four corners: a plateau, all marked (no thinning: n ≤ 10).
      {Poly({{0, 0}, {1, 0}, {1, 1}, {0, 1}}, true), 0.01, true, "1111"},
      // The threshold is −0.7 rounded to float; chords must be strictly longer, either side.
      {Bend(-0.699999995), 0.01, false, "101"},
      {{{-2, 0, 0}, {0, 0, 0}, {0, 1, 0}}, 1.0, false, "101"},
      {{{0, 1, 0}, {0, 0, 0}, {-2, 0, 0}}, 1.0, false, "101"},
      // Far chords: the measures run −1, −1, −0.447, 0, −0.447, −1, −1.
      {Poly({{0, 0}, {3, 0}, {3, 3}}, false), 2.25, false, "1001001"},
      // Corners 4 apart on a 20-point loop: ties drop the earlier mark, across the wrap too.
      {Poly({{0, 0}, {6, 0}, {6, 4}, {0, 4}}, true), 0.01, true, "10000000001000000000"},
      // A corner 5 points before the open end clears the end mark; near the start it does not.
      {Poly({{0, 0}, {8, 0}, {8, 5}}, false), 0.01, false, "10000000100000"},
      {Poly({{0, 0}, {3, 0}, {3, 8}}, false), 0.01, false, "100100000001"},
      {Poly({{0, 0}, {6, 0}, {6, 3}}, false), 0.01, false, "1000001001"},  // n = 10: kept
  };
  for (const auto& tc : cases) {
    std::vector<int> marks(3, 7);
    ASSERT_TRUE(GetContourCornerMarks(tc.pts, tc.minChord2, tc.closed, marks));
    std::string got;
    for (int m : marks) got += std::to_string(m);
    EXPECT_EQ(got, tc.marks);
  }
}

TEST(SplitContourByCornersTest, Regions_PiecesBetweenCorners) {
  // A lens with tips (0, 0) and (9, 0) at indices 3 and 12 of 20, and a loop with a single
  // corner (0, 0) at index 4; all other turns are 45° (measure −0.707).
  const Contour lens =
      Poly({{2, -3}, {1, -2}, {0, 0}, {2, 2}, {7, 2}, {9, 0}, {8, -1}, {8, -2}, {7, -3}}, true);
  const Contour drop = Poly({{2, 3}, {1, 3}, {0, 2}, {0, 0}, {2, 0}, {3, 1}, {3, 2}}, true);
  const struct {
    Contour pts;
    bool closed;
    std::vector<std::pair<int, int>> runs;  // expected pieces P[s] .. P[s + len], modulo n
  } cases[] = {
      {lens, true, {{3, 9}, {12, 11}}},
      {drop, true, {{4, 9}}},
      {Poly({{0, 0}, {11, 0}}, false), false, {{0, 11}}},
      {Poly({{0, 0}, {8, 0}, {8, 3}}, false), false, {{0, 8}}},  // the tail is dropped
      {{}, false, {{0, -1}}},  // no mark: the whole (here empty) contour
  };
  for (const auto& tc : cases) {
    std::vector<Contour> got(1, Contour(1)), want = got;  // existing entries are kept
    for (const auto& [s, len] : tc.runs) {
      want.emplace_back();
      for (int k = 0; k <= len; ++k) want.back().push_back(tc.pts[(s + k) % tc.pts.size()]);
    }
    int count = -1;
    ASSERT_TRUE(SplitContourByCorners(&got, tc.pts, 0.01, tc.closed, &count));
    EXPECT_EQ(count, tc.pts.empty() ? 0 : int(tc.runs.size()) + !tc.closed);
    ASSERT_EQ(got.size(), want.size());
    for (std::size_t p = 0; p < got.size(); ++p)
      EXPECT_TRUE(got[p].size() == want[p].size() &&
                  (got[p].empty() || !std::memcmp(&got[p][0], &want[p][0], 24 * got[p].size())));
  }
  // Null output, and a closed contour with every point within the chord of the others.
  std::vector<std::vector<REmath::Point3D>> none;
  const std::vector<REmath::Point3D> square = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
  EXPECT_FALSE(SplitContourByCorners(nullptr, square, 0.01, true, nullptr) ||
               SplitContourByCorners(&none, square, 4.0, true, nullptr) || !none.empty());
}
