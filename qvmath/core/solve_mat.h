// SPDX-License-Identifier: MIT
// LU solution of dense systems and dense inversion through LAPACK for Matrix<T>.
#pragma once

#include <qvmath/core/matrix.h>
#include <qvmath/platform/export.h>

namespace REmath {

/// Solves A·X = B for the columns of B by LU factorisation with partial pivoting
/// (LAPACK dgetrf + dgetrs, no transpose).
/// Conventions: X is first assigned B (reshaped as needed), then overwritten with the
/// solutions. A is overwritten by its LU factors, by design: callers that need A again
/// pass a scratch copy. Aliasing is allowed: X may be B (solved in place), and X may be A
/// or share A's storage, in which case a copy of A is factored and X (and so A) receives
/// the solution.
/// @return true when both LAPACK calls report success and the solution is finite. False
///         when the factorisation finds an exactly zero pivot (singular A): X then holds
///         B, A the partial factors; false when A or B holds a NaN or an infinity (X then
///         holds B, A is untouched) or when the solution overflows (X then holds it). An
///         empty system (0 × 0 A) returns true with X = B.
/// @throws char* "MatrixSolveDimError" when A is not square or B.rows() differs from
///         A.rows(); A, B and X are then untouched.
QVMATH_API bool solveMat(Matrix<double>& A, const Matrix<double>& B, Matrix<double>& X);
/// The single-precision form of `solveMat` (LAPACK sgetrf + sgetrs), computing in float.
QVMATH_API bool solveMat(Matrix<float>& A, const Matrix<float>& B, Matrix<float>& X);

/// Ainv = A⁻¹ by LU factorisation with partial pivoting (LAPACK dgetrf + dgetri, with a
/// workspace of 64·n doubles so that dgetri runs blocked).
/// Conventions: Ainv is first assigned A (reshaped as needed); Ainv may be A itself.
/// @return true when both LAPACK calls report success and the inverse is finite; false
///         for an exactly singular A (Ainv then holds the partial LU factors), for an A
///         holding a NaN or an infinity (Ainv then holds A) and for an inverse that
///         overflows. A 0 × 0 A returns true.
/// @throws char* "MatrixSolveDimError" when A is not square; Ainv is then untouched.
QVMATH_API bool inverseMat(const Matrix<double>& A, Matrix<double>& Ainv);

}  // namespace REmath
