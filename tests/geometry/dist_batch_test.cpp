// SPDX-License-Identifier: MIT
// The batched queries against the single queries, bit for bit, on random and degenerate
// configurations, with every combination of optional outputs and lengths that leave a
// scalar remainder.
#include <qvmath/geometry/dist_batch.h>
#include <qvmath/geometry/dist_point_segment.h>
#include <qvmath/geometry/dist_point_triangle.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "geometry/geom_test_util.h"

namespace {

using qvtest::TestRng;

// Triangle shapes: random, one zero-length edge per position, all coincident, exactly
// collinear, nearly collinear, and far from the origin.
std::vector<std::vector<float>> Shapes(TestRng& rng) {
  auto r = [&] { return float(rng.Uniform(-1, 1)); };
  std::vector<std::vector<float>> s;
  for (int i = 0; i < 6; ++i) s.push_back({r(), r(), r(), r(), r(), r(), r(), r(), r()});
  const float a0 = r(), a1 = r(), a2 = r(), b0 = r(), b1 = r(), b2 = r();
  s.push_back({a0, a1, a2, a0, a1, a2, b0, b1, b2});
  s.push_back({a0, a1, a2, b0, b1, b2, a0, a1, a2});
  s.push_back({b0, b1, b2, a0, a1, a2, a0, a1, a2});
  s.push_back({a0, a1, a2, a0, a1, a2, a0, a1, a2});
  s.push_back({0, 0, 0, 1, 1, 1, 2, 2, 2});
  s.push_back({0, 0, 0, 1, 1, 1, 0.5f, 0.5f, 0.5000001f});
  s.push_back({1e6f, 2e6f, -1e6f, 1e6f + 1, 2e6f, -1e6f, 1e6f, 2e6f + 1, -1e6f + 0.5f});
  return s;
}

// Points: random near the triangle, its vertices and edge midpoints, points in its plane,
// and a NaN and an infinite point.
std::vector<float> Points(TestRng& rng, const std::vector<float>& t, int n) {
  std::vector<float> p;
  for (int i = 0; i < 9; ++i) p.push_back(t[std::size_t(i)]);
  for (int e = 0; e < 3; ++e)
    for (int c = 0; c < 3; ++c)
      p.push_back(0.5f * (t[std::size_t(3 * e + c)] + t[std::size_t((3 * e + 3 + c) % 9)]));
  p.insert(p.end(), {std::numeric_limits<float>::quiet_NaN(), 0, 0,
                     std::numeric_limits<float>::infinity(), 1, 2});
  while (int(p.size()) < 3 * n) {
    const double u = rng.Uniform(-0.5, 1.5), v = rng.Uniform(-0.5, 1.5);
    const double h = rng.Int(0, 2) == 0 ? 0.0 : rng.Uniform(-2, 2);
    for (int c = 0; c < 3; ++c)
      p.push_back(float(t[std::size_t(c)] + u * (t[std::size_t(3 + c)] - t[std::size_t(c)]) +
                        v * (t[std::size_t(6 + c)] - t[std::size_t(c)]) + h));
  }
  p.resize(std::size_t(3 * n));
  return p;
}

// Each shape as a triangle and as its segment AB (zero-length ones included; the edge
// midpoints then exercise the segment's tie rule).
TEST(DistBatch, Properties_EqualsSingleQueryBitForBit) {
  TestRng rng(20240917);
  SCOPED_TRACE(rng.Trace());
  for (const auto& t : Shapes(rng)) {
    const float* tri[3] = {t.data(), t.data() + 3, t.data() + 6};
    for (int n : {0, 3, 37, 403}) {
      const std::vector<float> p = Points(rng, t, std::max(n, 1));
      for (int mode = 0; mode < 8; ++mode) {
        const bool seg = mode & 4;
        std::vector<float> d2(std::size_t(n) + 1, -1.0f), feet(3 * std::size_t(n) + 3, -1.0f);
        std::vector<int> reg(std::size_t(n) + 1, -1);
        int* r = mode & 1 ? reg.data() : nullptr;
        float* f = mode & 2 ? feet.data() : nullptr;
        if (seg)
          DistancePoints2Segment(p.data(), n, tri[0], tri[1], d2.data(), r, f);
        else
          distancePointsTriangle2(p.data(), n, tri, d2.data(), r, f);
        for (int i = 0; i < n; ++i) {
          int region;
          float foot[3];
          const float* q = p.data() + 3 * i;
          const float ref = seg ? DistancePoint2Segment(q, tri[0], tri[1], foot, region)
                                : distancePointTriangle2(q, tri, region, foot);
          ASSERT_TRUE(qvtest::SameBits(d2[std::size_t(i)], ref))
              << "point " << i << " mode " << mode;
          ASSERT_TRUE(!r || reg[std::size_t(i)] == region) << "point " << i << " mode " << mode;
          for (int c = 0; f && c < 3; ++c)
            ASSERT_TRUE(qvtest::SameBits(feet[std::size_t(3 * i + c)], foot[c])) << "point " << i;
        }
        // Nothing beyond n is written.
        EXPECT_TRUE(d2[std::size_t(n)] == -1.0f && reg[std::size_t(n)] == -1 &&
                    feet[3 * std::size_t(n)] == -1.0f);
      }
    }
  }
}

}  // namespace
