// SPDX-License-Identifier: MIT
// Vector<T>: storage, views and resizing are the same code for every element type and are
// tested on double; the element-specific rules (scaling, minimum, comparison, conversion)
// are tested per type.
#include <gtest/gtest.h>
#include <qvmath/core/vector.h>

#include <cmath>
#include <functional>
#include <limits>
#include <new>
#include <vector>

#include "failing_alloc.h"
#include "test_util.h"

using REmath::HPoint3D;
using REmath::HPoint3D_d;
using REmath::Point3D;
using REmath::Point3D_d;
using REmath::Vector;

namespace {

// A vector whose capacity and ownership are visible to the tests.
struct Probe : Vector<double> {
  using Vector<double>::Vector;
  using Vector<double>::operator=;
  int capacity() const { return this->m_capacity; }
  bool owns() const { return this->m_owns != 0; }
};

// A one-element owning vector.
template <class T>
Vector<T> One(const T& x) {
  Vector<T> v(1);
  v[0] = x;
  return v;
}

TEST(VectorTest, Construction_DefaultNegativeAndCopyOfView) {
  const Probe d;
  EXPECT_TRUE(d.size() == 1 && d[0] == 0.0) << "a default vector has one element, not none";
  EXPECT_EQ(Probe(-3).size(), 0);
  double mem[4] = {1, 2, 3, 4};
  Probe neg(mem, -2);
  EXPECT_EQ(neg.size(), 0);
  EXPECT_TRUE(neg.resize(3) == 3 && neg[2] == 0.0);  // a fresh owning block, all zeros
  const Probe view(mem, 4), copy(view);
  mem[0] = 9;
  EXPECT_TRUE(copy.owns() && copy[0] == 1.0) << "copies of a view are owning deep copies";
}

// The resize algorithm, case by case, on a view of ten caller elements: a view stays a
// view until a reallocation, after which the caller's array is never touched again.
TEST(VectorTest, Resize_ViewStaysViewUntilReallocation) {
  double mem[10];
  for (int i = 0; i < 10; ++i) mem[i] = i + 1;
  Probe v(mem, 10);
  for (int bad : {-1, 11}) {
    v.trim(bad);
    EXPECT_EQ(v.size(), 10) << "out-of-range trim ignored";
  }
  EXPECT_TRUE(v.resize(-1) == -1 && v.size() == 10);
  EXPECT_TRUE(v.resize(4) == 4 && v.capacity() == 10);  // shrink: only the size
  // Grow within the block: 4..7 zeroed in the caller's array.
  EXPECT_TRUE(v.resize(8) == 8 && v.memory() == mem && !v.owns() && mem[3] == 4.0);
  for (int i = 4; i < 8; ++i) EXPECT_EQ(mem[i], 0.0);
  v.untrim();  // the old elements 8..9 come back
  EXPECT_TRUE(v.size() == 10 && v[9] == 10.0);
  EXPECT_TRUE(v.resize(10) == 10 && v.memory() == mem);  // n == capacity: nothing moves
  // Reallocation: owning, old elements first, rest zero; the caller's array is left alone
  // (and never freed: the sanitizer build would flag a delete of this stack array).
  EXPECT_TRUE(v.resize(20) == 20 && v.owns() && v.capacity() == 20 && v[9] == 10.0);
  EXPECT_EQ(v[19], 0.0);
  v.reset(7);
  EXPECT_EQ(mem[9], 10.0);
  // n == size while capacity differs: a block of exactly n elements.
  Probe w(mem, 10);
  w.trim(4);
  EXPECT_TRUE(w.resize(4) == 4 && w.owns() && w.capacity() == 4 && w[3] == 4.0);
}

TEST(VectorTest, Resize_AllocationFailureLeavesVectorUnchanged) {
  double mem[3] = {1, 2, 3};
  Probe v(mem, 3);
  qvtest::g_failArrayNews = 1;
  EXPECT_EQ(v.resize(50), -1);
  qvtest::g_failArrayNews = 0;
  EXPECT_TRUE(v.size() == 3 && v.capacity() == 3 && v.memory() == mem);
  // Callers without a result to report it in throw instead of writing past the block.
  Vector<double> big(40);
  qvtest::g_failArrayNews = 1;
  EXPECT_THROW(v = big, std::bad_alloc);
  qvtest::g_failArrayNews = 0;
  EXPECT_EQ(v.size(), 3);
}

TEST(VectorTest, Assign_GetAsAndArithmetic) {
  double mem[3] = {1, 2, 3}, src[3] = {10, 11, 12}, longer[5] = {20, 21, 22, 23, 24};
  Probe view(mem, 3);
  view = Vector<double>(src, 3);  // same size: the view receives the elements
  EXPECT_TRUE(!view.owns() && mem[2] == 12.0);
  view = Vector<double>(longer, 5);  // a different size reallocates
  view = view;                       // self-assignment does nothing
  EXPECT_TRUE(view.owns() && view[4] == 24.0);
  EXPECT_EQ((view = 3.0), 3.0);

  double gm[4] = {1, 2, 3, 4}, two[2] = {30, 31};
  Vector<double> v(gm, 4);
  for (auto r : {std::pair<int, int>{2, 3}, {-1, 2}, {0, -1}})
    EXPECT_THROWS_TEXT(v.get(r.first, r.second), "NURBSmatrix_err");
  const Vector<double> g = v.get(1, 3);
  EXPECT_TRUE(g.size() == 3 && g[0] == 2.0 && g[2] == 4.0 && v.get(4, 0).size() == 0);
  const Vector<double> s2(two, 2);
  for (int at : {3, -1}) EXPECT_THROWS_TEXT(v.as(at, s2), "NURBSmatrix_err");
  EXPECT_EQ(gm[3], 4.0) << "unchanged by a throw";
  v.as(2, s2);
  EXPECT_TRUE(gm[1] == 2.0 && gm[3] == 31.0);

  const Vector<double> a(longer, 5), b(5);
  Vector<double> c(gm, 4), e(a);
  for (const auto& f : std::vector<std::function<void()>>{[&] { a + c; }, [&] { a - c; },
                                                          [&] { c += a; }, [&] { c -= a; }})
    EXPECT_EQ(qvtest::ThrownText(f), "NURBSsize");
  EXPECT_FALSE(a == a.get(0, 2)) << "different sizes are unequal";
  e += a;
  EXPECT_TRUE(e[1] == 42.0 && e - a == a && e + a != a);
  e -= a;
  EXPECT_TRUE(e == a);
}

// The rounding rules of v·s: integers in double truncated toward zero, floats as the
// double product stored back, points componentwise with w included.
TEST(VectorTest, Scale_RoundingRulesPerElementType) {
  int im[2] = {3, -3};
  const Vector<int> iv = Vector<int>(im, 2) * 0.5;
  EXPECT_TRUE(iv[0] == 1 && iv[1] == -1);
  char cm[3] = {100, -7, 0};
  const Vector<char> cv = Vector<char>(cm, 3) * 1.9;
  EXPECT_TRUE(cv[0] == char(190 - 256) && cv[1] == char(-13)) << "wraps like integers";
  const Vector<float> f1 = One(0.1f) * 0.1, f2 = 0.1 * One(0.1f);
  EXPECT_TRUE(f1[0] == float(double(0.1f) * 0.1) && f1 == f2);
  EXPECT_EQ((One(HPoint3D(1, 2, 3, 4)) * 0.5)[0], HPoint3D(0.5f, 1.0f, 1.5f, 2.0f));
  const Point3D p = (One(Point3D(0.1f, 1, 2)) * 3.0)[0];
  EXPECT_TRUE(p.x() == float(double(0.1f) * 3.0) && p.z() == 6.0f);
}

// Scalars: ties go to the last equal element, NaN is never taken nor displaced. Points:
// element i replaces the running minimum unless the minimum is strictly less in every one
// of x, y and z (order-dependent, neither lexicographic nor by length; w plays no part).
TEST(VectorTest, MinIndex_ScalarTiesNaNAndPointDominance) {
  int a[4] = {3, 1, 2, 1};
  EXPECT_TRUE(Vector<int>(a, 4).minIndex() == 3 && Vector<int>(a, 4).minimum() == 1);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  double b[4] = {2, nan, 1, nan}, c[3] = {nan, -5, -7};
  EXPECT_TRUE(Vector<double>(b, 4).minIndex() == 2 && Vector<double>(c, 3).minIndex() == 0);
  unsigned char d[3] = {9, 200, 9};
  EXPECT_EQ(Vector<unsigned char>(d, 3).minIndex(), 2);
  // An empty vector with a block still reads element 0.
  double e[2] = {4, 1};
  Vector<double> ev(e, 2);
  ev.trim(0);
  EXPECT_TRUE(ev.minIndex() == 0 && ev.minimum() == 4.0);

  Point3D_d p[3] = {Point3D_d(1, 1, 1), Point3D_d(0, 5, 5), Point3D_d(2, 2, 2)};
  EXPECT_EQ(Vector<Point3D_d>(p, 3).minIndex(), 2);
  Point3D q[3] = {Point3D(0, 0, 0), Point3D(1, 1, 1), Point3D(0, 1, 1)};
  EXPECT_TRUE(Vector<Point3D>(q, 3).minIndex() == 2 && Vector<Point3D>(q, 2).minIndex() == 0)
      << "an equal x stops the domination";
  HPoint3D h[2] = {HPoint3D(0, 0, 0, 9), HPoint3D(1, 1, 1, -9)};
  EXPECT_EQ(Vector<HPoint3D>(h, 2).minIndex(), 0);
  HPoint3D_d hd[2] = {HPoint3D_d(1, 1, 1, 0), HPoint3D_d(1, 1, 1, 5)};
  EXPECT_EQ(Vector<HPoint3D_d>(hd, 2).minimum(), hd[1]);
}

// Plain points compare with a relative epsilon per component (0 equals only 0); scalars
// and homogeneous points compare exactly.
TEST(VectorTest, Compare_RelativeEpsilonForPlainPoints) {
  const float fe = 1.1920928955078125e-07f;
  const double de = 2.220446049250313e-16, inf = std::numeric_limits<double>::infinity();
  const Point3D a(1.0f, 0.0f, -2.0f);
  EXPECT_TRUE(One(a) == One(Point3D(std::nextafter(1.0f, 2.0f), 0.0f, -2.0f))) << "one ulp";
  EXPECT_FALSE(One(a) == One(Point3D(1.0f + 4 * fe, 0.0f, -2.0f)) ||
               One(a) == One(Point3D(1.0f, 1e-30f, -2.0f)));
  const Point3D_d e(1e300, -3.0, 0.0);
  EXPECT_TRUE(One(e) == One(Point3D_d(1e300 * (1 + de), -3.0 * (1 + de), 0.0)));
  EXPECT_TRUE(One(e) != One(Point3D_d(1e300, -3.0 * (1 + 4 * de), 0.0)));
  EXPECT_FALSE(One(Point3D_d(inf, 0, 0)) == One(Point3D_d(inf, 0, 0))) << "inf - inf is NaN";
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_FALSE(One(1.0) == One(1.0 + de) || One(nan) == One(nan) ||
               One(HPoint3D(1, 2, 3, 4)) == One(HPoint3D(1, 2, 3, std::nextafter(4.0f, 5.0f))));
}

TEST(VectorTest, Convert_NarrowAndWidenPointVectors) {
  Point3D_d src[2] = {Point3D_d(0.1, -1e40, 3.0), Point3D_d(1.0 / 3, 2, 1e-50)};
  Vector<Point3D> f;
  REmath::copy_vector_d2f(Vector<Point3D_d>(src, 2), f);
  ASSERT_EQ(f.size(), 2);
  EXPECT_TRUE(f[0].x() == 0.1f && f[0].y() == -HUGE_VALF && f[1].z() == 0.0f);
  Vector<Point3D_d> d(7);
  REmath::copy_vector_f2d(f, d);
  ASSERT_EQ(d.size(), 2);
  EXPECT_EQ(d[1].x(), double(float(1.0 / 3))) << "widening is exact";
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
  static_cast<Vector<double>&>(c) = 1.0;
  EXPECT_TRUE(c.calls == 1 && c[2] == 1.0);
}

}  // namespace
