// SPDX-License-Identifier: MIT
// Explicit instantiations of IEqSysResultReciever: its virtual table and type information
// live in the library.
#include <qvmath/linsys/eq_sys_result_reciever.h>

namespace REmath {

template class QVMATH_TEMPLATE_DEF IEqSysResultReciever<float>;
template class QVMATH_TEMPLATE_DEF IEqSysResultReciever<double>;

}  // namespace REmath
