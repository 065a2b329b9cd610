// SPDX-License-Identifier: MIT
#include <qvmath/geometry/axis_rotation.h>

#include <Eigen/Geometry>
#include <cmath>

#include "geometry/geom_test_util.h"

namespace {

using qvtest::V3;
using REmath::Point3D_d;

Eigen::Vector3d E(const V3& v) { return Eigen::Vector3d(v[0], v[1], v[2]); }

TEST(AxisRotationTest, Properties_TransformMatchesEigenAngleAxis) {
  qvtest::TestRng rng(5301);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 500; ++trial) {
    const V3 u = qvtest::RandomUnit(rng);
    const V3 c{rng.Uniform(-100, 100), rng.Uniform(-100, 100), rng.Uniform(-100, 100)};
    const double angle = rng.Uniform(-2 * qvtest::kPi, 2 * qvtest::kPi);
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
    EXPECT_TRUE(qvtest::Near3({got.x(), got.y(), got.z()}, {ref.x(), ref.y(), ref.z()}, tol));
    // Points on the axis stay fixed.
    const V3 onAxis = qvtest::Add(c, qvtest::Scale(u, rng.Uniform(-50, 50)));
    const Point3D_d fixed = T.apply(Point3D_d(onAxis.data()));
    EXPECT_TRUE(qvtest::Near3({fixed.x(), fixed.y(), fixed.z()}, onAxis, tol));
    EXPECT_TRUE(T.isOrtho());
  }
}

TEST(AxisRotationTest, Properties_RotateVectorQuirkScalesAxialPart) {
  // The deliberate formula: the axial part is multiplied by cos + sin; a vector (almost)
  // along the axis is returned as it is.
  const double z[3] = {0, 0, 1};
  double out[3];
  const double a = 0.3, c = std::cos(a), sn = std::sin(a);
  struct Case {
    V3 v;
    double angle;
    V3 want;
  };
  const Case cases[] = {{{1, 1, 0}, qvtest::kPi, {-1, -1, 0}},
                        {{1, 0, 1}, qvtest::kPi, {-1, 0, -1}},
                        {{1, 0, 1}, qvtest::kPi / 2, {0, 1, 1}},
                        {{1, 0, 1}, a, {c, sn, c + sn}},
                        {{0.001, 0, 1}, a, {0.001, 0, 1}}};
  for (const Case& k : cases) {
    RotateVector(out, z, k.v.data(), k.angle);
    EXPECT_TRUE(qvtest::Near3({out[0], out[1], out[2]}, k.want, 1e-15)) << k.angle;
  }
  // The matrix holds the turned basis vectors as rows: e_x → (c, s, 0).
  REmath::Matrix<double> M;
  MakeRotationMatrix(M, z, a);
  EXPECT_TRUE(M.rows() == 3 && M.cols() == 3 && M(0, 1) == sn && M(1, 0) == -sn && M(2, 2) == 1);
}

}  // namespace
