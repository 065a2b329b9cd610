// SPDX-License-Identifier: MIT
// Symmetry test and eigen-decomposition of a symmetric 3 × 3 matrix held in a
// CRotationMatrix: the diagonalisation behind every scatter-matrix normal and plane fit.
#pragma once

#include <qvmath/core/point3d.h>
#include <qvmath/core/rotation_matrix.h>
#include <qvmath/platform/export.h>

namespace REmath {

/// Tests whether m is symmetric: for the pairs (0, 1), (0, 2), (1, 2) in that order,
/// |m(i, j) − m(j, i)| < 1.1920928955078125e-07 must hold.
/// Conventions: an absolute tolerance (the float machine epsilon), strict comparison;
/// unlike `CRotationMatrix::isSelfAdjoint` it does not scale with the entries. A NaN in an
/// off-diagonal pair makes the result false.
/// @return true when all three pairs pass; false at the first pair that fails.
QVMATH_API bool IsSelfAdjoint(const CRotationMatrix& m);

/// Eigenvalues and eigenvectors of the symmetric 3 × 3 matrix m by Householder
/// tridiagonalisation and implicit-shift QL in double (`tred2_d` + `tqli_d` on a copy).
/// Conventions: only the lower triangle of m (m.m[i][j], j <= i) is read; symmetry is not
/// checked (see `IsSelfAdjoint`). vectors[k] is the eigenvector of values[k]; the three
/// vectors are orthonormal up to rounding. The order is the one QL leaves, not sorted
/// (diag(3, 1, 2) gives 3, 1, 2 with the unit axes); the sign of each vector is not fixed.
/// With normalize, each vector is further scaled to unit length in double.
/// Allocates nothing on the heap: it is meant to be called once per point neighbourhood.
/// @param[out] vectors three eigenvectors.
/// @param[out] values three eigenvalues.
/// @throws std::runtime_error("GetEigenVectorsSA failed") when the QL iteration does not
///         converge (for instance on NaN entries); vectors and values are then unspecified.
QVMATH_API void GetEigenVectorsSA(const CRotationMatrix& m, Point3D_d* vectors, double* values,
                                  bool normalize);

}  // namespace REmath
