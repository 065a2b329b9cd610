// SPDX-License-Identifier: MIT
// Analytic surfaces for the normal and curvature tests: neighbourhoods of the origin of a
// height function z = h(x, y) with known curvatures there, placed by a rigid motion.
#pragma once

#include <qvmath/core/point3d.h>

#include <cmath>
#include <vector>

#include "geometry/geom_test_util.h"

namespace qvtest {

/// z = h(x, y) with h(0,0) = 0, ∇h(0,0) = 0; signed curvatures at the origin with normal
/// +z (positive = bending away from the normal): k1 along dir1, k2 along dir2 (local axes).
struct Surface {
  const char* name;
  double (*h)(double, double);
  double k1, k2;
  V3 dir1, dir2;
};

inline double Flat(double, double) { return 0.0; }
inline double Sphere2(double x, double y) { return std::sqrt(4 - x * x - y * y) - 2; }
inline double Cylinder(double x, double) { return std::sqrt(0.25 - x * x) - 0.5; }
inline double Saddle(double x, double y) { return (x * x - y * y) / 2; }
inline double Paraboloid(double x, double y) { return (x * x + 3 * y * y) / 2; }

inline const std::vector<Surface>& Surfaces() {
  static const std::vector<Surface> kAll = {
      {"plane", Flat, 0, 0, {1, 0, 0}, {0, 1, 0}},
      {"sphere r=2", Sphere2, 0.5, 0.5, {1, 0, 0}, {0, 1, 0}},
      {"cylinder r=0.5", Cylinder, 2, 0, {1, 0, 0}, {0, 1, 0}},
      {"saddle", Saddle, 1, -1, {0, 1, 0}, {1, 0, 0}},
      {"paraboloid", Paraboloid, -1, -3, {1, 0, 0}, {0, 1, 0}},
  };
  return kAll;
}

/// A random rotation (columns = images of the local axes) and a translation.
struct Motion {
  V3 c[3];
  V3 t;
  V3 Dir(const V3& v) const {
    return Add(Add(Scale(c[0], v[0]), Scale(c[1], v[1])), Scale(c[2], v[2]));
  }
  V3 Point(const V3& v) const { return Add(Dir(v), t); }
};

inline Motion RandomMotion(TestRng& rng, double offset) {
  const V3 a = RandomUnit(rng);
  V3 b = Cross(a, RandomUnit(rng));
  b = Scale(b, 1 / std::sqrt(Norm2(b)));
  return {{a, b, Cross(a, b)},
          {offset + rng.Uniform(-1, 1), offset + rng.Uniform(-1, 1), offset + rng.Uniform(-1, 1)}};
}

/// The origin of s first, then n − 1 points with (x, y) uniform in the disc of radius rho,
/// moved by m and rounded to float.
inline std::vector<REmath::Point3D> Sample(const Surface& s, const Motion& m, double rho, int n,
                                           TestRng& rng) {
  std::vector<REmath::Point3D> pts;
  for (int i = 0; i < n; ++i) {
    double x = 0, y = 0;
    while (i > 0) {
      x = rng.Uniform(-rho, rho), y = rng.Uniform(-rho, rho);
      if (x * x + y * y <= rho * rho) break;
    }
    const V3 p = m.Point({x, y, s.h(x, y)});
    pts.emplace_back(float(p[0]), float(p[1]), float(p[2]));
  }
  return pts;
}

inline V3 ToV3(const REmath::Point3D_d& p) { return {p.x(), p.y(), p.z()}; }

inline double AbsCos(const V3& a, const V3& b) {
  return std::fabs(Dot(a, b)) / std::sqrt(Norm2(a) * Norm2(b));
}

}  // namespace qvtest
