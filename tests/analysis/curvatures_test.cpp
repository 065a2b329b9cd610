// SPDX-License-Identifier: MIT
// Curvatures of raw quadrics: the documented give-up cases, rotated cylinders and saddles
// against their closed forms, and the tensor's invariants.

#include <qvmath/analysis/curvatures.h>

#include "analysis/surface_samples.h"

namespace {

using namespace qvtest;
using REmath::Point3D_d;

CQuadFormRaw9<double> Raw(const CQuadraticForm& f) {
  CQuadFormRaw9<double> r;
  f.ConvertToRawFormat(r);
  return r;
}

TEST(Curvatures, Regions_DocumentedCases) {
  struct Case {
    const char* name;
    CQuadFormRaw9<double> q;  // KXX KXY KXZ KYY KYZ KZZ KX KY KZ
    double kmax;
  } cases[] = {
      {"umbilic paraboloid", {0.5, 0, 0, 0.5, 0, 0, 0, 0, -1}, 20.0},
      {"cylinder", {0.5, 0, 0, 0, 0, 0, 0, 0, -1}, 1.0},
      {"zero linear term", {1, 0, 0, 2, 0, 0, 0, 0, 0}, 20.0},
      {"gradient just under the bound", {1, 0, 0, 3, 0, 0, 0, 0, 0.99999e-5}, 20.0},
      {"saddle along x", {0, 0, 0, 2, 0, -2, -1, 0, 0}, 4.0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_NEAR(MaxCurvature(c.q), c.kmax, 1e-14);
  }
  double k[2];
  GetCurvatures(cases[1].q, k, nullptr, nullptr);
  EXPECT_EQ(std::fmin(k[0], k[1]), 0.0);
}

TEST(Curvatures, Properties_RotatedQuadricsAndTensor) {
  TestRng rng(9501);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 300; ++trial) {
    // z = a·x² + b·y² at the origin: unsigned curvatures 2|a| and 2|b|.
    const double a = rng.Uniform(-3, 3), b = rng.Uniform(-3, 3);
    if (std::fabs(std::fabs(a) - std::fabs(b)) < 0.05) continue;
    const CQuadraticForm f = CQuadraticForm::buildFromCoefficients(a, b, 0, 0, 0, 0, 0, 0, -1, 0);
    const Motion m = RandomMotion(rng, 0);
    // Rotation only: the form in a rotated frame with the origin kept on the surface.
    const COrthoNormBasis basis(Point3D_d(m.c[0].data()), Point3D_d(m.c[1].data()),
                                Point3D_d(m.c[2].data()), Point3D_d(0, 0, 0));
    const CQuadraticForm g = f.getTransformedToBasis(basis);
    double k[2], nrm[3];
    REmath::Matrix<double> T;
    GetCurvatures(Raw(g), k, &T, nrm);
    EXPECT_NEAR(std::fmin(k[0], k[1]), 2 * std::fmin(std::fabs(a), std::fabs(b)), 1e-12);
    EXPECT_NEAR(std::fmax(k[0], k[1]), 2 * std::fmax(std::fabs(a), std::fabs(b)), 1e-12);
    EXPECT_EQ(MaxCurvature(g), std::fmax(k[0], k[1]));
    // The normal is the unit gradient; the tensor is symmetric, annihilates it and has
    // the trace k0 + k1 (whichever tangents the values are attached to).
    const Point3D_d grad = g.evalGradient(Point3D_d(0, 0, 0));
    EXPECT_NEAR(Dot({nrm[0], nrm[1], nrm[2]}, ToV3(grad)) / grad.length(), 1, 1e-14);
    ASSERT_EQ(T.rows(), 3);
    double tr = 0;
    for (int i = 0; i < 3; ++i) {
      tr += T(i, i);
      EXPECT_NEAR(T(i, 0) * nrm[0] + T(i, 1) * nrm[1] + T(i, 2) * nrm[2], 0, 1e-13);
      for (int j = 0; j < 3; ++j) EXPECT_EQ(T(i, j), T(j, i));
    }
    EXPECT_NEAR(tr, k[0] + k[1], 1e-13);
  }
}

}  // namespace
