// SPDX-License-Identifier: MIT
// Internal: the point-to-triangle query on four SSE2 lanes, each lane performing the float
// operations of PointTriangle2Scalar for its own (point, triangle) pair in their order, the
// branches replaced by masks, so every lane gives the scalar body's bits. The lanes may hold
// four points against one triangle (splatted) or one point (splatted) against four
// triangles. Not installed.
#pragma once

#if defined(__SSE2__)
#include <emmintrin.h>
#include <qvmath/core/detail/vec3.h>
#include <qvmath/geometry/detail/point_triangle.h>

namespace REmath {
namespace detail {
namespace lanes {

// Four points, one per lane, one vector per coordinate.
struct V3 {
  __m128 x, y, z;
};

inline __m128 Select(__m128 mask, __m128 a, __m128 b) {
  return _mm_or_ps(_mm_and_ps(mask, a), _mm_andnot_ps(mask, b));
}
inline __m128i SelectI(__m128 mask, __m128i a, __m128i b) {
  const __m128i m = _mm_castps_si128(mask);
  return _mm_or_si128(_mm_and_si128(m, a), _mm_andnot_si128(m, b));
}
inline V3 Select(__m128 mask, const V3& a, const V3& b) {
  return {Select(mask, a.x, b.x), Select(mask, a.y, b.y), Select(mask, a.z, b.z)};
}
inline V3 Splat(const float* v) {
  return {_mm_set1_ps(v[0]), _mm_set1_ps(v[1]), _mm_set1_ps(v[2])};
}
inline V3 Sub(const V3& a, const V3& b) {
  return {_mm_sub_ps(a.x, b.x), _mm_sub_ps(a.y, b.y), _mm_sub_ps(a.z, b.z)};
}
inline V3 Add(const V3& a, const V3& b) {
  return {_mm_add_ps(a.x, b.x), _mm_add_ps(a.y, b.y), _mm_add_ps(a.z, b.z)};
}
// s·v lane-wise.
inline V3 Scale(__m128 s, const V3& v) {
  return {_mm_mul_ps(s, v.x), _mm_mul_ps(s, v.y), _mm_mul_ps(s, v.z)};
}
// (ax·bx + ay·by) + az·bz, the order of Dot3.
inline __m128 Dot(const V3& a, const V3& b) {
  return _mm_add_ps(_mm_add_ps(_mm_mul_ps(a.x, b.x), _mm_mul_ps(a.y, b.y)), _mm_mul_ps(a.z, b.z));
}
// a × b with the component formulas of Cross3.
inline V3 Cross(const V3& a, const V3& b) {
  return {_mm_sub_ps(_mm_mul_ps(a.y, b.z), _mm_mul_ps(a.z, b.y)),
          _mm_sub_ps(_mm_mul_ps(a.z, b.x), _mm_mul_ps(a.x, b.z)),
          _mm_sub_ps(_mm_mul_ps(a.x, b.y), _mm_mul_ps(a.y, b.x))};
}

// One edge query (the steps of PointSegment2) for four points: a, d = b − a and L = |d|²
// are the edge's, w = p − a, W = |w|², E = |p − b|² the points'.
struct EdgeResult {
  __m128 dist, endA, endB;  // endA/endB: masks of the winning end; neither: interior/degenerate
  V3 foot;
};

template <bool kFoot>
inline EdgeResult EdgeQuery(const V3& a, const V3& b, const V3& d, __m128 L, const V3& w, __m128 W,
                            __m128 E) {
  const __m128 zero = _mm_setzero_ps();
  const __m128 t = _mm_div_ps(Dot(d, w), L);
  const V3 td = Scale(t, d);
  const V3 r = Sub(w, td);
  const __m128 R = Dot(r, r);
  const __m128 interior = _mm_and_ps(_mm_cmplt_ps(zero, t), _mm_cmplt_ps(t, _mm_set1_ps(1.0f)));
  const __m128 ends = _mm_andnot_ps(interior, _mm_cmpneq_ps(L, zero));
  EdgeResult e;
  e.endB = _mm_and_ps(ends, _mm_cmple_ps(E, W));
  e.endA = _mm_andnot_ps(e.endB, ends);
  e.dist = Select(e.endB, E, Select(interior, R, W));
  if (kFoot) e.foot = Select(e.endB, b, Select(interior, Add(a, td), a));
  return e;
}

// Region code vector of edge `edge` (0 AB, 1 AC, 2 BC): its vertex codes at the ends, its
// edge code otherwise (kTriangleEdgeRegion).
inline __m128i EdgeCodes(const EdgeResult& e, int edge) {
  const int* codes = kTriangleEdgeRegion[edge];
  return SelectI(e.endB, _mm_set1_epi32(codes[2]),
                 SelectI(e.endA, _mm_set1_epi32(codes[1]), _mm_set1_epi32(codes[0])));
}

// The triangle quantities of PointTriangle2Scalar that do not depend on the point.
struct Triangle {
  V3 A, B, C, e1, e2, e3, n, m;
  __m128 N, M, L1, L2, L3;
};

inline Triangle PrepareTriangle(const float* A, const float* B, const float* C) {
  float e1[3], e2[3], e3[3], n[3], m[3];
  Sub3(B, A, e1);
  Sub3(C, A, e2);
  Sub3(C, B, e3);
  Cross3(e2, e1, n);
  Cross3(e1, e3, m);
  Triangle t;
  t.A = Splat(A), t.B = Splat(B), t.C = Splat(C);
  t.e1 = Splat(e1), t.e2 = Splat(e2), t.e3 = Splat(e3), t.n = Splat(n), t.m = Splat(m);
  t.N = _mm_set1_ps(Dot3(n, n)), t.M = _mm_set1_ps(Dot3(m, m));
  t.L1 = _mm_set1_ps(Dot3(e1, e1)), t.L2 = _mm_set1_ps(Dot3(e2, e2));
  t.L3 = _mm_set1_ps(Dot3(e3, e3));
  return t;
}

template <bool kRegion, bool kFoot>
inline __m128 Triangle4(const Triangle& T, const V3& p, __m128i* region, V3* foot) {
  const V3 wA = Sub(p, T.A), wB = Sub(p, T.B), wC = Sub(p, T.C);
  const __m128 WA = Dot(wA, wA), WB = Dot(wB, wB), WC = Dot(wC, wC);
  // Inside test: the projection q = w + s·n relative to A, three edge sides; a NaN s
  // (degenerate triangle) fails every comparison as in the scalar body.
  const __m128 s = _mm_div_ps(_mm_xor_ps(Dot(wA, T.n), _mm_set1_ps(-0.0f)), T.N);
  const V3 q = Add(wA, Scale(s, T.n));
  const __m128 zero = _mm_setzero_ps();
  const __m128 inside = _mm_and_ps(_mm_and_ps(_mm_cmpge_ps(Dot(Cross(q, T.e1), T.n), zero),
                                              _mm_cmple_ps(Dot(Cross(q, T.e2), T.n), zero)),
                                   _mm_cmple_ps(Dot(Cross(q, T.e3), T.m), T.M));
  const __m128 faceD = _mm_mul_ps(_mm_mul_ps(s, s), T.N);

  const EdgeResult ab = EdgeQuery<kFoot>(T.A, T.B, T.e1, T.L1, wA, WA, WB);
  const EdgeResult ac = EdgeQuery<kFoot>(T.A, T.C, T.e2, T.L2, wA, WA, WC);
  const EdgeResult bc = EdgeQuery<kFoot>(T.B, T.C, T.e3, T.L3, wB, WB, WC);
  // AB unless AC is strictly nearer, then BC only if strictly nearer than that.
  const __m128 firstAB = _mm_cmple_ps(ab.dist, ac.dist);
  const __m128 best = Select(firstAB, ab.dist, ac.dist);
  const __m128 keep = _mm_cmple_ps(best, bc.dist);
  if (kRegion) {
    const __m128i r12 = SelectI(firstAB, EdgeCodes(ab, 0), EdgeCodes(ac, 1));
    const __m128i edge = SelectI(keep, r12, EdgeCodes(bc, 2));
    *region = _mm_andnot_si128(_mm_castps_si128(inside), edge);
  }
  if (kFoot) {
    const V3 edgeFoot = Select(keep, Select(firstAB, ab.foot, ac.foot), bc.foot);
    *foot = Select(inside, Add(T.A, q), edgeFoot);
  }
  return Select(inside, faceD, Select(keep, best, bc.dist));
}

// The triangle quantities of four triangles, one per lane, each formed in scalar float as
// PointTriangle2Scalar forms them.
inline Triangle PrepareTriangles(const float* const* A, const float* const* B,
                                 const float* const* C) {
  alignas(16) float v[29][4];
  for (int l = 0; l < 4; ++l) {
    float e1[3], e2[3], e3[3], n[3], m[3];
    Sub3(B[l], A[l], e1);
    Sub3(C[l], A[l], e2);
    Sub3(C[l], B[l], e3);
    Cross3(e2, e1, n);
    Cross3(e1, e3, m);
    const float* parts[8] = {A[l], B[l], C[l], e1, e2, e3, n, m};
    for (int k = 0; k < 8; ++k)
      for (int c = 0; c < 3; ++c) v[3 * k + c][l] = parts[k][c];
    v[24][l] = Dot3(n, n), v[25][l] = Dot3(m, m);
    v[26][l] = Dot3(e1, e1), v[27][l] = Dot3(e2, e2), v[28][l] = Dot3(e3, e3);
  }
  auto V = [&](int k) {
    return V3{_mm_load_ps(v[3 * k]), _mm_load_ps(v[3 * k + 1]), _mm_load_ps(v[3 * k + 2])};
  };
  Triangle t;
  t.A = V(0), t.B = V(1), t.C = V(2), t.e1 = V(3), t.e2 = V(4), t.e3 = V(5), t.n = V(6), t.m = V(7);
  t.N = _mm_load_ps(v[24]), t.M = _mm_load_ps(v[25]);
  t.L1 = _mm_load_ps(v[26]), t.L2 = _mm_load_ps(v[27]), t.L3 = _mm_load_ps(v[28]);
  return t;
}

}  // namespace lanes
}  // namespace detail
}  // namespace REmath

#endif
