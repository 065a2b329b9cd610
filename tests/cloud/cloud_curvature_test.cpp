// SPDX-License-Identifier: MIT
#include <qvmath/cloud/cloud_curvature.h>
#include <qvmath/cloud/cloud_normals.h>
#include <qvmath/cloud/cloud_orientation.h>
#include <qvmath/cloud/cloud_samples.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "test_util.h"

using namespace REmath;

namespace {
double Median(std::vector<double> v) {
  std::nth_element(v.begin(), v.begin() + std::ptrdiff_t(v.size() / 2), v.end());
  return v[v.size() / 2];
}
}  // namespace

TEST(CloudCurvature, Properties_TorusCurvaturesMatchTheAnalyticSurface) {
  CSampleScan torus;
  MakeSampleTorus(40000, 1.0, 0.3, 0.0, 21, torus);
  CCloudIndex index;
  index.Build(torus.cloud.Positions().data(), torus.cloud.Size());
  CCloudNormals nr;
  ComputeCloudNormals(index, CCloudNormalParams(), nr);
  OrientCloudNormals(index, CCloudOrientParams(), nr.normals, nr.valid);
  CCloudCurvatureParams cp;
  CCloudCurvatures serial, parallel;
  ComputeCloudCurvatures(index, nr.normals, nr.valid, cp, serial);
  EXPECT_LT(serial.invalidCount, 20);
  std::vector<double> e1, e2, eg;
  for (int i = 0; i < torus.cloud.Size(); ++i) {
    if (!serial.valid[std::size_t(i)]) continue;
    const double k1 = torus.trueK1[std::size_t(i)], k2 = torus.trueK2[std::size_t(i)];
    e1.push_back(std::fabs(serial.k1[std::size_t(i)] - k1) / k1);
    e2.push_back(std::fabs(serial.k2[std::size_t(i)] - k2));
    eg.push_back(std::fabs(serial.gauss[std::size_t(i)] - k1 * k2));
    // dir1 runs around the tube: perpendicular to the tube's circle direction (-y, x, 0).
    const Point3D& p = torus.cloud.Positions()[std::size_t(i)];
    const double t = std::fabs(-p.y() * serial.dir1[std::size_t(i)].x() +
                               p.x() * serial.dir1[std::size_t(i)].y()) /
                     std::hypot(p.x(), p.y());
    if (i % 10 == 0) {
      EXPECT_LT(t, 0.5) << i;
    }
  }
  // Signs follow the outward orientation: the outer rim is convex both ways, the inner
  // rim saddle-shaped; the relative error of the larger curvature is small.
  EXPECT_LT(Median(e1), 0.05);
  EXPECT_LT(Median(e2), 0.1);
  EXPECT_LT(Median(eg), 0.3);
  cp.nThreads = 2;
  ComputeCloudCurvatures(index, nr.normals, nr.valid, cp, parallel);
  EXPECT_EQ(serial.valid, parallel.valid);
  EXPECT_EQ(0, std::memcmp(serial.k1.data(), parallel.k1.data(), serial.k1.size() * sizeof(float)));
  EXPECT_EQ(0, std::memcmp(serial.dir2.data(), parallel.dir2.data(),
                           serial.dir2.size() * sizeof(Point3D)));
  cp.k = 5;
  EXPECT_THROW(ComputeCloudCurvatures(index, nr.normals, nr.valid, cp, serial),
               std::invalid_argument);
}
