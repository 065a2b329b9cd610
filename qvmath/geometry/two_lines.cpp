// SPDX-License-Identifier: MIT
// Closest points of two lines: the normal equations of min |P2 + t2·b − P1 − t1·a|².
#include <qvmath/core/detail/vec3.h>
#include <qvmath/geometry/two_lines.h>

#include <cmath>

namespace {

using REmath::detail::Dot3;
using REmath::detail::Sub3;

// Gram quantities of the two directions and of the offset r = P2 − P1, and the solution
// t1 = (bb·ar − br·ab)/D, t2 = (ab·ar − aa·br)/D of the 2×2 normal equations.
template <class R>
struct TwoLineGram {
  R aa, bb, ab, ar, br, D;
  TwoLineGram(const R* a, const R* b, const R* r)
      : aa(Dot3(a, a)),
        bb(Dot3(b, b)),
        ab(Dot3(a, b)),
        ar(Dot3(a, r)),
        br(Dot3(b, r)),
        D(bb * aa - ab * ab) {}
  void Solve(R* t) const {
    t[0] = (bb * ar - br * ab) / D;
    t[1] = (ab * ar - aa * br) / D;
  }
};

template <class R>
bool MeetTwo(const R* a, const R* b, R* r, R* t, R tol) {
  const TwoLineGram<R> g(a, b, r);
  // 0.0076 is a double in both precisions: the product is formed in double.
  if (0.0076 * g.aa * g.bb >= g.D) return false;
  g.Solve(t);
  for (int i = 0; i < 3; ++i) r[i] = r[i] - t[0] * a[i] + t[1] * b[i];
  return Dot3(r, r) < tol;
}

template <class R>
bool MinDist2Lines(const R* P1, const R* d1, const R* P2, const R* d2, R* t) {
  R r[3];
  Sub3(P2, P1, r);
  const TwoLineGram<R> g(d1, d2, r);
  // The factor is taken in the routine's own precision (1e-6 rounded to float in the float
  // overload), unlike the double constant of MeetTwo.
  if (g.aa * R(1e-6) * g.bb >= std::fabs(g.D)) return false;
  g.Solve(t);
  return true;
}

template <class R>
void MediumPoint(const R* P1, const R* P2, const R* d1, const R* d2, const R* t, R* out) {
  for (int i = 0; i < 3; ++i) out[i] = ((P1[i] + t[0] * d1[i]) + (P2[i] + t[1] * d2[i])) * R(0.5);
}

}  // namespace

bool meetTwoVectors(const float* a, const float* b, float* r, float* t, float tol) {
  return MeetTwo(a, b, r, t, tol);
}
bool meetTwoVectors(const double* a, const double* b, double* r, double* t, double tol) {
  return MeetTwo(a, b, r, t, tol);
}

bool MakeMinDist2Lines(const double* P1, const double* d1, const double* P2, const double* d2,
                       double* t) {
  return MinDist2Lines(P1, d1, P2, d2, t);
}
bool MakeMinDist2Lines(const float* P1, const float* d1, const float* P2, const float* d2,
                       float* t) {
  return MinDist2Lines(P1, d1, P2, d2, t);
}

void makeTwoVectorsMediumPoint(const float* P1, const float* P2, const float* d1, const float* d2,
                               const float* t, float* out) {
  MediumPoint(P1, P2, d1, d2, t, out);
}
void makeTwoVectorsMediumPoint(const double* P1, const double* P2, const double* d1,
                               const double* d2, const double* t, double* out) {
  MediumPoint(P1, P2, d1, d2, t, out);
}
