// SPDX-License-Identifier: MIT
// Principal curvatures of an implicit quadric at the local origin (unsigned, with the
// family's give-up value 20.0), the curvature tensor, and the larger curvature.
#pragma once

#include <qvmath/analysis/quadratic_form.h>
#include <qvmath/core/matrix.h>
#include <qvmath/platform/export.h>

/// The value both curvatures keep whenever `GetCurvatures` gives up.
constexpr double kCurvatureGiveUp = 20.0;

/// Principal curvatures of the implicit surface f = 0 of q at the local origin, whose
/// gradient there is g = (KX, KY, KZ). The method: n = g/|g|; a unit tangent t1 is chosen
/// by the size of n's components (nz² < 0.8: (−ny, nx, 0)/√(1 − nz²); else ny² >= 0.8:
/// (0, −nz, ny)/√(1 − nx²), a case a unit n never reaches, kept all the same; else
/// (nz, 0, −nx)/√(1 − ny²)); t2 = t1 × n; k11 = −2·q(t1)/|g|, k22 = −2·q(t2)/|g|,
/// k12 = −t2·(H·t1)/|g| (q the quadratic part, H its Hessian); h = (k11 + k22)/2,
/// D = h² − (k11·k22 − k12²), k[0] = |h − √D|, k[1] = |h + √D|.
/// Conventions: the curvatures are unsigned, in 1/(units of q). Both are 20.0
/// (`kCurvatureGiveUp`) when |g|² <= 1e-10 or D < 1e-10; the latter includes every umbilic
/// point (a sphere, the paraboloid z = (x² + y²)/2): these quirks are kept.
/// Tensor: Bᵀ·diag(k[0], k[1], 0)·B with B the rows t2, t1, n (each normalised), made
/// exactly symmetric as (T + Tᵀ)/2; k[0] is attached to t2 and k[1] to t1 whether or not
/// these are the principal directions (deliberate, kept).
/// @param[out] k two values.
/// @param[out] tensor optional (null: not wanted), resized to 3×3 (may allocate).
/// @param[out] normal optional three doubles, the unit n; written only when tensor is given.
/// Never fails; on giving up the optional outputs are untouched.
QVMATH_API void GetCurvatures(const CQuadFormRaw9<double>& q, double* k,
                              REmath::Matrix<double>* tensor, double* normal);

/// The larger of the two values of `GetCurvatures(q, k, null, null)`: k[1] if
/// k[0] <= k[1], else k[0]. 20.0 when `GetCurvatures` gives up.
QVMATH_API double MaxCurvature(const CQuadFormRaw9<double>& q);
/// The same for f, converted with `ConvertToRawFormat` into a `CQuadFormRaw9<double>`.
QVMATH_API double MaxCurvature(const CQuadraticForm& f);
