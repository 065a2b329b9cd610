// SPDX-License-Identifier: MIT
// lmder1_, lmdif1_ and hybrd1_ with functor callbacks against cminpack's drivers called
// directly with plain callbacks, on the classic test problems. Both sides evaluate through
// the same code; the counters report the solver outcome and whether the two agree exactly.
#include <benchmark/benchmark.h>
#include <cminpack.h>
#include <qvmath/optim/minpack.h>

#include <cmath>
#include <vector>

#include "../../tests/optim/minpack_problems.h"

using namespace minpack_problems;

namespace {

const double kTol = std::sqrt(2.220446049250313e-16);

enum Driver { kLmder1, kLmdif1, kHybrd1 };

// One solver run from the standard start; returns the info code.
struct Workspace {
  explicit Workspace(const Problem& p)
      : x(p.x0),
        fvec(p.m),
        fjac(static_cast<size_t>(p.m) * p.n),
        ipvt(p.n),
        lwa(p.m * p.n + 5 * p.n + p.m + p.n * (3 * p.n + 13)),
        wa(lwa) {}
  std::vector<double> x, fvec, fjac;
  std::vector<int> ipvt;
  int lwa;
  std::vector<double> wa;
};

int SolveQVmath(Driver d, const Problem& p, Workspace& w, Counts& counts) {
  int m = p.m, n = p.n, ld = p.m, info = 0;
  double tol = kTol;
  w.x = p.x0;
  switch (d) {
    case kLmder1: {
      LmderFn f(p);
      REmath::lmder1_(f, &m, &n, w.x.data(), w.fvec.data(), w.fjac.data(), &ld, &tol, &info,
                      w.ipvt.data(), w.wa.data(), &w.lwa);
      counts = f.counts;
      break;
    }
    case kLmdif1: {
      LmdifFn f(p);
      REmath::lmdif1_(f, &m, &n, w.x.data(), w.fvec.data(), &tol, &info, w.ipvt.data(), w.wa.data(),
                      &w.lwa);
      counts = f.counts;
      break;
    }
    case kHybrd1: {
      HybrdFn f(p);
      REmath::hybrd1_(f, &n, w.x.data(), w.fvec.data(), &tol, &info, w.wa.data(), &w.lwa);
      counts = f.counts;
      break;
    }
  }
  return info;
}

int SolveCminpack(Driver d, const Problem& p, Workspace& w, Counts& counts) {
  Evaluator e(p);
  int info = 0;
  w.x = p.x0;
  switch (d) {
    case kLmder1:
      info = ::lmder1(PeerLmder, &e, p.m, p.n, w.x.data(), w.fvec.data(), w.fjac.data(), p.m, kTol,
                      w.ipvt.data(), w.wa.data(), w.lwa);
      break;
    case kLmdif1:
      info = ::lmdif1(PeerLmdif, &e, p.m, p.n, w.x.data(), w.fvec.data(), kTol, w.ipvt.data(),
                      w.wa.data(), w.lwa);
      break;
    case kHybrd1:
      info = ::hybrd1(PeerHybrd, &e, p.n, w.x.data(), w.fvec.data(), kTol, w.wa.data(), w.lwa);
      break;
  }
  counts = e.counts;
  return info;
}

template <bool kQVmath>
void Run(benchmark::State& st, Driver d) {
  const Problem& p = All()[static_cast<size_t>(st.range(0))];
  Workspace w(p), other(p);
  Counts counts, otherCounts;
  // Agreement, checked once outside the timed loop: same x bit for bit, info and calls.
  const int info = kQVmath ? SolveQVmath(d, p, w, counts) : SolveCminpack(d, p, w, counts);
  const int otherInfo =
      kQVmath ? SolveCminpack(d, p, other, otherCounts) : SolveQVmath(d, p, other, otherCounts);
  const bool same = info == otherInfo && w.x == other.x && counts.Total() == otherCounts.Total();
  for (auto _ : st) {
    const int r = kQVmath ? SolveQVmath(d, p, w, counts) : SolveCminpack(d, p, w, counts);
    benchmark::DoNotOptimize(r);
    benchmark::DoNotOptimize(w.x.data());
  }
  st.SetLabel(p.name);
  st.SetItemsProcessed(st.iterations());
  st.counters["info"] = info;
  st.counters["calls"] = counts.Total();
  st.counters["same_as_peer"] = same ? 1 : 0;
}

void BM_Lmder1_QVmath(benchmark::State& st) { Run<true>(st, kLmder1); }
void BM_Lmder1_Cminpack(benchmark::State& st) { Run<false>(st, kLmder1); }
void BM_Lmdif1_QVmath(benchmark::State& st) { Run<true>(st, kLmdif1); }
void BM_Lmdif1_Cminpack(benchmark::State& st) { Run<false>(st, kLmdif1); }
void BM_Hybrd1_QVmath(benchmark::State& st) { Run<true>(st, kHybrd1); }
void BM_Hybrd1_Cminpack(benchmark::State& st) { Run<false>(st, kHybrd1); }

}  // namespace

BENCHMARK(BM_Lmder1_QVmath)->DenseRange(0, 5);
BENCHMARK(BM_Lmder1_Cminpack)->DenseRange(0, 5);
BENCHMARK(BM_Lmdif1_QVmath)->DenseRange(0, 5);
BENCHMARK(BM_Lmdif1_Cminpack)->DenseRange(0, 5);
BENCHMARK(BM_Hybrd1_QVmath)->DenseRange(0, kSquareProblems - 1);
BENCHMARK(BM_Hybrd1_Cminpack)->DenseRange(0, kSquareProblems - 1);

BENCHMARK_MAIN();
