// SPDX-License-Identifier: MIT
// Curvature of the noisy torus (100k points, R = 1, r = 0.3, sigma = 0.001): the library's
// ComputeCloudCurvatures (index build included, k = 30, neighbours' normals) against PCL
// PrincipalCurvaturesEstimation (k = 30, its k-d tree build included) when it is found.
// Both are given the same oriented normals (k = 60, spanning-tree orientation, sign fixed
// against the truth), computed once outside the timing: the benchmark measures the
// curvature step. Counter: the median relative error of the larger principal curvature
// magnitude against the analytic 1/r.
//
// PCL's pc1 is the largest eigenvalue of the covariance of the neighbours' normals
// projected on the tangent plane, divided by the neighbour count: a dimensionless variance.
// With normals varying linearly, n(t) ≈ n − κ t e along the principal direction e, so
// pc1 ≈ κ² Var(t·e): it is converted to 1/length as κ = sqrt(pc1 / Var(t·e)), the variance
// of the same neighbours' positions along PCL's own principal direction (outside the
// timing). The unconverted pc1 is reported too. CPU time is that of the whole process.
#include <benchmark/benchmark.h>
#include <qvmath/cloud/cloud_curvature.h>
#include <qvmath/cloud/cloud_index.h>
#include <qvmath/cloud/cloud_normals.h>
#include <qvmath/cloud/cloud_orientation.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "cloud_bench_common.h"

#ifdef QVMATH_BENCH_PCL
#include <pcl/features/principal_curvatures.h>
#include <pcl/point_types.h>
#include <pcl/search/kdtree.h>
#endif

using namespace REmath;

namespace {

constexpr int kPoints = 100000, kCurvK = 30, kNormalK = 60;

// Oriented (outward) normals of the scan.
const CCloudNormals& Normals() {
  static CCloudNormals nr;
  if (!nr.normals.empty()) return nr;
  const CSampleScan& s = qvbench::Torus(kPoints);
  CCloudIndex index;
  index.Build(s.cloud.Positions().data(), s.cloud.Size());
  CCloudNormalParams np;
  np.k = kNormalK;
  np.nThreads = 2;
  ComputeCloudNormals(index, np, nr);
  OrientCloudNormals(index, CCloudOrientParams(), nr.normals, nr.valid);
  qvbench::OrientLikeTruth(s, nr.normals);
  return nr;
}

// Median relative error of kOf(i) (NaN: invalid, counted as error 1) against the larger
// analytic magnitude; the number of invalid points into `invalid`.
template <class Get>
double MedianRelErr(Get kOf, int& invalid) {
  const CSampleScan& s = qvbench::Torus(kPoints);
  std::vector<double> e(kPoints);
  invalid = 0;
  for (int i = 0; i < kPoints; ++i) {
    const double truth =
        std::max(std::fabs(s.trueK1[std::size_t(i)]), std::fabs(s.trueK2[std::size_t(i)]));
    const double k = kOf(i);
    invalid += !std::isfinite(k);
    e[std::size_t(i)] = std::isfinite(k) ? std::fabs(k - truth) / truth : 1.0;
  }
  return qvbench::Median(std::move(e));
}

void BM_Curvature_QVmath(benchmark::State& st) {
  const CSampleScan& s = qvbench::Torus(kPoints);
  const CCloudNormals& nr = Normals();
  CCloudCurvatureParams p;
  p.k = kCurvK;
  p.nThreads = int(st.range(0));
  CCloudCurvatures out;
  for (auto _ : st) {
    CCloudIndex index;
    index.Build(s.cloud.Positions().data(), s.cloud.Size());
    ComputeCloudCurvatures(index, nr.normals, nr.valid, p, out);
    benchmark::DoNotOptimize(out.k1.data());
  }
  int invalid = 0;
  st.counters["k1_median_rel_err"] = MedianRelErr(
      [&](int i) {
        const std::size_t j = std::size_t(i);
        return out.valid[j] ? double(std::max(std::fabs(out.k1[j]), std::fabs(out.k2[j])))
                            : std::nan("");
      },
      invalid);
  st.counters["invalid"] = invalid;
  st.SetItemsProcessed(st.iterations() * kPoints);
}
BENCHMARK(BM_Curvature_QVmath)
    ->Arg(1)
    ->Arg(2)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MeasureProcessCPUTime();

#ifdef QVMATH_BENCH_PCL
void BM_Curvature_PclPrincipal(benchmark::State& st) {
  const CSampleScan& s = qvbench::Torus(kPoints);
  const CCloudNormals& nr = Normals();
  pcl::PointCloud<pcl::PointXYZ>::Ptr cloud(new pcl::PointCloud<pcl::PointXYZ>);
  pcl::PointCloud<pcl::Normal>::Ptr normals(new pcl::PointCloud<pcl::Normal>);
  for (int i = 0; i < kPoints; ++i) {
    const Point3D &p = s.cloud.Positions()[std::size_t(i)], &n = nr.normals[std::size_t(i)];
    cloud->push_back(pcl::PointXYZ(p.x(), p.y(), p.z()));
    normals->push_back(pcl::Normal(n.x(), n.y(), n.z()));
  }
  pcl::PointCloud<pcl::PrincipalCurvatures> out;
  for (auto _ : st) {
    pcl::PrincipalCurvaturesEstimation<pcl::PointXYZ, pcl::Normal, pcl::PrincipalCurvatures> pce;
    pce.setInputCloud(cloud);
    pce.setInputNormals(normals);
    pce.setSearchMethod(
        pcl::search::KdTree<pcl::PointXYZ>::Ptr(new pcl::search::KdTree<pcl::PointXYZ>));
    pce.setKSearch(kCurvK);
    pce.compute(out);
    benchmark::DoNotOptimize(out.points.data());
  }
  // Conversion to 1/length over the same k nearest neighbours.
  CCloudIndex index;
  index.Build(s.cloud.Positions().data(), s.cloud.Size());
  std::vector<int> nb(kCurvK);
  int invalid = 0;
  st.counters["k1_median_rel_err"] = MedianRelErr(
      [&](int i) {
        const pcl::PrincipalCurvatures& c = out.points[std::size_t(i)];
        const int m =
            index.KNearest(s.cloud.Positions()[std::size_t(i)], kCurvK, nb.data(), nullptr);
        double mean = 0, sq = 0;
        for (int j = 0; j < m; ++j) {
          const Point3D& q = s.cloud.Positions()[std::size_t(nb[std::size_t(j)])];
          const double t = q.x() * c.principal_curvature_x + q.y() * c.principal_curvature_y +
                           q.z() * c.principal_curvature_z;
          mean += t, sq += t * t;
        }
        mean /= m;
        const double var = sq / m - mean * mean;
        return var > 0 ? std::sqrt(double(c.pc1) / var) : std::nan("");
      },
      invalid);
  st.counters["invalid"] = invalid;
  st.counters["pc1_raw_median_rel_err"] =
      MedianRelErr([&](int i) { return double(out.points[std::size_t(i)].pc1); }, invalid);
  st.SetItemsProcessed(st.iterations() * kPoints);
}
BENCHMARK(BM_Curvature_PclPrincipal)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MeasureProcessCPUTime();
#endif

}  // namespace

BENCHMARK_MAIN();
