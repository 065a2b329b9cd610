// SPDX-License-Identifier: MIT
// Point3D, Point3D_d and the homogeneous HPoint3D, HPoint3D_d: layout, the conversion and
// weight rules, lengths and the ordering of homogeneous points.
#include <gtest/gtest.h>
#include <qvmath/core/hpoint3d.h>
#include <qvmath/core/point3d.h>

#include <cmath>
#include <cstddef>

using REmath::HPoint3D;
using REmath::HPoint3D_d;
using REmath::Point3D;
using REmath::Point3D_d;

static_assert(offsetof(Point3D, m_x) == 0 && offsetof(Point3D, m_y) == 4 &&
                  offsetof(Point3D, m_z) == 8 && offsetof(Point3D_d, m_z) == 16 &&
                  offsetof(HPoint3D, m_w) == 12 && offsetof(HPoint3D_d, m_w) == 24,
              "fields in order, weight last");

TEST(Point3DTest, Regions_ConversionRoundingAndWeightRules) {
  const double arr[3] = {0.1, 0.2, 0.3};
  EXPECT_EQ(Point3D(arr).x(), 0.1f);  // nearest float, not truncation
  // Doubles narrow with an ordinary store: 1e40 overflows to infinity.
  EXPECT_TRUE(std::isinf(Point3D(1e40).x()));
  const Point3D flat[2] = {Point3D(1, 2, 3), Point3D(4, 5, 6)};
  EXPECT_EQ(flat[0].asArray()[4], 5.0f);  // stride-3 flat array
  // Point3D's double forms compute in double and store back: 0.1f * 3.0 (double) differs
  // from the float product 0.1f * 3.0f in the last bit.
  Point3D r(0.1f);
  r *= 3.0;
  EXPECT_EQ(r.x(), float(double(0.1f) * 3.0));
  // Homogeneous points: default weight 0 (not 1), a scalar sets all four, a plain point
  // gets weight 1.
  EXPECT_EQ(HPoint3D().w(), 0.0f);
  EXPECT_EQ(HPoint3D(2.0f), HPoint3D(2.0f, 2.0f, 2.0f, 2.0f));
  EXPECT_EQ(HPoint3D(Point3D(1, 2, 3)).w(), 1.0f);
  HPoint3D_d a;
  a = Point3D_d(4, 5, 6);
  EXPECT_EQ(a, HPoint3D_d(4.0, 5.0, 6.0, 1.0));
  // projectW drops the weight without dividing; arithmetic includes it.
  const Point3D p = HPoint3D(2, 4, 6, 2).projectW();
  EXPECT_TRUE(p.x() == 2.0f && p.z() == 6.0f);
  HPoint3D_d h(1, 2, 3, 4);
  h += HPoint3D_d(1, 1, 1, 1);
  h *= 2.0;
  h /= 4.0f;
  EXPECT_EQ(h, HPoint3D_d(1.0, 1.5, 2.0, 2.5));
}

TEST(Point3DTest, Properties_LengthsAnglesAndHomogeneousOrdering) {
  const Point3D_d p(3, 4, 12);
  EXPECT_TRUE(p.length() == 13.0 && p.unitLength().isUnitLength());
  EXPECT_FALSE(Point3D_d(1 + 1e-12, 0, 0).isUnitLength());
  EXPECT_DOUBLE_EQ(Point3D_d(1, 0, 0).angleCos(Point3D_d(1, 1, 0)), std::sqrt(0.5));
  Point3D z;
  z.normalize();
  EXPECT_TRUE(std::isnan(z.x()));  // documented: no guard against the zero vector
  EXPECT_TRUE(std::isinf(Point3D_d(1e200, 0, 0).length()));
  // Homogeneous points order by the norm2 of x, y, z only.
  EXPECT_TRUE(HPoint3D(1, 0, 0, 5) < HPoint3D(0, 2, 0, 1));
  const HPoint3D a(1, 0, 0, 0), b(1, 0, 0, 1);
  EXPECT_TRUE(a != b && a <= b && a >= b && !(a < b || a > b));
  // norm2 is summed z first, in double: exact for these float inputs.
  const HPoint3D c(1e-8f, 1.0f, 3.0f, 0.0f);
  const double x = 1e-8f;
  EXPECT_EQ(c.norm2(), ((0.0 + 9.0) + 1.0) + x * x);
  EXPECT_EQ(HPoint3D_d(3, 4, 0, 9).norm(), 5.0);
}

namespace {
// Opaque to the optimiser, so that the conversions below happen at run time.
[[gnu::noinline]] void NarrowAndWiden(const double* in, double* out) {
  REmath::Point3D(in).toArray(out);
}
}  // namespace

TEST(Point3DTest, Regression_NarrowingRoundTripKeepsFloatRounding) {
  // g++ 12.2's straight-line vectoriser turned double -> float -> double pairs into plain
  // copies; the build disables it. The float rounding must survive the round trip.
  const double in[3] = {0.1, 0.2, 0.3};
  double out[3];
  NarrowAndWiden(in, out);
  EXPECT_TRUE(out[0] == double(0.1f) && out[1] == double(0.2f) && out[2] == double(0.3f));
}
