// SPDX-License-Identifier: MIT
#include <CGAL/Simple_cartesian.h>
#include <CGAL/squared_distance_3.h>
#include <qvmath/geometry/detail/point_segment.h>
#include <qvmath/geometry/dist_point_segment.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "geometry/geom_test_util.h"

namespace {

using K = CGAL::Simple_cartesian<double>;
using qvtest::V3;

double CgalDist2(const V3& p, const V3& a, const V3& b) {
  return CGAL::squared_distance(
      K::Point_3(p[0], p[1], p[2]),
      K::Segment_3(K::Point_3(a[0], a[1], a[2]), K::Point_3(b[0], b[1], b[2])));
}

// Nearest feature by brute force in double: 0 interior, 1 end a, 2 end b; -1 when the two
// best candidates are too close to call (relative gap below 1e-4).
int BruteRegion(const V3& p, const V3& a, const V3& b) {
  const V3 d = qvtest::Sub(b, a);
  const double t = qvtest::Dot(qvtest::Sub(p, a), d) / qvtest::Norm2(d);
  double cand[3] = {1e300, qvtest::Dist2(p, a), qvtest::Dist2(p, b)};
  if (t > 1e-4 && t < 1 - 1e-4) cand[0] = qvtest::Dist2(p, qvtest::Add(a, qvtest::Scale(d, t)));
  if (std::fabs(t) < 1e-4 || std::fabs(t - 1) < 1e-4) return -1;
  const int best = int(std::min_element(cand, cand + 3) - cand);
  for (int i = 0; i < 3; ++i)
    if (i != best && cand[i] < cand[best] * (1 + 1e-4)) return -1;
  return best;
}

template <class T>
class DistPointSegmentTest : public ::testing::Test {};
using Reals = ::testing::Types<float, double>;
TYPED_TEST_SUITE(DistPointSegmentTest, Reals);

TYPED_TEST(DistPointSegmentTest, Properties_AgainstCgalAndBruteForceRegions) {
  using T = TypeParam;
  qvtest::TestRng rng(5601);
  SCOPED_TRACE(rng.Trace());
  int interior = 0, ends = 0;
  for (int trial = 0; trial < 5000; ++trial) {
    const auto p = qvtest::RandomPoint<T>(rng, 100);
    const auto a = qvtest::RandomPoint<T>(rng, 100);
    const auto b = qvtest::RandomPoint<T>(rng, 100);
    const V3 P = qvtest::ToV3(p.data()), A = qvtest::ToV3(a.data()), B = qvtest::ToV3(b.data());
    T foot[3];
    int region = -7;
    const T d2 = DistancePoint2Segment(p.data(), a.data(), b.data(), foot, region);
    const double ref = CgalDist2(P, A, B);
    // Rounding of the differences and the dot product: a few ε times the squared
    // magnitudes involved (|p − a|² + |b − a|²).
    const double scale = qvtest::Dist2(P, A) + qvtest::Dist2(B, A);
    EXPECT_NEAR(d2, ref, 16 * qvtest::Eps<T>() * scale) << trial;
    // The foot lies on the segment and realises the distance.
    EXPECT_NEAR(qvtest::Dist2(P, qvtest::ToV3(foot)), d2, 16 * qvtest::Eps<T>() * scale);
    EXPECT_NEAR(CgalDist2(qvtest::ToV3(foot), A, B), 0, 16 * qvtest::Eps<T>() * scale);
    const int brute = BruteRegion(P, A, B);
    if (brute >= 0) {
      EXPECT_EQ(region, brute) << trial;
      (brute == 0 ? interior : ends)++;
    }
  }
  EXPECT_GT(interior, 500);  // both kinds of region really exercised
  EXPECT_GT(ends, 500);
}

TEST(DistPointSegmentFloatTest, Properties_MatchesStepByStepBodyBitForBit) {
  // The float queries may be vectorised; they must reproduce the plain step-by-step body
  // exactly, on random input and on a coarse grid full of ties and degenerate segments.
  qvtest::TestRng rng(5604);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 30000; ++trial) {
    float pts[3][3];
    for (auto& q : pts)
      for (float& c : q)
        c = trial % 2 ? qvtest::RoundTo<float>(rng.Uniform(-1, 1)) : float(rng.Int(-2, 2));
    float refFoot[3], refT, foot[3], t = -1, t2 = -1, foot2[3];
    REmath::detail::SegmentFeature f;
    const float ref =
        REmath::detail::PointSegment2<3, float>(pts[0], pts[1], pts[2], refFoot, refT, f);
    const int refRegion = f == REmath::detail::SegmentFeature::kEndA   ? 1
                          : f == REmath::detail::SegmentFeature::kEndB ? 2
                                                                       : 0;
    int region = -7;
    const float* q[3] = {pts[0], pts[1], pts[2]};
    ASSERT_TRUE(qvtest::SameBits(DistancePoint2Segment(q[0], q[1], q[2], foot, region), ref) &&
                qvtest::SameBits(DistancePoint2Segment(q[0], q[1], q[2]), ref) &&
                qvtest::SameBits(DistancePoint2Segment(q[0], q[1], q[2], t, foot2), ref) &&
                qvtest::SameBits(DistancePoint2Segment(q[0], q[1], q[2], t2), ref) &&
                region == refRegion && qvtest::SameBits(t, refT) && qvtest::SameBits(t2, refT))
        << trial;
    for (int i = 0; i < 3; ++i)
      ASSERT_TRUE(qvtest::SameBits(foot[i], refFoot[i]) && qvtest::SameBits(foot2[i], refFoot[i]));
  }
}

// The tie rule and the zero-length segment, in 3-D (regions 0 interior, 1 end a, 2 end b)
// and 2-D (−1, 0, 1). Beyond a but so far off the line that both end distances round to
// the same value (float: 1e5² absorbs 0.25 and 2.25; double: 1e10²), the tie goes to b.
TYPED_TEST(DistPointSegmentTest, Regions_TieGoesToSecondEndAndZeroLength) {
  using T = TypeParam;
  const T far = sizeof(T) == 4 ? T(1e5) : T(1e10);
  const T o[3] = {0, 0, 0}, x[3] = {1, 0, 0}, a[3] = {1, 2, 3};
  struct Case {
    T p[3];
    const T *a, *b;
    T d2, foot0, t;
    int region, region2;
  };
  const Case cases[] = {{{T(-0.5), far, 0}, o, x, far * far, 1, 1, 2, 1},
                        {{T(-0.5), 1, 0}, o, x, T(1.25), 0, 0, 1, 0},
                        {{T(0.5), 2, 0}, o, x, 4, T(0.5), T(0.5), 0, -1},
                        {{4, 6, 3}, a, a, 25, 1, 0, 0, 0}};  // 2-D: 0 here, not −1
  for (const Case& c : cases) {
    T foot[3], f2[2], t = -1, t2 = -1;
    int region = -7, r2 = -7;
    EXPECT_EQ(DistancePoint2Segment(c.p, c.a, c.b, foot, region), c.d2);
    EXPECT_EQ(DistancePoint2Segment2D(c.p, c.a, c.b, t2, &r2, f2), c.d2);
    DistancePoint2Segment(c.p, c.a, c.b, t);
    EXPECT_TRUE(region == c.region && r2 == c.region2 && t == c.t && t2 == c.t &&
                foot[0] == c.foot0 && f2[0] == c.foot0)
        << c.d2;
  }
}

}  // namespace
