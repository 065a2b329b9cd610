// SPDX-License-Identifier: MIT
#include <qvmath/geometry/point_to_curve_projector.h>

#include <gtest/gtest.h>

using REmath::Point3D;
using REmath::Point3D_d;

namespace {

class Bare : public IPointToCurveProjector {};

// The x axis, parametrised by x; it records the point its hook received.
class XAxis : public IPointToCurveProjector {
 public:
  Point3D_d m_seen;

 private:
  bool OnProjectPoint(const Point3D_d& p, Point3D_d& q, double& param) override {
    m_seen = p;
    q = Point3D_d(p.x(), 0.0, 0.0);
    param = p.x();
    return true;
  }
};

}  // namespace

TEST(PointToCurveProjectorTest, Properties_PointProjectionGoesThroughTheCurveHook) {
  XAxis axis;
  Point3D_d q;
  double param = -1;
  ASSERT_TRUE(axis.projectPoint(Point3D_d(2.5, 1, 1), q, param));
  EXPECT_EQ(q.x(), 2.5); EXPECT_EQ(param, 2.5);
  // The two-argument projection of the base reaches the same hook.
  IPointToGeomObjProjector& base = axis;
  Point3D_d q2;
  ASSERT_TRUE(base.projectPoint(Point3D_d(-4, 3, 0), q2));
  EXPECT_EQ(q2.x(), -4.0); EXPECT_EQ(q2.y(), 0.0);
  // A float point is widened exactly, not rounded through anything else.
  const Point3D pf(0.1f, 0.2f, 0.3f);
  ASSERT_TRUE(axis.projectPoint(pf, q, param));
  EXPECT_EQ(axis.m_seen.x(), double(0.1f));
  EXPECT_EQ(axis.m_seen.z(), double(0.3f));
  EXPECT_EQ(param, double(0.1f));
}

TEST(PointToCurveProjectorTest, Degenerate_DefaultHookFailsAndLeavesOutputs) {
  Bare b;
  Point3D_d q(1, 1, 1);
  double param = 5;
  EXPECT_FALSE(b.projectPoint(Point3D_d(0, 0, 0), q, param));
  EXPECT_FALSE(b.projectPoint(Point3D_d(0, 0, 0), q));
  EXPECT_EQ(q.x(), 1.0); EXPECT_EQ(param, 5.0);
  EXPECT_EQ(b.Copy(), nullptr);
}
