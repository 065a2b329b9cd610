// SPDX-License-Identifier: MIT
#include <CGAL/Simple_cartesian.h>
#include <qvmath/geometry/circumscribe_circle.h>

#include <algorithm>
#include <cmath>

#include "geometry/geom_test_util.h"

using REmath::Point3D;
using REmath::Point3D_d;

namespace {

using Kernel = CGAL::Simple_cartesian<double>;

const float kSentinel = 6.66e19f;

// Barycentric coordinates of the circumcentre (a², b², c² the squared side lengths
// opposite A, B, C): λ_A ∝ a²(b² + c² − a²), etc.
void CircumBarycentric(const Point3D_d* t, double* lambda) {
  auto d2 = [](const Point3D_d& p, const Point3D_d& q) {
    const double x = p.x() - q.x(), y = p.y() - q.y(), z = p.z() - q.z();
    return x * x + y * y + z * z;
  };
  const double a = d2(t[1], t[2]), b = d2(t[0], t[2]), c = d2(t[0], t[1]);
  lambda[0] = a * (b + c - a), lambda[1] = b * (a + c - b), lambda[2] = c * (a + b - c);
  const double s = lambda[0] + lambda[1] + lambda[2];
  for (int k = 0; k < 3; ++k) lambda[k] /= s;
}

}  // namespace

TEST(CircumscribeCircleTest, Properties_MatchesCgalCircumcenter) {
  qvtest::TestRng rng(5321);
  SCOPED_TRACE(rng.Trace());
  int checked = 0;
  for (int trial = 0; trial < 3000; ++trial) {
    const double scale = std::pow(10.0, rng.Uniform(-2, 3));
    const Point3D_d off(rng.Uniform(-1, 1) * scale, rng.Uniform(-1, 1) * scale,
                        rng.Uniform(-1, 1) * scale);
    Point3D_d td[3];
    Point3D tf[3];
    for (int i = 0; i < 3; ++i) {
      tf[i] = Point3D(float(off.x() + rng.Uniform(-1, 1) * scale),
                      float(off.y() + rng.Uniform(-1, 1) * scale),
                      float(off.z() + rng.Uniform(-1, 1) * scale));
      td[i] = Point3D_d(tf[i].x(), tf[i].y(), tf[i].z());  // the same points in both
    }
    double lambda[3];
    CircumBarycentric(td, lambda);
    const double lmax =
        std::max({std::fabs(lambda[0]), std::fabs(lambda[1]), std::fabs(lambda[2])});
    if (lmax > 50) continue;  // near the rejection bound the float branch may go either way

    const auto cg = CGAL::circumcenter(Kernel::Point_3(td[0].x(), td[0].y(), td[0].z()),
                                       Kernel::Point_3(td[1].x(), td[1].y(), td[1].z()),
                                       Kernel::Point_3(td[2].x(), td[2].y(), td[2].z()));
    const double cgR =
        std::sqrt(CGAL::squared_distance(cg, Kernel::Point_3(td[0].x(), td[0].y(), td[0].z())));
    // Coordinates reach |off| + scale; the weights amplify rounding by up to lmax.
    const double mag = std::fabs(off.x()) + std::fabs(off.y()) + std::fabs(off.z()) + 3 * scale;

    Point3D_d cd;
    double rd = 0;
    Point3D cf;
    float rf = 0;
    ASSERT_TRUE(CircumscribeCircle(td, cd, rd) && CircumscribeCircle(tf, cf, rf));
    // Centre and radius together: (x, y, z) and (r, r, r) against CGAL.
    const double tolD = 1e-12 * mag * lmax, tolF = 64 * qvtest::Eps<float>() * mag * lmax;
    EXPECT_TRUE(qvtest::Near3({cd.x(), cd.y(), cd.z()}, {cg.x(), cg.y(), cg.z()}, tolD));
    EXPECT_TRUE(qvtest::Near3({cf.x(), cf.y(), cf.z()}, {cg.x(), cg.y(), cg.z()}, tolF));
    EXPECT_TRUE(qvtest::Near3({rd, rf, 0}, {cgR, cgR, 0}, tolF) && std::fabs(rd - cgR) <= tolD);
    ++checked;
  }
  EXPECT_GT(checked, 2000);
}

TEST(CircumscribeCircleTest, Degenerate_NoCircleOrCentreTooFarGivesTheSentinel) {
  // Collinear and coincident points.
  const float lines[2][9] = {{0, 0, 0, 1, 1, 1, 3, 3, 3}, {2, 2, 2, 2, 2, 2, 2, 2, 2}};
  for (const auto& l : lines) {
    float centre[3] = {7, 8, 9}, r = 1;
    double ld[9], cd[3] = {7, 8, 9}, rd = 1;
    std::copy(l, l + 9, ld);
    EXPECT_FALSE(CircumscribeCircle(l, l + 3, l + 6, centre, r));
    EXPECT_FALSE(CircumscribeCircle(ld, ld + 3, ld + 6, cd, rd));
    EXPECT_TRUE(r == kSentinel && centre[0] == 7.0f && centre[2] == 9.0f);
    EXPECT_TRUE(rd == double(kSentinel) && cd[1] == 8.0);  // the float sentinel, widened
  }
  // Flat obtuse triangles: the rejection follows the largest barycentric coordinate of the
  // centre, 1000 being the bound.
  qvtest::TestRng rng(5323);
  SCOPED_TRACE(rng.Trace());
  int rejected = 0, accepted = 0;
  for (int trial = 0; trial < 2000; ++trial) {
    const double h = std::pow(10.0, rng.Uniform(-4, -0.5));
    const Point3D_d t[3] = {Point3D_d(0, 0, 0), Point3D_d(1, 0, 0),
                            Point3D_d(rng.Uniform(0.1, 0.9), h, 0)};
    double lambda[3];
    CircumBarycentric(t, lambda);
    const double lmax =
        std::max({std::fabs(lambda[0]), std::fabs(lambda[1]), std::fabs(lambda[2])});
    if (std::fabs(lmax - 1000) < 20) continue;
    Point3D_d c;
    double r = 0;
    const bool ok = CircumscribeCircle(t, c, r);
    EXPECT_TRUE(ok == (lmax < 1000) && (ok || r == double(kSentinel)))
        << "largest barycentric coordinate " << lmax;
    ok ? ++accepted : ++rejected;
  }
  EXPECT_GT(rejected, 100);
  EXPECT_GT(accepted, 100);
}
