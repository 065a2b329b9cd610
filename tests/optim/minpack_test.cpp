// SPDX-License-Identifier: MIT
#include <cminpack.h>
#include <gtest/gtest.h>
#include <qvmath/optim/minpack.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <thread>
#include <vector>

#include "optim/minpack_problems.h"

using namespace minpack_problems;

namespace {

using Vec = std::vector<double>;

struct Outcome {
  int info = -99;
  Vec x, fvec;
  std::vector<int> ipvt;
  Counts counts;
};

double SumSq(const Vec& f) {
  double s = 0;
  for (double v : f) s += v * v;
  return s;
}

const double kTol = std::sqrt(2.220446049250313e-16);  // as MINPACK's own test drivers

// The simple drivers are written out here over the full routines; cminpack's own simple
// drivers are an independent implementation of the same published algorithm (fixed
// parameters, work-array split), so the two must agree bit for bit.
enum class Simple { Lmder1, Lmdif1, Lmstr1, Hybrd1, Hybrj1 };

// Sizes and tolerance passed instead of the problem's own (arrays keep the problem's sizes).
struct Args {
  int m, n, ld, lwa;
  double tol;
};

Outcome RunSimple(Simple which, const Problem& p, bool peer, int stopAt = 0, int stopValue = -1,
                  const Args* args = nullptr) {
  Outcome o;
  const int lwaFull = p.m * p.n + 5 * p.n + p.m + p.n * (3 * p.n + 13);
  o.x = p.x0;
  o.fvec.assign(p.m, 0.0);
  o.ipvt.assign(p.n, 0);
  Vec fjac(static_cast<size_t>(p.m) * p.n), wa(lwaFull);
  const Args a = args ? *args : Args{p.m, p.n, p.m, lwaFull, kTol};
  int m = a.m, n = a.n, ld = a.ld, lwa = a.lwa;
  double tol = a.tol, *x = o.x.data(), *f = o.fvec.data(), *J = fjac.data(), *w = wa.data();
  int* ip = o.ipvt.data();
  LmderFn der(p);
  LmdifFn dif(p);
  LmstrFn str(p);
  HybrdFn hd(p);
  HybrjFn hj(p);
  Evaluator* e[] = {&der, &dif, &str, &hd, &hj};
  Evaluator* used = e[static_cast<int>(which)];
  used->stopAt = stopAt, used->stopValue = stopValue;
  switch (which) {
    case Simple::Lmder1:
      o.info =
          peer ? ::lmder1(PeerLmder, used, m, n, x, f, J, ld, tol, ip, w, lwa)
               : (REmath::lmder1_(der, &m, &n, x, f, J, &ld, &tol, &o.info, ip, w, &lwa), o.info);
      break;
    case Simple::Lmdif1:
      o.info = peer ? ::lmdif1(PeerLmdif, used, m, n, x, f, tol, ip, w, lwa)
                    : (REmath::lmdif1_(dif, &m, &n, x, f, &tol, &o.info, ip, w, &lwa), o.info);
      break;
    case Simple::Lmstr1:
      o.info =
          peer ? ::lmstr1(PeerLmstr, used, m, n, x, f, J, ld, tol, ip, w, lwa)
               : (REmath::lmstr1_(str, &m, &n, x, f, J, &ld, &tol, &o.info, ip, w, &lwa), o.info);
      break;
    case Simple::Hybrd1:
      o.info = peer ? ::hybrd1(PeerHybrd, used, n, x, f, tol, w, lwa)
                    : (REmath::hybrd1_(hd, &n, x, f, &tol, &o.info, w, &lwa), o.info);
      o.ipvt.clear();
      break;
    case Simple::Hybrj1:
      o.info = peer ? ::hybrj1(PeerHybrj, used, n, x, f, J, ld, tol, w, lwa)
                    : (REmath::hybrj1_(hj, &n, x, f, J, &ld, &tol, &o.info, w, &lwa), o.info);
      o.ipvt.clear();
      break;
  }
  o.counts = used->counts;
  return o;
}

void ExpectSame(const Outcome& a, const Outcome& b) {
  EXPECT_TRUE(a.info == b.info && a.x == b.x && a.fvec == b.fvec && a.ipvt == b.ipvt &&
              a.counts.Total() == b.counts.Total() && a.counts.jac == b.counts.jac);
}

}  // namespace

TEST(MinpackTest, Properties_SimpleDriversMatchPublishedDriversAndOptima) {
  for (size_t k = 0; k < All().size(); ++k) {
    const Problem& p = All()[k];
    SCOPED_TRACE(p.name);
    for (Simple s :
         {Simple::Lmder1, Simple::Lmdif1, Simple::Lmstr1, Simple::Hybrd1, Simple::Hybrj1}) {
      const bool hybrid = s == Simple::Hybrd1 || s == Simple::Hybrj1;
      if (hybrid && static_cast<int>(k) >= kSquareProblems) continue;
      const Outcome ours = RunSimple(s, p, false);
      ExpectSame(ours, RunSimple(s, p, true));
      EXPECT_TRUE(hybrid || (ours.info >= 1 && ours.info <= 5)) << ours.info;
      // Published minima have six significant digits. On Watson x0 → 0 shrinks lmdif's
      // difference step eps·|x0| to nothing and it stalls, so only analytic Jacobians count.
      if (hybrid ? p.bestSumSq == 0.0 : s != Simple::Lmdif1) {
        EXPECT_NEAR(SumSq(ours.fvec), p.bestSumSq, 1e-5 * p.bestSumSq + (hybrid ? 1e-18 : 1e-12));
      }
    }
  }
}

// A full driver with the smallest Jacobian array it accepts (lmstr: ldfjac = n), the
// caller's scaling (mode 2) and a print request every iteration; the others run inside the
// simple drivers above, the hybrid ones with mode 2.
TEST(MinpackTest, Properties_FullDriverReachesOptimumWithMinimalArrays) {
  const Problem& p = All()[4];  // Bard, 15 × 3
  int m = p.m, n = p.n, ld = n, maxfev = 2000, mode = 2, nprint = 1, info = 0, nfev = 0, njev = 0;
  double ftol = 1e-10, xtol = 1e-10, gtol = 0, factor = 100;
  std::vector<int> ipvt(n);
  Vec fjac(size_t(n) * n), diag(n, 1.0), qtf(n), w1(n), w2(n), w3(n), w4(m), x = p.x0, f(m);
  LmstrFn str(p);
  REmath::lmstr_(str, &m, &n, x.data(), f.data(), fjac.data(), &ld, &ftol, &xtol, &gtol, &maxfev,
                 diag.data(), &mode, &factor, &nprint, &info, &nfev, &njev, ipvt.data(), qtf.data(),
                 w1.data(), w2.data(), w3.data(), w4.data());
  EXPECT_TRUE(info >= 1 && info <= 4 && str.counts.print > 1) << info;
  EXPECT_NEAR(SumSq(f), p.bestSumSq, 1e-5 * p.bestSumSq);
}

TEST(MinpackTest, Regions_NegativeIflagStopsWithThatInfo) {
  for (Simple s :
       {Simple::Lmder1, Simple::Lmdif1, Simple::Lmstr1, Simple::Hybrd1, Simple::Hybrj1}) {
    const Problem& p = All()[(s == Simple::Hybrd1 || s == Simple::Hybrj1) ? 2 : 4];
    const Outcome first = RunSimple(s, p, false, 1, -1), later = RunSimple(s, p, false, 6, -7);
    EXPECT_TRUE(first.info == -1 && first.counts.Total() == 1) << "no call after the stop";
    EXPECT_TRUE(later.info == -7 && later.counts.Total() == 6);
  }
}

TEST(MinpackTest, Regions_FunctorExceptionStopsSolverAndPropagates) {
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
  Thrower fn(All()[0]);
  int n = 2, info = 99, lwa = 64;
  double tol = 1e-10;
  Vec x = All()[0].x0, fvec(2), wa(64);
  EXPECT_THROW(REmath::hybrd1_(fn, &n, x.data(), fvec.data(), &tol, &info, wa.data(), &lwa),
               std::runtime_error);
  EXPECT_EQ(fn.counts.Total(), 3);
}

TEST(MinpackTest, Degenerate_BadArgumentsReturnInfoZeroWithoutCalls) {
  const Problem& p = All()[4];  // Bard, m = 15, n = 3
  const double nan = std::numeric_limits<double>::quiet_NaN();
  // m, n, ldfjac, tol, lwa relative to the minimum (0 = exactly the minimum).
  struct Case {
    int m, n, ld;
    double tol;
    int lwaDelta;
    bool ok;
  };
  const Case cases[] = {{15, 3, 15, 1e-8, 0, true},   {15, 3, 15, 1e-8, -1, false},
                        {15, 0, 15, 1e-8, 0, false},  {2, 3, 15, 1e-8, 0, false},
                        {15, 3, 15, -1e-9, 0, false}, {15, 3, 15, nan, 0, false},
                        {15, 3, 14, 1e-8, 0, false}};
  for (const Case& c : cases)
    for (Simple s : {Simple::Lmder1, Simple::Lmdif1, Simple::Lmstr1}) {
      SCOPED_TRACE(::testing::Message() << c.m << " " << c.n << " " << c.ld << " " << c.tol << " "
                                        << c.lwaDelta << " driver " << static_cast<int>(s));
      // lmstr needs ldfjac >= n, lmdif1_ has no ldfjac and an m·n larger minimum.
      const int ld = s == Simple::Lmstr1 ? (c.ld == 14 ? 2 : 3) : c.ld;
      const Args args{c.m, c.n, ld,
                      (s == Simple::Lmdif1 ? c.m * c.n : 0) + 5 * c.n + c.m + c.lwaDelta, c.tol};
      const Outcome o = RunSimple(s, p, false, 0, -1, &args);
      const bool refused = !c.ok && !(s == Simple::Lmdif1 && c.ld == 14);
      EXPECT_TRUE((o.info == 0) == refused && (o.counts.Total() == 0) == refused) << o.info;
    }
  // The hybrid drivers: lwa one short of n(3n + 13)/2 resp. n(n + 13)/2, and a null array.
  const Problem& h = All()[2];
  for (Simple s : {Simple::Hybrd1, Simple::Hybrj1}) {
    const Args args{3, 3, 3, (s == Simple::Hybrd1 ? 3 * (9 + 13) : 3 * (3 + 13)) / 2 - 1, 1e-8};
    const Outcome o = RunSimple(s, h, false, 0, -1, &args);
    EXPECT_TRUE(o.info == 0 && o.counts.Total() == 0);
  }
  int n = 3, info = 99, ld = 3, lwa = 64;
  double tol = 1e-8;
  Vec x = h.x0, fvec(3), fjac(9), wa(64);
  HybrdFn hd(h);
  REmath::hybrd1_(hd, &n, x.data(), nullptr, &tol, &info, wa.data(), &lwa);
  EXPECT_EQ(info, 0);
  // The full drivers reject a non-positive scale in mode 2, a zero factor, maxfev 0.
  int maxfev = 100, ml = 2, mu = 2, mode = 2, nprint = 0, nfev = 5, njev = 5, lr = 6;
  double epsfcn = 0, factor = 100, gtol = 0;
  Vec diag = {1.0, 0.0, 1.0}, r(6), qtf(3), w1(3), w2(3), w3(3), w4(15), bf(45), bx = p.x0;
  std::vector<int> ipvt(3);
  LmderFn der(p);
  int m = 15, ldb = 15;
  for (int k = 0; k < 3; ++k) {
    SCOPED_TRACE(k);
    factor = k == 1 ? 0.0 : 100.0, maxfev = k == 2 ? 0 : 100, diag[1] = k == 0 ? 0.0 : 1.0;
    info = 99;
    REmath::hybrd_(hd, &n, x.data(), fvec.data(), &tol, &maxfev, &ml, &mu, &epsfcn, diag.data(),
                   &mode, &factor, &nprint, &info, &nfev, fjac.data(), &ld, r.data(), &lr,
                   qtf.data(), w1.data(), w2.data(), w3.data(), w4.data());
    EXPECT_TRUE(info == 0 && nfev == 0);
    info = 99;
    REmath::lmder_(der, &m, &n, bx.data(), w4.data(), bf.data(), &ldb, &tol, &tol, &gtol, &maxfev,
                   diag.data(), &mode, &factor, &nprint, &info, &nfev, &njev, ipvt.data(),
                   qtf.data(), w1.data(), w2.data(), w3.data(), w4.data());
    EXPECT_EQ(info, 0);
  }
  EXPECT_EQ(hd.counts.Total() + der.counts.Total(), 0);
}

TEST(MinpackTest, Properties_ConcurrentSolvesMatchSerial) {
  const auto& all = All();
  std::vector<Outcome> serial;
  for (const Problem& p : all) serial.push_back(RunSimple(Simple::Lmder1, p, false));
  std::vector<int> mismatches(2, 0);
  auto worker = [&](int t) {
    for (int round = 0; round < 10; ++round)
      for (size_t k = t; k < all.size(); k += 2) {
        const Outcome o = RunSimple(Simple::Lmder1, all[k], false);
        if (o.x != serial[k].x || o.info != serial[k].info) ++mismatches[t];
      }
  };
  std::thread a(worker, 0), b(worker, 1);
  a.join();
  b.join();
  EXPECT_EQ(mismatches[0] + mismatches[1], 0);
}

// The building blocks the drivers do not reach: the derivative checker passes a right
// Jacobian, dpmpar keeps the published decimals; bad sizes leave every array alone.
TEST(MinpackTest, Properties_BuildingBlocks) {
  int m, n;
  Vec wa(16);
  bool pivot = true;
  const Problem& bard = All()[4];
  int bm = 15, bn = 3, ld = 15, mode = 1;
  Vec x = bard.x0, fvec(15), jac(45), xp(3), fvecp(15), err(15);
  bard.residuals(bm, bn, x.data(), fvec.data());
  bard.jacobian(bm, bn, x.data(), jac.data(), ld);
  REmath::chkder_(&bm, &bn, x.data(), fvec.data(), jac.data(), &ld, xp.data(), fvecp.data(), &mode,
                  err.data());
  bard.residuals(bm, bn, xp.data(), fvecp.data());
  mode = 2;
  REmath::chkder_(&bm, &bn, x.data(), fvec.data(), jac.data(), &ld, xp.data(), fvecp.data(), &mode,
                  err.data());
  for (double e : err) EXPECT_GT(e, 0.99);
  int i1 = 1, i0 = 0;
  EXPECT_EQ(REmath::dpmpar_(&i1), 2.22044604926e-16);  // the published decimal, not DBL_EPSILON
  EXPECT_TRUE(REmath::dpmpar_(&i0) == 0.0 && REmath::dpmpar_(nullptr) == 0.0);

  int zero = 0, small = 2, lsShort = 8, lrShort = 5;
  bool sing = false;
  const Vec orig(16, 0.5);
  Vec b = orig, v(4, 0.25), w(4, 0.25), y(4, 9.0), rd(4, 9.0);
  std::vector<int> ip(4, 9);
  m = 4, n = 3;
  REmath::qrfac_(&m, &n, b.data(), &small, &pivot, ip.data(), &n, rd.data(), rd.data(), wa.data());
  REmath::qrfac_(&m, &n, b.data(), &m, &pivot, ip.data(), &small, rd.data(), rd.data(), wa.data());
  REmath::qrfac_(&zero, &n, b.data(), &m, &pivot, ip.data(), &n, rd.data(), rd.data(), wa.data());
  REmath::qform_(&m, &n, b.data(), &small, wa.data());
  REmath::r1mpyq_(&m, &n, b.data(), &small, v.data(), w.data());
  REmath::r1updt_(&m, &n, b.data(), &lsShort, v.data(), v.data(), w.data(), &sing);
  REmath::rwupdt_(&n, b.data(), &small, v.data(), v.data(), y.data(), y.data(), y.data());
  double delta = 1, par = 0;
  REmath::dogleg_(&n, b.data(), &lrShort, v.data(), v.data(), &delta, y.data(), wa.data(),
                  wa.data());
  REmath::lmpar_(&n, b.data(), &small, ip.data(), v.data(), v.data(), &delta, &par, y.data(),
                 y.data(), wa.data(), wa.data());
  REmath::lmpar_(&zero, b.data(), &n, ip.data(), v.data(), v.data(), &delta, &par, y.data(),
                 y.data(), wa.data(), wa.data());
  REmath::qrsolv_(&n, b.data(), &small, ip.data(), v.data(), v.data(), y.data(), y.data(),
                  wa.data());
  mode = 3;
  REmath::chkder_(&m, &n, y.data(), v.data(), b.data(), &m, y.data(), v.data(), &mode, y.data());
  EXPECT_TRUE(b == orig && y == Vec(4, 9.0) && rd == Vec(4, 9.0) && ip == std::vector<int>(4, 9));
  EXPECT_TRUE(!sing && par == 0.0 && REmath::enorm_(&zero, v.data()) == 0.0);
}
