// SPDX-License-Identifier: MIT
// FitPlaneToPointSet on a million scanned points against one Eigen covariance pass (mean
// and centred scatter in double) over the same points; the Eigen normal is the accuracy
// reference.

#include <benchmark/benchmark.h>
#include <qvmath/analysis/plane_fit.h>

#include <Eigen/Dense>
#include <cmath>
#include <random>
#include <vector>

namespace {

const std::vector<REmath::Point3D>& Cloud() {
  static const std::vector<REmath::Point3D> pts = [] {
    std::mt19937_64 rng(7);
    std::uniform_real_distribution<double> u(-50, 50), noise(-0.05, 0.05);
    std::vector<REmath::Point3D> v(1000000);
    for (auto& p : v) {
      const double x = u(rng), y = u(rng);
      p = REmath::Point3D(1000 + x, 2000 + y, 300 + 0.3 * x - 0.1 * y + noise(rng));
    }
    return v;
  }();
  return pts;
}

Eigen::Vector3d EigenNormal(const Eigen::Matrix3d& S) {
  return Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d>(S).eigenvectors().col(0);
}

// The peer: Eigen's map of the float points, the mean and the centred scatter in double.
Eigen::Matrix3d EigenScatter(const std::vector<REmath::Point3D>& pts, Eigen::Vector3d& mean) {
  const Eigen::Map<const Eigen::Matrix3Xf> X(pts.front().asArray(), 3, Eigen::Index(pts.size()));
  mean = X.cast<double>().rowwise().mean();
  Eigen::Matrix3d S = Eigen::Matrix3d::Zero();
  for (Eigen::Index i = 0; i < X.cols(); ++i) {
    const Eigen::Vector3d d = X.col(i).cast<double>() - mean;
    S.selfadjointView<Eigen::Lower>().rankUpdate(d);
  }
  return S.selfadjointView<Eigen::Lower>();
}

void BM_FitPlaneToPointSet_QVmath(benchmark::State& st) {
  const auto& pts = Cloud();
  Eigen::Vector3d mean;
  const Eigen::Vector3d ref = EigenNormal(EigenScatter(pts, mean));
  double plane[4], c[3];
  for (auto _ : st) {
    benchmark::DoNotOptimize(FitPlaneToPointSet(pts, plane, c));
    benchmark::ClobberMemory();
  }
  const double cosang = std::fabs(ref.dot(Eigen::Vector3d(plane[0], plane[1], plane[2])));
  st.counters["err_deg"] = std::acos(std::min(1.0, cosang)) * 180 / 3.141592653589793;
  st.SetItemsProcessed(st.iterations() * std::int64_t(pts.size()));
}

void BM_FitPlane_EigenCovariancePass(benchmark::State& st) {
  const auto& pts = Cloud();
  Eigen::Vector3d mean;
  for (auto _ : st) {
    Eigen::Matrix3d S = EigenScatter(pts, mean);
    benchmark::DoNotOptimize(S);
    benchmark::DoNotOptimize(mean);
  }
  st.SetItemsProcessed(st.iterations() * std::int64_t(pts.size()));
}

// A second peer: a single pass of raw moments Σp and Σppᵀ (Eigen 3-vectors and 3 × 3
// products), the scatter taken as Σppᵀ − n·mmᵀ. Faster to write, but it cancels digits for
// clouds away from the origin; its error is the counter.
void BM_FitPlane_EigenRawMomentsPass(benchmark::State& st) {
  const auto& pts = Cloud();
  Eigen::Vector3d mean;
  const Eigen::Vector3d ref = EigenNormal(EigenScatter(pts, mean));
  Eigen::Matrix3d S;
  for (auto _ : st) {
    Eigen::Vector3d s = Eigen::Vector3d::Zero();
    Eigen::Matrix3d M = Eigen::Matrix3d::Zero();
    for (const auto& p : pts) {
      const Eigen::Vector3d v(p.x(), p.y(), p.z());
      s += v;
      M.noalias() += v * v.transpose();
    }
    const Eigen::Vector3d m = s / double(pts.size());
    S = M - double(pts.size()) * m * m.transpose();
    benchmark::DoNotOptimize(S);
  }
  st.counters["err_deg"] =
      std::acos(std::min(1.0, std::fabs(ref.dot(EigenNormal(S))))) * 180 / 3.141592653589793;
  st.SetItemsProcessed(st.iterations() * std::int64_t(pts.size()));
}

}  // namespace

BENCHMARK(BM_FitPlane_EigenRawMomentsPass)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FitPlaneToPointSet_QVmath)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FitPlane_EigenCovariancePass)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
