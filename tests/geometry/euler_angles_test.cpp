// SPDX-License-Identifier: MIT
#include <qvmath/geometry/euler_angles.h>

#include <Eigen/Geometry>
#include <cmath>

#include "geometry/geom_test_util.h"

namespace {

constexpr double kPi = 3.14159265358979323846;

// Difference of two angles modulo 2π, in [0, π].
double AngleGap(double a, double b) { return std::fabs(std::remainder(a - b, 2 * kPi)); }

TEST(EulerAnglesTest, Properties_MatrixIsZYZComposition) {
  qvtest::TestRng rng(5201);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 300; ++trial) {
    const double ang[3] = {rng.Uniform(-kPi, kPi), rng.Uniform(0, kPi), rng.Uniform(-kPi, kPi)};
    CRotationMatrix m;
    makeEulerMatrix(m, ang);
    const Eigen::Matrix3d ref = (Eigen::AngleAxisd(ang[0], Eigen::Vector3d::UnitZ()) *
                                 Eigen::AngleAxisd(ang[1], Eigen::Vector3d::UnitY()) *
                                 Eigen::AngleAxisd(ang[2], Eigen::Vector3d::UnitZ()))
                                    .toRotationMatrix();
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 3; ++j) EXPECT_NEAR(m.m[i][j], ref(i, j), 8 * qvtest::Eps<double>());
  }
}

TEST(EulerAnglesTest, Properties_RoundTripOverGrid) {
  // theta strictly inside (0, π) and away from the 1e-5 gimbal band; phi, psi in (−π, π].
  const int n = 24;
  for (int a = 0; a < n; ++a)
    for (int b = 1; b < n; ++b)
      for (int c = 0; c < n; ++c) {
        const double ang[3] = {-kPi + (a + 1) * 2 * kPi / n, b * kPi / n,
                               -kPi + (c + 1) * 2 * kPi / n};
        CRotationMatrix m;
        makeEulerMatrix(m, ang);
        double phi, theta, psi;
        getEulerAnglesFromMatrix(m, phi, theta, psi);
        // acos loses accuracy near ±1 (theta near 0 or π): error ~ ε/sin(theta).
        const double tol = 1e-14 / std::sin(ang[1]) + 1e-14;
        EXPECT_NEAR(theta, ang[1], tol);
        EXPECT_LE(AngleGap(phi, ang[0]), tol);
        EXPECT_LE(AngleGap(psi, ang[2]), tol);
        EXPECT_GT(phi, -kPi - 1e-15);
        EXPECT_LE(phi, kPi);
      }
}

TEST(EulerAnglesTest, Degenerate_GimbalLockFoldsPsiIntoPhi) {
  const double ang[3] = {0.4, 0.0, 0.7};
  CRotationMatrix m;
  makeEulerMatrix(m, ang);
  double phi, theta, psi;
  getEulerAnglesFromMatrix(m, phi, theta, psi);
  EXPECT_TRUE(theta == 0.0 && psi == 0.0);
  EXPECT_NEAR(phi, 1.1, 1e-15);

  // theta = π: R = Rz(phi)·diag(−1, 1, −1)·Rz(psi); the else branch reads −m[1][0], −m[0][0].
  const double flip[3] = {0.4, kPi, 0.7};
  makeEulerMatrix(m, flip);
  getEulerAnglesFromMatrix(m, phi, theta, psi);
  EXPECT_NEAR(theta, kPi, 1e-7);  // acos near −1 keeps only half the digits
  EXPECT_EQ(psi, 0.0);
  CRotationMatrix back;
  const double rebuilt[3] = {phi, theta, psi};
  makeEulerMatrix(back, rebuilt);
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) EXPECT_NEAR(back.m[i][j], m.m[i][j], 1e-7);
}

TEST(EulerAnglesTest, Degenerate_ClampedCosine) {
  CRotationMatrix m;
  m.m[2][2] = 1.0000001;  // rounding noise above 1
  double phi = -1, theta = -1, psi = -1;
  getEulerAnglesFromMatrix(m, phi, theta, psi);
  EXPECT_TRUE(theta == 0.0 && psi == 0.0 && phi == 0.0);
  m.m[2][2] = -1.0000001;
  getEulerAnglesFromMatrix(m, phi, theta, psi);
  EXPECT_EQ(theta, std::acos(-1.0));
  EXPECT_FALSE(std::isnan(phi));
}

}  // namespace
