// SPDX-License-Identifier: MIT
#include <qvmath/core/hpoint3d.h>

#include <gtest/gtest.h>

#include <cstddef>

using REmath::HPoint3D;
using REmath::HPoint3D_d;
using REmath::Point3D;
using REmath::Point3D_d;

static_assert(offsetof(HPoint3D, m_w) == 12 && offsetof(HPoint3D_d, m_w) == 24,
              "weight last");

TEST(HPoint3DTest, Construction_WeightRules) {
  const HPoint3D d;
  EXPECT_EQ(d.w(), 0.0f) << "default weight is 0, not 1";
  const HPoint3D s(2.0f);
  EXPECT_EQ(s, HPoint3D(2.0f, 2.0f, 2.0f, 2.0f));
  EXPECT_EQ(HPoint3D_d(3).w(), 3.0);
  const HPoint3D fromPlain(Point3D(1, 2, 3));
  EXPECT_EQ(fromPlain.w(), 1.0f);
  HPoint3D_d a;
  a = Point3D_d(4, 5, 6);
  EXPECT_EQ(a, HPoint3D_d(4.0, 5.0, 6.0, 1.0));
  a = 7.0;
  EXPECT_EQ(a, HPoint3D_d(7.0, 7.0, 7.0, 7.0));
  float arr[4] = {1, 2, 3, 4};
  EXPECT_EQ(HPoint3D_d(arr).w(), 4.0);
}

TEST(HPoint3DTest, Properties_ProjectDropsWeightAndArithmeticIncludesIt) {
  const Point3D p = HPoint3D(2, 4, 6, 2).projectW();
  EXPECT_EQ(p.x(), 2.0f);
  EXPECT_EQ(p.z(), 6.0f);
  HPoint3D_d h(1, 2, 3, 4);
  h += HPoint3D_d(1, 1, 1, 1);
  h *= 2.0;
  h /= 4.0f;
  EXPECT_EQ(h, HPoint3D_d(1.0, 1.5, 2.0, 2.5));
  h -= h;
  EXPECT_EQ(h, HPoint3D_d());
}

TEST(HPoint3DTest, Ordering_ByNorm2Only) {
  EXPECT_TRUE(HPoint3D(1, 0, 0, 5) < HPoint3D(0, 2, 0, 1));
  const HPoint3D a(1, 0, 0, 0), b(1, 0, 0, 1);
  EXPECT_TRUE(a != b && a <= b && a >= b);
  EXPECT_FALSE(a < b || a > b);
  // norm2 is summed z first, in double: exact for these float inputs.
  const HPoint3D c(1e-8f, 1.0f, 3.0f, 0.0f);
  const double x = 1e-8f;
  EXPECT_EQ(c.norm2(), ((0.0 + 9.0) + 1.0) + x * x);
  EXPECT_EQ(HPoint3D_d(3, 4, 0, 9).norm(), 5.0);
}
