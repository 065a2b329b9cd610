// SPDX-License-Identifier: MIT
// Explicit instantiations of IVertexPosInformer: its virtual table and type information
// live in the library.
#include <qvmath/linsys/vertex_pos_informer.h>

namespace REmath {

template class QVMATH_TEMPLATE_DEF IVertexPosInformer<float>;
template class QVMATH_TEMPLATE_DEF IVertexPosInformer<double>;

}  // namespace REmath
