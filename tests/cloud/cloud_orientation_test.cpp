// SPDX-License-Identifier: MIT
#include <qvmath/cloud/cloud_normals.h>
#include <qvmath/cloud/cloud_orientation.h>
#include <qvmath/cloud/cloud_samples.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "test_util.h"

using namespace REmath;

namespace {

// Points of a sphere about c (exact normals outward), uniform by area.
void AddSphere(CSampleScan& s, qvtest::TestRng& rng, int n, const Point3D& c, float r) {
  for (int i = 0; i < n; ++i) {
    const double z = rng.Uniform(-1, 1), a = rng.Uniform(0, 6.283185307179586);
    const Point3D u(float(std::sqrt(1 - z * z) * std::cos(a)),
                    float(std::sqrt(1 - z * z) * std::sin(a)), float(z));
    s.cloud.Positions().emplace_back(c.x() + r * u.x(), c.y() + r * u.y(), c.z() + r * u.z());
    s.trueNormals.push_back(u);
  }
}

// Fraction of the valid normals, among those where the truth is well defined (`use`), on
// the side of the true one.
double Agreement(const CSampleScan& s, const std::vector<Point3D>& nrm,
                 const std::vector<unsigned char>& valid, const std::vector<bool>& use) {
  int good = 0, all = 0;
  for (std::size_t i = 0; i < nrm.size(); ++i) {
    if (!valid[i] || !use[i]) continue;
    const Point3D& t = s.trueNormals[i];
    ++all;
    good +=
        double(nrm[i].x()) * t.x() + double(nrm[i].y()) * t.y() + double(nrm[i].z()) * t.z() > 0;
  }
  return all ? double(good) / all : 0.0;
}

}  // namespace

TEST(CloudOrientation, Properties_SpanningTreeOrientsEveryPieceOutward) {
  qvtest::TestRng rng(11);
  SCOPED_TRACE(rng.Trace());
  // A closed sphere; two separate spheres (two pieces, each started on its own); a noisy
  // box with a slot cut across two faces (sharp edges and a gap to propagate around).
  CSampleScan sphere, twoSpheres, box, slotted;
  AddSphere(sphere, rng, 6000, Point3D(5.0f, -3.0f, 2.0f), 2.0f);
  AddSphere(twoSpheres, rng, 4000, Point3D(0.0f), 1.0f);
  AddSphere(twoSpheres, rng, 4000, Point3D(3.0f, 0.0f, 0.0f), 0.5f);
  MakeSampleBox(30000, 2.0, 1.0, 1.5, 0.002, 4, box);
  for (int i = 0; i < box.cloud.Size(); ++i) {
    const Point3D& p = box.cloud.Positions()[std::size_t(i)];
    const int f = box.trueFace[std::size_t(i)];
    if ((f == 5 || f == 3) && std::fabs(p.x()) < 0.15f) continue;  // the slot
    slotted.cloud.Positions().push_back(p);
    slotted.trueNormals.push_back(box.trueNormals[std::size_t(i)]);
  }
  for (CSampleScan* s : {&sphere, &twoSpheres, &slotted}) {
    CCloudIndex index;
    index.Build(s->cloud.Positions().data(), s->cloud.Size());
    CCloudNormals nr;
    ComputeCloudNormals(index, CCloudNormalParams(), nr);
    // Box points near an edge have blended normals: judge the others.
    std::vector<bool> use(nr.normals.size(), true);
    for (std::size_t i = 0; i < use.size() && s == &slotted; ++i) {
      const Point3D& p = s->cloud.Positions()[i];
      const int near =
          (std::fabs(p.x()) > 0.9f) + (std::fabs(p.y()) > 0.4f) + (std::fabs(p.z()) > 0.65f);
      use[i] = near <= 1 && !(std::fabs(p.x()) < 0.25f && (p.z() > 0.65f || p.y() > 0.4f));
    }
    CCloudOrientParams op;
    std::vector<Point3D> serial = nr.normals, parallel = nr.normals;
    OrientCloudNormals(index, op, serial, nr.valid);
    op.nThreads = 2;
    OrientCloudNormals(index, op, parallel, nr.valid);
    EXPECT_EQ(0, std::memcmp(serial.data(), parallel.data(), serial.size() * sizeof(Point3D)));
    EXPECT_EQ(Agreement(*s, serial, nr.valid, use), 1.0) << s->cloud.Size();
    if (s == &sphere) {  // toward the centre of the sphere: every normal inward
      op.mode = ECloudOrientation::TowardViewpoint;
      op.viewpoint = Point3D_d(5.0, -3.0, 2.0);
      EXPECT_EQ(OrientCloudNormals(index, op, serial, nr.valid), s->cloud.Size() - nr.invalidCount);
      EXPECT_EQ(Agreement(*s, serial, nr.valid, use), 0.0);
    }
  }
}

TEST(CloudOrientation, Regions_FlatPieceFollowsTheHint) {
  CPointCloud plane;
  for (int i = 0; i < 900; ++i) plane.Positions().emplace_back(float(i % 30), float(i / 30), 0.0f);
  CCloudIndex index;
  index.Build(plane.Positions().data(), plane.Size());
  CCloudNormals nr;
  ComputeCloudNormals(index, CCloudNormalParams(), nr);
  for (double hz : {1.0, -1.0}) {
    CCloudOrientParams op;
    op.flatHint = Point3D_d(0.0, 0.3, hz);
    OrientCloudNormals(index, op, nr.normals, nr.valid);
    for (const Point3D& n : nr.normals) ASSERT_EQ(n.z(), float(hz));
  }
  std::vector<unsigned char> shortFlags(3);
  EXPECT_THROW(OrientCloudNormals(index, CCloudOrientParams(), nr.normals, shortFlags),
               std::invalid_argument);
}
