// SPDX-License-Identifier: MIT
// Every plane of a cloud in one call: RANSAC proposals (from oriented points, or from random
// triples when there are no normals), connected pieces of the inliers on a uniform grid
// (separate coplanar patches get separate labels) and a least-squares refit; a label per
// point and per plane its equation, fit errors and extent.
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

/// Parameters of `FindCloudPlanes`. Defaults: distance 3 × and connection 4 × the point
/// spacing, 10°, at least 50 points, up to 100 planes, 256 proposals per round scored on up
/// to 20000 points, seed 1, one thread.
struct QVMATH_API CCloudPlaneParams {
  /// Largest point-to-plane distance of an inlier; <= 0: 3 × `EstimatePointSpacing`.
  double distance = 0.0;
  /// Largest angle, in radians, between an inlier's normal and the plane's (either sign);
  /// unused without normals.
  double maxAngle = 0.17453292519943295;
  /// Smallest number of points of a plane.
  int minPoints = 50;
  /// Largest number of planes reported.
  int maxPlanes = 100;
  /// Proposals per round and the size of the random subset that scores them.
  int proposals = 256;
  int scoreSamples = 20000;
  /// Connection distance: the edge of the grid cells that split inliers into connected
  /// pieces. Inliers closer than it always share a piece; a gap wider than 2·√3 times it
  /// always separates two pieces. <= 0: 4 × `EstimatePointSpacing`.
  double connection = 0.0;
  /// Seed of the random proposals: the same seed gives the same planes.
  std::uint64_t seed = 1;
  /// Worker threads; 1 runs on the calling thread, < 1 one per hardware thread. The result
  /// does not depend on it.
  int nThreads = 1;
};

/// One plane found in a cloud.
struct QVMATH_API CCloudPlane {
  /// The least-squares plane n·p + d = 0 of its points, unit n (`IPlaneAppoximator`),
  /// oriented along the sum of the points' normals (without normals: the sign the
  /// approximator's eigenvector comes with).
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
  /// The distance threshold and the connection distance used (the derived ones when the
  /// parameters were <= 0).
  double distance = 0, connection = 0;
};

/// @return the median distance from a point to its nearest other point, over up to
///         `samples` points taken at evenly spaced sorted positions (a sample that is
///         duplicated counts its next distinct neighbour); 0 for fewer than two indexed
///         points.
QVMATH_API double EstimatePointSpacing(const CCloudIndex& index, int samples = 10000);

/// Finds the planes of the point set indexed by `index`, whose unit normals (oriented or
/// not) are `normals` with flags `normalValid` (input order; for example from
/// `ComputeCloudNormals`). Two empty vectors mean "no normals": planes are then found from
/// the positions alone.
///
/// Rounds, until `maxPlanes` planes, fewer than `minPoints` unlabelled points, or three
/// rounds in a row without a plane:
/// (1) Proposals: with normals, `proposals` unlabelled points with valid normals drawn at
/// random, each proposing the plane through it with its normal; without normals, the planes
/// through `proposals` triples of unlabelled points drawn at random (a triple whose
/// triangle has a sine of its angle at the first point below 1e-6 is drawn again, up to 16
/// times). Each is scored by the number of inliers among up to `scoreSamples` random
/// unlabelled points; the best wins (ties: the first drawn). An inlier lies within
/// `distance` of the plane and, when its normal is valid, within `maxAngle` of it.
/// (2) Pieces: the proposal's inliers among all unlabelled points are split into connected
/// pieces on a grid of cells of edge `connection` (connected components of the occupied
/// cells, 26-neighbourhood; cost linear in the inliers); every piece of at least
/// `minPoints` becomes a plane, pieces in the order of their first point in the index's
/// sorted order.
/// (3) Refit: the least-squares plane of the piece (`IPlaneAppoximator`); the region grown
/// with that plane (the connected pieces of its inliers that hold a point of the piece that
/// passes the test) replaces the piece, and the plane is fitted once more to the region,
/// unless the region has lost more than 1 % of the piece's points: then the refit is
/// rejected and the piece keeps the proposal's plane. (The 1 % lets the refit shed the strip
/// of a neighbouring surface that a slightly tilted proposal picks up along an edge.)
/// The angle test applies in the refit too: with normals, the edges between faces stay
/// clean (a strip of the neighbouring face within `distance` is left to that face), at the
/// cost of the plane's own points whose normals are noisier than `maxAngle`; without
/// normals, every point within `distance` joins, and a plane keeps all of its noisy points
/// but also takes such strips along its edges.
/// Labelled points leave the pool; the inliers of a round that found no plane leave the
/// proposals.
///
/// Deterministic: the random draws are made on the calling thread from a 64-bit Mersenne
/// Twister seeded with `seed`; the parallel parts only count and test. Same seed, same
/// planes, whatever the thread count. No allocation per point: the working storage is
/// sized once per call and reused by every round.
/// Points that are not indexed are labelled -1.
/// @throws std::invalid_argument for an empty cloud or one without a finite point,
///         normals or normalValid not holding `index.Size()` entries (unless both are
///         empty), minPoints < 3, proposals < 1 or a NaN distance, connection or angle;
///         CUserIntrException on cancellation.
QVMATH_API void FindCloudPlanes(const CCloudIndex& index, const std::vector<Point3D>& normals,
                                const std::vector<unsigned char>& normalValid,
                                const CCloudPlaneParams& params, CCloudPlanes& out,
                                CProgressCounter* progress = nullptr);

}  // namespace REmath
