// SPDX-License-Identifier: MIT
// Curvatures from fitted quadrics: closed forms on analytic surfaces, the give-up cases.

#include <qvmath/analysis/quadric_curvature.h>

#include "analysis/surface_samples.h"

namespace {

using namespace qvtest;

TEST(QuadricCurvature, Regions_AnalyticSurfaces) {
  TestRng rng(9701);
  SCOPED_TRACE(rng.Trace());
  for (const Surface& s : Surfaces()) {
    SCOPED_TRACE(s.name);
    const Motion m = RandomMotion(rng, 0);
    std::vector<REmath::Point3D> pts = Sample(s, m, 0.2, 30, rng);
    const bool umbilic = s.k1 == s.k2;
    const double lo = std::fmin(std::fabs(s.k1), std::fabs(s.k2));
    const double hi = std::fmax(std::fabs(s.k1), std::fabs(s.k2));
    float kmin = -1, kmax = -1;
    EXPECT_EQ(GetMinMaxCurvaturesForPoints(pts, kmin, kmax), !umbilic);
    EXPECT_TRUE(umbilic || (std::fabs(kmin - lo) < 1e-4 && std::fabs(kmax - hi) < 1e-4));
    for (bool weighted : {false, true}) {
      double out[5] = {-1, -1, 0, 0, 0};
      REmath::Matrix<double> T;
      EXPECT_FALSE(EstimateCurvature({pts.begin(), pts.begin() + 8}, weighted, out, T));  // < 9
      EXPECT_EQ(EstimateCurvature(pts, weighted, out, T), !umbilic);
      if (umbilic) {
        EXPECT_EQ(out[0], 20.0);
        EXPECT_EQ(T.rows(), REmath::Matrix<double>().rows());  // untouched
        continue;
      }
      EXPECT_NEAR(std::fmin(out[0], out[1]), lo, 1e-4);
      EXPECT_NEAR(std::fmax(out[0], out[1]), hi, 1e-4);
      EXPECT_GT(AbsCos({out[2], out[3], out[4]}, m.Dir({0, 0, 1})), 1 - 1e-9);
      EXPECT_NEAR(T(0, 0) + T(1, 1) + T(2, 2), out[0] + out[1], 1e-12);
      for (int i = 0; i < 3; ++i) {  // the tensor is symmetric and annihilates the normal
        EXPECT_NEAR(T(i, 0) * out[2] + T(i, 1) * out[3] + T(i, 2) * out[4], 0, 1e-12);
        for (int j = 0; j < 3; ++j) EXPECT_EQ(T(i, j), T(j, i));
      }
    }
  }
}

}  // namespace
