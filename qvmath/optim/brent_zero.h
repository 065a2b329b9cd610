// SPDX-License-Identifier: MIT
// Brent's bracketing root finder for a scalar function of one variable.
#pragma once

#include <qvmath/platform/export.h>

/// Outcomes of `BrentZeroFun` in its `status` argument.
enum BrentZeroStatus {
  kBrentConverged = 0,  ///< root found to the tolerance (or an end value is exactly 0)
  kBrentNoBracket = 1,  ///< f(a), f(b) of the same sign, not finite, or bad arguments
  kBrentIterLimit = 2,  ///< maxIter iterations done; root is the best estimate so far
};

/// A root of f(·, ctx) in [a, b] by Brent's method (bisection, secant and inverse quadratic
/// interpolation, with a bracket kept at every step, so the iteration always converges).
/// Convergence: the bracket half-width falls below 2·eps·|root| + tol/2, or f(root) == 0.
/// @param[in] f the function; called with ctx as its second argument.
/// @param[in] a, b the ends of the bracket, in either order; f(a) and f(b) must have
///            opposite signs (or one of them be zero).
/// @param[in] tol the absolute tolerance on the root (values below 0 act as 0).
/// @param[in] maxIter the largest number of iterations (function evaluations after the two
///            end values).
/// @param[out] iters the iterations done; -1 when there is no bracket.
/// @param[out] root the root (status 0), the best estimate (status 2); untouched for status 1.
/// @param[out] status kBrentConverged, kBrentNoBracket or kBrentIterLimit.
QVMATH_API void BrentZeroFun(double (*f)(double, void*), double a, double b, double tol,
                             int maxIter, int& iters, double& root, int& status, void* ctx);
