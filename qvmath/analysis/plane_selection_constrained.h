// SPDX-License-Identifier: MIT
// RecognizePlaneSelectionConstrained: the plane of a selection under constraints on its
// normal and position, with iterative rejection of outlying points.
#pragma once

#include <qvmath/core/point3d.h>
#include <qvmath/platform/export.h>

#include <vector>

/// The least-squares plane of a selection of points under optional constraints, refitted
/// after dropping the points that lie too far from the previous plane.
///
/// Each fit minimises Σ ((p − q)·n)² over the points in use, |n| = 1:
/// - q is `anchor` when throughAnchor is set (the plane passes through it), otherwise the
///   centroid of the points in use;
/// - n is free when maxNormalAngle is negative, NaN or >= π/2; it is `direction`
///   (normalised) when maxNormalAngle is 0; otherwise it is the best normal whose line makes
///   an angle of at most maxNormalAngle (radians) with the line of `direction` (either
///   sign of n counts): the smallest-eigenvalue axis of the scatter about q when that lies
///   in the cone, else the minimiser over the cone's boundary circle.
/// The normal is then oriented to the side of viewDir (negated when n·viewDir < 0) and
/// normalised, as `RecognizePlaneSelectionFree` does.
///
/// Outlier rejection: round 0 uses every point. Each later round, up to maxRejectRounds,
/// refits with the points whose distance from the previous plane is at most the tolerance:
/// rejectDist itself when positive; |rejectDist| times the RMS distance of the previous
/// round's points when negative; 0 disables rejection. The rounds stop early when a refit
/// reproduces the previous plane exactly (the set of points no longer changes) or when a
/// round would keep fewer than 3 points (the previous plane is then kept).
///
/// @param[in] pts the selection.
/// @param[in] viewDir the side the normal points to.
/// @param[in] maxRejectRounds number of rejection rounds after the first fit (<= 0: none).
/// @param[in] rejectDist rejection tolerance, as above (the input's length unit).
/// @param[in] throughAnchor the plane must contain `anchor`.
/// @param[in] maxNormalAngle allowed angle between the normal and `direction`, as above.
/// @param[in] anchor the point the plane passes through when throughAnchor is set.
/// @param[in] direction the reference direction of the normal (need not be unit; read
///            only when 0 <= maxNormalAngle < π/2).
/// @param[out] origin the centroid of the points in use, projected onto the plane (the
///             centroid itself for an unconstrained position).
/// @param[out] normal the unit normal.
/// @param[out] maxErr, meanErr the largest and mean distance of the points in use from
///             the plane.
/// @param[out] axis0, axis1 unit in-plane axes, axis0 along the largest spread of the points
///             in use, axis1 = normal × axis0 (right-handed with the normal).
/// @param[out] lo, hi optional (null: not wanted): two doubles each, the smallest and
///             largest coordinates (p − origin)·axis0 and (p − origin)·axis1 of the points
///             in use.
/// @return true on success; false, with every output untouched, for fewer than 3 points, a
///         zero `direction` when it is read, a failed diagonalisation or a non-finite
///         result (non-finite input).
/// Re-entrant; allocates nothing.
QVMATH_API bool RecognizePlaneSelectionConstrained(
    const std::vector<REmath::Point3D>& pts, const REmath::Point3D& viewDir, int maxRejectRounds,
    double rejectDist, bool throughAnchor, double maxNormalAngle, const REmath::Point3D_d& anchor,
    const REmath::Point3D_d& direction, REmath::Point3D_d& origin, REmath::Point3D_d& normal,
    double& maxErr, double& meanErr, REmath::Point3D_d& axis0, REmath::Point3D_d& axis1, double* lo,
    double* hi);
