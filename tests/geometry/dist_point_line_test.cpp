// SPDX-License-Identifier: MIT
#include <qvmath/geometry/dist_point_line.h>

#include <cmath>

#include "geometry/geom_test_util.h"

namespace {

using qvtest::V3;

template <class T>
class DistPointLineTest : public ::testing::Test {};
using Reals = ::testing::Types<float, double>;
TYPED_TEST_SUITE(DistPointLineTest, Reals);

TYPED_TEST(DistPointLineTest, Properties_AgainstCrossProductFormula) {
  using T = TypeParam;
  qvtest::TestRng rng(5951);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 3000; ++trial) {
    const auto p = qvtest::RandomPoint<T>(rng, 50), a = qvtest::RandomPoint<T>(rng, 50);
    auto dir = qvtest::RandomPoint<T>(rng, std::pow(10.0, rng.Uniform(-3, 3)));  // any length
    const V3 P = qvtest::ToV3(p.data()), A = qvtest::ToV3(a.data()), D = qvtest::ToV3(dir.data());
    // Independent formula: |w × d|² / |d|².
    const V3 w = qvtest::Sub(P, A);
    const double ref = qvtest::Norm2(qvtest::Cross(w, D)) / qvtest::Norm2(D);
    const double tol = 16 * qvtest::Eps<T>() * qvtest::Norm2(w);
    EXPECT_NEAR(DistancePoint2Line(p.data(), a.data(), dir.data()), ref, tol) << trial;

    // The perpendicular from the line through a and a + dir to p: p minus it lies on the
    // line, and it is orthogonal to the line.
    auto b = a;
    for (int i = 0; i < 3; ++i) b[i] = a[i] + dir[i];
    T out[3];
    Vector_Line2Point(a.data(), b.data(), p.data(), out);
    const V3 O = qvtest::ToV3(out), Db = qvtest::Sub(qvtest::ToV3(b.data()), A);
    EXPECT_NEAR(qvtest::Norm2(qvtest::Cross(qvtest::Sub(w, O), Db)) / qvtest::Norm2(Db), 0, tol);
    EXPECT_NEAR(qvtest::Dot(O, Db) / std::sqrt(qvtest::Norm2(Db)), 0,
                16 * qvtest::Eps<T>() * std::sqrt(qvtest::Norm2(w)));
  }
}

TYPED_TEST(DistPointLineTest, Degenerate_ZeroDirectionAndPointOnLine) {
  using T = TypeParam;
  const T p[3] = {4, 6, 3}, a[3] = {1, 2, 3}, zero[3] = {0, 0, 0}, dir[3] = {3, 4, 0};
  const T q[3] = {1, 2, 5};
  // A zero direction measures the distance to a; p = a + dir is on the line.
  EXPECT_TRUE(DistancePoint2Line(p, a, zero) == T(25) && DistancePoint2Line(p, a, dir) == T(0) &&
              DistancePoint2Line(q, a, dir) == T(4));
  // Vector_Line2Point with a = b divides by zero: not finite.
  T out[3];
  Vector_Line2Point(a, a, p, out);
  EXPECT_FALSE(std::isfinite(out[0]));
  // In place: out may be the array of p.
  T pp[3] = {4, 6, 7};
  const T b[3] = {4, 6, 3};
  Vector_Line2Point(a, b, pp, pp);
  EXPECT_TRUE(pp[0] == 0 && pp[1] == 0 && pp[2] == T(4));
}

}  // namespace
