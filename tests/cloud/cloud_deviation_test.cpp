// SPDX-License-Identifier: MIT
// Scan-to-mesh deviation against a brute-force scan of every triangle (sign, threads and a
// flipped mesh included), the statistics on hand-counted data.
#include <qvmath/cloud/cloud_deviation.h>
#include <qvmath/geometry/dist_point_triangle.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <vector>

#include "geometry/geom_test_util.h"

using namespace REmath;
using namespace qvtest;

namespace {

const float kNaN = std::numeric_limits<float>::quiet_NaN();

// The regular octahedron |x| + |y| + |z| = 1, triangles facing outward.
CTriangleMesh Octahedron() {
  CTriangleMesh m;
  m.Vertices() = {Point3D(1, 0, 0),  Point3D(-1, 0, 0), Point3D(0, 1, 0),
                  Point3D(0, -1, 0), Point3D(0, 0, 1),  Point3D(0, 0, -1)};
  for (int sx = 0; sx < 2; ++sx)
    for (int sy = 0; sy < 2; ++sy)
      for (int sz = 0; sz < 2; ++sz) {
        CTriangleMesh::Triangle t = {sx, 2 + sy, 4 + sz};
        if ((sx + sy + sz) % 2 == 1) std::swap(t[1], t[2]);
        m.Triangles().push_back(t);
      }
  return m;
}

// n small random triangles in the unit cube, every tenth one degenerate (a repeated or a
// collinear corner), sharing no vertices.
CTriangleMesh Soup(TestRng& rng, int n, double size) {
  CTriangleMesh m;
  for (int i = 0; i < n; ++i) {
    const double c[3] = {rng.Uniform(0, 1), rng.Uniform(0, 1), rng.Uniform(0, 1)};
    Point3D v[3];
    for (auto& p : v) {
      const V3 w = Add(ToV3(c), RandomPoint<double>(rng, size));
      p = Point3D(float(w[0]), float(w[1]), float(w[2]));
    }
    if (i % 10 == 3) v[1] = v[0];
    if (i % 10 == 7) v[2] = Point3D(v[0].x() * 2 - v[1].x(), v[0].y() * 2 - v[1].y(), v[0].z());
    const int b = m.VertexCount();
    m.Vertices().insert(m.Vertices().end(), v, v + 3);
    m.Triangles().push_back({b, b + 1, b + 2});
  }
  return m;
}

bool SameBits(float a, float b) { return std::memcmp(&a, &b, sizeof a) == 0; }

TEST(CloudDeviation, Properties_EqualsBruteForce) {
  TestRng rng(20240920);
  SCOPED_TRACE(rng.Trace());
  // A coarse soup (one leaf level), a fine one (a deep tree) and a closed surface.
  for (const CTriangleMesh& mesh : {Soup(rng, 30, 0.3), Soup(rng, 3000, 0.03), Octahedron()}) {
    CPointCloud cloud;
    for (int i = 0; i < 400; ++i)
      cloud.Positions().push_back(Point3D(float(rng.Uniform(-1.2, 1.2)),
                                          float(rng.Uniform(-1.2, 1.2)),
                                          float(rng.Uniform(-1.2, 1.2))));
    cloud.Positions().push_back(mesh.Vertices()[5]);  // on the mesh: distance +0
    // Not finite in one coordinate each: no distance.
    cloud.Positions().push_back(Point3D(kNaN, 0, 0));
    cloud.Positions().push_back(Point3D(0, kNaN, 0));
    cloud.Positions().push_back(Point3D(0, 0, std::numeric_limits<float>::infinity()));
    CCloudDeviation out;
    CDeviationParams params;
    ComputeCloudDeviation(cloud, mesh, params, out);
    for (int i = 0; i < cloud.Size(); ++i) {
      const float* p = cloud.Positions()[std::size_t(i)].asArray();
      float best = std::numeric_limits<float>::infinity(), foot[3] = {kNaN, kNaN, kNaN};
      int bestT = -1;
      for (int t = 0; t < mesh.TriangleCount() && std::isfinite(p[0] + p[1] + p[2]); ++t) {
        const auto& tri = mesh.Triangles()[std::size_t(t)];
        const float* c[3];
        for (int k = 0; k < 3; ++k)
          c[k] = mesh.Vertices()[std::size_t(tri[std::size_t(k)])].asArray();
        int region;
        float f[3];
        const float d2 = distancePointTriangle2(p, c, region, f);
        if (d2 < best) best = d2, bestT = t, std::memcpy(foot, f, sizeof f);
      }
      ASSERT_EQ(out.triangle[std::size_t(i)], bestT) << "point " << i;
      const float d = out.distance[std::size_t(i)];
      if (bestT < 0) {
        EXPECT_TRUE(std::isnan(d));
        continue;
      }
      ASSERT_TRUE(SameBits(std::abs(d), std::sqrt(best))) << "point " << i;
      ASSERT_EQ(std::memcmp(out.nearest[std::size_t(i)].asArray(), foot, sizeof foot), 0);
      // Sign recomputed in double from the triangle's corners.
      const auto& tri = mesh.Triangles()[std::size_t(bestT)];
      const auto V = [&](int k) { return ToV3(mesh.Vertices()[std::size_t(tri[k])].asArray()); };
      const double side = Dot(Sub(ToV3(p), ToV3(foot)), Cross(Sub(V(1), V(0)), Sub(V(2), V(0))));
      if (std::abs(side) > 1e-6) {
        EXPECT_EQ(d < 0, side < 0) << "point " << i;
      }
      EXPECT_TRUE(best > 0 || !std::signbit(d)) << "point " << i;
    }
    EXPECT_EQ(out.stats.invalidCount, 3);
    // Any thread count gives the same bits; flipping the closed mesh flips every sign (on
    // the soups a tie between faces may pick another triangle).
    CCloudDeviation parallel, flipped;
    params.nThreads = 3;
    ComputeCloudDeviation(cloud, mesh, params, parallel);
    EXPECT_EQ(std::memcmp(&out.distance[0], &parallel.distance[0], 4 * out.distance.size()), 0);
    EXPECT_EQ(out.triangle, parallel.triangle);
    CTriangleMesh back = mesh;
    back.FlipOrientation();
    ComputeCloudDeviation(cloud, back, params, flipped);
    for (std::size_t i = 0; i < out.distance.size() && mesh.TriangleCount() == 8; ++i) {
      const float d = out.distance[i], f = flipped.distance[i];
      EXPECT_TRUE(std::isnan(d) ? std::isnan(f) : f == -d) << i;
    }
  }
}

TEST(CloudDeviation, Properties_StatisticsAndHistogram) {
  struct Case {
    std::vector<float> d;
    float tol, lo, hi;
    int bins;
    std::vector<int> histogram;
    double mean, rms, maxAbs, within;
  };
  const Case cases[] = {
      // Range of the data [-1, 3], two bins of width 2: -1, 0, 0.5 | 1, 3 (hi in the last).
      {{-1, 0, 0.5f, kNaN, 3, 1}, 0.5f, 0, 0, 2, {3, 2}, 0.7, std::sqrt(11.25 / 5), 3, 0.4},
      // A given range: values outside count in the end bins.
      {{-5, -0.25f, 0.25f, 5}, 0.25f, -1, 1, 4, {1, 1, 1, 1}, 0, std::sqrt(50.125 / 4), 5, 0.5},
      {{2, 2}, 0, 0, 0, 3, {2, 0, 0}, 2, 2, 2, 0},
      {{kNaN}, 0, 0, 0, 1, {0}, 0, 0, 0, 0},
  };
  for (const Case& c : cases) {
    CDeviationParams p;
    p.tolerance = c.tol, p.histogramMin = c.lo, p.histogramMax = c.hi, p.histogramBins = c.bins;
    CDeviationStats s;
    ComputeDeviationStats(c.d, p, s);
    EXPECT_EQ(s.histogram, c.histogram);
    EXPECT_NEAR(s.mean, c.mean, 1e-12);
    EXPECT_NEAR(s.rms, c.rms, 1e-12);
    EXPECT_EQ(s.maxAbs, c.maxAbs);
    EXPECT_NEAR(s.withinTolerance, c.within, 1e-12);
  }
}

TEST(CloudDeviation, Degenerate_BadInputRefused) {
  CPointCloud cloud;
  cloud.Positions().assign(10, Point3D(0.1f, 0.2f, 0.3f));
  CCloudDeviation out;
  CDeviationParams p;
  EXPECT_THROW(ComputeCloudDeviation(cloud, CTriangleMesh(), p, out), std::invalid_argument);
  CTriangleMesh bad = Octahedron();
  bad.Triangles()[3][1] = 6;
  EXPECT_THROW(ComputeCloudDeviation(cloud, bad, p, out), std::invalid_argument);
  p.histogramBins = 0;
  EXPECT_THROW(ComputeCloudDeviation(cloud, Octahedron(), p, out), std::invalid_argument);
}

}  // namespace
