// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/optim/brent_zero.h>

#include <cmath>

namespace {

// (x − shift)·((x − shift)² + 1): one simple root at shift; counts its calls.
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

TEST(BrentZeroTest, Regions_RootsLimitsAndRefusals) {
  Counter c0, c1, c2, c3, cEnd, cLimit;
  c1.shift = 0.123456789, c2.shift = -0.7, c3.shift = 1.9, cEnd.shift = 1.0, cLimit.shift = 0.3;
  const struct {
    double (*f)(double, void*);
    Counter* ctx;
    double a, b, tol;
    int maxIter, status;
    double root, rootTol;
  } cases[] = {
      // Interpolation converges superlinearly: 10 iterations, where bisection needs 42.
      {Cubic, &c0, -2, 2, 1e-12, 10, kBrentConverged, 0.0, 1e-11},
      {Cubic, &c1, -2, 2, 1e-12, 10, kBrentConverged, 0.123456789, 1e-11},
      {Cubic, &c2, -2, 2, 1e-12, 10, kBrentConverged, -0.7, 1e-11},
      {Cubic, &c3, -2, 2, 1e-12, 10, kBrentConverged, 1.9, 1e-11},
      {Cosine, nullptr, 3, 0, 1e-14, 100, kBrentConverged, std::acos(0.0), 1e-13},  // reversed
      {Step, nullptr, 0, 1, 1e-9, 200, kBrentConverged, 0.3, 2e-9},  // the bracket is kept
      {Cubic, &cEnd, 1, 3, 1e-10, 50, kBrentConverged, 1.0, 0.0},    // exact zero at an end
      {Cubic, &cLimit, -100, 100, 0, 2, kBrentIterLimit, 0.0, 100.0},
      {Positive, nullptr, -1, 1, 1e-10, 50, kBrentNoBracket, 42.0, 0.0},  // root untouched
      {nullptr, nullptr, 0, 1, 1e-9, 10, kBrentNoBracket, 42.0, 0.0},
  };
  for (const auto& k : cases) {
    SCOPED_TRACE(k.a);
    int iters = 7, status = -5;
    double root = 42.0;
    BrentZeroFun(k.f, k.a, k.b, k.tol, k.maxIter, iters, root, status, k.ctx);
    EXPECT_EQ(status, k.status);
    EXPECT_NEAR(root, k.root, k.rootTol);
    const int wantIters = k.status == kBrentIterLimit   ? k.maxIter
                          : k.status == kBrentNoBracket ? -1
                          : k.root == k.a               ? 0
                                                        : iters;
    EXPECT_TRUE(iters == wantIters || !k.f) << iters;
    // Two end values, then one evaluation per iteration.
    EXPECT_TRUE(!k.ctx || k.status != kBrentConverged || k.ctx->calls == iters + 2);
  }
}
