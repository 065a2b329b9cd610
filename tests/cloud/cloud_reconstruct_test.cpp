// SPDX-License-Identifier: MIT
#include <qvmath/cloud/cloud_reconstruct.h>
#include <qvmath/cloud/cloud_samples.h>
#include <qvmath/infra/progress_counter.h>
#include <qvmath/platform/korva_exception.h>

#include <cmath>
#include <functional>
#include <stdexcept>
#include <vector>

#include "geometry/geom_test_util.h"

using namespace REmath;

namespace {

// n points uniform by area on the sphere of radius r about c, with exact outward normals;
// points for which `drop` holds (on the unit direction) are left out.
void AddSphere(CPointCloud& cloud, qvtest::TestRng& rng, int n, const Point3D& c, double r,
               const std::function<bool(double, double, double)>& drop = nullptr) {
  for (int i = 0; i < n; ++i) {
    const double z = rng.Uniform(-1, 1), a = rng.Uniform(0, 6.283185307179586);
    const double q = std::sqrt(1 - z * z), x = q * std::cos(a), y = q * std::sin(a);
    if (drop && drop(x, y, z)) continue;
    cloud.Positions().emplace_back(float(c.x() + r * x), float(c.y() + r * y),
                                   float(c.z() + r * z));
    cloud.Normals().emplace_back(float(x), float(y), float(z));
  }
}

int CancelAt50(int pos, void*) { return pos >= 50 ? 1 : 0; }

}  // namespace

// The analytic surfaces are the oracles: every mesh vertex must lie on them, the topology
// must be theirs, and a hole must stay a hole.
TEST(CloudReconstruct, Properties_ClosedPiecesOfTheRightTopology) {
  qvtest::TestRng rng(5);
  SCOPED_TRACE(rng.Trace());
  struct Case {
    const char* name;
    CPointCloud cloud;
    std::function<double(const Point3D&)> truth;  // distance of a vertex to the surface
    bool closed;
    std::int64_t euler;
    int components;
    double kappa;  // largest curvature
  };
  std::vector<Case> cases(4);
  auto sphereDist = [](const Point3D& c, double r) {
    return [c, r](const Point3D& v) {
      const double dx = v.x() - c.x(), dy = v.y() - c.y(), dz = v.z() - c.z();
      return std::fabs(std::sqrt(dx * dx + dy * dy + dz * dz) - r);
    };
  };
  cases[0].name = "sphere";
  AddSphere(cases[0].cloud, rng, 6000, Point3D(3.0f, -1.0f, 2.0f), 1.0);
  cases[0].truth = sphereDist(Point3D(3.0f, -1.0f, 2.0f), 1.0);
  cases[0].closed = true, cases[0].euler = 2, cases[0].components = 1, cases[0].kappa = 1.0;

  cases[1].name = "torus";
  CSampleScan torus;
  MakeSampleTorus(20000, 1.0, 0.3, 0.0005, 3, torus);
  cases[1].cloud = torus.cloud;
  cases[1].cloud.Normals() = torus.trueNormals;
  cases[1].truth = [](const Point3D& v) {
    const double rho = std::hypot(double(v.x()), double(v.y())) - 1.0;
    return std::fabs(std::hypot(rho, double(v.z())) - 0.3);
  };
  cases[1].closed = true, cases[1].euler = 0, cases[1].components = 1, cases[1].kappa = 1 / 0.3;

  // Two spheres far apart (a seed on one never reaches the other) and of different sizes.
  cases[2].name = "two spheres";
  AddSphere(cases[2].cloud, rng, 4000, Point3D(0.0f), 1.0);
  AddSphere(cases[2].cloud, rng, 3000, Point3D(4.0f, 0.0f, 0.0f), 0.7);
  cases[2].truth = [d1 = sphereDist(Point3D(0.0f), 1.0),
                    d2 = sphereDist(Point3D(4.0f, 0.0f, 0.0f), 0.7)](const Point3D& v) {
    return std::min(d1(v), d2(v));
  };
  cases[2].closed = true, cases[2].euler = 4, cases[2].components = 2, cases[2].kappa = 1 / 0.7;

  // A sphere with its cap z > 0.6 unscanned: an open disc of Euler characteristic 1.
  cases[3].name = "holed sphere";
  AddSphere(cases[3].cloud, rng, 6000, Point3D(0.0f), 1.0,
            [](double, double, double z) { return z > 0.6; });
  cases[3].truth = sphereDist(Point3D(0.0f), 1.0);
  cases[3].closed = false, cases[3].euler = 1, cases[3].components = 1, cases[3].kappa = 1.0;

  for (Case& c : cases) {
    SCOPED_TRACE(c.name);
    CTriangleMesh mesh;
    CReconstructReport rep;
    CReconstructParams params;
    params.nThreads = 2;
    ReconstructCloudMesh(c.cloud, params, mesh, rep);
    EXPECT_EQ(rep.edges.closed, c.closed);
    EXPECT_EQ(rep.edges.euler, c.euler);
    EXPECT_EQ(rep.edges.components, c.components);
    EXPECT_EQ(rep.edges.nonManifoldEdges, 0);
    double worst = 0.0, mean = 0.0;
    for (const Point3D& v : mesh.Vertices()) {
      worst = std::max(worst, c.truth(v));
      mean += c.truth(v) / double(mesh.Vertices().size());
    }
    // Tangent planes alone would sag by 10–25% of κ(1.5h)² on average; the quadric fit that
    // places the vertices does far better. Past a rim the vertices stay on straight planes
    // for up to a band: a unit sphere leaves them by (band·h)²/2 there.
    const double h = rep.cellSize, sag = c.kappa * std::pow(1.5 * h, 2);
    EXPECT_LT(mean, 0.05 * sag);
    EXPECT_LT(worst, c.closed ? 0.3 * sag : sag + 0.5 * std::pow(params.band * h, 2));
    EXPECT_LE(rep.rmsDistance, rep.maxDistance);
    EXPECT_LT(rep.maxDistance, 0.1 * rep.cellSize);
    // Orientation: the right-hand normals of the triangles point away from the truth's
    // inside, i.e. the vertex normals and the face normals agree.
    int agree = 0;
    for (const auto& t : mesh.Triangles()) {
      const auto V = [&](int k) { return qvtest::ToV3(mesh.Vertices()[t[k]].asArray()); };
      const qvtest::V3 n = qvtest::ToV3(mesh.Normals()[t[0]].asArray());
      agree += qvtest::Dot(qvtest::Cross(qvtest::Sub(V(1), V(0)), qvtest::Sub(V(2), V(0))), n) > 0;
    }
    EXPECT_EQ(agree, int(mesh.Triangles().size()));
    if (!c.closed) {
      // No phantom cap: nothing over the hole beyond the band of the rim samples.
      for (const Point3D& v : mesh.Vertices()) ASSERT_LT(v.z(), 0.6 + params.band * rep.cellSize);
    }
  }
}

// The memory check fails before any work and names both figures; cancellation and bad
// arguments give their documented errors.
TEST(CloudReconstruct, Degenerate_LimitsCancellationAndBadInput) {
  qvtest::TestRng rng(8);
  CPointCloud cloud;
  AddSphere(cloud, rng, 3000, Point3D(0.0f), 1.0);
  CTriangleMesh mesh;
  CReconstructReport rep;
  CReconstructParams p;
  p.maxMemory = 1000;
  EXPECT_THROW(ReconstructCloudMesh(cloud, p, mesh, rep), std::length_error);
  EXPECT_TRUE(mesh.Triangles().empty());
  // The estimate is of the size of what a run builds: above the mesh, within 15 times it
  // (the polygonizer's caches).
  p.maxMemory = 0;
  ReconstructCloudMesh(cloud, p, mesh, rep);
  const double meshBytes = 24.0 * mesh.Vertices().size() + 12.0 * mesh.Triangles().size();
  EXPECT_GT(double(rep.estimatedBytes), meshBytes);
  EXPECT_LT(double(rep.estimatedBytes), 15 * meshBytes);

  CProgressCounter pc;
  pc.SetCallback(&CancelAt50);
  EXPECT_THROW(ReconstructCloudMesh(cloud, p, mesh, rep, &pc), CUserIntrException);

  CPointCloud bare = cloud;
  bare.Normals().clear();
  EXPECT_THROW(ReconstructCloudMesh(bare, p, mesh, rep), std::invalid_argument);
  for (double cell : {NAN, INFINITY}) {
    p.cellSize = cell;
    EXPECT_THROW(ReconstructCloudMesh(cloud, p, mesh, rep), std::invalid_argument);
  }
  p.cellSize = 0.0;
  p.band = 1.5;
  EXPECT_THROW(ReconstructCloudMesh(cloud, p, mesh, rep), std::invalid_argument);
  CPointCloud one;
  one.Positions().emplace_back(0.0f);
  one.Normals().emplace_back(0.0f, 0.0f, 1.0f);
  EXPECT_THROW(ReconstructCloudMesh(one, CReconstructParams(), mesh, rep), std::invalid_argument);
}
