// SPDX-License-Identifier: MIT
#include <qvmath/cloud/cloud_normals.h>
#include <qvmath/cloud/cloud_samples.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "test_util.h"

using namespace REmath;

namespace {

double AngleDeg(const Point3D& a, const Point3D& b) {
  const double d = double(a.x()) * b.x() + double(a.y()) * b.y() + double(a.z()) * b.z();
  return std::acos(std::min(1.0, std::fabs(d))) * 57.29577951308232;
}

double Median(std::vector<double> v) {
  std::nth_element(v.begin(), v.begin() + std::ptrdiff_t(v.size() / 2), v.end());
  return v[v.size() / 2];
}

bool SameBits(const CCloudNormals& a, const CCloudNormals& b) {
  return a.valid == b.valid && a.invalidCount == b.invalidCount &&
         std::memcmp(a.normals.data(), b.normals.data(), a.normals.size() * sizeof(Point3D)) == 0 &&
         std::memcmp(a.surfaceVariation.data(), b.surfaceVariation.data(),
                     a.surfaceVariation.size() * sizeof(float)) == 0;
}

}  // namespace

TEST(CloudNormals, Properties_TorusNormalsMatchAnalyticTruthOnAnyThreadCount) {
  CSampleScan torus;
  MakeSampleTorus(20000, 1.0, 0.3, 0.001, 7, torus);
  struct Case {
    ECloudNormalMethod method;
    float radius;
    double medianDeg;  // bound on the median angle to the exact normal
  } cases[] = {{ECloudNormalMethod::Covariance, 0.0f, 2.0},
               {ECloudNormalMethod::Quadric, 0.0f, 2.0},
               {ECloudNormalMethod::Covariance, 0.06f, 2.0}};
  for (const Case& c : cases) {
    SCOPED_TRACE(int(c.method) * 10 + int(c.radius > 0));
    CCloudNormalParams p;
    p.method = c.method;
    p.radius = c.radius;
    p.maxNeighbours = 40;
    CCloudNormals serial, parallel;
    ComputeCloudNormals(torus.cloud, p, serial);
    EXPECT_EQ(serial.invalidCount, 0);
    std::vector<double> err;
    for (int i = 0; i < torus.cloud.Size(); ++i)
      err.push_back(AngleDeg(serial.normals[std::size_t(i)], torus.trueNormals[std::size_t(i)]));
    EXPECT_LT(Median(err), c.medianDeg);
    EXPECT_LT(*std::max_element(serial.surfaceVariation.begin(), serial.surfaceVariation.end()),
              0.05f);
    p.nThreads = 3;
    ComputeCloudNormals(torus.cloud, p, parallel);
    EXPECT_TRUE(SameBits(serial, parallel));
  }
}

TEST(CloudNormals, Degenerate_BadInputGivesErrorsOrInvalidPoints) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  CCloudNormalParams p;
  p.k = 8;
  CCloudNormals out;
  CPointCloud cloud;
  EXPECT_THROW(ComputeCloudNormals(cloud, p, out), std::invalid_argument);  // empty
  for (int i = 0; i < 5; ++i) cloud.Positions().emplace_back(float(i), 0.0f, 0.0f);
  for (int k : {8, 2}) {  // k beyond the cloud, k < 3
    p.k = k;
    EXPECT_THROW(ComputeCloudNormals(cloud, p, out), std::invalid_argument);
  }
  p.k = 5;
  ComputeCloudNormals(cloud, p, out);  // collinear: no normal anywhere
  EXPECT_EQ(out.invalidCount, 5);
  EXPECT_TRUE(std::isnan(out.surfaceVariation[0]));
  // A grid on z = 2 with every point doubled, one NaN and a far coincident clump.
  cloud = CPointCloud();
  for (int i = 0; i < 400; ++i) {
    const Point3D q(float(i % 20), float(i / 20), 2.0f);
    cloud.Positions().push_back(q);
    cloud.Positions().push_back(q);
  }
  cloud.Positions()[10].y() = nan;
  for (int i = 0; i < 20; ++i) cloud.Positions().emplace_back(1e3f, 1e3f, 1e3f);
  p.k = 16;
  ComputeCloudNormals(cloud, p, out);
  EXPECT_EQ(out.invalidCount, 21);
  EXPECT_FALSE(out.valid[10]);
  EXPECT_FALSE(out.valid[800]);
  for (int i = 0; i < 800; ++i)
    if (i != 10) {
      EXPECT_EQ(std::fabs(out.normals[std::size_t(i)].z()), 1.0f) << i;
    }
}
