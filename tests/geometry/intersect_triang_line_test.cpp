// SPDX-License-Identifier: MIT
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/intersections.h>
#include <qvmath/geometry/intersect_triang_line.h>

#include <algorithm>
#include <cmath>

#include "geometry/geom_test_util.h"

namespace {

using K = CGAL::Exact_predicates_inexact_constructions_kernel;
using qvtest::V3;

K::Point_3 Kp(const V3& v) { return K::Point_3(v[0], v[1], v[2]); }

struct Case {
  std::array<float, 3> a, b, c, p, dir;
  V3 A, B, C, P, Dir;
  double u, v;       // barycentric weights of the exact plane hit (of B − A and C − A)
  V3 hit;            // the exact plane hit in double
  bool parallelish;  // |sin| of the line-plane angle below 1e-3
};

Case MakeCase(qvtest::TestRng& rng) {
  Case k;
  k.a = qvtest::RandomPoint<float>(rng, 5);
  k.b = qvtest::RandomPoint<float>(rng, 5);
  k.c = qvtest::RandomPoint<float>(rng, 5);
  k.p = qvtest::RandomPoint<float>(rng, 10);
  // Aim at a random point of the plane around the triangle, so that about half the lines hit.
  const double u0 = rng.Uniform(-0.4, 1), v0 = rng.Uniform(-0.4, 1);
  for (int i = 0; i < 3; ++i)
    k.dir[i] =
        qvtest::RoundTo<float>(k.a[i] + u0 * (k.b[i] - k.a[i]) + v0 * (k.c[i] - k.a[i]) - k.p[i]);
  k.A = qvtest::ToV3(k.a.data()), k.B = qvtest::ToV3(k.b.data()), k.C = qvtest::ToV3(k.c.data());
  k.P = qvtest::ToV3(k.p.data()), k.Dir = qvtest::ToV3(k.dir.data());
  const V3 e1 = qvtest::Sub(k.B, k.A), e2 = qvtest::Sub(k.C, k.A), n = qvtest::Cross(e1, e2);
  const double den = qvtest::Dot(k.Dir, n);
  k.parallelish = std::fabs(den) < 1e-3 * std::sqrt(qvtest::Norm2(k.Dir) * qvtest::Norm2(n));
  const double s = qvtest::Dot(qvtest::Sub(k.A, k.P), n) / den;
  k.hit = qvtest::Add(k.P, qvtest::Scale(k.Dir, s));
  const V3 w = qvtest::Sub(k.hit, k.A);
  const double g11 = qvtest::Norm2(e1), g22 = qvtest::Norm2(e2), g12 = qvtest::Dot(e1, e2);
  const double D = g11 * g22 - g12 * g12;
  k.u = (g22 * qvtest::Dot(w, e1) - g12 * qvtest::Dot(w, e2)) / D;
  k.v = (g11 * qvtest::Dot(w, e2) - g12 * qvtest::Dot(w, e1)) / D;
  return k;
}

// Distance from the in-plane point X to the closed triangle's boundary (brute force over
// the three segments, clamped projection).
double BoundaryDist2(const V3& X, const V3& A, const V3& B, const V3& C) {
  const V3* v[3] = {&A, &B, &C};
  double best = 1e300;
  for (int i = 0; i < 3; ++i) {
    const V3 &s = *v[i], &t = *v[(i + 1) % 3];
    const V3 d = qvtest::Sub(t, s);
    const double tt = std::clamp(qvtest::Dot(qvtest::Sub(X, s), d) / qvtest::Norm2(d), 0.0, 1.0);
    best = std::min(best, qvtest::Dist2(X, qvtest::Add(s, qvtest::Scale(d, tt))));
  }
  return best;
}

// The plain query against CGAL away from the boundary; the tolerant one (tol 0.5) against
// the barycentric weights of the exact plane hit and the brute-force boundary distance.
TEST(IntersectTriangLineTest, Properties_AgainstCgalAndBruteForce) {
  qvtest::TestRng rng(5801);
  SCOPED_TRACE(rng.Trace());
  int hits = 0, misses = 0, outside = 0;
  for (int trial = 0; trial < 5000; ++trial) {
    const Case k = MakeCase(rng);
    if (k.parallelish) continue;
    const double uv = k.u + k.v;
    const double lo = std::min({k.u, k.v, uv}), hi = std::max({k.u, k.v, uv});
    const double margin = std::min({k.u, k.v, 1 - uv});
    if (std::fabs(margin) >= 1e-3) {  // else too close to the boundary to call in float
      const bool ref =
          CGAL::do_intersect(K::Line_3(Kp(k.P), K::Vector_3(k.Dir[0], k.Dir[1], k.Dir[2])),
                             K::Triangle_3(Kp(k.A), Kp(k.B), Kp(k.C)));
      ASSERT_EQ(ref, margin > 0) << "oracle disagreement at trial " << trial;
      float X[3];
      EXPECT_EQ(
          IntersectTriangLine(k.a.data(), k.b.data(), k.c.data(), k.p.data(), k.dir.data(), X), ref)
          << trial;
      // X is written in both cases: the plane hit.
      const double size = 1 + std::sqrt(qvtest::Norm2(k.hit));
      EXPECT_LE(std::sqrt(qvtest::Dist2(qvtest::ToV3(X), k.hit)), 1e-2 * size) << trial;
      (ref ? hits : misses)++;
    }
    const float tol = 0.5f;
    bool inside = false;
    float over = -1, dist2 = -1, X[3];
    const bool ok = IntersectTriangLineFree(k.a.data(), k.b.data(), k.c.data(), k.p.data(),
                                            k.dir.data(), X, tol, inside, over, dist2);
    if (std::fabs(lo + tol) < 1e-6 || std::fabs(hi - 1 - tol) < 1e-6) continue;
    ASSERT_EQ(ok, lo >= -tol && hi <= 1 + tol) << trial;
    if (!ok) continue;
    const double refOver = std::max({0.0, -k.u, k.u - 1, -k.v, k.v - 1, -uv, uv - 1});
    EXPECT_NEAR(over, refOver, 1e-5) << trial;
    const double toHit = qvtest::Dist2(k.hit, k.P);
    if (lo > 1e-6 && hi < 1 - 1e-6) {
      EXPECT_TRUE(inside && over == 0.0f);
      EXPECT_NEAR(dist2, toHit, 1e-5 * (1 + toHit)) << trial;
    }
    if (refOver > 1e-6) {
      EXPECT_FALSE(inside);
      ++outside;
      const double ref = BoundaryDist2(k.hit, k.A, k.B, k.C) + toHit;
      EXPECT_NEAR(dist2, ref, 1e-5 * (1 + ref)) << trial;
    }
  }
  EXPECT_GT(hits, 300);
  EXPECT_GT(misses, 300);
  EXPECT_GT(outside, 300);
}

TEST(IntersectTriangLineTest, Regions_BoundaryAndParallelCases) {
  const float A[3] = {0, 0, 0}, B[3] = {1, 0, 0}, C[3] = {0, 1, 0};
  const float down[3] = {0, 0, -1}, inPlane[3] = {1, 1, 0};
  // Hits exactly on a vertex or an edge count; s < 0 too (the line is unbounded). Just
  // outside: false, X still the plane hit. A line in the plane: false, X untouched.
  const struct {
    float p[3];
    const float* dir;
    bool hit;
    float x[3];
  } cases[] = {{{1, 0, 5}, down, true, {1, 0, 0}},
               {{0.5f, 0.5f, -1}, down, true, {0.5f, 0.5f, 0}},
               {{0.75f, 0.5f, 3}, down, false, {0.75f, 0.5f, 0}},
               {{0.1f, 0.1f, 0}, inPlane, false, {7, 7, 7}}};
  for (const auto& c : cases) {
    float X[3] = {7, 7, 7};
    EXPECT_EQ(IntersectTriangLine(A, B, C, c.p, c.dir, X), c.hit) << c.p[0];
    EXPECT_TRUE(X[0] == c.x[0] && X[1] == c.x[1] && X[2] == c.x[2]) << c.p[0];
  }
  bool inside = false;
  float over = -1, dist2 = -1, X[3] = {7, 7, 7};
  EXPECT_FALSE(IntersectTriangLineFree(A, B, C, cases[3].p, inPlane, X, 1.0f, inside, over, dist2));
  EXPECT_TRUE(X[0] == 7.0f && over == -1.0f);
}

}  // namespace
