// SPDX-License-Identifier: MIT
// Whole-cloud curvature: signed principal curvatures, mean and Gaussian curvature and the
// principal directions at every point, from its neighbourhood and its oriented normal.
#pragma once

#include <qvmath/cloud/cloud_index.h>
#include <qvmath/core/point3d.h>
#include <qvmath/platform/export.h>

#include <vector>

class CProgressCounter;

namespace REmath {

/// Parameters of `ComputeCloudCurvatures`. Defaults: k = 30, no radius, one thread.
struct QVMATH_API CCloudCurvatureParams {
  /// Neighbours per point, the point itself included (k-NN mode); at least 6.
  int k = 30;
  /// > 0: the neighbours strictly within this distance instead (at most `maxNeighbours`
  /// when that is > 0).
  float radius = 0.0f;
  int maxNeighbours = 0;
  /// true: the curvature tensor is fitted to the neighbours' normals (the normal-difference
  /// form of `GetSignedCurvatures`), which averages the noise of a scan over the larger
  /// support of those normals: on a noisy scan it is several times more accurate than the
  /// height fit, and it has no truncation bias on spheres and cylinders. Neighbours whose
  /// normal is not valid are left out. false: the height function fitted to the positions.
  bool useNeighbourNormals = true;
  /// Worker threads; 1 runs on the calling thread, < 1 one per hardware thread.
  int nThreads = 1;
};

/// Per-point curvatures in the input order; curvatures in 1/(input units).
struct QVMATH_API CCloudCurvatures {
  /// Signed principal curvatures, k1 >= k2, positive where the surface is convex seen from
  /// the side the normal points to; NaN where invalid.
  std::vector<float> k1, k2;
  /// (k1 + k2)/2 and k1·k2; NaN where invalid.
  std::vector<float> mean, gauss;
  /// Unit principal directions of k1 and k2 (sign arbitrary); (0, 0, 0) where invalid.
  std::vector<Point3D> dir1, dir2;
  /// 1 where valid.
  std::vector<unsigned char> valid;
  /// The number of zeros in `valid`.
  int invalidCount = 0;
};

/// Curvatures of every point of the set indexed by `index` with the oriented `normals`
/// (input order, for example from `ComputeCloudNormals` and `OrientCloudNormals`):
/// `GetSignedCurvatures` on the point's neighbourhood (the point itself first), with the
/// point as origin and its normal, and the neighbours' normals when
/// `params.useNeighbourNormals` is set (for the best accuracy on noisy scans, estimate the
/// normals from about twice as many neighbours as the curvature uses). Invalid: a point that is not
/// indexed, whose normalValid flag is 0, or where `GetSignedCurvatures` fails. Parallel result
/// equals serial result bit for bit.
/// @throws std::invalid_argument for an empty cloud or one without a finite point,
///         normals or normalValid not holding `index.Size()` entries, k < 6 or k above the
///         number of indexed points in k-NN mode; CUserIntrException on cancellation.
QVMATH_API void ComputeCloudCurvatures(const CCloudIndex& index,
                                       const std::vector<Point3D>& normals,
                                       const std::vector<unsigned char>& normalValid,
                                       const CCloudCurvatureParams& params, CCloudCurvatures& out,
                                       CProgressCounter* progress = nullptr);

}  // namespace REmath
