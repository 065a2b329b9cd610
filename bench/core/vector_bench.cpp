// SPDX-License-Identifier: MIT
// Vector<double> `+=` and scaling beside plain loops over std::vector on identical inputs.
// The scaling peer returns a fresh vector as `v * s` does.
#include <benchmark/benchmark.h>
#include <qvmath/core/vector.h>

#include <random>
#include <vector>

namespace {

using REmath::Vector;

std::vector<double> RandomValues(int n, unsigned seed) {
  std::mt19937_64 rng(seed);
  std::uniform_real_distribution<double> u(-1, 1);
  std::vector<double> v(std::size_t(n), 0.0);
  for (double& x : v) x = u(rng);
  return v;
}

void BM_AddAssign_QVmath(benchmark::State& st) {
  const int n = int(st.range(0));
  auto a = RandomValues(n, 1), b = RandomValues(n, 2);
  Vector<double> va(a.data(), n);
  const Vector<double> vb(b.data(), n);
  for (auto _ : st) {
    va += vb;
    benchmark::DoNotOptimize(va.memory());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

// The peer: the same loop over plain arrays, out of line so that it cannot be merged with
// the timing loop.
void AddAssignPlain(double* a, const double* b, int n) {
  for (int i = 0; i < n; ++i) a[i] += b[i];
}
void BM_AddAssign_PlainLoop(benchmark::State& st) {
  const int n = int(st.range(0));
  auto a = RandomValues(n, 1), b = RandomValues(n, 2);
  for (auto _ : st) {
    AddAssignPlain(a.data(), b.data(), n);
    benchmark::DoNotOptimize(a.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

void BM_Scale_QVmath(benchmark::State& st) {
  const int n = int(st.range(0));
  auto a = RandomValues(n, 3);
  const Vector<double> v(a.data(), n);
  for (auto _ : st) {
    Vector<double> r = v * 1.0000001;
    benchmark::DoNotOptimize(r.memory());
  }
  st.SetItemsProcessed(st.iterations() * n);
}

std::vector<double> ScalePlain(const std::vector<double>& v, double s) {
  std::vector<double> r(v.size());
  for (std::size_t i = 0; i < v.size(); ++i) r[i] = v[i] * s;
  return r;
}
void BM_Scale_PlainLoop(benchmark::State& st) {
  const int n = int(st.range(0));
  const auto a = RandomValues(n, 3);
  for (auto _ : st) {
    std::vector<double> r = ScalePlain(a, 1.0000001);
    benchmark::DoNotOptimize(r.data());
  }
  st.SetItemsProcessed(st.iterations() * n);
}

}  // namespace

BENCHMARK(BM_AddAssign_QVmath)->Arg(1000)->Arg(100000)->Arg(4000000);
BENCHMARK(BM_AddAssign_PlainLoop)->Arg(1000)->Arg(100000)->Arg(4000000);
BENCHMARK(BM_Scale_QVmath)->Arg(1000)->Arg(100000)->Arg(4000000);
BENCHMARK(BM_Scale_PlainLoop)->Arg(1000)->Arg(100000)->Arg(4000000);

BENCHMARK_MAIN();
