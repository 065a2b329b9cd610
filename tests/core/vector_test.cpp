// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/core/vector.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <new>
#include <vector>

#include "core/vecmat_test_util.h"
#include "failing_alloc.h"
#include "test_util.h"

using qvtest::Elem;
using qvtest::Same;
using REmath::HPoint3D;
using REmath::HPoint3D_d;
using REmath::Point3D;
using REmath::Point3D_d;
using REmath::Vector;

namespace {

// A vector whose capacity and ownership are visible to the tests.
template <class T>
struct Probe : Vector<T> {
  using Vector<T>::Vector;
  using Vector<T>::operator=;
  int capacity() const { return this->m_capacity; }
  bool owns() const { return this->m_owns != 0; }
};

template <class T>
class VectorTyped : public ::testing::Test {};
TYPED_TEST_SUITE(VectorTyped, qvtest::AllElementTypes);

template <class T>
std::vector<T> Samples(int n, int first = 1) {
  std::vector<T> s;
  for (int i = 0; i < n; ++i) s.push_back(Elem<T>(first + i));
  return s;
}

TYPED_TEST(VectorTyped, Construction_DefaultSizedAndCopy) {
  using T = TypeParam;
  const Probe<T> d;
  EXPECT_EQ(d.size(), 1) << "a default vector has one element, not none";
  EXPECT_TRUE(Same(d[0], T()));
  EXPECT_TRUE(d.owns());

  const Probe<T> z(5);
  EXPECT_EQ(z.n(), 5);
  EXPECT_EQ(z.rows(), 5);
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(Same(z[i], T()));
  EXPECT_EQ(Probe<T>(0).size(), 0);
  EXPECT_EQ(Probe<T>(-3).size(), 0);

  auto mem = Samples<T>(4);
  const Probe<T> view(mem.data(), 4);
  EXPECT_FALSE(view.owns());
  EXPECT_EQ(view.memory(), mem.data());
  const Probe<T> copy(view);
  EXPECT_TRUE(copy.owns()) << "copies of a view are owning deep copies";
  EXPECT_NE(copy.memory(), mem.data());
  mem[0] = Elem<T>(9);
  EXPECT_TRUE(Same(copy[0], Elem<T>(1)));
}

// The resize algorithm, case by case, on a view of ten caller elements: a view stays a
// view until a reallocation, after which the caller's array is never touched again.
TYPED_TEST(VectorTyped, Resize_ViewStaysViewUntilReallocation) {
  using T = TypeParam;
  auto mem = Samples<T>(10);
  const auto orig = mem;
  Probe<T> v(mem.data(), 10);

  EXPECT_EQ(v.resize(5), 5);  // shrink: only the size
  EXPECT_EQ(v.size(), 5);
  EXPECT_EQ(v.capacity(), 10);
  EXPECT_EQ(v.memory(), mem.data());
  EXPECT_FALSE(v.owns());

  EXPECT_EQ(v.resize(4), 4);
  EXPECT_EQ(v.resize(8), 8);  // grow within the block: 4..7 zeroed in the caller's array
  EXPECT_EQ(v.memory(), mem.data());
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(Same(mem[i], orig[i]));
  for (int i = 4; i < 8; ++i) EXPECT_TRUE(Same(mem[i], T()));
  v.untrim();  // the old elements 8..9 come back
  EXPECT_EQ(v.size(), 10);
  EXPECT_TRUE(Same(v[8], orig[8]) && Same(v[9], orig[9]));

  EXPECT_EQ(v.resize(10), 10);  // n == capacity: nothing moves
  EXPECT_EQ(v.memory(), mem.data());

  EXPECT_EQ(v.resize(20), 20);  // reallocation: owning, old elements first, rest zero
  EXPECT_TRUE(v.owns());
  EXPECT_EQ(v.capacity(), 20);
  EXPECT_NE(v.memory(), mem.data());
  for (int i = 0; i < 10; ++i) EXPECT_TRUE(Same(v[i], mem[i]));
  for (int i = 10; i < 20; ++i) EXPECT_TRUE(Same(v[i], T()));
  const auto snapshot = mem;
  v[0] = Elem<T>(42);
  v.reset(Elem<T>(7));
  for (int i = 0; i < 10; ++i) EXPECT_TRUE(Same(mem[i], snapshot[i]));
}

TYPED_TEST(VectorTyped, Resize_EqualSizeBelowCapacityReallocatesExactly) {
  using T = TypeParam;
  auto mem = Samples<T>(10);
  Probe<T> v(mem.data(), 10);
  v.trim(4);
  // n == size while capacity differs: the third case, a block of exactly n elements.
  EXPECT_EQ(v.resize(4), 4);
  EXPECT_TRUE(v.owns());
  EXPECT_EQ(v.capacity(), 4);
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(Same(v[i], mem[i]));
  Probe<T> w(mem.data(), 10);
  EXPECT_EQ(w.resize(-1), -1);
  EXPECT_EQ(w.size(), 10);
  EXPECT_EQ(w.memory(), mem.data());
}

TYPED_TEST(VectorTyped, Resize_AllocationFailureLeavesVectorUnchanged) {
  using T = TypeParam;
  auto mem = Samples<T>(3);
  Probe<T> v(mem.data(), 3);
  qvtest::g_failArrayNews = 1;
  EXPECT_EQ(v.resize(50), -1);
  qvtest::g_failArrayNews = 0;
  EXPECT_EQ(v.size(), 3);
  EXPECT_EQ(v.capacity(), 3);
  EXPECT_EQ(v.memory(), mem.data());
  EXPECT_FALSE(v.owns());
  // Callers without a result to report it in throw instead of writing past the block.
  Vector<T> big(40);
  qvtest::g_failArrayNews = 1;
  EXPECT_THROW(v = big, std::bad_alloc);
  qvtest::g_failArrayNews = 0;
  EXPECT_EQ(v.size(), 3);
}

TYPED_TEST(VectorTyped, Trim_OutOfRangeIgnoredAndBlockUntouched) {
  using T = TypeParam;
  auto mem = Samples<T>(6);
  Probe<T> v(mem.data(), 6);
  v.trim(-1);
  EXPECT_EQ(v.size(), 6);
  v.trim(7);
  EXPECT_EQ(v.size(), 6);
  v.trim(0);
  EXPECT_EQ(v.size(), 0);
  v.trim(6);
  EXPECT_EQ(v.size(), 6);
  v.trim(2);
  v.untrim();
  for (int i = 0; i < 6; ++i) EXPECT_TRUE(Same(v[i], Elem<T>(i + 1)));
}

TYPED_TEST(VectorTyped, Assign_ViewOfSameSizeReceivesElements) {
  using T = TypeParam;
  auto mem = Samples<T>(3);
  Probe<T> view(mem.data(), 3);
  auto srcMem = Samples<T>(3, 10);
  const Vector<T> src(srcMem.data(), 3);
  view = src;
  EXPECT_FALSE(view.owns());
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(Same(mem[i], Elem<T>(10 + i)));

  auto longer = Samples<T>(5, 20);
  view = Vector<T>(longer.data(), 5);  // a different size reallocates
  EXPECT_TRUE(view.owns());
  EXPECT_EQ(view.size(), 5);
  EXPECT_TRUE(Same(view[4], Elem<T>(24)));
  EXPECT_TRUE(Same(mem[2], Elem<T>(12)));

  view = view;  // self-assignment does nothing
  EXPECT_TRUE(Same(view[4], Elem<T>(24)));

  const T back = (view = Elem<T>(3));
  EXPECT_TRUE(Same(back, Elem<T>(3)));
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(Same(view[i], Elem<T>(3)));
}

TYPED_TEST(VectorTyped, GetAs_RangesAndFaultTexts) {
  using T = TypeParam;
  auto mem = Samples<T>(4);
  Vector<T> v(mem.data(), 4);
  EXPECT_THROWS_TEXT(v.get(2, 3), "NURBSmatrix_err");
  EXPECT_THROWS_TEXT(v.get(-1, 2), "NURBSmatrix_err");
  EXPECT_THROWS_TEXT(v.get(0, -1), "NURBSmatrix_err");
  const Vector<T> g = v.get(1, 3);
  ASSERT_EQ(g.size(), 3);
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(Same(g[i], mem[i + 1]));
  EXPECT_NE(g.memory(), mem.data() + 1);
  EXPECT_EQ(v.get(4, 0).size(), 0);

  auto two = Samples<T>(2, 30);
  const Vector<T> src(two.data(), 2);
  const auto before = mem;
  EXPECT_THROWS_TEXT(v.as(3, src), "NURBSmatrix_err");
  EXPECT_THROWS_TEXT(v.as(-1, src), "NURBSmatrix_err");
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(Same(mem[i], before[i])) << "unchanged by a throw";
  v.as(2, src);
  EXPECT_TRUE(Same(mem[1], before[1]));
  EXPECT_TRUE(Same(mem[2], Elem<T>(30)) && Same(mem[3], Elem<T>(31)));
}

TYPED_TEST(VectorTyped, Arithmetic_SumsAgainstElementOracleAndSizeFaults) {
  using T = TypeParam;
  auto am = Samples<T>(5, 3), bm = Samples<T>(5, 1);
  const Vector<T> a(am.data(), 5), b(bm.data(), 5);
  const Vector<T> s = a + b, d = a - b;
  for (int i = 0; i < 5; ++i) {
    T es = am[i], ed = am[i];
    es += bm[i];
    ed -= bm[i];
    EXPECT_TRUE(Same(s[i], es));
    EXPECT_TRUE(Same(d[i], ed));
  }
  auto cm = Samples<T>(4);
  Vector<T> c(cm.data(), 4);
  const auto before = am;
  EXPECT_THROWS_TEXT(a + c, "NURBSsize");
  EXPECT_THROWS_TEXT(a - c, "NURBSsize");
  EXPECT_THROWS_TEXT(c += a, "NURBSsize");
  EXPECT_THROWS_TEXT(c -= a, "NURBSsize");
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(Same(am[i], before[i]));
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(Same(cm[i], Elem<T>(i + 1)));
  Vector<T> e(a);
  e += b;
  e -= b;
  EXPECT_TRUE(e == a);
}

TYPED_TEST(VectorTyped, Compare_SizeAndElements) {
  using T = TypeParam;
  auto am = Samples<T>(3);
  const Vector<T> a(am.data(), 3), b(a);
  EXPECT_TRUE(a == b);
  EXPECT_FALSE(a != b);
  EXPECT_FALSE(a == a.get(0, 2)) << "different sizes are unequal";
  Vector<T> c(b);
  c[1] = Elem<T>(5);
  EXPECT_TRUE(a != c);
}

// The rounding rules of v·s: integers in double truncated toward zero, floats as the
// double product stored back, points componentwise with w included.
TEST(VectorTest, Scale_RoundingRulesPerElementType) {
  int im[2] = {3, -3};
  const Vector<int> iv = Vector<int>(im, 2) * 0.5;
  EXPECT_EQ(iv[0], 1);
  EXPECT_EQ(iv[1], -1);
  char cm[3] = {100, -7, 0};
  const Vector<char> cv = Vector<char>(cm, 3) * 1.9;
  EXPECT_EQ(cv[0], char(190 - 256)) << "wraps like integer arithmetic";
  EXPECT_EQ(cv[1], char(-13));
  unsigned um[1] = {7};
  EXPECT_EQ((Vector<unsigned>(um, 1) * 0.99)[0], 6u);

  float fm[2] = {0.1f, 3.0f};
  const Vector<float> fv(fm, 2);
  const Vector<float> f1 = fv * 0.1, f2 = 0.1 * fv;
  EXPECT_EQ(f1[0], float(double(0.1f) * 0.1));
  EXPECT_TRUE(f1 == f2);
  double dm[2] = {1.5, -2.0};
  const Vector<double> dv(dm, 2);
  EXPECT_TRUE(dv * 3.0 == 3.0 * dv);
  EXPECT_EQ((dv * 3.0)[1], -6.0);

  HPoint3D hm[1] = {HPoint3D(1, 2, 3, 4)};
  EXPECT_EQ((Vector<HPoint3D>(hm, 1) * 0.5)[0], HPoint3D(0.5f, 1.0f, 1.5f, 2.0f));
  Point3D pm[1] = {Point3D(0.1f, 1, 2)};
  const Point3D p = (Vector<Point3D>(pm, 1) * 3.0)[0];
  EXPECT_EQ(p.x(), float(double(0.1f) * 3.0));
  EXPECT_EQ(p.z(), 6.0f);
}

TEST(VectorTest, MinIndex_ScalarTiesAndNaN) {
  int a[4] = {3, 1, 2, 1};
  EXPECT_EQ(Vector<int>(a, 4).minIndex(), 3) << "ties go to the last equal element";
  EXPECT_EQ(Vector<int>(a, 4).minimum(), 1);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  double b[4] = {2, nan, 1, nan};
  EXPECT_EQ(Vector<double>(b, 4).minIndex(), 2) << "a NaN element is never taken";
  double c[3] = {nan, -5, -7};
  EXPECT_EQ(Vector<double>(c, 3).minIndex(), 0) << "a NaN at index 0 is never displaced";
  unsigned char d[3] = {9, 200, 9};
  EXPECT_EQ(Vector<unsigned char>(d, 3).minIndex(), 2);
  // An empty vector with a block still reads element 0.
  double e[2] = {4, 1};
  Vector<double> ev(e, 2);
  ev.trim(0);
  EXPECT_EQ(ev.minIndex(), 0);
  EXPECT_EQ(ev.minimum(), 4.0);
  EXPECT_EQ(Vector<double>(0).minIndex(), 0);
}

// The point rule: element i replaces the running minimum unless the minimum is strictly
// less in every one of x, y and z; order-dependent, neither lexicographic nor by length.
TEST(VectorTest, MinIndex_PointDominanceRule) {
  Point3D_d p[3] = {Point3D_d(1, 1, 1), Point3D_d(0, 5, 5), Point3D_d(2, 2, 2)};
  EXPECT_EQ(Vector<Point3D_d>(p, 3).minIndex(), 2)
      << "(2,2,2) is not dominated by (0,5,5), so it is taken although it is longer";
  Point3D q[3] = {Point3D(0, 0, 0), Point3D(1, 1, 1), Point3D(0, 1, 1)};
  EXPECT_EQ(Vector<Point3D>(q, 3).minIndex(), 2) << "an equal x stops the domination";
  Point3D r[2] = {Point3D(0, 0, 0), Point3D(1, 1, 1)};
  EXPECT_EQ(Vector<Point3D>(r, 2).minIndex(), 0);
  // The weight of homogeneous points plays no part.
  HPoint3D h[2] = {HPoint3D(0, 0, 0, 9), HPoint3D(1, 1, 1, -9)};
  EXPECT_EQ(Vector<HPoint3D>(h, 2).minIndex(), 0);
  HPoint3D_d hd[2] = {HPoint3D_d(1, 1, 1, 0), HPoint3D_d(1, 1, 1, 5)};
  EXPECT_EQ(Vector<HPoint3D_d>(hd, 2).minIndex(), 1);
  EXPECT_EQ(Vector<HPoint3D_d>(hd, 2).minimum(), hd[1]);
}

TEST(VectorTest, Compare_RelativeEpsilonForPlainPoints) {
  const float fe = 1.1920928955078125e-07f;
  Point3D a[1] = {Point3D(1.0f, 0.0f, -2.0f)};
  Point3D b[1] = {Point3D(std::nextafter(1.0f, 2.0f), 0.0f, -2.0f)};
  EXPECT_TRUE(Vector<Point3D>(a, 1) == Vector<Point3D>(b, 1)) << "one ulp is within eps";
  Point3D c[1] = {Point3D(1.0f + 4 * fe, 0.0f, -2.0f)};
  EXPECT_FALSE(Vector<Point3D>(a, 1) == Vector<Point3D>(c, 1));
  Point3D d[1] = {Point3D(1.0f, 1e-30f, -2.0f)};
  EXPECT_FALSE(Vector<Point3D>(a, 1) == Vector<Point3D>(d, 1)) << "0 equals only 0";

  const double de = 2.220446049250313e-16;
  Point3D_d e[1] = {Point3D_d(1e300, -3.0, 0.0)};
  Point3D_d f[1] = {Point3D_d(1e300 * (1 + de), -3.0 * (1 + de), 0.0)};
  EXPECT_TRUE(Vector<Point3D_d>(e, 1) == Vector<Point3D_d>(f, 1));
  Point3D_d g[1] = {Point3D_d(1e300, -3.0 * (1 + 4 * de), 0.0)};
  EXPECT_TRUE(Vector<Point3D_d>(e, 1) != Vector<Point3D_d>(g, 1));
  const double inf = std::numeric_limits<double>::infinity();
  Point3D_d h[1] = {Point3D_d(inf, 0, 0)};
  EXPECT_FALSE(Vector<Point3D_d>(h, 1) == Vector<Point3D_d>(h, 1)) << "inf - inf is NaN";

  // Scalars and homogeneous points compare exactly.
  double s1[1] = {1.0}, s2[1] = {1.0 + de};
  EXPECT_FALSE(Vector<double>(s1, 1) == Vector<double>(s2, 1));
  double sn[1] = {std::numeric_limits<double>::quiet_NaN()};
  EXPECT_FALSE(Vector<double>(sn, 1) == Vector<double>(sn, 1));
  HPoint3D h1[1] = {HPoint3D(1, 2, 3, 4)}, h2[1] = {HPoint3D(1, 2, 3, std::nextafter(4.0f, 5.0f))};
  EXPECT_FALSE(Vector<HPoint3D>(h1, 1) == Vector<HPoint3D>(h2, 1));
}

TEST(VectorTest, Convert_NarrowAndWidenPointVectors) {
  Point3D_d src[2] = {Point3D_d(0.1, -1e40, 3.0), Point3D_d(1.0 / 3, 2, 1e-50)};
  Vector<Point3D> f;
  REmath::copy_vector_d2f(Vector<Point3D_d>(src, 2), f);
  ASSERT_EQ(f.size(), 2);
  EXPECT_EQ(f[0].x(), 0.1f);
  EXPECT_TRUE(std::isinf(f[0].y()) && f[0].y() < 0);
  EXPECT_EQ(f[1].z(), 0.0f);
  Vector<Point3D_d> d(7);
  REmath::copy_vector_f2d(f, d);
  ASSERT_EQ(d.size(), 2);
  EXPECT_EQ(d[0].x(), double(0.1f)) << "widening is exact";
  EXPECT_EQ(d[1].x(), double(float(1.0 / 3)));
  // Round trip float -> double -> float is the identity (finite values: an infinity
  // never compares equal under the relative tolerance).
  f[0].y() = -1e30f;
  REmath::copy_vector_f2d(f, d);
  Vector<Point3D> back;
  REmath::copy_vector_d2f(d, back);
  EXPECT_TRUE(back == f);
}

TEST(VectorTest, Degenerate_NegativeSizesGiveEmptyVectors) {
  double mem[2] = {1, 2};
  Vector<double> v(mem, -2);
  EXPECT_EQ(v.size(), 0);
  EXPECT_EQ(v.resize(3), 3);  // a fresh owning block, all zeros
  EXPECT_EQ(v[2], 0.0);
  EXPECT_EQ(mem[0], 1.0);
  EXPECT_EQ(Vector<double>(-1).resize(2), 2);
}

// reset is virtual and operator=(T) calls it through the virtual table.
TEST(VectorTest, Reset_VirtualDispatchFromAssignment) {
  struct Counting : Vector<double> {
    using Vector<double>::operator=;
    explicit Counting(int n) : Vector<double>(n) {}
    void reset(double value) override {
      ++calls;
      Vector<double>::reset(value);
    }
    int calls = 0;
  };
  Counting c(3);
  const double r = (c = 2.5);
  EXPECT_EQ(r, 2.5);
  EXPECT_EQ(c.calls, 1);
  EXPECT_EQ(c[2], 2.5);
  Vector<double>& base = c;
  base = 1.0;
  EXPECT_EQ(c.calls, 2);
}

// Views never free the caller's memory: with a stack array, AddressSanitizer would flag
// any delete of it; a destroyed view leaves the array intact.
TEST(VectorTest, Ownership_ViewsNeverFreeCallerMemory) {
  double stack[4] = {1, 2, 3, 4};
  {
    Vector<double> v(stack, 4);
    v.resize(2);
    v += v.get(0, 2);
    v.as(0, v.get(1, 1));
  }
  EXPECT_EQ(stack[0], 4.0);
  EXPECT_EQ(stack[1], 4.0);
  EXPECT_EQ(stack[2], 3.0);
  {
    Vector<double> v(stack, 4);
    v.resize(100);  // reallocates; the owned block is freed by the destructor
    v[3] = -1;
  }
  EXPECT_EQ(stack[3], 4.0);
}

}  // namespace
