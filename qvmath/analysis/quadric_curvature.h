// SPDX-License-Identifier: MIT
// Principal curvatures at a point of interest from the quadric fitted to its neighbourhood:
// the curvatures with tensor and normal, and the smaller/larger pair as floats.
#pragma once

#include <qvmath/core/matrix.h>
#include <qvmath/core/point3d.h>
#include <qvmath/platform/export.h>

#include <vector>

/// Principal curvatures at pts[0] (the point of interest, its neighbours after it): the
/// quadric at pts[0] is fitted by `GetNormal2` with default parameters and `Force2` set
/// when weighted is true, by `GetNormalAndQuadricApprShiftedNonScaled` (equal weights)
/// otherwise; `GetCurvatures` then evaluates it.
/// @param[out] out five doubles: out[0], out[1] the unsigned curvatures as
///             `GetCurvatures` returns them (k[0] attached to its first tangent, in 1/input
///             units), out[2..5) the unit normal of the quadric at pts[0].
/// @param[out] m the 3×3 curvature tensor of `GetCurvatures` (resized; may allocate).
/// @return true on success. false when the fit fails (fewer than 9 points, collinear or
///         coincident points, non-finite input: out and m untouched) or when
///         `GetCurvatures` gives up (umbilic or flat quadric: out[0] = out[1] = 20.0, the
///         rest of out and m untouched).
QVMATH_API bool EstimateCurvature(const std::vector<REmath::Point3D>& pts, bool weighted,
                                  double* out, REmath::Matrix<double>& m);

/// The smaller and the larger principal curvature at pts[0], as floats: the equal-weight
/// fit of `EstimateCurvature` (weighted false) and `GetCurvatures`. pts is not modified.
/// @return true on success; false when the fit fails or `GetCurvatures` gives up (umbilic
///         or flat neighbourhoods): kmin and kmax untouched.
QVMATH_API bool GetMinMaxCurvaturesForPoints(std::vector<REmath::Point3D>& pts, float& kmin,
                                             float& kmax);
