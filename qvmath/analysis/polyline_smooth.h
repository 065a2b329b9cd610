// SPDX-License-Identifier: MIT
// smoothPolylineWithFixedPoints: shrink-free λ|μ Laplacian smoothing of an open or closed
// polyline whose listed vertices stay where they are.
#pragma once

#include <qvmath/analysis/polyline_smooth_params.h>
#include <qvmath/core/point3d.h>
#include <qvmath/platform/export.h>

#include <vector>

/// Smooths the polyline pts in place with prms.GetNIter() iterations of a λ pass followed
/// by an inflating −μ pass; the vertices listed in prms.GetPtrFixedPtIdx() keep their
/// exact coordinates.
///
/// Weights: λ = float(Weight); μ = λ / (1 − 0.1f·λ) when PreserveShape is set, else 0
/// (0.1f is 0.10000000149011612). A pass with weight w maps x to y with
/// yᵢ = (1 − w)·xᵢ + (w/2)·(xᵢ₋₁ + xᵢ₊₁); the float overload rounds 1 − w and w/2 to float
/// and computes in float. Open polylines keep both end points (y₀ = x₀, yₙ₋₁ = xₙ₋₁);
/// closed ones wrap (the first point is not repeated at the end). One iteration is the λ
/// pass into a temporary, then the −μ pass back (or a plain copy back when μ = 0).
///
/// Fixed vertices: each fixed index k has an influence field, the unit impulse at k
/// smoothed by the same scalar scheme. After smoothing, the displacements Dⱼ of the fixed
/// vertices are taken back out as x ← x − Σₖ cₖ·fₖ, with the cₖ solving
/// Σₖ fₖ(j)·cₖ = Dⱼ for every fixed j (a small dense system, one unknown per fixed vertex):
/// every fixed vertex returns to its start, and its neighbours follow through the fields,
/// so the curve stays smooth around it. The fixed vertices are finally set to their
/// saved coordinates, so they are bit-exact. Repeated indices count once.
/// Cost: O(n·NIter) for the polyline, O(m·NIter²) for m fields, O(m³) for the system.
///
/// @return false, with pts untouched, for fewer than 3 points, a fixed index outside
///         [0, n), or a singular or non-finite fixed-vertex system (possible only for
///         Weight outside (0, 0.5]); true otherwise. NIter <= 0 returns true with pts
///         unchanged.
QVMATH_API bool smoothPolylineWithFixedPoints(std::vector<REmath::Point3D>& pts,
                                              const CPolylineSmoothParams& prms);
/// The double-precision form, computing in double.
QVMATH_API bool smoothPolylineWithFixedPoints(std::vector<REmath::Point3D_d>& pts,
                                              const CPolylineSmoothParams& prms);
