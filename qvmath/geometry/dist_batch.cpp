// SPDX-License-Identifier: MIT
// Batched point-to-triangle and point-to-segment squared distances.
//
// The single queries put the three edges of one triangle into SSE lanes; here each lane
// holds one point instead, so four points share every triangle quantity (edges, normal,
// squared lengths, formed once in scalar float exactly as the scalar body forms them) and
// no shuffles sit on the path. Each lane performs the float operations of
// detail::PointTriangle2Scalar / detail::PointSegment2 in their order, the branches
// replaced by masks, which is why the results equal the single queries bit for bit.
#include <qvmath/core/detail/vec3.h>
#include <qvmath/geometry/detail/point_segment.h>
#include <qvmath/geometry/detail/point_triangle.h>
#include <qvmath/geometry/detail/point_triangle_lanes.h>
#include <qvmath/geometry/dist_batch.h>
#include <qvmath/geometry/dist_point_triangle.h>

#include <cmath>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

using REmath::detail::Cross3;
using REmath::detail::Dot3;
using REmath::detail::PointSegment2;
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

using namespace REmath::detail::lanes;

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
int SegmentBatch(const float* pts, int n, const float* a, const float* b, float* d2, int* regions,
                 float* feet) {
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
int SegmentLanes(const float* pts, int n, const float* a, const float* b, float* d2, int* regions,
                 float* feet) {
  if (regions && feet) return SegmentBatch<true, true>(pts, n, a, b, d2, regions, feet);
  if (regions) return SegmentBatch<true, false>(pts, n, a, b, d2, regions, feet);
  if (feet) return SegmentBatch<false, true>(pts, n, a, b, d2, regions, feet);
  return SegmentBatch<false, false>(pts, n, a, b, d2, regions, feet);
}

#else  // no SSE2: every point by the scalar body

int TriangleLanes(const float*, int, const float* const*, float*, int*, float*) { return 0; }
int SegmentLanes(const float*, int, const float*, const float*, float*, int*, float*) { return 0; }

#endif

}  // namespace

void distancePointsTriangle2(const float* pts, int n, const float* const* tri, float* d2,
                             int* regions, float* feet) {
  auto single = [&](int k) {
    int r;
    d2[k] = distancePointTriangle2(pts + 3 * k, tri, r, feet ? feet + 3 * k : nullptr);
    if (regions) regions[k] = r;
  };
  // The single query takes over non-finite input and overflowing float products (a
  // non-finite |n|^2 or result) with its careful path; the lanes leave those to it, so the
  // results stay its own bit for bit.
  float e1[3], e2[3], nrm[3];
  Sub3(tri[1], tri[0], e1);
  Sub3(tri[2], tri[0], e2);
  Cross3(e2, e1, nrm);
  int i = std::isfinite(Dot3(nrm, nrm)) ? TriangleLanes(pts, n, tri, d2, regions, feet) : 0;
  for (int k = 0; k < i; ++k)
    if (!std::isfinite(d2[k])) single(k);
  for (; i < n; ++i) single(i);
}

void DistancePoints2Segment(const float* pts, int n, const float* a, const float* b, float* d2,
                            int* regions, float* feet) {
  for (int i = SegmentLanes(pts, n, a, b, d2, regions, feet); i < n; ++i)
    d2[i] = SegmentScalar(pts + 3 * i, a, b, regions ? regions + i : nullptr,
                          feet ? feet + 3 * i : nullptr);
}
