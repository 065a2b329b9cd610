// SPDX-License-Identifier: MIT
// λ|μ smoothing: regular-polygon shrink factor, fixed vertices bit-exact, refusals.

#include <qvmath/analysis/polyline_smooth.h>

#include <cmath>

#include "test_util.h"

namespace {

using REmath::Point3D;
using REmath::Point3D_d;

template <class P>
class PolylineSmoothTest : public ::testing::Test {};
using PointTypes = ::testing::Types<Point3D, Point3D_d>;
TYPED_TEST_SUITE(PolylineSmoothTest, PointTypes);

template <class P>
std::vector<P> Polygon(int n, double r) {
  std::vector<P> pts;
  for (int i = 0; i < n; ++i) {
    const double a = 2 * 3.141592653589793 * i / n;
    pts.emplace_back(r * std::cos(a), r * std::sin(a), 0.0);
  }
  return pts;
}

// A closed regular n-gon is an eigenvector of every pass: a pass with weight w scales its
// radius by 1 − w·(1 − cos(2π/n)). λ is float(Weight) and μ uses the float 0.1, so the
// double variant matches this oracle only with both roundings.
TYPED_TEST(PolylineSmoothTest, Properties_RegularPolygonShrinksByTransferFactor) {
  using P = TypeParam;
  const double tol = std::is_same<P, Point3D>::value ? 1e-5 : 1e-13;
  const double k = 1 - std::cos(2 * 3.141592653589793 / 12);
  const double lambda = double(0.4f);
  const double mu = lambda / (1 - double(0.1f) * lambda);
  for (const bool preserve : {false, true}) {
    auto pts = Polygon<P>(12, 10.0);
    ASSERT_TRUE(
        smoothPolylineWithFixedPoints(pts, CPolylineSmoothParams(true, 0.4, 7, preserve, nullptr)));
    const double f = (1 - lambda * k) * (preserve ? 1 + mu * k : 1.0);
    const double want = 10.0 * std::pow(f, 7);
    for (const P& p : pts) {
      EXPECT_NEAR(std::hypot(double(p.x()), double(p.y())), want, tol * 10) << preserve;
    }
  }
}

TYPED_TEST(PolylineSmoothTest, Properties_FixedVerticesExactAndCorrectionLocal) {
  using P = TypeParam;
  qvtest::TestRng rng(77);
  SCOPED_TRACE(rng.Trace());
  for (const bool closed : {false, true}) {
    std::vector<P> start;
    for (int i = 0; i < 200; ++i) {
      start.emplace_back(i + rng.Uniform(-0.3, 0.3), rng.Uniform(-1, 1), 1e3 + rng.Uniform(-1, 1));
    }
    std::vector<int> fixed = {0, 5, 6, 60, 60, 199};
    auto free = start, pinned = start;
    for (auto* v : {&free, &pinned})
      ASSERT_TRUE(smoothPolylineWithFixedPoints(
          *v, CPolylineSmoothParams(closed, 0.4, 5, true, v == &free ? nullptr : &fixed)));
    // The end points of an open line never move, with or without fixing.
    if (!closed) {
      EXPECT_EQ(free.front().x(), start.front().x());
      EXPECT_EQ(free.back().z(), start.back().z());
    }
    for (int i = 0; i < 200; ++i) {
      int dist = 1 << 20;
      for (int f : fixed) {
        const int d = std::abs(i - f);
        dist = std::min(dist, closed ? std::min(d, 200 - d) : d);
      }
      const auto& a = pinned[std::size_t(i)];
      const auto& b = (dist == 0 ? start : free)[std::size_t(i)];
      // Fixed vertices bit-exact; beyond 10 vertices (5 × 2 passes) as if free, bit for bit.
      const bool same = a.x() == b.x() && a.y() == b.y() && a.z() == b.z();
      EXPECT_TRUE(same || (dist > 0 && dist <= 10)) << i;
    }
  }
}

TYPED_TEST(PolylineSmoothTest, Degenerate_RefusedOrTrivialCallsLeavePointsUntouched) {
  using P = TypeParam;
  const auto square = Polygon<P>(4, 1.0);
  std::vector<int> bad = {1, 4}, negative = {-1};
  struct Case {
    std::vector<P> pts;
    CPolylineSmoothParams prms;
    bool ok;
  };
  const Case cases[] = {
      {std::vector<P>(square.begin(), square.begin() + 2), CPolylineSmoothParams(), false},
      {square, CPolylineSmoothParams(true, 0.4, 3, true, &bad), false},
      {square, CPolylineSmoothParams(false, 0.4, 3, true, &negative), false},
      {square, CPolylineSmoothParams(true, 0.4, 0, true, nullptr), true},
  };
  for (const Case& c : cases) {
    auto pts = c.pts;
    EXPECT_EQ(smoothPolylineWithFixedPoints(pts, c.prms), c.ok);
    for (std::size_t i = 0; i < pts.size(); ++i) EXPECT_EQ(pts[i].x(), c.pts[i].x());
  }
}

}  // namespace
