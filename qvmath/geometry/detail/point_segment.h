// SPDX-License-Identifier: MIT
// Internal: the one body of every point-to-segment query (3-D and 2-D, float and double),
// inlined into the segment, triangle and polyline code. Not installed.
#pragma once

namespace REmath {
namespace detail {

/// Which feature of a segment is nearest; the public functions map it to their numbering.
enum class SegmentFeature { kDegenerate, kInterior, kEndA, kEndB };

/// Squared distance from p to the segment ab in N coordinates, computed in R.
/// With d = b − a, L = |d|², w = p − a, t = (d·w)/L: L = 0 gives a (t = 0); 0 < t < 1
/// (strict) the interior; otherwise the nearer end by comparing the end distances, a tie
/// going to b. foot (N components) and t are always written.
template <int N, class R, class P, class E>
inline R PointSegment2(const P* p, const E* a, const E* b, R* foot, R& t, SegmentFeature& f) {
  R d[N], w[N];
  for (int i = 0; i < N; ++i) {
    d[i] = R(b[i]) - R(a[i]);
    w[i] = R(p[i]) - R(a[i]);
  }
  // Sums left to right (x, then y, then z), the order every variant of this query uses, so
  // that the vectorised float queries reproduce these values bit for bit.
  R L = d[0] * d[0], W = w[0] * w[0];
  for (int i = 1; i < N; ++i) L += d[i] * d[i];
  for (int i = 1; i < N; ++i) W += w[i] * w[i];
  if (L == 0) {
    for (int i = 0; i < N; ++i) foot[i] = R(a[i]);
    t = 0;
    f = SegmentFeature::kDegenerate;
    return W;
  }
  R dw = d[0] * w[0];
  for (int i = 1; i < N; ++i) dw += d[i] * w[i];
  const R s = dw / L;
  if (R(0) < s && s < R(1)) {
    R r2 = 0;
    for (int i = 0; i < N; ++i) {
      foot[i] = R(a[i]) + s * d[i];
      const R r = w[i] - s * d[i];
      r2 = i == 0 ? r * r : r2 + r * r;
    }
    t = s;
    f = SegmentFeature::kInterior;
    return r2;
  }
  // The end is chosen by distance, not by the sign of s: the two agree except where
  // rounding puts s on the wrong side of 0 or 1, and the distance is what callers compare.
  R e2 = 0;
  for (int i = 0; i < N; ++i) {
    const R e = R(p[i]) - R(b[i]);
    e2 = i == 0 ? e * e : e2 + e * e;
  }
  if (e2 <= W) {
    for (int i = 0; i < N; ++i) foot[i] = R(b[i]);
    t = 1;
    f = SegmentFeature::kEndB;
    return e2;
  }
  for (int i = 0; i < N; ++i) foot[i] = R(a[i]);
  t = 0;
  f = SegmentFeature::kEndA;
  return W;
}

}  // namespace detail
}  // namespace REmath
