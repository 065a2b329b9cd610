// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/geometry/dist_point_segment.h>
#include <qvmath/geometry/projector_to_polyline.h>

#include <cfloat>
#include <cmath>
#include <vector>

#include "test_util.h"

using REmath::Point3D_d;

TEST(CProjectorToPolylineTest, Degenerate_EmptyAndSingleVertex) {
  CProjectorToPolyline pl;
  Point3D_d q(7, 7, 7);
  double param = 9;
  EXPECT_FALSE(pl.projectPoint(Point3D_d(1, 2, 3), q, param) ||
               pl.projectPoint(Point3D_d(1, 2, 3), q));
  EXPECT_TRUE(q.x() == 7.0 && param == 9.0);
  pl.AddPoint(Point3D_d(4, 5, 6));
  ASSERT_TRUE(pl.projectPoint(Point3D_d(1, 2, 3), q, param));
  EXPECT_TRUE(q.y() == 5.0 && param == 0.0);
  // Non-finite coordinates give no distance below the largest double.
  pl.AddPoint(Point3D_d(1, 1, 1));
  q = Point3D_d(7, 7, 7);
  EXPECT_TRUE(!pl.projectPoint(Point3D_d(NAN, 0, 0), q, param) && q.x() == 7.0);
}

TEST(CProjectorToPolylineTest, Properties_SameAnswerAsTheFullSegmentScan) {
  // The projector skips segments that cannot be nearer; the answer must be bit-for-bit the
  // plain scan of the double DistancePoint2Segment over every segment (first strict minimum).
  qvtest::TestRng rng(5362);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 40; ++trial) {
    std::vector<Point3D_d> v;
    const int n = rng.Int(2, 400);
    Point3D_d at(rng.Uniform(-1e3, 1e3), 0, 0);
    const double step = std::pow(10.0, rng.Uniform(-3, 1));
    for (int k = 0; k < n; ++k) {
      // A random walk, sometimes doubling back over itself (many near-ties).
      at += Point3D_d(rng.Uniform(-step, step), rng.Uniform(-step, step), rng.Uniform(-step, step));
      v.push_back(k % 7 == 3 ? v[k / 2] : at);
    }
    CProjectorToPolyline bySet, byAdd;
    bySet.SetPoints(v);
    for (const auto& p : v) byAdd.AddPoint(p);
    for (int query = 0; query < 50; ++query) {
      const Point3D_d& near = v[rng.Int(0, n - 1)];
      const double r = step * std::pow(10.0, rng.Uniform(-6, 2));
      const Point3D_d p =
          query % 5 == 0 ? near  // exactly on a vertex
                         : Point3D_d(near.x() + rng.Uniform(-r, r), near.y() + rng.Uniform(-r, r),
                                     near.z() + rng.Uniform(-r, r));
      double best = DBL_MAX, bestParam = 0;
      int seg = 0;
      for (int i = 1; i < n; ++i) {
        double t = 0;
        const double d = DistancePoint2Segment(p.asArray(), v[i - 1].asArray(), v[i].asArray(), t);
        if (d < best) best = d, seg = i, bestParam = (i - 1) + t;
      }
      double foot[3];
      DistancePoint2Segment(p.asArray(), v[seg - 1].asArray(), v[seg].asArray(), foot);
      for (CProjectorToPolyline* pl : {&bySet, &byAdd}) {
        Point3D_d q;
        double param = -1;
        ASSERT_TRUE(pl->projectPoint(p, q, param));
        EXPECT_EQ(param, bestParam);
        EXPECT_TRUE(q.x() == foot[0] && q.y() == foot[1] && q.z() == foot[2]);
      }
    }
  }
}
