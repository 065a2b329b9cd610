// SPDX-License-Identifier: MIT
// Reconstruction of the noisy torus (100k points, R = 1, r = 0.3, sigma = 0.001) from normals
// estimated and oriented by the library (computed once, outside the timing, and given to
// both), against Open3D's Poisson reconstruction when it is found. Counters: triangles,
// closed, Euler characteristic, and the mean and largest distance of the mesh vertices to
// the analytic torus.
#include <benchmark/benchmark.h>
#include <qvmath/cloud/cloud_index.h>
#include <qvmath/cloud/cloud_normals.h>
#include <qvmath/cloud/cloud_orientation.h>
#include <qvmath/cloud/cloud_reconstruct.h>
#include <qvmath/cloud/cloud_samples.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "cloud_bench_common.h"

#ifdef QVMATH_BENCH_OPEN3D
#include <open3d/Open3D.h>
#endif

using namespace REmath;

namespace {

constexpr int kPoints = 100000;

// The scan with oriented normals, outward (the sign is fixed against the truth: the
// benchmark measures the reconstruction, not the orientation).
const CPointCloud& Scan() {
  static CPointCloud cloud;
  if (cloud.Size() == 0) {
    CSampleScan s;
    MakeSampleTorus(kPoints, 1.0, 0.3, 0.001, 2024, s);
    CCloudIndex index;
    index.Build(s.cloud.Positions().data(), s.cloud.Size());
    CCloudNormals nr;
    CCloudNormalParams np;
    np.k = 16;
    ComputeCloudNormals(index, np, nr);
    OrientCloudNormals(index, CCloudOrientParams(), nr.normals, nr.valid);
    qvbench::OrientLikeTruth(s, nr.normals);
    cloud = s.cloud;
    cloud.Normals() = nr.normals;
  }
  return cloud;
}

// Distances of vertices to the analytic torus into mean and max counters.
template <class Vertices>
void TruthCounters(benchmark::State& st, const Vertices& vs) {
  double sum = 0, mx = 0;
  for (const auto& v : vs) {
    const double rho = std::hypot(double(v[0]), double(v[1])) - 1.0;
    const double d = std::fabs(std::hypot(rho, double(v[2])) - 0.3);
    sum += d;
    mx = std::max(mx, d);
  }
  st.counters["mean_dist"] = vs.empty() ? 0.0 : sum / double(vs.size());
  st.counters["max_dist"] = mx;
}

void SetEdgeCounters(benchmark::State& st, const CTriangleMesh& m) {
  const CMeshEdgeStats e = m.EdgeStats();
  st.counters["triangles"] = double(m.Triangles().size());
  st.counters["closed"] = e.closed ? 1 : 0;
  st.counters["euler"] = double(e.euler);
}

// Args: the cell size in units of the point spacing, times 10; the blended neighbours; the
// samples of the final vertex fit (0: none, the polygonizer's vertices).
void BM_Reconstruct_QVmath(benchmark::State& st) {
  const CPointCloud& cloud = Scan();
  CReconstructParams p;
  p.spacingFactor = double(st.range(0)) / 10.0;
  p.neighbours = int(st.range(1));
  p.fitNeighbours = int(st.range(2));
  CTriangleMesh mesh;
  CReconstructReport rep;
  for (auto _ : st) {
    ReconstructCloudMesh(cloud, p, mesh, rep);
    benchmark::DoNotOptimize(mesh.Triangles().data());
  }
  SetEdgeCounters(st, mesh);
  std::vector<std::array<float, 3>> vs;
  for (const Point3D& v : mesh.Vertices()) vs.push_back({v.x(), v.y(), v.z()});
  TruthCounters(st, vs);
  st.counters["sample_mean_dist"] = rep.meanDistance;
}
BENCHMARK(BM_Reconstruct_QVmath)
    ->Args({30, 10, 0})
    ->Args({35, 10, 0})
    ->Args({35, 10, 64})
    ->Args({35, 10, 96})
    ->Args({20, 10, 96})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

#ifdef QVMATH_BENCH_OPEN3D
// Arg: the octree depth.
void BM_Reconstruct_Open3DPoisson(benchmark::State& st) {
  const CPointCloud& cloud = Scan();
  open3d::geometry::PointCloud pc;
  for (int i = 0; i < cloud.Size(); ++i) {
    const Point3D &p = cloud.Positions()[std::size_t(i)], &n = cloud.Normals()[std::size_t(i)];
    pc.points_.emplace_back(p.x(), p.y(), p.z());
    pc.normals_.emplace_back(n.x(), n.y(), n.z());
  }
  std::shared_ptr<open3d::geometry::TriangleMesh> mesh;
  for (auto _ : st) {
    mesh = std::get<0>(open3d::geometry::TriangleMesh::CreateFromPointCloudPoisson(
        pc, size_t(st.range(0)), 0, 1.1f, false, 1));
    benchmark::DoNotOptimize(mesh.get());
  }
  CTriangleMesh m;
  for (const auto& v : mesh->vertices_)
    m.Vertices().emplace_back(float(v[0]), float(v[1]), float(v[2]));
  for (const auto& t : mesh->triangles_) m.Triangles().push_back({t[0], t[1], t[2]});
  SetEdgeCounters(st, m);
  TruthCounters(st, mesh->vertices_);
}
BENCHMARK(BM_Reconstruct_Open3DPoisson)
    ->Arg(8)
    ->Arg(9)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);
#endif

}  // namespace

BENCHMARK_MAIN();
