// SPDX-License-Identifier: MIT
#include <qvmath/geometry/local_frame.h>

#include <cmath>
#include <limits>

#include "geometry/geom_test_util.h"

namespace {

using qvtest::V3;

template <class T>
class LocalFrameTest : public ::testing::Test {};
using Reals = ::testing::Types<float, double>;
TYPED_TEST_SUITE(LocalFrameTest, Reals);

TYPED_TEST(LocalFrameTest, Properties_FrameIsOrthonormalRightHanded) {
  using T = TypeParam;
  qvtest::TestRng rng(5401);
  SCOPED_TRACE(rng.Trace());
  const double tol = 16 * qvtest::Eps<T>();  // a handful of roundings per component
  for (int trial = 0; trial < 1000; ++trial) {
    V3 nd = qvtest::RandomUnit(rng);
    if (trial % 4 == 0) nd = V3{nd[0] * 0.1, nd[1] * 0.1, nd[2]};  // near the z axis
    nd = qvtest::Scale(nd, 1 / std::sqrt(qvtest::Norm2(nd)));
    const T n[3] = {qvtest::RoundTo<T>(nd[0]), qvtest::RoundTo<T>(nd[1]),
                    qvtest::RoundTo<T>(nd[2])};
    T u[3], v[3];
    BuildUCSbyVector(n, u, v);
    const V3 U = qvtest::ToV3(u), Vv = qvtest::ToV3(v), N = qvtest::ToV3(n);
    // Unit, orthogonal, right-handed.
    EXPECT_TRUE(
        qvtest::Near3({qvtest::Norm2(U), qvtest::Norm2(Vv), qvtest::Dot(qvtest::Cross(U, Vv), N)},
                      {1, 1, 1}, tol));
    EXPECT_TRUE(
        qvtest::Near3({qvtest::Dot(U, N), qvtest::Dot(Vv, N), qvtest::Dot(U, Vv)}, {0, 0, 0}, tol));
    // The perpendicular is the one the branch rule picks: z zero off the z axis.
    const double xy2 = nd[0] * nd[0] + nd[1] * nd[1];
    if (xy2 > 0.11 || xy2 < 0.09) {
      EXPECT_EQ(u[xy2 > 0.11 ? 2 : 0], T(0));
    }
  }
}

TYPED_TEST(LocalFrameTest, Degenerate_NormalizeVector) {
  using T = TypeParam;
  // Zero and NaN vectors are left as they are.
  T zero[3] = {0, 0, 0}, bad[3] = {std::numeric_limits<T>::quiet_NaN(), 1, 2};
  NormalizeVector(zero);
  NormalizeVector(bad);
  EXPECT_TRUE(zero[0] == 0 && zero[1] == 0 && zero[2] == 0);
  EXPECT_TRUE(std::isnan(bad[0]) && bad[1] == T(1) && bad[2] == T(2));
  // The length is taken in double: float squares of these would overflow or underflow.
  for (T scale : {T(1), T(1e20), T(-1e-30)}) {
    T v[3] = {2 * scale, 3 * scale, 6 * scale};
    NormalizeVector(v);
    const double s = scale > 0 ? 1.0 / 7 : -1.0 / 7;
    EXPECT_TRUE(qvtest::Near3(qvtest::ToV3(v), {2 * s, 3 * s, 6 * s}, 8 * qvtest::Eps<T>()))
        << scale;
  }
}

TEST(LocalFrameCoordTest, Properties_CoordinatesReconstructProjection) {
  qvtest::TestRng rng(5403);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 500; ++trial) {
    const V3 e1 = qvtest::RandomPoint<double>(rng, 5), e2 = qvtest::RandomPoint<double>(rng, 5);
    const double x0 = rng.Uniform(-10, 10), y0 = rng.Uniform(-10, 10);
    const V3 n = qvtest::Cross(e1, e2);
    if (qvtest::Norm2(n) < 1e-2 * qvtest::Norm2(e1) * qvtest::Norm2(e2)) continue;
    // p = in-plane part + an offset along the normal, which least squares must ignore.
    const V3 p = qvtest::Add(qvtest::Add(qvtest::Scale(e1, x0), qvtest::Scale(e2, y0)),
                             qvtest::Scale(n, rng.Uniform(-3, 3)));
    double x = 0, y = 0;
    ASSERT_TRUE(CoordinateRelativeForPlaneReperDbl(p.data(), e1.data(), e2.data(), x, y, 1e-6));
    EXPECT_TRUE(qvtest::Near3({x, y, 0}, {x0, y0, 0}, 1e-9));
  }
}

TEST(LocalFrameCoordTest, Degenerate_ParallelFrameRejected) {
  const double e1[3] = {1, 2, 3}, e2[3] = {2, 4, 6}, p[3] = {1, 1, 1};
  double x = 42, y = 43;
  EXPECT_FALSE(CoordinateRelativeForPlaneReperDbl(p, e1, e2, x, y, 1e-6));
  EXPECT_TRUE(x == 42 && y == 43);
  const double zero[3] = {0, 0, 0};
  EXPECT_FALSE(CoordinateRelativeForPlaneReperDbl(p, zero, e2, x, y, 0));
  // The bound is relative to the shorter vector: sin² of 1e-2 rad ≈ 1e-4 at length ratio
  // 1 passes tol 1e-5 but fails tol 1e-3.
  const double f1[3] = {1, 0, 0}, f2[3] = {std::cos(1e-2), std::sin(1e-2), 0};
  EXPECT_TRUE(CoordinateRelativeForPlaneReperDbl(p, f1, f2, x, y, 1e-5));
  EXPECT_FALSE(CoordinateRelativeForPlaneReperDbl(p, f1, f2, x, y, 1e-3));
}

}  // namespace
