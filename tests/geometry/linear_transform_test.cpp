// SPDX-License-Identifier: MIT
#include <qvmath/geometry/linear_transform.h>

#include <cmath>

#include "geometry/geom_test_util.h"

namespace {

using qvtest::V3;
using REmath::Point3D_d;

// A random rotation from a random unit quaternion, entries via the standard closed form.
CRotationMatrix RandomRotation(qvtest::TestRng& rng) {
  double q[4], n = 0;
  do {
    n = 0;
    for (double& c : q) c = rng.Uniform(-1, 1), n += c * c;
  } while (n < 1e-3 || n > 1);
  for (double& c : q) c /= std::sqrt(n);
  const double w = q[0], x = q[1], y = q[2], z = q[3];
  const double a[3][3] = {{1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y)},
                          {2 * (x * y + w * z), 1 - 2 * (x * x + z * z), 2 * (y * z - w * x)},
                          {2 * (x * z - w * y), 2 * (y * z + w * x), 1 - 2 * (x * x + y * y)}};
  return CRotationMatrix(a);
}

Point3D_d RandomP(qvtest::TestRng& rng, double scale) {
  return Point3D_d(rng.Uniform(-scale, scale), rng.Uniform(-scale, scale),
                   rng.Uniform(-scale, scale));
}

void ExpectNear(const Point3D_d& a, const Point3D_d& b, double tol) {
  EXPECT_TRUE(qvtest::Near3({a.x(), a.y(), a.z()}, {b.x(), b.y(), b.z()}, tol));
}

TEST(LinearTransformTest, Properties_RigidInverseRoundTrip) {
  qvtest::TestRng rng(5102);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 200; ++trial) {
    const RElinearTransform tr(RandomRotation(rng), RandomP(rng, 100));
    RElinearTransform inv = tr;
    inv.invertOrtho();
    const Point3D_d p = RandomP(rng, 100);
    ExpectNear(inv.apply(tr.apply(p)), p, 1e-12 * 200);
    ExpectNear(tr.getInvertedOrtho().apply(tr.apply(p)), p, 1e-12 * 200);
  }
}

TEST(LinearTransformTest, Properties_IsOrthoAcceptsReflectionsRejectsScaling) {
  const double refl[3][3] = {{1, 0, 0}, {0, -1, 0}, {0, 0, 1}};
  const double t[3] = {1e3, -5, 7};
  EXPECT_TRUE(RElinearTransform(refl, t).isOrtho());
  qvtest::TestRng rng(5103);
  SCOPED_TRACE(rng.Trace());
  const CRotationMatrix rot = RandomRotation(rng);
  // The tolerance is single precision: a 1e-9 perturbation still passes, 1e-5 fails, and
  // so do scaling and shear (transpose is not the inverse).
  CRotationMatrix nearly = rot, off = rot, shear;
  nearly.m[1][2] += 1e-9, off.m[1][2] += 1e-5, shear.m[0][1] = 0.01;
  EXPECT_TRUE(RElinearTransform(rot, Point3D_d(3.0, 4.0, 5.0)).isOrtho());
  EXPECT_TRUE(RElinearTransform(nearly, Point3D_d()).isOrtho());
  for (const CRotationMatrix& m : {off, shear, rot * 2.0})
    EXPECT_FALSE(RElinearTransform(m, Point3D_d()).isOrtho());
}

TEST(LinearTransformTest, Properties_GeneralInverseRoundTrip) {
  qvtest::TestRng rng(5104);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 200; ++trial) {
    double a[3][3], t[3];
    for (auto& row : a)
      for (double& e : row) e = rng.Uniform(-3, 3);
    for (double& e : t) e = rng.Uniform(-50, 50);
    const RElinearTransform tr(a, t);
    RElinearTransform inv;
    ASSERT_TRUE(invertTransform(tr, inv));
    const Point3D_d p = RandomP(rng, 10);
    const Point3D_d back = inv.apply(tr.apply(p));
    const Point3D_d forth = tr.apply(inv.apply(p));
    // Random matrices can be ill-conditioned; bound by the size of the images instead.
    const double scale = 1e-9 * (1 + tr.apply(p).length() + inv.apply(p).length());
    ExpectNear(back, p, scale * 1e3);
    ExpectNear(forth, p, scale * 1e3);
    // In place (out aliasing the input) gives the same result.
    RElinearTransform alias = tr;
    ASSERT_TRUE(invertTransform(alias, alias));
    for (int i = 0; i < 3; ++i) EXPECT_EQ(alias.t[i], inv.t[i]);
  }
}

TEST(LinearTransformTest, Degenerate_SingularInverseLeavesOutUntouched) {
  const double a[3][3] = {{1, 2, 3}, {2, 4, 6}, {1, 0, 0}};
  const double t[3] = {1, 2, 3};
  RElinearTransform out(CRotationMatrix::Identity() * 5.0, Point3D_d(9.0, 8.0, 7.0));
  EXPECT_FALSE(invertTransform(RElinearTransform(a, t), out));
  EXPECT_TRUE(out.m.m[0][0] == 5.0 && out.m.m[0][1] == 0.0 && out.t[0] == 9.0 && out.t[2] == 7.0);
}

}  // namespace
