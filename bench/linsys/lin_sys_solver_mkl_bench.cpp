// SPDX-License-Identifier: MIT
// The dense vertex-position solver (definition, assembly and a three-axis solve) beside
// Eigen's PartialPivLU on the same dense system, for 500, 2000 and 4000 free vertices.
#include <benchmark/benchmark.h>
#include <qvmath/linsys/lin_sys_solver_mkl.h>

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <vector>

namespace {

using REmath::CLinSysSolverMKL;
using REmath::CVertexLinearCombination;
using REmath::IEqSysResultReciever;
using REmath::IVertexPosInformer;

constexpr int kAxes = 3;

// A Laplacian-like fairing problem: n free vertices, n/10 fixed ones (a boundary), each
// free vertex tied to about six random neighbours with positive weights and a diagonal
// 1.05 times their sum (strictly dominant, so both solvers see a regular system).
struct Problem {
  int nFree = 0, nFixed = 0;
  std::vector<CVertexLinearCombination<double>> equations;  // identifiers 0..nFree+nFixed-1
  struct Term {
    int row, col;  // col >= nFree: fixed vertex col - nFree
    double c;
  };
  std::vector<Term> terms;                    // the same coefficients, flat, for the peer
  std::vector<std::vector<double>> fixedPos;  // [axis][fixed number]

  explicit Problem(int n) : nFree(n), nFixed(std::max(1, n / 10)) {
    std::mt19937_64 rng(4711);
    std::uniform_int_distribution<int> pick(0, nFree + nFixed - 1);
    std::uniform_real_distribution<double> weight(0.5, 1.5), pos(-100.0, 100.0);
    for (int i = 0; i < nFree; ++i) {
      CVertexLinearCombination<double> lc;
      double total = 0;
      for (int k = 0; k < 6; ++k) {
        const int j = pick(rng);
        if (j == i) continue;
        const double w = weight(rng);
        lc.AddVertex(j, w);
        total += w;
      }
      lc.AddVertex(i, -1.05 * total - 1.0);
      for (auto it = lc.begin(); it != lc.end(); ++it)
        terms.push_back({i, it->GetVertexIdx(), it->GetCoeff()});
      equations.push_back(lc);
    }
    fixedPos.assign(kAxes, std::vector<double>(static_cast<std::size_t>(nFixed)));
    for (auto& axis : fixedPos)
      for (double& p : axis) p = pos(rng);
  }
};

class Informer : public IVertexPosInformer<double> {
 public:
  Informer(const std::vector<double>& fixedPos, int nFree) : m_pos(fixedPos), m_nFree(nFree) {}

 private:
  double OnGetVertexPosition(int v) const override {
    return m_pos[static_cast<std::size_t>(v - m_nFree)];
  }
  const std::vector<double>& m_pos;
  int m_nFree;
};

class Receiver : public IEqSysResultReciever<double> {
 public:
  explicit Receiver(int n) : x(static_cast<std::size_t>(n)) {}
  std::vector<double> x;

 private:
  void OnSetVertexPosition(int v, double value) override { x[static_cast<std::size_t>(v)] = value; }
};

struct Callbacks {
  explicit Callbacks(const Problem& p) {
    for (int d = 0; d < kAxes; ++d) {
      informers.emplace_back(new Informer(p.fixedPos[static_cast<std::size_t>(d)], p.nFree));
      receivers.emplace_back(new Receiver(p.nFree));
      informerPtrs.push_back(informers.back().get());
      receiverPtrs.push_back(receivers.back().get());
    }
  }
  std::vector<std::unique_ptr<Informer>> informers;
  std::vector<std::unique_ptr<Receiver>> receivers;
  std::vector<const IVertexPosInformer<double>*> informerPtrs;
  std::vector<IEqSysResultReciever<double>*> receiverPtrs;
};

void Assemble(const Problem& p, CLinSysSolverMKL<double>& sys) {
  for (int v = 0; v < p.nFree; ++v) sys.DefineFreeVertex(v);
  for (int v = 0; v < p.nFixed; ++v) sys.DefineFixedVertex(p.nFree + v);
  for (const auto& lc : p.equations) sys.AddEquation(lc);
}

Eigen::MatrixXd EigenSolve(const Problem& p) {
  Eigen::MatrixXd A = Eigen::MatrixXd::Zero(p.nFree, p.nFree);
  Eigen::MatrixXd B = Eigen::MatrixXd::Zero(p.nFree, kAxes);
  for (const auto& t : p.terms) {
    if (t.col < p.nFree) {
      A(t.row, t.col) = t.c;
    } else {
      for (int d = 0; d < kAxes; ++d)
        B(t.row, d) -=
            t.c *
            p.fixedPos[static_cast<std::size_t>(d)][static_cast<std::size_t>(t.col - p.nFree)];
    }
  }
  return Eigen::PartialPivLU<Eigen::MatrixXd>(A).solve(B);
}

// Largest difference between the two solvers' solutions, relative to the largest value.
double MaxRelDiff(const Problem& p, const Callbacks& cb, const Eigen::MatrixXd& X) {
  double diff = 0, scale = 0;
  for (int d = 0; d < kAxes; ++d)
    for (int k = 0; k < p.nFree; ++k) {
      diff = std::max(
          diff,
          std::fabs(cb.receivers[static_cast<std::size_t>(d)]->x[static_cast<std::size_t>(k)] -
                    X(k, d)));
      scale = std::max(scale, std::fabs(X(k, d)));
    }
  return diff / std::max(scale, 1.0);
}

void BM_LinSys_QVmath_AssembleSolve(benchmark::State& st) {
  const Problem p(static_cast<int>(st.range(0)));
  Callbacks cb(p);
  for (auto _ : st) {
    CLinSysSolverMKL<double> sys;
    Assemble(p, sys);
    bool ok = sys.SolveSystem(kAxes, cb.informerPtrs.data(), cb.receiverPtrs.data(), nullptr);
    benchmark::DoNotOptimize(ok);
  }
  st.counters["max_rel_diff_vs_eigen"] = MaxRelDiff(p, cb, EigenSolve(p));
  st.SetItemsProcessed(st.iterations() * p.nFree);
}

void BM_LinSys_QVmath_AssembleOnly(benchmark::State& st) {
  const Problem p(static_cast<int>(st.range(0)));
  for (auto _ : st) {
    CLinSysSolverMKL<double> sys;
    Assemble(p, sys);
    benchmark::DoNotOptimize(sys.IsCorrectlyDefinedSystem());
  }
  st.SetItemsProcessed(st.iterations() * p.nFree);
}

void BM_LinSys_QVmath_SolveOnly(benchmark::State& st) {
  const Problem p(static_cast<int>(st.range(0)));
  Callbacks cb(p);
  CLinSysSolverMKL<double> sys;
  Assemble(p, sys);
  for (auto _ : st) {
    bool ok = sys.SolveSystem(kAxes, cb.informerPtrs.data(), cb.receiverPtrs.data(), nullptr);
    benchmark::DoNotOptimize(ok);
  }
  st.SetItemsProcessed(st.iterations() * p.nFree);
}

void BM_LinSys_EigenPartialPivLU_AssembleSolve(benchmark::State& st) {
  const Problem p(static_cast<int>(st.range(0)));
  for (auto _ : st) {
    Eigen::MatrixXd X = EigenSolve(p);
    benchmark::DoNotOptimize(X.data());
  }
  st.SetItemsProcessed(st.iterations() * p.nFree);
}

}  // namespace

BENCHMARK(BM_LinSys_QVmath_AssembleSolve)
    ->Arg(500)
    ->Arg(2000)
    ->Arg(4000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LinSys_QVmath_AssembleOnly)
    ->Arg(500)
    ->Arg(2000)
    ->Arg(4000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LinSys_QVmath_SolveOnly)
    ->Arg(500)
    ->Arg(2000)
    ->Arg(4000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LinSys_EigenPartialPivLU_AssembleSolve)
    ->Arg(500)
    ->Arg(2000)
    ->Arg(4000)
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
