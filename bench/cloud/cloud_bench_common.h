// SPDX-License-Identifier: MIT
// Shared pieces of the cloud benchmarks: the noisy torus scan (R = 1, r = 0.3,
// sigma = 0.001, seed 2024, cached), the median angle of estimated normals to its analytic
// ones, the angle between two directions, and wall and process CPU clocks.
#pragma once

#include <qvmath/cloud/cloud_samples.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <vector>

#include "../analysis/torus_cloud.h"

namespace qvbench {

/// The noisy torus of n points; the last one asked for is kept.
inline const REmath::CSampleScan& Torus(int n) {
  static REmath::CSampleScan scan;
  if (scan.cloud.Size() != n) REmath::MakeSampleTorus(n, 1.0, 0.3, 0.001, 2024, scan);
  return scan;
}

/// Angle in degrees between the lines along a and b (sign ignored); 90 when either is
/// zero or not finite.
inline double LineAngleDeg(const double* a, const double* b) {
  const double d = std::fabs(a[0] * b[0] + a[1] * b[1] + a[2] * b[2]) /
                   std::sqrt((a[0] * a[0] + a[1] * a[1] + a[2] * a[2]) *
                             (b[0] * b[0] + b[1] * b[1] + b[2] * b[2]));
  return std::isfinite(d) ? std::acos(std::min(1.0, d)) * 57.29577951308232 : 90.0;
}

/// Median over the torus of n points of the angle between normalOf(i, double[3]) and the
/// analytic normal of point i.
template <class Get>
double MedianDeg(int n, Get normalOf) {
  const REmath::CSampleScan& t = Torus(n);
  std::vector<double> e(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) {
    double a[3];
    normalOf(i, a);
    const REmath::Point3D& g = t.trueNormals[std::size_t(i)];
    const double b[3] = {g.x(), g.y(), g.z()};
    e[std::size_t(i)] = LineAngleDeg(a, b);
  }
  return Median(std::move(e));
}

/// Seconds on the monotonic clock, and CPU seconds of the whole process (all threads).
// Flips all normals when they point inward on the whole (the spanning-tree orientation
// picks one of the two consistent sides; the scans' truth says which is outward).
inline void OrientLikeTruth(const REmath::CSampleScan& s, std::vector<REmath::Point3D>& normals) {
  double agree = 0;
  for (std::size_t i = 0; i < normals.size(); ++i) {
    const REmath::Point3D &a = normals[i], &b = s.trueNormals[i];
    agree += a.x() * b.x() + a.y() * b.y() + a.z() * b.z();
  }
  if (agree < 0)
    for (REmath::Point3D& n : normals) n = REmath::Point3D(-n.x(), -n.y(), -n.z());
}

inline double WallSeconds() {
  timespec t{};
  clock_gettime(CLOCK_MONOTONIC, &t);
  return double(t.tv_sec) + 1e-9 * double(t.tv_nsec);
}
inline double CpuSeconds() {
  timespec t{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return double(t.tv_sec) + 1e-9 * double(t.tv_nsec);
}

}  // namespace qvbench
