// SPDX-License-Identifier: MIT
#include <qvmath/core/detail/fault.h>
#include <qvmath/core/detail/lapack.h>
#include <qvmath/core/solve_mat.h>

#include <cmath>
#include <cstddef>
#include <functional>
#include <vector>

namespace REmath {

namespace {

[[noreturn]] void ThrowDimError() { detail::ThrowFault("MatrixSolveDimError"); }

template <class Real>
bool AllFinite(const Matrix<Real>& m) {
  const Real* p = m.memory();
  const std::size_t n = p ? std::size_t(m.rows()) * std::size_t(m.cols()) : 0;
  for (std::size_t k = 0; k < n; ++k)
    if (!std::isfinite(p[k])) return false;
  return true;
}

// True when the element blocks of a and b overlap (the same object, or views on shared
// storage).
template <class Real>
bool ShareStorage(const Matrix<Real>& a, const Matrix<Real>& b) {
  if (&a == &b) return true;
  const Real *pa = a.memory(), *pb = b.memory();
  if (!pa || !pb) return false;
  const std::less<const Real*> before;
  return before(pa, pb + std::size_t(b.rows()) * std::size_t(b.cols())) &&
         before(pb, pa + std::size_t(a.rows()) * std::size_t(a.cols()));
}

template <class Real>
bool SolveInPlace(Matrix<Real>& A, Matrix<Real>& X) {
  const int n = A.rows();
  // LAPACK rejects lda = 0 (and would print about it); an empty system is solved.
  if (n < 1) return true;
  std::vector<int> ipiv(static_cast<std::size_t>(n));
  if (detail::lapack::getrf(n, n, A.memory(), n, ipiv.data()) != 0) return false;
  if (X.cols() < 1) return true;
  if (detail::lapack::getrs(n, X.cols(), A.memory(), n, ipiv.data(), X.memory(), n) != 0)
    return false;
  return AllFinite(X);  // an overflow in the substitutions is no solution either
}

template <class Real>
bool SolveMatT(Matrix<Real>& A, const Matrix<Real>& B, Matrix<Real>& X) {
  const int n = A.rows();
  if (A.cols() != n || B.rows() != n) ThrowDimError();
  // A NaN or infinity would pass through the factorisation without a zero pivot and come
  // out as a NaN "solution": refused before LAPACK sees it.
  const bool finite = AllFinite(A) && AllFinite(B);
  if (ShareStorage(A, X)) {
    // X = B would reshape or overwrite A before it is factored: factor a copy instead.
    Matrix<Real> factors(A);
    X = B;
    return finite && SolveInPlace(factors, X);
  }
  X = B;
  return finite && SolveInPlace(A, X);
}

}  // namespace

bool solveMat(Matrix<double>& A, const Matrix<double>& B, Matrix<double>& X) {
  return SolveMatT(A, B, X);
}

bool solveMat(Matrix<float>& A, const Matrix<float>& B, Matrix<float>& X) {
  return SolveMatT(A, B, X);
}

bool inverseMat(const Matrix<double>& A, Matrix<double>& Ainv) {
  const int n = A.rows();
  if (A.cols() != n) ThrowDimError();
  Ainv = A;
  if (n < 1) return true;
  if (!AllFinite(Ainv)) return false;
  std::vector<int> ipiv(static_cast<std::size_t>(n));
  if (detail::lapack::getrf(n, n, Ainv.memory(), n, ipiv.data()) != 0) return false;
  const int lwork = 64 * n;
  std::vector<double> work(static_cast<std::size_t>(lwork));
  return detail::lapack::getri(n, Ainv.memory(), n, ipiv.data(), work.data(), lwork) == 0 &&
         AllFinite(Ainv);
}

}  // namespace REmath
