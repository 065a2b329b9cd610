// SPDX-License-Identifier: MIT
#include <CGAL/Simple_cartesian.h>
#include <gtest/gtest.h>
#include <qvmath/geometry/projector_triangle.h>

#include <algorithm>
#include <cmath>

#include "geom_test_util.h"

using REmath::CProjectorTriangle;
using REmath::Point3D;

namespace {

using Kernel = CGAL::Simple_cartesian<double>;

Kernel::Point_3 K(const Point3D& p) { return Kernel::Point_3(p.x(), p.y(), p.z()); }

// Exact-enough squared distance in double (CGAL's closest-feature computation).
double Reference(const Point3D* tri, const float* p) {
  return CGAL::squared_distance(Kernel::Point_3(p[0], p[1], p[2]),
                                Kernel::Triangle_3(K(tri[0]), K(tri[1]), K(tri[2])));
}

Point3D RandomPoint(qvtest::TestRng& rng, double scale, const Point3D& around) {
  const auto a = qvtest::RandomPoint<float>(rng, scale);
  return Point3D(around.x() + a[0], around.y() + a[1], around.z() + a[2]);
}

}  // namespace

TEST(CProjectorTriangleTest, Properties_AgainstCgal) {
  qvtest::TestRng rng(5381);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 400; ++trial) {
    const double size = std::pow(10.0, rng.Uniform(-2, 2));
    const Point3D centre = RandomPoint(rng, 10 * size, Point3D(0, 0, 0));
    Point3D tri[3] = {RandomPoint(rng, size, centre), RandomPoint(rng, size, centre),
                      RandomPoint(rng, size, centre)};
    CProjectorTriangle pt(tri[0], tri[1], tri[2]);
    pt.PreCalc();
    for (int q = 0; q < 25; ++q) {
      // Points near the triangle (in its plane's slab too) and farther away.
      const Point3D pp = RandomPoint(rng, size * (q < 10 ? 0.7 : 3), centre);
      const float p[3] = {pp.x(), pp.y(), pp.z()};
      const double exact = Reference(tri, p);
      // Both work in float about a vertex: the error is a few ε of the squared extent of the
      // query (distance from the first vertex plus the sides); 64 covers the chains of
      // products in the float routine's inside test.
      double ext2 = 0;
      for (int k = 0; k < 3; ++k) {
        const double d = double(p[k]) - tri[0].asArray()[k];
        ext2 += d * d;
      }
      ext2 += pt.GetMaxSideLen2();
      const double tol = 64 * qvtest::Eps<float>() * ext2;
      const float d2 = pt.DistToTriangle2Precalced(p);
      EXPECT_NEAR(d2, exact, tol) << "trial " << trial << " query " << q;
      // The portable body gives the vector path's bits.
      EXPECT_TRUE(qvtest::SameBits(d2, pt.DistToTriangle2PrecalcedScalar(p))) << trial;
    }
  }
}

TEST(CProjectorTriangleTest, Degenerate_ZeroAreaTrianglesMeasureTheirEdges) {
  qvtest::TestRng rng(5383);
  SCOPED_TRACE(rng.Trace());
  // Collinear vertices in any order, two coincident vertices, all three coincident.
  const Point3D sets[4][3] = {{Point3D(0, 0, 0), Point3D(1, 1, 1), Point3D(3, 3, 3)},
                              {Point3D(1, 1, 1), Point3D(-1, 2, 0), Point3D(0, 1.5f, 0.5f)},
                              {Point3D(1, 2, 3), Point3D(1, 2, 3), Point3D(4, 0, 3)},
                              {Point3D(1, 2, 3), Point3D(1, 2, 3), Point3D(1, 2, 3)}};
  for (const auto& tri : sets) {
    CProjectorTriangle pt(tri[0], tri[1], tri[2]);
    for (int q = 0; q < 200; ++q) {
      const Point3D pp = RandomPoint(rng, 4, Point3D(1, 1, 1));
      const float p[3] = {pp.x(), pp.y(), pp.z()};
      // The squared distance to the segment hull of the points, by CGAL on each edge.
      double exact = HUGE_VAL;
      for (int e = 0; e < 3; ++e) {
        const Point3D &u = tri[e], &v = tri[(e + 1) % 3];
        const double d = (u.x() == v.x() && u.y() == v.y() && u.z() == v.z())
                             ? CGAL::squared_distance(Kernel::Point_3(p[0], p[1], p[2]), K(u))
                             : CGAL::squared_distance(Kernel::Point_3(p[0], p[1], p[2]),
                                                      Kernel::Segment_3(K(u), K(v)));
        exact = std::min(exact, d);
      }
      EXPECT_NEAR(pt.DistToTriangle2(p), exact, 64 * qvtest::Eps<float>() * (exact + 30));
    }
  }
}
