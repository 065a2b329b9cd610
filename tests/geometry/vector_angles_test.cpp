// SPDX-License-Identifier: MIT
#include <qvmath/geometry/vector_angles.h>

#include <cmath>

#include "geometry/geom_test_util.h"

namespace {

using qvtest::V3;
using REmath::Point3D;
using REmath::Point3D_d;

Point3D P(const V3& v) {
  return Point3D(qvtest::RoundTo<float>(v[0]), qvtest::RoundTo<float>(v[1]),
                 qvtest::RoundTo<float>(v[2]));
}
V3 D(const Point3D& p) { return {p.x(), p.y(), p.z()}; }

TEST(VectorAnglesTest, Properties_ParallelAgainstConstructedAngle) {
  qvtest::TestRng rng(5501);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 500; ++trial) {
    const V3 a = qvtest::RandomUnit(rng);
    V3 perp = qvtest::Cross(a, qvtest::RandomUnit(rng));
    perp = qvtest::Scale(perp, 1 / std::sqrt(qvtest::Norm2(perp)));
    const double angle = rng.Uniform(0.01, 0.5);
    const double sign = trial % 2 ? 1 : -1;  // antiparallel counts as parallel
    const V3 b = qvtest::Scale(
        qvtest::Add(qvtest::Scale(a, std::cos(angle)), qvtest::Scale(perp, std::sin(angle))),
        sign * rng.Uniform(0.1, 100));
    const double s2 = std::sin(angle) * std::sin(angle);
    EXPECT_TRUE(VectorsAreParallel(Point3D_d(a.data()), Point3D_d(b.data()), s2 * 1.001));
    EXPECT_FALSE(VectorsAreParallel(Point3D_d(a.data()), Point3D_d(b.data()), s2 * 0.999));
  }
  // Strict: 0 < 0 fails for a zero vector and for v ∥ v at tol 0.
  const Point3D_d v(1.0, 2.0, 3.0);
  EXPECT_FALSE(VectorsAreParallel(v, Point3D_d(0.0, 0.0, 0.0), 1.0) ||
               VectorsAreParallel(v, v, 0.0));
  EXPECT_TRUE(VectorsAreParallel(v, v, 1e-30));
}

TEST(VectorAnglesTest, Properties_PointInPlane) {
  const Point3D_d q(1.0, 1.0, 1.0), n(0.0, 0.0, 1.0);
  EXPECT_TRUE(PointInPlane(Point3D_d(5.0, -3.0, 1.0), q, n, 1e-9));
  // Elevation angle e: |u × n|² − 1 = −sin² e.
  const double e = 1e-3;
  const Point3D_d p(1.0 + std::cos(e), 1.0, 1.0 + std::sin(e));
  EXPECT_TRUE(PointInPlane(p, q, n, 1.01e-6));
  EXPECT_FALSE(PointInPlane(p, q, n, 0.99e-6));
  // A point within tol of q passes whatever the direction; at exactly tol it does not.
  EXPECT_TRUE(PointInPlane(Point3D_d(1.0, 1.0, 1.0 + 1e-4), q, n, 2e-4));
  EXPECT_FALSE(PointInPlane(Point3D_d(1.0, 1.0, 1.5), q, n, 0.5));
}

TEST(VectorAnglesTest, Properties_CosABCAgainstDoubleAndSentinel) {
  qvtest::TestRng rng(5502);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 2000; ++trial) {
    const Point3D a = P(qvtest::RandomPoint<double>(rng, 100));
    const Point3D b = P(qvtest::RandomPoint<double>(rng, 100));
    const Point3D c = P(qvtest::RandomPoint<double>(rng, 100));
    const V3 ba = qvtest::Sub(D(a), D(b)), bc = qvtest::Sub(D(c), D(b));
    const double ref = qvtest::Dot(ba, bc) / std::sqrt(qvtest::Norm2(ba) * qvtest::Norm2(bc));
    // Float subtraction of coordinates up to 100 loses up to ε·100 per component, relative
    // to edge lengths of order 10 or more in almost every draw.
    const double scale = 100 / std::sqrt(std::min(qvtest::Norm2(ba), qvtest::Norm2(bc)));
    EXPECT_NEAR(cos_ABC(a, b, c), ref, 32 * qvtest::Eps<float>() * (1 + scale));
  }
  const Point3D a(1.0f, 2.0f, 3.0f), c(4.0f, 5.0f, 7.0f);
  EXPECT_EQ(cos_ABC(a, a, c), 6.66e19f);  // kCosUndefined
  EXPECT_EQ(cos_ABC(a, c, c), kCosUndefined);
  // Underflow of the product also yields the sentinel.
  EXPECT_EQ(cos_ABC(Point3D(1e-25f, 0.0f, 0.0f), Point3D(), Point3D(0.0f, 1e-25f, 0.0f)),
            kCosUndefined);
}

// Signed cos² of the dihedral angle at edge ab, from double components perpendicular to ab.
double DihedralSignedCos2(const V3& a, const V3& b, const V3& c, const V3& d) {
  const V3 e = qvtest::Sub(b, a);
  auto perp = [&](const V3& p) {
    const V3 w = qvtest::Sub(p, a);
    return qvtest::Sub(w, qvtest::Scale(e, qvtest::Dot(w, e) / qvtest::Norm2(e)));
  };
  const V3 u = perp(c), w = perp(d);
  const double q = qvtest::Dot(u, w);
  const double r = q * q / (qvtest::Norm2(u) * qvtest::Norm2(w));
  return q <= 0 ? -r : r;
}

TEST(VectorAnglesTest, Properties_SemiPlanarAgainstDihedralAngleAndSentinel) {
  qvtest::TestRng rng(5503);
  SCOPED_TRACE(rng.Trace());
  for (int trial = 0; trial < 2000; ++trial) {
    const Point3D a = P(qvtest::RandomPoint<double>(rng, 10));
    const Point3D b = P(qvtest::RandomPoint<double>(rng, 10));
    const Point3D c = P(qvtest::RandomPoint<double>(rng, 10));
    const Point3D d = P(qvtest::RandomPoint<double>(rng, 10));
    const double ref = DihedralSignedCos2(D(a), D(b), D(c), D(d));
    EXPECT_NEAR(SemiPlanarCos2(a, b, c, d), ref, 1e-3) << trial;  // float, cancellations
    // The product's sign agrees with the cos² sign away from right angles.
    if (std::fabs(ref) > 1e-3) {
      EXPECT_EQ(SemiPlanarScalarProd(a, b, c, d) > 0, ref > 0);
    }
  }
  const Point3D a(0.0f, 0.0f, 0.0f), b(1.0f, 0.0f, 0.0f), c(0.0f, 1.0f, 0.0f);
  // d or c on the edge line, or one perpendicular 1e-7 long against 1 (squared ratio 1e-14
  // below 1e-12): the sentinel.
  for (const Point3D& d : {Point3D(3.0f, 0.0f, 0.0f), Point3D(0.5f, 0.0f, 1e-7f)})
    EXPECT_TRUE(SemiPlanarCos2(a, b, c, d) == kCosUndefined &&
                SemiPlanarCos2(a, b, d, c) == kCosUndefined);
  EXPECT_NE(SemiPlanarCos2(a, b, c, Point3D(0.5f, 0.0f, 1e-5f)), kCosUndefined);
  // a = b: both perpendiculars are zero, the product is 0 and cos² the sentinel.
  EXPECT_TRUE(SemiPlanarScalarProd(a, a, c, Point3D(0.0f, 0.0f, 1.0f)) == 0.0f &&
              SemiPlanarCos2(a, a, c, Point3D(0.0f, 0.0f, 1.0f)) == kCosUndefined);
}

}  // namespace
