// SPDX-License-Identifier: MIT
#include <qvmath/optim/brent_zero.h>

#include <cmath>
#include <limits>

// Brent, "Algorithms for Minimization without Derivatives" (1973), chapter 4: b is the best
// estimate, a the previous one, c the other end of the bracket [b, c]. Each step tries
// inverse quadratic interpolation (three distinct points) or the secant, and falls back to
// bisection when the interpolated step is not well inside the bracket or the steps do not
// shrink fast enough.
void BrentZeroFun(double (*f)(double, void*), double a, double b, double tol, int maxIter,
                  int& iters, double& root, int& status, void* ctx) {
  iters = -1;
  status = kBrentNoBracket;
  if (!f) return;
  double fa = f(a, ctx);
  double fb = f(b, ctx);
  if (!std::isfinite(fa) || !std::isfinite(fb) || (fa > 0) == (fb > 0)) {
    // Same sign: only an exact zero at one end still counts as a root.
    if (fa == 0.0 || fb == 0.0) {
      iters = 0;
      root = fa == 0.0 ? a : b;
      status = kBrentConverged;
    }
    return;
  }
  if (tol < 0) tol = 0;
  const double eps = std::numeric_limits<double>::epsilon();
  double c = a, fc = fa;
  double d = b - a, e = d;
  for (iters = 0;; ++iters) {
    if ((fb > 0) == (fc > 0)) {  // keep the root between b and c
      c = a, fc = fa;
      d = e = b - a;
    }
    if (std::fabs(fc) < std::fabs(fb)) {  // b must be the better end
      a = b, b = c, c = a;
      fa = fb, fb = fc, fc = fa;
    }
    const double tol1 = 2.0 * eps * std::fabs(b) + 0.5 * tol;
    const double xm = 0.5 * (c - b);
    if (std::fabs(xm) <= tol1 || fb == 0.0) {
      root = b;
      status = kBrentConverged;
      return;
    }
    if (iters >= maxIter) {
      root = b;
      status = kBrentIterLimit;
      return;
    }
    if (std::fabs(e) >= tol1 && std::fabs(fa) > std::fabs(fb)) {
      double p, q;
      const double s = fb / fa;
      if (a == c) {  // secant
        p = 2.0 * xm * s;
        q = 1.0 - s;
      } else {  // inverse quadratic interpolation
        const double qa = fa / fc, r = fb / fc;
        p = s * (2.0 * xm * qa * (qa - r) - (b - a) * (r - 1.0));
        q = (qa - 1.0) * (r - 1.0) * (s - 1.0);
      }
      if (p > 0) q = -q;
      p = std::fabs(p);
      if (2.0 * p < std::fmin(3.0 * xm * q - std::fabs(tol1 * q), std::fabs(e * q))) {
        e = d;
        d = p / q;
      } else {
        d = xm, e = d;
      }
    } else {
      d = xm, e = d;
    }
    a = b, fa = fb;
    b += std::fabs(d) > tol1 ? d : (xm > 0 ? tol1 : -tol1);
    fb = f(b, ctx);
    if (!std::isfinite(fb)) {  // the function left the reals inside its own bracket
      root = a;
      status = kBrentIterLimit;
      ++iters;
      return;
    }
  }
}
