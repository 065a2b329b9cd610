// SPDX-License-Identifier: MIT
// Internal: GetCurvatures with a result telling whether it gave up. Not installed.
#pragma once

#include <qvmath/analysis/quadratic_form.h>
#include <qvmath/core/matrix.h>

namespace REmath {
namespace detail {

// The computation of GetCurvatures; returns false exactly when it gives up (20.0 in both).
bool CurvaturesOfRaw(const CQuadFormRaw9<double>& q, double* k, REmath::Matrix<double>* tensor,
                     double* normal);

}  // namespace detail
}  // namespace REmath
