// SPDX-License-Identifier: MIT
#include <qvmath/core/bicgstab.h>
#include <qvmath/core/detail/lapack.h>

#include <cmath>
#include <cstddef>
#include <memory>

namespace REmath {

namespace blas = detail::lapack;

int bicgstab(int n, void (*matvec)(void* ctx, const double* in, double* out), void* ctx,
             const double* b, double* x, double tol) {
  // One threshold for every breakdown test, as the method has always used.
  constexpr double kBreakdown = 1e-40;
  if (n < 1) return 0;

  // Seven vectors in one block, freed on every path (returns and exceptions alike). The
  // iterate is run in xk and copied to x only on return, so a throwing matvec leaves the
  // caller's x as it was.
  const std::size_t len = static_cast<std::size_t>(n);
  std::unique_ptr<double[]> block(new double[7 * len]);
  double* const r = block.get();
  double* const rhat = r + len;
  double* const p = rhat + len;
  double* const v = p + len;
  double* const w = v + len;  // the working residual s of the method
  double* const t = w + len;
  double* const xk = t + len;

  blas::copy(n, x, xk);
  const double bb = blas::dot(n, b, b);
  matvec(ctx, xk, r);
  blas::axpy(n, -1.0, b, r);  // r = A·x − b
  blas::copy(n, r, p);
  blas::copy(n, r, w);
  blas::copy(n, r, rhat);
  if (blas::dot(n, rhat, rhat) < kBreakdown) return -1;

  double rho = blas::dot(n, rhat, w);
  double rr = blas::dot(n, r, r);
  int k = 0;
  const double target = tol * tol * bb;
  while (target < rr) {
    matvec(ctx, p, v);
    const double sigma = blas::dot(n, rhat, v);
    if (std::abs(sigma) < kBreakdown) {
      blas::copy(n, xk, x);
      return -1;
    }
    const double alpha = rho / sigma;
    blas::axpy(n, -alpha, v, r);
    blas::axpy(n, -alpha, v, w);
    matvec(ctx, w, t);
    const double wt = blas::dot(n, w, t);
    const double tt = blas::dot(n, t, t);
    const double omega = (std::abs(wt) < kBreakdown || std::abs(tt) < kBreakdown) ? 0.0 : wt / tt;
    blas::axpy(n, -omega, t, r);
    blas::axpy(n, -alpha, p, xk);
    blas::axpy(n, -omega, w, xk);
    blas::axpy(n, -omega, t, w);
    const double rhoNext = blas::dot(n, rhat, w);
    const double beta = rhoNext * ((alpha / omega) / rho);
    rho = rhoNext;
    rr = blas::dot(n, r, r);
    ++k;
    if (!std::isfinite(beta)) {
      // ω = 0 (or ρ = 0) made β non-finite. Finishing here is fine because β is never
      // used; going on would turn every iterate into NaN, so report a breakdown instead.
      blas::copy(n, xk, x);
      return target < rr ? -1 : k;
    }
    blas::scal(n, beta, p);
    blas::axpy(n, 1.0, w, p);
    blas::axpy(n, -(beta * omega), v, p);
  }
  blas::copy(n, xk, x);
  return k;
}

}  // namespace REmath
