// SPDX-License-Identifier: MIT
#include <qvmath/cloud/cloud_normals.h>
#include <qvmath/cloud/cloud_planes.h>
#include <qvmath/cloud/cloud_samples.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "test_util.h"

using namespace REmath;

namespace {

struct Found {
  CCloudIndex index;
  CCloudNormals normals;
  CCloudPlanes planes;
};

void Find(const CPointCloud& cloud, const CCloudPlaneParams& p, Found& f, bool normals = true) {
  f.index.Build(cloud.Positions().data(), cloud.Size());
  if (normals) ComputeCloudNormals(f.index, CCloudNormalParams(), f.normals);
  FindCloudPlanes(f.index, f.normals.normals, f.normals.valid, p, f.planes);
}

}  // namespace

TEST(CloudPlanes, Properties_NoisyBoxGivesSixFacesOnAnyThreadCount) {
  // With normals, edges stay clean; without, a face also takes the strips of its neighbours
  // within the distance of its plane (about 3 % of the points here).
  for (const bool normals : {true, false}) {
    SCOPED_TRACE(normals);
    CSampleScan box;
    MakeSampleBox(60000, 2.0, 1.0, 1.5, 0.002, 8, box);
    // Uniform over the surface: each face holds its share of the area 13 (within ~6 sigma).
    const double area[3] = {1.0 * 1.5, 2.0 * 1.5, 2.0 * 1.0};
    for (int f = 0; f < 6; ++f)
      EXPECT_NEAR(double(std::count(box.trueFace.begin(), box.trueFace.end(), f)) / 60000.0,
                  area[f / 2] / 13.0, 0.01)
          << f;
    CCloudPlaneParams p;
    Found one, two;
    Find(box.cloud, p, one, normals);
    p.nThreads = 2;
    Find(box.cloud, p, two, normals);
    EXPECT_EQ(one.planes.labels, two.planes.labels);
    ASSERT_EQ(one.planes.planes.size(), 6u);
    std::vector<int> faces;
    for (std::size_t k = 0; k < 6; ++k) {
      const CCloudPlane& pl = one.planes.planes[k];
      EXPECT_EQ(pl.equation.NormalDir()[0], two.planes.planes[k].equation.NormalDir()[0]);
      // Within 0.5 degrees of a face normal, either sign; the face from the axis and the
      // side of the origin the plane lies on.
      const double* n = pl.equation.NormalDir();
      int axis = 0;
      for (int a = 1; a < 3; ++a)
        if (std::fabs(n[a]) > std::fabs(n[axis])) axis = a;
      EXPECT_GT(std::fabs(n[axis]), std::cos(0.5 * 3.141592653589793 / 180)) << k;
      const double side = axis == 0 ? pl.origin.x() : axis == 1 ? pl.origin.y() : pl.origin.z();
      faces.push_back(2 * axis + (side > 0));
      EXPECT_LT(pl.rmsError, 0.004);
      EXPECT_LE(pl.meanError, pl.rmsError);
      // Extent: the face's two sides (minus the edge strips the angle test leaves out).
      const double e0 = pl.limits.GetLimitsInDir(0)[1] - pl.limits.GetLimitsInDir(0)[0];
      const double e1 = pl.limits.GetLimitsInDir(1)[1] - pl.limits.GetLimitsInDir(1)[0];
      EXPECT_GT(e0 * e1, 0.4);
    }
    std::sort(faces.begin(), faces.end());
    EXPECT_EQ(faces, (std::vector<int>{0, 1, 2, 3, 4, 5}));
    // Labelled points lie on the face their plane stands for; a handful drawn within the
    // noise of an edge are as close to the neighbouring face and may go either way.
    int agree = 0, labelled = 0;
    for (int i = 0; i < box.cloud.Size(); ++i) {
      const int l = one.planes.labels[std::size_t(i)];
      if (l < 0) continue;
      ++labelled;
      const double* n = one.planes.planes[std::size_t(l)].equation.NormalDir();
      const Point3D& t = box.trueNormals[std::size_t(i)];
      agree += std::fabs(n[0] * t.x() + n[1] * t.y() + n[2] * t.z()) > 0.999;
    }
    EXPECT_GE(agree, labelled - labelled / (normals ? 1000 : 25));
    EXPECT_GT(labelled, box.cloud.Size() * 8 / 10);
  }
}

TEST(CloudPlanes, Regions_SeparateCoplanarPatchesAndOutliers) {
  qvtest::TestRng rng(2);
  SCOPED_TRACE(rng.Trace());
  CPointCloud cloud;
  // Two coplanar squares on z = 0, 3 apart, and uniform clutter above them.
  for (int i = 0; i < 8000; ++i) {
    const double x = rng.Uniform(0, 1) + (i % 2 ? 3.0 : 0.0);
    cloud.Positions().emplace_back(float(x), float(rng.Uniform(0, 1)),
                                   float(rng.Uniform(-1e-3, 1e-3)));
  }
  for (int i = 0; i < 2000; ++i)
    cloud.Positions().emplace_back(float(rng.Uniform(0, 4)), float(rng.Uniform(0, 1)),
                                   float(rng.Uniform(0.1, 1)));
  CCloudPlaneParams p;
  p.seed = 77;
  Found f;
  Find(cloud, p, f);
  ASSERT_EQ(f.planes.planes.size(), 2u);
  for (int i = 0; i < 8000; ++i) EXPECT_EQ(f.planes.labels[std::size_t(i)] >= 0, true) << i;
  EXPECT_NE(f.planes.labels[0], f.planes.labels[1]);
  for (const CCloudPlane& pl : f.planes.planes) {
    EXPECT_GT(std::fabs(pl.equation.NormalDir()[2]), 0.99999);
    EXPECT_LT(std::fabs(pl.origin.z()), 1e-4);
  }
  int clutter = 0;
  for (int i = 8000; i < 10000; ++i) clutter += f.planes.labels[std::size_t(i)] >= 0;
  EXPECT_EQ(clutter, 0);
  CCloudPlanes out;
  std::vector<unsigned char> shortFlags(2);
  EXPECT_THROW(FindCloudPlanes(f.index, f.normals.normals, shortFlags, p, out),
               std::invalid_argument);
}
