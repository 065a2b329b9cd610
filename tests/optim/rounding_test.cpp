// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/optim/rounding.h>

#include <climits>
#include <cmath>
#include <limits>
#include <stdexcept>

#include "test_util.h"

TEST(RoundingTest, Properties_RndtoniIsNearestWithTiesUp) {
  // Ties go up on both signs; NaN and out-of-range give the integer indefinite INT_MIN.
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const struct {
    double x;
    int r;
  } quirks[] = {{-2.5, -2},       {0.5, 1},          {-2.5000000000000004, -3}, {nan, INT_MIN},
                {1e300, INT_MIN}, {-1e300, INT_MIN}, {2147483646.5, INT_MAX}};
  for (const auto& q : quirks) EXPECT_EQ(rndtoni(q.x), q.r) << q.x;
  // Oracle: floor(x + 0.5) computed exactly is "nearest, ties up" for every x whose
  // x + 0.5 is exact (|x| < 2^52 with a representable half).
  qvtest::TestRng rng(17);
  SCOPED_TRACE(rng.Trace());
  for (int k = 0; k < 20000; ++k) {
    const double x = std::ldexp(double(rng.Int(-(1 << 30), 1 << 30)), -rng.Int(0, 6));
    EXPECT_EQ(rndtoni(x), int(std::floor(x + 0.5))) << x;
  }
}

// The helpers' rounding quirks: mulrnd ties up, fRound2 multiplies by 0.01 (not / 100),
// fRoundN ties on |x| and carries into a new decade, getScale puts the mantissa in (1, 10]
// and refuses x <= 0.
TEST(RoundingTest, Regions_HelperQuirks) {
  int v = -5;
  mulrnd(0.5, &v);
  EXPECT_TRUE(v == -2 && fRound2(0.125) == 13 * 0.01 && fRound2(-0.125) == -12 * 0.01);
  const struct {
    double x;
    int digits;
    double r, tol;
  } rn[] = {{1e-31, 3, 0.0, 0.0},
            {-0.0012345, 2, -0.00123, 1e-17},
            {9.9996, 3, 10.0, 1e-12},
            {-2.5, 0, -3.0, 1e-15},
            {1.234567890123, 19, 1.234567890123, 1e-14}};
  for (const auto& c : rn) EXPECT_NEAR(fRoundN(c.x, c.digits), c.r, c.tol) << c.x;
  int e = 99;
  EXPECT_NEAR(getScale(0.13, e), 1.3, 1e-15);
  EXPECT_EQ(e, -1);
  EXPECT_NEAR(getScale(1.0, e), 10.0, 1e-14);
  e = 7;
  EXPECT_THROW(getScale(0.0, e), std::domain_error);
  EXPECT_THROW(getScale(std::numeric_limits<double>::infinity(), e), std::domain_error);
  EXPECT_EQ(e, 7);
}

TEST(RoundingTest, Regions_RoundBoundaryTable) {
  struct Case {
    double x, bound, step;
    int kind, e;
  } cases[] = {
      {0.13, 0.14, 0.02, 1, -1}, {850, 1000, 500, 5, 2}, {100, 100, 50, 5, 1},
      {1.1, 1.2, 0.2, 2, 0},     {14, 15, 5, 5, 1},      {2.2, 2.5, 0.5, 5, 0},
      {2.6, 3, 1, 2, 0},         {7.5, 8, 1, 2, 0},      {0.0042, 0.005, 0.001, 2, -3},
      {8.01, 10, 5, 5, 0},
  };
  for (const Case& c : cases) {
    double x = c.x, bound = 0, step = 0;
    int kind = 0, e = 0;
    roundBoundary(x, bound, step, kind, e);
    EXPECT_TRUE(std::abs(bound - c.bound) <= 1e-12 * c.bound &&
                std::abs(step - c.step) <= 1e-12 * c.step && kind == c.kind && e == c.e)
        << c.x;
    EXPECT_GE(bound * (1 + 1e-12), c.x) << "the boundary lies at or above x";
  }
}

// Non-finite input used to hang the normalising loop; huge input overflowed the decimal
// scaling; results beyond the int range came back as INT_MIN.
TEST(RoundingTest, Regression_NonFiniteHugeAndOutOfIntRangeInput) {
  const double inf = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double big = std::numeric_limits<double>::max();
  auto scaled = [](double x, int n) { return scaleDouble(x, n), x; };
  auto mul = [](double f, int v) { return mulrnd(f, &v), double(v); };
  // fRound4(max): 1.7977e308 is beyond the double range, x unchanged; fRoundN removes
  // nothing past 17 digits.
  const double got[] = {
      fRound4(inf),          fRoundN(-inf, 3), fRoundN(nan, 3),       fRound4(big),
      fRoundN(1.5, 320),     fRoundN(0.1, 16), fRoundN(0.1, INT_MAX), fRound2(1e8),
      fRound2(-3e9 - 0.004), fRound2(nan),     fRound2(-inf),         mul(2, INT_MAX),
      mul(-2, INT_MAX),      mul(nan, 7),      scaled(1.0, INT_MIN),  scaled(1.0, INT_MAX)};
  const double want[] = {inf,  -inf, nan,  big,     1.5,     0.1, 0.1, 1e8,
                         -3e9, nan,  -inf, INT_MAX, INT_MIN, 7,   0.0, inf};
  for (int k = 0; k < 16; ++k) {
    EXPECT_TRUE(got[k] == want[k] || (std::isnan(got[k]) && std::isnan(want[k]))) << k;
  }
  EXPECT_NEAR(fRound4(1.8e304), 1.8e304, 1e-14 * 1.8e304);
  EXPECT_NEAR(fRound4(-1.23456e305), -1.2346e305, 1e-14 * 1.2346e305);
  double x = 1.5e308, bound = -1, step = -1;
  int kind = -1, e = -1;
  EXPECT_THROW(roundBoundary(x, bound, step, kind, e), std::domain_error);
  EXPECT_TRUE(bound == -1 && kind == -1);
  x = 9e307;  // a boundary of 1e308 still fits
  roundBoundary(x, bound, step, kind, e);
  EXPECT_NEAR(bound, 1e308, 1e-12 * 1e308);
}
