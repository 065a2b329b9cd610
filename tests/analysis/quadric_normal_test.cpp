// SPDX-License-Identifier: MIT
// Quadric-fit normals: exact on quadric surfaces under rigid motions; degenerate sets.

#include <qvmath/analysis/curvatures.h>
#include <qvmath/analysis/quadric_normal.h>

#include "analysis/surface_samples.h"

namespace {

using namespace qvtest;

TEST(QuadricNormal, Regions_AnalyticSurfacesUnderRigidMotions) {
  TestRng rng(9601);
  SCOPED_TRACE(rng.Trace());
  for (const Surface& s : Surfaces()) {
    SCOPED_TRACE(s.name);
    for (int trial = 0; trial < 10; ++trial) {
      const Motion m = RandomMotion(rng, 0);
      const V3 truth = m.Dir({0, 0, 1});
      for (int variant = 0; variant < 3; ++variant) {
        CGetNormal2Prms prms;
        prms.ZeroFremTerm() = variant != 1;
        prms.Appr2MinDist() = variant == 2 ? 0.0f : 0.01f;
        CQuadraticForm quad;
        double nrm[3], rms = -1;
        float aniso = -1;
        const std::vector<REmath::Point3D> pts = Sample(s, m, 0.2, 30, rng);
        ASSERT_TRUE(GetNormal2(30, pts.data(), &prms, &quad, nrm, &aniso, &rms));
        EXPECT_GT(AbsCos({nrm[0], nrm[1], nrm[2]}, truth), 1 - 1e-9);
        EXPECT_LT(rms, 1e-6);
        const double kmax = std::fmax(std::fabs(s.k1), std::fabs(s.k2));
        EXPECT_NEAR(MaxCurvature(quad), s.k1 == s.k2 ? 20.0 : kmax, 1e-4);
      }
    }
  }
}

TEST(QuadricNormal, Degenerate_FlatAndUnfittable) {
  std::vector<REmath::Point3D> plane, line, same(12, REmath::Point3D(1, 2, 3));
  for (int i = 0; i < 12; ++i) {
    plane.emplace_back(float(i % 4), float(i / 4), 2.0f);
    line.emplace_back(float(i), 1.0f, float(i));
  }
  double nrm[3] = {7, 7, 7};
  CQuadraticForm quad;
  CGetNormal2Prms forced;
  forced.Force2() = true;
  ASSERT_TRUE(GetNormal2(12, plane.data(), &forced, &quad, nrm, nullptr, nullptr));
  EXPECT_EQ(std::fabs(nrm[2]), 1.0);
  EXPECT_EQ(MaxCurvature(quad), 20.0);  // a plane: GetCurvatures gives up
  nrm[0] = 7;
  EXPECT_FALSE(GetNormal2(8, plane.data(), nullptr, &quad, nrm, nullptr, nullptr));
  CGetNormal2Prms withK;
  withK.ZeroFremTerm() = false;  // ten coefficients need ten points
  EXPECT_FALSE(GetNormal2(9, plane.data(), &withK, &quad, nrm, nullptr, nullptr));
  EXPECT_FALSE(GetNormal2(12, line.data(), nullptr, &quad, nrm, nullptr, nullptr));
  EXPECT_FALSE(GetNormal2(12, same.data(), nullptr, &quad, nrm, nullptr, nullptr));
  EXPECT_FALSE(GetNormalAndQuadricApprShiftedNonScaled(12, line.data(), quad, nrm));
  EXPECT_EQ(nrm[0], 7.0);
}

}  // namespace
