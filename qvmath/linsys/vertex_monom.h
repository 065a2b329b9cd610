// SPDX-License-Identifier: MIT
// REmath::CVertexMonom<T>: one term of a linear relation between vertex positions, a
// caller-chosen vertex identifier with a coefficient.
#pragma once

#include <qvmath/platform/export.h>

namespace REmath {

/// A vertex identifier (an `int` chosen by the caller) with a coefficient of type T: one
/// term c·x(v) of a linear combination of vertex positions. A polymorphic value:
/// virtual operations in slot order are `operator=` and then the destructor.
/// Instantiated and exported for `float` and `double`. Thread safety: none (a value type).
template <class T>
class CVertexMonom {
 public:
  /// Identifier 0 with coefficient 0.
  CVertexMonom() : m_vertexIdx(0), m_coeff(T(0)) {}
  /// Identifier vertexIdx with coefficient coeff.
  CVertexMonom(int vertexIdx, T coeff) : m_vertexIdx(vertexIdx), m_coeff(coeff) {}
  CVertexMonom(const CVertexMonom& other)
      : m_vertexIdx(other.m_vertexIdx), m_coeff(other.m_coeff) {}
  /// Copies identifier and coefficient. @return *this.
  virtual CVertexMonom& operator=(const CVertexMonom& other) {
    m_vertexIdx = other.m_vertexIdx;
    m_coeff = other.m_coeff;
    return *this;
  }
  virtual ~CVertexMonom() {}

  /// @return the vertex identifier.
  int GetVertexIdx() const { return m_vertexIdx; }
  /// @return a reference to the vertex identifier, for changing it in place.
  int& VertexIdx() { return m_vertexIdx; }
  /// @return the coefficient.
  T GetCoeff() const { return m_coeff; }
  /// @return a reference to the coefficient, for changing it in place.
  T& Coeff() { return m_coeff; }

 private:
  int m_vertexIdx;  ///< caller-chosen vertex identifier
  T m_coeff;        ///< coefficient of the vertex position
};

extern template class QVMATH_EXTERN_TEMPLATE CVertexMonom<float>;
extern template class QVMATH_EXTERN_TEMPLATE CVertexMonom<double>;

}  // namespace REmath
