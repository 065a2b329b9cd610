// SPDX-License-Identifier: MIT
// Batched point-to-triangle and point-to-segment squared distances.
//
// The single queries put the three edges of one triangle into SSE lanes; here each lane
// holds one point instead, so four points share every triangle quantity (edges, normal,
// squared lengths, formed once in scalar float exactly as the scalar body forms them) and
// no shuffles sit on the path. Each lane performs the float operations of
// detail::PointTriangle2Scalar / detail::PointSegment2 in their order, the branches
// replaced by masks, which is why the results equal the single queries bit for bit.
#include <qvmath/geometry/dist_batch.h>

#include <qvmath/geometry/detail/point_segment.h>
#include <qvmath/geometry/detail/point_triangle.h>
#include <qvmath/geometry/detail/vec3.h>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

using REmath::detail::Cross3;
using REmath::detail::Dot3;
using REmath::detail::PointSegment2;
using REmath::detail::PointTriangle2Scalar;
using REmath::detail::SegmentFeature;
using REmath::detail::Sub3;

// 3-D segment numbering of DistancePoint2Segment: 0 interior or degenerate, 1 a, 2 b.
int SegmentRegion(SegmentFeature f) {
  return f == SegmentFeature::kEndA ? 1 : f == SegmentFeature::kEndB ? 2 : 0;
}

float SegmentScalar(const float* p, const float* a, const float* b, int* region, float* foot) {
  float footBuf[3], t;
  SegmentFeature f;
  const float d2 = PointSegment2<3, float>(p, a, b, foot ? foot : footBuf, t, f);
  if (region) *region = SegmentRegion(f);
  return d2;
}

#if defined(__SSE2__)

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
  return _mm_add_ps(_mm_add_ps(_mm_mul_ps(a.x, b.x), _mm_mul_ps(a.y, b.y)),
                    _mm_mul_ps(a.z, b.z));
}
// a × b with the component formulas of Cross3.
inline V3 Cross(const V3& a, const V3& b) {
  return {_mm_sub_ps(_mm_mul_ps(a.y, b.z), _mm_mul_ps(a.z, b.y)),
          _mm_sub_ps(_mm_mul_ps(a.z, b.x), _mm_mul_ps(a.x, b.z)),
          _mm_sub_ps(_mm_mul_ps(a.x, b.y), _mm_mul_ps(a.y, b.x))};
}

// Points p[0..12) = x0 y0 z0 x1 | y1 z1 x2 y2 | z2 x3 y3 z3 transposed into lanes.
inline V3 Load4(const float* p) {
  const __m128 v0 = _mm_loadu_ps(p), v1 = _mm_loadu_ps(p + 4), v2 = _mm_loadu_ps(p + 8);
  const __m128 x2y2x3y3 = _mm_shuffle_ps(v1, v2, _MM_SHUFFLE(2, 1, 3, 2));
  const __m128 y0y0y1y1 = _mm_shuffle_ps(v0, v1, _MM_SHUFFLE(0, 0, 1, 1));
  const __m128 z0z0z1z1 = _mm_shuffle_ps(v0, v1, _MM_SHUFFLE(1, 1, 2, 2));
  const __m128 z2z2z3z3 = _mm_shuffle_ps(v2, v2, _MM_SHUFFLE(3, 3, 0, 0));
  return {_mm_shuffle_ps(v0, x2y2x3y3, _MM_SHUFFLE(2, 0, 3, 0)),
          _mm_shuffle_ps(y0y0y1y1, x2y2x3y3, _MM_SHUFFLE(3, 1, 2, 0)),
          _mm_shuffle_ps(z0z0z1z1, z2z2z3z3, _MM_SHUFFLE(2, 0, 2, 0))};
}

inline void Store4(const V3& v, float* out) {
  alignas(16) float x[4], y[4], z[4];
  _mm_store_ps(x, v.x);
  _mm_store_ps(y, v.y);
  _mm_store_ps(z, v.z);
  for (int i = 0; i < 4; ++i) out[3 * i] = x[i], out[3 * i + 1] = y[i], out[3 * i + 2] = z[i];
}

// One edge query (the steps of PointSegment2) for four points: a, d = b − a and L = |d|²
// are the edge's, w = p − a, W = |w|², E = |p − b|² the points'.
struct EdgeResult {
  __m128 dist, endA, endB;  // endA/endB: masks of the winning end; neither: interior/degenerate
  V3 foot;
};

template <bool kFoot>
inline EdgeResult EdgeQuery(const V3& a, const V3& b, const V3& d, __m128 L, const V3& w,
                            __m128 W, __m128 E) {
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

// Region code vector of an edge: its vertex codes at the ends, its edge code otherwise.
inline __m128i EdgeCodes(const EdgeResult& e, int edge, int first, int second) {
  return SelectI(e.endB, _mm_set1_epi32(second),
                 SelectI(e.endA, _mm_set1_epi32(first), _mm_set1_epi32(edge)));
}

// The triangle quantities of PointTriangle2Scalar that do not depend on the point.
struct Triangle {
  V3 A, B, C, e1, e2, e3, n, m;
  __m128 N, M, L1, L2, L3;
};

Triangle PrepareTriangle(const float* A, const float* B, const float* C) {
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
  const __m128 inside =
      _mm_and_ps(_mm_and_ps(_mm_cmpge_ps(Dot(Cross(q, T.e1), T.n), zero),
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
    const __m128i r12 = SelectI(firstAB, EdgeCodes(ab, 1, 4, 5), EdgeCodes(ac, 3, 4, 6));
    const __m128i edge = SelectI(keep, r12, EdgeCodes(bc, 2, 5, 6));
    *region = _mm_andnot_si128(_mm_castps_si128(inside), edge);
  }
  if (kFoot) {
    const V3 edgeFoot = Select(keep, Select(firstAB, ab.foot, ac.foot), bc.foot);
    *foot = Select(inside, Add(T.A, q), edgeFoot);
  }
  return Select(inside, faceD, Select(keep, best, bc.dist));
}

template <bool kRegion, bool kFoot>
int TriangleBatch(const float* pts, int n, const float* const* tri, float* d2, int* regions,
                  float* feet) {
  const Triangle T = PrepareTriangle(tri[0], tri[1], tri[2]);
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    __m128i r;
    V3 f;
    _mm_storeu_ps(d2 + i, Triangle4<kRegion, kFoot>(T, Load4(pts + 3 * i), &r, &f));
    if (kRegion) _mm_storeu_si128(reinterpret_cast<__m128i*>(regions + i), r);
    if (kFoot) Store4(f, feet + 3 * i);
  }
  return i;
}

template <bool kRegion, bool kFoot>
int SegmentBatch(const float* pts, int n, const float* a, const float* b, float* d2,
                 int* regions, float* feet) {
  float d[3];
  Sub3(b, a, d);
  const V3 A = Splat(a), B = Splat(b), D = Splat(d);
  const __m128 L = _mm_set1_ps(Dot3(d, d));
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    const V3 p = Load4(pts + 3 * i);
    const V3 w = Sub(p, A), e = Sub(p, B);
    const EdgeResult r = EdgeQuery<kFoot>(A, B, D, L, w, Dot(w, w), Dot(e, e));
    _mm_storeu_ps(d2 + i, r.dist);
    if (kRegion)
      _mm_storeu_si128(reinterpret_cast<__m128i*>(regions + i),
                       _mm_sub_epi32(_mm_setzero_si128(),
                                     _mm_add_epi32(_mm_castps_si128(r.endA),
                                                   _mm_add_epi32(_mm_castps_si128(r.endB),
                                                                 _mm_castps_si128(r.endB)))));
    if (kFoot) Store4(r.foot, feet + 3 * i);
  }
  return i;
}

// The lane loops above, instantiated for the outputs asked for.
int TriangleLanes(const float* pts, int n, const float* const* tri, float* d2, int* regions,
                  float* feet) {
  if (regions && feet) return TriangleBatch<true, true>(pts, n, tri, d2, regions, feet);
  if (regions) return TriangleBatch<true, false>(pts, n, tri, d2, regions, feet);
  if (feet) return TriangleBatch<false, true>(pts, n, tri, d2, regions, feet);
  return TriangleBatch<false, false>(pts, n, tri, d2, regions, feet);
}
int SegmentLanes(const float* pts, int n, const float* a, const float* b, float* d2,
                 int* regions, float* feet) {
  if (regions && feet) return SegmentBatch<true, true>(pts, n, a, b, d2, regions, feet);
  if (regions) return SegmentBatch<true, false>(pts, n, a, b, d2, regions, feet);
  if (feet) return SegmentBatch<false, true>(pts, n, a, b, d2, regions, feet);
  return SegmentBatch<false, false>(pts, n, a, b, d2, regions, feet);
}

#else  // no SSE2: every point by the scalar body

int TriangleLanes(const float*, int, const float* const*, float*, int*, float*) { return 0; }
int SegmentLanes(const float*, int, const float*, const float*, float*, int*, float*) {
  return 0;
}

#endif

}  // namespace

void distancePointsTriangle2(const float* pts, int n, const float* const* tri, float* d2,
                             int* regions, float* feet) {
  for (int i = TriangleLanes(pts, n, tri, d2, regions, feet); i < n; ++i) {
    int r;
    d2[i] = PointTriangle2Scalar(pts + 3 * i, tri[0], tri[1], tri[2], &r,
                                 feet ? feet + 3 * i : nullptr);
    if (regions) regions[i] = r;
  }
}

void DistancePoints2Segment(const float* pts, int n, const float* a, const float* b, float* d2,
                            int* regions, float* feet) {
  for (int i = SegmentLanes(pts, n, a, b, d2, regions, feet); i < n; ++i)
    d2[i] = SegmentScalar(pts + 3 * i, a, b, regions ? regions + i : nullptr,
                          feet ? feet + 3 * i : nullptr);
}
