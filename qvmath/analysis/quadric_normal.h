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
/// as `GetNormal`) gives a local right-handed frame (e2 = that normal); in it, with
/// coordinates relative to the fit origin o and scaled by the neighbourhood radius, the
/// implicit quadric f = z − (KXX·x² + KXY·xy + KYY·y² + KX·x + KY·y [+ K] + KZZ·z² + KXZ·xz +
/// KYZ·yz) is fitted: `q_size()` coefficients, the z coefficient fixed to 1 as the
/// normalisation. Point i has the weight 1/max(dᵢ², `Appr2MinDist`²), dᵢ = |pᵢ − o| (a floor
/// <= 0 is replaced by 1e-3 of the neighbourhood radius). Coefficients that the data do not
/// determine (the z terms of an exactly flat neighbourhood) are set to 0.
/// The fit origin o: with n >= 10, a first fit with the free term about pts[0] gives the
/// point of its surface over pts[0] along e2, and o is that point; so a noisy pts[0] does
/// not pull the surface (and its normal) through itself. With n = 9, o = pts[0].
/// Regularisation: the z terms are built from the measured heights; their diagonal entries
/// of the normal matrix are raised by 10·(mean square residual of the first fit)/(mean
/// square thickness along e2), which vanishes on exact data (quadric surfaces are fitted
/// exactly) and damps terms that would fit the noise of a scan.
/// Nearly flat neighbourhoods, whose RMS thickness along the covariance normal is below
/// 1e-4 of their RMS extent (the normal then turns by less than about 0.05° across them),
/// get the first-order fit instead unless `Force2()`: the plane with the covariance
/// normal through the centroid; o is then pts[0] projected on it.
/// Where the normal is taken: at o with `ZeroFremTerm`; otherwise at the root of
/// f(0, 0, z) = 0 nearest o along e2 (o itself when there is none).
/// Accuracy: on exact quadric surfaces the normal is exact up to rounding. On a scan with
/// noise σ the normal at a point cannot be known better than about σ/√(Σ uᵢ²) radians
/// (uᵢ the tangential offsets), which for 16 neighbours is about what the covariance normal
/// achieves; its own bias on curved surfaces (it is the normal near the centroid, not at
/// pts[0]) is absent here.
/// Sign: the normal lies on the side of the covariance normal as the eigen-routine
/// returns it (no other orientation rule).
/// @param[in] prms null means the defaults.
/// @param[out] quad the fitted quadric in coordinates p − o (world axes, shifted to o, not
///             scaled): `MaxCurvature(*quad)` is the curvature at o. On exact data o is
///             pts[0] up to rounding.
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
                           CQuadraticForm* quad, double* const normal, float* const x, double* y);
/// The same, the normal narrowed to floats.
QVMATH_API bool GetNormal2(int n, const REmath::Point3D* pts, const CGetNormal2Prms* prms,
                           CQuadraticForm* quad, float* const normal, float* const x, double* y);

/// The normal and the second-order approximation at pts[0]: the fit of `GetNormal2` with
/// equal weights, no free term, the origin o = pts[0] (the quadric passes through pts[0]),
/// no regularisation and the second-order fit always (`Force2`). quad is in coordinates p − pts[0]
/// (shifted to pts[0], world axes, not scaled), so the principal curvatures of quad at its origin
/// are those at pts[0].
/// @return true on success; false as for `GetNormal2` (n < 9 included); quad and normal
///         are then untouched.
QVMATH_API bool GetNormalAndQuadricApprShiftedNonScaled(int n, const REmath::Point3D* pts,
                                                        CQuadraticForm& quad, double* normal);
/// The same, the normal narrowed to floats.
QVMATH_API bool GetNormalAndQuadricApprShiftedNonScaled(int n, const REmath::Point3D* pts,
                                                        CQuadraticForm& quad, float* normal);
