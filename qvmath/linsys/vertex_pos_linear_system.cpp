// SPDX-License-Identifier: MIT
// Explicit instantiations of IVertexPosLinearSystem: its virtual table and type information
// live in the library.
#include <qvmath/linsys/vertex_pos_linear_system.h>

namespace REmath {

template class QVMATH_TEMPLATE_DEF IVertexPosLinearSystem<float>;
template class QVMATH_TEMPLATE_DEF IVertexPosLinearSystem<double>;

}  // namespace REmath
