// SPDX-License-Identifier: MIT
// Internal bodies of the symmetric eigen-solver: Householder tridiagonalisation with
// accumulated transformations and the implicit-shift QL iteration, for Real = float or
// double. Shared by tridiag_eigen.cpp and eigen_sa.cpp so that the 3 × 3 path can be
// specialised by the compiler. Not installed.
#pragma once

#include <cmath>

namespace REmath {
namespace detail {

// sqrt(a² + b²) without overflow or destructive underflow: the larger magnitude is factored
// out. The branch order (A > B, then B = 0) is the library's and decides the result for
// equal magnitudes: hypot(x, x) = |x|·sqrt(2) through the second form.
template <class Real>
inline Real OverflowFreeHypot(Real a, Real b) {
  const Real A = std::abs(a);
  const Real B = std::abs(b);
  if (A > B) {
    const Real q = B / A;
    return A * std::sqrt(Real(1) + q * q);
  }
  if (B == Real(0)) return Real(0);
  const Real q = A / B;
  return B * std::sqrt(Real(1) + q * q);
}

// Householder reduction of the symmetric n × n matrix a (rows a[i], only the lower triangle
// is read) to tridiagonal form, 0-based. On return d holds the diagonal, e the
// sub-diagonal in e[1..n-1] with e[0] = 0, and a the orthogonal matrix Q of the reduction
// (A = Q·T·Qᵀ). Every operation is in Real: the float form never widens to double.
//
// Row i (from the last) is scaled by the sum of magnitudes of its leading i elements so
// that forming h = σ² cannot overflow; a zero scale means the row is already reduced and
// the reflection is skipped (d[i] = 0 then marks "no transformation" for the
// accumulation below, which tests d[i] against exact zero).
//
// Rows is Real** or a pointer to fixed-size rows (Real (*)[3]); kOrder > 0 fixes the order
// at compile time (nArg must then equal it). Both only let the 3 × 3 path keep its matrix
// in registers: the arithmetic and its order are the same for every instantiation.
template <int kOrder = 0, class Rows, class Real>
inline void Tred2(Rows a, int nArg, Real* d, Real* e) {
  const int n = kOrder > 0 ? kOrder : nArg;
  if (n < 1) return;
  for (int i = n - 1; i > 0; --i) {
    const int l = i - 1;
    Real h = Real(0);
    if (l > 0) {
      Real scale = Real(0);
      for (int k = 0; k < i; ++k) scale += std::abs(a[i][k]);
      if (scale == Real(0)) {
        e[i] = a[i][l];
      } else {
        for (int k = 0; k < i; ++k) {
          a[i][k] /= scale;
          h += a[i][k] * a[i][k];
        }
        Real f = a[i][l];
        Real g = f >= Real(0) ? -std::sqrt(h) : std::sqrt(h);
        e[i] = scale * g;
        h -= f * g;
        a[i][l] = f - g;
        f = Real(0);
        for (int j = 0; j < i; ++j) {
          // u/H stored in column i for the accumulation pass.
          a[j][i] = a[i][j] / h;
          g = Real(0);
          for (int k = 0; k <= j; ++k) g += a[j][k] * a[i][k];
          for (int k = j + 1; k < i; ++k) g += a[k][j] * a[i][k];
          e[j] = g / h;
          f += e[j] * a[i][j];
        }
        const Real hh = f / (h + h);
        for (int j = 0; j < i; ++j) {
          f = a[i][j];
          g = e[j] - hh * f;
          e[j] = g;
          for (int k = 0; k <= j; ++k) a[j][k] -= (f * e[k] + g * a[i][k]);
        }
      }
    } else {
      e[i] = a[i][l];
    }
    d[i] = h;
  }
  d[0] = Real(0);
  e[0] = Real(0);
  // Accumulate Q from the stored Householder vectors, growing the identity block by block.
  for (int i = 0; i < n; ++i) {
    if (d[i] != Real(0)) {
      for (int j = 0; j < i; ++j) {
        Real g = Real(0);
        for (int k = 0; k < i; ++k) g += a[i][k] * a[k][j];
        for (int k = 0; k < i; ++k) a[k][j] -= g * a[k][i];
      }
    }
    d[i] = a[i][i];
    a[i][i] = Real(1);
    for (int j = 0; j < i; ++j) {
      a[j][i] = Real(0);
      a[i][j] = Real(0);
    }
  }
}

// Implicit-shift QL on the symmetric tridiagonal matrix (d, e) with e[i] the element
// below d[i] for i >= 1 (as Tred2 leaves it), 0-based; the rotations are applied to the
// columns of z (rows z[k]). d leaves holding the eigenvalues in the order QL leaves them
// (unsorted); column k of z is the eigenvector of d[k].
//
// The negligibility test |e[m]| + dd == dd is an exact comparison in Real: it asks whether
// e[m] vanishes against the neighbouring diagonal in the working precision, and depends on
// Real arithmetic without extended precision or fused multiply-add (the build guarantees
// both). Up to kMaxIter iterations per eigenvalue are allowed, more than the customary 30,
// so that clustered spectra of noisy scatter matrices still converge.
// @return 1 on success, 0 when an eigenvalue needs more than kMaxIter iterations (d, e
//         and z are then partly updated). n < 1 returns 1 without touching anything.
// Rows and kOrder as for Tred2.
template <int kOrder = 0, class Rows, class Real>
inline int Tqli(Real* d, Real* e, int nArg, Rows z) {
  constexpr int kMaxIter = 100;
  const int n = kOrder > 0 ? kOrder : nArg;
  if (n < 1) return 1;
  for (int i = 1; i < n; ++i) e[i - 1] = e[i];
  e[n - 1] = Real(0);
  for (int l = 0; l < n; ++l) {
    int iter = 0;
    int m;
    do {
      for (m = l; m < n - 1; ++m) {
        const Real dd = std::abs(d[m]) + std::abs(d[m + 1]);
        if (std::abs(e[m]) + dd == dd) break;
      }
      if (m != l) {
        if (iter++ == kMaxIter) return 0;
        // Wilkinson-type shift from the leading 2 × 2 block.
        Real g = (d[l + 1] - d[l]) / (Real(2) * e[l]);
        Real r = OverflowFreeHypot(g, Real(1));
        g = d[m] - d[l] + e[l] / (g + (g >= Real(0) ? std::abs(r) : -std::abs(r)));
        Real s = Real(1);
        Real c = Real(1);
        Real p = Real(0);
        int i;
        for (i = m - 1; i >= l; --i) {
          Real f = s * e[i];
          const Real b = c * e[i];
          r = OverflowFreeHypot(f, g);
          e[i + 1] = r;
          if (r == Real(0)) {
            // Underflow: the matrix splits here; deflate and start the sweep again.
            d[i + 1] -= p;
            e[m] = Real(0);
            break;
          }
          s = f / r;
          c = g / r;
          g = d[i + 1] - p;
          r = (d[i] - g) * s + Real(2) * c * b;
          p = s * r;
          d[i + 1] = g + p;
          g = c * r - b;
          for (int k = 0; k < n; ++k) {
            f = z[k][i + 1];
            z[k][i + 1] = s * z[k][i] + c * f;
            z[k][i] = c * z[k][i] - s * f;
          }
        }
        if (r == Real(0) && i >= l) continue;
        d[l] -= p;
        e[l] = g;
        e[m] = Real(0);
      }
    } while (m != l);
  }
  return 1;
}

}  // namespace detail
}  // namespace REmath
