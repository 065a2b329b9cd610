// SPDX-License-Identifier: MIT
// 3 × 3 scatter-matrix diagonalisation: GetEigenVectorsSA against Eigen's iterative
// (compute) and closed-form (computeDirect) self-adjoint solvers on the same matrices.
#include <benchmark/benchmark.h>
#include <qvmath/core/eigen_sa.h>

#include <Eigen/Eigenvalues>
#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace {

constexpr int kMatrices = 4096;

// Scatter matrices Σ (p − c)(p − c)ᵀ of 8 to 40 random points, some nearly planar (the
// typical normal-estimation input).
std::vector<CRotationMatrix> MakeScatterMatrices(unsigned seed) {
  std::mt19937_64 gen(seed);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  std::vector<CRotationMatrix> out(kMatrices);
  for (int t = 0; t < kMatrices; ++t) {
    const int k = 8 + t % 33;
    const double flat = t % 4 == 0 ? 1e-3 : 1.0;
    std::vector<double> p(3 * k);
    double c[3] = {0, 0, 0};
    for (int i = 0; i < k; ++i)
      for (int a = 0; a < 3; ++a) c[a] += (p[3 * i + a] = (a == 2 ? flat : 1.0) * u(gen)) / k;
    CRotationMatrix& m = out[t];
    for (int a = 0; a < 3; ++a)
      for (int b = 0; b < 3; ++b) {
        double s = 0.0;
        for (int i = 0; i < k; ++i) s += (p[3 * i + a] - c[a]) * (p[3 * i + b] - c[b]);
        m.m[a][b] = s;
      }
  }
  return out;
}

std::vector<Eigen::Matrix3d> ToEigen(const std::vector<CRotationMatrix>& ms) {
  std::vector<Eigen::Matrix3d> out(ms.size());
  for (std::size_t t = 0; t < ms.size(); ++t)
    for (int a = 0; a < 3; ++a)
      for (int b = 0; b < 3; ++b) out[t](a, b) = ms[t].m[a][b];
  return out;
}

// max over the eigenpairs of ‖A·v − λ·v‖ / ‖A‖_max: the accuracy that the speed buys.
double Residual(const Eigen::Matrix3d& A, const Eigen::Vector3d& v, double lambda) {
  return (A * v - lambda * v).norm() / std::max(A.cwiseAbs().maxCoeff(), 1e-300);
}

void BM_GetEigenVectorsSA(benchmark::State& st) {
  const auto mats = MakeScatterMatrices(7);
  REmath::Point3D_d vec[3];
  double val[3];
  for (auto _ : st) {
    for (const auto& m : mats) {
      REmath::GetEigenVectorsSA(m, vec, val, false);
      benchmark::DoNotOptimize(vec);
      benchmark::DoNotOptimize(val);
    }
  }
  double worst = 0.0;
  const auto em = ToEigen(mats);
  for (std::size_t t = 0; t < mats.size(); ++t) {
    REmath::GetEigenVectorsSA(mats[t], vec, val, false);
    for (int k = 0; k < 3; ++k)
      worst = std::max(
          worst, Residual(em[t], Eigen::Vector3d(vec[k].x(), vec[k].y(), vec[k].z()), val[k]));
  }
  st.counters["max_rel_residual"] = worst;
  st.SetItemsProcessed(st.iterations() * static_cast<int64_t>(mats.size()));
}

template <bool kDirect>
void BM_EigenSelfAdjoint(benchmark::State& st) {
  const auto mats = ToEigen(MakeScatterMatrices(7));
  Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> es;
  for (auto _ : st) {
    for (const auto& m : mats) {
      if (kDirect)
        es.computeDirect(m);
      else
        es.compute(m);
      benchmark::DoNotOptimize(es.eigenvectors().data());
      benchmark::DoNotOptimize(es.eigenvalues().data());
    }
  }
  double worst = 0.0;
  for (const auto& m : mats) {
    if (kDirect)
      es.computeDirect(m);
    else
      es.compute(m);
    for (int k = 0; k < 3; ++k)
      worst = std::max(worst, Residual(m, es.eigenvectors().col(k), es.eigenvalues()[k]));
  }
  st.counters["max_rel_residual"] = worst;
  st.SetItemsProcessed(st.iterations() * static_cast<int64_t>(mats.size()));
}

}  // namespace

BENCHMARK(BM_GetEigenVectorsSA);
BENCHMARK(BM_EigenSelfAdjoint<false>)->Name("BM_EigenSelfAdjoint_compute");
BENCHMARK(BM_EigenSelfAdjoint<true>)->Name("BM_EigenSelfAdjoint_computeDirect");

BENCHMARK_MAIN();
