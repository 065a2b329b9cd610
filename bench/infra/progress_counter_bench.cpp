// SPDX-License-Identifier: MIT
// Cost of CProgressCounter::SetPosFloat when called per item and the integer position does
// not change, beside the ideal (round and compare, nothing else) and a mutex taken per call.
#include <benchmark/benchmark.h>
#include <qvmath/infra/progress_counter.h>

#include <cmath>
#include <mutex>
#include <vector>

namespace {

// Fractions of one sub-phase that all fall on the same integer position.
std::vector<double> SamePositionFractions() {
  std::vector<double> f(4096);
  for (size_t i = 0; i < f.size(); ++i) f[i] = 0.5 + 1e-3 * double(i) / double(f.size());
  return f;
}

int CountingCallback(int, void* calls) {
  ++*static_cast<long*>(calls);
  return 0;
}

void BM_SetPosFloat_QVmath(benchmark::State& st) {
  const std::vector<double> fractions = SamePositionFractions();
  CProgressCounter pc;
  long calls = 0;
  pc.SetCallback(&CountingCallback);
  pc.SetContext(&calls);
  CPrgCntSubPhase phase(&pc, 20, 50, CPrgCntSubPhase::PhaseInt, true);
  pc.SetPosFloat(fractions[0]);
  for (auto _ : st)
    for (double f : fractions) pc.SetPosFloat(f);
  st.SetItemsProcessed(st.iterations() * int64_t(fractions.size()));
  st.counters["callbacks"] = double(calls);
}

// The least any counter must do: map the fraction, round it and compare with the last.
void BM_SetPosFloat_IdealRoundCompare(benchmark::State& st) {
  const std::vector<double> fractions = SamePositionFractions();
  double start = 20.0, step = 50.0;
  benchmark::DoNotOptimize(start);
  benchmark::DoNotOptimize(step);
  int last = -1;
  long changes = 0;
  for (auto _ : st)
    for (double f : fractions) {
      const int p = int(std::floor(f * step + start + 0.5));
      if (p != last) last = p, ++changes;
      benchmark::DoNotOptimize(last);
    }
  st.SetItemsProcessed(st.iterations() * int64_t(fractions.size()));
  st.counters["callbacks"] = double(changes);
}

// A counter that takes an uncontended mutex on every call.
void BM_SetPosFloat_MutexPerCall(benchmark::State& st) {
  const std::vector<double> fractions = SamePositionFractions();
  std::mutex mutex;
  double start = 20.0, step = 50.0;
  benchmark::DoNotOptimize(start);
  benchmark::DoNotOptimize(step);
  int last = -1;
  for (auto _ : st)
    for (double f : fractions) {
      const int p = int(std::floor(f * step + start + 0.5));
      std::lock_guard<std::mutex> lock(mutex);
      if (p != last) last = p;
      benchmark::DoNotOptimize(last);
    }
  st.SetItemsProcessed(st.iterations() * int64_t(fractions.size()));
}

}  // namespace

BENCHMARK(BM_SetPosFloat_QVmath);
BENCHMARK(BM_SetPosFloat_IdealRoundCompare);
BENCHMARK(BM_SetPosFloat_MutexPerCall);

BENCHMARK_MAIN();
