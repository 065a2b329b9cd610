// SPDX-License-Identifier: MIT
// Out-of-line destructors: they anchor the virtual tables in the library.
#include <qvmath/analysis/coord3d_refs.h>

namespace REmath {

ICoord3DRefs::~ICoord3DRefs() = default;
CPtVecAdapder::~CPtVecAdapder() = default;

}  // namespace REmath
