// SPDX-License-Identifier: MIT
// Least-squares planes of point sets: FitPlaneToPointSet (float and double points),
// RecognizePlaneSelectionFree and the fit error CalcPlaneFitError.
#pragma once

#include <qvmath/core/point3d.h>
#include <qvmath/platform/export.h>

#include <vector>

/// Least-squares plane a·x + b·y + c·z = e of pts: through the centroid, with the
/// eigenvector of the smallest eigenvalue of the scatter matrix Σ (p − c)(p − c)ᵀ (summed
/// in double about the centroid, not divided by the count) as (a, b, c).
/// Conventions: (a, b, c) is the eigenvector column as the tridiagonal eigen-solver leaves
/// it (unit up to rounding, not renormalised, no sign rule); e = a·cx + b·cy + c·cz, so the
/// sign of e follows the normal's. e is the negative of `CPlaneEquation`'s free term.
/// Eigenvalue choice: the first index whose eigenvalue is below 1e30, later indices only
/// when strictly smaller (ties keep the lower index, so collinear points still give a
/// normal, one of the two zero-eigenvalue columns).
/// @param[out] plane four doubles (a, b, c, e).
/// @param[out] centroid three doubles.
/// @return true on success; false for fewer than 3 points, a failed diagonalisation or no
///         eigenvalue below 1e30 (non-finite or astronomically large coordinates); both
///         outputs are then untouched.
QVMATH_API bool FitPlaneToPointSet(const std::vector<REmath::Point3D>& pts, double* plane,
                                   double* centroid);
/// The same for points of doubles.
QVMATH_API bool FitPlaneToPointSet(const std::vector<REmath::Point3D_d>& pts, double* plane,
                                   double* centroid);

/// The plane of a selection of points, as an origin (the centroid) and a unit normal that
/// points to the side of viewDir.
/// Conventions: as `FitPlaneToPointSet`, but the eigenvalue bound is 1e100. The chosen
/// eigenvector is negated when its dot product with viewDir is < 0 (exactly 0 leaves it),
/// then normalised with `NormalizeVector`.
/// @return true on success; false for fewer than 3 points, a failed diagonalisation or no
///         eigenvalue below 1e100; origin and normal are then untouched.
QVMATH_API bool RecognizePlaneSelectionFree(const std::vector<REmath::Point3D>& pts,
                                            const REmath::Point3D& viewDir,
                                            REmath::Point3D_d& origin, REmath::Point3D_d& normal);

/// Distances of pts from the plane through origin with the given normal: the largest and
/// the mean of |(origin − p)·normal|.
/// Conventions: normal is used as given (a non-unit normal scales both results).
/// Result: maxErr and meanErr are first set to 0; an empty vector leaves maxErr = 0 and
/// gives meanErr = 0/0 (NaN).
QVMATH_API void CalcPlaneFitError(const std::vector<REmath::Point3D>& pts,
                                  const REmath::Point3D_d& origin, const REmath::Point3D_d& normal,
                                  double& maxErr, double& meanErr);
