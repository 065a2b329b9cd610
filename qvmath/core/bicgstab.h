// SPDX-License-Identifier: MIT
// BiCGSTAB: the stabilised biconjugate-gradient method for general linear systems given
// only by a matrix-vector product.
#pragma once

#include <qvmath/platform/export.h>

namespace REmath {

/// Solves the general (non-symmetric) system A·x = b of order n by BiCGSTAB without
/// preconditioning, seeing A only through matvec(ctx, in, out), which must compute
/// out = A·in for vectors of n doubles (ctx is passed through untouched).
///
/// Conventions: the residual is kept as r = A·x − b and x is corrected by subtraction;
/// the shadow residual is the initial r. The loop runs while tol²·(b·b) < r·r (strict) and
/// has no iteration limit: it ends only on convergence or breakdown, so a system whose
/// residual never falls below tol·‖b‖ makes the routine iterate without end (callers
/// choose tol accordingly; tol = 0 asks for an exactly zero residual). Each iteration
/// calls matvec twice. Vector arithmetic is done by BLAS level 1 (ddot, daxpy, dcopy,
/// dscal). Seven work vectors of n doubles are allocated per call (r, r̂, p, v = A·p, the
/// working residual s, t = A·s and the running iterate) and released on every path.
///
/// Breakdown, with the single threshold 1e-40:
/// - r̂·r̂ < 1e-40 before the first iteration (also when the starting guess solves the
///   system exactly): −1, x unchanged;
/// - |r̂·v| < 1e-40 in an iteration: −1, x holds the previous iterate;
/// - when |s·t| or |t·t| < 1e-40 the step ω is set to 0; the next direction update then
///   divides by ω and its β is not finite. If the residual test ends the loop at that point
///   the iterations are returned as usual (the identity operator with x = 0 returns 1 with
///   x = b this way); if the loop would go on, −1 is returned with x holding the iterate
///   of that iteration, instead of continuing with non-finite iterates. The same holds for
///   any other non-finite β.
///
/// @param[in] n order of the system.
/// @param[in] matvec the product with A; must not retain the pointers it is given.
/// @param[in] ctx passed to matvec as its first argument.
/// @param[in] b the right-hand side, n doubles (read before the first iteration only).
/// @param[in,out] x the starting guess on entry, the approximation on return.
/// @param[in] tol relative tolerance on the residual norm.
/// @return the number of iterations performed (0 when the starting guess already meets
///         tol), or −1 on breakdown. n < 1 returns 0 without calling matvec.
/// @throws std::bad_alloc when the work vectors cannot be allocated; anything matvec
///         throws passes through. x is then untouched: it is written only on return.
QVMATH_API int bicgstab(int n, void (*matvec)(void* ctx, const double* in, double* out), void* ctx,
                        const double* b, double* x, double tol);

}  // namespace REmath
