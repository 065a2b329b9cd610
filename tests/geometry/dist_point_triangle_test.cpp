// SPDX-License-Identifier: MIT
#include <CGAL/Simple_cartesian.h>
#include <CGAL/squared_distance_3.h>
#include <qvmath/geometry/detail/point_triangle.h>
#include <qvmath/geometry/dist_point_triangle.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "geometry/geom_test_util.h"

namespace {

using K = CGAL::Simple_cartesian<double>;
using qvtest::V3;
using REmath::Point3D;

K::Point_3 Kp(const V3& v) { return K::Point_3(v[0], v[1], v[2]); }

double CgalDist2(const V3& p, const V3& a, const V3& b, const V3& c) {
  return CGAL::squared_distance(Kp(p), K::Triangle_3(Kp(a), Kp(b), Kp(c)));
}

// Nearest feature by brute force in double, with the codes 0 face, 1 AB, 2 BC, 3 CA,
// 4 A, 5 B, 6 C; -1 when the decision is within a relative margin of 1e-4 (a rounding in
// the float routine may then legitimately pick the neighbour).
int BruteRegion(const V3& p, const V3& a, const V3& b, const V3& c) {
  const double m = 1e-4;
  const V3 e1 = qvtest::Sub(b, a), e2 = qvtest::Sub(c, a), w = qvtest::Sub(p, a);
  const double g11 = qvtest::Dot(e1, e1), g22 = qvtest::Dot(e2, e2), g12 = qvtest::Dot(e1, e2);
  const double b1 = qvtest::Dot(w, e1), b2 = qvtest::Dot(w, e2), D = g11 * g22 - g12 * g12;
  const double u = (g22 * b1 - g12 * b2) / D, v = (g11 * b2 - g12 * b1) / D;
  if (u > m && v > m && 1 - u - v > m) return 0;
  if (u > -m && v > -m && 1 - u - v > -m) return -1;  // projection near the boundary
  // Outside: the least of the edge interiors and the vertices.
  const V3* verts[3] = {&a, &b, &c};
  const int edges[3][3] = {{0, 1, 1}, {1, 2, 2}, {2, 0, 3}};  // from, to, code
  double cand[7];
  std::fill(cand, cand + 7, 1e300);
  for (int i = 0; i < 3; ++i) cand[4 + i] = qvtest::Dist2(p, *verts[i]);
  for (const auto& e : edges) {
    const V3 &s = *verts[e[0]], &t = *verts[e[1]];
    const V3 d = qvtest::Sub(t, s);
    const double tt = qvtest::Dot(qvtest::Sub(p, s), d) / qvtest::Norm2(d);
    if (std::fabs(tt) < m || std::fabs(tt - 1) < m) return -1;
    if (tt > 0 && tt < 1) cand[e[2]] = qvtest::Dist2(p, qvtest::Add(s, qvtest::Scale(d, tt)));
  }
  const int best = int(std::min_element(cand + 1, cand + 7) - cand);
  for (int i = 1; i < 7; ++i)
    if (i != best && cand[i] < cand[best] * (1 + m)) return -1;
  return best;
}

TEST(DistPointTriangleTest, Properties_AgainstCgalAndBruteForceRegions) {
  qvtest::TestRng rng(5701);
  SCOPED_TRACE(rng.Trace());
  int seen[7] = {0};
  for (int trial = 0; trial < 20000; ++trial) {
    // Mix of scales: points near the triangle and far from it.
    const double spread = trial % 3 == 0 ? 30 : 8;
    const auto p = qvtest::RandomPoint<float>(rng, spread);
    const auto a = qvtest::RandomPoint<float>(rng, 5);
    const auto b = qvtest::RandomPoint<float>(rng, 5);
    const auto c = qvtest::RandomPoint<float>(rng, 5);
    const V3 P = qvtest::ToV3(p.data()), A = qvtest::ToV3(a.data()), B = qvtest::ToV3(b.data()),
             C = qvtest::ToV3(c.data());
    const V3 e1 = qvtest::Sub(B, A), e2 = qvtest::Sub(C, A);
    // Skip slivers: the float inside test is only as good as sin of the smallest angle.
    if (qvtest::Norm2(qvtest::Cross(e1, e2)) < 1e-2 * qvtest::Norm2(e1) * qvtest::Norm2(e2))
      continue;
    const float* tri[3] = {a.data(), b.data(), c.data()};
    int region = -7;
    float foot[3];
    const float d2 = distancePointTriangle2(p.data(), tri, region, foot);
    const double ref = CgalDist2(P, A, B, C);
    // Float rounding of the differences, the cross product and the projection: a few ε
    // times the squared sizes involved.
    const double scale = qvtest::Norm2(qvtest::Sub(P, A)) + qvtest::Norm2(e1) + qvtest::Norm2(e2);
    const double tol = 64 * qvtest::Eps<float>() * scale;
    ASSERT_NEAR(d2, ref, tol) << "trial " << trial;
    // The foot is on the triangle and realises the distance.
    EXPECT_NEAR(CgalDist2(qvtest::ToV3(foot), A, B, C), 0, tol);
    EXPECT_NEAR(qvtest::Dist2(P, qvtest::ToV3(foot)), d2, tol);
    const int brute = BruteRegion(P, A, B, C);
    if (brute >= 0) {
      EXPECT_EQ(region, brute) << "trial " << trial;
      ++seen[brute];
    }
  }
  for (int r = 0; r < 7; ++r) EXPECT_GT(seen[r], 100) << "region " << r << " hardly exercised";
}

TEST(DistPointTriangleTest, Properties_MatchesStepByStepBodyBitForBit) {
  // The exported query may be vectorised; it must reproduce the plain step-by-step float
  // body exactly: value, region and foot, on random input, on a coarse grid where
  // boundary cases and ties are frequent, and on degenerate triangles.
  qvtest::TestRng rng(5703);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 30000; ++trial) {
    float pts[4][3];
    const int mode = trial % 3;
    for (auto& q : pts)
      for (float& c : q)
        c = mode == 0 ? qvtest::RoundTo<float>(rng.Uniform(-1, 1))
                      : float(rng.Int(-2, 2));  // grid: exact ties and boundary hits
    if (mode == 2) std::memcpy(pts[2], pts[1 + rng.Int(0, 2) % 2 * 2], sizeof pts[2]);
    const float* tri[3] = {pts[1], pts[2], pts[3]};
    int region = -7, refRegion = -8;
    float foot[3], refFoot[3];
    const float d = distancePointTriangle2(pts[0], tri, region, foot);
    const float ref =
        REmath::detail::PointTriangle2Scalar(pts[0], pts[1], pts[2], pts[3], &refRegion, refFoot);
    const Point3D three[3] = {Point3D(pts[1]), Point3D(pts[2]), Point3D(pts[3])};
    ASSERT_TRUE(qvtest::SameBits(d, ref) && region == refRegion &&
                qvtest::SameBits(foot[0], refFoot[0]) && qvtest::SameBits(foot[1], refFoot[1]) &&
                qvtest::SameBits(foot[2], refFoot[2]) &&
                qvtest::SameBits(distancePointTriangle2(pts[0], three), ref))
        << trial << ": " << d << " vs " << ref;
  }
}

TEST(DistPointTriangleTest, Regions_BoundaryTiesAndVertexCodes) {
  // Right triangle A = (0,0,0), B = (2,0,0), C = (0,2,0); every value below is exact.
  using Tri = float[3][3];
  const Tri t{{0, 0, 0}, {2, 0, 0}, {0, 2, 0}};
  // Zero area: with A = B the edge AB reports its edge code, not vertex A's; exactly
  // collinear vertices measure the segment AC that covers them.
  const Tri coincident{{0, 0, 0}, {0, 0, 0}, {0, 3, 0}}, collinear{{0, 0, 0}, {1, 0, 0}, {3, 0, 0}};
  struct Expect {
    const Tri* t;
    float p[3], d2;
    int region;
    float foot[3];
    const char* why;
  };
  const Expect cases[] = {
      // Projections exactly on the boundary count as inside the face.
      {&t, {1, 1, 3}, 9, 0, {1, 1, 0}, "projection on BC"},
      {&t, {2, 0, 4}, 16, 0, {2, 0, 0}, "projection on vertex B"},
      // Behind A: AB and AC both end at A at the same distance; AB is kept, code 4.
      {&t, {-1, -1, 3}, 11, 4, {0, 0, 0}, "vertex A"},
      // Beyond B: AB (end b) ties with BC (end a); AB is tried first, code 5.
      {&t, {3, -1, 0}, 2, 5, {2, 0, 0}, "vertex B"},
      // Beyond C: AC (end b) ties with BC (end b); AC is kept, code 6.
      {&t, {-1, 3, 0}, 2, 6, {0, 2, 0}, "vertex C"},
      {&coincident, {-1, -1, 2}, 6, 1, {0, 0, 0}, "A = B"},
      {&collinear, {2, 2, 1}, 5, 3, {2, 0, 0}, "collinear"},
  };
  for (const Expect& c : cases) {
    int region = -7, region2 = -7;
    float foot[3] = {9, 9, 9};
    const float* tri[3] = {(*c.t)[0], (*c.t)[1], (*c.t)[2]};
    EXPECT_EQ(distancePointTriangle2(c.p, tri, region, foot), c.d2) << c.why;
    EXPECT_EQ(region, c.region) << c.why;
    EXPECT_TRUE(qvtest::Near3(qvtest::ToV3(foot), qvtest::ToV3(c.foot), 0)) << c.why;
    EXPECT_EQ(distancePointTriangle2(c.p, tri, region2, nullptr), c.d2) << c.why;  // null foot
  }
}

}  // namespace

// Legs above about 4e9 used to overflow the float products and return NaN labelled as the
// face; a NaN point used to get region 5 with foot B.
TEST(DistPointTriangleTest, Regression_HugeAndNonFiniteInput) {
  for (const double scale : {1e9, 1e10, 1e15, 1e18}) {
    for (const auto& pd : {V3{0.25, 0.25, 2.0}, V3{3.0, -1.0, 0.5}, V3{-1.0, -1.0, -1.0}}) {
      const float pf[3] = {float(pd[0] * scale), float(pd[1] * scale), float(pd[2] * scale)};
      const float af[3] = {0, 0, 0}, bf[3] = {float(scale), 0, 0}, cf[3] = {0, float(scale), 0};
      const V3 a{0, 0, 0}, b{bf[0], 0, 0}, c{0, cf[1], 0}, p{pf[0], pf[1], pf[2]};
      const float* tri[3] = {af, bf, cf};
      int region = -7;
      float foot[3];
      const double expected = CgalDist2(p, a, b, c);
      EXPECT_NEAR(distancePointTriangle2(pf, tri, region, foot), expected, 1e-5 * expected)
          << scale;
      EXPECT_NEAR(qvtest::Dist2(qvtest::ToV3(foot), p), expected, 1e-5 * expected);
      EXPECT_EQ(region, BruteRegion(p, a, b, c)) << scale;
    }
  }
  const float nan = std::nanf(""), inf = INFINITY;
  const float a[3] = {0, 0, 0}, b[3] = {1, 0, 0}, c[3] = {0, 1, 0}, ok[3] = {0.2f, 0.2f, 1};
  const float bad[][3] = {{nan, 0, 0}, {0, inf, 0}, {0, 0, -inf}};
  for (const auto& x : bad) {
    const float* tris[][3] = {{a, b, c}, {x, b, c}, {a, x, c}, {a, b, x}};
    for (int k = 0; k < 4; ++k) {
      int region = 0;
      float foot[3] = {0, 0, 0};
      EXPECT_TRUE(std::isnan(distancePointTriangle2(k == 0 ? x : ok, tris[k], region, foot)) &&
                  region == -1 && std::isnan(foot[0]) && std::isnan(foot[1]) && std::isnan(foot[2]))
          << k;
    }
  }
}
