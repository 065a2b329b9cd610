// SPDX-License-Identifier: MIT
// COrthoNormBasis: a local right-handed frame (three unit axes and an origin) held as the
// pair of affine maps local → world and world → local.
#pragma once

#include <qvmath/core/point3d.h>
#include <qvmath/geometry/linear_transform.h>
#include <qvmath/platform/export.h>

/// A local frame: axes e0, e1, e2 and an origin o, held as two `RElinearTransform`s:
/// the back transform (local → world, p = R·q + o, R with columns e0, e1, e2) and the forth
/// transform (world → local, its inverse; the rows of its matrix are e0, e1, e2 when the
/// frame is orthonormal). Invariant: the forth transform is the inverse of the back one;
/// every builder and `setOrigin` recompute it.
///
/// Axis builders that normalise (all but `buildByOrthsAndOrigin`) deliver axes that pass
/// the double-epsilon unit-length test of `REmath::Point3D_d::isUnitLength`: an axis whose
/// length after one normalisation is still more than two ulps from 1 is normalised again.
/// The axes are therefore unit to the last bit or two, and their pairwise products are
/// zero to a few ulps; `isOrthoNorm()` holds for every frame these builders return from
/// non-degenerate input. A zero or parallel input gives non-finite axes (the same as
/// `unitLength` of a zero vector); such a frame fails `isOrthoNorm()`.
/// Plain value type; thread safety: re-entrant; the shared constants are function-local
/// statics built on first use.
class QVMATH_API COrthoNormBasis {
 public:
  /// The world frame: both transforms are the identity.
  COrthoNormBasis();
  /// The same as `buildByOrthsAndOrigin(e0, e1, e2, origin)`.
  COrthoNormBasis(const REmath::Point3D_d& e0, const REmath::Point3D_d& e1,
                  const REmath::Point3D_d& e2, const REmath::Point3D_d& origin);
  COrthoNormBasis(const COrthoNormBasis& other) = default;
  COrthoNormBasis& operator=(const COrthoNormBasis& other) = default;

  /// The frame with axes e0, e1, e2 (used as given, not normalised) and the given origin.
  /// The forth transform is the orthogonal inverse when `isOrthoNorm()` holds for these
  /// axes, otherwise the general inverse (`invertTransform`); if that fails too (singular
  /// axes) the forth transform is the orthogonal inverse all the same.
  static COrthoNormBasis buildByOrthsAndOrigin(const REmath::Point3D_d& e0,
                                               const REmath::Point3D_d& e1,
                                               const REmath::Point3D_d& e2,
                                               const REmath::Point3D_d& origin);
  /// e0 and e1 as given, e2 = unit(e0 × e1).
  static COrthoNormBasis buildRightHandByE0E1AndOrigin(const REmath::Point3D_d& e0,
                                                       const REmath::Point3D_d& e1,
                                                       const REmath::Point3D_d& origin);
  /// e0 = unit(dir0), e2 = unit(e0 × dir1), e1 = unit(e2 × e0): dir0 keeps its direction
  /// and dir1 only chooses the half-plane of e1.
  static COrthoNormBasis buildRightHandByV0V1AndOrigin(const REmath::Point3D_d& dir0,
                                                       const REmath::Point3D_d& dir1,
                                                       const REmath::Point3D_d& origin);
  /// e2 = unit(dir2), e1 = unit(e2 × dir0), e0 = unit(e1 × e2): dir2 keeps its direction
  /// and dir0 chooses the half-plane of e0.
  static COrthoNormBasis buildRightHandByV2V0AndOrigin(const REmath::Point3D_d& dir2,
                                                       const REmath::Point3D_d& dir0,
                                                       const REmath::Point3D_d& origin);
  /// Any right-handed frame with e2 = n = unit(dir2): the auxiliary axis t is (1,0,0), or
  /// (0,1,0) when |n·(1,0,0)| > 0.9; e0 = unit(t × n), e1 = unit(n × e0).
  /// For n = (0,0,1): e0 = (0,−1,0), e1 = (1,0,0).
  static COrthoNormBasis buildAnyRightHandByV2AndOrigin(const REmath::Point3D_d& dir2,
                                                        const REmath::Point3D_d& origin);

  /// The local → world map (matrix columns e0, e1, e2; translation the origin).
  const RElinearTransform& getBackCoordTransform() const { return m_back; }
  /// The world → local map.
  const RElinearTransform& getForthCoordTransform() const { return m_forth; }
  /// The origin (the back translation).
  REmath::Point3D_d getOrigin() const;
  /// Axis i (0, 1 or 2; not range-checked), read as row i of the forth matrix.
  REmath::Point3D_d getE(int i) const;
  REmath::Point3D_d getE0() const { return getE(0); }
  REmath::Point3D_d getE1() const { return getE(1); }
  REmath::Point3D_d getE2() const { return getE(2); }

  /// Moves the origin to p and recomputes the forth transform as the orthogonal inverse.
  void setOrigin(const REmath::Point3D_d& p);
  /// A copy with origin p (forth transform recomputed as the orthogonal inverse).
  COrthoNormBasis getMovedTo(const REmath::Point3D_d& p) const;
  /// The world frame seen from this one: the two transforms exchanged.
  COrthoNormBasis getWorldBasisInLocalCoords() const;

  /// Local coordinates of the world point p (the forth transform).
  REmath::Point3D_d transformCoordsToBasis(const REmath::Point3D_d& p) const;
  /// World coordinates of the local point q (the back transform).
  REmath::Point3D_d transformCoordsFromBasis(const REmath::Point3D_d& q) const;
  /// The orthogonal projection of p onto the plane through the origin spanned by e0, e1:
  /// local coordinates of p with z set to 0, mapped back to the world.
  REmath::Point3D_d projectPointToXYPlane(const REmath::Point3D_d& p) const;

  /// True iff the back transform passes `RElinearTransform::isOrtho` and each of its
  /// columns (the axes e0, e1, e2) passes `REmath::Point3D_d::isUnitLength`. The test
  /// reads the back transform only, so it is valid before the forth one exists.
  bool isOrthoNorm() const;
  /// `isOrthoNorm()`, and the triple product (e0 × e1)·e2 of the forth matrix's rows is
  /// strictly positive.
  bool isOrthoNormRightHand() const;

  /// The world frame at the origin, built on first use.
  static const COrthoNormBasis& Identity();
  /// (1,0,0), (0,1,0) and (0,0,1), built on first use.
  static const REmath::Point3D_d& IdentityE0();
  static const REmath::Point3D_d& IdentityE1();
  static const REmath::Point3D_d& IdentityE2();

 private:
  RElinearTransform m_back;
  RElinearTransform m_forth;
};
