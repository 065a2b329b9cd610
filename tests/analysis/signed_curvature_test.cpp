// SPDX-License-Identifier: MIT
// Signed curvatures: analytic surfaces under rigid motions (with a tilted normal and far
// from the origin), the sign convention, and every degenerate neighbourhood refused.

#include <qvmath/analysis/curvatures.h>
#include <qvmath/analysis/quadric_normal.h>
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
      // Float input (6e-8 relative) over a sagitta of rho²·k/2 and the quartic term of the
      // sphere and cylinder (relative rho²·k²/4 ≈ 2.5e-3 at k = 2): 1e-2 absolute + relative.
      const double tol = 1e-2 * (1 + std::fabs(s.k1));
      EXPECT_NEAR(c.k1, s.k1, tol);
      EXPECT_NEAR(c.k2, s.k2, tol);
      EXPECT_NEAR(AbsCos(ToV3(c.dir1), ToV3(c.dir2)), 0, 1e-12);
      if (s.k1 != s.k2) {
        EXPECT_GT(AbsCos(ToV3(c.dir1), m.Dir(s.dir1)), 0.999);
        EXPECT_GT(AbsCos(ToV3(c.dir2), m.Dir(s.dir2)), 0.999);
      }
      // With the analytic normals (every seventh on the wrong side, flipped back): the
      // normal-difference fit; exact on sphere and cylinder, first order on the others.
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
      if (s.k1 != s.k2) {
        EXPECT_GT(AbsCos(ToV3(w.dir1), m.Dir(s.dir1)), 0.999);
      }
      // Flipping the normal flips every curvature: k1 ↔ −k2.
      CSignedCurvature f;
      ASSERT_TRUE(
          GetSignedCurvatures(int(pts.size()), pts.data(), D(m.t), D(Scale(m.Dir(tilt), -1)), f));
      EXPECT_NEAR(f.k1, -c.k2, 1e-9 * (1 + std::fabs(c.k2)));
      EXPECT_NEAR(f.k2, -c.k1, 1e-9 * (1 + std::fabs(c.k1)));
    }
  }
}

TEST(SignedCurvature, Properties_FarFromOriginSameAsAtOrigin) {
  TestRng rng(9102);
  SCOPED_TRACE(rng.Trace());
  const Surface& s = Surfaces()[2];
  for (int trial = 0; trial < 20; ++trial) {
    const Motion m = RandomMotion(rng, 0);
    // A neighbourhood of radius 50 on the grid of 1/8 (the float spacing just above 2^20),
    // and the same points moved by exactly 2^20 on every axis: every local difference is
    // then the same.
    std::vector<REmath::Point3D> pts = Sample(s, m, 0.1, 30, rng), far = pts;
    for (auto& p : pts)
      for (float* v : {&p.x(), &p.y(), &p.z()}) *v = std::round(*v * 4000.0f) / 8.0f;
    for (size_t i = 0; i < pts.size(); ++i)
      far[i] = REmath::Point3D(pts[i].x() + 1048576.0f, pts[i].y() + 1048576.0f,
                               pts[i].z() + 1048576.0f);
    CSignedCurvature a, b;
    ASSERT_TRUE(
        GetSignedCurvatures(30, pts.data(), D({pts[0].x(), pts[0].y(), pts[0].z()}), D(m.c[2]), a));
    ASSERT_TRUE(
        GetSignedCurvatures(30, far.data(), D({far[0].x(), far[0].y(), far[0].z()}), D(m.c[2]), b));
    EXPECT_NEAR(a.k1, 2.0 / 500, 1e-4);
    EXPECT_NEAR(b.k1, a.k1, 1e-12);
    EXPECT_NEAR(b.k2, a.k2, 1e-12);
    // The quadric-fit normal and curvature alike.
    double na[3], nb[3];
    CQuadraticForm qa, qb;
    ASSERT_TRUE(GetNormal2(30, pts.data(), nullptr, &qa, na, nullptr, nullptr));
    ASSERT_TRUE(GetNormal2(30, far.data(), nullptr, &qb, nb, nullptr, nullptr));
    EXPECT_NEAR(AbsCos({na[0], na[1], na[2]}, {nb[0], nb[1], nb[2]}), 1, 1e-15);
    EXPECT_NEAR(MaxCurvature(qa), MaxCurvature(qb), 1e-12);
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
    EXPECT_EQ(r.k1, 0.0);
    EXPECT_EQ(r.k2, 0.0);
    EXPECT_FALSE(std::isnan(r.conditioning));
    const std::vector<REmath::Point3D> zero(c.pts->size(), REmath::Point3D(0, 0, 0));
    EXPECT_FALSE(GetSignedCurvatures(int(c.pts->size()), c.pts->data(), zero.data(), o, up, r));
    EXPECT_FALSE(r.valid);
  }
}

}  // namespace
