// SPDX-License-Identifier: MIT
// Internal: the covariance step shared by the normal, anisotropy and plane routines: the
// centroid and the 3 × 3 scatter matrix of a point set, and the choice of the smallest
// eigenvalue after `tred2_d`/`tqli_d`. Not installed.
#pragma once

#include <qvmath/core/tridiag_eigen.h>

#include <cstddef>

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

// The same centroid and scatter for large sets (whole scans of millions of points): two
// passes as above, but each pass sums blocks of kBlock points into partial sums that are
// then added up, so the rounding error grows with n / kBlock + kBlock instead of n, and
// keeps two independent accumulator sets (even and odd points) so that consecutive
// additions do not wait for each other. The result differs from `CentroidAndScatter` only
// by rounding.
template <class P>
inline void CentroidAndScatterLarge(std::size_t n, const P* pts, double c[3], double S[3][3]) {
  constexpr std::size_t kBlock = 512;
  double t0 = 0, t1 = 0, t2 = 0;
  for (std::size_t b = 0; b < n; b += kBlock) {
    const std::size_t e = n - b < kBlock ? n : b + kBlock;
    double a0 = 0, a1 = 0, a2 = 0, b0 = 0, b1 = 0, b2 = 0;
    std::size_t i = b;
    for (; i + 1 < e; i += 2) {
      a0 += double(pts[i].x());
      a1 += double(pts[i].y());
      a2 += double(pts[i].z());
      b0 += double(pts[i + 1].x());
      b1 += double(pts[i + 1].y());
      b2 += double(pts[i + 1].z());
    }
    if (i < e) {
      a0 += double(pts[i].x());
      a1 += double(pts[i].y());
      a2 += double(pts[i].z());
    }
    t0 += a0 + b0;
    t1 += a1 + b1;
    t2 += a2 + b2;
  }
  const double inv = n > 0 ? 1.0 / double(n) : 0.0;
  c[0] = t0 * inv;
  c[1] = t1 * inv;
  c[2] = t2 * inv;
  double s[6] = {0, 0, 0, 0, 0, 0};  // xx xy xz yy yz zz
  for (std::size_t b = 0; b < n; b += kBlock) {
    const std::size_t e = n - b < kBlock ? n : b + kBlock;
    double u[6] = {0, 0, 0, 0, 0, 0}, v[6] = {0, 0, 0, 0, 0, 0};
    std::size_t i = b;
    for (; i + 1 < e; i += 2) {
      const double dx = double(pts[i].x()) - c[0], ex = double(pts[i + 1].x()) - c[0];
      const double dy = double(pts[i].y()) - c[1], ey = double(pts[i + 1].y()) - c[1];
      const double dz = double(pts[i].z()) - c[2], ez = double(pts[i + 1].z()) - c[2];
      u[0] += dx * dx, u[1] += dx * dy, u[2] += dx * dz;
      u[3] += dy * dy, u[4] += dy * dz, u[5] += dz * dz;
      v[0] += ex * ex, v[1] += ex * ey, v[2] += ex * ez;
      v[3] += ey * ey, v[4] += ey * ez, v[5] += ez * ez;
    }
    if (i < e) {
      const double dx = double(pts[i].x()) - c[0];
      const double dy = double(pts[i].y()) - c[1];
      const double dz = double(pts[i].z()) - c[2];
      u[0] += dx * dx, u[1] += dx * dy, u[2] += dx * dz;
      u[3] += dy * dy, u[4] += dy * dz, u[5] += dz * dz;
    }
    for (int k = 0; k < 6; ++k) s[k] += u[k] + v[k];
  }
  S[0][0] = s[0];
  S[0][1] = S[1][0] = s[1];
  S[0][2] = S[2][0] = s[2];
  S[1][1] = s[3];
  S[1][2] = S[2][1] = s[4];
  S[2][2] = s[5];
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
