// SPDX-License-Identifier: MIT
// Internal: small fixed-size vector arithmetic. On raw coordinate arrays in the precision of
// the destination type R (each operand is converted to R before the operation, so float
// routines round every intermediate to float); on point objects (anything with x(), y(),
// z()) in double. Not installed.
#pragma once

namespace REmath {
namespace detail {

template <class R, class A, class B>
inline void Sub3(const A* a, const B* b, R* out) {
  out[0] = R(a[0]) - R(b[0]);
  out[1] = R(a[1]) - R(b[1]);
  out[2] = R(a[2]) - R(b[2]);
}

template <class R>
inline R Dot3(const R* a, const R* b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

template <class R>
inline void Cross3(const R* a, const R* b, R* out) {
  out[0] = a[1] * b[2] - a[2] * b[1];
  out[1] = a[2] * b[0] - a[0] * b[2];
  out[2] = a[0] * b[1] - a[1] * b[0];
}

// The component of p − a orthogonal to the line through a and b:
// (p − a) − ((p − a)·d / |d|²)·d with d = b − a. No guard against a = b.
template <class R>
inline void PerpFromLine(const R* a, const R* b, const R* p, R* out) {
  R d[3], w[3];
  Sub3(b, a, d);
  Sub3(p, a, w);
  const R s = Dot3(w, d) / Dot3(d, d);
  for (int i = 0; i < 3; ++i) out[i] = w[i] - s * d[i];
}

// (a.x·b.x + a.y·b.y) + a.z·b.z of two point objects, each coordinate widened to double.
template <class P, class Q>
inline double PointDot(const P& a, const Q& b) {
  return double(a.x()) * double(b.x()) + double(a.y()) * double(b.y()) +
         double(a.z()) * double(b.z());
}

// a × b of two point objects, in their own precision, with the component formulas of Cross3.
template <class P>
inline P PointCross(const P& a, const P& b) {
  return P(a.y() * b.z() - a.z() * b.y(), a.z() * b.x() - a.x() * b.z(),
           a.x() * b.y() - a.y() * b.x());
}

}  // namespace detail
}  // namespace REmath
