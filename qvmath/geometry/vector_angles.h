// SPDX-License-Identifier: MIT
// Angle measures and tests between vectors: parallelism, a point in a plane, the cosine of a
// corner, and products of the half-planes meeting at a common edge.
#pragma once

#include <qvmath/core/point3d.h>
#include <qvmath/platform/export.h>

/// The value returned by `cos_ABC` and `SemiPlanarCos2` when the angle is undefined:
/// 6.66e19 in single precision (66600000947694338048). Callers compare against it.
constexpr float kCosUndefined = 6.66e19f;

/// True iff a and b are parallel or antiparallel within tol: |a × b|² < tol·|a|²·|b|²
/// (strict), so tol bounds sin² of the angle between them. A zero vector is never
/// parallel to anything.
QVMATH_API bool VectorsAreParallel(const REmath::Point3D_d& a, const REmath::Point3D_d& b,
                                   double tol);

/// True iff p lies in the plane through q with unit normal n, within tol: p within tol of
/// q (|p − q|² < tol²), or else the unit direction u from q to p satisfies
/// ||u × n|² − 1| < tol (u is perpendicular to n up to tol, as |u × n|² = 1 − cos²).
QVMATH_API bool PointInPlane(const REmath::Point3D_d& p, const REmath::Point3D_d& q,
                             const REmath::Point3D_d& n, double tol);

/// Cosine of the corner at b of the polyline a, b, c: (BC·BA)/sqrt(|BC|²·|BA|²) with
/// BA = a − b and BC = c − b, in float arithmetic.
/// @return the cosine; `kCosUndefined` (6.66e19) when |BC|²·|BA|² ≤ 0 (a or c equals b, or
///         the product underflows).
QVMATH_API float cos_ABC(const REmath::Point3D& a, const REmath::Point3D& b,
                         const REmath::Point3D& c);

/// The scalar product u·w of the perpendiculars u from the line ab to c and w from the line
/// ab to d (the in-plane normals of the two half-planes abc and abd to their common edge),
/// in float arithmetic. When a equals b exactly, both perpendiculars are zero and so is the
/// result.
QVMATH_API float SemiPlanarScalarProd(const REmath::Point3D& a, const REmath::Point3D& b,
                                      const REmath::Point3D& c, const REmath::Point3D& d);

/// Signed squared cosine of the dihedral angle between the half-planes abc and abd along
/// their common edge ab: with u, w as in `SemiPlanarScalarProd`, lu = |u|², lw = |w|² and
/// q = u·w, the result is q²/(lu·lw) carrying the sign of q (−r when q ≤ 0), in float.
/// @return the value above; `kCosUndefined` (6.66e19) when either perpendicular is
///         negligible against the other (lw·1e-12 ≥ lu or lu·1e-12 ≥ lw, the factor in
///         single precision), which includes c or d on the line ab and a = b.
QVMATH_API float SemiPlanarCos2(const REmath::Point3D& a, const REmath::Point3D& b,
                                const REmath::Point3D& c, const REmath::Point3D& d);
