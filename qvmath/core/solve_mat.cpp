// SPDX-License-Identifier: MIT
#include <qvmath/core/solve_mat.h>

#include <cstddef>
#include <vector>

#include <qvmath/core/detail/lapack.h>

namespace REmath {

namespace {

[[noreturn]] void ThrowDimError() { throw const_cast<char*>("MatrixSolveDimError"); }

template <class Real>
bool SolveMatT(Matrix<Real>& A, const Matrix<Real>& B, Matrix<Real>& X) {
  const int n = A.rows();
  if (A.cols() != n || B.rows() != n) ThrowDimError();
  X = B;
  // LAPACK rejects lda = 0 (and would print about it); an empty system is solved.
  if (n < 1) return true;
  std::vector<int> ipiv(static_cast<std::size_t>(n));
  if (detail::lapack::getrf(n, n, A.memory(), n, ipiv.data()) != 0) return false;
  if (X.cols() < 1) return true;
  return detail::lapack::getrs(n, X.cols(), A.memory(), n, ipiv.data(), X.memory(), n) == 0;
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
  std::vector<int> ipiv(static_cast<std::size_t>(n));
  if (detail::lapack::getrf(n, n, Ainv.memory(), n, ipiv.data()) != 0) return false;
  const int lwork = 64 * n;
  std::vector<double> work(static_cast<std::size_t>(lwork));
  return detail::lapack::getri(n, Ainv.memory(), n, ipiv.data(), work.data(), lwork) == 0;
}

}  // namespace REmath
