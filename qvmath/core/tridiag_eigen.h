// SPDX-License-Identifier: MIT
// Real symmetric eigenproblems of any order: Householder tridiagonalisation (tred2) and the
// implicit-shift QL iteration (tqli), in single and double precision.
#pragma once

#include <qvmath/platform/export.h>

namespace REmath {

/// Reduces the real symmetric n × n matrix a to tridiagonal form by Householder
/// reflections, accumulating them: on return d[0..n) holds the diagonal, e[0..n) the
/// sub-diagonal in e[1..n) with e[0] = 0, and a the orthogonal matrix Q with A = Q·T·Qᵀ,
/// ready to be passed to `tqli` as z.
/// Conventions: a[i][j] is row i, column j (a is an array of n row pointers); only the
/// lower triangle (j <= i) is read. `tred2` computes every intermediate in float,
/// `tred2_d` in double. A row whose leading part is exactly zero is left unreflected.
/// @param[in,out] a n row pointers of n elements each.
/// @param[out] d, e n elements each.
/// n < 1 does nothing. No failure.
QVMATH_API void tred2(float** a, int n, float* d, float* e);
/// The double-precision form of `tred2`.
QVMATH_API void tred2_d(double** a, int n, double* d, double* e);

/// Eigenvalues and eigenvectors of the symmetric tridiagonal matrix with diagonal d and
/// sub-diagonal e[1..n) (as `tred2` leaves them; e[0] is ignored and e is overwritten) by
/// the QL algorithm with implicit Wilkinson shifts.
/// Conventions: z enters as the Q of `tred2` (or the identity, for a tridiagonal input)
/// and leaves with the eigenvector of d[k] in column k (z[0][k] .. z[n-1][k]). The
/// eigenvalues are left in the order the iteration produces them; nothing is sorted.
/// Convergence of e[m] is the exact test |e[m]| + (|d[m]| + |d[m+1]|) == |d[m]| + |d[m+1]|
/// in the working precision (float for `tqli`, double for `tqli_d`); a diagonal input
/// (e all zero) therefore returns at once with d and z unchanged.
/// @return 1 on success; 0 when one eigenvalue needs more than 100 iterations (a NaN on
///         the diagonal normally ends this way); d, e and z are then partly updated. n < 1
///         returns 1.
QVMATH_API int tqli(float* d, float* e, int n, float** z);
/// The double-precision form of `tqli`.
QVMATH_API int tqli_d(double* d, double* e, int n, double** z);

}  // namespace REmath
