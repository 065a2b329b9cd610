// SPDX-License-Identifier: MIT
// Whole-cloud normal estimation: a normal, a validity flag and the surface variation per
// point from its k nearest neighbours or its neighbours within a radius, in parallel.
#pragma once

#include <qvmath/analysis/quadric_normal.h>
#include <qvmath/cloud/cloud_index.h>
#include <qvmath/cloud/point_cloud.h>
#include <qvmath/core/point3d.h>
#include <qvmath/platform/export.h>

#include <vector>

class CProgressCounter;

namespace REmath {

/// How the normal of a neighbourhood is fitted.
enum class ECloudNormalMethod : int {
  Covariance,  ///< `GetNormal`: the smallest-eigenvalue direction of the scatter matrix
  Quadric      ///< `GetNormal2`: the normal of a quadric fitted about the point
};

/// Parameters of `ComputeCloudNormals`. Defaults: covariance, k = 16, no radius, one
/// thread, default quadric parameters.
struct QVMATH_API CCloudNormalParams {
  ECloudNormalMethod method = ECloudNormalMethod::Covariance;
  /// Neighbours per point, the point itself included (k-NN mode). At least 3 (covariance)
  /// or `quadric.q_size()` (quadric).
  int k = 16;
  /// > 0: use the neighbours strictly within this distance instead of the k nearest.
  float radius = 0.0f;
  /// Radius mode only: > 0 keeps at most this many nearest neighbours of each point.
  int maxNeighbours = 0;
  /// Worker threads; 1 runs on the calling thread, < 1 one per hardware thread.
  int nThreads = 1;
  /// Parameters of the quadric fit (`ECloudNormalMethod::Quadric`).
  CGetNormal2Prms quadric;
};

/// Per-point normals of a cloud, in the input order.
struct QVMATH_API CCloudNormals {
  /// Unit normals, unoriented (the sign the eigen-solver gives); (0, 0, 0) where invalid.
  std::vector<Point3D> normals;
  /// Surface variation λmin/(λ0 + λ1 + λ2) of the neighbourhood's scatter matrix, as
  /// `GetAnisotropy` computes it: 0 on a plane, 1/3 for an isotropic blob; NaN where invalid.
  std::vector<float> surfaceVariation;
  /// 1 where the normal is valid, 0 where not.
  std::vector<unsigned char> valid;
  /// The number of zeros in `valid`.
  int invalidCount = 0;
};

/// Estimates the normal of every point of the point set indexed by `index` (all `Size()`
/// input points; results in input order).
///
/// Neighbourhood: the point's k nearest indexed points (itself included), or with
/// `radius` > 0 those strictly within the radius (at most `maxNeighbours`). Covariance
/// method: the eigenvector of the smallest eigenvalue of the neighbourhood's scatter
/// matrix, exactly as `GetNormal` and `GetAnisotropy` compute them (one shared
/// diagonalisation), normalised. Quadric method: `GetNormal2` with `params.quadric` and
/// the point itself first; the surface variation is its anisotropy output.
///
/// Invalid (flag 0, normal 0, variation NaN): points with a NaN or infinite coordinate;
/// neighbourhoods of fewer than 3 points (covariance) or that `GetNormal2` refuses
/// (quadric); coincident or collinear neighbourhoods, whose middle eigenvalue is at most
/// 1e-10 of the largest (duplicate points alone, or points on a line, fix no normal);
/// a failed eigen-iteration.
///
/// Parallel result equals serial result bit for bit: each point's result depends only on
/// its neighbourhood. Progress goes to `progress` (null: none) over its current phase.
/// @throws std::invalid_argument when the index holds no point ("empty cloud"), no finite
///         point, k is below the method's minimum in k-NN mode, or k exceeds the number
///         of indexed points (the message gives both numbers); CUserIntrException on
///         cancellation (callback or process-wide stop event). `out` is then unspecified.
QVMATH_API void ComputeCloudNormals(const CCloudIndex& index, const CCloudNormalParams& params,
                                    CCloudNormals& out, CProgressCounter* progress = nullptr);

/// Builds a `CCloudIndex` over `cloud` (the first 10 % of the progress) and estimates the
/// normals as above.
QVMATH_API void ComputeCloudNormals(const CPointCloud& cloud, const CCloudNormalParams& params,
                                    CCloudNormals& out, CProgressCounter* progress = nullptr);

}  // namespace REmath
