// SPDX-License-Identifier: MIT
// Helpers shared by the geometry tests: random coordinates and double-precision vector
// arithmetic used by the oracles.
#pragma once

#include <array>
#include <cmath>
#include <cstring>

#include "test_util.h"

namespace qvtest {

constexpr double kPi = 3.14159265358979323846;

inline bool SameBits(float a, float b) { return std::memcmp(&a, &b, sizeof a) == 0; }

using V3 = std::array<double, 3>;

inline V3 Sub(const V3& a, const V3& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
inline V3 Add(const V3& a, const V3& b) { return {a[0] + b[0], a[1] + b[1], a[2] + b[2]}; }
inline V3 Scale(const V3& a, double s) { return {a[0] * s, a[1] * s, a[2] * s}; }
inline double Dot(const V3& a, const V3& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
inline V3 Cross(const V3& a, const V3& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
inline double Norm2(const V3& a) { return Dot(a, a); }
inline double Dist2(const V3& a, const V3& b) { return Norm2(Sub(a, b)); }

/// x rounded to T. The volatile store is needed: g++ 12 at -O2 lets its SLP vectorizer
/// fold a double→float→double chain over three components back to the original doubles,
/// so a float point drawn from doubles and widened again for an oracle would not be the
/// point the float routine saw.
template <class T>
T RoundTo(double x) {
  volatile T v = T(x);
  return v;
}

/// A point with coordinates uniform in [-scale, scale), rounded to T.
template <class T>
std::array<T, 3> RandomPoint(TestRng& rng, double scale) {
  const double x = rng.Uniform(-scale, scale), y = rng.Uniform(-scale, scale),
               z = rng.Uniform(-scale, scale);
  return {RoundTo<T>(x), RoundTo<T>(y), RoundTo<T>(z)};
}

/// Success when a and b differ by at most tol in each component; the message shows both.
inline ::testing::AssertionResult Near3(const V3& a, const V3& b, double tol) {
  for (int i = 0; i < 3; ++i)
    if (!(std::fabs(a[i] - b[i]) <= tol))
      return ::testing::AssertionFailure()
             << "(" << a[0] << ", " << a[1] << ", " << a[2] << ") vs (" << b[0] << ", " << b[1]
             << ", " << b[2] << "), tolerance " << tol;
  return ::testing::AssertionSuccess();
}

template <class T>
V3 ToV3(const T* a) {
  return {double(a[0]), double(a[1]), double(a[2])};
}

/// A unit vector uniformly distributed on the sphere.
inline V3 RandomUnit(TestRng& rng) {
  for (;;) {
    const V3 v{rng.Uniform(-1, 1), rng.Uniform(-1, 1), rng.Uniform(-1, 1)};
    const double n2 = Norm2(v);
    if (n2 > 1e-4 && n2 <= 1) return Scale(v, 1 / std::sqrt(n2));
  }
}

}  // namespace qvtest
