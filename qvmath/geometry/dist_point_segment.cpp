// SPDX-License-Identifier: MIT
// The point-to-segment family: thin overloads over one inlined body.
#include <qvmath/geometry/detail/point_segment.h>
#include <qvmath/geometry/dist_point_segment.h>

#if defined(__SSE2__)
#include <emmintrin.h>
#include <qvmath/geometry/detail/point_triangle_lanes.h>
#endif

namespace {

using REmath::detail::PointSegment2;
using REmath::detail::SegmentFeature;

// 3-D numbering: 0 interior or degenerate, 1 end a, 2 end b.
int Region3D(SegmentFeature f) {
  switch (f) {
    case SegmentFeature::kEndA:
      return 1;
    case SegmentFeature::kEndB:
      return 2;
    default:
      return 0;
  }
}

// 2-D numbering: -1 interior, 0 end a or degenerate, 1 end b.
int Region2D(SegmentFeature f) {
  switch (f) {
    case SegmentFeature::kInterior:
      return -1;
    case SegmentFeature::kEndB:
      return 1;
    default:
      return 0;
  }
}

template <class R, class P, class E>
R Segment3DScalar(const P* p, const E* a, const E* b, R* foot, R* t, int* region) {
  R footBuf[3], tBuf;
  SegmentFeature f;
  const R d2 = PointSegment2<3, R>(p, a, b, foot ? foot : footBuf, t ? *t : tBuf, f);
  if (region) *region = Region3D(f);
  return d2;
}

// The general form: scalar body for every precision and mix.
template <class R, class P, class E>
R Segment3D(const P* p, const E* a, const E* b, R* foot, R* t, int* region) {
  return Segment3DScalar<R>(p, a, b, foot, t, region);
}

#if defined(__SSE2__)

using REmath::detail::lanes::Select;

inline __m128 Dot(__m128 x0, __m128 x1, __m128 x2, __m128 y0, __m128 y1, __m128 y2) {
  return _mm_add_ss(_mm_add_ss(_mm_mul_ss(x0, y0), _mm_mul_ss(x1, y1)), _mm_mul_ss(x2, y2));
}

// The all-float query without branches: every candidate (interior, either end) is computed
// and the answer chosen by masks, since on unsorted input the branches of the scalar body
// are unpredictable. Same operations in the same order as PointSegment2, so the same bits.
template <>
float Segment3D<float, float, float>(const float* p, const float* a, const float* b, float* foot,
                                     float* t, int* region) {
  const __m128 p0 = _mm_load_ss(p), p1 = _mm_load_ss(p + 1), p2 = _mm_load_ss(p + 2);
  const __m128 a0 = _mm_load_ss(a), a1 = _mm_load_ss(a + 1), a2 = _mm_load_ss(a + 2);
  const __m128 b0 = _mm_load_ss(b), b1 = _mm_load_ss(b + 1), b2 = _mm_load_ss(b + 2);
  const __m128 d0 = _mm_sub_ss(b0, a0), d1 = _mm_sub_ss(b1, a1), d2 = _mm_sub_ss(b2, a2);
  const __m128 w0 = _mm_sub_ss(p0, a0), w1 = _mm_sub_ss(p1, a1), w2 = _mm_sub_ss(p2, a2);
  const __m128 e0 = _mm_sub_ss(p0, b0), e1 = _mm_sub_ss(p1, b1), e2 = _mm_sub_ss(p2, b2);
  const __m128 L = Dot(d0, d1, d2, d0, d1, d2);
  const __m128 W = Dot(w0, w1, w2, w0, w1, w2);
  const __m128 E = Dot(e0, e1, e2, e0, e1, e2);
  const __m128 s = _mm_div_ss(Dot(d0, d1, d2, w0, w1, w2), L);
  const __m128 r0 = _mm_sub_ss(w0, _mm_mul_ss(s, d0));
  const __m128 r1 = _mm_sub_ss(w1, _mm_mul_ss(s, d1));
  const __m128 r2 = _mm_sub_ss(w2, _mm_mul_ss(s, d2));
  const __m128 R = Dot(r0, r1, r2, r0, r1, r2);
  const __m128 zero = _mm_setzero_ps(), one = _mm_set_ss(1.0f);
  const __m128 interior = _mm_and_ps(_mm_cmplt_ss(zero, s), _mm_cmplt_ss(s, one));
  const __m128 ends = _mm_andnot_ps(interior, _mm_cmpneq_ss(L, zero));
  const __m128 endB = _mm_and_ps(ends, _mm_cmple_ss(E, W));
  if (foot) {
    _mm_store_ss(foot, Select(endB, b0, Select(interior, _mm_add_ss(a0, _mm_mul_ss(s, d0)), a0)));
    _mm_store_ss(foot + 1,
                 Select(endB, b1, Select(interior, _mm_add_ss(a1, _mm_mul_ss(s, d1)), a1)));
    _mm_store_ss(foot + 2,
                 Select(endB, b2, Select(interior, _mm_add_ss(a2, _mm_mul_ss(s, d2)), a2)));
  }
  if (t) _mm_store_ss(t, Select(endB, one, _mm_and_ps(interior, s)));
  if (region) {
    const int inB = _mm_movemask_ps(endB) & 1, inEnds = _mm_movemask_ps(ends) & 1;
    *region = inEnds + inB;  // 0 interior or degenerate, 1 end a, 2 end b
  }
  return _mm_cvtss_f32(Select(endB, E, Select(interior, R, W)));
}

#endif

template <class R>
R Segment2D(const R* p, const R* a, const R* b, R& t, int* region, R* foot) {
  R footBuf[2];
  SegmentFeature f;
  const R d2 = PointSegment2<2, R>(p, a, b, foot ? foot : footBuf, t, f);
  if (region) *region = Region2D(f);
  return d2;
}

}  // namespace

float DistancePoint2Segment(const float* p, const float* a, const float* b, float* foot,
                            int& region) {
  return Segment3D<float>(p, a, b, foot, nullptr, &region);
}
double DistancePoint2Segment(const double* p, const double* a, const double* b, double* foot,
                             int& region) {
  return Segment3D<double>(p, a, b, foot, nullptr, &region);
}

float DistancePoint2Segment(const float* p, const float* a, const float* b) {
  return Segment3D<float>(p, a, b, nullptr, nullptr, nullptr);
}
double DistancePoint2Segment(const double* p, const double* a, const double* b) {
  return Segment3D<double>(p, a, b, nullptr, nullptr, nullptr);
}
double DistancePoint2Segment(const float* p, const double* a, const double* b) {
  return Segment3D<double>(p, a, b, nullptr, nullptr, nullptr);
}

float DistancePoint2Segment(const float* p, const float* a, const float* b, float& t) {
  return Segment3D<float>(p, a, b, nullptr, &t, nullptr);
}
double DistancePoint2Segment(const double* p, const double* a, const double* b, double& t) {
  return Segment3D<double>(p, a, b, nullptr, &t, nullptr);
}
double DistancePoint2Segment(const float* p, const double* a, const double* b, double& t) {
  return Segment3D<double>(p, a, b, nullptr, &t, nullptr);
}

float DistancePoint2Segment(const float* p, const float* a, const float* b, float* foot) {
  return Segment3D<float>(p, a, b, foot, nullptr, nullptr);
}
double DistancePoint2Segment(const double* p, const double* a, const double* b, double* foot) {
  return Segment3D<double>(p, a, b, foot, nullptr, nullptr);
}

float DistancePoint2Segment(const float* p, const float* a, const float* b, float& t, float* foot) {
  return Segment3D<float>(p, a, b, foot, &t, nullptr);
}
double DistancePoint2Segment(const double* p, const double* a, const double* b, double& t,
                             double* foot) {
  return Segment3D<double>(p, a, b, foot, &t, nullptr);
}
double DistancePoint2Segment(const float* p, const double* a, const double* b, double& t,
                             double* foot) {
  return Segment3D<double>(p, a, b, foot, &t, nullptr);
}

float DistancePoint2Segment2D(const float* p, const float* a, const float* b, float& t, int* region,
                              float* foot) {
  return Segment2D(p, a, b, t, region, foot);
}
double DistancePoint2Segment2D(const double* p, const double* a, const double* b, double& t,
                               int* region, double* foot) {
  return Segment2D(p, a, b, t, region, foot);
}
