// SPDX-License-Identifier: MIT
// Selection extents: a rotated rectangle far off gives its axes and sides; refusals.

#include <qvmath/analysis/plane_limits.h>

#include <algorithm>
#include <cmath>

#include "geometry/geom_test_util.h"

namespace {

using namespace REmath;

TEST(PlaneLimits, Properties_RotatedRectangleGivesItsAxesAndSides) {
  qvtest::TestRng rng(808);
  SCOPED_TRACE(rng.Trace());
  for (const double offset : {0.0, 1e5}) {
    // A 40 × 6 rectangle in the plane spanned by a and b (a, b, m orthonormal).
    const double t = rng.Uniform(0, 3), c = std::cos(t), s = std::sin(t);
    const double a[3] = {c * 0.6, s, c * 0.8}, b[3] = {-s * 0.6, c, -s * 0.8},
                 m[3] = {0.8, 0, -0.6};
    std::vector<Point3D> pts;
    for (int i = 0; i <= 40; ++i) {
      for (const double v : {-3.0, 3.0}) {
        double p[3];
        for (int j = 0; j < 3; ++j) p[j] = offset + (i - 20) * a[j] + v * b[j];
        pts.emplace_back(p[0], p[1], p[2]);
      }
    }
    CPlaneEquation plane;
    plane.SetPlane(m, -0.8 * offset + 0.6 * offset, 1.0);
    CPlaneLimits lim;
    ASSERT_TRUE(lim.DefineAuto(CPtVecAdapder(pts), plane));
    const double* e0 = lim.GetBasisVector(0);
    EXPECT_NEAR(std::fabs(e0[0] * a[0] + e0[1] * a[1] + e0[2] * a[2]), 1.0, 1e-9);
    const double tol = 1e-6 * (offset + 30);  // a few float ulps of the coordinates
    EXPECT_NEAR(lim.GetLimitsInDir(0)[1] - lim.GetLimitsInDir(0)[0], 40.0, tol);
    EXPECT_NEAR(lim.GetLimitsInDir(1)[1] - lim.GetLimitsInDir(1)[0], 6.0, tol);
    EXPECT_NEAR(lim.GetLimitsInDir(2)[0], -plane.FreeTerm(), tol);
    EXPECT_NEAR(lim.GetLimitsInDir(2)[1], -plane.FreeTerm(), tol);
    // e1 = e2 × e0: right-handed.
    const auto V = [&](int k) { return qvtest::ToV3(lim.GetBasisVector(k)); };
    EXPECT_NEAR(qvtest::Dot(V(2), qvtest::Cross(V(0), V(1))), 1.0, 1e-12);
    double lo[3], hi[3];
    ASSERT_TRUE(GetSelectionLinearLimits(CPtVecAdapder(pts), lo, hi));
    const auto ys = [](const Point3D& p, const Point3D& q) { return p.y() < q.y(); };
    EXPECT_EQ(lo[1], std::min_element(pts.begin(), pts.end(), ys)->y());
    EXPECT_EQ(hi[1], std::max_element(pts.begin(), pts.end(), ys)->y());
  }
}

TEST(PlaneLimits, Degenerate_EmptySourceOrInvalidPlaneClears) {
  const std::vector<Point3D> none, one = {Point3D(1, 2, 3)};
  CPlaneEquation valid, invalid;
  const double z[3] = {0, 0, 1};
  valid.SetPlane(z, 0, 1);
  CPlaneLimits lim;
  ASSERT_TRUE(lim.DefineAuto(CPtVecAdapder(one), valid));
  EXPECT_EQ(lim.GetLimitsInDir(2)[0], 3.0);
  EXPECT_FALSE(lim.DefineAuto(CPtVecAdapder(one), invalid));
  EXPECT_EQ(lim.GetBasisVector(2)[2], 0.0);
  EXPECT_FALSE(lim.DefineAuto(CPtVecAdapder(none), valid));
}

}  // namespace
