// SPDX-License-Identifier: MIT
#include <qvmath/geometry/rotation_matrix.h>

#include <Eigen/Dense>
#include <cmath>
#include <limits>

#include "geometry/geom_test_util.h"

namespace {

using REmath::Point3D_d;

using RowMajor = Eigen::Matrix<double, 3, 3, Eigen::RowMajor>;
RowMajor ToEigen(const CRotationMatrix& r) { return Eigen::Map<const RowMajor>(&r.m[0][0]); }

void ExpectSame(const CRotationMatrix& a, const CRotationMatrix& b) {
  EXPECT_TRUE(ToEigen(a) == ToEigen(b)) << ToEigen(a) << "\nvs\n" << ToEigen(b);
}

TEST(RotationMatrixTest, Basics_ArithmeticQuirks) {
  const double a[3][3] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
  const CRotationMatrix m(a);
  CRotationMatrix sum = m;
  sum += sum;  // the argument is a copy, so self-addition doubles
  ExpectSame(sum, m * 2.0);
}

TEST(RotationMatrixTest, Properties_SelfAdjointIsRelativeWithoutFloor) {
  const double eps = 2.220446049250313e-16;
  // Off-diagonal pairs (i, j), (j, i) must agree within (|a| + |b|)·ε (ε of float for the
  // float test); no absolute floor, and the diagonal is never compared.
  const struct {
    int i, j;
    double a, b, diag;
    bool dbl, flt;
  } cases[] = {{0, 1, 0, 0, 1, true, true},
               {0, 1, 1.0, 1.0 + 2 * eps, 1, true, true},
               {0, 1, 1.0, 1.0 + 4 * eps, 1, false, true},
               {0, 1, 1.0, 1.0 + 1e-6, 1, false, false},
               {1, 2, 1e-300, 2e-300, 1, false, false},
               {1, 2, 1e-300, 1e-300, 1, true, true},
               {2, 0, 1.0, 0.0, 1, false, false},
               {2, 0, 1.0, 1.0, 1e300, true, true}};
  for (const auto& c : cases) {
    CRotationMatrix m;
    m.m[c.i][c.j] = c.a, m.m[c.j][c.i] = c.b, m.m[1][1] = c.diag;
    EXPECT_EQ(m.isSelfAdjoint(), c.dbl) << c.a << " " << c.b;
    EXPECT_EQ(m.isSelfAdjointAsFloats(), c.flt) << c.a << " " << c.b;
  }
}

TEST(RotationMatrixTest, Properties_InverseAgreesWithEigen) {
  qvtest::TestRng rng(5101);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 500; ++trial) {
    Eigen::Matrix3d e;
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 3; ++j) e(i, j) = rng.Uniform(-10, 10);
    // Keep to reasonably conditioned matrices so that a loose relative bound is fair.
    const double cond = e.norm() * e.inverse().norm();
    if (!(cond < 1e6)) continue;
    CRotationMatrix inv;
    CRotationMatrix in;
    Eigen::Map<RowMajor>(&in.m[0][0]) = e;
    ASSERT_TRUE(invertMatrix(in, inv));
    const Eigen::Matrix3d ref = e.inverse();
    // Both are backward stable: the difference is bounded by a few ulps times cond.
    const double tol = 64 * qvtest::Eps<double>() * cond * ref.norm();
    EXPECT_LE((ToEigen(inv) - ref).norm(), tol) << "trial " << trial;
    EXPECT_LE((e * ToEigen(inv) - Eigen::Matrix3d::Identity()).norm(),
              64 * qvtest::Eps<double>() * cond);
  }
}

TEST(RotationMatrixTest, Degenerate_SingularLeavesOutUntouchedInPlaceWorks) {
  const double rank2[3][3] = {{1, 2, 3}, {2, 4, 6}, {0, 1, 1}};
  CRotationMatrix out = CRotationMatrix::Identity() * 7.0;
  EXPECT_FALSE(invertMatrix(CRotationMatrix(rank2), out));
  EXPECT_FALSE(invertMatrix(CRotationMatrix::Zero(), out));
  ExpectSame(out, CRotationMatrix::Identity() * 7.0);
  const double a[3][3] = {{0, -1, 0}, {1, 0, 0}, {0, 0, 1}};  // quarter turn about z
  CRotationMatrix m(a);
  ASSERT_TRUE(invertMatrix(m, m));
  ExpectSame(m, CRotationMatrix(a).getTransposed());  // exact: pivots are ±1
}

}  // namespace
