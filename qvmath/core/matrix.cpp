// SPDX-License-Identifier: MIT
// Explicit instantiations of REmath::Matrix<T> for the ten element types, and the free
// operators: sums, scaling, comparison, the matrix and matrix-vector products (the product
// kernel is in detail/matrix_product.h).
#include <qvmath/core/detail/fault.h>
#include <qvmath/core/detail/matrix_product.h>
#include <qvmath/core/matrix.h>
#include <qvmath/core/matrix_impl.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <type_traits>

namespace REmath {

namespace {

template <class T>
void RequireSameShape(const Matrix<T>& a, const Matrix<T>& b) {
  if (a.rows() != b.rows() || a.cols() != b.cols()) detail::ThrowFault("NURBSWrongSize2D");
}

template <class T>
Matrix<T> Scaled(double s, const Matrix<T>& m) {
  Matrix<T> r(m.rows(), m.cols());
  const T* src = m.memory();
  T* dst = r.memory();
  const std::size_t n = detail::ElementCount(m);
  for (std::size_t k = 0; k < n; ++k) dst[k] = detail::ScaleElem(src[k], s);
  return r;
}

template <class T>
bool Equal(const Matrix<T>& a, const Matrix<T>& b) {
  RequireSameShape(a, b);
  for (int j = 0; j < a.cols(); ++j)
    for (int i = 0; i < a.rows(); ++i)
      if (!detail::ExactElemEqual(a(i, j), b(i, j))) return false;
  return true;
}

template <class T>
Matrix<T> Product(const Matrix<T>& A, const Matrix<T>& B) {
  if (A.cols() != B.rows()) detail::ThrowFault("NURBSWrongSize2D");
  Matrix<T> C(A.rows(), B.cols());
  if (A.rows() >= 1 && B.cols() >= 1 && A.cols() >= 1) detail::ProductInto(A, B, C);
  return C;
}

// r(i) = sum of A(i, k)·v(k) for k from A.cols-1 down to 0, with no skip on zero. Four
// columns per pass over r keep the order of each row's sum and quarter the traffic on r.
template <class T>
Vector<T> MatVec(const Matrix<T>& A, const Vector<T>& v) {
  if (A.cols() != v.size()) detail::ThrowFault("NURBSWrongSize2D");
  const int m = A.rows(), K = A.cols();
  Vector<T> r(m);
  if (m < 1) return r;
  T* out = r.memory();
  using detail::AddElem;
  using detail::MulElem;
  int k = K - 1;
  for (; k >= 3; k -= 4) {
    const T *a0 = A[k], *a1 = A[k - 1], *a2 = A[k - 2], *a3 = A[k - 3];
    const T x0 = v[k], x1 = v[k - 1], x2 = v[k - 2], x3 = v[k - 3];
    for (int i = 0; i < m; ++i) {
      T s = AddElem(out[i], MulElem(a0[i], x0));
      s = AddElem(s, MulElem(a1[i], x1));
      s = AddElem(s, MulElem(a2[i], x2));
      out[i] = AddElem(s, MulElem(a3[i], x3));
    }
  }
  for (; k >= 0; --k) {
    const T* a = A[k];
    const T x = v[k];
    for (int i = 0; i < m; ++i) out[i] = AddElem(out[i], MulElem(a[i], x));
  }
  return r;
}

}  // namespace

#define QVMATH_MATRIX_FREE_DEFS(T)                                                \
  Matrix<T> operator+(const Matrix<T>& a, const Matrix<T>& b) {                   \
    RequireSameShape(a, b);                                                       \
    Matrix<T> r(a);                                                               \
    r += b;                                                                       \
    return r;                                                                     \
  }                                                                               \
  Matrix<T> operator-(const Matrix<T>& a, const Matrix<T>& b) {                   \
    RequireSameShape(a, b);                                                       \
    Matrix<T> r(a);                                                               \
    r -= b;                                                                       \
    return r;                                                                     \
  }                                                                               \
  Matrix<T> operator*(double s, const Matrix<T>& m) { return Scaled(s, m); }      \
  bool operator==(const Matrix<T>& a, const Matrix<T>& b) { return Equal(a, b); } \
  bool operator!=(const Matrix<T>& a, const Matrix<T>& b) { return !Equal(a, b); }
QVMATH_FOR_EACH_ELEMENT_TYPE(QVMATH_MATRIX_FREE_DEFS)
#undef QVMATH_MATRIX_FREE_DEFS

#define QVMATH_MATRIX_PRODUCT_DEFS(T)                                                   \
  Matrix<T> operator*(const Matrix<T>& A, const Matrix<T>& B) { return Product(A, B); } \
  Matrix<T> comm(const Matrix<T>& A, const Matrix<T>& B) { return A * B - B * A; }
QVMATH_FOR_EACH_SCALAR_TYPE(QVMATH_MATRIX_PRODUCT_DEFS)
QVMATH_MATRIX_PRODUCT_DEFS(HPoint3D)
#undef QVMATH_MATRIX_PRODUCT_DEFS

#define QVMATH_MATRIX_VECTOR_DEF(T) \
  Vector<T> operator*(const Matrix<T>& A, const Vector<T>& v) { return MatVec(A, v); }
QVMATH_FOR_EACH_SCALAR_TYPE(QVMATH_MATRIX_VECTOR_DEF)
#undef QVMATH_MATRIX_VECTOR_DEF

void resizeKeepMatrix(Matrix<Point3D_d>& m, int rows, int cols) { m.resizeKeep(rows, cols); }
void resizeKeepMatrix(Matrix<HPoint3D_d>& m, int rows, int cols) { m.resizeKeep(rows, cols); }

#define QVMATH_MATRIX_INSTANTIATE(T) template class QVMATH_TEMPLATE_DEF Matrix<T>;
QVMATH_FOR_EACH_ELEMENT_TYPE(QVMATH_MATRIX_INSTANTIATE)
#undef QVMATH_MATRIX_INSTANTIATE

}  // namespace REmath
