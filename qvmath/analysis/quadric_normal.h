// SPDX-License-Identifier: MIT
// The normal and the second-order surface at a point of interest from a quadric fitted to
// its neighbourhood (GetNormal2 and its parameters; the unweighted, always second-order
// GetNormalAndQuadricApprShiftedNonScaled).
#pragma once

#include <qvmath/analysis/quadratic_form.h>
#include <qvmath/core/point3d.h>
#include <qvmath/platform/export.h>

/// Parameters of `GetNormal2`. Defaults (set by the constructor and by `SetDefault`):
/// `Force2` false, `ZeroFremTerm` true, `Appr2MinDist` 0.01. Copies copy the fields.
class QVMATH_API CGetNormal2Prms {
 public:
  CGetNormal2Prms();
  CGetNormal2Prms(const CGetNormal2Prms& other) = default;
  CGetNormal2Prms& operator=(const CGetNormal2Prms& other) = default;
  virtual ~CGetNormal2Prms();

  /// Restores the three defaults.
  void SetDefault();

  /// Fit the quadric even when the neighbourhood is nearly flat (otherwise a nearly flat
  /// neighbourhood gets the first-order fit, its plane).
  bool Force2() const { return m_Force2; }
  bool& Force2() { return m_Force2; }
  /// The fitted quadric has no free term: it passes exactly through the point of interest.
  bool ZeroFremTerm() const { return m_ZeroFremTerm; }
  bool& ZeroFremTerm() { return m_ZeroFremTerm; }
  /// The distance floor of the fit's weights 1/max(d², Appr2MinDist²), in input units.
  float Appr2MinDist() const { return m_Appr2MinDist; }
  float& Appr2MinDist() { return m_Appr2MinDist; }
  /// The number of quadric coefficients the fit determines: 10, or 9 with `ZeroFremTerm`.
  int q_size() const { return 10 - (m_ZeroFremTerm ? 1 : 0); }

 private:
  bool m_Force2;
  bool m_ZeroFremTerm;
  float m_Appr2MinDist;
};

/// The surface normal at the point of interest pts[0] from a weighted least-squares
/// quadric fitted to pts[0..n) (pts[0] first, as a nearest-neighbour search returns it;
/// the others in any order).
/// Method: the covariance normal of the points (scatter in double about the centroid,
/// as `GetNormal`) gives a local right-handed frame (e2 = that normal) with origin pts[0];
/// in it, with coordinates scaled by the neighbourhood radius, the implicit quadric
/// f = z − (KXX·x² + KXY·xy + KYY·y² + KX·x + KY·y [+ K] + KZZ·z² + KXZ·xz + KYZ·yz) is
/// fitted: `q_size()` coefficients, the z coefficient fixed to 1 as the normalisation.
/// Point i has the weight 1/max(dᵢ², `Appr2MinDist`²), dᵢ = |pᵢ − pts[0]| (a floor <= 0
/// is replaced by 1e-3 of the neighbourhood radius). Coefficients that the data do not
/// determine (the z terms of an exactly flat neighbourhood) are set to 0.
/// Nearly flat neighbourhoods, whose RMS thickness along the covariance normal is below
/// 1e-4 of their RMS extent (the normal then turns by less than about 0.05° across them),
/// get the first-order fit instead unless `Force2()`: the plane with the covariance
/// normal through pts[0] (through the centroid when the free term is fitted).
/// Where the normal is taken: at pts[0] with `ZeroFremTerm`; otherwise at the root of
/// f(0, 0, z) = 0 nearest pts[0] along e2 (pts[0] itself when there is none).
/// Sign: the normal lies on the side of the covariance normal as the eigen-routine
/// returns it (no other orientation rule).
/// @param[in] prms null means the defaults.
/// @param[out] quad the fitted quadric in coordinates p − pts[0] (world axes, shifted to
///             pts[0], not scaled): `MaxCurvature(*quad)` is the curvature at pts[0].
/// @param[out] normal three doubles: the unit normal.
/// @param[out] x optional (null: not wanted): the anisotropy of the neighbourhood, as
///             `GetAnisotropy` computes it (0 planar ... 1/3 isotropic).
/// @param[out] y optional: the RMS over all points of the first-order distance
///             |f(p)|/|∇f(p)| to the fitted surface, in input units (the fit residual).
/// @return true on success; false, every output untouched, when it cannot fit: n below
///         `q_size()`, non-finite input, coincident or collinear points (the tangential
///         first- and second-order terms undetermined), a failed eigen-iteration.
/// The weights and the eigenvalue step use only stack storage: no heap allocation.
QVMATH_API bool GetNormal2(int n, const REmath::Point3D* pts, const CGetNormal2Prms* prms,
                           CQuadraticForm* quad, double* const normal, float* const x,
                           double* y);
/// The same, the normal narrowed to floats.
QVMATH_API bool GetNormal2(int n, const REmath::Point3D* pts, const CGetNormal2Prms* prms,
                           CQuadraticForm* quad, float* const normal, float* const x,
                           double* y);

/// The normal and the second-order approximation at pts[0]: `GetNormal2` with equal
/// weights, no free term (the quadric passes through pts[0]) and the second-order fit
/// always (`Force2`). quad is in coordinates p − pts[0] (shifted to pts[0], world axes,
/// not scaled), so the principal curvatures of quad at its origin are those at pts[0].
/// @return true on success; false as for `GetNormal2` (n < 9 included); quad and normal
///         are then untouched.
QVMATH_API bool GetNormalAndQuadricApprShiftedNonScaled(int n, const REmath::Point3D* pts,
                                                        CQuadraticForm& quad, double* normal);
/// The same, the normal narrowed to floats.
QVMATH_API bool GetNormalAndQuadricApprShiftedNonScaled(int n, const REmath::Point3D* pts,
                                                        CQuadraticForm& quad, float* normal);
