// SPDX-License-Identifier: MIT
#include <qvmath/geometry/euler_angles.h>

#include <Eigen/Geometry>
#include <cmath>

#include "geometry/geom_test_util.h"

namespace {

// Difference of two angles modulo 2π, in [0, π].
double AngleGap(double a, double b) { return std::fabs(std::remainder(a - b, 2 * qvtest::kPi)); }

TEST(EulerAnglesTest, Properties_MatrixIsZYZComposition) {
  qvtest::TestRng rng(5201);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 300; ++trial) {
    const double ang[3] = {rng.Uniform(-qvtest::kPi, qvtest::kPi), rng.Uniform(0, qvtest::kPi),
                           rng.Uniform(-qvtest::kPi, qvtest::kPi)};
    CRotationMatrix m;
    makeEulerMatrix(m, ang);
    const Eigen::Matrix3d ref = (Eigen::AngleAxisd(ang[0], Eigen::Vector3d::UnitZ()) *
                                 Eigen::AngleAxisd(ang[1], Eigen::Vector3d::UnitY()) *
                                 Eigen::AngleAxisd(ang[2], Eigen::Vector3d::UnitZ()))
                                    .toRotationMatrix();
    for (int i = 0; i < 3; ++i)
      EXPECT_TRUE(qvtest::Near3({m.m[i][0], m.m[i][1], m.m[i][2]},
                                {ref(i, 0), ref(i, 1), ref(i, 2)}, 8 * qvtest::Eps<double>()));
  }
}

TEST(EulerAnglesTest, Properties_RoundTripOverGrid) {
  // theta strictly inside (0, π) and away from the 1e-5 gimbal band; phi, psi in (−π, π].
  const int n = 24;
  for (int a = 0; a < n; ++a)
    for (int b = 1; b < n; ++b)
      for (int c = 0; c < n; ++c) {
        const double ang[3] = {-qvtest::kPi + (a + 1) * 2 * qvtest::kPi / n, b * qvtest::kPi / n,
                               -qvtest::kPi + (c + 1) * 2 * qvtest::kPi / n};
        CRotationMatrix m;
        makeEulerMatrix(m, ang);
        double phi, theta, psi;
        getEulerAnglesFromMatrix(m, phi, theta, psi);
        // acos loses accuracy near ±1 (theta near 0 or π): error ~ ε/sin(theta).
        const double tol = 1e-14 / std::sin(ang[1]) + 1e-14;
        EXPECT_TRUE(qvtest::Near3({theta, AngleGap(phi, ang[0]), AngleGap(psi, ang[2])},
                                  {ang[1], 0, 0}, tol));
        EXPECT_TRUE(phi > -qvtest::kPi - 1e-15 && phi <= qvtest::kPi);
      }
}

TEST(EulerAnglesTest, Degenerate_GimbalLockFoldsPsiIntoPhi) {
  const double ang[3] = {0.4, 0.0, 0.7};
  CRotationMatrix m;
  makeEulerMatrix(m, ang);
  double phi, theta, psi;
  getEulerAnglesFromMatrix(m, phi, theta, psi);
  EXPECT_TRUE(theta == 0.0 && psi == 0.0 && std::fabs(phi - 1.1) <= 1e-15);

  // theta = π: R = Rz(phi)·diag(−1, 1, −1)·Rz(psi); the else branch reads −m[1][0], −m[0][0].
  const double flip[3] = {0.4, qvtest::kPi, 0.7};
  makeEulerMatrix(m, flip);
  getEulerAnglesFromMatrix(m, phi, theta, psi);
  EXPECT_TRUE(std::fabs(theta - qvtest::kPi) <= 1e-7 &&
              psi == 0.0);  // acos near −1: half the digits
  CRotationMatrix back;
  const double rebuilt[3] = {phi, theta, psi};
  makeEulerMatrix(back, rebuilt);
  for (int i = 0; i < 3; ++i)
    EXPECT_TRUE(qvtest::Near3({back.m[i][0], back.m[i][1], back.m[i][2]},
                              {m.m[i][0], m.m[i][1], m.m[i][2]}, 1e-7));
  // Rounding noise beyond ±1 in m[2][2] is clamped: no NaN.
  for (const double c : {1.0000001, -1.0000001}) {
    m = CRotationMatrix();
    m.m[2][2] = c;
    getEulerAnglesFromMatrix(m, phi, theta, psi);
    EXPECT_TRUE(theta == std::acos(c > 0 ? 1.0 : -1.0) && psi == 0.0 && !std::isnan(phi)) << c;
  }
}

}  // namespace
