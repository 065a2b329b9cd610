// SPDX-License-Identifier: MIT
// Local frames: orthonormal right-handed, the promised directions, coordinate round trips.

#include <qvmath/analysis/ortho_norm_basis.h>

#include "analysis/surface_samples.h"

namespace {

using namespace qvtest;
using REmath::Point3D_d;

Point3D_d D(const V3& v) { return Point3D_d(v[0], v[1], v[2]); }

TEST(OrthoNormBasis, Properties_BuildersKeepTheirPromises) {
  TestRng rng(9201);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 2000; ++trial) {
    const V3 a = Scale(RandomUnit(rng), rng.Uniform(0.01, 100));
    const V3 b = Scale(RandomUnit(rng), rng.Uniform(0.01, 100));
    const Point3D_d o = D(Scale(RandomUnit(rng), 1e6));
    const V3 ua = Scale(a, 1 / std::sqrt(Norm2(a)));
    const COrthoNormBasis v0v1 = COrthoNormBasis::buildRightHandByV0V1AndOrigin(D(a), D(b), o);
    const COrthoNormBasis v2v0 = COrthoNormBasis::buildRightHandByV2V0AndOrigin(D(a), D(b), o);
    const COrthoNormBasis any = COrthoNormBasis::buildAnyRightHandByV2AndOrigin(D(a), o);
    const COrthoNormBasis e0e1 =
        COrthoNormBasis::buildRightHandByE0E1AndOrigin(v0v1.getE0(), v0v1.getE1(), o);
    for (const COrthoNormBasis* f : {&v0v1, &v2v0, &any, &e0e1}) {
      ASSERT_TRUE(f->isOrthoNormRightHand());
      const Point3D_d p = D(Add(ToV3(o), Scale(RandomUnit(rng), 10)));
      const Point3D_d q = f->transformCoordsFromBasis(f->transformCoordsToBasis(p));
      EXPECT_LT(std::sqrt(Dist2(ToV3(q), ToV3(p))), 1e6 * 1e-14);
      const Point3D_d pr = f->projectPointToXYPlane(p);
      EXPECT_NEAR(f->transformCoordsToBasis(pr).z(), 0, 1e-8);
      EXPECT_NEAR(AbsCos(Sub(ToV3(p), ToV3(pr)), ToV3(f->getE2())), 1, 1e-6);
    }
    EXPECT_NEAR(Dot(ToV3(v0v1.getE0()), ua), 1, 1e-15);  // dir0 keeps its direction
    EXPECT_GT(Dot(ToV3(v0v1.getE1()), b), 0);            // dir1 picks the half-plane
    EXPECT_NEAR(Dot(ToV3(v2v0.getE2()), ua), 1, 1e-15);
    EXPECT_GT(Dot(ToV3(v2v0.getE0()), b), 0);
    // The auxiliary axis: (0,1,0) when |n·(1,0,0)| > 0.9, else (1,0,0); e0 is orthogonal to it.
    EXPECT_EQ(Dot(ToV3(any.getE0()), std::fabs(ua[0]) > 0.9 ? V3{0, 1, 0} : V3{1, 0, 0}), 0.0);
  }
  const COrthoNormBasis z = COrthoNormBasis::buildAnyRightHandByV2AndOrigin(Point3D_d(0, 0, 5), {});
  EXPECT_TRUE(ToV3(z.getE0()) == (V3{0, -1, 0}) && ToV3(z.getE1()) == (V3{1, 0, 0}));
}

}  // namespace
