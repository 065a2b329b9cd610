// SPDX-License-Identifier: MIT
#include <qvmath/geometry/point_to_geom_obj_projector.h>

#include <gtest/gtest.h>

#include <memory>

using REmath::Point3D_d;

namespace {

// Uses every default hook.
class Bare : public IPointToGeomObjProjector {};

// Records the calls that reach its hooks and counts live instances.
class Recording : public IPointToGeomObjProjector {
 public:
  explicit Recording(int* alive) : m_alive(alive) { ++*m_alive; }
  Recording(const Recording& o) : IPointToGeomObjProjector(o), m_alive(o.m_alive) { ++*m_alive; }
  ~Recording() override { --*m_alive; }
  int m_projections = 0;

 private:
  IPointToGeomObjProjector* OnCopy() const override { return new Recording(*this); }
  bool OnProjectPoint(const Point3D_d& p, Point3D_d& q) override {
    ++m_projections;
    q = Point3D_d(p.x(), p.y(), 0.0);  // onto the plane z = 0
    return p.z() >= 0;
  }
  int* m_alive;
};

}  // namespace

TEST(PointToGeomObjProjectorTest, Degenerate_DefaultHooksFailAndCannotCopy) {
  Bare b;
  Point3D_d q(7, 8, 9);
  EXPECT_FALSE(b.projectPoint(Point3D_d(1, 2, 3), q));
  EXPECT_EQ(q.x(), 7.0); EXPECT_EQ(q.z(), 9.0);
  EXPECT_EQ(b.Copy(), nullptr);
}

TEST(PointToGeomObjProjectorTest, Properties_EntryPointsForwardToTheHooks) {
  int alive = 0;
  {
    Recording r(&alive);
    Point3D_d q;
    EXPECT_TRUE(r.projectPoint(Point3D_d(1, 2, 3), q));
    EXPECT_EQ(q.x(), 1.0); EXPECT_EQ(q.z(), 0.0);
    EXPECT_FALSE(r.projectPoint(Point3D_d(1, 2, -3), q));  // the hook's result comes back
    EXPECT_EQ(r.m_projections, 2);
    // The copy is a new heap object of the derived type, owned by the caller, and is
    // destroyed through the base.
    std::unique_ptr<IPointToGeomObjProjector> c(r.Copy());
    ASSERT_NE(c, nullptr);
    EXPECT_NE(dynamic_cast<Recording*>(c.get()), nullptr);
    EXPECT_EQ(alive, 2);
  }
  EXPECT_EQ(alive, 0);
}
