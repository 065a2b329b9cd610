// SPDX-License-Identifier: MIT
// Explicit instantiations of the dense vertex-position solver for float and double.
#include <qvmath/linsys/lin_sys_solver_mkl.h>
#include <qvmath/linsys/lin_sys_solver_mkl_impl.h>

namespace REmath {

template class QVMATH_TEMPLATE_DEF CLinSysSolverMKL<float>;
template class QVMATH_TEMPLATE_DEF CLinSysSolverMKL<double>;

}  // namespace REmath
