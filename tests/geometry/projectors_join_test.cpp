// SPDX-License-Identifier: MIT
#include <qvmath/geometry/projectors_join.h>

#include <gtest/gtest.h>


#include <qvmath/geometry/projector_to_polyline.h>

#include "test_util.h"

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
  join.AddProjectorWithOwnerShip(new Fixed(Point3D_d(3, 0, 0), true));
  join.AddProjectorWithOwnerShip(new Fixed(Point3D_d(0, 1, 0), true));   // nearer
  join.AddProjectorWithOwnerShip(new Fixed(Point3D_d(0, -1, 0), true));  // as near
  join.AddProjectorWithOwnerShip(nullptr);                                              // ignored
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
  EXPECT_EQ(q.x(), 7.0); EXPECT_EQ(q.z(), 9.0);
  // A failing projector before a succeeding one does not hide it.
  join.AddProjectorWithOwnerShip(new Fixed(Point3D_d(5, 5, 5), true));
  ASSERT_TRUE(join.projectPoint(Point3D_d(0, 0, 0), q));
  EXPECT_EQ(q.x(), 5.0);
}

TEST(CProjectorsJoinTest, Properties_JoinOfPolylinesEqualsTheirUnion) {
  // Two pieces of one polyline in a join answer like the pieces' nearest.
  qvtest::TestRng rng(5371);
  SCOPED_TRACE(rng.Trace());
  std::vector<Point3D_d> v;
  for (int k = 0; k < 9; ++k) v.emplace_back(rng.Uniform(-3, 3), rng.Uniform(-3, 3), rng.Uniform(-3, 3));
  auto* a = new CProjectorToPolyline;
  auto* b = new CProjectorToPolyline;
  a->SetPoints(std::vector<Point3D_d>(v.begin(), v.begin() + 5));
  b->SetPoints(std::vector<Point3D_d>(v.begin() + 4, v.end()));
  CProjectorsJoin join;
  join.AddProjectorWithOwnerShip(a);
  join.AddProjectorWithOwnerShip(b);
  CProjectorToPolyline whole;
  whole.SetPoints(v);
  for (int trial = 0; trial < 500; ++trial) {
    const Point3D_d p(rng.Uniform(-4, 4), rng.Uniform(-4, 4), rng.Uniform(-4, 4));
    Point3D_d q1, q2;
    ASSERT_TRUE(join.projectPoint(p, q1));
    ASSERT_TRUE(whole.projectPoint(p, q2));
    auto d2 = [&](const Point3D_d& q) {
      return (q.x() - p.x()) * (q.x() - p.x()) + (q.y() - p.y()) * (q.y() - p.y()) +
             (q.z() - p.z()) * (q.z() - p.z());
    };
    EXPECT_NEAR(d2(q1), d2(q2), 1e-12 * (1 + d2(q2)));
  }
}
