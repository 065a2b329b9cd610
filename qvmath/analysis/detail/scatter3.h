// SPDX-License-Identifier: MIT
// Internal: the covariance step shared by the normal, anisotropy and plane routines: the
// centroid and the 3 × 3 scatter matrix of a point set, and the choice of the smallest
// eigenvalue after `tred2_d`/`tqli_d`. Not installed.
#pragma once

#include <qvmath/core/tridiag_eigen.h>

namespace REmath {
namespace detail {

// Centroid c and scatter S = Σ (p − c)(p − c)ᵀ (not divided by n) of pts[0..n), in double.
// Two passes: the centroid first, then the products of the shifted coordinates, so that a
// cloud far from the origin (coordinates near 1e6) loses no digits. P is any type with
// x(), y(), z(). n <= 0 gives c = 0 and S = 0.
template <class P>
inline void CentroidAndScatter(int n, const P* pts, double c[3], double S[3][3]) {
  double sx = 0, sy = 0, sz = 0;
  for (int i = 0; i < n; ++i) {
    sx += double(pts[i].x());
    sy += double(pts[i].y());
    sz += double(pts[i].z());
  }
  const double inv = n > 0 ? 1.0 / double(n) : 0.0;
  c[0] = sx * inv;
  c[1] = sy * inv;
  c[2] = sz * inv;
  double xx = 0, xy = 0, xz = 0, yy = 0, yz = 0, zz = 0;
  for (int i = 0; i < n; ++i) {
    const double dx = double(pts[i].x()) - c[0];
    const double dy = double(pts[i].y()) - c[1];
    const double dz = double(pts[i].z()) - c[2];
    xx += dx * dx;
    xy += dx * dy;
    xz += dx * dz;
    yy += dy * dy;
    yz += dy * dz;
    zz += dz * dz;
  }
  S[0][0] = xx;
  S[0][1] = S[1][0] = xy;
  S[0][2] = S[2][0] = xz;
  S[1][1] = yy;
  S[1][2] = S[2][1] = yz;
  S[2][2] = zz;
}

// Diagonalises the symmetric 3 × 3 matrix held in work (three row pointers) in place with
// `tred2_d` + `tqli_d`: on success d receives the eigenvalues and work the eigenvectors in
// its columns. Returns tqli_d's status (1 success, 0 failure).
inline int DiagonaliseSym3(double** work, double d[3]) {
  double e[3];
  tred2_d(work, 3, d, e);
  return tqli_d(d, e, 3, work);
}

// Index of the smallest eigenvalue as the library chooses it: index 0 if d[0] < bound, a
// later index only if strictly smaller than the current minimum (ties keep the lower
// index). With every value >= bound (or NaN) the result is -1.
inline int SmallestEigenIndex(const double d[3], double bound) {
  int best = -1;
  double m = bound;
  for (int i = 0; i < 3; ++i) {
    if (d[i] < m) {
      m = d[i];
      best = i;
    }
  }
  return best;
}

}  // namespace detail
}  // namespace REmath
