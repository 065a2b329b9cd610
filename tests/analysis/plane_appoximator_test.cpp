// SPDX-License-Identifier: MIT
// Incremental plane fitter against batch fits after random add/remove; orientation, factory.

#include <qvmath/analysis/plane_appoximator.h>
#include <qvmath/analysis/plane_fit.h>

#include <cmath>
#include <memory>
#include <new>
#include <string>

#include "test_util.h"

namespace {

using REmath::CPlaneEquation;
using REmath::CPtVecAdapder;
using REmath::IPlaneAppoximator;
using REmath::Point3D;

std::unique_ptr<IPlaneAppoximator> Make() {
  return std::unique_ptr<IPlaneAppoximator>(
      IPlaneAppoximator::CreateByConstraint(REmath::PLANE_FIT_UNCONSTRAINED));
}

// 1..40 points on a tilted noisy plane near `offset`, each batch with its own random spread.
std::vector<Point3D> Batch(qvtest::TestRng& rng, double offset) {
  std::vector<Point3D> b(std::size_t(rng.Int(1, 40)));
  const double spread = std::pow(10.0, rng.Uniform(-1, 3));
  for (Point3D& p : b) {
    const double x = rng.Uniform(-spread, spread), y = rng.Uniform(-spread, spread);
    p = Point3D(offset + x, offset - y, offset + 0.3 * x - 0.2 * y + rng.Uniform(-1, 1));
  }
  return b;
}

TEST(PlaneAppoximator, Properties_MatchesBatchFitAfterRandomAddRemove) {
  qvtest::TestRng rng(4242);
  SCOPED_TRACE(rng.Trace());
  for (const double offset : {0.0, 1e6}) {
    auto appr = Make();
    std::vector<std::vector<Point3D>> held;
    for (int step = 0; step < 400; ++step) {
      if (held.empty() || rng.Int(0, 2) > 0) {
        held.push_back(Batch(rng, offset));
        appr->AddPoints(CPtVecAdapder(held.back()));
      } else {
        const std::size_t k = std::size_t(rng.Int(0, int(held.size()) - 1));
        appr->RemovePoints(CPtVecAdapder(held[k]));
        held.erase(held.begin() + std::ptrdiff_t(k));
      }
      std::vector<Point3D> all;
      for (const auto& b : held) all.insert(all.end(), b.begin(), b.end());
      CPlaneEquation pl;
      appr->CalcPlane(pl);
      double ref[4], c[3];
      const bool ok = FitPlaneToPointSet(all, ref, c);
      ASSERT_EQ(pl.IsValid(), ok) << step;
      if (!ok) continue;
      const double* n = pl.NormalDir();
      const double dot = n[0] * ref[0] + n[1] * ref[1] + n[2] * ref[2];
      // Removals leave rounding of order ε·(largest scatter held): far below 1e-8 here.
      EXPECT_NEAR(std::fabs(dot), 1.0, 1e-10) << step;
      EXPECT_NEAR(pl.FreeTerm(), -std::copysign(1.0, dot) * ref[3], 1e-9 * (offset + 1e3)) << step;
    }
    for (const auto& b : held) appr->RemovePoints(CPtVecAdapder(b));
    CPlaneEquation pl;
    appr->CalcPlane(pl);
    EXPECT_FALSE(pl.IsValid());
    // Emptied means exactly zero: a reused fitter agrees bit for bit with a fresh one.
    const auto b = Batch(rng, offset);
    auto fresh = Make();
    fresh->AddPoints(CPtVecAdapder(b));
    appr->AddPoints(CPtVecAdapder(b));
    CPlaneEquation p1, p2;
    fresh->CalcPlane(p1);
    appr->CalcPlane(p2);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(p1.NormalDir()[i], p2.NormalDir()[i]);
    EXPECT_EQ(p1.FreeTerm(), p2.FreeTerm());
  }
}

TEST(PlaneAppoximator, Regions_OrientationSmallSetsAndFactory) {
  const std::vector<Point3D> pts = {{0, 0, 2}, {1, 0, 2}, {0, 1, 2}, {1, 1, 2}};
  for (const float s : {-1.0f, 1.0f}) {
    const std::vector<Point3D> normals(2, Point3D(0.1f, 0, s)), none;
    const CPtVecAdapder normalSource(normals);
    auto appr = Make();
    appr->AddPoints(CPtVecAdapder(pts), nullptr);
    appr->AddPoints(CPtVecAdapder(none), &normalSource);
    CPlaneEquation pl;
    appr->CalcPlane(pl);
    ASSERT_TRUE(pl.IsValid());
    EXPECT_EQ(pl.NormalDir()[2], s);
    EXPECT_EQ(pl.FreeTerm(), -2 * s);
  }
  std::string what;
  try {
    delete IPlaneAppoximator::CreateByConstraint(REmath::PlaneFitConstraintType(1));
  } catch (const std::bad_alloc& e) {
    what = e.what();
  }
  EXPECT_EQ(what, "bad allocation");
}

}  // namespace
