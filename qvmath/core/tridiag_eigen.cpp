// SPDX-License-Identifier: MIT
#include <qvmath/core/detail/tridiag_ql.h>
#include <qvmath/core/tridiag_eigen.h>

namespace REmath {

void tred2(float** a, int n, float* d, float* e) { detail::Tred2(a, n, d, e); }
void tred2_d(double** a, int n, double* d, double* e) { detail::Tred2(a, n, d, e); }
int tqli(float* d, float* e, int n, float** z) { return detail::Tqli(d, e, n, z); }
int tqli_d(double* d, double* e, int n, double** z) { return detail::Tqli(d, e, n, z); }

}  // namespace REmath
