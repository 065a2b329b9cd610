// SPDX-License-Identifier: MIT
// Internal: the point-to-triangle query written out step by step in scalar float arithmetic.
// It is the portable body of distancePointTriangle2 and the reference that the vectorised
// body must reproduce bit for bit. Not installed.
#pragma once

#include <qvmath/core/detail/vec3.h>
#include <qvmath/geometry/detail/point_segment.h>

namespace REmath {
namespace detail {

// Region codes of the triangle query outside the face, by edge (AB, AC, BC: the order in
// which the edges compete) and by the feature of its segment query (interior or degenerate,
// end a, end b): the edge's own code, or the code of the vertex at that end.
constexpr int kTriangleEdgeRegion[3][3] = {{1, 4, 5}, {3, 4, 6}, {2, 5, 6}};

// Region code of edge `edge`'s query that ended on feature f.
inline int EdgeRegion(SegmentFeature f, int edge) {
  const int feature = f == SegmentFeature::kEndA ? 1 : f == SegmentFeature::kEndB ? 2 : 0;
  return kTriangleEdgeRegion[edge][feature];
}

/// Squared distance from p to the triangle A, B, C; region and foot (either may be null)
/// as documented for distancePointTriangle2. All arithmetic in float, in the order of the
/// formulas: n = e2 × e1, the projection q = w + s·n relative to A, and three edge-side
/// tests whose boundary cases count as inside; outside, the edges AB, AC, BC in that order,
/// a later edge winning only when strictly nearer.
/// R is the arithmetic type: float for the routine itself, double for its fallback when
/// float products overflow; the inputs and the foot stay float.
template <class R = float>
inline R PointTriangle2Scalar(const float* p, const float* A, const float* B, const float* C,
                              int* region, float* foot, R* nOut = nullptr, R* sOut = nullptr) {
  R e1[3], e2[3], e3[3], n[3], w[3];
  Sub3(B, A, e1);
  Sub3(C, A, e2);
  Sub3(C, B, e3);
  Cross3(e2, e1, n);
  const R N = Dot3(n, n);
  Sub3(p, A, w);
  // No guard for N = 0 (a degenerate triangle): s is then NaN, every comparison of the
  // inside test is false, and the query falls through to the edges.
  const R s = -Dot3(w, n) / N;
  if (nOut) *nOut = N;
  if (sOut) *sOut = s;
  R q[3];
  for (int i = 0; i < 3; ++i) q[i] = w[i] + s * n[i];

  R c[3], m[3];
  Cross3(q, e1, c);
  bool inside = Dot3(c, n) >= 0;
  if (inside) {
    Cross3(q, e2, c);
    inside = Dot3(c, n) <= 0;
  }
  if (inside) {
    // m = e1 × e3 equals −n in exact arithmetic; the BC test keeps its own cross product
    // and compares with |m|² (the side of BC measured from A).
    Cross3(e1, e3, m);
    Cross3(q, e3, c);
    inside = Dot3(c, m) <= Dot3(m, m);
  }
  if (inside) {
    if (region) *region = 0;
    if (foot)
      for (int i = 0; i < 3; ++i) foot[i] = float(A[i] + q[i]);
    return s * s * N;
  }

  R fAB[3], fAC[3], fBC[3], t;
  SegmentFeature sAB, sAC, sBC;
  const R d1 = PointSegment2<3, R>(p, A, B, fAB, t, sAB);
  const R d2 = PointSegment2<3, R>(p, A, C, fAC, t, sAC);
  const R d3 = PointSegment2<3, R>(p, B, C, fBC, t, sBC);
  R best;
  const R* bestFoot;
  int code;
  if (d1 <= d2) {
    best = d1, bestFoot = fAB, code = EdgeRegion(sAB, 0);
  } else {
    best = d2, bestFoot = fAC, code = EdgeRegion(sAC, 1);
  }
  if (!(best <= d3)) best = d3, bestFoot = fBC, code = EdgeRegion(sBC, 2);
  if (region) *region = code;
  if (foot)
    for (int i = 0; i < 3; ++i) foot[i] = float(bestFoot[i]);
  return best;
}

}  // namespace detail
}  // namespace REmath
