// SPDX-License-Identifier: MIT
// One plane in 1M points: 70 % on the plane through the origin with normal (1, 2, 3)/√14
// over a 2 × 2 square, Gaussian noise sigma = 0.001 on each coordinate, and 30 % uniform
// outliers in the bounding box of the plane points, in random order. FindCloudPlanes (one
// plane asked for) against PCL SACSegmentation (plane, RANSAC, least-squares refit) and
// Open3D SegmentPlane when they are found, all with the distance threshold FindCloudPlanes
// derives (3 × point spacing). Counters: angle between the found normal and the true one,
// and the inliers (700000 drawn on the plane). CPU time is that of the whole process.
// BM_Planes_QVmath/threads/mode: mode 0 times FindCloudPlanes without normals on an index
// built beforehand, mode 1 the same with the index build, mode 2 FindCloudPlanes on k = 16
// normals computed beforehand (and counts the plane points whose normal is within the 10°
// the angle test accepts).
#include <benchmark/benchmark.h>
#include <qvmath/cloud/cloud_index.h>
#include <qvmath/cloud/cloud_normals.h>
#include <qvmath/cloud/cloud_planes.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "cloud_bench_common.h"

#ifdef QVMATH_BENCH_PCL
#include <pcl/ModelCoefficients.h>
#include <pcl/point_types.h>
#include <pcl/sample_consensus/method_types.h>
#include <pcl/sample_consensus/model_types.h>
#include <pcl/segmentation/sac_segmentation.h>
#endif
#ifdef QVMATH_BENCH_OPEN3D
#include <open3d/Open3D.h>
#endif

using namespace REmath;

namespace {

constexpr int kPoints = 1000000;
const double kTrue[3] = {1 / std::sqrt(14.0), 2 / std::sqrt(14.0), 3 / std::sqrt(14.0)};

// The points, and per point whether it was drawn on the plane.
std::vector<unsigned char> g_onPlane;

const std::vector<Point3D>& PlaneScan() {
  static std::vector<Point3D> pts;
  if (!pts.empty()) return pts;
  std::mt19937_64 rng(2024);
  std::uniform_real_distribution<double> U(-1, 1);
  std::normal_distribution<double> G(0, 0.001);
  // In-plane frame: u = n × z normalised, v = n × u.
  const double* n = kTrue;
  double u[3] = {n[1], -n[0], 0};
  const double lu = std::hypot(u[0], u[1]);
  u[0] /= lu, u[1] /= lu;
  const double v[3] = {n[1] * u[2] - n[2] * u[1], n[2] * u[0] - n[0] * u[2],
                       n[0] * u[1] - n[1] * u[0]};
  const int onPlane = kPoints * 7 / 10;
  double lo[3] = {1e300, 1e300, 1e300}, hi[3] = {-1e300, -1e300, -1e300};
  for (int i = 0; i < onPlane; ++i) {
    const double a = U(rng), b = U(rng);
    double p[3];
    for (int c = 0; c < 3; ++c) {
      p[c] = a * u[c] + b * v[c] + G(rng);
      lo[c] = std::min(lo[c], p[c]), hi[c] = std::max(hi[c], p[c]);
    }
    pts.emplace_back(float(p[0]), float(p[1]), float(p[2]));
  }
  std::uniform_real_distribution<double> U01(0, 1);
  for (int i = onPlane; i < kPoints; ++i) {
    double p[3];
    for (int c = 0; c < 3; ++c) p[c] = lo[c] + (hi[c] - lo[c]) * U01(rng);
    pts.emplace_back(float(p[0]), float(p[1]), float(p[2]));
  }
  std::vector<int> order(pts.size());
  for (std::size_t i = 0; i < order.size(); ++i) order[i] = int(i);
  std::shuffle(order.begin(), order.end(), rng);
  std::vector<Point3D> shuffled(pts.size());
  g_onPlane.assign(pts.size(), 0);
  for (std::size_t i = 0; i < order.size(); ++i) {
    shuffled[i] = pts[std::size_t(order[i])];
    g_onPlane[i] = order[i] < onPlane;
  }
  pts.swap(shuffled);
  return pts;
}

// The k = 16 normals of the scan.
void Normals(const CCloudIndex& index, int threads, CCloudNormals& nr) {
  CCloudNormalParams np;
  np.k = 16;
  np.nThreads = threads;
  ComputeCloudNormals(index, np, nr);
}

const CCloudIndex& Index() {
  static CCloudIndex index;
  if (index.IndexedCount() == 0) index.Build(PlaneScan().data(), kPoints);
  return index;
}

// One plane of the scan, on `normals` (empty: none).
void RunOurs(const CCloudIndex& index, int threads, const CCloudNormals& normals,
             CCloudPlanes& out) {
  CCloudPlaneParams pp;
  pp.maxPlanes = 1;
  pp.nThreads = threads;
  FindCloudPlanes(index, normals.normals, normals.valid, pp, out);
}

// The threshold every program uses: the one FindCloudPlanes derives.
double Distance() {
  static double d = 0;
  if (d == 0) d = 3.0 * EstimatePointSpacing(Index());
  return d;
}

void Report(benchmark::State& st, const double* normal, std::size_t inliers) {
  st.counters["normal_err_deg"] = qvbench::LineAngleDeg(normal, kTrue);
  st.counters["inliers"] = double(inliers);
  st.counters["distance"] = Distance();
  st.SetItemsProcessed(st.iterations() * kPoints);
}

void BM_Planes_QVmath(benchmark::State& st) {
  Distance();
  const int threads = int(st.range(0));
  const int mode = int(st.range(1));
  CCloudNormals given;
  if (mode == 2) {
    Normals(Index(), threads, given);
    int within = 0;
    for (int i = 0; i < kPoints; ++i) {
      const Point3D& q = given.normals[std::size_t(i)];
      const double a[3] = {q.x(), q.y(), q.z()};
      within += g_onPlane[std::size_t(i)] && given.valid[std::size_t(i)] &&
                qvbench::LineAngleDeg(a, kTrue) <= 10.0;
    }
    st.counters["plane_normals_within_10deg"] = within;
  }
  CCloudPlanes out;
  for (auto _ : st) {
    if (mode == 1) {
      CCloudIndex index;
      index.Build(PlaneScan().data(), kPoints, nullptr, threads);
      RunOurs(index, threads, given, out);
    } else {
      RunOurs(Index(), threads, given, out);
    }
    benchmark::DoNotOptimize(out.labels.data());
  }
  if (out.planes.empty()) {
    st.SkipWithError("no plane found");
    return;
  }
  Report(st, out.planes[0].equation.NormalDir(), std::size_t(out.planes[0].inliers));
}
BENCHMARK(BM_Planes_QVmath)
    ->ArgsProduct({{1, 2}, {0, 1, 2}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MeasureProcessCPUTime();

#ifdef QVMATH_BENCH_PCL
void BM_Planes_PclSac(benchmark::State& st) {
  pcl::PointCloud<pcl::PointXYZ>::Ptr cloud(new pcl::PointCloud<pcl::PointXYZ>);
  for (const Point3D& p : PlaneScan()) cloud->push_back(pcl::PointXYZ(p.x(), p.y(), p.z()));
  pcl::ModelCoefficients coeff;
  pcl::PointIndices inliers;
  for (auto _ : st) {
    pcl::SACSegmentation<pcl::PointXYZ> seg;
    seg.setModelType(pcl::SACMODEL_PLANE);
    seg.setMethodType(pcl::SAC_RANSAC);
    seg.setDistanceThreshold(Distance());
    seg.setMaxIterations(1000);
    seg.setOptimizeCoefficients(true);
    seg.setNumberOfThreads(int(st.range(0)));
    seg.setInputCloud(cloud);
    seg.segment(inliers, coeff);
    benchmark::DoNotOptimize(inliers.indices.data());
  }
  if (coeff.values.size() < 3) {
    st.SkipWithError("no plane found");
    return;
  }
  const double n[3] = {coeff.values[0], coeff.values[1], coeff.values[2]};
  Report(st, n, inliers.indices.size());
}
BENCHMARK(BM_Planes_PclSac)
    ->Arg(1)
    ->Arg(2)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MeasureProcessCPUTime();
#endif

#ifdef QVMATH_BENCH_OPEN3D
void BM_Planes_Open3D(benchmark::State& st) {
  open3d::geometry::PointCloud pc;
  for (const Point3D& p : PlaneScan()) pc.points_.emplace_back(p.x(), p.y(), p.z());
  Eigen::Vector4d model = Eigen::Vector4d::Zero();
  std::vector<std::size_t> inliers;
  for (auto _ : st) {
    std::tie(model, inliers) = pc.SegmentPlane(Distance(), 3, 1000);
    benchmark::DoNotOptimize(inliers.data());
  }
  const double n[3] = {model[0], model[1], model[2]};
  Report(st, n, inliers.size());
}
BENCHMARK(BM_Planes_Open3D)->Unit(benchmark::kMillisecond)->UseRealTime()->MeasureProcessCPUTime();
#endif

}  // namespace

BENCHMARK_MAIN();
