// SPDX-License-Identifier: MIT
#include <qvmath/optim/brent_zero.h>

#include <gtest/gtest.h>

#include <cmath>

namespace {

struct Counter {
  int calls = 0;
  double shift = 0;
};

double Cubic(double x, void* ctx) {
  auto* c = static_cast<Counter*>(ctx);
  ++c->calls;
  return (x - c->shift) * ((x - c->shift) * (x - c->shift) + 1.0);
}

double Cosine(double x, void*) { return std::cos(x); }
double Step(double x, void*) { return x < 0.3 ? -1.0 : 1.0; }  // a discontinuous sign change
double Positive(double x, void*) { return x * x + 1.0; }

}  // namespace

TEST(BrentZeroTest, Properties_FindsRootsWithinTolerance) {
  for (double shift : {-0.7, 0.0, 0.123456789, 1.9}) {
    Counter c;
    c.shift = shift;
    int iters = 0, status = -5;
    double root = 0;
    BrentZeroFun(Cubic, -2.0, 2.0, 1e-12, 100, iters, root, status, &c);
    EXPECT_EQ(status, kBrentConverged);
    EXPECT_NEAR(root, shift, 1e-11);
    EXPECT_GE(iters, 0);
    EXPECT_EQ(c.calls, iters + 2) << "two end values, then one evaluation per iteration";
  }
  int iters = 0, status = -5;
  double root = 0;
  BrentZeroFun(Cosine, 3.0, 0.0, 1e-14, 100, iters, root, status, nullptr);  // reversed ends
  EXPECT_EQ(status, kBrentConverged);
  EXPECT_NEAR(root, std::acos(0.0), 1e-13);
  // A jump is bracketed down to the tolerance: Brent never loses the bracket.
  BrentZeroFun(Step, 0.0, 1.0, 1e-9, 200, iters, root, status, nullptr);
  EXPECT_EQ(status, kBrentConverged);
  EXPECT_NEAR(root, 0.3, 2e-9);
}

TEST(BrentZeroTest, Degenerate_NoBracketAndLimits) {
  int iters = 7, status = -5;
  double root = 42.0;
  BrentZeroFun(Positive, -1.0, 1.0, 1e-10, 50, iters, root, status, nullptr);
  EXPECT_EQ(status, kBrentNoBracket);
  EXPECT_EQ(iters, -1);
  EXPECT_EQ(root, 42.0) << "root untouched without a bracket";

  // An exact zero at an end is a root at once.
  Counter c;
  c.shift = 1.0;
  BrentZeroFun(Cubic, 1.0, 3.0, 1e-10, 50, iters, root, status, &c);
  EXPECT_EQ(status, kBrentConverged);
  EXPECT_EQ(root, 1.0);
  EXPECT_EQ(iters, 0);

  // The iteration limit is reported apart from success, with the best estimate.
  c = Counter();
  c.shift = 0.3;
  BrentZeroFun(Cubic, -100.0, 100.0, 0.0, 2, iters, root, status, &c);
  EXPECT_EQ(status, kBrentIterLimit);
  EXPECT_EQ(iters, 2);
  EXPECT_GE(root, -100.0);
  EXPECT_LE(root, 100.0);

  BrentZeroFun(nullptr, 0.0, 1.0, 1e-9, 10, iters, root, status, nullptr);
  EXPECT_EQ(status, kBrentNoBracket);
}
