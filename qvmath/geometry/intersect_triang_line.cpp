// SPDX-License-Identifier: MIT
// Line-triangle intersection: the exact float test and the tolerant double-precision variant.
#include <qvmath/core/detail/vec3.h>
#include <qvmath/geometry/intersect_triang_line.h>

#include <algorithm>

namespace {

using REmath::detail::Cross3;
using REmath::detail::Dot3;
using REmath::detail::Sub3;

// The hit of the line P + s·dir with the plane through A with normal n; false (nothing
// written) when the line is parallel to the plane: dir·n exactly 0, no tolerance.
template <class R>
bool PlaneHit(const R* A, const R* n, const R* P, const R* dir, R* X) {
  const R den = Dot3(dir, n);
  if (den == 0) return false;
  R ap[3];
  Sub3(A, P, ap);
  const R s = Dot3(ap, n) / den;
  for (int i = 0; i < 3; ++i) X[i] = P[i] + s * dir[i];
  return true;
}

// The lesser of best and the squared distance from X to the line V0 V1, the latter counted
// only where the foot falls strictly inside the segment (the vertices are handled apart).
double InnerEdgeDist2(const double* X, const double* V0, const double* V1, double best) {
  double f[3], g[3];
  Sub3(V1, V0, f);
  Sub3(X, V0, g);
  const double gf = Dot3(g, f), ff = Dot3(f, f);
  if (!(0 < gf && gf < ff)) return best;
  // Cancellation can make the difference slightly negative for X on the edge line.
  const double d2 = std::max(0.0, Dot3(g, g) - gf * gf / ff);
  return std::min(best, d2);
}

}  // namespace

bool IntersectTriangLine(const float* A, const float* B, const float* C, const float* P,
                         const float* dir, float* X) {
  float e1[3], e2[3], n[3];
  Sub3(B, A, e1);
  Sub3(C, A, e2);
  Cross3(e1, e2, n);
  if (!PlaneHit(A, n, P, dir, X)) return false;
  // Edge-side tests in the Gram form (no division): the hit must lie on the inner side of
  // AB and of AC, then of BC; zero (the boundary) counts as inside.
  float w[3];
  Sub3(X, A, w);
  const float g11 = Dot3(e1, e1), g22 = Dot3(e2, e2), g12 = Dot3(e1, e2);
  const float w1 = Dot3(w, e1), w2 = Dot3(w, e2);
  if (g11 * w2 - g12 * w1 < 0) return false;
  if (g22 * w1 - g12 * w2 < 0) return false;
  float f[3], g[3];
  Sub3(C, B, f);
  Sub3(X, B, g);
  return Dot3(f, g) * Dot3(f, e1) - Dot3(e1, g) * Dot3(f, f) >= 0;
}

bool IntersectTriangLineFree(const float* A, const float* B, const float* C, const float* P,
                             const float* dir, float* X, float tol, bool& inside, float& overshoot,
                             float& dist2) {
  // Everything in double: the float inputs are exact in double, and the 2×2 solve for the
  // barycentric weights loses too much in float for thin triangles.
  double a[3], b[3], c[3], p[3], d[3];
  for (int i = 0; i < 3; ++i) a[i] = A[i], b[i] = B[i], c[i] = C[i], p[i] = P[i], d[i] = dir[i];
  double e1[3], e2[3], n[3], x[3];
  Sub3(b, a, e1);
  Sub3(c, a, e2);
  Cross3(e1, e2, n);
  if (!PlaneHit(a, n, p, d, x)) return false;
  for (int i = 0; i < 3; ++i) X[i] = float(x[i]);

  double w[3];
  Sub3(x, a, w);
  const double g11 = Dot3(e1, e1), g22 = Dot3(e2, e2), g12 = Dot3(e1, e2);
  const double b1 = Dot3(w, e1), b2 = Dot3(w, e2);
  const double D = g22 * g11 - g12 * g12;
  if (D == 0) return false;
  const double u = (g22 * b1 - b2 * g12) / D;
  const double v = (g11 * b2 - g12 * b1) / D;
  const double uv = u + v;
  const double lo = -double(tol), hi = 1 + double(tol);
  if (u < lo || u > hi || v < lo || v > hi || uv < lo || uv > hi) return false;

  double over = 0;
  bool in = true;
  const double violations[6] = {-u, u - 1, -v, v - 1, -uv, uv - 1};
  for (double viol : violations)
    if (viol > 0) {
      in = false;
      over = std::max(over, viol);
    }

  double d2 = 0;
  if (!in) {
    double xa[3], xb[3], xc[3];
    Sub3(x, a, xa);
    Sub3(x, b, xb);
    Sub3(x, c, xc);
    d2 = std::min(Dot3(xa, xa), std::min(Dot3(xb, xb), Dot3(xc, xc)));
    d2 = InnerEdgeDist2(x, a, b, d2);
    d2 = InnerEdgeDist2(x, b, c, d2);
    d2 = InnerEdgeDist2(x, c, a, d2);
  }
  double xp[3];
  Sub3(x, p, xp);
  d2 += Dot3(xp, xp);

  inside = in;
  overshoot = float(over);
  dist2 = float(d2);
  return true;
}
