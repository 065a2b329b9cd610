// SPDX-License-Identifier: MIT
// Internal: the machine epsilons the library's documented tests are written with, and the
// relative comparison they share. Not installed.
#pragma once

#include <cmath>

namespace REmath {
namespace detail {

/// 2⁻⁵² and 2⁻²³, spelled as the documented tests state them.
constexpr double kDoubleEps = 2.220446049250313e-16;
constexpr double kFloatEps = 1.1920928955078125e-7;

/// |a − b| ≤ (|a| + |b|)·eps in the precision of the operands: relative with no absolute
/// floor, so 0 equals only 0, and an infinity or a NaN equals nothing.
template <class Real>
inline bool RelativelyEqual(Real a, Real b, Real eps) {
  return std::fabs(a - b) <= (std::fabs(a) + std::fabs(b)) * eps;
}

}  // namespace detail
}  // namespace REmath
