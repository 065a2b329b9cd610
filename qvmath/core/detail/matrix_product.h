// SPDX-License-Identifier: MIT
// Internal: the matrix product C = A·B in the library's summation order, as a blocked,
// packed product for the arithmetic types and the literal skipping loop for the rest.
// Included only by matrix.cpp. Not installed.
#pragma once

#include <qvmath/core/detail/element_ops.h>
#include <qvmath/core/matrix_impl.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <type_traits>

namespace REmath {
namespace detail {

// ---- The product C = A·B in the library's order. ----
// Every C(i, j) starts at zero and receives its terms A(i, k)·B(k, j) for k from A.cols-1
// down to 0, a term being skipped when A(i, k) compares equal to zero. Only the order of the
// terms within one element fixes the result, so the loops over i and j are free: the fast
// path below is a blocked, packed product whose k loops all run downwards, and each C tile
// passes through the k blocks from the highest down.
//
// The skip matters only when B(k, j) is an infinity or a NaN. For a finite b, a zero a gives
// a term ±0, and adding ±0 leaves any sum that started at +0 unchanged (such a sum is never
// -0 in round-to-nearest), so the fast path may add those terms. B holding a non-finite
// value, and the element types without a plain product, take the literal skipping loop.

// The literal form: k outermost and downwards, a column of C at a time, skipping zero a's.
template <class T>
void SkippingProduct(const Matrix<T>& A, const Matrix<T>& B, Matrix<T>& C) {
  const int m = A.rows(), n = B.cols(), K = A.cols();
  for (int k = K - 1; k >= 0; --k) {
    const T* a = A[k];
    for (int j = n - 1; j >= 0; --j) {
      const T b = B(k, j);
      T* c = C[j];
      for (int i = 0; i < m; ++i)
        if (!IsZeroElem(a[i])) c[i] = AddElem(c[i], MulElem(a[i], b));
    }
  }
}

// Register tile MR × NR of C (MR rows fill two 16-byte vector registers, four columns:
// eight accumulator registers) and cache blocks: a packed kKc × kMc panel of A stays in
// L2, a kKc × NR sliver of B in L1.
template <class T>
struct Tile {
  static constexpr int kMr = 32 / int(sizeof(T));
  static constexpr int kNr = 4;
};
constexpr int kKc = 256;
constexpr int kMc = 128;
constexpr int kNc = 2048;

// acc(MR × NR tile of C, leading dimension ldc) += packed A sliver · packed B sliver over kc
// steps; the slivers are stored step by step in the order the terms are to be added.
template <class T, int MR, int NR>
void MicroKernel(int kc, const T* pa, const T* pb, T* c, int ldc) {
  T acc[NR][MR];
  for (int q = 0; q < NR; ++q)
    for (int r = 0; r < MR; ++r) acc[q][r] = c[q * ldc + r];
  for (int p = 0; p < kc; ++p) {
    const T* a = pa + p * MR;
    const T* b = pb + p * NR;
    for (int q = 0; q < NR; ++q)
      for (int r = 0; r < MR; ++r) acc[q][r] = AddElem(acc[q][r], MulElem(a[r], b[q]));
  }
  for (int q = 0; q < NR; ++q)
    for (int r = 0; r < MR; ++r) c[q * ldc + r] = acc[q][r];
}

// Packs rows i0..i0+mc of A for the k steps kHigh-1 down to kHigh-kc, MR rows per sliver,
// padding rows beyond A with zeros.
template <class T, int MR>
void PackA(const Matrix<T>& A, int i0, int mc, int kHigh, int kc, T* out) {
  const int m = A.rows();
  for (int r0 = 0; r0 < mc; r0 += MR, out += std::ptrdiff_t(kc) * MR) {
    const int rows = std::min(MR, m - (i0 + r0));
    for (int p = 0; p < kc; ++p) {
      const T* col = A[kHigh - 1 - p] + i0 + r0;
      T* dst = out + std::ptrdiff_t(p) * MR;
      int r = 0;
      for (; r < rows; ++r) dst[r] = col[r];
      for (; r < MR; ++r) dst[r] = T(0);
    }
  }
}

// Packs columns j0..j0+nc of B for the same k steps, NR columns per sliver, zero-padded.
template <class T, int NR>
void PackB(const Matrix<T>& B, int j0, int nc, int kHigh, int kc, T* out) {
  const int n = B.cols();
  for (int q0 = 0; q0 < nc; q0 += NR, out += std::ptrdiff_t(kc) * NR) {
    for (int q = 0; q < NR; ++q) {
      const int j = j0 + q0 + q;
      if (j < n) {
        const T* col = B[j] + (kHigh - 1);
        for (int p = 0; p < kc; ++p) out[std::ptrdiff_t(p) * NR + q] = col[-p];
      } else {
        for (int p = 0; p < kc; ++p) out[std::ptrdiff_t(p) * NR + q] = T(0);
      }
    }
  }
}

template <class T>
void PackedProduct(const Matrix<T>& A, const Matrix<T>& B, Matrix<T>& C) {
  constexpr int MR = Tile<T>::kMr, NR = Tile<T>::kNr;
  const int m = A.rows(), n = B.cols(), K = A.cols();
  const int mcMax = std::min(kMc, (m + MR - 1) / MR * MR);
  const int ncMax = std::min(kNc, (n + NR - 1) / NR * NR);
  const int kcMax = std::min(kKc, K);
  // Every packed element is written before it is read: no initialisation needed.
  const std::unique_ptr<T[]> packA(new T[std::size_t(mcMax) * std::size_t(kcMax)]);
  const std::unique_ptr<T[]> packB(new T[std::size_t(ncMax) * std::size_t(kcMax)]);
  T edge[NR * MR];
  for (int j0 = 0; j0 < n; j0 += kNc) {
    const int nc = std::min(kNc, n - j0), ncPad = (nc + NR - 1) / NR * NR;
    // k blocks from the top down, so that every element receives its terms in order.
    for (int kHigh = K; kHigh > 0; kHigh -= kKc) {
      const int kc = std::min(kKc, kHigh);
      PackB<T, NR>(B, j0, ncPad, kHigh, kc, packB.get());
      for (int i0 = 0; i0 < m; i0 += kMc) {
        const int mc = std::min(kMc, m - i0), mcPad = (mc + MR - 1) / MR * MR;
        PackA<T, MR>(A, i0, mcPad, kHigh, kc, packA.get());
        for (int q0 = 0; q0 < nc; q0 += NR) {
          const T* pb = packB.get() + std::ptrdiff_t(q0) * kc;
          const int cols = std::min(NR, nc - q0);
          for (int r0 = 0; r0 < mc; r0 += MR) {
            const T* pa = packA.get() + std::ptrdiff_t(r0) * kc;
            const int rows = std::min(MR, mc - r0);
            T* c = C[j0 + q0] + (i0 + r0);
            if (rows == MR && cols == NR) {
              MicroKernel<T, MR, NR>(kc, pa, pb, c, m);
            } else {
              // An edge tile: run the full tile on a copy and write back the part inside C.
              for (int q = 0; q < NR; ++q)
                for (int r = 0; r < MR; ++r)
                  edge[q * MR + r] = (q < cols && r < rows) ? c[q * m + r] : T(0);
              MicroKernel<T, MR, NR>(kc, pa, pb, edge, MR);
              for (int q = 0; q < cols; ++q)
                for (int r = 0; r < rows; ++r) c[q * m + r] = edge[q * MR + r];
            }
          }
        }
      }
    }
  }
}

template <class T, std::enable_if_t<std::is_floating_point<T>::value, int> = 0>
bool AllFinite(const Matrix<T>& M) {
  const T* p = M.memory();
  const std::size_t n = ElementCount(M);
  for (std::size_t k = 0; k < n; ++k)
    if (!std::isfinite(p[k])) return false;
  return true;
}
template <class T, std::enable_if_t<!std::is_floating_point<T>::value, int> = 0>
bool AllFinite(const Matrix<T>&) {
  return true;
}

template <class T, std::enable_if_t<std::is_arithmetic<T>::value, int> = 0>
void ProductInto(const Matrix<T>& A, const Matrix<T>& B, Matrix<T>& C) {
  if (AllFinite(B))
    PackedProduct(A, B, C);
  else
    SkippingProduct(A, B, C);
}
template <class T, std::enable_if_t<!std::is_arithmetic<T>::value, int> = 0>
void ProductInto(const Matrix<T>& A, const Matrix<T>& B, Matrix<T>& C) {
  SkippingProduct(A, B, C);
}

}  // namespace detail
}  // namespace REmath
