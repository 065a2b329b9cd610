// SPDX-License-Identifier: MIT
#include <qvmath/geometry/two_lines.h>

#include <cmath>

#include "geometry/geom_test_util.h"

namespace {

using qvtest::V3;

template <class T>
class TwoLinesTest : public ::testing::Test {};
using Reals = ::testing::Types<float, double>;
TYPED_TEST_SUITE(TwoLinesTest, Reals);

TYPED_TEST(TwoLinesTest, Properties_CommonPerpendicularOfSkewLines) {
  using T = TypeParam;
  qvtest::TestRng rng(5901);
  SCOPED_TRACE(rng.Trace());
  int checked = 0;
  for (int trial = 0; trial < 2000; ++trial) {
    const auto P1 = qvtest::RandomPoint<T>(rng, 10), P2 = qvtest::RandomPoint<T>(rng, 10);
    const auto a = qvtest::RandomPoint<T>(rng, 2), b = qvtest::RandomPoint<T>(rng, 2);
    const V3 A = qvtest::ToV3(a.data()), B = qvtest::ToV3(b.data());
    const V3 R = qvtest::Sub(qvtest::ToV3(P2.data()), qvtest::ToV3(P1.data()));
    const V3 n = qvtest::Cross(A, B);
    const double sin2 = qvtest::Norm2(n) / (qvtest::Norm2(A) * qvtest::Norm2(B));
    // The analytic distance between the lines: |R·(a × b)| / |a × b|.
    const double gap2 = qvtest::Dot(R, n) * qvtest::Dot(R, n) / qvtest::Norm2(n);

    T r[3] = {T(P2[0] - P1[0]), T(P2[1] - P1[1]), T(P2[2] - P1[2])};
    T t[2] = {-99, -99};
    const bool met = meetTwoVectors(a.data(), b.data(), r, t, T(1e30));
    if (sin2 < 0.0076 * 0.99 || sin2 > 0.0076 * 1.01) {
      ASSERT_EQ(met, sin2 > 0.0076) << trial;  // false only for near-parallel lines
    }
    T t2[2] = {-99, -99};
    const bool solved = MakeMinDist2Lines(P1.data(), a.data(), P2.data(), b.data(), t2);
    if (!met || sin2 < 0.05) continue;  // conditioning: keep the angle above ~13°
    ASSERT_TRUE(solved);
    ++checked;
    // Both routines solve the same normal equations.
    const double tolT = 256 * qvtest::Eps<T>() * (1 + 20 / sin2);
    EXPECT_NEAR(t[0], t2[0], tolT * (1 + std::fabs(t2[0]))) << t[1] << " " << t2[1];
    EXPECT_NEAR(t[1], t2[1], tolT * (1 + std::fabs(t2[1])));
    // The gap vector realises the analytic distance and is perpendicular to both lines.
    const V3 G = qvtest::ToV3(r);
    EXPECT_NEAR(qvtest::Norm2(G), gap2, tolT * 100 * (1 + gap2)) << trial;
    EXPECT_TRUE(qvtest::Near3({qvtest::Dot(G, A), qvtest::Dot(G, B), 0}, {0, 0, 0}, tolT * 100));
    // The midpoint sits halfway between the two feet.
    T mid[3];
    makeTwoVectorsMediumPoint(P1.data(), P2.data(), a.data(), b.data(), t2, mid);
    const V3 m =
        qvtest::Scale(qvtest::Add(qvtest::Add(qvtest::ToV3(P1.data()), qvtest::Scale(A, t2[0])),
                                  qvtest::Add(qvtest::ToV3(P2.data()), qvtest::Scale(B, t2[1]))),
                      0.5);
    EXPECT_TRUE(qvtest::Near3(qvtest::ToV3(mid), m, 64 * qvtest::Eps<T>() * 100));
  }
  EXPECT_GT(checked, 1000);
}

TYPED_TEST(TwoLinesTest, Regions_GapTestAndThresholds) {
  using T = TypeParam;
  // L1 through (−2, 3, 0) along x, L2 through (0, 5, 0) along y: they cross at (0, 3, 0).
  const T P1[3] = {-2, 3, 0}, P2[3] = {0, 5, 0}, a[3] = {1, 0, 0}, b[3] = {0, 1, 0};
  T r[3] = {2, 2, 0}, t[2], mid[3];
  EXPECT_TRUE(meetTwoVectors(a, b, r, t, T(1e-30)));
  EXPECT_TRUE(t[0] == T(2) && t[1] == T(-2) && r[0] == 0 && r[1] == 0 && r[2] == 0);
  makeTwoVectorsMediumPoint(P1, P2, a, b, t, mid);
  EXPECT_TRUE(mid[0] == 0 && mid[1] == T(3) && mid[2] == 0);
  // |r|² < tol is strict; r is written even when the gap test fails.
  T r0[3] = {2, 2, 0}, r1[3] = {2, 2, 1}, r2[3] = {2, 2, 1};
  EXPECT_FALSE(meetTwoVectors(a, b, r0, t, T(0)) || meetTwoVectors(a, b, r2, t, T(1)));
  EXPECT_TRUE(meetTwoVectors(a, b, r1, t, T(1.01)) && r2[0] == 0 && r2[2] == T(1));
  // meetTwoVectors rejects sin² ≤ 0.0076 and zero directions, leaving r, t alone;
  // MakeMinDist2Lines only rejects |D| ≤ 1e-6·aa·bb (sin² 1e-7 fails, 1e-5 passes).
  const auto dir = [](double s2) {
    return std::array<T, 3>{T(std::sqrt(1 - s2)), T(std::sqrt(s2)), 0};
  };
  const std::array<T, 3> bLo = dir(0.0075), b7 = dir(1e-7), b5 = dir(1e-5), bPar = {-3, 0, 0},
                         zero = {0, 0, 0};
  const T O[3] = {0, 0, 0};
  T s2[3] = {0, 1, 0}, s3[3] = {0, 1, 0}, t2[2] = {-5, -5};
  EXPECT_FALSE(meetTwoVectors(a, bLo.data(), s2, t2, T(1e30)) ||
               meetTwoVectors(a, zero.data(), s3, t2, T(1e30)));
  EXPECT_TRUE(s2[1] == T(1) && t2[0] == T(-5));
  for (const auto* d : {&bPar, &zero, &b7, &bLo, &b5}) {  // failures leave t alone
    const bool ok = MakeMinDist2Lines(O, a, b, d->data(), t2);
    EXPECT_TRUE(ok == (d == &bLo || d == &b5) && (ok || t2[0] == T(-5)));
  }
}

}  // namespace
