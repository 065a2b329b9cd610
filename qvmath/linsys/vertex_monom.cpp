// SPDX-License-Identifier: MIT
// Explicit instantiations of CVertexMonom (all members are defined in the header).
#include <qvmath/linsys/vertex_monom.h>

namespace REmath {

template class QVMATH_TEMPLATE_DEF CVertexMonom<float>;
template class QVMATH_TEMPLATE_DEF CVertexMonom<double>;

}  // namespace REmath
