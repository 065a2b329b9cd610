// SPDX-License-Identifier: MIT
#include <qvmath/cloud/cloud_normals.h>
#include <qvmath/cloud/cloud_orientation.h>
#include <qvmath/cloud/cloud_samples.h>

#include <cmath>
#include <vector>

#include "test_util.h"

using namespace REmath;

namespace {

double Dot(const Point3D& a, const Point3D& b) {
  return double(a.x()) * b.x() + double(a.y()) * b.y() + double(a.z()) * b.z();
}

// Points of a unit sphere about c (exact normals outward), uniform by area.
void AddSphere(CSampleScan& s, qvtest::TestRng& rng, int n, const Point3D& c, double r) {
  for (int i = 0; i < n; ++i) {
    const double z = rng.Uniform(-1, 1), a = rng.Uniform(0, 6.283185307179586);
    const double q = std::sqrt(1 - z * z);
    const Point3D u(float(q * std::cos(a)), float(q * std::sin(a)), float(z));
    s.cloud.Positions().emplace_back(c.x() + float(r) * u.x(), c.y() + float(r) * u.y(),
                                     c.z() + float(r) * u.z());
    s.trueNormals.push_back(u);
  }
}

// Fraction of valid normals whose side agrees with the truth, counting only points where
// the truth is defined well (`use`).
double Agreement(const CSampleScan& s, const CCloudNormals& nr, const std::vector<bool>& use) {
  int good = 0, all = 0;
  for (std::size_t i = 0; i < nr.normals.size(); ++i) {
    if (!nr.valid[i] || !use[i]) continue;
    ++all;
    good += Dot(nr.normals[i], s.trueNormals[i]) > 0 ? 1 : 0;
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
  AddSphere(sphere, rng, 6000, Point3D(5.0f, -3.0f, 2.0f), 2.0);
  AddSphere(twoSpheres, rng, 4000, Point3D(0.0f), 1.0);
  AddSphere(twoSpheres, rng, 4000, Point3D(3.0f, 0.0f, 0.0f), 0.5);
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
    CCloudNormalParams np;
    CCloudNormals nr;
    ComputeCloudNormals(index, np, nr);
    // Box points near an edge have blended normals: judge the others.
    std::vector<bool> use(nr.normals.size(), true);
    if (s == &slotted)
      for (std::size_t i = 0; i < use.size(); ++i) {
        const Point3D& p = s->cloud.Positions()[i];
        const int near = (std::fabs(p.x()) > 0.9f) + (std::fabs(p.y()) > 0.4f) + (std::fabs(p.z()) > 0.65f);
        use[i] = near <= 1 && !(std::fabs(p.x()) < 0.25f && (p.z() > 0.65f || p.y() > 0.4f));
      }
    CCloudOrientParams op;
    std::vector<Point3D> serial = nr.normals;
    OrientCloudNormals(index, op, serial, nr.valid);
    op.nThreads = 2;
    std::vector<Point3D> parallel = nr.normals;
    OrientCloudNormals(index, op, parallel, nr.valid);
    for (std::size_t i = 0; i < serial.size(); ++i)
      ASSERT_TRUE(serial[i].x() == parallel[i].x() && serial[i].z() == parallel[i].z()) << i;
    nr.normals = serial;
    EXPECT_EQ(Agreement(*s, nr, use), 1.0) << s->cloud.Size();
    // Toward the centre of the sphere: every normal inward.
    if (s == &sphere) {
      op.mode = ECloudOrientation::TowardViewpoint;
      op.viewpoint = Point3D_d(5.0, -3.0, 2.0);
      EXPECT_EQ(OrientCloudNormals(index, op, nr.normals, nr.valid), s->cloud.Size() - nr.invalidCount);
      EXPECT_EQ(Agreement(*s, nr, use), 0.0);
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
