// SPDX-License-Identifier: MIT
// Dense LU solves: solveMat against dgetrf + dgetrs called directly, n = 200 .. 3000 with
// 1 and 3 right-hand sides. Both sides copy A into scratch storage inside the timed loop
// (the factorisation destroys it), so the difference is solveMat's own overhead.
#include <benchmark/benchmark.h>
#include <qvmath/core/detail/lapack.h>
#include <qvmath/core/solve_mat.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace {

using REmath::Matrix;

// A diagonally dominant n × n matrix and n × nrhs right-hand sides, column-major.
void MakeSystem(int n, int nrhs, std::vector<double>& a, std::vector<double>& b) {
  std::mt19937_64 gen(20240611);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  a.resize(std::size_t(n) * n);
  b.resize(std::size_t(n) * nrhs);
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < n; ++i) a[std::size_t(j) * n + i] = u(gen) + (i == j ? n : 0.0);
  for (double& x : b) x = u(gen);
}

// max |A·X − B| / (max|A|·max|X|·n): the scaled residual of the solution.
double ScaledResidual(const std::vector<double>& a, const double* x, const std::vector<double>& b,
                      int n, int nrhs) {
  double worst = 0.0, amax = 0.0, xmax = 0.0;
  for (double v : a) amax = std::max(amax, std::abs(v));
  for (int k = 0; k < n * nrhs; ++k) xmax = std::max(xmax, std::abs(x[k]));
  for (int r = 0; r < nrhs; ++r)
    for (int i = 0; i < n; ++i) {
      double s = 0.0;
      for (int j = 0; j < n; ++j) s += a[std::size_t(j) * n + i] * x[std::size_t(r) * n + j];
      worst = std::max(worst, std::abs(s - b[std::size_t(r) * n + i]));
    }
  return worst / (amax * xmax * n);
}

void BM_SolveMat(benchmark::State& st) {
  const int n = static_cast<int>(st.range(0)), nrhs = static_cast<int>(st.range(1));
  std::vector<double> a, b;
  MakeSystem(n, nrhs, a, b);
  Matrix<double> A0(n, n), B(n, nrhs), A(n, n), X;
  std::copy(a.begin(), a.end(), A0.memory());
  std::copy(b.begin(), b.end(), B.memory());
  for (auto _ : st) {
    A = A0;  // scratch copy: solveMat overwrites A with its factors
    benchmark::DoNotOptimize(REmath::solveMat(A, B, X));
  }
  st.counters["scaled_residual"] = ScaledResidual(a, X.memory(), b, n, nrhs);
}

void BM_DgetrfDgetrs(benchmark::State& st) {
  const int n = static_cast<int>(st.range(0)), nrhs = static_cast<int>(st.range(1));
  std::vector<double> a, b;
  MakeSystem(n, nrhs, a, b);
  std::vector<double> lu(a.size()), x(b.size());
  std::vector<int> ipiv(n);
  for (auto _ : st) {
    std::copy(a.begin(), a.end(), lu.begin());
    std::copy(b.begin(), b.end(), x.begin());
    int info = REmath::detail::lapack::getrf(n, n, lu.data(), n, ipiv.data());
    if (info == 0)
      info = REmath::detail::lapack::getrs(n, nrhs, lu.data(), n, ipiv.data(), x.data(), n);
    benchmark::DoNotOptimize(info);
  }
  st.counters["scaled_residual"] = ScaledResidual(a, x.data(), b, n, nrhs);
}

// Registered side by side per size, so that both see the same machine state.
const bool kRegistered = [] {
  for (int n : {200, 1000, 3000})
    for (int nrhs : {1, 3}) {
      benchmark::RegisterBenchmark("BM_SolveMat", BM_SolveMat)
          ->Args({n, nrhs})
          ->Unit(benchmark::kMillisecond);
      benchmark::RegisterBenchmark("BM_DgetrfDgetrs", BM_DgetrfDgetrs)
          ->Args({n, nrhs})
          ->Unit(benchmark::kMillisecond);
    }
  return true;
}();

}  // namespace

BENCHMARK_MAIN();
