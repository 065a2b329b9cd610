// SPDX-License-Identifier: MIT
// Parametric point nets: a rectangular grid of knots read as a bilinear surface. Evaluation
// at (u, v), the nearest knot, the normal at a knot, and the projection of a point.
#pragma once

#include <qvmath/core/matrix.h>
#include <qvmath/core/point3d.h>
#include <qvmath/platform/export.h>

// Conventions of the family: the knot of row i and column j is net(i, j); a net point is
// addressed by (u, v), u along the rows (the integer part selects the row) and v along the
// columns, the fractional parts interpolating bilinearly inside the cell whose first knot
// is (⌊u⌋, ⌊v⌋).

/// The net point at the parameters (u, v), written to out[0..2].
/// With i = u and j = v truncated toward zero, fu = u − i and fv = v − j (floats) and P(a, b)
/// the knot of row a and column b:
/// - fu < 1e-5 and fv < 1e-5: out = P(i, j);
/// - fu ≥ 1e-5 and fv < 1e-5: out = (1 − fu)·P(i, j) + fu·P(i + 1, j);
/// - both ≥ 1e-5: out = (1 − fv)·[(1 − fu)·P(i, j) + fu·P(i + 1, j)]
///                     + fv·[(1 − fu)·P(i, j + 1) + fu·P(i + 1, j + 1)];
/// - fu < 1e-5 ≤ fv: out = (1 − fv)·P(i, j) + fv·P(i, j + 1).
/// The threshold 1e-5 is a float constant: fractions below it snap to the knot. A row or
/// column beyond i or j is read only where its weight is used, so the last row (column) is
/// addressed by u = rows − 1 (v = cols − 1) with a zero fraction. Float arithmetic; no range
/// check (parameters outside the net read outside it).
QVMATH_API void getPointOnNet(float u, float v, const REmath::Matrix<REmath::Point3D>& net,
                              float* out);

/// Row i and column j of the knot nearest to p (three floats).
/// Squared distances are rounded to float and compared with a running bound that starts at
/// 1e30; knots are scanned column by column (j ascending, and i ascending within a column)
/// and a knot is taken only when strictly nearer, so on ties the lower column wins, then the
/// lower row.
/// @param[out] i, j written only when a knot is taken: a net without rows or columns (or
///        whose knots are all at squared distance ≥ 1e30 or NaN) leaves them untouched.
QVMATH_API void GetNearestNetKnot(const float* p, const REmath::Matrix<REmath::Point3D>& net,
                                  int& i, int& j);

/// Unit normal of the net at knot (i, j).
/// n = a × b for two edge vectors from P = P(i, j) to neighbouring knots, chosen so that
/// the orientation is the same at every knot: along increasing row (U) × increasing column
/// (V). With R rows and C columns:
/// - j < C − 1 and i + 1 < R: a = P(i + 1, j) − P, b = P(i, j + 1) − P;
/// - j < C − 1 and i = R − 1: a = P(i, j + 1) − P, b = P(i − 1, j) − P;
/// - j = C − 1 and i > 0:     a = P(i − 1, j) − P, b = P(i, j − 1) − P;
/// - j = C − 1 and i = 0:     a = P(i, j − 1) − P, b = P(i + 1, j) − P.
/// The cross product is taken in float; n is negated when keepOrientation is false and
/// then normalised by `NormalizeVector` (so a zero cross product stays zero).
/// @param[out] n the unit normal; (0, 0, 0) for a net with fewer than 2 rows or 2 columns
///        or a knot outside the net (there is no cell to take a normal from).
QVMATH_API void GetNetNormal(const REmath::Matrix<REmath::Point3D>& net, int i, int j,
                             REmath::Point3D& n, bool keepOrientation);

/// The parameters (u, v) of the point of the net surface nearest to p (three floats).
///
/// The net surface is the union of the bilinear cells between neighbouring knots. The
/// search starts in the cells around the knot nearest to p (`GetNearestNetKnot`); each
/// cell is minimised exactly on its four straight edges and by Newton steps on the bilinear
/// patch, clamped to the cell, from its centre and from its best edge point (the step
/// falls back to Gauss–Newton where the patch's Hessian is not positive definite). Every
/// other cell whose corners' bounding box comes nearer to p than the best point so far is
/// then searched the same way, so the answer is the global nearest point also when the
/// nearest knot is not a corner of the nearest cell. Computed in double about p; equal
/// distances keep the first point found (cells around the nearest knot first, then cells
/// column by column).
/// The parameters are those `getPointOnNet` accepts: 0 ≤ u ≤ rows − 1 and 0 ≤ v ≤ cols − 1,
/// u = rows − 1 or v = cols − 1 only with a zero fraction. `getPointOnNet` evaluates in float
/// and snaps fractions below 1e-5, so its point may differ from the exact nearest point by
/// that much of a cell (and by float resolution of u, v on very large nets).
/// A net of one row (one column) is a polyline: u = 0 (v = 0) is returned; a single knot
/// gives (0, 0).
/// @param[out] u, v the parameters; untouched for a net without rows or columns.
QVMATH_API void ProjectPointToNet(const float* p, const REmath::Matrix<REmath::Point3D>& net,
                                  double& u, double& v);

/// Size of a net cell given by its four corners (three floats each, in any order): the
/// largest distance between two of them, computed in double. `ProjectPointToNet` starts in
/// the cells around the nearest knot and uses this size, per cell, as the length scale of
/// its Newton stopping test and to recognise a cell collapsed to one point (size 0).
/// @return the cell's diameter, in the units of the input.
QVMATH_API double GetSizeOfInitSquare(const float* p00, const float* p10, const float* p01,
                                      const float* p11);
