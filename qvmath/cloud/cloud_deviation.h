// SPDX-License-Identifier: MIT
// Scan-to-mesh deviation: per point of a cloud the signed distance to a triangle mesh, the
// nearest point and the nearest triangle, with summary statistics and a histogram.
#pragma once

#include <qvmath/cloud/point_cloud.h>
#include <qvmath/cloud/triangle_mesh.h>
#include <qvmath/core/point3d.h>
#include <qvmath/platform/export.h>

#include <vector>

class CProgressCounter;

namespace REmath {

/// Parameters of `ComputeCloudDeviation`. Defaults: one thread, tolerance 0, 32 bins over
/// the range of the data.
struct QVMATH_API CDeviationParams {
  /// Worker threads; 1 runs on the calling thread, < 1 one per hardware thread.
  int nThreads = 1;
  /// The statistics count the share of valid points with |distance| <= tolerance.
  float tolerance = 0.0f;
  /// Number of histogram bins (at least 1).
  int histogramBins = 32;
  /// Histogram range [histogramMin, histogramMax]; when not histogramMin < histogramMax
  /// (the default 0, 0 included) the range of the valid signed distances is used.
  float histogramMin = 0.0f;
  float histogramMax = 0.0f;
};

/// Summary of signed distances, over the valid (finite) ones only.
struct QVMATH_API CDeviationStats {
  int validCount = 0;          ///< finite distances
  int invalidCount = 0;        ///< NaN distances (points that could not be measured)
  double mean = 0;             ///< mean signed distance
  double meanAbs = 0;          ///< mean of |distance|
  double rms = 0;              ///< root of the mean squared distance
  double maxAbs = 0;           ///< largest |distance|
  double minSigned = 0;        ///< least signed distance
  double maxSigned = 0;        ///< largest signed distance
  double withinTolerance = 0;  ///< share of valid points with |distance| <= tolerance, in [0, 1]
  /// Counts per bin; bin k covers [lo + k·w, lo + (k+1)·w) with w = (hi − lo)/bins, the last
  /// bin closed at hi; distances outside [lo, hi] count in the end bins.
  std::vector<int> histogram;
  double histogramMin = 0;  ///< lo
  double histogramMax = 0;  ///< hi
};

/// The per-point results of `ComputeCloudDeviation`, in the input order of the points.
struct QVMATH_API CCloudDeviation {
  /// Signed distance to the mesh; NaN for a point with a NaN or infinite coordinate.
  std::vector<float> distance;
  /// The nearest point of the mesh; NaN coordinates where the distance is NaN.
  std::vector<Point3D> nearest;
  /// Index of the nearest triangle; −1 where the distance is NaN.
  std::vector<int> triangle;
  CDeviationStats stats;
};

/// Summarises `distance` (NaN entries counted as invalid and left out): the sums in double
/// in index order, so the result depends on the values only.
/// @throws std::invalid_argument when params.histogramBins < 1.
QVMATH_API void ComputeDeviationStats(const std::vector<float>& distance,
                                      const CDeviationParams& params, CDeviationStats& stats);

/// Measures every point of `cloud` against `mesh`: the nearest triangle through a
/// bounding-volume hierarchy over the triangles, each candidate measured by the library's
/// point-to-triangle query (the float arithmetic of `distancePointTriangle2`, whose foot is
/// the nearest point); then the statistics of `ComputeDeviationStats`.
///
/// Nearest triangle: the least squared distance; among equal distances the lowest triangle
/// index. Triangles whose corners hold NaN are never nearest; degenerate triangles are
/// measured as their edges.
/// Sign: the distance is negative when (p − nearest)·((B − A) × (C − A)) < 0 for the nearest
/// triangle A, B, C, that is behind the triangle's front side (inside a closed mesh oriented
/// outward); zero products (points on the mesh, degenerate triangles) count as positive.
/// Flipping the mesh's orientation flips every nonzero sign. Near an edge or vertex where
/// the triangles meet at a sharp angle the sign is that of the one triangle chosen.
///
/// Parallel result equals serial result bit for bit: each point is measured on its own.
/// Progress goes to `progress` (null: none) over its current phase: the hierarchy the first
/// 5 %, the points the rest. Memory: about 60 bytes per triangle for the hierarchy beside `out`.
/// @throws std::invalid_argument for a mesh without triangles ("deviation: the mesh has no
///         triangles"), a mesh that fails `CheckValid` or a bin count below 1;
///         CUserIntrException on cancellation (callback or process-wide stop event).
///         `out` is then unspecified.
QVMATH_API void ComputeCloudDeviation(const CPointCloud& cloud, const CTriangleMesh& mesh,
                                      const CDeviationParams& params, CCloudDeviation& out,
                                      CProgressCounter* progress = nullptr);

}  // namespace REmath
