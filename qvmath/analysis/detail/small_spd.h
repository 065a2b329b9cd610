// SPDX-License-Identifier: MIT
// Internal: least-squares normal equations of at most a dozen unknowns, solved on the
// stack by Jacobi equilibration and Cholesky, with unknowns the data do not determine
// dropped (set to 0). Not installed.
#pragma once

#include <cmath>

namespace REmath {
namespace detail {

// Normal equations G·x = r of a weighted least-squares problem with M unknowns, accumulated
// row by row; G is kept full (both triangles) for simplicity of the solve.
template <int M>
struct NormalEquations {
  double G[M][M] = {};
  double r[M] = {};
  void Add(const double* row, double rhs, double w) {
    for (int i = 0; i < M; ++i) {
      const double wi = w * row[i];
      r[i] += wi * rhs;
      for (int j = 0; j <= i; ++j) G[i][j] += wi * row[j];
    }
  }
  void Symmetrise() {
    for (int i = 0; i < M; ++i)
      for (int j = i + 1; j < M; ++j) G[i][j] = G[j][i];
  }
};

// Cholesky factor of the equilibrated matrix D·G·D (D = diag(1/√G_ii)), so that its
// diagonal is 1 and a pivot measures the part of an unknown's column that the earlier
// columns do not explain (its squared sine). A column with zero diagonal or a pivot at most
// dropTol is dropped: its unknown is not determined by the data and gets the value 0.
template <int M>
struct EquilibratedCholesky {
  double L[M][M] = {};
  double D[M] = {};
  bool dropped[M] = {};
  int numDropped = 0;

  void Factor(const double (&G)[M][M], double dropTol) {
    for (int i = 0; i < M; ++i) {
      dropped[i] = !(G[i][i] > 0);
      D[i] = dropped[i] ? 0.0 : 1.0 / std::sqrt(G[i][i]);
    }
    for (int j = 0; j < M; ++j) {
      if (dropped[j]) {
        ++numDropped;
        continue;
      }
      double p = G[j][j] * D[j] * D[j];
      for (int k = 0; k < j; ++k) p -= L[j][k] * L[j][k];
      if (!(p > dropTol)) {
        dropped[j] = true;
        ++numDropped;
        continue;
      }
      L[j][j] = std::sqrt(p);
      for (int i = j + 1; i < M; ++i) {
        if (dropped[i]) continue;
        double s = G[i][j] * D[i] * D[j];
        for (int k = 0; k < j; ++k) s -= L[i][k] * L[j][k];
        L[i][j] = s / L[j][j];
      }
    }
  }

  // Solves in the equilibrated variables: (D·G·D)·y = b, dropped entries 0.
  void SolveScaled(double* y) const {
    for (int i = 0; i < M; ++i) {
      if (dropped[i]) {
        y[i] = 0;
        continue;
      }
      double s = y[i];
      for (int k = 0; k < i; ++k) s -= L[i][k] * y[k];
      y[i] = s / L[i][i];
    }
    for (int i = M - 1; i >= 0; --i) {
      if (dropped[i]) continue;
      double s = y[i];
      for (int k = i + 1; k < M; ++k) s -= L[k][i] * y[k];
      y[i] = s / L[i][i];
    }
  }

  // x := G⁺·r over the kept unknowns.
  void Solve(const double* r, double* x) const {
    for (int i = 0; i < M; ++i) x[i] = r[i] * D[i];
    SolveScaled(x);
    for (int i = 0; i < M; ++i) x[i] *= D[i];
  }

  // Reciprocal 1-norm condition number 1/(‖Ĝ‖₁·‖Ĝ⁻¹‖₁) of the equilibrated matrix Ĝ
  // (computed exactly, column by column of the inverse); 0 when any unknown was dropped.
  double RCond(const double (&G)[M][M]) const {
    if (numDropped) return 0.0;
    double normG = 0, normInv = 0;
    for (int j = 0; j < M; ++j) {
      double col[M], s = 0;
      for (int i = 0; i < M; ++i) {
        col[i] = i == j ? 1.0 : 0.0;
        s += std::fabs(G[i][j] * D[i] * D[j]);
      }
      normG = s > normG ? s : normG;
      SolveScaled(col);
      s = 0;
      for (int i = 0; i < M; ++i) s += std::fabs(col[i]);
      normInv = s > normInv ? s : normInv;
    }
    return 1.0 / (normG * normInv);
  }
};

// Symmetrises ne, factors it without dropping and solves it into x unless its reciprocal
// condition number is below minRcond (or NaN). rcond receives that number either way.
template <int M>
inline bool SolveIfConditioned(NormalEquations<M>& ne, double minRcond, double* x, double& rcond) {
  ne.Symmetrise();
  EquilibratedCholesky<M> ch;
  ch.Factor(ne.G, 0.0);
  rcond = ch.RCond(ne.G);
  if (!(rcond >= minRcond)) return false;
  ch.Solve(ne.r, x);
  return true;
}

}  // namespace detail
}  // namespace REmath
