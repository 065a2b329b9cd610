// SPDX-License-Identifier: MIT
// Element arithmetic shared by Vector<T> and Matrix<T> over the ten element types:
// integers wrap like machine integers, points combine componentwise (w included).
#pragma once

#include <qvmath/core/detail/tolerance.h>
#include <qvmath/core/hpoint3d.h>
#include <qvmath/core/point3d.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <type_traits>

namespace REmath {
namespace detail {

template <class T>
struct IsPlainPoint : std::integral_constant<bool, std::is_same<T, Point3D>::value ||
                                                       std::is_same<T, Point3D_d>::value> {};
template <class T>
struct IsHomPoint : std::integral_constant<bool, std::is_same<T, HPoint3D>::value ||
                                                     std::is_same<T, HPoint3D_d>::value> {};
template <class T>
struct IsPoint : std::integral_constant<bool, IsPlainPoint<T>::value || IsHomPoint<T>::value> {};

// Signed int arithmetic is done in unsigned so that overflow wraps instead of being
// undefined; char and unsigned char are promoted to int, where nothing overflows, and
// narrowed back by the usual modular conversion.
template <class T>
using WrapType = std::conditional_t<std::is_same<T, int>::value, unsigned int, T>;

template <class T, std::enable_if_t<std::is_arithmetic<T>::value, int> = 0>
inline T AddElem(T a, T b) {
  return T(WrapType<T>(a) + WrapType<T>(b));
}
template <class T, std::enable_if_t<std::is_arithmetic<T>::value, int> = 0>
inline T SubElem(T a, T b) {
  return T(WrapType<T>(a) - WrapType<T>(b));
}
template <class T, std::enable_if_t<std::is_arithmetic<T>::value, int> = 0>
inline T MulElem(T a, T b) {
  return T(WrapType<T>(a) * WrapType<T>(b));
}
// A true division. Integer division by zero, which would trap, is refused by the callers;
// INT_MIN / -1 (which also traps on x86) wraps to INT_MIN like the other int operations.
template <class T, std::enable_if_t<std::is_arithmetic<T>::value, int> = 0>
inline T DivElem(T a, T b) {
  if (std::is_same<T, int>::value && b == T(-1)) return SubElem(T(0), a);
  return T(a / b);
}

template <class T, std::enable_if_t<IsPoint<T>::value, int> = 0>
inline T AddElem(T a, const T& b) {
  return a += b;
}
template <class T, std::enable_if_t<IsPoint<T>::value, int> = 0>
inline T SubElem(T a, const T& b) {
  return a -= b;
}
template <class T, std::enable_if_t<IsPlainPoint<T>::value, int> = 0>
inline T MulElem(T a, const T& b) {
  a.m_x *= b.m_x, a.m_y *= b.m_y, a.m_z *= b.m_z;
  return a;
}
template <class T, std::enable_if_t<IsHomPoint<T>::value, int> = 0>
inline T MulElem(T a, const T& b) {
  a.m_x *= b.m_x, a.m_y *= b.m_y, a.m_z *= b.m_z, a.m_w *= b.m_w;
  return a;
}
template <class T, std::enable_if_t<IsPlainPoint<T>::value, int> = 0>
inline T DivElem(T a, const T& b) {
  a.m_x /= b.m_x, a.m_y /= b.m_y, a.m_z /= b.m_z;
  return a;
}
template <class T, std::enable_if_t<IsHomPoint<T>::value, int> = 0>
inline T DivElem(T a, const T& b) {
  a.m_x /= b.m_x, a.m_y /= b.m_y, a.m_z /= b.m_z, a.m_w /= b.m_w;
  return a;
}

// The element operations as function objects, for the elementwise loops below.
struct AddOp {
  template <class T>
  T operator()(const T& a, const T& b) const {
    return AddElem(a, b);
  }
};
struct SubOp {
  template <class T>
  T operator()(const T& a, const T& b) const {
    return SubElem(a, b);
  }
};
struct MulOp {
  template <class T>
  T operator()(const T& a, const T& b) const {
    return MulElem(a, b);
  }
};
struct DivOp {
  template <class T>
  T operator()(const T& a, const T& b) const {
    return DivElem(a, b);
  }
};

/// a[k] = op(a[k], b[k]) for k < n.
template <class T, class Op>
inline void CombineInPlace(T* a, const T* b, std::size_t n, Op op) {
  for (std::size_t k = 0; k < n; ++k) a[k] = op(a[k], b[k]);
}

/// a[k] = op(a[k], v) for k < n.
template <class T, class Op>
inline void CombineScalarInPlace(T* a, const T& v, std::size_t n, Op op) {
  for (std::size_t k = 0; k < n; ++k) a[k] = op(a[k], v);
}

/// True when v compares equal to zero (every component, for points).
template <class T, std::enable_if_t<std::is_arithmetic<T>::value, int> = 0>
inline bool IsZeroElem(T v) {
  return v == T(0);
}
template <class T, std::enable_if_t<IsPlainPoint<T>::value, int> = 0>
inline bool IsZeroElem(const T& v) {
  return v.m_x == 0 && v.m_y == 0 && v.m_z == 0;
}
template <class T, std::enable_if_t<IsHomPoint<T>::value, int> = 0>
inline bool IsZeroElem(const T& v) {
  return v.m_x == 0 && v.m_y == 0 && v.m_z == 0 && v.m_w == 0;
}

/// True when the division a / b would trap (an integer division by zero).
template <class T>
inline bool DivisionTraps(const T& b) {
  return std::is_integral<T>::value && IsZeroElem(b);
}

// The integer reading of x·s: the product in double truncated toward zero, then reduced
// modulo 2^bits like any other integer result. NaN and magnitudes beyond the range of
// long long, where the conversion has no value, give 0.
template <class T>
inline T TruncToInt(double x) {
  constexpr double kLimit = 9223372036854775808.0;  // 2^63
  if (!(x > -kLimit && x < kLimit)) return T(0);
  const long long t = static_cast<long long>(x);  // truncates toward zero
  return T(static_cast<unsigned long long>(t));
}

/// v·s: in double and truncated toward zero for integers, a double product stored back
/// for float, componentwise (w included) for points.
template <class T, std::enable_if_t<std::is_integral<T>::value, int> = 0>
inline T ScaleElem(T v, double s) {
  return TruncToInt<T>(double(v) * s);
}
template <class T, std::enable_if_t<std::is_floating_point<T>::value, int> = 0>
inline T ScaleElem(T v, double s) {
  return T(double(v) * s);
}
template <class T, std::enable_if_t<IsPoint<T>::value, int> = 0>
inline T ScaleElem(T v, double s) {
  return v *= s;
}

// Components equal within their own type's relative machine epsilon.
template <class Real>
inline bool NearlyEqualComponent(Real a, Real b) {
  return RelativelyEqual(a, b, std::numeric_limits<Real>::epsilon());
}

/// Element equality of the vector comparison: exact for scalars and homogeneous points,
/// per component within the relative machine epsilon for Point3D and Point3D_d.
template <class T, std::enable_if_t<std::is_arithmetic<T>::value, int> = 0>
inline bool VectorElemEqual(T a, T b) {
  return a == b;
}
template <class T, std::enable_if_t<IsHomPoint<T>::value, int> = 0>
inline bool VectorElemEqual(const T& a, const T& b) {
  return a == b;
}
template <class T, std::enable_if_t<IsPlainPoint<T>::value, int> = 0>
inline bool VectorElemEqual(const T& a, const T& b) {
  return NearlyEqualComponent(a.m_x, b.m_x) && NearlyEqualComponent(a.m_y, b.m_y) &&
         NearlyEqualComponent(a.m_z, b.m_z);
}

/// Exact element equality of the matrix comparison (all components for points).
template <class T, std::enable_if_t<std::is_arithmetic<T>::value, int> = 0>
inline bool ExactElemEqual(T a, T b) {
  return a == b;
}
template <class T, std::enable_if_t<IsPlainPoint<T>::value, int> = 0>
inline bool ExactElemEqual(const T& a, const T& b) {
  return a.m_x == b.m_x && a.m_y == b.m_y && a.m_z == b.m_z;
}
template <class T, std::enable_if_t<IsHomPoint<T>::value, int> = 0>
inline bool ExactElemEqual(const T& a, const T& b) {
  return a == b;
}

/// The "running minimum" test of Vector::minIndex: true when candidate replaces cur.
/// Scalars: cur >= candidate (ties go to the later element, a NaN is never taken and never
/// displaced). Points: unless cur is strictly less in every one of x, y and z.
template <class T, std::enable_if_t<std::is_arithmetic<T>::value, int> = 0>
inline bool TakesMinimum(T cur, T candidate) {
  return cur >= candidate;
}
template <class T, std::enable_if_t<IsPoint<T>::value, int> = 0>
inline bool TakesMinimum(const T& cur, const T& candidate) {
  return !(cur.m_x < candidate.m_x && cur.m_y < candidate.m_y && cur.m_z < candidate.m_z);
}

}  // namespace detail
}  // namespace REmath
