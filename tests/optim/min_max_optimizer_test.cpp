// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/optim/min_max_optimizer.h>

#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <stdexcept>
#include <vector>

#include "test_util.h"

using REmath::CMinMaxOptimizer;
using REmath::CMinMaxParams;
using REmath::CMinMaxTask;
using REmath::Point3D_d;

namespace {

// A function given by a lambda; records every point it is evaluated at unless told not to.
struct Fn : CMinMaxTask::TFunctor {
  explicit Fn(std::function<double(const Point3D_d&)> f) : body(std::move(f)) {}
  double operator()(const Point3D_d& p) const override {
    if (record) seen.push_back(p);
    return body(p);
  }
  std::function<double(const Point3D_d&)> body;
  bool record = true;
  mutable std::vector<Point3D_d> seen;
};

// −Σ w_i·(p_i − a_i)²: concave, maximal at a.
Fn Bowl(const Point3D_d& a, const Point3D_d& w = Point3D_d(1, 1, 1)) {
  return Fn([=](const Point3D_d& p) {
    const Point3D_d d(p.m_x - a.m_x, p.m_y - a.m_y, p.m_z - a.m_z);
    return -(w.m_x * d.m_x * d.m_x + w.m_y * d.m_y * d.m_y + w.m_z * d.m_z * d.m_z);
  });
}

// g·p + c.
Fn Plane(const Point3D_d& g, double c) {
  return Fn([=](const Point3D_d& p) { return g.m_x * p.m_x + g.m_y * p.m_y + g.m_z * p.m_z + c; });
}

// Applies an optional map to each trial point and records the result.
struct Projector : CMinMaxTask::IProjector {
  void Project(Point3D_d& x) const override {
    if (map) map(x);
    trials.push_back(x);
  }
  std::function<void(Point3D_d&)> map;
  mutable std::vector<Point3D_d> trials;
};

double F(const std::vector<const CMinMaxTask::TFunctor*>& fns, const Point3D_d& p) {
  double f = std::numeric_limits<double>::max();
  for (const auto* fn : fns) f = std::min(f, (*fn)(p));
  return f;
}

bool InBox(const Point3D_d& p, const Point3D_d& lo, const Point3D_d& hi) {
  return p.m_x >= lo.m_x && p.m_x <= hi.m_x && p.m_y >= lo.m_y && p.m_y <= hi.m_y &&
         p.m_z >= lo.m_z && p.m_z <= hi.m_z;
}

Point3D_d Solve(const CMinMaxTask& task, const CMinMaxParams& params) {
  CMinMaxOptimizer opt(task, params);
  Point3D_d x(-99.0, -99.0, -99.0);  // output only: overwritten
  opt.Run(x);
  return x;
}

}  // namespace

TEST(MinMaxOptimizerTest, Degenerate_NothingToDoAndNaNValues) {
  const Point3D_d start(0.25, -0.5, 1.0), lo(-1, -1, -1), hi(2, 2, 2);
  CMinMaxParams params;
  EXPECT_EQ(Solve(CMinMaxTask({}, start, lo, hi), params).m_z, 1.0) << "no functions";
  EXPECT_THROW(CMinMaxTask({nullptr}, start, lo, hi), std::invalid_argument);
  EXPECT_THROW(CMinMaxTask().FnByIdx(0), std::out_of_range);
  // MaxIter 0: F is evaluated at the start and nothing else.
  Fn bowl = Bowl(Point3D_d(1, 1, 1));
  params.SetMaxIter(0);
  EXPECT_EQ(Solve(CMinMaxTask({&bowl}, start, lo, hi), params).m_x, start.m_x);
  EXPECT_EQ(bowl.seen.size(), 1u);
  // Identical limits: h = 1e-5 and a zero step; the three trials sit on the start point.
  params.SetDefault();
  bowl.seen.clear();
  const Point3D_d y = Solve(CMinMaxTask({&bowl}, start, start, start), params);
  EXPECT_TRUE(y.m_x == start.m_x && y.m_y == start.m_y);
  ASSERT_EQ(bowl.seen.size(), 1u + 3u + 3u);  // F(start), gradient probes, three trials
  EXPECT_EQ(bowl.seen[1].m_x, start.m_x + 1e-5);
  for (size_t i = 4; i < 7; ++i) EXPECT_EQ(bowl.seen[i].m_x, start.m_x);
  // Undefined beyond x = 0.5: NaN values are never accepted, the ascent stops short of it.
  Fn partial([](const Point3D_d& p) {
    return p.m_x > 0.5 ? std::numeric_limits<double>::quiet_NaN() : p.m_x;
  });
  params.SetMaxIter(30);
  params.SetMaxGradientMoveAttempts(10);
  const Point3D_d z =
      Solve(CMinMaxTask({&partial}, Point3D_d(0, 0, 0), Point3D_d(-3, -3, -3), Point3D_d(3, 3, 3)),
            params);
  EXPECT_TRUE(z.m_x <= 0.5 && z.m_x > 0.0) << z.m_x;
}

TEST(MinMaxOptimizerTest, Regions_VanishingGradientFallsBackAndProjectorActsFirst) {
  // f0 = 0 is the smallest but flat: the direction is f1's gradient (+x), and the first
  // trial goes 0.98 of the way to the face x = 1. F cannot rise, so x stays put.
  Fn flat([](const Point3D_d&) { return 0.0; });
  Fn ramp = Plane(Point3D_d(0.5, 0, 0), 5.0);  // |d| < 1: diagonal/|d| reaches past the face
  Projector rec;
  CMinMaxTask task({&flat, &ramp}, Point3D_d(0, 0, 0), Point3D_d(-1, -1, -1), Point3D_d(1, 1, 1),
                   &rec);
  const Point3D_d x = Solve(task, CMinMaxParams());
  ASSERT_EQ(rec.trials.size(), 3u);
  EXPECT_TRUE(std::abs(rec.trials[0].m_x - 0.98) < 1e-12 &&
              std::abs(rec.trials[1].m_x - 0.49) < 1e-12 && x.m_x == 0.0);

  // The projector pins z to 0.3; it runs before each evaluation, so the functions only
  // ever see z = 0.3 (or 0.3 + h on a gradient probe, h = 1e-5 times the squared box
  // diagonal, not the diagonal), and the ascent ends on the plane.
  Fn bowl = Bowl(Point3D_d(0.5, 0.5, 0.8));
  Projector plane;
  plane.map = [](Point3D_d& p) { p.m_z = 0.3; };
  CMinMaxParams params;
  params.SetMaxIter(50);
  const double h = 1e-5 * 12;
  const Point3D_d y = Solve(
      CMinMaxTask({&bowl}, Point3D_d(0, 0, 0.3), Point3D_d(-1, -1, -1), Point3D_d(1, 1, 1), &plane),
      params);
  for (const Point3D_d& p : bowl.seen) EXPECT_TRUE(p.m_z == 0.3 || p.m_z == 0.3 + h) << p.m_z;
  EXPECT_TRUE(y.m_z == 0.3 && bowl(y) > bowl(Point3D_d(0, 0, 0.3)));
}

TEST(MinMaxOptimizerTest, Properties_NeverDecreasesStaysInBoxAndApproachesGridMaximum) {
  qvtest::TestRng rng(20240917);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 40; ++trial) {
    SCOPED_TRACE("trial " + std::to_string(trial));
    // A concave F in a random box: the minimum of a bowl and up to three planes. In even
    // trials the planes are arbitrary, and the maximum may sit on a kink, where following
    // one gradient at a time with crossing-limited steps can stall. In odd trials the planes
    // stay 0.3 above the bowl's apex value throughout the box, so the maximiser is the apex
    // of an anisotropic bowl and the path to it crosses no kink.
    auto random = [&](const Point3D_d& a, const Point3D_d& b) {
      return Point3D_d(rng.Uniform(a.m_x, b.m_x), rng.Uniform(a.m_y, b.m_y),
                       rng.Uniform(a.m_z, b.m_z));
    };
    const Point3D_d lo = random(Point3D_d(-2, -2, -2), Point3D_d(0, 0, 0));
    Point3D_d diag = random(Point3D_d(1, 1, 1), Point3D_d(3, 3, 3)), hi = lo;
    hi += diag;
    auto inside = [&] { return random(lo, hi); };
    const bool smoothMax = trial % 2 == 1;
    const Point3D_d a = inside(), w = random(Point3D_d(.5, .5, .5), Point3D_d(2, 2, 2));
    std::vector<std::unique_ptr<Fn>> owned;
    owned.push_back(std::make_unique<Fn>(Bowl(a, w)));
    for (int k = rng.Int(0, 3); k > 0; --k) {
      const Point3D_d g = random(Point3D_d(-1, -1, -1), Point3D_d(1, 1, 1));
      const double c = smoothMax ? 0.3 + g.length() * diag.length() -
                                       (g.m_x * a.m_x + g.m_y * a.m_y + g.m_z * a.m_z)
                                 : rng.Uniform(-1, 1);
      owned.push_back(std::make_unique<Fn>(Plane(g, c)));
    }
    std::vector<const CMinMaxTask::TFunctor*> fns;
    for (const auto& f : owned) {
      f->record = false;
      fns.push_back(f.get());
    }
    const Point3D_d start = inside();
    Projector rec;  // records every trial point
    CMinMaxTask task(fns, start, lo, hi, &rec);

    // Default settings: a few cheap iterations that never lose ground or leave the box.
    CMinMaxParams params;
    const Point3D_d quick = Solve(task, params);
    EXPECT_GE(F(fns, quick), F(fns, start));
    for (const Point3D_d& t : rec.trials) EXPECT_TRUE(InBox(t, lo, hi));
    // More iterations repeat the first four and can only add to them.
    params.SetMaxIter(400);
    const Point3D_d longer = Solve(task, params);
    EXPECT_GE(F(fns, longer), F(fns, quick));
    for (const Point3D_d& t : rec.trials) EXPECT_TRUE(InBox(t, lo, hi));
    if (!smoothMax) continue;

    // A long search with fine steps approaches the best point of a 41³ grid of the box.
    params.SetMaxGradientMoveAttempts(30);
    params.SetTolerance(1e-12);
    const Point3D_d best = Solve(task, params);
    double gridBest = -std::numeric_limits<double>::max();
    Point3D_d gridArg;
    for (int i = 0; i <= 40; ++i)
      for (int j = 0; j <= 40; ++j)
        for (int k = 0; k <= 40; ++k) {
          const Point3D_d p(lo.m_x + (hi.m_x - lo.m_x) * i / 40,
                            lo.m_y + (hi.m_y - lo.m_y) * j / 40,
                            lo.m_z + (hi.m_z - lo.m_z) * k / 40);
          const double f = F(fns, p);
          if (f > gridBest) gridBest = f, gridArg = p;
        }
    EXPECT_GE(F(fns, best), gridBest);
    Point3D_d offset = best;
    offset -= gridArg;
    EXPECT_LT(offset.length(), 3.0 / 40 * std::sqrt(3.0)) << "within a grid cell diagonal";
  }
}
