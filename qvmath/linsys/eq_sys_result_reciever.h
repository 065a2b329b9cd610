// SPDX-License-Identifier: MIT
// REmath::IEqSysResultReciever<T>: the caller's sink for solved vertex positions along one
// coordinate axis. The name is spelled so, deliberately: hosts link against it.
#pragma once

#include <qvmath/platform/export.h>

namespace REmath {

/// Receives the solved position of a vertex along one coordinate axis (one receiver per
/// axis). The caller derives from it and implements `OnSetVertexPosition`. Virtual
/// operations in slot order: the destructor, then `OnSetVertexPosition`. The library never
/// copies or frees a receiver. Instantiated and exported for `float` and `double`.
template <class T>
class IEqSysResultReciever {
 public:
  virtual ~IEqSysResultReciever() {}

  /// Hands value, the coordinate of vertex vertexIdx on this receiver's axis, to
  /// `OnSetVertexPosition`.
  void SetVertexPosition(int vertexIdx, T value) { OnSetVertexPosition(vertexIdx, value); }

 protected:
  IEqSysResultReciever() {}
  IEqSysResultReciever(const IEqSysResultReciever&) {}
  IEqSysResultReciever& operator=(const IEqSysResultReciever&) { return *this; }

 private:
  /// Called by `SetVertexPosition` once per solved vertex and axis.
  virtual void OnSetVertexPosition(int vertexIdx, T value) = 0;
};

extern template class QVMATH_EXTERN_TEMPLATE IEqSysResultReciever<float>;
extern template class QVMATH_EXTERN_TEMPLATE IEqSysResultReciever<double>;

}  // namespace REmath
