// SPDX-License-Identifier: MIT
// The element-type rules of Vector<T> and Matrix<T>: which free operators exist for which of
// the ten element types (checked at compile time), and the type-specific operators linked
// against the library's explicit instantiations and run once. The members common to all
// types run for every type in the Vector and Matrix tests.
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

// The operators that exist only for some types, for each of those types.
template <class T>
void ProductsLinkAndRun() {
  Matrix<T> A(2, 2), B(2, 2);
  EXPECT_EQ((A * B).rows(), 2);
  EXPECT_EQ(comm(A, B).cols(), 2);
}
template <class T>
void MatVecAndNormLinkAndRun() {
  ProductsLinkAndRun<T>();
  EXPECT_EQ((Matrix<T>(3, 2) * Vector<T>(2)).size(), 3);
  EXPECT_EQ(Matrix<T>(2, 2).norm(), T(0));
  Matrix<T> d(1, 1);
  d /= T(1);
}

TEST(ElementTypesTest, Instantiation_TypeSpecificOperators) {
  MatVecAndNormLinkAndRun<char>();
  MatVecAndNormLinkAndRun<unsigned char>();
  MatVecAndNormLinkAndRun<int>();
  MatVecAndNormLinkAndRun<unsigned int>();
  MatVecAndNormLinkAndRun<float>();
  MatVecAndNormLinkAndRun<double>();
  ProductsLinkAndRun<HPoint3D>();
  Vector<float> vf(2);
  Vector<double> vd(2);
  EXPECT_EQ((2.0 * vf).size(), 2);
  EXPECT_EQ((2.0 * vd).size(), 2);
  Vector<Point3D> pf(2);
  Vector<Point3D_d> pd(3);
  copy_vector_f2d(pf, pd);
  copy_vector_d2f(pd, pf);
  EXPECT_EQ(pd.size(), 2);
  Matrix<Point3D_d> md(2, 2);
  Matrix<HPoint3D_d> mh(2, 2);
  resizeKeepMatrix(md, 3, 3);
  resizeKeepMatrix(mh, 1, 1);
  EXPECT_EQ(md.rows() + mh.rows(), 4);
  Matrix<Point3D> mp(1, 1);
  mp /= Point3D(1, 1, 1);
  Matrix<HPoint3D_d> mq(1, 1);
  mq /= HPoint3D_d(1, 1, 1, 1);
}

}  // namespace
