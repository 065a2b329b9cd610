// SPDX-License-Identifier: MIT
#include <qvmath/analysis/ortho_norm_basis.h>
#include <qvmath/core/detail/vec3.h>

#include <cmath>

using REmath::Point3D_d;

namespace {

// unit(v) to the precision of the unit-length test: one normalisation leaves the length
// within a few ulps of 1, but the test admits only about two, so a second pass (whose
// input is then within rounding of 1) is made when the first one misses. A zero or
// non-finite vector stays non-finite, as `unitLength` leaves it.
Point3D_d Unit(const Point3D_d& v) {
  Point3D_d u = v.unitLength();
  if (!u.isUnitLength()) u.normalize();
  return u;
}

}  // namespace

COrthoNormBasis::COrthoNormBasis() = default;

COrthoNormBasis::COrthoNormBasis(const Point3D_d& e0, const Point3D_d& e1, const Point3D_d& e2,
                                 const Point3D_d& origin)
    : COrthoNormBasis(buildByOrthsAndOrigin(e0, e1, e2, origin)) {}

COrthoNormBasis COrthoNormBasis::buildByOrthsAndOrigin(const Point3D_d& e0, const Point3D_d& e1,
                                                       const Point3D_d& e2,
                                                       const Point3D_d& origin) {
  COrthoNormBasis b;
  b.m_back = RElinearTransform(CRotationMatrix::buildFromColumns(e0, e1, e2), origin);
  // isOrthoNorm() reads the back transform only: the forth one does not exist yet.
  if (b.isOrthoNorm() || !invertTransform(b.m_back, b.m_forth))
    b.m_forth = b.m_back.getInvertedOrtho();
  return b;
}

COrthoNormBasis COrthoNormBasis::buildRightHandByE0E1AndOrigin(const Point3D_d& e0,
                                                               const Point3D_d& e1,
                                                               const Point3D_d& origin) {
  return buildByOrthsAndOrigin(e0, e1, Unit(REmath::detail::PointCross(e0, e1)), origin);
}

COrthoNormBasis COrthoNormBasis::buildRightHandByV0V1AndOrigin(const Point3D_d& dir0,
                                                               const Point3D_d& dir1,
                                                               const Point3D_d& origin) {
  const Point3D_d e0 = Unit(dir0);
  const Point3D_d e2 = Unit(REmath::detail::PointCross(e0, dir1));
  return buildByOrthsAndOrigin(e0, Unit(REmath::detail::PointCross(e2, e0)), e2, origin);
}

COrthoNormBasis COrthoNormBasis::buildRightHandByV2V0AndOrigin(const Point3D_d& dir2,
                                                               const Point3D_d& dir0,
                                                               const Point3D_d& origin) {
  const Point3D_d e2 = Unit(dir2);
  const Point3D_d e1 = Unit(REmath::detail::PointCross(e2, dir0));
  return buildByOrthsAndOrigin(Unit(REmath::detail::PointCross(e1, e2)), e1, e2, origin);
}

COrthoNormBasis COrthoNormBasis::buildAnyRightHandByV2AndOrigin(const Point3D_d& dir2,
                                                                const Point3D_d& origin) {
  const Point3D_d n = Unit(dir2);
  const Point3D_d t = std::fabs(n.x()) > 0.9 ? Point3D_d(0, 1, 0) : Point3D_d(1, 0, 0);
  const Point3D_d e0 = Unit(REmath::detail::PointCross(t, n));
  return buildByOrthsAndOrigin(e0, Unit(REmath::detail::PointCross(n, e0)), n, origin);
}

Point3D_d COrthoNormBasis::getOrigin() const { return Point3D_d(m_back.t); }

Point3D_d COrthoNormBasis::getE(int i) const { return m_forth.m.getRow(i); }

void COrthoNormBasis::setOrigin(const Point3D_d& p) {
  p.toArray(m_back.t);
  m_forth = m_back.getInvertedOrtho();
}

COrthoNormBasis COrthoNormBasis::getMovedTo(const Point3D_d& p) const {
  COrthoNormBasis b(*this);
  b.setOrigin(p);
  return b;
}

COrthoNormBasis COrthoNormBasis::getWorldBasisInLocalCoords() const {
  COrthoNormBasis b;
  b.m_back = m_forth;
  b.m_forth = m_back;
  return b;
}

Point3D_d COrthoNormBasis::transformCoordsToBasis(const Point3D_d& p) const {
  return m_forth.apply(p);
}

Point3D_d COrthoNormBasis::transformCoordsFromBasis(const Point3D_d& q) const {
  return m_back.apply(q);
}

Point3D_d COrthoNormBasis::projectPointToXYPlane(const Point3D_d& p) const {
  Point3D_d q = m_forth.apply(p);
  q.z() = 0;
  return m_back.apply(q);
}

bool COrthoNormBasis::isOrthoNorm() const {
  return m_back.isOrtho() && m_back.m.getColumn(0).isUnitLength() &&
         m_back.m.getColumn(1).isUnitLength() && m_back.m.getColumn(2).isUnitLength();
}

bool COrthoNormBasis::isOrthoNormRightHand() const {
  if (!isOrthoNorm()) return false;
  const Point3D_d c = REmath::detail::PointCross(getE0(), getE1());
  const Point3D_d e2 = getE2();
  return c.x() * e2.x() + c.y() * e2.y() + c.z() * e2.z() > 0;
}

const COrthoNormBasis& COrthoNormBasis::Identity() {
  static const COrthoNormBasis kIdentity;
  return kIdentity;
}

const Point3D_d& COrthoNormBasis::IdentityE0() {
  static const Point3D_d kE0(1.0, 0.0, 0.0);
  return kE0;
}

const Point3D_d& COrthoNormBasis::IdentityE1() {
  static const Point3D_d kE1(0.0, 1.0, 0.0);
  return kE1;
}

const Point3D_d& COrthoNormBasis::IdentityE2() {
  static const Point3D_d kE2(0.0, 0.0, 1.0);
  return kE2;
}
