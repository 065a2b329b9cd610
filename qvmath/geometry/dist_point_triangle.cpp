// SPDX-License-Identifier: MIT
// Point-to-triangle squared distance: plane projection with an edge-side inside test, and the
// three edge queries when the projection falls outside.
//
// On SSE2 targets the query runs without branches: the three edge queries occupy three
// lanes of one vector (AB, AC, BC), the three inside tests likewise, and the results are
// chosen by masks. Random point-triangle pairs, the common case of a mesh query, otherwise
// mispredict about one branch per call. Every lane performs exactly the float operations of
// the scalar body (detail/point_triangle.h) in the same order, so both give identical bits;
// the tests check this.
#include <qvmath/geometry/detail/point_triangle.h>
#include <qvmath/geometry/dist_point_triangle.h>

#include <cmath>
#include <limits>

#if defined(__SSE2__)
#include <emmintrin.h>
#include <qvmath/geometry/detail/point_triangle_lanes.h>
#endif

namespace {

#if defined(__SSE2__)

using namespace REmath::detail::lanes;

template <int i>
inline __m128 Broadcast(__m128 v) {
  return _mm_shuffle_ps(v, v, _MM_SHUFFLE(i, i, i, i));
}

// The lanes of each coordinate of v reordered by the shuffle code k.
template <int k>
inline V3 Shuffled(const V3& v) {
  return {_mm_shuffle_ps(v.x, v.x, k), _mm_shuffle_ps(v.y, v.y, k), _mm_shuffle_ps(v.z, v.z, k)};
}

template <bool kFeature>
float PointTriangle2(const float* p, const float* A, const float* B, const float* C, int* region,
                     float* foot, float& N, float& sOut) {
  // One vector per coordinate: lanes (A, B, C, p).
  const __m128 X = _mm_setr_ps(A[0], B[0], C[0], p[0]);
  const __m128 Y = _mm_setr_ps(A[1], B[1], C[1], p[1]);
  const __m128 Z = _mm_setr_ps(A[2], B[2], C[2], p[2]);
  // Edges in lanes 0..2: starts (A, A, B), ends (B, C, C); lane 3 is unused padding.
  constexpr int kStart = _MM_SHUFFLE(3, 1, 0, 0), kEnd = _MM_SHUFFLE(3, 2, 2, 1);
  const V3 P{X, Y, Z};
  const V3 st = Shuffled<kStart>(P), en = Shuffled<kEnd>(P);
  const V3 p4{Broadcast<3>(X), Broadcast<3>(Y), Broadcast<3>(Z)};

  // The edge vectors are e1 = B − A, e2 = C − A, e3 = C − B of the inside test as well.
  const V3 d = Sub(en, st), w = Sub(p4, st);
  // Squared distances to the vertices, (|p − A|², |p − B|², |p − C|², 0), shared by the
  // edge queries as their end distances.
  const V3 v = Sub(p4, P);
  const __m128 V = Dot(v, v);

  // --- Inside test. G = U × V with U = (e2, e2, e1), V = (e1, e1, e3): lanes (n, n, m).
  constexpr int kU = _MM_SHUFFLE(3, 0, 1, 1), kV = _MM_SHUFFLE(3, 2, 0, 0);
  const V3 g = Cross(Shuffled<kU>(d), Shuffled<kV>(d));
  const __m128 gg = Dot(g, g);  // (N, N, |m|², ·)
  // s = −(w·n)/N in lane 0 (w of lane 0 is p − A); the sign flip is exact.
  const __m128 negWn = _mm_xor_ps(Dot(w, g), _mm_set1_ps(-0.0f));
  const __m128 s = Broadcast<0>(_mm_div_ps(negWn, gg));
  N = _mm_cvtss_f32(gg);
  sOut = _mm_cvtss_f32(s);
  const V3 w0{Broadcast<0>(w.x), Broadcast<0>(w.y), Broadcast<0>(w.z)};
  const V3 g0{Broadcast<0>(g.x), Broadcast<0>(g.y), Broadcast<0>(g.z)};
  const V3 q = Add(w0, Scale(s, g0));
  const __m128 side = Dot(Cross(q, d), g);  // ((q×e1)·n, (q×e2)·n, (q×e3)·m, ·)
  const __m128 zero = _mm_setzero_ps();
  const int sideBits = (_mm_movemask_ps(_mm_cmpge_ps(side, zero)) & 1) |
                       (_mm_movemask_ps(_mm_cmple_ps(side, zero)) & 2) |
                       (_mm_movemask_ps(_mm_cmple_ps(side, gg)) & 4);
  const bool inside = sideBits == 7;
  const __m128 faceD = _mm_mul_ps(_mm_mul_ps(s, s), gg);

  // --- The three edge queries, the steps of PointSegment2 lane by lane.
  const __m128 L = Dot(d, d);
  const __m128 W = _mm_shuffle_ps(V, V, kStart);  // start distances: A, A, B
  const __m128 E = _mm_shuffle_ps(V, V, kEnd);    // end distances: B, C, C
  const EdgeResult edges = EdgeQuery<kFeature>(st, en, d, L, w, W, E);
  const __m128 dist = edges.dist, endB = edges.endB;

  // AB unless AC is strictly nearer, then BC only if strictly nearer than that.
  const __m128 d2 = Broadcast<1>(dist), d3 = Broadcast<2>(dist);
  const __m128 firstTwo = _mm_cmple_ss(dist, d2);
  const __m128 best12 = Select(firstTwo, dist, d2);
  const __m128 keep = _mm_cmple_ss(best12, d3);
  const __m128 outD = Select(keep, best12, d3);
  const __m128 insideMask = _mm_castsi128_ps(_mm_cvtsi32_si128(-int(inside)));
  const float result = _mm_cvtss_f32(Select(insideMask, faceD, outD));

  if (kFeature) {
    // Integer selections instead of branches: which edge won, its feature, and the face
    // overriding both. Lane 3 of the foot arrays holds the face foot A + q.
    const int edge12 = 1 - (_mm_movemask_ps(firstTwo) & 1);
    const int keepBit = _mm_movemask_ps(keep) & 1;
    const int edge = 2 - keepBit * (2 - edge12);
    const int endBBits = _mm_movemask_ps(endB);
    const int endABits = _mm_movemask_ps(edges.endA);
    const int feature = ((endABits >> edge) & 1) + 2 * ((endBBits >> edge) & 1);
    const int insideAll = -int(inside);  // all ones when inside
    *region = REmath::detail::kTriangleEdgeRegion[edge][feature] & ~insideAll;
    if (foot) {
      // Foot per edge as PointSegment2 forms it; lane 3 holds the face foot A + q.
      alignas(16) float footX[4], footY[4], footZ[4];
      _mm_store_ps(footX, edges.foot.x);
      _mm_store_ps(footY, edges.foot.y);
      _mm_store_ps(footZ, edges.foot.z);
      footX[3] = A[0] + _mm_cvtss_f32(q.x);
      footY[3] = A[1] + _mm_cvtss_f32(q.y);
      footZ[3] = A[2] + _mm_cvtss_f32(q.z);
      const int pick = edge | (insideAll & 3);
      foot[0] = footX[pick], foot[1] = footY[pick], foot[2] = footZ[pick];
    }
  }
  return result;
}

#else  // no SSE2: the scalar body

template <bool kFeature>
float PointTriangle2(const float* p, const float* A, const float* B, const float* C, int* region,
                     float* foot, float& N, float& s) {
  return REmath::detail::PointTriangle2Scalar(p, A, B, C, region, foot, &N, &s);
}

#endif

// The float products overflow once the legs exceed about 4e9 (|n|² grows with the fourth
// power of the legs), and non-finite input poisons everything. Both show as a non-finite
// |n|², s or result, which is where the query is taken over here; a degenerate triangle
// (|n|² exactly 0, s NaN) keeps its documented fall to the edges.
bool NeedsCareful(float result, float N, float s) {
  return !std::isfinite(result) || !std::isfinite(N) || (N != 0.0f && !std::isfinite(s));
}

bool AllFinite3(const float* v) {
  return std::isfinite(v[0]) && std::isfinite(v[1]) && std::isfinite(v[2]);
}

// Non-finite input has no distance: NaN, region -1 and a NaN foot, which no real answer
// can be mistaken for. Finite input is recomputed step by step in double (the same steps,
// so the same feature) and rounded to float; a squared distance beyond the float range
// becomes +inf.
float CarefulPointTriangle2(const float* p, const float* A, const float* B, const float* C,
                            int* region, float* foot) {
  if (!AllFinite3(p) || !AllFinite3(A) || !AllFinite3(B) || !AllFinite3(C)) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    if (region) *region = -1;
    if (foot) foot[0] = foot[1] = foot[2] = nan;
    return nan;
  }
  return float(REmath::detail::PointTriangle2Scalar<double>(p, A, B, C, region, foot));
}

template <bool kFeature>
float Query(const float* p, const float* A, const float* B, const float* C, int* region,
            float* foot) {
  // p is copied: the foot may alias it and is written before the careful path would read p.
  const float pc[3] = {p[0], p[1], p[2]};
  float N = 0, s = 0;
  const float d2 = PointTriangle2<kFeature>(pc, A, B, C, region, foot, N, s);
  if (NeedsCareful(d2, N, s)) return CarefulPointTriangle2(pc, A, B, C, region, foot);
  return d2;
}

}  // namespace

float distancePointTriangle2(const float* p, const float* const* tri, int& region, float* foot) {
  return Query<true>(p, tri[0], tri[1], tri[2], &region, foot);
}

float distancePointTriangle2(const float* p, const REmath::Point3D* tri) {
  return Query<false>(p, tri[0].asArray(), tri[1].asArray(), tri[2].asArray(), nullptr, nullptr);
}
