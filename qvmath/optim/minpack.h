// SPDX-License-Identifier: MIT
// The MINPACK family (Powell hybrid and Levenberg-Marquardt solvers, the derivative checker
// and the building blocks) with the user function passed as a REmath functor object.
#pragma once

#include <qvmath/core/functor.h>
#include <qvmath/platform/export.h>

namespace REmath {

// Conventions shared by every routine below, as in the published MINPACK and its mechanical
// translation: every argument by pointer, matrices column-major with the given leading
// dimension, pivot indices (`ipvt`) 1-based, each routine returning int 0 (except `dpmpar_`
// and `enorm_`). Argument lists, work-array layouts, info codes and stopping tests are
// MINPACK's; only the user function differs: the functor's const call operation is called
// exactly where MINPACK calls the user subroutine, with pointers to the same arguments.
//
// The iflag protocol: on entry *iflag is 1 (compute fvec), 2 (compute the Jacobian; for
// `lmstr_` row iflag - 2, counted from 0, into fjrow) or 0 (a print request every nprint
// iterations when nprint > 0, and once more at the end). A functor that sets *iflag negative
// stops the solver, which returns with info set to that value. A non-negative value the
// functor leaves in *iflag is ignored: every call receives the value MINPACK prescribes.
// The pointers to m, n and ldfjac point to copies, so the functor cannot disturb the solver.
//
// Exceptions: an exception thrown by the functor stops the solver as a negative iflag would
// and is rethrown to the caller of the routine; x, fvec and the work arrays are then
// unspecified.
//
// Thread safety: unlike the classic translation, which keeps its working scalars in static
// storage, these routines keep all state on the caller's stack and in the caller's arrays.
// They are re-entrant and thread-safe: threads may solve different problems at once, and a
// functor may itself call any routine of the family. One set of arrays must not be shared
// by two calls running at the same time.

/// User function of `hybrd_`, `hybrd1_` and `fdjac1_`: (n, x, fvec, iflag).
using HybrdFunctor = Functor4<void, int*, double*, double*, int*>;
/// User function of `hybrj_` and `hybrj1_`: (n, x, fvec, fjac, ldfjac, iflag).
using HybrjFunctor = Functor6<void, int*, double*, double*, double*, int*, int*>;
/// User function of `lmdif_`, `lmdif1_` and `fdjac2_`: (m, n, x, fvec, iflag).
using LmdifFunctor = Functor5<void, int*, int*, double*, double*, int*>;
/// User function of `lmder_` and `lmder1_`: (m, n, x, fvec, fjac, ldfjac, iflag).
using LmderFunctor = Functor7<void, int*, int*, double*, double*, double*, int*, int*>;
/// User function of `lmstr_` and `lmstr1_`: (m, n, x, fvec, fjrow, iflag).
using LmstrFunctor = Functor6<void, int*, int*, double*, double*, double*, int*>;

// ---------------------------------------------------------------------------------------
// Systems of n equations in n unknowns (Powell hybrid method)
// ---------------------------------------------------------------------------------------

/// Finds x with fcn(x) = 0 for n functions of n variables by the Powell hybrid method, the
/// Jacobian by forward differences (banded with ml, mu sub- and super-diagonals).
/// Arguments, their layouts and the info codes 1..5 are MINPACK's; nfev counts the calls
/// with iflag 1 or 2.
/// @return 0. Bad input (a null pointer, n <= 0, xtol < 0 or NaN, maxfev <= 0, ml or mu < 0,
///         factor <= 0, ldfjac < n, lr < n(n+1)/2, epsfcn NaN, or mode 2 with a diag
///         entry <= 0) sets info = nfev = 0 at once without calling fcn, everything else
///         untouched. A negative iflag from fcn gives info = that value.
QVMATH_API int hybrd_(const HybrdFunctor& fcn, int* n, double* x, double* fvec, double* xtol,
                      int* maxfev, int* ml, int* mu, double* epsfcn, double* diag, int* mode,
                      double* factor, int* nprint, int* info, int* nfev, double* fjac, int* ldfjac,
                      double* r, int* lr, double* qtf, double* wa1, double* wa2, double* wa3,
                      double* wa4);

/// Finds x with fcn(x) = 0 for n functions of n variables by the Powell hybrid method with
/// the Jacobian supplied by fcn (iflag 2). nfev counts the iflag-1 calls, njev the iflag-2 ones.
/// @return 0. Bad input (a null pointer, n <= 0, ldfjac < n, xtol < 0 or NaN, maxfev <= 0,
///         factor <= 0, lr < n(n+1)/2, or mode 2 with a diag entry <= 0) sets
///         info = nfev = njev = 0 at once without calling fcn. A negative iflag gives info =
///         that value.
QVMATH_API int hybrj_(const HybrjFunctor& fcn, int* n, double* x, double* fvec, double* fjac,
                      int* ldfjac, double* xtol, int* maxfev, double* diag, int* mode,
                      double* factor, int* nprint, int* info, int* nfev, int* njev, double* r,
                      int* lr, double* qtf, double* wa1, double* wa2, double* wa3, double* wa4);

/// Simple driver of `hybrd_`: maxfev = 200(n + 1), xtol = tol, ml = mu = n - 1, epsfcn = 0,
/// mode 2 with diag all 1, factor 100, nprint 0; wa is split as MINPACK does (diag, qtf,
/// wa1..wa4, r, then fjac with leading dimension n).
/// @return 0. info as `hybrd_` with 5 mapped to 4. Bad input (a null pointer, n <= 0,
///         tol < 0 or NaN, lwa < n(3n + 13)/2) sets info = 0 at once without calling fcn.
QVMATH_API int hybrd1_(const HybrdFunctor& fcn, int* n, double* x, double* fvec, double* tol,
                       int* info, double* wa, int* lwa);

/// Simple driver of `hybrj_`: maxfev = 100(n + 1), xtol = tol, mode 2 with diag all 1,
/// factor 100, nprint 0; wa is split as MINPACK does (diag, qtf, wa1..wa4, r).
/// @return 0. info as `hybrj_` with 5 mapped to 4. Bad input (a null pointer, n <= 0,
///         ldfjac < n, tol < 0 or NaN, lwa < n(n + 13)/2) sets info = 0 at once without
///         calling fcn.
QVMATH_API int hybrj1_(const HybrjFunctor& fcn, int* n, double* x, double* fvec, double* fjac,
                       int* ldfjac, double* tol, int* info, double* wa, int* lwa);

// ---------------------------------------------------------------------------------------
// Nonlinear least squares, m residuals in n unknowns (Levenberg-Marquardt)
// ---------------------------------------------------------------------------------------

/// Minimises the sum of squares of m functions of n variables by Levenberg-Marquardt, the
/// Jacobian by forward differences (calls with iflag 2). Info codes 1..8 are MINPACK's;
/// nfev counts the calls with iflag 1 or 2. On return fjac holds the upper triangle R of the
/// pivoted QR factors, ipvt the 1-based column permutation.
/// @return 0. Bad input (a null pointer, n <= 0, m < n, ldfjac < m, ftol, xtol or gtol < 0
///         or NaN, maxfev <= 0, factor <= 0, epsfcn NaN, or mode 2 with a diag entry <= 0)
///         sets info = nfev = 0 at once without calling fcn. A negative iflag gives info =
///         that value.
QVMATH_API int lmdif_(const LmdifFunctor& fcn, int* m, int* n, double* x, double* fvec,
                      double* ftol, double* xtol, double* gtol, int* maxfev, double* epsfcn,
                      double* diag, int* mode, double* factor, int* nprint, int* info, int* nfev,
                      double* fjac, int* ldfjac, int* ipvt, double* qtf, double* wa1, double* wa2,
                      double* wa3, double* wa4);

/// Minimises the sum of squares of m functions of n variables by Levenberg-Marquardt with
/// the m×n Jacobian supplied by fcn (iflag 2). Outputs as `lmdif_`; njev counts the
/// iflag-2 calls.
/// @return 0. Bad input as `lmdif_` (without epsfcn) sets info = nfev = njev = 0 at once
///         without calling fcn. A negative iflag gives info = that value.
QVMATH_API int lmder_(const LmderFunctor& fcn, int* m, int* n, double* x, double* fvec,
                      double* fjac, int* ldfjac, double* ftol, double* xtol, double* gtol,
                      int* maxfev, double* diag, int* mode, double* factor, int* nprint, int* info,
                      int* nfev, int* njev, int* ipvt, double* qtf, double* wa1, double* wa2,
                      double* wa3, double* wa4);

/// Minimises the sum of squares of m functions of n variables by Levenberg-Marquardt using
/// n×n storage: fcn supplies the Jacobian one row at a time (iflag 2 + row, rows from 0).
/// Outputs as `lmder_`, with fjac the n×n upper triangle R.
/// @return 0. Bad input as `lmder_` but with ldfjac < n sets info = nfev = njev = 0 at once
///         without calling fcn. A negative iflag gives info = that value.
QVMATH_API int lmstr_(const LmstrFunctor& fcn, int* m, int* n, double* x, double* fvec,
                      double* fjac, int* ldfjac, double* ftol, double* xtol, double* gtol,
                      int* maxfev, double* diag, int* mode, double* factor, int* nprint, int* info,
                      int* nfev, int* njev, int* ipvt, double* qtf, double* wa1, double* wa2,
                      double* wa3, double* wa4);

/// Simple driver of `lmdif_`: maxfev = 200(n + 1), ftol = xtol = tol, gtol = 0, epsfcn = 0,
/// mode 1, factor 100, nprint 0; wa is split as MINPACK does (diag, qtf, wa1..wa3, wa4 of
/// length m, then fjac with leading dimension m); iwa receives ipvt.
/// @return 0. info as `lmdif_` with 8 mapped to 4. Bad input (a null pointer, n <= 0,
///         m < n, tol < 0 or NaN, lwa < mn + 5n + m) sets info = 0 at once without calling
///         fcn.
QVMATH_API int lmdif1_(const LmdifFunctor& fcn, int* m, int* n, double* x, double* fvec,
                       double* tol, int* info, int* iwa, double* wa, int* lwa);

/// Simple driver of `lmder_`: maxfev = 100(n + 1), ftol = xtol = tol, gtol = 0, mode 1,
/// factor 100, nprint 0; wa is split as MINPACK does (diag, qtf, wa1..wa3, wa4 of length m).
/// @return 0. info as `lmder_` with 8 mapped to 4. Bad input (a null pointer, n <= 0,
///         m < n, ldfjac < m, tol < 0 or NaN, lwa < 5n + m) sets info = 0 at once without
///         calling fcn.
QVMATH_API int lmder1_(const LmderFunctor& fcn, int* m, int* n, double* x, double* fvec,
                       double* fjac, int* ldfjac, double* tol, int* info, int* ipvt, double* wa,
                       int* lwa);

/// Simple driver of `lmstr_`, with the parameters of `lmder1_`.
/// @return 0. info as `lmstr_` with 8 mapped to 4. Bad input (a null pointer, n <= 0,
///         m < n, ldfjac < n, tol < 0 or NaN, lwa < 5n + m) sets info = 0 at once without
///         calling fcn.
QVMATH_API int lmstr1_(const LmstrFunctor& fcn, int* m, int* n, double* x, double* fvec,
                       double* fjac, int* ldfjac, double* tol, int* info, int* ipvt, double* wa,
                       int* lwa);

// ---------------------------------------------------------------------------------------
// Derivative checker, finite-difference Jacobians and machine constants
// ---------------------------------------------------------------------------------------

/// Checks a user Jacobian fjac (m×n) at x against function values: mode 1 fills xp with a
/// neighbouring point; mode 2 takes fvec at x and fvecp at xp and sets err[i] in [0, 1]
/// (1: row i looks correct, 0: wrong).
/// @return 0. A null pointer, m <= 0, n <= 0, ldfjac < m or a mode other than 1, 2 leaves
///         everything untouched.
QVMATH_API int chkder_(int* m, int* n, double* x, double* fvec, double* fjac, int* ldfjac,
                       double* xp, double* fvecp, int* mode, double* err);

/// Forward-difference approximation of the n×n Jacobian of fcn at x into fjac, using fvec =
/// fcn(x); with ml + mu + 1 < n only the band is computed (fewer calls). Every call
/// receives the caller's iflag variable itself, as in MINPACK; the routine stops at the
/// first call that leaves it negative.
/// @param[in,out] iflag the value handed to fcn; on return what fcn left in it.
/// @return 0. A null pointer, n <= 0, ldfjac < n, ml < 0 or mu < 0 leaves everything
///         untouched (fcn not called).
QVMATH_API int fdjac1_(const HybrdFunctor& fcn, int* n, double* x, double* fvec, double* fjac,
                       int* ldfjac, int* iflag, int* ml, int* mu, double* epsfcn, double* wa1,
                       double* wa2);

/// Forward-difference approximation of the m×n Jacobian of fcn at x into fjac, using fvec =
/// fcn(x); iflag handled as in `fdjac1_`.
/// @return 0. A null pointer, m <= 0, n <= 0 or ldfjac < m leaves everything untouched
///         (fcn not called).
QVMATH_API int fdjac2_(const LmdifFunctor& fcn, int* m, int* n, double* x, double* fvec,
                       double* fjac, int* ldfjac, int* iflag, double* epsfcn, double* wa);

/// MINPACK's machine constants: for *i = 1, 2, 3 the published twelve-digit values
/// 2.22044604926e-16 (precision), 2.22507385852e-308 (smallest magnitude) and
/// 1.79769313485e+308 (largest magnitude), kept as published rather than the exact limits
/// of double. The solvers themselves use the exact limits internally.
/// @return the constant; 0 for a null i or any other index.
QVMATH_API double dpmpar_(int* i);

/// Euclidean norm of x[0..n) without destructive underflow or overflow (MINPACK's
/// three-range scaled sum).
/// @return the norm; 0 for a null pointer or n <= 0.
QVMATH_API double enorm_(int* n, double* x);

// ---------------------------------------------------------------------------------------
// Building blocks (QR factorisation, trust-region steps, Givens updates)
// ---------------------------------------------------------------------------------------
// Each leaves every argument untouched when a pointer is null or a size is out of range
// (the ranges are named per routine); otherwise it does exactly what MINPACK's routine of
// the same name does.

/// Dogleg step x of the trust-region problem min |Rx - qtb| subject to |diag·x| <= delta,
/// R upper triangular n×n stored by rows in r (packed, lr >= n(n+1)/2).
/// @return 0. Untouched for n <= 0 or lr < n(n+1)/2.
QVMATH_API int dogleg_(int* n, double* r, int* lr, double* diag, double* qtb, double* delta,
                       double* x, double* wa1, double* wa2);

/// Levenberg-Marquardt parameter par and step x for the trust region delta, given the
/// pivoted QR factors (r, ipvt) of a matrix and qtb = Qᵀb; r's strict lower triangle
/// receives the triangle S of (Pᵀ(AᵀA + par·D²)P) = SᵀS, sdiag its diagonal.
/// @return 0. Untouched for n <= 0 or ldr < n.
QVMATH_API int lmpar_(int* n, double* r, int* ldr, int* ipvt, double* diag, double* qtb,
                      double* delta, double* par, double* x, double* sdiag, double* wa1,
                      double* wa2);

/// Accumulates the m×m orthogonal Q from the Householder vectors that `qrfac_` left in the
/// first min(m, n) columns of q.
/// @return 0. Untouched for m <= 0, n <= 0 or ldq < m.
QVMATH_API int qform_(int* m, int* n, double* q, int* ldq, double* wa);

/// Householder QR factorisation of the m×n matrix a, with column pivoting when *pivot
/// (ipvt 1-based, lipvt >= n); a receives R above the diagonal (rdiag its diagonal) and
/// the Householder vectors below; acnorm the column norms of the input.
/// @return 0. Untouched for m <= 0, n <= 0, lda < m, or *pivot with lipvt < n.
QVMATH_API int qrfac_(int* m, int* n, double* a, int* lda, bool* pivot, int* ipvt, int* lipvt,
                      double* rdiag, double* acnorm, double* wa);

/// Solves the regularised least-squares system [A; D]x ≈ [b; 0] from the pivoted QR factors
/// of A (r, ipvt, qtb = Qᵀb) and the diagonal D = diag; sdiag and r's strict lower triangle
/// receive the triangle S as in `lmpar_`.
/// @return 0. Untouched for n <= 0 or ldr < n.
QVMATH_API int qrsolv_(int* n, double* r, int* ldr, int* ipvt, double* diag, double* qtb, double* x,
                       double* sdiag, double* wa);

/// Replaces the m×n matrix a by a·Q, Q = gv(n-1)···gv(1)·gw(1)···gw(n-1) the product of the
/// Givens rotations described by v and w (as `r1updt_` leaves them).
/// @return 0. Untouched for m <= 0, n <= 0 or lda < m.
QVMATH_API int r1mpyq_(int* m, int* n, double* a, int* lda, double* v, double* w);

/// Rank-one update of a lower trapezoidal matrix: given S (m×n, stored by columns, packed,
/// ls >= n(2m - n + 1)/2) finds orthogonal Q with (S + u·vᵀ)·Q = S̃ lower trapezoidal and
/// overwrites s with S̃; v and w receive Q's Givens rotations (see `r1mpyq_`); *sing
/// reports a zero diagonal element of S̃.
/// @return 0. Untouched for n <= 0, m < n or ls < n(2m - n + 1)/2.
QVMATH_API int r1updt_(int* m, int* n, double* s, int* ls, double* u, double* v, double* w,
                       bool* sing);

/// Adds the row w to the n×n upper triangular R (and its right-hand side b, residual alpha
/// of the least-squares problem) by Givens rotations: R'ᵀR' = RᵀR + wwᵀ; cos and sin
/// receive the rotations.
/// @return 0. Untouched for n <= 0 or ldr < n.
QVMATH_API int rwupdt_(int* n, double* r, int* ldr, double* w, double* b, double* alpha,
                       double* cos, double* sin);

}  // namespace REmath
