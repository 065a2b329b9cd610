// SPDX-License-Identifier: MIT
#include <qvmath/geometry/point_to_face_projector.h>

#include <gtest/gtest.h>

using REmath::Point3D_d;

namespace {

class Bare : public IPointToFaceProjector {};

// The unit square in z = 0 with its (x, y) parameters and an "over the square" flag.
class Square : public IPointToFaceProjector {
 public:
  int m_calls = 0;

 private:
  bool OnProjectPoint(const Point3D_d& p, Point3D_d& q, double& a, double& b, bool& flag) override {
    ++m_calls;
    a = p.x(), b = p.y();
    flag = a >= 0 && a <= 1 && b >= 0 && b <= 1;
    q = Point3D_d(a, b, 0.0);
    return true;
  }
};

}  // namespace

TEST(PointToFaceProjectorTest, Properties_ValuesArePassedThrough) {
  Square s;
  Point3D_d q;
  double a = 0, b = 0;
  bool flag = false;
  ASSERT_TRUE(s.projectPoint(Point3D_d(0.25, 0.5, 3), q, a, b, flag));
  EXPECT_EQ(a, 0.25); EXPECT_EQ(b, 0.5); EXPECT_TRUE(flag);
  ASSERT_TRUE(s.projectPoint(Point3D_d(2, 0.5, 3), q, a, b, flag));
  EXPECT_FALSE(flag);
  // The base's two-argument projection calls the face hook with scratch values.
  IPointToGeomObjProjector& base = s;
  Point3D_d q2;
  ASSERT_TRUE(base.projectPoint(Point3D_d(0.75, -1, 2), q2));
  EXPECT_EQ(q2.x(), 0.75); EXPECT_EQ(q2.z(), 0.0);
  EXPECT_EQ(s.m_calls, 3);
}

TEST(PointToFaceProjectorTest, Degenerate_DefaultHookFailsAndLeavesOutputs) {
  Bare f;
  Point3D_d q(1, 2, 3);
  double a = 4, b = 5;
  bool flag = true;
  EXPECT_FALSE(f.projectPoint(Point3D_d(0, 0, 0), q, a, b, flag));
  EXPECT_FALSE(f.projectPoint(Point3D_d(0, 0, 0), q));
  EXPECT_EQ(q.y(), 2.0); EXPECT_EQ(a, 4.0); EXPECT_EQ(b, 5.0); EXPECT_TRUE(flag);
}
