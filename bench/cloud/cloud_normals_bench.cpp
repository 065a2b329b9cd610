// SPDX-License-Identifier: MIT
// Whole-cloud normals on the noisy torus (R = 1, r = 0.3, sigma = 0.001, uniform by area,
// random order), k = 16, tree build included, against PCL NormalEstimationOMP and Open3D
// EstimateNormals when they are found. Counter: median angle to the analytic normal.
#include <benchmark/benchmark.h>
#include <qvmath/cloud/cloud_normals.h>
#include <qvmath/cloud/cloud_samples.h>

#include "cloud_bench_common.h"

#ifdef QVMATH_BENCH_PCL
#include <pcl/features/normal_3d_omp.h>
#include <pcl/point_types.h>
#endif
#ifdef QVMATH_BENCH_OPEN3D
#include <open3d/Open3D.h>
#endif

using namespace REmath;

namespace {

using qvbench::MedianDeg;
using qvbench::Torus;

void BM_Normals_QVmath(benchmark::State& st) {
  const int n = int(st.range(0));
  const CSampleScan& t = Torus(n);
  CCloudNormalParams p;
  p.k = 16;
  p.nThreads = int(st.range(1));
  CCloudNormals out;
  for (auto _ : st) {
    ComputeCloudNormals(t.cloud, p, out);
    benchmark::DoNotOptimize(out.normals.data());
  }
  st.SetItemsProcessed(st.iterations() * n);
  st.counters["median_err_deg"] = MedianDeg(n, [&](int i, double* a) {
    const Point3D& q = out.normals[std::size_t(i)];
    a[0] = q.x(), a[1] = q.y(), a[2] = q.z();
  });
}
BENCHMARK(BM_Normals_QVmath)
    ->Args({1000000, 1})
    ->Args({1000000, 2})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

#ifdef QVMATH_BENCH_PCL
void BM_Normals_PclOmp(benchmark::State& st) {
  const int n = int(st.range(0));
  const CSampleScan& t = Torus(n);
  pcl::PointCloud<pcl::PointXYZ>::Ptr cloud(new pcl::PointCloud<pcl::PointXYZ>);
  for (const Point3D& p : t.cloud.Positions()) cloud->push_back(pcl::PointXYZ(p.x(), p.y(), p.z()));
  pcl::PointCloud<pcl::Normal> out;
  for (auto _ : st) {
    pcl::NormalEstimationOMP<pcl::PointXYZ, pcl::Normal> ne(int(st.range(1)));
    ne.setInputCloud(cloud);
    ne.setSearchMethod(
        pcl::search::KdTree<pcl::PointXYZ>::Ptr(new pcl::search::KdTree<pcl::PointXYZ>));
    ne.setKSearch(16);
    ne.compute(out);
    benchmark::DoNotOptimize(out.points.data());
  }
  st.SetItemsProcessed(st.iterations() * n);
  st.counters["median_err_deg"] = MedianDeg(n, [&](int i, double* a) {
    const auto& q = out.points[std::size_t(i)];
    a[0] = q.normal_x, a[1] = q.normal_y, a[2] = q.normal_z;
  });
}
BENCHMARK(BM_Normals_PclOmp)->Args({1000000, 2})->Unit(benchmark::kMillisecond)->UseRealTime();
#endif

#ifdef QVMATH_BENCH_OPEN3D
void BM_Normals_Open3D(benchmark::State& st) {
  const int n = int(st.range(0));
  const CSampleScan& t = Torus(n);
  open3d::geometry::PointCloud pc;
  for (const Point3D& p : t.cloud.Positions()) pc.points_.emplace_back(p.x(), p.y(), p.z());
  for (auto _ : st) {
    pc.normals_.clear();
    pc.EstimateNormals(open3d::geometry::KDTreeSearchParamKNN(16), false);
    benchmark::DoNotOptimize(pc.normals_.data());
  }
  st.SetItemsProcessed(st.iterations() * n);
  st.counters["median_err_deg"] = MedianDeg(n, [&](int i, double* a) {
    const auto& q = pc.normals_[std::size_t(i)];
    a[0] = q.x(), a[1] = q.y(), a[2] = q.z();
  });
}
BENCHMARK(BM_Normals_Open3D)->Args({1000000, 2})->Unit(benchmark::kMillisecond)->UseRealTime();
#endif

}  // namespace

BENCHMARK_MAIN();
