// SPDX-License-Identifier: MIT
// Quadratic forms: root cases of solving for z (exact-zero tests kept), the default.

#include <qvmath/analysis/quadratic_form.h>

#include "analysis/surface_samples.h"

namespace {

using namespace qvtest;
using REmath::Point3D_d;

TEST(QuadraticForm, Regions_CalculateZByXY) {
  const auto Q = &CQuadraticForm::buildFromCoefficients;
  const CQuadraticForm sphere = Q(1, 1, 1, 0, 0, 0, 0, 0, 0, -1);
  struct Case {
    const char* name;
    CQuadraticForm f;
    double x, y;
    int result;
    double z1, z2;  // expected; NAN: untouched
  } cases[] = {
      {"sphere, two roots", sphere, 0, 0, 6, 1, -1},
      {"sphere, outside", sphere, 2, 0, 0, NAN, NAN},
      {"plane z = 2 - x", Q(0, 0, 0, 0, 0, 0, 1, 0, 1, -2), 0.5, 0, 2, 1.5, NAN},
      {"zero in z everywhere", Q(1, 0, 0, 0, 0, 0, 0, 0, 0, 0), 0, 3, 1, NAN, NAN},
      {"free term only", Q(0, 0, 0, 0, 0, 0, 0, 0, 0, 4), 1, 1, 0, NAN, NAN},
      // a22 = 1e-300 is not exactly zero: the quadratic branch with its textbook formula,
      // whose cancellation gives z1 = 0 rather than the root near 1.
      {"tiny quadratic", Q(0, 0, 1e-300, 0, 0, 0, 0, 0, 1, -1), 0, 0, 6, 0, -1e300},
      {"mixed terms", Q(0, 0, 1, 0, 2, 0, 0, 0, 0, 0), 1, 0, 6, 0, -2},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    double z1 = NAN, z2 = NAN;
    EXPECT_EQ(int(c.f.calculateZByXY(c.x, c.y, z1, z2)), c.result);
    for (const auto& [got, want] : {std::pair(z1, c.z1), std::pair(z2, c.z2)})
      EXPECT_TRUE(std::isnan(want) ? std::isnan(got)
                                   : std::fabs(got - want) <= 1e-15 * std::fabs(want));
    if (c.result == 6) {
      EXPECT_LE(std::fabs(z1), std::fabs(z2));
    }
  }
  // Every root returned solves f = 0, with and without the z² term (the linear branch).
  qvtest::TestRng rng(41);
  for (int trial = 0; trial < 400; ++trial) {
    double c[10];
    for (double& v : c) v = rng.Uniform(-1, 1);
    if (trial % 2) c[2] = 0;
    const CQuadraticForm f = CQuadraticForm::buildFromCoeffArray(10, c);
    const double x = rng.Uniform(-2, 2), y = rng.Uniform(-2, 2);
    double z[2] = {NAN, NAN};
    const int r = f.calculateZByXY(x, y, z[0], z[1]);
    for (int k = 0; k < (r == 6 ? 2 : r == 2 ? 1 : 0); ++k)
      EXPECT_NEAR(f.eval(Point3D_d(x, y, z[k])), 0.0, 1e-9 * (1 + z[k] * z[k])) << trial;
  }
  // The sphere's roots ±1 tie in size; sorted by gradient, z1 is the one facing dir.
  for (double s : {1.0, -1.0}) {
    double z1, z2;
    EXPECT_EQ(sphere.calculateZByXYSortedByGrad(0, 0, z1, z2, Point3D_d(0.1, 0, 3 * s)), 6);
    EXPECT_EQ(z1, s);
    EXPECT_EQ(z2, -s);
  }
}

// The change of basis (rotation and shift) against evaluating the form at the world point.
TEST(QuadraticForm, Properties_TransformToBasisEvaluatesAlike) {
  TestRng rng(9301);
  for (int trial = 0; trial < 200; ++trial) {
    double k[10];
    for (double& v : k) v = rng.Uniform(-2, 2);
    const CQuadraticForm f = CQuadraticForm::buildFromCoeffArray(10, k);
    const Motion m = RandomMotion(rng, 10);
    const CQuadraticForm g =
        f.getTransformedToBasis(COrthoNormBasis(Point3D_d(m.c[0].data()), Point3D_d(m.c[1].data()),
                                                Point3D_d(m.c[2].data()), Point3D_d(m.t.data())));
    const V3 q = Scale(RandomUnit(rng), 3);
    const double want = f.eval(Point3D_d(m.Point(q).data()));
    EXPECT_NEAR(g.eval(Point3D_d(q.data())), want, 4e-9 * (1 + std::fabs(want))) << trial;
  }
}

// The deliberate default is x² + y² + z²; three coefficients set KXX, KYY, KZZ only.
TEST(QuadraticForm, Regions_DefaultAndShortCoefficientArrays) {
  const double c[3] = {1, 2, 3};
  EXPECT_EQ(CQuadraticForm::buildFromCoeffArray(3, c).eval(Point3D_d(1, 1, 2)), 15.0);
  EXPECT_EQ(CQuadraticForm().eval(Point3D_d(1, 2, 3)), 14.0);
}

}  // namespace
