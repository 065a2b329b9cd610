// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/geometry/projectors_join.h>

using REmath::Point3D_d;

namespace {

// Answers with a fixed point, or fails.
class Fixed : public IPointToGeomObjProjector {
 public:
  Fixed(const Point3D_d& at, bool ok) : m_at(at), m_ok(ok) {}

 private:
  bool OnProjectPoint(const Point3D_d&, Point3D_d& q) override {
    if (m_ok) q = m_at;
    return m_ok;
  }
  Point3D_d m_at;
  bool m_ok;
};

}  // namespace

TEST(CProjectorsJoinTest, Regions_NearestWinsAndTiesGoToTheEarliest) {
  CProjectorsJoin join;
  join.AddProjectorWithOwnerShip(new Fixed(Point3D_d(0, 3, 0), true));
  join.AddProjectorWithOwnerShip(new Fixed(Point3D_d(0, 1, 0), true));   // nearer
  join.AddProjectorWithOwnerShip(new Fixed(Point3D_d(0, -1, 0), true));  // as near
  join.AddProjectorWithOwnerShip(nullptr);                               // ignored
  EXPECT_EQ(join.GetProjectorsCount(), 3u);
  Point3D_d q;
  ASSERT_TRUE(join.projectPoint(Point3D_d(0, 0, 0), q));
  EXPECT_EQ(q.y(), 1.0);
}

TEST(CProjectorsJoinTest, Degenerate_AllFailingOrEmptyLeavesQ) {
  CProjectorsJoin join;
  Point3D_d q(7, 8, 9);
  EXPECT_FALSE(join.projectPoint(Point3D_d(0, 0, 0), q));
  join.AddProjectorWithOwnerShip(new Fixed(Point3D_d(1, 1, 1), false));
  join.AddProjectorWithOwnerShip(new Fixed(Point3D_d(2, 2, 2), false));
  EXPECT_FALSE(join.projectPoint(Point3D_d(0, 0, 0), q));
  EXPECT_TRUE(q.x() == 7.0 && q.z() == 9.0);
  // A failing projector before a succeeding one does not hide it.
  join.AddProjectorWithOwnerShip(new Fixed(Point3D_d(5, 5, 5), true));
  ASSERT_TRUE(join.projectPoint(Point3D_d(0, 0, 0), q));
  EXPECT_EQ(q.x(), 5.0);
}
