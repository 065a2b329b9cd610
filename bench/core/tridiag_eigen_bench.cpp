// SPDX-License-Identifier: MIT
// Symmetric eigen-decomposition with eigenvectors: tred2_d + tqli_d against LAPACK dsyev
// (jobz "V") on the same random matrices.
#include <benchmark/benchmark.h>
#include <qvmath/core/detail/lapack.h>
#include <qvmath/core/tridiag_eigen.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace {

constexpr int kBatch = 64;  // matrices per timed round, so that n = 3 is measurable

// kBatch random symmetric n × n matrices, each stored densely (row i at i·n).
std::vector<std::vector<double>> MakeSymmetric(int n, unsigned seed) {
  std::mt19937_64 gen(seed);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  std::vector<std::vector<double>> out(kBatch, std::vector<double>(std::size_t(n) * n));
  for (auto& a : out)
    for (int i = 0; i < n; ++i)
      for (int j = 0; j <= i; ++j) a[i * n + j] = a[j * n + i] = u(gen);
  return out;
}

// max ‖A·z_k − λ_k·z_k‖_∞ / max|A| over the pairs; z_k is column k of a column-major Z
// when colMajor, of a row-major Z otherwise.
double Residual(const std::vector<double>& a, int n, const double* z, const double* w,
                bool colMajor) {
  double worst = 0.0, amax = 0.0;
  for (double x : a) amax = std::max(amax, std::abs(x));
  for (int k = 0; k < n; ++k)
    for (int i = 0; i < n; ++i) {
      double s = 0.0;
      auto Z = [&](int r) { return colMajor ? z[k * n + r] : z[r * n + k]; };
      for (int j = 0; j < n; ++j) s += a[i * n + j] * Z(j);
      worst = std::max(worst, std::abs(s - w[k] * Z(i)) / amax);
    }
  return worst;
}

void BM_Tred2Tqli(benchmark::State& st) {
  const int n = static_cast<int>(st.range(0));
  const auto mats = MakeSymmetric(n, 11);
  std::vector<double> z(std::size_t(n) * n), d(n), e(n);
  std::vector<double*> rows(n);
  for (int i = 0; i < n; ++i) rows[i] = z.data() + i * n;
  double worst = 0.0;
  for (auto _ : st) {
    for (const auto& a : mats) {
      std::copy(a.begin(), a.end(), z.begin());
      REmath::tred2_d(rows.data(), n, d.data(), e.data());
      benchmark::DoNotOptimize(REmath::tqli_d(d.data(), e.data(), n, rows.data()));
    }
  }
  for (const auto& a : mats) {
    std::copy(a.begin(), a.end(), z.begin());
    REmath::tred2_d(rows.data(), n, d.data(), e.data());
    REmath::tqli_d(d.data(), e.data(), n, rows.data());
    worst = std::max(worst, Residual(a, n, z.data(), d.data(), false));
  }
  st.counters["max_rel_residual"] = worst;
  st.SetItemsProcessed(st.iterations() * kBatch);
}

void BM_LapackDsyev(benchmark::State& st) {
  const int n = static_cast<int>(st.range(0));
  const auto mats = MakeSymmetric(n, 11);
  std::vector<double> z(std::size_t(n) * n), w(n);
  // The optimal workspace, queried once as a caller of dsyev would.
  const char jobz = 'V', uplo = 'L';
  int lwork = -1, info = 0;
  double query = 0.0;
  dsyev_(&jobz, &uplo, &n, z.data(), &n, w.data(), &query, &lwork, &info, 1, 1);
  lwork = static_cast<int>(query);
  std::vector<double> work(lwork);
  for (auto _ : st) {
    for (const auto& a : mats) {
      std::copy(a.begin(), a.end(), z.begin());
      dsyev_(&jobz, &uplo, &n, z.data(), &n, w.data(), work.data(), &lwork, &info, 1, 1);
      benchmark::DoNotOptimize(info);
    }
  }
  double worst = 0.0;
  for (const auto& a : mats) {
    std::copy(a.begin(), a.end(), z.begin());
    dsyev_(&jobz, &uplo, &n, z.data(), &n, w.data(), work.data(), &lwork, &info, 1, 1);
    worst = std::max(worst, Residual(a, n, z.data(), w.data(), true));
  }
  st.counters["max_rel_residual"] = worst;
  st.SetItemsProcessed(st.iterations() * kBatch);
}

}  // namespace

BENCHMARK(BM_Tred2Tqli)->Arg(3)->Arg(10)->Arg(50);
BENCHMARK(BM_LapackDsyev)->Arg(3)->Arg(10)->Arg(50);

BENCHMARK_MAIN();
