// SPDX-License-Identifier: MIT
// MINPACK with functor callbacks. The numerical work is cminpack's; this file checks the
// arguments, adapts each functor to cminpack's context-pointer callbacks and maps the
// simple drivers onto the full ones exactly as MINPACK's own drivers do.
#include <cminpack.h>
#include <qvmath/optim/minpack.h>

#include <cmath>
#include <exception>

namespace REmath {
namespace {

// Everything a callback needs travels through cminpack's context pointer, so no call
// shares state with another one.
template <class Fn>
struct CallContext {
  explicit CallContext(const Fn& f, int* iflag = nullptr) : fcn(f), callerIflag(iflag) {}
  const Fn& fcn;
  // fdjac1_/fdjac2_ hand the caller's own iflag variable to every call, as MINPACK's
  // finite-difference routines do; the solvers pass a fresh value per call instead.
  int* callerIflag;
  int firstStop = 0;  // the first negative iflag the functor returned
  std::exception_ptr error;
};

// Calls the functor with the iflag cminpack prescribes and returns what the functor left in
// it. An exception is parked in the context and turned into a stop (-1); later calls of the
// same run (the final print request) then no longer reach the functor.
template <class Fn, class Call>
int Invoke(void* p, int iflag, const Call& call) {
  auto& ctx = *static_cast<CallContext<Fn>*>(p);
  if (ctx.error) return -1;
  int* flag = ctx.callerIflag ? ctx.callerIflag : &iflag;
  try {
    call(ctx.fcn, flag);
  } catch (...) {
    ctx.error = std::current_exception();
    return -1;
  }
  if (*flag < 0 && ctx.firstStop == 0) ctx.firstStop = *flag;
  return *flag;
}

// Ends a solver run: rethrows a parked exception, and restores MINPACK's info for a user
// stop. cminpack's lmstr reports a stop during the row-wise Jacobian as info 0; as the
// arguments were checked beforehand, info 0 can only mean such a stop.
template <class Fn>
void Finish(const CallContext<Fn>& ctx, int* info) {
  if (ctx.error) std::rethrow_exception(ctx.error);
  if (info && *info == 0 && ctx.firstStop < 0) *info = ctx.firstStop;
}

// cminpack's callbacks. x points into the solver's own (writable) working arrays, so the
// const_cast only restores MINPACK's interface; m, n and ldfjac reach the functor as copies.
int CallHybrd(void* p, int n, const double* x, double* fvec, int iflag) {
  return Invoke<HybrdFunctor>(
      p, iflag, [&](const HybrdFunctor& f, int* fl) { f(&n, const_cast<double*>(x), fvec, fl); });
}

int CallHybrj(void* p, int n, const double* x, double* fvec, double* fjac, int ldfjac, int iflag) {
  return Invoke<HybrjFunctor>(p, iflag, [&](const HybrjFunctor& f, int* fl) {
    f(&n, const_cast<double*>(x), fvec, fjac, &ldfjac, fl);
  });
}

int CallLmdif(void* p, int m, int n, const double* x, double* fvec, int iflag) {
  return Invoke<LmdifFunctor>(p, iflag, [&](const LmdifFunctor& f, int* fl) {
    f(&m, &n, const_cast<double*>(x), fvec, fl);
  });
}

int CallLmder(void* p, int m, int n, const double* x, double* fvec, double* fjac, int ldfjac,
              int iflag) {
  return Invoke<LmderFunctor>(p, iflag, [&](const LmderFunctor& f, int* fl) {
    f(&m, &n, const_cast<double*>(x), fvec, fjac, &ldfjac, fl);
  });
}

int CallLmstr(void* p, int m, int n, const double* x, double* fvec, double* fjrow, int iflag) {
  return Invoke<LmstrFunctor>(p, iflag, [&](const LmstrFunctor& f, int* fl) {
    f(&m, &n, const_cast<double*>(x), fvec, fjrow, fl);
  });
}

template <class... P>
bool AllSet(const P*... p) {
  return ((p != nullptr) && ...);
}

// A tolerance must be a number >= 0; NaN fails the comparison and is rejected with the
// negative values.
bool GoodTol(const double* t) { return *t >= 0.0; }

// Mode 2 takes the caller's scaling, which MINPACK requires to be positive.
bool GoodDiag(int mode, int n, const double* diag) {
  if (mode != 2) return true;
  for (int j = 0; j < n; ++j)
    if (!(diag[j] > 0.0)) return false;
  return true;
}

// Sizes of packed triangles in 64 bits: n(n+1)/2 overflows int long before memory runs out.
long long PackedUpper(int n) { return static_cast<long long>(n) * (n + 1) / 2; }

// The checks MINPACK's Levenberg-Marquardt routines make before the first call.
bool GoodLmArgs(int* m, int* n, int* ldfjac, int minLdfjac, double* ftol, double* xtol,
                double* gtol, int* maxfev, double* diag, int* mode, double* factor) {
  return *n > 0 && *m >= *n && *ldfjac >= minLdfjac && GoodTol(ftol) && GoodTol(xtol) &&
         GoodTol(gtol) && *maxfev > 0 && *factor > 0.0 && GoodDiag(*mode, *n, diag);
}

int Reject(int* info, int* nfev = nullptr, int* njev = nullptr) {
  if (info) *info = 0;
  if (nfev) *nfev = 0;
  if (njev) *njev = 0;
  return 0;
}

}  // namespace

int hybrd_(const HybrdFunctor& fcn, int* n, double* x, double* fvec, double* xtol, int* maxfev,
           int* ml, int* mu, double* epsfcn, double* diag, int* mode, double* factor, int* nprint,
           int* info, int* nfev, double* fjac, int* ldfjac, double* r, int* lr, double* qtf,
           double* wa1, double* wa2, double* wa3, double* wa4) {
  if (!AllSet(n, x, fvec, xtol, maxfev, ml, mu, epsfcn, diag, mode, factor, nprint, info, nfev,
              fjac, ldfjac, r, lr, qtf, wa1, wa2, wa3, wa4) ||
      *n <= 0 || !GoodTol(xtol) || *maxfev <= 0 || *ml < 0 || *mu < 0 || !(*factor > 0.0) ||
      *ldfjac < *n || *lr < PackedUpper(*n) || std::isnan(*epsfcn) || !GoodDiag(*mode, *n, diag))
    return Reject(info, nfev);
  CallContext<HybrdFunctor> ctx(fcn);
  *info = ::hybrd(CallHybrd, &ctx, *n, x, fvec, *xtol, *maxfev, *ml, *mu, *epsfcn, diag, *mode,
                  *factor, *nprint, nfev, fjac, *ldfjac, r, *lr, qtf, wa1, wa2, wa3, wa4);
  Finish(ctx, info);
  return 0;
}

int hybrj_(const HybrjFunctor& fcn, int* n, double* x, double* fvec, double* fjac, int* ldfjac,
           double* xtol, int* maxfev, double* diag, int* mode, double* factor, int* nprint,
           int* info, int* nfev, int* njev, double* r, int* lr, double* qtf, double* wa1,
           double* wa2, double* wa3, double* wa4) {
  if (!AllSet(n, x, fvec, fjac, ldfjac, xtol, maxfev, diag, mode, factor, nprint, info, nfev, njev,
              r, lr, qtf, wa1, wa2, wa3, wa4) ||
      *n <= 0 || *ldfjac < *n || !GoodTol(xtol) || *maxfev <= 0 || !(*factor > 0.0) ||
      *lr < PackedUpper(*n) || !GoodDiag(*mode, *n, diag))
    return Reject(info, nfev, njev);
  CallContext<HybrjFunctor> ctx(fcn);
  *info = ::hybrj(CallHybrj, &ctx, *n, x, fvec, fjac, *ldfjac, *xtol, *maxfev, diag, *mode, *factor,
                  *nprint, nfev, njev, r, *lr, qtf, wa1, wa2, wa3, wa4);
  Finish(ctx, info);
  return 0;
}

// The simple drivers below are MINPACK's own, written out over the full routines: the fixed
// parameters and the work-array split are those of the published drivers, so the results
// match the published drivers call for call.

int hybrd1_(const HybrdFunctor& fcn, int* n, double* x, double* fvec, double* tol, int* info,
            double* wa, int* lwa) {
  if (!AllSet(n, x, fvec, tol, info, wa, lwa) || *n <= 0 || !GoodTol(tol) ||
      *lwa < static_cast<long long>(*n) * (3LL * *n + 13) / 2)
    return Reject(info);
  int nn = *n, maxfev = 200 * (nn + 1), ml = nn - 1, mu = nn - 1, mode = 2, nprint = 0;
  int nfev = 0, lr = static_cast<int>(PackedUpper(nn)), ldfjac = nn;
  double epsfcn = 0.0, factor = 100.0;
  for (int j = 0; j < nn; ++j) wa[j] = 1.0;
  double* const r = wa + 6 * nn;
  hybrd_(fcn, &nn, x, fvec, tol, &maxfev, &ml, &mu, &epsfcn, wa, &mode, &factor, &nprint, info,
         &nfev, r + lr, &ldfjac, r, &lr, wa + nn, wa + 2 * nn, wa + 3 * nn, wa + 4 * nn,
         wa + 5 * nn);
  if (*info == 5) *info = 4;
  return 0;
}

int hybrj1_(const HybrjFunctor& fcn, int* n, double* x, double* fvec, double* fjac, int* ldfjac,
            double* tol, int* info, double* wa, int* lwa) {
  if (!AllSet(n, x, fvec, fjac, ldfjac, tol, info, wa, lwa) || *n <= 0 || *ldfjac < *n ||
      !GoodTol(tol) || *lwa < static_cast<long long>(*n) * (*n + 13LL) / 2)
    return Reject(info);
  int nn = *n, maxfev = 100 * (nn + 1), mode = 2, nprint = 0, nfev = 0, njev = 0;
  int lr = static_cast<int>(PackedUpper(nn));
  double factor = 100.0;
  for (int j = 0; j < nn; ++j) wa[j] = 1.0;
  hybrj_(fcn, &nn, x, fvec, fjac, ldfjac, tol, &maxfev, wa, &mode, &factor, &nprint, info, &nfev,
         &njev, wa + 6 * nn, &lr, wa + nn, wa + 2 * nn, wa + 3 * nn, wa + 4 * nn, wa + 5 * nn);
  if (*info == 5) *info = 4;
  return 0;
}

int lmdif_(const LmdifFunctor& fcn, int* m, int* n, double* x, double* fvec, double* ftol,
           double* xtol, double* gtol, int* maxfev, double* epsfcn, double* diag, int* mode,
           double* factor, int* nprint, int* info, int* nfev, double* fjac, int* ldfjac, int* ipvt,
           double* qtf, double* wa1, double* wa2, double* wa3, double* wa4) {
  if (!AllSet(m, n, x, fvec, ftol, xtol, gtol, maxfev, epsfcn, diag, mode, factor, nprint, info,
              nfev, fjac, ldfjac, ipvt, qtf, wa1, wa2, wa3, wa4) ||
      !GoodLmArgs(m, n, ldfjac, *m, ftol, xtol, gtol, maxfev, diag, mode, factor) ||
      std::isnan(*epsfcn))
    return Reject(info, nfev);
  CallContext<LmdifFunctor> ctx(fcn);
  *info = ::lmdif(CallLmdif, &ctx, *m, *n, x, fvec, *ftol, *xtol, *gtol, *maxfev, *epsfcn, diag,
                  *mode, *factor, *nprint, nfev, fjac, *ldfjac, ipvt, qtf, wa1, wa2, wa3, wa4);
  Finish(ctx, info);
  return 0;
}

namespace {

// lmder_ and lmstr_ share argument list and checks, apart from the rows fjac must hold: m
// for lmder's whole Jacobian, n for lmstr's triangle.
template <class Fn, class Solver, class Callback>
int RunWithJacobian(Solver solver, Callback callback, bool wholeJacobian, const Fn& fcn, int* m,
                    int* n, double* x, double* fvec, double* fjac, int* ldfjac, double* ftol,
                    double* xtol, double* gtol, int* maxfev, double* diag, int* mode,
                    double* factor, int* nprint, int* info, int* nfev, int* njev, int* ipvt,
                    double* qtf, double* wa1, double* wa2, double* wa3, double* wa4) {
  if (!AllSet(m, n, x, fvec, fjac, ldfjac, ftol, xtol, gtol, maxfev, diag, mode, factor, nprint,
              info, nfev, njev, ipvt, qtf, wa1, wa2, wa3, wa4) ||
      !GoodLmArgs(m, n, ldfjac, wholeJacobian ? *m : *n, ftol, xtol, gtol, maxfev, diag, mode,
                  factor))
    return Reject(info, nfev, njev);
  CallContext<Fn> ctx(fcn);
  *info = solver(callback, &ctx, *m, *n, x, fvec, fjac, *ldfjac, *ftol, *xtol, *gtol, *maxfev, diag,
                 *mode, *factor, *nprint, nfev, njev, ipvt, qtf, wa1, wa2, wa3, wa4);
  Finish(ctx, info);
  return 0;
}

}  // namespace

int lmder_(const LmderFunctor& fcn, int* m, int* n, double* x, double* fvec, double* fjac,
           int* ldfjac, double* ftol, double* xtol, double* gtol, int* maxfev, double* diag,
           int* mode, double* factor, int* nprint, int* info, int* nfev, int* njev, int* ipvt,
           double* qtf, double* wa1, double* wa2, double* wa3, double* wa4) {
  return RunWithJacobian(::lmder, CallLmder, true, fcn, m, n, x, fvec, fjac, ldfjac, ftol, xtol,
                         gtol, maxfev, diag, mode, factor, nprint, info, nfev, njev, ipvt, qtf, wa1,
                         wa2, wa3, wa4);
}

int lmstr_(const LmstrFunctor& fcn, int* m, int* n, double* x, double* fvec, double* fjac,
           int* ldfjac, double* ftol, double* xtol, double* gtol, int* maxfev, double* diag,
           int* mode, double* factor, int* nprint, int* info, int* nfev, int* njev, int* ipvt,
           double* qtf, double* wa1, double* wa2, double* wa3, double* wa4) {
  return RunWithJacobian(::lmstr, CallLmstr, false, fcn, m, n, x, fvec, fjac, ldfjac, ftol, xtol,
                         gtol, maxfev, diag, mode, factor, nprint, info, nfev, njev, ipvt, qtf, wa1,
                         wa2, wa3, wa4);
}

int lmdif1_(const LmdifFunctor& fcn, int* m, int* n, double* x, double* fvec, double* tol,
            int* info, int* iwa, double* wa, int* lwa) {
  if (!AllSet(m, n, x, fvec, tol, info, iwa, wa, lwa) || *n <= 0 || *m < *n || !GoodTol(tol) ||
      *lwa < static_cast<long long>(*m) * *n + 5LL * *n + *m)
    return Reject(info);
  int mm = *m, nn = *n, maxfev = 200 * (nn + 1), mode = 1, nprint = 0, nfev = 0, ldfjac = mm;
  double gtol = 0.0, epsfcn = 0.0, factor = 100.0;
  lmdif_(fcn, &mm, &nn, x, fvec, tol, tol, &gtol, &maxfev, &epsfcn, wa, &mode, &factor, &nprint,
         info, &nfev, wa + 5 * nn + mm, &ldfjac, iwa, wa + nn, wa + 2 * nn, wa + 3 * nn,
         wa + 4 * nn, wa + 5 * nn);
  if (*info == 8) *info = 4;
  return 0;
}

namespace {

// lmder1_ and lmstr1_ are the same driver over different full routines; fjac holds the
// whole m×n Jacobian for lmder_ but only the n×n triangle for lmstr_.
template <class Fn, class Full>
int LmSimpleDriver(Full full, const Fn& fcn, int* m, int* n, double* x, double* fvec, double* fjac,
                   int* ldfjac, bool ldfjacNeedsM, double* tol, int* info, int* ipvt, double* wa,
                   int* lwa) {
  if (!AllSet(m, n, x, fvec, fjac, ldfjac, tol, info, ipvt, wa, lwa) || *n <= 0 || *m < *n ||
      *ldfjac < (ldfjacNeedsM ? *m : *n) || !GoodTol(tol) || *lwa < 5LL * *n + *m)
    return Reject(info);
  int mm = *m, nn = *n, ld = *ldfjac, maxfev = 100 * (nn + 1), mode = 1, nprint = 0;
  int nfev = 0, njev = 0;
  double gtol = 0.0, factor = 100.0;
  full(fcn, &mm, &nn, x, fvec, fjac, &ld, tol, tol, &gtol, &maxfev, wa, &mode, &factor, &nprint,
       info, &nfev, &njev, ipvt, wa + nn, wa + 2 * nn, wa + 3 * nn, wa + 4 * nn, wa + 5 * nn);
  if (*info == 8) *info = 4;
  return 0;
}

}  // namespace

int lmder1_(const LmderFunctor& fcn, int* m, int* n, double* x, double* fvec, double* fjac,
            int* ldfjac, double* tol, int* info, int* ipvt, double* wa, int* lwa) {
  return LmSimpleDriver(lmder_, fcn, m, n, x, fvec, fjac, ldfjac, true, tol, info, ipvt, wa, lwa);
}

int lmstr1_(const LmstrFunctor& fcn, int* m, int* n, double* x, double* fvec, double* fjac,
            int* ldfjac, double* tol, int* info, int* ipvt, double* wa, int* lwa) {
  return LmSimpleDriver(lmstr_, fcn, m, n, x, fvec, fjac, ldfjac, false, tol, info, ipvt, wa, lwa);
}

int chkder_(int* m, int* n, double* x, double* fvec, double* fjac, int* ldfjac, double* xp,
            double* fvecp, int* mode, double* err) {
  if (!AllSet(m, n, x, fvec, fjac, ldfjac, xp, fvecp, mode, err) || *m <= 0 || *n <= 0 ||
      *ldfjac < *m || (*mode != 1 && *mode != 2))
    return 0;
  ::chkder(*m, *n, x, fvec, fjac, *ldfjac, xp, fvecp, *mode, err);
  return 0;
}

int fdjac1_(const HybrdFunctor& fcn, int* n, double* x, double* fvec, double* fjac, int* ldfjac,
            int* iflag, int* ml, int* mu, double* epsfcn, double* wa1, double* wa2) {
  if (!AllSet(n, x, fvec, fjac, ldfjac, iflag, ml, mu, epsfcn, wa1, wa2) || *n <= 0 ||
      *ldfjac < *n || *ml < 0 || *mu < 0)
    return 0;
  CallContext<HybrdFunctor> ctx(fcn, iflag);
  ::fdjac1(CallHybrd, &ctx, *n, x, fvec, fjac, *ldfjac, *ml, *mu, *epsfcn, wa1, wa2);
  Finish(ctx, nullptr);
  return 0;
}

int fdjac2_(const LmdifFunctor& fcn, int* m, int* n, double* x, double* fvec, double* fjac,
            int* ldfjac, int* iflag, double* epsfcn, double* wa) {
  if (!AllSet(m, n, x, fvec, fjac, ldfjac, iflag, epsfcn, wa) || *m <= 0 || *n <= 0 || *ldfjac < *m)
    return 0;
  CallContext<LmdifFunctor> ctx(fcn, iflag);
  ::fdjac2(CallLmdif, &ctx, *m, *n, x, fvec, fjac, *ldfjac, *epsfcn, wa);
  Finish(ctx, nullptr);
  return 0;
}

double dpmpar_(int* i) {
  // The published decimal constants, deliberately not DBL_EPSILON, DBL_MIN and DBL_MAX.
  if (!i) return 0.0;
  switch (*i) {
    case 1:
      return 2.22044604926e-16;
    case 2:
      return 2.22507385852e-308;
    case 3:
      return 1.79769313485e+308;
    default:
      return 0.0;
  }
}

double enorm_(int* n, double* x) {
  if (!AllSet(n, x) || *n <= 0) return 0.0;
  return ::enorm(*n, x);
}

int dogleg_(int* n, double* r, int* lr, double* diag, double* qtb, double* delta, double* x,
            double* wa1, double* wa2) {
  if (!AllSet(n, r, lr, diag, qtb, delta, x, wa1, wa2) || *n <= 0 || *lr < PackedUpper(*n))
    return 0;
  ::dogleg(*n, r, *lr, diag, qtb, *delta, x, wa1, wa2);
  return 0;
}

int lmpar_(int* n, double* r, int* ldr, int* ipvt, double* diag, double* qtb, double* delta,
           double* par, double* x, double* sdiag, double* wa1, double* wa2) {
  if (!AllSet(n, r, ldr, ipvt, diag, qtb, delta, par, x, sdiag, wa1, wa2) || *n <= 0 || *ldr < *n)
    return 0;
  ::lmpar(*n, r, *ldr, ipvt, diag, qtb, *delta, par, x, sdiag, wa1, wa2);
  return 0;
}

int qform_(int* m, int* n, double* q, int* ldq, double* wa) {
  if (!AllSet(m, n, q, ldq, wa) || *m <= 0 || *n <= 0 || *ldq < *m) return 0;
  ::qform(*m, *n, q, *ldq, wa);
  return 0;
}

int qrfac_(int* m, int* n, double* a, int* lda, bool* pivot, int* ipvt, int* lipvt, double* rdiag,
           double* acnorm, double* wa) {
  if (!AllSet(m, n, a, lda, pivot, ipvt, lipvt, rdiag, acnorm, wa) || *m <= 0 || *n <= 0 ||
      *lda < *m || (*pivot && *lipvt < *n))
    return 0;
  ::qrfac(*m, *n, a, *lda, *pivot ? 1 : 0, ipvt, *lipvt, rdiag, acnorm, wa);
  return 0;
}

int qrsolv_(int* n, double* r, int* ldr, int* ipvt, double* diag, double* qtb, double* x,
            double* sdiag, double* wa) {
  if (!AllSet(n, r, ldr, ipvt, diag, qtb, x, sdiag, wa) || *n <= 0 || *ldr < *n) return 0;
  ::qrsolv(*n, r, *ldr, ipvt, diag, qtb, x, sdiag, wa);
  return 0;
}

int r1mpyq_(int* m, int* n, double* a, int* lda, double* v, double* w) {
  if (!AllSet(m, n, a, lda, v, w) || *m <= 0 || *n <= 0 || *lda < *m) return 0;
  ::r1mpyq(*m, *n, a, *lda, v, w);
  return 0;
}

int r1updt_(int* m, int* n, double* s, int* ls, double* u, double* v, double* w, bool* sing) {
  if (!AllSet(m, n, s, ls, u, v, w, sing) || *n <= 0 || *m < *n ||
      *ls < static_cast<long long>(*n) * (2LL * *m - *n + 1) / 2)
    return 0;
  int singular = 0;
  ::r1updt(*m, *n, s, *ls, u, v, w, &singular);
  *sing = singular != 0;
  return 0;
}

int rwupdt_(int* n, double* r, int* ldr, double* w, double* b, double* alpha, double* cos,
            double* sin) {
  if (!AllSet(n, r, ldr, w, b, alpha, cos, sin) || *n <= 0 || *ldr < *n) return 0;
  ::rwupdt(*n, r, *ldr, w, b, alpha, cos, sin);
  return 0;
}

}  // namespace REmath
