// SPDX-License-Identifier: MIT
// Every plane of a cloud in one call: RANSAC proposals from oriented points, region growing
// over the neighbour graph (separate coplanar patches get separate labels) and a
// least-squares refit; a label per point and per plane its equation, fit errors and extent.
#pragma once

#include <qvmath/analysis/plane_equation.h>
#include <qvmath/analysis/plane_limits.h>
#include <qvmath/cloud/cloud_index.h>
#include <qvmath/core/point3d.h>
#include <qvmath/platform/export.h>

#include <cstdint>
#include <vector>

class CProgressCounter;

namespace REmath {

/// Parameters of `FindCloudPlanes`. Defaults: distance derived from the point spacing,
/// 10°, at least 50 points, up to 100 planes, 256 proposals per round scored on up to
/// 20000 points, graph of 8 neighbours, seed 1, one thread.
struct QVMATH_API CCloudPlaneParams {
  /// Largest point-to-plane distance of an inlier; <= 0: 3 × `EstimatePointSpacing`.
  double distance = 0.0;
  /// Largest angle, in radians, between an inlier's normal and the plane's (either sign).
  double maxAngle = 0.17453292519943295;
  /// Smallest number of points of a plane.
  int minPoints = 50;
  /// Largest number of planes reported.
  int maxPlanes = 100;
  /// Proposals per round and the size of the random subset that scores them.
  int proposals = 256;
  int scoreSamples = 20000;
  /// Neighbours per point of the region-growing graph.
  int k = 8;
  /// Seed of the random proposals: the same seed gives the same planes.
  std::uint64_t seed = 1;
  /// Worker threads; 1 runs on the calling thread, < 1 one per hardware thread. The result
  /// does not depend on it.
  int nThreads = 1;
};

/// One plane found in a cloud.
struct QVMATH_API CCloudPlane {
  /// The least-squares plane n·p + d = 0 of its points, unit n (`IPlaneAppoximator`),
  /// oriented along the sum of the points' normals.
  CPlaneEquation equation;
  /// The centroid of its points.
  Point3D_d origin;
  /// The number of points labelled with it.
  int inliers = 0;
  /// Root mean square, mean and largest distance of its points from the plane
  /// (`CalcPlaneFitError` gives the mean and the largest).
  double rmsError = 0, meanError = 0, maxError = 0;
  /// In-plane frame and extent of its points (`CPlaneLimits::DefineAuto`).
  CPlaneLimits limits;
};

/// The planes of a cloud and a label per point.
struct QVMATH_API CCloudPlanes {
  /// Per input point: the index of its plane in `planes`, or -1.
  std::vector<int> labels;
  /// In the order found (large planes tend to come first).
  std::vector<CCloudPlane> planes;
  /// The distance threshold used (the derived one when the parameter was <= 0).
  double distance = 0;
};

/// @return the median distance from a point to its nearest other point, over up to
///         `samples` points taken at evenly spaced sorted positions (a sample that is
///         duplicated counts its next distinct neighbour); 0 for fewer than two indexed
///         points.
QVMATH_API double EstimatePointSpacing(const CCloudIndex& index, int samples = 10000);

/// Finds the planes of the point set indexed by `index`, whose unit normals (oriented or
/// not) are `normals` with flags `normalValid` (input order; for example from
/// `ComputeCloudNormals`).
///
/// Rounds, until `maxPlanes` planes, fewer than `minPoints` unlabelled points, or a round
/// without a plane: (1) proposals: `proposals` unlabelled points with valid normals drawn
/// at random, each proposing the plane through it with its normal, scored by the number of
/// inliers among up to `scoreSamples` random unlabelled points (an inlier is within
/// `distance` of the plane and, when its normal is valid, within `maxAngle` of it); the
/// best proposal wins (ties: the first drawn). (2) Its inliers among all unlabelled points
/// are split into connected pieces of the symmetric k-nearest-neighbour graph; every piece
/// of at least `minPoints` becomes a plane. (3) Refit: the least-squares plane of the
/// piece (`IPlaneAppoximator`); the piece grown again over the graph from its points with
/// that plane replaces it, and the plane is fitted once more to the grown region, unless
/// the grown region has lost more than 1 % of the piece's points: then the refit is
/// rejected and the piece keeps the proposal's plane. (The 1 % lets the refit shed the
/// strip of a neighbouring surface that a slightly tilted proposal picks up along an edge.)
/// Labelled points leave the pool; the inliers of a round that found no plane leave the proposals
/// (three such rounds in a row end the search).
///
/// Deterministic: the random draws are made on the calling thread from a 64-bit Mersenne
/// Twister seeded with `seed`; the parallel parts only count and test. Same seed, same
/// planes, whatever the thread count.
/// Points that are not indexed are labelled -1.
/// @throws std::invalid_argument for an empty cloud or one without a finite point,
///         normals or normalValid not holding `index.Size()` entries, minPoints < 3,
///         k < 1, proposals < 1 or a NaN distance or angle; CUserIntrException on
///         cancellation.
QVMATH_API void FindCloudPlanes(const CCloudIndex& index, const std::vector<Point3D>& normals,
                                const std::vector<unsigned char>& normalValid,
                                const CCloudPlaneParams& params, CCloudPlanes& out,
                                CProgressCounter* progress = nullptr);

}  // namespace REmath
