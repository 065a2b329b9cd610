// SPDX-License-Identifier: MIT
// The element-type rules of Vector<T> and Matrix<T>: which free operators exist for which of
// the ten element types (checked at compile time), and the type-specific operators the
// Vector and Matrix tests do not reach, linked and run once.
#include <gtest/gtest.h>
#include <qvmath/core/element_types.h>
#include <qvmath/core/matrix.h>
#include <qvmath/core/vector.h>

#include <type_traits>
#include <utility>

using namespace REmath;  // NOLINT: the test names every template of the namespace

namespace {

template <class, class, class = void>
struct HasProduct : std::false_type {};
template <class A, class B>
struct HasProduct<A, B, std::void_t<decltype(std::declval<const A&>() * std::declval<const B&>())>>
    : std::true_type {};

template <class, class = void>
struct HasComm : std::false_type {};
template <class M>
struct HasComm<M, std::void_t<decltype(comm(std::declval<const M&>(), std::declval<const M&>()))>>
    : std::true_type {};

template <class, class = void>
struct HasNorm : std::false_type {};
template <class M>
struct HasNorm<M, std::void_t<decltype(std::declval<const M&>().norm())>> : std::true_type {};

template <class T>
constexpr bool kScalar = std::is_arithmetic<T>::value;

// Free operators exist exactly for the types the interface lists.
#define QVMATH_CHECK_FREE_SET(T)                                                                   \
  static_assert(HasProduct<Vector<T>, double>::value, "v * s for every type");                     \
  static_assert(HasProduct<double, Vector<T>>::value ==                                            \
                    (std::is_same<T, float>::value || std::is_same<T, double>::value),             \
                "s * v only for float and double");                                                \
  static_assert(HasProduct<double, Matrix<T>>::value, "s * M for every type");                     \
  static_assert(                                                                                   \
      HasProduct<Matrix<T>, Matrix<T>>::value == (kScalar<T> || std::is_same<T, HPoint3D>::value), \
      "A * B for the scalars and HPoint3D");                                                       \
  static_assert(HasComm<Matrix<T>>::value == (kScalar<T> || std::is_same<T, HPoint3D>::value),     \
                "comm for the scalars and HPoint3D");                                              \
  static_assert(HasProduct<Matrix<T>, Vector<T>>::value == kScalar<T>, "A * v for the scalars");   \
  static_assert(HasNorm<Matrix<T>>::value == kScalar<T>, "norm for the scalars");
QVMATH_FOR_EACH_ELEMENT_TYPE(QVMATH_CHECK_FREE_SET)
#undef QVMATH_CHECK_FREE_SET

template <class T>
void ExpectZeroNormAfterDivide() {
  Matrix<T> d(2, 2);
  d /= T(1);
  EXPECT_EQ(d.norm(), T(0));
}

// The scalar-only operators the product tests do not reach, linked against the library's
// explicit instantiations and run once per scalar type.
template <class... T>
void ScalarOperatorsLinkAndRun() {
  (ExpectZeroNormAfterDivide<T>(), ...);
}

TEST(ElementTypesTest, Instantiation_TypeSpecificOperators) {
  ScalarOperatorsLinkAndRun<char, unsigned char, int, unsigned int, float, double>();
  Matrix<Point3D> mp(1, 1);
  mp /= Point3D(1, 1, 1);
  Matrix<HPoint3D_d> mq(1, 1);
  mq /= HPoint3D_d(1, 1, 1, 1);
  EXPECT_EQ(mq(0, 0), HPoint3D_d());
}

}  // namespace
