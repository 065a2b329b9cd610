// SPDX-License-Identifier: MIT
// The finite real eigenvalues of the generalised eigenproblem A·v = λ·B·v with their right
// eigenvectors, through LAPACK dggevx.
#pragma once

#include <qvmath/platform/export.h>

namespace REmath {

/// Finds the finite real eigenvalues λ of A·v = λ·B·v for n × n matrices A and B, with
/// their right eigenvectors, by LAPACK dggevx (balancing "B": permute and scale; no left
/// eigenvectors, no condition numbers).
/// Conventions: A[j] and B[j] point to column j (n doubles), as `Matrix<double>::operator[]`
/// gives them; A and B are read only. LAPACK returns eigenvalue j as
/// (alphar[j] + i·alphai[j]) / beta[j]; it is kept only when alphai[j] is exactly 0 (real),
/// |beta[j]| >= 1e-10 (not infinite) and |alphar[j]| < 1e20·|beta[j]| (of bounded size).
/// Complex pairs and infinite eigenvalues (from a singular B) are thus dropped. Kept
/// eigenvalues stay in LAPACK's order, unsorted; each vector is LAPACK's, scaled so that
/// its largest component has magnitude 1 (sign and scale are not otherwise fixed).
/// @param[in] n the order; n < 1 returns false.
/// @param[out] count the number of kept eigenvalues (0 on any failure).
/// @param[out] vectors n pointers, each to room for n doubles; vectors[0..count) receive
///             the eigenvectors, the rest is untouched.
/// @param[out] values room for n doubles; values[0..count) receive λ = alphar / beta.
/// @return true when dggevx succeeds, also when no eigenvalue was kept; false when n < 1
///         or dggevx reports a failure (the QZ iteration did not converge), and when n is
///         too large for a LAPACK workspace size (above about 26 700); count is then 0.
/// @throws std::bad_alloc when the LAPACK workspace cannot be allocated.
QVMATH_API bool gen_right_eigen(int n, const double* const* A, const double* const* B, int& count,
                                double** vectors, double* values);

}  // namespace REmath
