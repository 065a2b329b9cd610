// SPDX-License-Identifier: MIT
// Axis rotations: the rigid transform about a line against Eigen's AngleAxis, and the
// historical RotateVector formula with its deliberate quirk.

#include <qvmath/geometry/axis_rotation.h>

#include <Eigen/Geometry>
#include <cmath>

#include "geometry/geom_test_util.h"

namespace {

using qvtest::V3;
using REmath::Point3D_d;
constexpr double kPi = 3.14159265358979323846;

Eigen::Vector3d E(const V3& v) { return Eigen::Vector3d(v[0], v[1], v[2]); }

TEST(AxisRotationTest, Properties_TransformMatchesEigenAngleAxis) {
  qvtest::TestRng rng(5301);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 500; ++trial) {
    const V3 u = qvtest::RandomUnit(rng);
    const V3 c{rng.Uniform(-100, 100), rng.Uniform(-100, 100), rng.Uniform(-100, 100)};
    const double angle = rng.Uniform(-2 * kPi, 2 * kPi);
    RElinearTransform T;
    setAxisRotationTransform(T, Point3D_d(c.data()), Point3D_d(u.data()), angle);
    const Eigen::Matrix3d R = Eigen::AngleAxisd(angle, E(u)).toRotationMatrix();
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 3; ++j) EXPECT_NEAR(T.m.m[i][j], R(i, j), 16 * qvtest::Eps<double>());
    // The oracle for a point x: c + R·(x − c).
    const V3 x{rng.Uniform(-100, 100), rng.Uniform(-100, 100), rng.Uniform(-100, 100)};
    const Eigen::Vector3d ref = E(c) + R * (E(x) - E(c));
    const Point3D_d got = T.apply(Point3D_d(x.data()));
    const double tol = 64 * qvtest::Eps<double>() * 400;  // |x| + 2|c| bound the magnitudes
    EXPECT_NEAR(got.x(), ref.x(), tol);
    EXPECT_NEAR(got.y(), ref.y(), tol);
    EXPECT_NEAR(got.z(), ref.z(), tol);
    // Points on the axis stay fixed.
    const V3 onAxis = qvtest::Add(c, qvtest::Scale(u, rng.Uniform(-50, 50)));
    const Point3D_d fixed = T.apply(Point3D_d(onAxis.data()));
    EXPECT_NEAR(fixed.x(), onAxis[0], tol);
    EXPECT_NEAR(fixed.y(), onAxis[1], tol);
    EXPECT_NEAR(fixed.z(), onAxis[2], tol);
    EXPECT_TRUE(T.isOrtho());
  }
}

TEST(AxisRotationTest, Properties_RotateVectorIsTrueRotationForPerpendicularVectors) {
  qvtest::TestRng rng(5302);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 500; ++trial) {
    const V3 axis = qvtest::Scale(qvtest::RandomUnit(rng), rng.Uniform(0.1, 10));  // any length
    V3 v = qvtest::Cross(axis, qvtest::RandomUnit(rng));
    if (qvtest::Norm2(v) < 1e-3) continue;
    const double angle = rng.Uniform(-kPi, kPi);
    double out[3];
    RotateVector(out, axis.data(), v.data(), angle);
    const Eigen::Vector3d ref = Eigen::AngleAxisd(angle, E(axis).normalized()) * E(v);
    const double tol = 64 * qvtest::Eps<double>() * std::sqrt(qvtest::Norm2(v));
    EXPECT_NEAR(out[0], ref.x(), tol);
    EXPECT_NEAR(out[1], ref.y(), tol);
    EXPECT_NEAR(out[2], ref.z(), tol);
  }
}

TEST(AxisRotationTest, Properties_RotateVectorQuirkScalesAxialPart) {
  // The deliberate formula: the axial part is multiplied by cos + sin.
  const double z[3] = {0, 0, 1};
  double out[3];
  const double v1[3] = {1, 1, 0};
  RotateVector(out, z, v1, kPi);
  EXPECT_NEAR(out[0], -1, 1e-15);
  EXPECT_NEAR(out[1], -1, 1e-15);
  EXPECT_NEAR(out[2], 0, 1e-15);
  const double v2[3] = {1, 0, 1};
  RotateVector(out, z, v2, kPi);
  EXPECT_NEAR(out[0], -1, 1e-15);
  EXPECT_NEAR(out[1], 0, 1e-15);
  EXPECT_NEAR(out[2], -1, 1e-15);
  RotateVector(out, z, v2, kPi / 2);
  EXPECT_NEAR(out[0], 0, 1e-15);
  EXPECT_NEAR(out[1], 1, 1e-15);
  EXPECT_NEAR(out[2], 1, 1e-15);
  // General angle: perpendicular part rotated, axial part scaled by cos + sin.
  const double a = 0.3;
  RotateVector(out, z, v2, a);
  EXPECT_NEAR(out[0], std::cos(a), 1e-15);
  EXPECT_NEAR(out[1], std::sin(a), 1e-15);
  EXPECT_NEAR(out[2], std::cos(a) + std::sin(a), 1e-15);
}

TEST(AxisRotationTest, Degenerate_RotateVectorAlongAxisUnchanged) {
  const double axis[3] = {0, 0, 2};
  double v[3] = {0.005, 0, 1};  // |v⊥|² = 2.5e-5 ≤ 1e-4·|v|²
  double out[3];
  RotateVector(out, axis, v, 1.0);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(out[i], v[i]);
  const double zero[3] = {0, 0, 0};
  RotateVector(out, axis, zero, 1.0);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(out[i], 0.0);
  // In place (out = v), outside the axial band.
  v[0] = 1;
  RotateVector(v, axis, v, kPi / 2);
  EXPECT_NEAR(v[0], 0, 1e-15);
  EXPECT_NEAR(v[1], 1, 1e-15);
  EXPECT_NEAR(v[2], 1, 1e-15);
}

TEST(AxisRotationTest, Properties_MakeRotationMatrixRowsAreTurnedBasis) {
  const double axis[3] = {0, 0, 3};
  const double a = 0.7;
  REmath::Matrix<double> M;
  MakeRotationMatrix(M, axis, a);
  ASSERT_EQ(M.rows(), 3);
  ASSERT_EQ(M.cols(), 3);
  // Rows: e_x → (c, s, 0), e_y → (−s, c, 0), e_z along the axis → unchanged.
  const double c = std::cos(a), s = std::sin(a);
  const double ref[3][3] = {{c, s, 0}, {-s, c, 0}, {0, 0, 1}};
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) EXPECT_NEAR(M(i, j), ref[i][j], 1e-15) << i << "," << j;
  // Each row is RotateVector of the unit vector, exactly.
  qvtest::TestRng rng(5303);
  SCOPED_TRACE(rng.Trace());
  const V3 ax = qvtest::RandomUnit(rng);
  MakeRotationMatrix(M, ax.data(), 1.1);
  for (int i = 0; i < 3; ++i) {
    double e[3] = {0, 0, 0}, r[3];
    e[i] = 1;
    RotateVector(r, ax.data(), e, 1.1);
    for (int j = 0; j < 3; ++j) EXPECT_EQ(M(i, j), r[j]);
  }
}

}  // namespace
