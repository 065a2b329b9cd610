// SPDX-License-Identifier: MIT
// Signed principal curvatures, mean and Gaussian curvature and principal directions at a
// point, from a height function fitted to its neighbourhood about an oriented normal.
#pragma once

#include <qvmath/core/point3d.h>
#include <qvmath/platform/export.h>

/// The result of `GetSignedCurvatures`. Curvatures are in 1/(input units).
struct CSignedCurvature {
  double k1, k2;           ///< principal curvatures, k1 >= k2, signed (see the function)
  double mean, gauss;      ///< (k1 + k2)/2 and k1·k2
  REmath::Point3D_d dir1;  ///< unit principal direction of k1 (world axes; sign arbitrary)
  REmath::Point3D_d dir2;  ///< unit principal direction of k2, normal × dir1 on the surface
  bool valid;              ///< false: the other fields are unspecified (set to 0)
  double conditioning;     ///< reciprocal condition number of the fit, in (0, 1]
};

/// Signed principal curvatures of the surface sampled by pts[0..n) at origin.
/// Method: in the right-handed local frame with e2 = unit(normal) (the auxiliary-axis rule
/// of `COrthoNormBasis::buildAnyRightHandByV2AndOrigin`) and origin `origin`, the height
/// function h(u, v) = c0 + c1·u + c2·v + c3·u² + c4·uv + c5·v² is fitted to the points by
/// equal-weight least squares (coordinates relative to origin in double and scaled by the
/// neighbourhood radius, so a cloud far from the world origin gives the result of the same
/// cloud at the origin). The curvatures are those of the graph of h at (0, 0): the first
/// and second fundamental forms with the fitted slope, so that a normal a little off the
/// surface's does not bias them.
/// Sign convention: curvature is positive where the surface bends away from `normal`
/// (convex seen from the side the normal points to). A sphere of radius r with outward
/// normal gives k1 = k2 = +1/r; with inward normal −1/r. A cylinder of radius r with
/// outward normal: k1 = 1/r along the circle (dir1 ⟂ axis), k2 = 0 along the axis.
/// Umbilic points (k1 = k2) give dir1 along the local e0 projected on the surface.
/// conditioning: 1/(‖G‖₁·‖G⁻¹‖₁) of the fit's normal matrix G after equilibration (unit
/// diagonal); below 1e-10 the fit is refused.
/// @return true with out.valid = true on success; false with out.valid = false (other
///         fields 0, conditioning whatever was measured, else 0) when n < 6, the normal
///         is zero or not finite, the points do not determine the height function
///         (collinear, coincident, fewer than 6 distinct in general position) or the
///         result is not finite. Never a silent NaN.
/// No heap allocation; re-entrant.
QVMATH_API bool GetSignedCurvatures(int n, const REmath::Point3D* pts,
                                    const REmath::Point3D_d& origin,
                                    const REmath::Point3D_d& normal, CSignedCurvature& out);

/// The same from the neighbours' positions and their normals: more accurate on noisy scans,
/// where each neighbour's normal (estimated from its own neighbourhood, e.g. by `GetNormal2`)
/// carries far more information about the bending than its position does.
/// normals[0..n) are the unit normals at pts[0..n) (their length does not matter), oriented
/// like `normal`; one pointing to the other side (negative dot product with `normal`) is
/// flipped. A null `normals` gives the position-only fit above.
/// Method: the shape operator S (a symmetric 2×2 matrix in the tangent plane) and the normal
/// at origin are fitted to the normals by equal-weight least squares: the tangential
/// components of normal i are a + S·(uᵢ, vᵢ), (uᵢ, vᵢ) the tangent coordinates of pts[i]
/// relative to origin (the change of the normal along the surface is the Weingarten map;
/// this model is exact on spheres and cylinders at any neighbourhood size, so it carries
/// no truncation bias of a height polynomial). The fit is done twice: first in the frame
/// of `normal`, then in the frame of the fitted normal a, so that a given normal a few
/// degrees off the surface's does not bias the curvatures. k1 >= k2 are the eigenvalues
/// of S, with the sign convention above; dir1 and dir2 its eigenvectors; conditioning is
/// that of the 5 × 5 normal matrix of the second fit (equilibrated).
/// @return as above; also false when a normal is zero or not finite.
QVMATH_API bool GetSignedCurvatures(int n, const REmath::Point3D* pts,
                                    const REmath::Point3D* normals, const REmath::Point3D_d& origin,
                                    const REmath::Point3D_d& normal, CSignedCurvature& out);
