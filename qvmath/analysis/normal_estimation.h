// SPDX-License-Identifier: MIT
// The covariance normal of a neighbourhood and its anisotropy: the eigenvector of the
// smallest eigenvalue of the scatter matrix, and that eigenvalue relative to the trace.
#pragma once

#include <qvmath/core/point3d.h>
#include <qvmath/platform/export.h>

#include <vector>

/// Covariance normal of pts[0..n): the centroid and the scatter Σ (p − c)(p − c)ᵀ (not
/// divided by n) are summed in double about the centroid (two passes, so a cloud far from
/// the origin gives the normal of the same cloud at the origin), diagonalised in work by
/// `tred2_d` + `tqli_d`, and the eigenvector of the smallest eigenvalue is returned.
/// Conventions: the smallest eigenvalue is searched from the bound 1e30, index 0 first, a
/// later index only if strictly smaller (ties keep the lower index; with every eigenvalue
/// >= 1e30 column 0 is used). The normal is that column of work as the eigen-routine
/// leaves it: unit length to rounding, no sign rule. n is not tested: fewer than three
/// points (or none) give a degenerate scatter whose eigenvectors are still returned.
/// @param[in,out] work a caller-supplied 3×3 matrix as three row pointers; overwritten, on
///                return it holds the eigenvectors in its columns.
/// @param[out] normal three doubles.
/// @return 1 on success; 0 when the eigen-iteration fails (NaN input); normal untouched.
QVMATH_API int GetNormal(int n, const REmath::Point3D* pts, double** work, double* normal);
/// The same, the normal narrowed to floats. On failure normal is not written.
QVMATH_API int GetNormal(int n, const REmath::Point3D* pts, double** work, float* normal);

/// Anisotropy of pts[0..n): m / (d0 + d1 + d2), m the smallest eigenvalue of the scatter
/// of `GetNormal` (chosen from the bound 1e30 as there). It lies in [0, 1/3]: 0 for exactly
/// planar points, 1/3 for an isotropic cloud. A zero (or negative) trace, e.g. one
/// repeated point, gives 1/3 as the float 0.33333334.
/// @param[in,out] work as for `GetNormal`.
/// @return 1 on success; 0 when the eigen-iteration fails; aniso untouched.
QVMATH_API int GetAnisotropy(int n, const REmath::Point3D* pts, double** work, float& aniso);

/// Zeroes normal[0..3), then runs `GetNormal` on all of pts with a work matrix of its
/// own (an empty vector passes n = 0 and gives the first eigenvector of a zero matrix).
/// @return true iff `GetNormal` returned 1.
QVMATH_API bool EstimateNormal(const std::vector<REmath::Point3D>& pts, double* normal);
