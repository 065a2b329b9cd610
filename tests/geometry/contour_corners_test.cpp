// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/geometry/contour_corners.h>

#include <cmath>
#include <string>
#include <vector>

#include "contour_test_util.h"

namespace {

struct CornerCase {
  const char* name;
  std::vector<REmath::Point3D_d> pts;
  double minChord2;
  bool closed, ok;
  const char* marks;  // one digit per point
};

// The corner at the middle of an open three-point contour with chord cosine c.
std::vector<REmath::Point3D_d> Bend(double c) {
  return {{1.0, 0.0, 0.0}, {0.0, 0.0, 0.0}, {c, std::sqrt(1 - c * c), 0.0}};
}

}  // namespace

TEST(ContourCornerMarksTest, Regions_KnownCorners) {
  using qvtest::Polyline;
  const std::vector<CornerCase> cases = {
      // All four corners form a plateau of equal measures, all marked (no thinning: n ≤ 10).
      {"square", Polyline({{0, 0}, {1, 0}, {1, 1}, {0, 1}}, true, 1), 0.01, true, true, "1111"},
      {"octagon 135°",
       Polyline({{1, 0}, {2, 0}, {3, 1}, {3, 2}, {2, 3}, {1, 3}, {0, 2}, {0, 1}}, true, 1), 0.01,
       true, true, "00000000"},
      // The threshold is −0.7 rounded to float, −0.699999988.
      {"below float threshold", Bend(-0.699999995), 0.01, false, true, "101"},
      {"above float threshold", Bend(-0.69999998), 0.01, false, true, "111"},
      // Chords must be strictly longer than the threshold.
      {"chord equal to threshold", Bend(0), 1.0, false, true, "101"},
      // Corners 4 apart on a 16-point loop: ties drop the earlier mark, the wrap included.
      {"square 4/side", Polyline({{0, 0}, {4, 0}, {4, 4}, {0, 4}}, true, 1), 0.01, true, true,
       "0000000000001000"},
      // Far chords: the points next to a corner reach two points back, measure −0.447.
      {"square 6/side chords of 2", Polyline({{0, 0}, {6, 0}, {6, 6}, {0, 6}}, true, 1), 2.25, true,
       true, "100000100000100000100000"},
      {"rectangle 6x3", Polyline({{0, 0}, {6, 0}, {6, 3}, {0, 3}}, true, 1), 0.01, true, true,
       "100000000100000000"},
      {"open straight", Polyline({{0, 0}, {11, 0}}, false, 1), 0.01, false, true, "100000000001"},
      // A corner 3 points before the open end clears the end mark, not the first point's.
      {"open corner near end", Polyline({{0, 0}, {8, 0}, {8, 3}}, false, 1), 0.01, false, true,
       "100000001000"},
      {"open corner near end, short", Polyline({{0, 0}, {6, 0}, {6, 3}}, false, 1), 0.01, false,
       true, "1000001001"},
      {"open corner near start", Polyline({{0, 0}, {3, 0}, {3, 8}}, false, 1), 0.01, false, true,
       "100100000001"},
      // A sharper corner (cos 0.707) keeps its mark against a right angle 3 points later.
      {"sharper wins", Polyline({{0, 0}, {5, 0}, {3, 2}, {8, 7}}, false, 1), 0.01, false, true,
       "1000010000000001"},
      {"closed within chord", Polyline({{0, 0}, {1, 0}, {1, 1}, {0, 1}}, true, 1), 4.0, true, false,
       ""},
      {"closed single point", {{1.0, 2.0, 3.0}}, 0.0, true, false, ""},
      {"closed empty", {}, 0.0, true, true, ""},
      {"open single point", {{1.0, 2.0, 3.0}}, 0.0, false, true, "1"},
  };
  for (const auto& tc : cases) {
    SCOPED_TRACE(tc.name);
    std::vector<int> marks(3, 7);
    ASSERT_EQ(GetContourCornerMarks(tc.pts, tc.minChord2, tc.closed, marks), tc.ok);
    if (!tc.ok) continue;
    std::string got;
    for (int m : marks) got += char('0' + m);
    EXPECT_EQ(got, tc.marks);
  }
}
