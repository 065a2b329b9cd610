// SPDX-License-Identifier: MIT
// REmath::IVertexPosInformer<T>: the caller's supplier of vertex positions along one
// coordinate axis, queried by the vertex-position solver and EvaluateLinCombination.
#pragma once

#include <qvmath/platform/export.h>

namespace REmath {

/// Supplies the position of a vertex along one coordinate axis (one informer per axis), so
/// that the vertex-position routines need not know the caller's point type. The caller
/// derives from it and implements `OnGetVertexPosition`. Virtual operations in slot order:
/// the destructor, then `OnGetVertexPosition`. The library never copies or frees an
/// informer. Instantiated and exported for `float` and `double`.
template <class T>
class IVertexPosInformer {
 public:
  virtual ~IVertexPosInformer() {}

  /// @return the coordinate of vertex vertexIdx on this informer's axis, as given by
  ///         `OnGetVertexPosition`.
  T GetVertexPosition(int vertexIdx) const { return OnGetVertexPosition(vertexIdx); }

 protected:
  IVertexPosInformer() {}
  IVertexPosInformer(const IVertexPosInformer&) {}
  IVertexPosInformer& operator=(const IVertexPosInformer&) { return *this; }

 private:
  /// Called by `GetVertexPosition`: the coordinate of vertexIdx. The library asks only for
  /// identifiers that the caller itself used (fixed vertices, terms of a combination).
  virtual T OnGetVertexPosition(int vertexIdx) const = 0;
};

extern template class QVMATH_EXTERN_TEMPLATE IVertexPosInformer<float>;
extern template class QVMATH_EXTERN_TEMPLATE IVertexPosInformer<double>;

}  // namespace REmath
