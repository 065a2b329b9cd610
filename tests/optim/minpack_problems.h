// SPDX-License-Identifier: MIT
// Classic test problems for nonlinear equations and least squares (Moré, Garbow and
// Hillstrom, ACM TOMS 7, 1981), with functor and plain-callback forms of each, shared by
// the MINPACK tests and benchmarks.
#pragma once

#include <qvmath/optim/minpack.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace minpack_problems {

/// One problem: m residuals of n unknowns, its Jacobian (column-major, leading dimension
/// ld), the standard starting point and the published least sum of squares.
struct Problem {
  const char* name;
  int m, n;
  std::vector<double> x0;
  void (*residuals)(int m, int n, const double* x, double* f);
  void (*jacobian)(int m, int n, const double* x, double* fjac, int ld);
  double bestSumSq;
};

inline void RosenbrockF(int, int, const double* x, double* f) {
  f[0] = 10.0 * (x[1] - x[0] * x[0]);
  f[1] = 1.0 - x[0];
}
inline void RosenbrockJ(int, int, const double* x, double* j, int ld) {
  j[0] = -20.0 * x[0], j[1] = -1.0, j[ld] = 10.0, j[ld + 1] = 0.0;
}

inline void PowellSingularF(int, int, const double* x, double* f) {
  f[0] = x[0] + 10.0 * x[1];
  f[1] = std::sqrt(5.0) * (x[2] - x[3]);
  f[2] = (x[1] - 2.0 * x[2]) * (x[1] - 2.0 * x[2]);
  f[3] = std::sqrt(10.0) * (x[0] - x[3]) * (x[0] - x[3]);
}
inline void PowellSingularJ(int, int, const double* x, double* j, int ld) {
  for (int c = 0; c < 4; ++c) std::fill(j + c * ld, j + c * ld + 4, 0.0);
  const double a = 2.0 * (x[1] - 2.0 * x[2]), b = 2.0 * std::sqrt(10.0) * (x[0] - x[3]);
  j[0] = 1.0, j[ld] = 10.0;
  j[1 + 2 * ld] = std::sqrt(5.0), j[1 + 3 * ld] = -std::sqrt(5.0);
  j[2 + ld] = a, j[2 + 2 * ld] = -2.0 * a;
  j[3] = b, j[3 + 3 * ld] = -b;
}

constexpr double kTwoPi = 6.283185307179586;
inline void HelicalValleyF(int, int, const double* x, double* f) {
  double theta = x[0] == 0.0 ? std::copysign(0.25, x[1]) : std::atan(x[1] / x[0]) / kTwoPi;
  if (x[0] < 0.0) theta += 0.5;
  f[0] = 10.0 * (x[2] - 10.0 * theta);
  f[1] = 10.0 * (std::sqrt(x[0] * x[0] + x[1] * x[1]) - 1.0);
  f[2] = x[2];
}
inline void HelicalValleyJ(int, int, const double* x, double* j, int ld) {
  const double r2 = x[0] * x[0] + x[1] * x[1], r = std::sqrt(r2);
  j[0] = 100.0 * x[1] / (kTwoPi * r2), j[ld] = -100.0 * x[0] / (kTwoPi * r2), j[2 * ld] = 10.0;
  j[1] = 10.0 * x[0] / r, j[1 + ld] = 10.0 * x[1] / r, j[1 + 2 * ld] = 0.0;
  j[2] = 0.0, j[2 + ld] = 0.0, j[2 + 2 * ld] = 1.0;
}

inline void FreudensteinRothF(int, int, const double* x, double* f) {
  f[0] = -13.0 + x[0] + ((5.0 - x[1]) * x[1] - 2.0) * x[1];
  f[1] = -29.0 + x[0] + ((x[1] + 1.0) * x[1] - 14.0) * x[1];
}
inline void FreudensteinRothJ(int, int, const double* x, double* j, int ld) {
  j[0] = 1.0, j[1] = 1.0;
  j[ld] = x[1] * (10.0 - 3.0 * x[1]) - 2.0;
  j[ld + 1] = x[1] * (3.0 * x[1] + 2.0) - 14.0;
}

constexpr double kBardY[15] = {0.14, 0.18, 0.22, 0.25, 0.29, 0.32, 0.35, 0.39,
                               0.37, 0.58, 0.73, 0.96, 1.34, 2.10, 4.39};
inline void BardF(int m, int, const double* x, double* f) {
  for (int i = 0; i < m; ++i) {
    const double u = i + 1, v = 15 - i, w = std::min(u, v);
    f[i] = kBardY[i] - (x[0] + u / (v * x[1] + w * x[2]));
  }
}
inline void BardJ(int m, int, const double* x, double* j, int ld) {
  for (int i = 0; i < m; ++i) {
    const double u = i + 1, v = 15 - i, w = std::min(u, v), den = v * x[1] + w * x[2];
    j[i] = -1.0, j[i + ld] = u * v / (den * den), j[i + 2 * ld] = u * w / (den * den);
  }
}

// Watson: 29 polynomial residuals on t = i/29 and two that pin x0 and x1.
inline void WatsonF(int, int n, const double* x, double* f) {
  for (int i = 0; i < 29; ++i) {
    const double t = (i + 1) / 29.0;
    double s1 = 0.0, s2 = x[0], tp = 1.0;
    for (int j = 1; j < n; ++j) s1 += j * x[j] * tp, tp *= t, s2 += x[j] * tp;
    f[i] = s1 - s2 * s2 - 1.0;
  }
  f[29] = x[0];
  f[30] = x[1] - x[0] * x[0] - 1.0;
}
inline void WatsonJ(int, int n, const double* x, double* j, int ld) {
  for (int i = 0; i < 29; ++i) {
    const double t = (i + 1) / 29.0;
    double s2 = x[0], tp = 1.0;
    for (int c = 1; c < n; ++c) tp *= t, s2 += x[c] * tp;
    double tPrev = 0.0, tCur = 1.0;  // t^(c-1), t^c
    for (int c = 0; c < n; ++c) {
      j[i + c * ld] = c * tPrev - 2.0 * s2 * tCur;
      tPrev = tCur, tCur *= t;
    }
  }
  for (int c = 0; c < n; ++c) j[29 + c * ld] = 0.0, j[30 + c * ld] = 0.0;
  j[29] = 1.0, j[30] = -2.0 * x[0], j[30 + ld] = 1.0;
}

/// The six problems; the first four are square (usable by the hybrid solvers).
inline const std::vector<Problem>& All() {
  static const std::vector<Problem> problems = {
      {"Rosenbrock", 2, 2, {-1.2, 1.0}, RosenbrockF, RosenbrockJ, 0.0},
      {"PowellSingular", 4, 4, {3.0, -1.0, 0.0, 1.0}, PowellSingularF, PowellSingularJ, 0.0},
      {"HelicalValley", 3, 3, {-1.0, 0.0, 0.0}, HelicalValleyF, HelicalValleyJ, 0.0},
      {"FreudensteinRoth", 2, 2, {0.5, -2.0}, FreudensteinRothF, FreudensteinRothJ, 48.9842536},
      {"Bard", 15, 3, {1.0, 1.0, 1.0}, BardF, BardJ, 8.21487e-3},
      {"Watson", 31, 6, {0, 0, 0, 0, 0, 0}, WatsonF, WatsonJ, 2.28767e-3}};
  return problems;
}
constexpr int kSquareProblems = 4;

/// Calls seen by a user function, by iflag: 0 print requests, 1 values, 2+ Jacobians/rows.
struct Counts {
  int print = 0, fcn = 0, jac = 0;
  int Total() const { return print + fcn + jac; }
  void Add(int iflag) { (iflag == 0 ? print : iflag == 1 ? fcn : jac) += 1; }
};

/// How a form answers iflag >= 2: hybrd/lmdif with values (their finite differences call
/// with iflag 2), hybrj/lmder with the Jacobian, lmstr with one row.
enum class Form { Values, Jacobian, Rows };

/// The problem, the counts, a Jacobian scratch (rows for lmstr) and an optional stop: call
/// number stopAt (from 1) sets iflag to stopValue.
struct Evaluator {
  explicit Evaluator(const Problem& p) : prob(p), jac(static_cast<size_t>(p.m) * p.n) {}
  const Problem& prob;
  mutable Counts counts;
  mutable std::vector<double> jac;
  int stopAt = 0, stopValue = -1;

  // Evaluates for iflag (fjac with leading dimension ld, or a row); returns the iflag.
  int Eval(Form form, const double* x, double* fvec, double* fjac, int ld, int iflag) const {
    counts.Add(iflag);
    if (iflag == 1 || (iflag >= 2 && form == Form::Values)) {
      prob.residuals(prob.m, prob.n, x, fvec);
    } else if (iflag >= 2 && form == Form::Jacobian) {
      prob.jacobian(prob.m, prob.n, x, fjac, ld);
    } else if (iflag >= 2) {
      prob.jacobian(prob.m, prob.n, x, jac.data(), prob.m);
      for (int c = 0; c < prob.n; ++c) fjac[c] = jac[iflag - 2 + c * prob.m];
    }
    return counts.Total() == stopAt ? stopValue : iflag;
  }
};

struct HybrdFn : REmath::HybrdFunctor, Evaluator {
  using Evaluator::Evaluator;
  void operator()(int*, double* x, double* f, int* iflag) const override {
    *iflag = Eval(Form::Values, x, f, nullptr, 0, *iflag);
  }
};
struct HybrjFn : REmath::HybrjFunctor, Evaluator {
  using Evaluator::Evaluator;
  void operator()(int*, double* x, double* f, double* j, int* ld, int* iflag) const override {
    *iflag = Eval(Form::Jacobian, x, f, j, *ld, *iflag);
  }
};
struct LmdifFn : REmath::LmdifFunctor, Evaluator {
  using Evaluator::Evaluator;
  void operator()(int*, int*, double* x, double* f, int* iflag) const override {
    *iflag = Eval(Form::Values, x, f, nullptr, 0, *iflag);
  }
};
struct LmderFn : REmath::LmderFunctor, Evaluator {
  using Evaluator::Evaluator;
  void operator()(int*, int*, double* x, double* f, double* j, int* ld, int* iflag) const override {
    *iflag = Eval(Form::Jacobian, x, f, j, *ld, *iflag);
  }
};
struct LmstrFn : REmath::LmstrFunctor, Evaluator {
  using Evaluator::Evaluator;
  void operator()(int*, int*, double* x, double* f, double* row, int* iflag) const override {
    *iflag = Eval(Form::Rows, x, f, row, 0, *iflag);
  }
};

// Plain cminpack callbacks over the same evaluator (p points to an Evaluator).
inline int PeerHybrd(void* p, int, const double* x, double* f, int iflag) {
  return static_cast<Evaluator*>(p)->Eval(Form::Values, x, f, nullptr, 0, iflag);
}
inline int PeerHybrj(void* p, int, const double* x, double* f, double* j, int ld, int iflag) {
  return static_cast<Evaluator*>(p)->Eval(Form::Jacobian, x, f, j, ld, iflag);
}
inline int PeerLmdif(void* p, int, int, const double* x, double* f, int iflag) {
  return static_cast<Evaluator*>(p)->Eval(Form::Values, x, f, nullptr, 0, iflag);
}
inline int PeerLmder(void* p, int, int, const double* x, double* f, double* j, int ld, int iflag) {
  return static_cast<Evaluator*>(p)->Eval(Form::Jacobian, x, f, j, ld, iflag);
}
inline int PeerLmstr(void* p, int, int, const double* x, double* f, double* row, int iflag) {
  return static_cast<Evaluator*>(p)->Eval(Form::Rows, x, f, row, 0, iflag);
}

}  // namespace minpack_problems
