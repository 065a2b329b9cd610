// SPDX-License-Identifier: MIT
#include <qvmath/optim/minpack.h>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <stdexcept>
#include <thread>
#include <vector>

#include <cminpack.h>

#include "optim/minpack_problems.h"
#include "test_util.h"

using namespace minpack_problems;

namespace {

using Vec = std::vector<double>;

// Everything a driver run leaves behind that the caller can see.
struct Outcome {
  int info = -99;
  Vec x, fvec, extra;  // extra: fjac or R, qtf, diag (what the driver exposes)
  std::vector<int> ipvt;
  Counts counts;
  int nfev = -1, njev = -1;
};

void ExpectSame(const Outcome& a, const Outcome& b, const char* what) {
  SCOPED_TRACE(what);
  EXPECT_EQ(a.info, b.info);
  EXPECT_EQ(a.x, b.x);  // bit for bit: the same arithmetic underneath
  EXPECT_EQ(a.fvec, b.fvec);
  EXPECT_EQ(a.extra, b.extra);
  EXPECT_EQ(a.ipvt, b.ipvt);
  EXPECT_EQ(a.counts.Total(), b.counts.Total());
  EXPECT_EQ(a.counts.jac, b.counts.jac);
  EXPECT_EQ(a.counts.print, b.counts.print);
  EXPECT_EQ(a.nfev, b.nfev);
  EXPECT_EQ(a.njev, b.njev);
}

double SumSq(const Vec& f) {
  double s = 0;
  for (double v : f) s += v * v;
  return s;
}

const double kTol = std::sqrt(2.220446049250313e-16);  // as MINPACK's own test drivers

// The simple drivers, ours (functor) and cminpack's (callback), on problem p.
enum class Simple { Lmder1, Lmdif1, Lmstr1, Hybrd1, Hybrj1 };

Outcome RunSimple(Simple which, const Problem& p, bool peer, int stopAt = 0, int stopValue = -1) {
  Outcome o;
  int m = p.m, n = p.n, ld = p.m, lwa = p.m * p.n + 5 * p.n + p.m + n * (3 * n + 13);
  o.x = p.x0;
  o.fvec.assign(m, 0.0);
  o.ipvt.assign(n, 0);
  Vec fjac(static_cast<size_t>(m) * n), wa(lwa);
  double tol = kTol;
  auto finish = [&](const Evaluator& e) { o.counts = e.counts; };
  switch (which) {
    case Simple::Lmder1: {
      LmderFn f(p);
      f.stopAt = stopAt, f.stopValue = stopValue;
      if (peer)
        o.info = ::lmder1(PeerLmder, static_cast<Evaluator*>(&f), m, n, o.x.data(), o.fvec.data(),
                          fjac.data(), ld, tol, o.ipvt.data(), wa.data(), lwa);
      else
        REmath::lmder1_(f, &m, &n, o.x.data(), o.fvec.data(), fjac.data(), &ld, &tol, &o.info,
                        o.ipvt.data(), wa.data(), &lwa);
      finish(f);
      break;
    }
    case Simple::Lmdif1: {
      LmdifFn f(p);
      f.stopAt = stopAt, f.stopValue = stopValue;
      if (peer)
        o.info = ::lmdif1(PeerLmdif, static_cast<Evaluator*>(&f), m, n, o.x.data(), o.fvec.data(),
                          tol, o.ipvt.data(), wa.data(), lwa);
      else
        REmath::lmdif1_(f, &m, &n, o.x.data(), o.fvec.data(), &tol, &o.info, o.ipvt.data(),
                        wa.data(), &lwa);
      finish(f);
      break;
    }
    case Simple::Lmstr1: {
      LmstrFn f(p);
      f.stopAt = stopAt, f.stopValue = stopValue;
      if (peer)
        o.info = ::lmstr1(PeerLmstr, static_cast<Evaluator*>(&f), m, n, o.x.data(), o.fvec.data(),
                          fjac.data(), ld, tol, o.ipvt.data(), wa.data(), lwa);
      else
        REmath::lmstr1_(f, &m, &n, o.x.data(), o.fvec.data(), fjac.data(), &ld, &tol, &o.info,
                        o.ipvt.data(), wa.data(), &lwa);
      finish(f);
      break;
    }
    case Simple::Hybrd1: {
      HybrdFn f(p);
      f.stopAt = stopAt, f.stopValue = stopValue;
      if (peer)
        o.info = ::hybrd1(PeerHybrd, static_cast<Evaluator*>(&f), n, o.x.data(), o.fvec.data(),
                          tol, wa.data(), lwa);
      else
        REmath::hybrd1_(f, &n, o.x.data(), o.fvec.data(), &tol, &o.info, wa.data(), &lwa);
      finish(f);
      break;
    }
    case Simple::Hybrj1: {
      HybrjFn f(p);
      f.stopAt = stopAt, f.stopValue = stopValue;
      if (peer)
        o.info = ::hybrj1(PeerHybrj, static_cast<Evaluator*>(&f), n, o.x.data(), o.fvec.data(),
                          fjac.data(), ld, tol, wa.data(), lwa);
      else
        REmath::hybrj1_(f, &n, o.x.data(), o.fvec.data(), fjac.data(), &ld, &tol, &o.info,
                        wa.data(), &lwa);
      finish(f);
      break;
    }
  }
  if (which == Simple::Hybrd1 || which == Simple::Hybrj1) o.ipvt.clear();
  return o;
}

// The full drivers with a print request every iteration, the caller's scaling (mode 2) and
// distinct tolerances.
enum class Full { Lmder, Lmdif, Lmstr, Hybrd, Hybrj };

Outcome RunFull(Full which, const Problem& p, bool peer) {
  Outcome o;
  int m = p.m, n = p.n, ld = p.m, maxfev = 400, mode = 2, nprint = 1, ml = 1, mu = 0;
  int lr = n * (n + 1) / 2;
  // Distinct values, so that a swapped argument shows.
  double ftol = 1e-10, xtol = 1e-7, gtol = 1e-12, epsfcn = 1e-13, factor = 50.0;
  o.x = p.x0;
  o.fvec.assign(m, 0.0);
  o.ipvt.assign(n, 0);
  Vec fjac(static_cast<size_t>(m) * n), diag(n, 2.0), qtf(n), r(lr), w1(n), w2(n), w3(n), w4(m);
  o.nfev = o.njev = 0;
  int* njev = &o.njev;
  switch (which) {
    case Full::Lmder: {
      LmderFn f(p);
      if (peer)
        o.info = ::lmder(PeerLmder, static_cast<Evaluator*>(&f), m, n, o.x.data(), o.fvec.data(),
                         fjac.data(), ld, ftol, xtol, gtol, maxfev, diag.data(), mode, factor,
                         nprint, &o.nfev, njev, o.ipvt.data(), qtf.data(), w1.data(), w2.data(),
                         w3.data(), w4.data());
      else
        REmath::lmder_(f, &m, &n, o.x.data(), o.fvec.data(), fjac.data(), &ld, &ftol, &xtol,
                       &gtol, &maxfev, diag.data(), &mode, &factor, &nprint, &o.info, &o.nfev,
                       njev, o.ipvt.data(), qtf.data(), w1.data(), w2.data(), w3.data(),
                       w4.data());
      o.counts = f.counts;
      break;
    }
    case Full::Lmdif: {
      LmdifFn f(p);
      if (peer)
        o.info = ::lmdif(PeerLmdif, static_cast<Evaluator*>(&f), m, n, o.x.data(), o.fvec.data(),
                         ftol, xtol, gtol, maxfev, epsfcn, diag.data(), mode, factor, nprint,
                         &o.nfev, fjac.data(), ld, o.ipvt.data(), qtf.data(), w1.data(),
                         w2.data(), w3.data(), w4.data());
      else
        REmath::lmdif_(f, &m, &n, o.x.data(), o.fvec.data(), &ftol, &xtol, &gtol, &maxfev,
                       &epsfcn, diag.data(), &mode, &factor, &nprint, &o.info, &o.nfev,
                       fjac.data(), &ld, o.ipvt.data(), qtf.data(), w1.data(), w2.data(),
                       w3.data(), w4.data());
      o.counts = f.counts;
      break;
    }
    case Full::Lmstr: {
      LmstrFn f(p);
      if (peer)
        o.info = ::lmstr(PeerLmstr, static_cast<Evaluator*>(&f), m, n, o.x.data(), o.fvec.data(),
                         fjac.data(), ld, ftol, xtol, gtol, maxfev, diag.data(), mode, factor,
                         nprint, &o.nfev, njev, o.ipvt.data(), qtf.data(), w1.data(), w2.data(),
                         w3.data(), w4.data());
      else
        REmath::lmstr_(f, &m, &n, o.x.data(), o.fvec.data(), fjac.data(), &ld, &ftol, &xtol,
                       &gtol, &maxfev, diag.data(), &mode, &factor, &nprint, &o.info, &o.nfev,
                       njev, o.ipvt.data(), qtf.data(), w1.data(), w2.data(), w3.data(),
                       w4.data());
      o.counts = f.counts;
      break;
    }
    case Full::Hybrd: {
      HybrdFn f(p);
      if (peer)
        o.info = ::hybrd(PeerHybrd, static_cast<Evaluator*>(&f), n, o.x.data(), o.fvec.data(),
                         xtol, maxfev, ml, mu, epsfcn, diag.data(), mode, factor, nprint, &o.nfev,
                         fjac.data(), ld, r.data(), lr, qtf.data(), w1.data(), w2.data(),
                         w3.data(), w4.data());
      else
        REmath::hybrd_(f, &n, o.x.data(), o.fvec.data(), &xtol, &maxfev, &ml, &mu, &epsfcn,
                       diag.data(), &mode, &factor, &nprint, &o.info, &o.nfev, fjac.data(), &ld,
                       r.data(), &lr, qtf.data(), w1.data(), w2.data(), w3.data(), w4.data());
      o.counts = f.counts;
      break;
    }
    case Full::Hybrj: {
      HybrjFn f(p);
      if (peer)
        o.info = ::hybrj(PeerHybrj, static_cast<Evaluator*>(&f), n, o.x.data(), o.fvec.data(),
                         fjac.data(), ld, xtol, maxfev, diag.data(), mode, factor, nprint,
                         &o.nfev, njev, r.data(), lr, qtf.data(), w1.data(), w2.data(),
                         w3.data(), w4.data());
      else
        REmath::hybrj_(f, &n, o.x.data(), o.fvec.data(), fjac.data(), &ld, &xtol, &maxfev,
                       diag.data(), &mode, &factor, &nprint, &o.info, &o.nfev, njev, r.data(),
                       &lr, qtf.data(), w1.data(), w2.data(), w3.data(), w4.data());
      o.counts = f.counts;
      break;
    }
  }
  o.extra = fjac;
  o.extra.insert(o.extra.end(), qtf.begin(), qtf.end());
  o.extra.insert(o.extra.end(), r.begin(), r.end());
  return o;
}

}  // namespace

TEST(MinpackTest, Problems_SimpleDriversMatchCminpackAndReachPublishedOptima) {
  const auto& all = All();
  for (size_t k = 0; k < all.size(); ++k) {
    const Problem& p = all[k];
    SCOPED_TRACE(p.name);
    for (Simple s : {Simple::Lmder1, Simple::Lmdif1, Simple::Lmstr1}) {
      const Outcome ours = RunSimple(s, p, false);
      ExpectSame(ours, RunSimple(s, p, true), "least squares");
      EXPECT_GE(ours.info, 1);
      EXPECT_LE(ours.info, 5);
      // Published minima have six significant digits. Only the analytic Jacobians are held
      // to them: on Watson, x0 → 0 shrinks lmdif's difference step eps·|x0| to nothing and
      // it stalls at 2.61e-3 (as cminpack itself, checked above).
      if (s != Simple::Lmdif1) {
        EXPECT_NEAR(SumSq(ours.fvec), p.bestSumSq, 1e-5 * p.bestSumSq + 1e-12);
      }
    }
    if (static_cast<int>(k) >= kSquareProblems) continue;
    for (Simple s : {Simple::Hybrd1, Simple::Hybrj1}) {
      const Outcome ours = RunSimple(s, p, false);
      ExpectSame(ours, RunSimple(s, p, true), "equations");
      if (p.bestSumSq == 0.0) {
        EXPECT_LT(SumSq(ours.fvec), 1e-18);
      }
    }
  }
}

TEST(MinpackTest, Problems_FullDriversMatchCminpackWithPrintRequests) {
  const auto& all = All();
  for (size_t k = 0; k < all.size(); ++k) {
    SCOPED_TRACE(all[k].name);
    for (Full f : {Full::Lmder, Full::Lmdif, Full::Lmstr}) {
      const Outcome ours = RunFull(f, all[k], false);
      ExpectSame(ours, RunFull(f, all[k], true), "least squares");
      EXPECT_GT(ours.counts.print, 1) << "nprint = 1 asks for a print every iteration";
    }
    if (static_cast<int>(k) >= kSquareProblems) continue;
    for (Full f : {Full::Hybrd, Full::Hybrj}) ExpectSame(RunFull(f, all[k], false),
                                                         RunFull(f, all[k], true), "equations");
  }
}

TEST(MinpackTest, Protocol_NegativeIflagStopsWithThatInfo) {
  const Problem& bard = All()[4];
  const Problem& helix = All()[2];
  for (Simple s : {Simple::Lmder1, Simple::Lmdif1, Simple::Lmstr1, Simple::Hybrd1,
                   Simple::Hybrj1}) {
    const Problem& p = (s == Simple::Hybrd1 || s == Simple::Hybrj1) ? helix : bard;
    const Outcome first = RunSimple(s, p, false, /*stopAt=*/1, -1);
    EXPECT_EQ(first.info, -1);
    EXPECT_EQ(first.counts.Total(), 1) << "no call after the stop";
    // A later stop, with another negative value, as cminpack called directly.
    const Outcome later = RunSimple(s, p, false, /*stopAt=*/6, -7);
    EXPECT_EQ(later.info, -7);
    EXPECT_EQ(later.counts.Total(), 6);
    Outcome peer = RunSimple(s, p, true, 6, -7);
    // cminpack's lmstr loses the stop value when the stop comes from a Jacobian row (it
    // reports 0); everything else must agree.
    if (s == Simple::Lmstr1 && peer.info == 0) peer.info = -7;
    ExpectSame(later, peer, "stop at the sixth call");
  }
}

TEST(MinpackTest, Protocol_FunctorExceptionStopsSolverAndPropagates) {
  struct Thrower : HybrdFn {
    using HybrdFn::HybrdFn;
    void operator()(int* n, double* x, double* f, int* iflag) const override {
      if (counts.Total() == 2) {
        counts.Add(*iflag);
        throw std::runtime_error("user failure");
      }
      HybrdFn::operator()(n, x, f, iflag);
    }
  };
  const Problem& p = All()[0];
  Thrower fn(p);
  int n = 2, maxfev = 100, ml = 1, mu = 1, mode = 1, nprint = 1, info = 99, nfev = 0, ld = 2;
  int lr = 3;
  double xtol = 1e-10, epsfcn = 0, factor = 100;
  Vec x = p.x0, fvec(2), diag(2), fjac(4), r(3), qtf(2), w1(2), w2(2), w3(2), w4(2);
  EXPECT_THROW(REmath::hybrd_(fn, &n, x.data(), fvec.data(), &xtol, &maxfev, &ml, &mu, &epsfcn,
                              diag.data(), &mode, &factor, &nprint, &info, &nfev, fjac.data(),
                              &ld, r.data(), &lr, qtf.data(), w1.data(), w2.data(), w3.data(),
                              w4.data()),
               std::runtime_error);
  // The final print request (nprint > 0) must not reach a functor that has failed.
  EXPECT_EQ(fn.counts.Total(), 3);
}

TEST(MinpackTest, Degenerate_BadSizesAndTolerancesReturnInfoZeroWithoutCalls) {
  const Problem& p = All()[4];  // Bard, m = 15, n = 3
  const double nan = std::numeric_limits<double>::quiet_NaN();
  // Each case: m, n, ldfjac, tol, lwa relative to the minimum (0 = exactly the minimum).
  struct Case { int m, n, ld; double tol; int lwaDelta; bool ok; };
  const Case cases[] = {{15, 3, 15, 1e-8, 0, true},   {15, 3, 15, 1e-8, -1, false},
                        {15, 0, 15, 1e-8, 0, false},  {2, 3, 15, 1e-8, 0, false},
                        {15, 3, 15, -1e-9, 0, false}, {15, 3, 15, nan, 0, false},
                        {15, 3, 14, 1e-8, 0, false}};
  for (const Case& c : cases) {
    SCOPED_TRACE("m " + std::to_string(c.m) + " n " + std::to_string(c.n) + " ld " +
                 std::to_string(c.ld) + " tol " + std::to_string(c.tol) + " lwa " +
                 std::to_string(c.lwaDelta));
    int m = c.m, n = c.n, ld = c.ld, info = 99;
    double tol = c.tol;
    Vec x = p.x0, fvec(15), fjac(15 * 3), wa(200);
    std::vector<int> ipvt(3);
    LmderFn der(p);
    LmdifFn dif(p);
    LmstrFn str(p);
    int lwa = 5 * n + m + c.lwaDelta;
    REmath::lmder1_(der, &m, &n, x.data(), fvec.data(), fjac.data(), &ld, &tol, &info,
                    ipvt.data(), wa.data(), &lwa);
    EXPECT_EQ(info == 0, !c.ok);
    EXPECT_EQ(der.counts.Total() == 0, !c.ok);
    info = 99, x = p.x0;
    lwa = m * n + 5 * n + m + c.lwaDelta;
    REmath::lmdif1_(dif, &m, &n, x.data(), fvec.data(), &tol, &info, ipvt.data(), wa.data(),
                    &lwa);
    // ldfjac is not an argument of lmdif1_.
    EXPECT_EQ(info == 0, !c.ok && c.ld == 15);
    info = 99, x = p.x0;
    lwa = 5 * n + m + c.lwaDelta;
    int ldStr = c.ld == 14 ? 2 : 3;  // lmstr1_ needs ldfjac >= n only
    REmath::lmstr1_(str, &m, &n, x.data(), fvec.data(), fjac.data(), &ldStr, &tol, &info,
                    ipvt.data(), wa.data(), &lwa);
    EXPECT_EQ(info == 0, !c.ok);
    EXPECT_EQ(str.counts.Total() == 0, !c.ok);
  }
  // The hybrid drivers: lwa one short of n(3n + 13)/2 resp. n(n + 13)/2, and a null array.
  const Problem& h = All()[2];
  int n = 3, info = 99, ld = 3, lwa = 3 * (9 + 13) / 2 - 1;
  double tol = 1e-8;
  Vec x = h.x0, fvec(3), fjac(9), wa(64);
  HybrdFn hd(h);
  HybrjFn hj(h);
  REmath::hybrd1_(hd, &n, x.data(), fvec.data(), &tol, &info, wa.data(), &lwa);
  EXPECT_EQ(info, 0);
  info = 99, lwa = 3 * (3 + 13) / 2 - 1;
  REmath::hybrj1_(hj, &n, x.data(), fvec.data(), fjac.data(), &ld, &tol, &info, wa.data(), &lwa);
  EXPECT_EQ(info, 0);
  info = 99, lwa = 64;
  REmath::hybrd1_(hd, &n, x.data(), nullptr, &tol, &info, wa.data(), &lwa);
  EXPECT_EQ(info, 0);
  EXPECT_EQ(hd.counts.Total() + hj.counts.Total(), 0);
  // Mode 2 with a non-positive scale and a zero factor are rejected by the full drivers.
  int maxfev = 100, ml = 2, mu = 2, mode = 2, nprint = 0, nfev = 5, lr = 6;
  double epsfcn = 0, factor = 100;
  Vec diag = {1.0, 0.0, 1.0}, r(6), qtf(3), w1(3), w2(3), w3(3), w4(3);
  for (double fac : {100.0, 0.0}) {
    factor = fac, info = 99;
    REmath::hybrd_(hd, &n, x.data(), fvec.data(), &tol, &maxfev, &ml, &mu, &epsfcn, diag.data(),
                   &mode, &factor, &nprint, &info, &nfev, fjac.data(), &ld, r.data(), &lr,
                   qtf.data(), w1.data(), w2.data(), w3.data(), w4.data());
    EXPECT_EQ(info, 0);
    EXPECT_EQ(nfev, 0);
    diag[1] = 1.0;
  }
  EXPECT_EQ(hd.counts.Total(), 0);
}

TEST(MinpackTest, Threads_ConcurrentAndNestedSolvesMatchSerial) {
  const auto& all = All();
  std::vector<Outcome> serial;
  for (const Problem& p : all) serial.push_back(RunSimple(Simple::Lmder1, p, false));
  for (int k = 0; k < kSquareProblems; ++k)
    serial.push_back(RunSimple(Simple::Hybrd1, all[k], false));
  // Two threads solve different problems at once, many times over.
  std::vector<int> mismatches(2, 0);
  auto worker = [&](int t) {
    for (int round = 0; round < 25; ++round)
      for (size_t k = t; k < serial.size(); k += 2) {
        const bool hybrid = k >= all.size();
        const Outcome o = hybrid ? RunSimple(Simple::Hybrd1, all[k - all.size()], false)
                                 : RunSimple(Simple::Lmder1, all[k], false);
        if (o.x != serial[k].x || o.info != serial[k].info ||
            o.counts.Total() != serial[k].counts.Total())
          ++mismatches[t];
      }
  };
  std::thread a(worker, 0), b(worker, 1);
  a.join();
  b.join();
  EXPECT_EQ(mismatches[0] + mismatches[1], 0);

  // Re-entrancy: every call of an outer solve runs a whole inner solve of the same family.
  struct Nesting : HybrdFn {
    using HybrdFn::HybrdFn;
    const Outcome* expectInner = nullptr;
    mutable int innerMismatches = 0;
    void operator()(int* n, double* x, double* f, int* iflag) const override {
      const Outcome inner = RunSimple(Simple::Hybrd1, All()[2], false);
      if (inner.x != expectInner->x) ++innerMismatches;
      HybrdFn::operator()(n, x, f, iflag);
    }
  };
  Nesting outer(all[0]);
  outer.expectInner = &serial[all.size() + 2];
  int n = 2, info = 0, lwa = 64;
  double tol = kTol;
  Vec x = all[0].x0, fvec(2), wa(64);
  REmath::hybrd1_(outer, &n, x.data(), fvec.data(), &tol, &info, wa.data(), &lwa);
  EXPECT_EQ(x, serial[all.size()].x);
  EXPECT_EQ(info, serial[all.size()].info);
  EXPECT_EQ(outer.innerMismatches, 0);
}

namespace {

// Dense helpers for the building-block oracles (column-major, leading dimension = rows).
Vec MatMul(const Vec& a, const Vec& b, int m, int k, int n) {
  Vec c(static_cast<size_t>(m) * n, 0.0);
  for (int j = 0; j < n; ++j)
    for (int l = 0; l < k; ++l)
      for (int i = 0; i < m; ++i) c[i + j * m] += a[i + l * m] * b[l + j * k];
  return c;
}
Vec Transpose(const Vec& a, int m, int n) {
  Vec t(a.size());
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < m; ++i) t[j + i * n] = a[i + j * m];
  return t;
}
double MaxAbsDiff(const Vec& a, const Vec& b) {
  double d = 0;
  for (size_t i = 0; i < a.size(); ++i) d = std::max(d, std::fabs(a[i] - b[i]));
  return d;
}
Vec Random(qvtest::TestRng& rng, size_t count) {
  Vec v(count);
  for (double& e : v) e = rng.Uniform(-1, 1);
  return v;
}

// Pivoted QR of a random m×n matrix through qrfac_ and qform_: returns Q (m×m), R (n×n
// upper) and the 1-based pivots.
struct QR {
  Vec q, r;
  std::vector<int> ipvt;
};
QR Factor(const Vec& a, int m, int n) {
  QR f;
  f.q = a;
  f.q.resize(static_cast<size_t>(m) * m);
  f.ipvt.assign(n, 0);
  Vec rdiag(n), acnorm(n), wa(std::max(m, n));
  bool pivot = true;
  int lda = m, lip = n;
  REmath::qrfac_(&m, &n, f.q.data(), &lda, &pivot, f.ipvt.data(), &lip, rdiag.data(),
                 acnorm.data(), wa.data());
  f.r.assign(static_cast<size_t>(n) * n, 0.0);
  for (int j = 0; j < n; ++j) {
    for (int i = 0; i < j; ++i) f.r[i + j * n] = f.q[i + j * m];
    f.r[j + j * n] = rdiag[j];
  }
  REmath::qform_(&m, &n, f.q.data(), &lda, wa.data());
  return f;
}

}  // namespace

TEST(MinpackTest, BuildingBlocks_ConstantsAndNorm) {
  int i1 = 1, i2 = 2, i3 = 3, i0 = 0;
  EXPECT_EQ(REmath::dpmpar_(&i1), 2.22044604926e-16);
  EXPECT_EQ(REmath::dpmpar_(&i2), 2.22507385852e-308);
  EXPECT_EQ(REmath::dpmpar_(&i3), 1.79769313485e+308);
  EXPECT_NE(REmath::dpmpar_(&i1), std::numeric_limits<double>::epsilon());
  EXPECT_EQ(REmath::dpmpar_(&i0), 0.0);
  // enorm_ neither overflows nor underflows where the plain sum of squares would.
  for (double scale : {1e-200, 1e-30, 1.0, 1e30, 1e200}) {
    Vec v = {3 * scale, 4 * scale, 12 * scale};
    int n = 3;
    EXPECT_NEAR(REmath::enorm_(&n, v.data()), 13 * scale, 4 * 2.2e-16 * 13 * scale);
  }
  Vec mixed = {1e-25, 1.0, 1e20};  // one entry in each of MINPACK's three ranges
  int n = 3, zero = 0;
  EXPECT_NEAR(REmath::enorm_(&n, mixed.data()), 1e20, 1e5);
  EXPECT_EQ(REmath::enorm_(&zero, mixed.data()), 0.0);
}

TEST(MinpackTest, BuildingBlocks_QrFactorsAndSolvers) {
  qvtest::TestRng rng(61021);
  SCOPED_TRACE(rng.Trace());
  const int m = 6, n = 4;
  const Vec a = Random(rng, m * n), b = Random(rng, m);
  QR f = Factor(a, m, n);
  // Q orthogonal and Q·[R; 0] = A·P.
  const Vec qtq = MatMul(Transpose(f.q, m, m), f.q, m, m, m);
  for (int i = 0; i < m; ++i)
    for (int j = 0; j < m; ++j) EXPECT_NEAR(qtq[i + j * m], i == j ? 1.0 : 0.0, 1e-14);
  Vec rFull(static_cast<size_t>(m) * n, 0.0), ap(static_cast<size_t>(m) * n);
  for (int j = 0; j < n; ++j) {
    for (int i = 0; i < n; ++i) rFull[i + j * m] = f.r[i + j * n];
    for (int i = 0; i < m; ++i) ap[i + j * m] = a[i + (f.ipvt[j] - 1) * m];
  }
  EXPECT_LT(MaxAbsDiff(MatMul(f.q, rFull, m, m, n), ap), 1e-14);

  // qrsolv_ and lmpar_ against the normal equations (AᵀA + par·D²)x = Aᵀb.
  const Vec qtbAll = MatMul(Transpose(f.q, m, m), b, m, m, 1);
  const Vec ata = MatMul(Transpose(a, m, n), a, n, m, n), atb = MatMul(Transpose(a, m, n), b, n, m, 1);
  const Vec diag = {1.0, 2.0, 0.5, 1.5};
  auto normalResidual = [&](const Vec& x, double par) {
    double worst = 0;
    for (int i = 0; i < n; ++i) {
      double s = par * diag[i] * diag[i] * x[i] - atb[i];
      for (int j = 0; j < n; ++j) s += ata[i + j * n] * x[j];
      worst = std::max(worst, std::fabs(s));
    }
    return worst;
  };
  int nn = n, ldr = n;
  Vec r = f.r, qtb(qtbAll.begin(), qtbAll.begin() + n), x(n), sdiag(n), wa1(n), wa2(n);
  REmath::qrsolv_(&nn, r.data(), &ldr, f.ipvt.data(), const_cast<double*>(diag.data()),
                  qtb.data(), x.data(), sdiag.data(), wa1.data());
  EXPECT_LT(normalResidual(x, 1.0), 1e-13);
  // A huge trust region gives the Gauss-Newton step (par 0); a small one a step on its edge.
  for (double delta : {1e6, 0.05}) {
    r = f.r;
    double par = 0, d = delta;
    REmath::lmpar_(&nn, r.data(), &ldr, f.ipvt.data(), const_cast<double*>(diag.data()),
                   qtb.data(), &d, &par, x.data(), sdiag.data(), wa1.data(), wa2.data());
    EXPECT_LT(normalResidual(x, par), 1e-12);
    double dxn = 0;
    for (int i = 0; i < n; ++i) dxn += diag[i] * x[i] * diag[i] * x[i];
    if (delta > 1) {
      EXPECT_EQ(par, 0.0);
    } else {
      EXPECT_GT(par, 0.0);
      EXPECT_NEAR(std::sqrt(dxn), delta, 0.1 * delta);  // MINPACK's acceptance band
    }
  }
  // dogleg_: R packed by rows; a large region gives R⁻¹qtb, a small one |D·x| = delta.
  Vec packed;
  for (int i = 0; i < n; ++i)
    for (int j = i; j < n; ++j) packed.push_back(f.r[i + j * n]);
  int lr = static_cast<int>(packed.size());
  for (double delta : {1e6, 0.05}) {
    double d = delta;
    REmath::dogleg_(&nn, packed.data(), &lr, const_cast<double*>(diag.data()), qtb.data(), &d,
                    x.data(), wa1.data(), wa2.data());
    if (delta > 1) {
      EXPECT_LT(MaxAbsDiff(MatMul(f.r, x, n, n, 1), qtb), 1e-13);
    } else {
      double dxn = 0;
      for (int i = 0; i < n; ++i) dxn += diag[i] * x[i] * diag[i] * x[i];
      EXPECT_NEAR(std::sqrt(dxn), delta, 1e-14);
    }
  }
}

TEST(MinpackTest, BuildingBlocks_GivensUpdates) {
  qvtest::TestRng rng(77003);
  SCOPED_TRACE(rng.Trace());
  // r1updt_ then r1mpyq_: (S + u·vᵀ)·Q is the updated lower trapezoid S̃.
  for (int m : {4, 6}) {
    const int n = 4;
    Vec s, dense(static_cast<size_t>(m) * n, 0.0);
    for (int j = 0; j < n; ++j)
      for (int i = j; i < m; ++i) {
        s.push_back(rng.Uniform(-1, 1) + (i == j ? 2.0 : 0.0));
        dense[i + j * m] = s.back();
      }
    Vec u = Random(rng, m), v = Random(rng, n), w(m);
    for (int j = 0; j < n; ++j)
      for (int i = 0; i < m; ++i) dense[i + j * m] += u[i] * v[j];
    int mm = m, nn = n, ls = static_cast<int>(s.size()), lda = m;
    bool sing = true;
    REmath::r1updt_(&mm, &nn, s.data(), &ls, u.data(), v.data(), w.data(), &sing);
    EXPECT_FALSE(sing);
    REmath::r1mpyq_(&mm, &nn, dense.data(), &lda, v.data(), w.data());
    Vec expect(static_cast<size_t>(m) * n, 0.0);
    for (int j = 0, k = 0; j < n; ++j)
      for (int i = j; i < m; ++i) expect[i + j * m] = s[k++];
    EXPECT_LT(MaxAbsDiff(dense, expect), 1e-13) << "m = " << m;
  }
  // rwupdt_: R'ᵀR' = RᵀR + wwᵀ, R'ᵀb' = Rᵀb + alpha·w, and the rotation keeps |(b, alpha)|.
  const int n = 4;
  Vec r(n * n, 0.0), w = Random(rng, n), b = Random(rng, n), c(n), sn(n);
  for (int j = 0; j < n; ++j)
    for (int i = 0; i <= j; ++i) r[i + j * n] = rng.Uniform(-1, 1) + (i == j ? 2.0 : 0.0);
  double alpha = 0.7;
  Vec gram = MatMul(Transpose(r, n, n), r, n, n, n), rtb = MatMul(Transpose(r, n, n), b, n, n, 1);
  const double norm2 = SumSq(b) + alpha * alpha;
  for (int i = 0; i < n; ++i) {
    rtb[i] += alpha * w[i];
    for (int j = 0; j < n; ++j) gram[i + j * n] += w[i] * w[j];
  }
  int nn = n, ldr = n;
  REmath::rwupdt_(&nn, r.data(), &ldr, w.data(), b.data(), &alpha, c.data(), sn.data());
  EXPECT_LT(MaxAbsDiff(MatMul(Transpose(r, n, n), r, n, n, n), gram), 1e-13);
  EXPECT_LT(MaxAbsDiff(MatMul(Transpose(r, n, n), b, n, n, 1), rtb), 1e-13);
  EXPECT_NEAR(SumSq(b) + alpha * alpha, norm2, 1e-13);
}

TEST(MinpackTest, BuildingBlocks_DifferenceJacobiansAndChecker) {
  const Problem& bard = All()[4];
  int m = 15, n = 3, ld = 15, iflag = 7;
  double epsfcn = 0;
  Vec x = bard.x0, fvec(m), fjac(m * n), exact(m * n), wa(m);
  bard.residuals(m, n, x.data(), fvec.data());
  bard.jacobian(m, n, x.data(), exact.data(), ld);
  struct Seen : LmdifFn {
    using LmdifFn::LmdifFn;
    mutable std::vector<int> flags;
    void operator()(int* m, int* n, double* x, double* f, int* iflag) const override {
      flags.push_back(*iflag);
      LmdifFn::operator()(m, n, x, f, iflag);
    }
  } fn(bard);
  REmath::fdjac2_(fn, &m, &n, x.data(), fvec.data(), fjac.data(), &ld, &iflag, &epsfcn, wa.data());
  EXPECT_EQ(fn.flags, std::vector<int>(3, 7)) << "one call per column with the caller's iflag";
  EXPECT_LT(MaxAbsDiff(fjac, exact), 1e-6);
  EXPECT_EQ(x, bard.x0) << "x restored";
  fn.stopAt = 2, fn.stopValue = -3, fn.counts = Counts(), iflag = 2;
  REmath::fdjac2_(fn, &m, &n, x.data(), fvec.data(), fjac.data(), &ld, &iflag, &epsfcn, wa.data());
  EXPECT_EQ(iflag, -3);
  EXPECT_EQ(fn.counts.Total(), 2);

  // fdjac1_ on a tridiagonal system: the band costs ml + mu + 1 calls instead of n.
  struct Tridiagonal : REmath::HybrdFunctor {
    mutable int calls = 0;
    void operator()(int* n, double* x, double* f, int*) const override {
      ++calls;
      for (int i = 0; i < *n; ++i)
        f[i] = (3 - 2 * x[i]) * x[i] - (i > 0 ? x[i - 1] : 0) - 2 * (i + 1 < *n ? x[i + 1] : 0) + 1;
    }
  } tri;
  int nt = 6, ldt = 6, one = 1, full = 5, fl = 1;
  Vec xt(6, -1.0), ft(6), band(36), dense(36), w1(6), w2(6);
  tri(&nt, xt.data(), ft.data(), &fl);
  tri.calls = 0;
  REmath::fdjac1_(tri, &nt, xt.data(), ft.data(), band.data(), &ldt, &fl, &one, &one, &epsfcn,
                  w1.data(), w2.data());
  EXPECT_EQ(tri.calls, 3);
  REmath::fdjac1_(tri, &nt, xt.data(), ft.data(), dense.data(), &ldt, &fl, &full, &full, &epsfcn,
                  w1.data(), w2.data());
  EXPECT_EQ(tri.calls, 3 + 6);
  for (int j = 0; j < 6; ++j)
    for (int i = std::max(0, j - 1); i <= std::min(5, j + 1); ++i)
      EXPECT_NEAR(band[i + j * 6], dense[i + j * 6], 1e-12);
  EXPECT_NEAR(band[2 + 2 * 6], 7.0, 1e-6);  // 3 − 4x on the diagonal at x = −1

  // chkder_: a correct Jacobian scores ~1 on every row, a wrong column spoils its rows. (The
  // stopped fdjac2_ above left a column of x perturbed, as MINPACK does.)
  x = bard.x0;
  Vec xp(n), fvecp(m), err(m);
  int mode = 1;
  REmath::chkder_(&m, &n, x.data(), fvec.data(), exact.data(), &ld, xp.data(), fvecp.data(),
                  &mode, err.data());
  bard.residuals(m, n, xp.data(), fvecp.data());
  mode = 2;
  REmath::chkder_(&m, &n, x.data(), fvec.data(), exact.data(), &ld, xp.data(), fvecp.data(),
                  &mode, err.data());
  for (double e : err) EXPECT_GT(e, 0.99);
  for (int i = 0; i < m; ++i) exact[i + 2 * ld] *= 10.0;  // column 3 off by a factor
  REmath::chkder_(&m, &n, x.data(), fvec.data(), exact.data(), &ld, xp.data(), fvecp.data(),
                  &mode, err.data());
  for (double e : err) EXPECT_LT(e, 0.5);  // chkder_ scores on a log scale
}

TEST(MinpackTest, Degenerate_BuildingBlocksLeaveBadSizesUntouched) {
  int m = 4, n = 3, small = 2, one = 1;
  bool pivot = true, sing = false;
  const Vec orig(16, 0.5);
  Vec a = orig, v(4, 0.25), w(4, 0.25), x(4, 9.0), rd(4, 9.0), wa(4);
  std::vector<int> ip(4, 9);
  REmath::qrfac_(&m, &n, a.data(), &small, &pivot, ip.data(), &n, rd.data(), rd.data(), wa.data());
  REmath::qrfac_(&m, &n, a.data(), &m, &pivot, ip.data(), &small, rd.data(), rd.data(), wa.data());
  REmath::qform_(&m, &n, a.data(), &small, wa.data());
  REmath::r1mpyq_(&m, &n, a.data(), &small, v.data(), w.data());
  int lsShort = 8;  // needs n(2m − n + 1)/2 = 9
  REmath::r1updt_(&m, &n, a.data(), &lsShort, v.data(), v.data(), w.data(), &sing);
  REmath::rwupdt_(&n, a.data(), &small, v.data(), v.data(), x.data(), x.data(), x.data());
  double delta = 1, par = 0;
  int lrShort = 5;  // needs 6
  REmath::dogleg_(&n, a.data(), &lrShort, v.data(), v.data(), &delta, x.data(), wa.data(),
                  wa.data());
  REmath::lmpar_(&n, a.data(), &small, ip.data(), v.data(), v.data(), &delta, &par, x.data(),
                 x.data(), wa.data(), wa.data());
  REmath::qrsolv_(&n, a.data(), &small, ip.data(), v.data(), v.data(), x.data(), x.data(),
                  wa.data());
  int mode = 3;
  REmath::chkder_(&m, &n, x.data(), v.data(), a.data(), &m, x.data(), v.data(), &mode, x.data());
  EXPECT_EQ(a, orig);
  EXPECT_EQ(x, Vec(4, 9.0));
  EXPECT_EQ(rd, Vec(4, 9.0));
  EXPECT_EQ(ip, std::vector<int>(4, 9));
  EXPECT_FALSE(sing);
  EXPECT_EQ(par, 0.0);
  EXPECT_EQ(REmath::dpmpar_(nullptr), 0.0);
  EXPECT_EQ(REmath::enorm_(&one, nullptr), 0.0);
}
