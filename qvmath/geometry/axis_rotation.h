// SPDX-License-Identifier: MIT
// Rotations about an axis: the exact rigid transform about a line, and the library's
// historical vector rotation with the matrix built from it.
#pragma once

#include <qvmath/core/matrix.h>
#include <qvmath/core/point3d.h>
#include <qvmath/geometry/linear_transform.h>
#include <qvmath/platform/export.h>

/// Sets T to the rotation by angle (radians, right-handed about axis) about the line
/// through point with direction axis. axis must already be unit length; it is not
/// normalised. With c = cos angle, s = sin angle, k = 1 − c:
/// m = u·uᵀ·k + c·I + s·[u]× (the Rodrigues matrix), t = (p − u·(u·p))·k − (u × p)·s, which
/// equals p − m·p, so the points of the line stay fixed.
/// @param[out] T all twelve values written.
QVMATH_API void setAxisRotationTransform(RElinearTransform& T, const REmath::Point3D_d& point,
                                         const REmath::Point3D_d& axis, double angle);

/// Turns v about axis (through the origin; any non-zero length) by angle, with the
/// library's historical formula, kept exactly (callers rely on its results):
/// with w = axis × v, v⊥ the part of v perpendicular to axis and v∥ = v − v⊥,
/// out = v·cos(angle) + (sqrt(|v⊥|²/|w|²)·w + v∥)·sin(angle).
/// This is the true rotation only when v is perpendicular to the axis (and at angle 0);
/// otherwise the axial part comes out scaled by cos + sin instead of staying fixed: (1,0,1)
/// about (0,0,1) by π gives (−1, 0, −1) and by π/2 gives (0, 1, 1).
/// A v nearly along the axis (|v⊥|² ≤ 1e-4·|v|², the factor in single precision) and a
/// zero v are returned unchanged.
/// @param[out] out three components; may be the same array as v.
QVMATH_API void RotateVector(double* out, const double* axis, const double* v, double angle);

/// Resizes M to 3×3 and sets row i to `RotateVector`(axis, e_i, angle) for the unit vectors
/// e_0, e_1, e_2: the rows are the turned basis vectors (for the true rotation cases of
/// `RotateVector`, M is the transpose of the column-vector rotation matrix).
QVMATH_API void MakeRotationMatrix(REmath::Matrix<double>& M, const double* axis, double angle);
