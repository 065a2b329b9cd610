// SPDX-License-Identifier: MIT
// Helpers shared by the Vector and Matrix tests: the ten element types as a typed-test
// list, distinct sample elements for every type, and component access for points.
#pragma once

#include <gtest/gtest.h>
#include <qvmath/core/hpoint3d.h>
#include <qvmath/core/point3d.h>

#include <type_traits>

namespace qvtest {

using AllElementTypes =
    ::testing::Types<char, unsigned char, int, unsigned int, float, double, REmath::Point3D,
                     REmath::Point3D_d, REmath::HPoint3D, REmath::HPoint3D_d>;

template <class T>
struct IsHom : std::integral_constant<bool, std::is_same<T, REmath::HPoint3D>::value ||
                                                std::is_same<T, REmath::HPoint3D_d>::value> {};

/// A sample element built from a small non-negative k; distinct k give distinct elements
/// and the components of a point differ from one another.
template <class T, std::enable_if_t<std::is_arithmetic<T>::value, int> = 0>
T Elem(int k) {
  return T(k);
}
template <class T, std::enable_if_t<!std::is_arithmetic<T>::value && !IsHom<T>::value, int> = 0>
T Elem(int k) {
  return T(k, 2 * k + 1, 3 * k + 2);
}
template <class T, std::enable_if_t<IsHom<T>::value, int> = 0>
T Elem(int k) {
  return T(k, 2 * k + 1, 3 * k + 2, k + 3);
}

/// Exact equality of two elements of any of the ten types, all components.
template <class T, std::enable_if_t<std::is_arithmetic<T>::value, int> = 0>
bool Same(T a, T b) {
  return a == b;
}
template <class T, std::enable_if_t<!std::is_arithmetic<T>::value && !IsHom<T>::value, int> = 0>
bool Same(const T& a, const T& b) {
  return a.m_x == b.m_x && a.m_y == b.m_y && a.m_z == b.m_z;
}
template <class T, std::enable_if_t<IsHom<T>::value, int> = 0>
bool Same(const T& a, const T& b) {
  return a == b;
}

}  // namespace qvtest
