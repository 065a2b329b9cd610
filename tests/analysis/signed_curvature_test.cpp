// SPDX-License-Identifier: MIT
// Signed curvatures: analytic surfaces under rigid motions, tilted normal; refusals.

#include <qvmath/analysis/signed_curvature.h>

#include <cmath>

#include "analysis/surface_samples.h"

namespace {

using namespace qvtest;

REmath::Point3D_d D(const V3& v) { return REmath::Point3D_d(v[0], v[1], v[2]); }

TEST(SignedCurvature, Regions_AnalyticSurfacesUnderRigidMotions) {
  TestRng rng(9101);
  SCOPED_TRACE(rng.Trace());
  for (const Surface& s : Surfaces()) {
    SCOPED_TRACE(s.name);
    for (int trial = 0; trial < 20; ++trial) {
      const Motion m = RandomMotion(rng, 0);
      // A normal up to ~6° off the surface's: the fitted slope absorbs it.
      const V3 tilt{rng.Uniform(-0.1, 0.1), rng.Uniform(-0.1, 0.1), 1};
      const std::vector<REmath::Point3D> pts = Sample(s, m, 0.05, 40, rng);
      CSignedCurvature c;
      ASSERT_TRUE(GetSignedCurvatures(int(pts.size()), pts.data(), D(m.t), D(m.Dir(tilt)), c));
      ASSERT_TRUE(c.valid);
      // Float input over a sagitta rho²·k/2, and the quartic term (2.5e-3 relative at k = 2).
      const double tol = 1e-2 * (1 + std::fabs(s.k1));
      EXPECT_NEAR(c.k1, s.k1, tol);
      EXPECT_NEAR(c.k2, s.k2, tol);
      EXPECT_NEAR(AbsCos(ToV3(c.dir1), ToV3(c.dir2)), 0, 1e-12);
      if (s.k1 != s.k2) {
        EXPECT_GT(AbsCos(ToV3(c.dir1), m.Dir(s.dir1)), 0.999);
        EXPECT_GT(AbsCos(ToV3(c.dir2), m.Dir(s.dir2)), 0.999);
      }
      // Analytic normals, every seventh on the wrong side (flipped back): exact on sphere
      // and cylinder, first order on the others.
      std::vector<REmath::Point3D> nrm;
      for (const REmath::Point3D& p : pts) {
        const V3 d = Sub({p.x(), p.y(), p.z()}, m.t);
        const double x = Dot(d, m.c[0]), y = Dot(d, m.c[1]), e = 1e-6;
        const V3 g = m.Dir({(s.h(x - e, y) - s.h(x + e, y)) / (2 * e),
                            (s.h(x, y - e) - s.h(x, y + e)) / (2 * e), 1});
        const double sg = nrm.size() % 7 == 3 ? -1 : 1;
        nrm.emplace_back(float(sg * g[0]), float(sg * g[1]), float(sg * g[2]));
      }
      CSignedCurvature w;
      ASSERT_TRUE(GetSignedCurvatures(40, pts.data(), nrm.data(), D(m.t), D(m.Dir(tilt)), w));
      const double wtol = (s.k1 == s.k2 || s.k2 == 0 ? 1e-5 : 6e-3) * (1 + std::fabs(s.k2));
      EXPECT_NEAR(w.k1, s.k1, wtol);
      EXPECT_NEAR(w.k2, s.k2, wtol);
      EXPECT_TRUE(s.k1 == s.k2 || AbsCos(ToV3(w.dir1), m.Dir(s.dir1)) > 0.999);
    }
  }
}

TEST(SignedCurvature, Degenerate_RefusedNeverNaN) {
  const REmath::Point3D_d o(0, 0, 0), up(0, 0, 1);
  std::vector<REmath::Point3D> line, same(10, REmath::Point3D(1, 2, 3)), five, six;
  for (int i = 0; i < 10; ++i) line.emplace_back(float(i), float(2 * i), 0.0f);
  for (int i = 0; i < 5; ++i) five.emplace_back(float(i % 3), float(i / 3), 0.0f);
  // Six points on two lines x = 0 and x = 1: the u² column equals u, the fit is singular.
  for (int i = 0; i < 6; ++i) six.emplace_back(float(i % 2), float(i), 0.0f);
  struct Case {
    const char* name;
    const std::vector<REmath::Point3D>* pts;
    REmath::Point3D_d normal;
  } cases[] = {{"collinear", &line, up},   {"one repeated point", &same, up},
               {"five points", &five, up}, {"two parallel lines", &six, up},
               {"zero normal", &line, o},  {"NaN normal", &line, REmath::Point3D_d(NAN, 0, 1)}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CSignedCurvature r;
    r.valid = true;
    EXPECT_FALSE(GetSignedCurvatures(int(c.pts->size()), c.pts->data(), o, c.normal, r));
    EXPECT_FALSE(r.valid);
    EXPECT_TRUE(r.k1 == 0.0 && r.k2 == 0.0);
    EXPECT_FALSE(std::isnan(r.conditioning));
    const std::vector<REmath::Point3D> zero(c.pts->size(), REmath::Point3D(0, 0, 0));
    EXPECT_FALSE(GetSignedCurvatures(int(c.pts->size()), c.pts->data(), zero.data(), o, up, r));
    EXPECT_FALSE(r.valid);
  }
}

}  // namespace
