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
#include <qvmath/geometry/dist_point_triangle.h>

#include <qvmath/geometry/detail/point_triangle.h>

#include <cmath>
#include <limits>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

#if defined(__SSE2__)

inline __m128 Select(__m128 mask, __m128 a, __m128 b) {
  return _mm_or_ps(_mm_and_ps(mask, a), _mm_andnot_ps(mask, b));
}

template <int i>
inline __m128 Broadcast(__m128 v) {
  return _mm_shuffle_ps(v, v, _MM_SHUFFLE(i, i, i, i));
}

// Lane-wise (ax·bx + ay·by) + az·bz, the summation order of the scalar dot product.
inline __m128 Dot(__m128 ax, __m128 ay, __m128 az, __m128 bx, __m128 by, __m128 bz) {
  return _mm_add_ps(_mm_add_ps(_mm_mul_ps(ax, bx), _mm_mul_ps(ay, by)), _mm_mul_ps(az, bz));
}

// Lane-wise cross product u × v.
inline void Cross(__m128 ux, __m128 uy, __m128 uz, __m128 vx, __m128 vy, __m128 vz, __m128& cx,
                  __m128& cy, __m128& cz) {
  cx = _mm_sub_ps(_mm_mul_ps(uy, vz), _mm_mul_ps(uz, vy));
  cy = _mm_sub_ps(_mm_mul_ps(uz, vx), _mm_mul_ps(ux, vz));
  cz = _mm_sub_ps(_mm_mul_ps(ux, vy), _mm_mul_ps(uy, vx));
}

// Region code by winning edge (AB, AC, BC) and its feature (interior or degenerate, end a,
// end b).
constexpr int kEdgeRegion[3][3] = {{1, 4, 5}, {3, 4, 6}, {2, 5, 6}};

template <bool kFeature>
float PointTriangle2(const float* p, const float* A, const float* B, const float* C, int* region,
                     float* foot, float& N, float& sOut) {
  // One vector per coordinate: lanes (A, B, C, p).
  const __m128 X = _mm_setr_ps(A[0], B[0], C[0], p[0]);
  const __m128 Y = _mm_setr_ps(A[1], B[1], C[1], p[1]);
  const __m128 Z = _mm_setr_ps(A[2], B[2], C[2], p[2]);
  // Edges in lanes 0..2: starts (A, A, B), ends (B, C, C); lane 3 is unused padding.
  constexpr int kStart = _MM_SHUFFLE(3, 1, 0, 0), kEnd = _MM_SHUFFLE(3, 2, 2, 1);
  const __m128 sx = _mm_shuffle_ps(X, X, kStart), ex = _mm_shuffle_ps(X, X, kEnd);
  const __m128 sy = _mm_shuffle_ps(Y, Y, kStart), ey = _mm_shuffle_ps(Y, Y, kEnd);
  const __m128 sz = _mm_shuffle_ps(Z, Z, kStart), ez = _mm_shuffle_ps(Z, Z, kEnd);
  const __m128 px = Broadcast<3>(X), py = Broadcast<3>(Y), pz = Broadcast<3>(Z);

  // The edge vectors are e1 = B − A, e2 = C − A, e3 = C − B of the inside test as well.
  const __m128 dx = _mm_sub_ps(ex, sx), dy = _mm_sub_ps(ey, sy), dz = _mm_sub_ps(ez, sz);
  const __m128 wx = _mm_sub_ps(px, sx), wy = _mm_sub_ps(py, sy), wz = _mm_sub_ps(pz, sz);
  // Squared distances to the vertices, (|p − A|², |p − B|², |p − C|², 0), shared by the
  // edge queries as their end distances.
  const __m128 vx = _mm_sub_ps(px, X), vy = _mm_sub_ps(py, Y), vz = _mm_sub_ps(pz, Z);
  const __m128 V = Dot(vx, vy, vz, vx, vy, vz);

  // --- Inside test. G = U × V with U = (e2, e2, e1), V = (e1, e1, e3): lanes (n, n, m).
  constexpr int kU = _MM_SHUFFLE(3, 0, 1, 1), kV = _MM_SHUFFLE(3, 2, 0, 0);
  __m128 gx, gy, gz;
  Cross(_mm_shuffle_ps(dx, dx, kU), _mm_shuffle_ps(dy, dy, kU), _mm_shuffle_ps(dz, dz, kU),
        _mm_shuffle_ps(dx, dx, kV), _mm_shuffle_ps(dy, dy, kV), _mm_shuffle_ps(dz, dz, kV), gx, gy,
        gz);
  const __m128 gg = Dot(gx, gy, gz, gx, gy, gz);  // (N, N, |m|², ·)
  // s = −(w·n)/N in lane 0 (w of lane 0 is p − A); the sign flip is exact.
  const __m128 negWn = _mm_xor_ps(Dot(wx, wy, wz, gx, gy, gz), _mm_set1_ps(-0.0f));
  const __m128 s = Broadcast<0>(_mm_div_ps(negWn, gg));
  N = _mm_cvtss_f32(gg);
  sOut = _mm_cvtss_f32(s);
  const __m128 qx = _mm_add_ps(Broadcast<0>(wx), _mm_mul_ps(s, Broadcast<0>(gx)));
  const __m128 qy = _mm_add_ps(Broadcast<0>(wy), _mm_mul_ps(s, Broadcast<0>(gy)));
  const __m128 qz = _mm_add_ps(Broadcast<0>(wz), _mm_mul_ps(s, Broadcast<0>(gz)));
  __m128 cx, cy, cz;
  Cross(qx, qy, qz, dx, dy, dz, cx, cy, cz);
  const __m128 side = Dot(cx, cy, cz, gx, gy, gz);  // ((q×e1)·n, (q×e2)·n, (q×e3)·m, ·)
  const __m128 zero = _mm_setzero_ps();
  const int sideBits = (_mm_movemask_ps(_mm_cmpge_ps(side, zero)) & 1) |
                       (_mm_movemask_ps(_mm_cmple_ps(side, zero)) & 2) |
                       (_mm_movemask_ps(_mm_cmple_ps(side, gg)) & 4);
  const bool inside = sideBits == 7;
  const __m128 faceD = _mm_mul_ps(_mm_mul_ps(s, s), gg);

  // --- The three edge queries, the steps of PointSegment2 lane by lane.
  const __m128 L = Dot(dx, dy, dz, dx, dy, dz);
  const __m128 W = _mm_shuffle_ps(V, V, kStart);  // start distances: A, A, B
  const __m128 E = _mm_shuffle_ps(V, V, kEnd);    // end distances: B, C, C
  const __m128 t = _mm_div_ps(Dot(dx, dy, dz, wx, wy, wz), L);
  const __m128 rx = _mm_sub_ps(wx, _mm_mul_ps(t, dx));
  const __m128 ry = _mm_sub_ps(wy, _mm_mul_ps(t, dy));
  const __m128 rz = _mm_sub_ps(wz, _mm_mul_ps(t, dz));
  const __m128 R = Dot(rx, ry, rz, rx, ry, rz);
  const __m128 interior = _mm_and_ps(_mm_cmplt_ps(zero, t), _mm_cmplt_ps(t, _mm_set1_ps(1.0f)));
  const __m128 ends = _mm_andnot_ps(interior, _mm_cmpneq_ps(L, zero));
  const __m128 endB = _mm_and_ps(ends, _mm_cmple_ps(E, W));
  const __m128 dist = Select(endB, E, Select(interior, R, W));

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
    const int endABits = _mm_movemask_ps(_mm_andnot_ps(endB, ends));
    const int feature = ((endABits >> edge) & 1) + 2 * ((endBBits >> edge) & 1);
    const int insideAll = -int(inside);  // all ones when inside
    *region = kEdgeRegion[edge][feature] & ~insideAll;
    if (foot) {
      // Foot per edge as PointSegment2 forms it: a + t·d inside, b at end b, else a.
      alignas(16) float footX[4], footY[4], footZ[4];
      const __m128 ax = _mm_add_ps(sx, _mm_mul_ps(t, dx));
      const __m128 ay = _mm_add_ps(sy, _mm_mul_ps(t, dy));
      const __m128 az = _mm_add_ps(sz, _mm_mul_ps(t, dz));
      _mm_store_ps(footX, Select(endB, ex, Select(interior, ax, sx)));
      _mm_store_ps(footY, Select(endB, ey, Select(interior, ay, sy)));
      _mm_store_ps(footZ, Select(endB, ez, Select(interior, az, sz)));
      footX[3] = A[0] + _mm_cvtss_f32(qx);
      footY[3] = A[1] + _mm_cvtss_f32(qy);
      footZ[3] = A[2] + _mm_cvtss_f32(qz);
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
