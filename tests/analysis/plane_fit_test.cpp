// SPDX-License-Identifier: MIT
// Least-squares planes against an Eigen oracle; orientation, sign, degenerate sets, fit error.

#include <qvmath/analysis/plane_fit.h>

#include <Eigen/Dense>
#include <cmath>

#include "test_util.h"

namespace {

using REmath::Point3D;
using REmath::Point3D_d;

// Points on the local plane z = 0 over ±spread with normal noise, moved by R and t.
template <class P>
std::vector<P> PlanePoints(qvtest::TestRng& rng, const Eigen::Matrix3d& R, const Eigen::Vector3d& t,
                           int n, double spread, double noise) {
  std::vector<P> pts;
  for (int i = 0; i < n; ++i) {
    const Eigen::Vector3d l(rng.Uniform(-spread, spread), rng.Uniform(-spread, spread),
                            noise * rng.Uniform(-1, 1));
    const Eigen::Vector3d p = R * l + t;
    pts.emplace_back(p.x(), p.y(), p.z());
  }
  return pts;
}

Eigen::Matrix3d RandomRotation(qvtest::TestRng& rng) {
  Eigen::Matrix3d a;
  for (int i = 0; i < 9; ++i) a.data()[i] = rng.Uniform(-1, 1);
  Eigen::Matrix3d q = Eigen::HouseholderQR<Eigen::Matrix3d>(a).householderQ();
  if (q.determinant() < 0) q.col(0) = -q.col(0);
  return q;
}

// Oracle: centroid and smallest-eigenvalue axis in long double, by Eigen's solver.
template <class P>
void OraclePlane(const std::vector<P>& pts, Eigen::Vector3d& c, Eigen::Vector3d& n) {
  Eigen::Matrix<long double, Eigen::Dynamic, 3> X(pts.size(), 3);
  for (std::size_t i = 0; i < pts.size(); ++i)
    X.row(Eigen::Index(i)) << pts[i].x(), pts[i].y(), pts[i].z();
  const Eigen::Matrix<long double, 1, 3> m = X.colwise().mean();
  X.rowwise() -= m;
  Eigen::SelfAdjointEigenSolver<Eigen::Matrix<long double, 3, 3>> es(X.transpose() * X);
  c = m.transpose().cast<double>();
  n = es.eigenvectors().col(0).cast<double>();
}

template <class P>
class PlaneFitTest : public ::testing::Test {};
using PointTypes = ::testing::Types<Point3D, Point3D_d>;
TYPED_TEST_SUITE(PlaneFitTest, PointTypes);

TYPED_TEST(PlaneFitTest, Properties_RigidMotionsAndFarOffsetsMatchOracle) {
  using P = TypeParam;
  qvtest::TestRng rng(9301);
  SCOPED_TRACE(rng.Trace());
  // Float points near 1e6 lie on a 0.0625 grid; the oracle sees the same rounded points.
  for (const double offset : {0.0, 1e3, 1e6}) {
    for (int trial = 0; trial < 20; ++trial) {
      const Eigen::Matrix3d R = RandomRotation(rng);
      const Eigen::Vector3d t(offset + rng.Uniform(-1, 1), -offset, 0.5 * offset);
      const auto pts = PlanePoints<P>(rng, R, t, 200, 10.0, trial % 2 ? 0.05 : 0.0);
      Eigen::Vector3d c, n;
      OraclePlane(pts, c, n);
      double plane[4], cen[3];
      ASSERT_TRUE(FitPlaneToPointSet(pts, plane, cen));
      const Eigen::Vector3d got(plane[0], plane[1], plane[2]);
      EXPECT_NEAR(std::fabs(got.dot(n)), 1.0, 1e-12) << offset;
      EXPECT_NEAR((Eigen::Vector3d(cen[0], cen[1], cen[2]) - c).norm(), 0.0, 1e-15 * (offset + 10));
      // e = n·c: the sign follows the normal's.
      EXPECT_NEAR(plane[3], got.dot(c), 1e-14 * (offset + 10));
    }
  }
}

TEST(PlaneFit, Regions_OrientationAndSignConventions) {
  const std::vector<Point3D> pts = {{0, 0, 1}, {1, 0, 1}, {0, 1, 1}, {2, 3, 1}};
  double plane[4], c[3];
  ASSERT_TRUE(FitPlaneToPointSet(pts, plane, c));
  EXPECT_EQ(std::fabs(plane[2]), 1.0);
  EXPECT_EQ(plane[3], plane[2]);  // e = c·z with z = 1
  for (const float s : {-1.0f, 1.0f}) {
    Point3D_d o, n;
    ASSERT_TRUE(RecognizePlaneSelectionFree(pts, Point3D(0, 0, s), o, n));
    EXPECT_EQ(n.z(), s);
    EXPECT_TRUE(o.x() == 0.75 && o.y() == 1.0 && o.z() == 1.0);
  }
}

TEST(PlaneFit, Degenerate_SmallAndNonFiniteSetsRefused) {
  double plane[4] = {-7, 0, 0, 0}, c[3] = {-7, 0, 0};
  Point3D_d o(-7, 0, 0), n;
  const std::vector<Point3D> two = {{0, 0, 0}, {1, 1, 1}},
                             withNan = {{0, 0, 0}, {1, 0, 0}, {0, NAN, 0}};
  for (const auto& pts : {two, withNan, std::vector<Point3D>()}) {
    EXPECT_FALSE(FitPlaneToPointSet(pts, plane, c));
    EXPECT_FALSE(RecognizePlaneSelectionFree(pts, Point3D(0, 0, 1), o, n));
  }
  // Refusals leave the outputs untouched.
  EXPECT_EQ(plane[0] + c[0] + o.x(), -21.0);
}

TEST(PlaneFit, Regions_FitErrorOfKnownDistances) {
  const std::vector<Point3D> pts = {{5, 0, 1}, {0, 7, -2}, {1, 1, 0.5f}, {9, 9, -0.5f}};
  double maxErr = -1, meanErr = -1;
  // A non-unit normal scales the distances.
  CalcPlaneFitError(pts, Point3D_d(3, 3, 0), Point3D_d(0, 0, 2), maxErr, meanErr);
  EXPECT_EQ(maxErr, 4.0);
  EXPECT_EQ(meanErr, 2.0);
  CalcPlaneFitError({}, Point3D_d(0, 0, 0), Point3D_d(0, 0, 1), maxErr, meanErr);
  EXPECT_EQ(maxErr, 0.0);
  EXPECT_TRUE(std::isnan(meanErr));
}

}  // namespace
