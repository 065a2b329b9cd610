// SPDX-License-Identifier: MIT
// Explicit instantiations of REmath::Vector<T> for the ten element types, and the free
// operators and conversions.
#include <qvmath/core/detail/fault.h>
#include <qvmath/core/vector.h>
#include <qvmath/core/vector_impl.h>

namespace REmath {

namespace {

// One pass over the source into a fresh zeroed vector, the same work as a plain loop
// filling a value-initialised std::vector.
template <class T>
Vector<T> Scaled(const Vector<T>& v, double s) {
  const int n = v.size();
  Vector<T> r(n);
  const T* src = v.memory();
  T* dst = r.memory();
  for (int i = 0; i < n; ++i) dst[i] = detail::ScaleElem(src[i], s);
  return r;
}

template <class T>
bool Equal(const Vector<T>& a, const Vector<T>& b) {
  if (a.size() != b.size()) return false;
  const T* pa = a.memory();
  const T* pb = b.memory();
  for (int i = 0, n = a.size(); i < n; ++i)
    if (!detail::VectorElemEqual(pa[i], pb[i])) return false;
  return true;
}

template <class Dst, class Src>
void CopyConverted(const Vector<Src>& src, Vector<Dst>& dst) {
  const int n = src.size();
  detail::ResizeOrThrow(dst, n);
  const Src* s = src.memory();
  Dst* d = dst.memory();
  for (int i = 0; i < n; ++i) d[i] = Dst(s[i].m_x, s[i].m_y, s[i].m_z);
}

}  // namespace

#define QVMATH_VECTOR_FREE_DEFS(T)                                                \
  Vector<T> operator+(const Vector<T>& a, const Vector<T>& b) {                   \
    if (a.size() != b.size()) detail::ThrowFault("NURBSsize");                    \
    Vector<T> r(a);                                                               \
    r += b;                                                                       \
    return r;                                                                     \
  }                                                                               \
  Vector<T> operator-(const Vector<T>& a, const Vector<T>& b) {                   \
    if (a.size() != b.size()) detail::ThrowFault("NURBSsize");                    \
    Vector<T> r(a);                                                               \
    r -= b;                                                                       \
    return r;                                                                     \
  }                                                                               \
  Vector<T> operator*(const Vector<T>& v, double s) { return Scaled(v, s); }      \
  bool operator==(const Vector<T>& a, const Vector<T>& b) { return Equal(a, b); } \
  bool operator!=(const Vector<T>& a, const Vector<T>& b) { return !Equal(a, b); }
QVMATH_FOR_EACH_ELEMENT_TYPE(QVMATH_VECTOR_FREE_DEFS)
#undef QVMATH_VECTOR_FREE_DEFS

Vector<float> operator*(double s, const Vector<float>& v) { return Scaled(v, s); }
Vector<double> operator*(double s, const Vector<double>& v) { return Scaled(v, s); }

void copy_vector_d2f(const Vector<Point3D_d>& src, Vector<Point3D>& dst) {
  CopyConverted(src, dst);
}
void copy_vector_f2d(const Vector<Point3D>& src, Vector<Point3D_d>& dst) {
  CopyConverted(src, dst);
}

#define QVMATH_VECTOR_INSTANTIATE(T) template class QVMATH_TEMPLATE_DEF Vector<T>;
QVMATH_FOR_EACH_ELEMENT_TYPE(QVMATH_VECTOR_INSTANTIATE)
#undef QVMATH_VECTOR_INSTANTIATE

}  // namespace REmath
