// SPDX-License-Identifier: MIT
// Built-in synthetic scans with known truth: a noisy torus and a noisy box, for demos,
// tests and benchmarks that need nothing downloaded.
#pragma once

#include <qvmath/cloud/point_cloud.h>
#include <qvmath/core/point3d.h>
#include <qvmath/platform/export.h>

#include <cstdint>
#include <vector>

namespace REmath {

/// A synthetic scan and the truth at each of its points (input order).
struct QVMATH_API CSampleScan {
  /// The noisy points (positions only).
  CPointCloud cloud;
  /// Outward unit normal of the exact surface at the point before the noise was added.
  std::vector<Point3D> trueNormals;
  /// Signed principal curvatures there, k1 >= k2, positive where the surface is convex
  /// seen from outside (the convention of `GetSignedCurvatures` with outward normals).
  std::vector<float> trueK1, trueK2;
  /// Box only: the face (0..5: −x, +x, −y, +y, −z, +z) each point was drawn on; empty for
  /// the torus.
  std::vector<int> trueFace;
};

/// Fills `out` with n points of the torus of major radius R and minor radius r about the
/// z axis, centred at the origin, uniform by area (rejection on the area element
/// R + r·cos θ), each moved by independent Gaussian noise of standard deviation sigma on
/// each coordinate. Points are independent draws, so their order is random. The same
/// arguments give the same points on every platform (a 64-bit Mersenne Twister and the
/// library's own uniform and Gaussian transforms).
/// Truth: k1 = 1/r (around the tube), k2 = cos θ/(R + r·cos θ).
/// @throws std::invalid_argument for n < 0, r <= 0, R <= r or sigma < 0.
QVMATH_API void MakeSampleTorus(int n, double R, double r, double sigma, std::uint64_t seed,
                                CSampleScan& out);

/// Fills `out` with n points on the surface of the axis-aligned box [−sx/2, sx/2] ×
/// [−sy/2, sy/2] × [−sz/2, sz/2], uniform by area over its six faces, with Gaussian noise
/// sigma on each coordinate; reproducible as `MakeSampleTorus`. Truth: the face's outward
/// normal, k1 = k2 = 0, the face index.
/// @throws std::invalid_argument for n < 0, a size <= 0 or sigma < 0.
QVMATH_API void MakeSampleBox(int n, double sx, double sy, double sz, double sigma,
                              std::uint64_t seed, CSampleScan& out);

}  // namespace REmath
