// SPDX-License-Identifier: MIT
// Euler angles in the z-y-z convention: the rotation matrix from three angles and back.
#pragma once

#include <qvmath/core/rotation_matrix.h>
#include <qvmath/platform/export.h>

/// Euler angles (z-y-z) of the rotation matrix m, the inverse of `makeEulerMatrix`.
/// theta := acos(m[2][2] clamped to [−1, 1]) in [0, π], so rounding noise such as
/// m[2][2] = 1.0000001 gives theta = 0, not a NaN. With s = sqrt(1 − c²):
/// - s > 1e-5: phi := atan2(m[1][2]/s, m[0][2]/s), psi := atan2(m[2][1]/s, −m[2][0]/s);
/// - otherwise (gimbal lock, theta near 0 or π, where only phi ± psi is determined):
///   psi := 0 and phi := atan2(m[1][0], m[0][0]) if m[2][2] > 0, else
///   atan2(−m[1][0], −m[0][0]).
/// All angles in radians; phi and psi in (−π, π]. m is not checked to be a rotation.
/// @param[out] phi, theta, psi the angles; always written.
QVMATH_API void getEulerAnglesFromMatrix(const CRotationMatrix& m, double& phi, double& theta,
                                         double& psi);

/// The rotation R = Rz(phi)·Ry(theta)·Rz(psi) with (phi, theta, psi) = angles[0..2] in
/// radians (z-y-z convention, column vectors: psi is applied first).
/// @param[out] m all nine entries written.
QVMATH_API void makeEulerMatrix(CRotationMatrix& m, const double* angles);
