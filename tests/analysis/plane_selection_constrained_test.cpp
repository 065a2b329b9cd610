// SPDX-License-Identifier: MIT
// Constrained planes: outliers, anchor, and a cone-limited normal against a dense cone scan.

#include <qvmath/analysis/plane_selection_constrained.h>

#include <cmath>

#include "test_util.h"

namespace {

using REmath::Point3D;
using REmath::Point3D_d;

double Dot(const Point3D_d& a, const Point3D_d& b) {
  return a.x() * b.x() + a.y() * b.y() + a.z() * b.z();
}

// 300 points on z = 0.2·x + 5 (noise ±0.01), one in ten lifted by 3..8 (scanner spikes).
std::vector<Point3D> Scene(qvtest::TestRng& rng) {
  std::vector<Point3D> pts;
  for (int i = 0; i < 300; ++i) {
    const double x = rng.Uniform(-10, 10), y = rng.Uniform(-3, 3);
    pts.emplace_back(x, y,
                     0.2 * x + 5 + rng.Uniform(-0.01, 0.01) + (i % 10 ? 0 : rng.Uniform(3, 8)));
  }
  return pts;
}

double SumSq(const std::vector<Point3D>& pts, const Point3D_d& q, const Point3D_d& n, double tol) {
  double s = 0;
  for (const Point3D& p : pts) {
    const double d = (p.x() - q.x()) * n.x() + (p.y() - q.y()) * n.y() + (p.z() - q.z()) * n.z();
    if (std::fabs(d) <= tol) s += d * d;
  }
  return s;
}

TEST(PlaneSelectionConstrained, Regions_ConstraintsAndRejection) {
  qvtest::TestRng rng(1234);
  SCOPED_TRACE(rng.Trace());
  const auto pts = Scene(rng);
  const Point3D_d truth = Point3D_d(-0.2, 0, 1).unitLength(), z(0, 0, 1), anchor(0, 0, 5);
  Point3D_d o, n, a0, a1;
  double maxErr, meanErr, lo[2], hi[2];
  const Point3D view(0, 0, 1);
  // Free fit with rejection at 2 units (absolute) and at 2 RMS (relative).
  for (const double reject : {2.0, -2.0}) {
    ASSERT_TRUE(RecognizePlaneSelectionConstrained(pts, view, 10, reject, false, -1, anchor, z, o,
                                                   n, maxErr, meanErr, a0, a1, lo, hi));
    EXPECT_NEAR(Dot(n, truth), 1.0, 1e-6) << reject;
    EXPECT_LT(maxErr, 0.011);
    EXPECT_NEAR(hi[0] - lo[0], std::hypot(20, 4), 1.0);  // the long side
    EXPECT_NEAR(Dot(a0, n), 0.0, 1e-12);
    EXPECT_NEAR(Dot(a1, n), 0.0, 1e-12);
  }
  // Through an anchor off the plane: the plane contains it.
  const Point3D_d off(1, 1, 6);
  ASSERT_TRUE(RecognizePlaneSelectionConstrained(pts, view, 0, 0, true, -1, off, z, o, n, maxErr,
                                                 meanErr, a0, a1, nullptr, nullptr));
  EXPECT_NEAR(Dot(Point3D_d(off.x() - o.x(), off.y() - o.y(), off.z() - o.z()), n), 0.0, 1e-12);
  // Within 5° of z the best plane is on the cone (truth 11.3° away); no normal of a dense
  // scan of the cone does better on the same inliers (o, their centroid, is optimal).
  const double alpha = 5 * 3.141592653589793 / 180;
  ASSERT_TRUE(RecognizePlaneSelectionConstrained(pts, view, 10, 2.0, false, alpha, anchor, z, o, n,
                                                 maxErr, meanErr, a0, a1, nullptr, nullptr));
  EXPECT_NEAR(n.z(), std::cos(alpha), 1e-12);
  const double best = SumSq(pts, o, n, 2.0);
  for (int k = 0; k < 3600; ++k) {
    const double phi = k * 3.141592653589793 / 1800;
    const Point3D_d m(std::sin(alpha) * std::cos(phi), std::sin(alpha) * std::sin(phi),
                      std::cos(alpha));
    EXPECT_GE(SumSq(pts, o, m, 2.0) * (1 + 1e-9), best) << k;
  }
  // Refusals leave the outputs untouched.
  o = Point3D_d(-9, -9, -9);
  EXPECT_FALSE(RecognizePlaneSelectionConstrained(
      std::vector<Point3D>(pts.begin(), pts.begin() + 2), view, 0, 0, false, -1, anchor, z, o, n,
      maxErr, meanErr, a0, a1, nullptr, nullptr));
  EXPECT_EQ(o.x(), -9.0);
}

}  // namespace
