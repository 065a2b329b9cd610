// SPDX-License-Identifier: MIT
#include <qvmath/core/detail/tolerance.h>
#include <qvmath/core/detail/tridiag_ql.h>
#include <qvmath/core/eigen_sa.h>

#include <cmath>
#include <stdexcept>

namespace REmath {

bool IsSelfAdjoint(const CRotationMatrix& m) {
  // Absolute float epsilon, strict: the tolerance the scatter-matrix callers were tuned to.
  constexpr double kTol = detail::kFloatEps;
  for (int i = 0; i < 3; ++i)
    for (int j = i + 1; j < 3; ++j)
      if (!(std::abs(m.m[i][j] - m.m[j][i]) < kTol)) return false;
  return true;
}

void GetEigenVectorsSA(const CRotationMatrix& m, Point3D_d* vectors, double* values,
                       bool normalize) {
  // Everything on the stack: this runs once per neighbourhood of a scan.
  double work[3][3];
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) work[i][j] = m.m[i][j];
  double e[3];
  // The same bodies as tred2_d and tqli_d, compiled here for the fixed order 3.
  detail::Tred2<3>(work, 3, values, e);
  if (detail::Tqli<3>(values, e, 3, work) == 0)
    throw std::runtime_error("GetEigenVectorsSA failed");
  for (int k = 0; k < 3; ++k) {
    vectors[k] = Point3D_d(work[0][k], work[1][k], work[2][k]);
    if (normalize) vectors[k].normalize();
  }
}

}  // namespace REmath
