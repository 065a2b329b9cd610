// SPDX-License-Identifier: MIT
// Orientation of whole-cloud normals: towards a viewpoint, along a direction, or
// consistently over the surface by a minimum spanning tree of the neighbour graph.
#pragma once

#include <qvmath/cloud/cloud_index.h>
#include <qvmath/core/point3d.h>
#include <qvmath/platform/export.h>

#include <vector>

class CProgressCounter;

namespace REmath {

/// The orientation rule of `OrientCloudNormals`.
enum class ECloudOrientation : int {
  TowardViewpoint,  ///< n·(viewpoint − p) >= 0
  AlongDirection,   ///< n·direction >= 0
  SpanningTree      ///< consistent over each connected piece (see `OrientCloudNormals`)
};

/// Parameters of `OrientCloudNormals`. Defaults: spanning tree over 16 neighbours, viewpoint
/// at the origin, direction and flat-piece hint +z, one thread.
struct QVMATH_API CCloudOrientParams {
  ECloudOrientation mode = ECloudOrientation::SpanningTree;
  Point3D_d viewpoint = Point3D_d(0.0, 0.0, 0.0);
  Point3D_d direction = Point3D_d(0.0, 0.0, 1.0);
  /// Spanning tree: the neighbour graph joins each point to its k nearest (symmetrised).
  int k = 16;
  /// Spanning tree: the side taken by a piece that is flat (see `OrientCloudNormals`).
  Point3D_d flatHint = Point3D_d(0.0, 0.0, 1.0);
  /// Worker threads for the neighbour graph; 1 runs on the calling thread, < 1 one per
  /// hardware thread. The result does not depend on it.
  int nThreads = 1;
};

/// Flips normals (input order, as `ComputeCloudNormals` gives them) so that they are
/// oriented by `params.mode`; entries with valid[i] == 0 are neither read nor changed.
///
/// Viewpoint and direction: each valid normal is negated where its dot product with
/// (viewpoint − p), resp. `direction`, is negative (0 keeps it).
///
/// Spanning tree: the graph joins every valid point to its k nearest valid-or-not indexed
/// neighbours that have valid normals, made symmetric; edge (i, j) weighs 1 − |nᵢ·nⱼ|.
/// Each connected piece is oriented separately: its seed is the point with the largest
/// |(p − c)·n| (c the piece's centroid; ties to the lowest input index), whose normal is
/// turned away from c, which orients a closed surface outward; when that largest value is
/// at most 1 % of the piece's RMS radius (a flat piece), the seed's normal is turned along
/// `flatHint` instead. The orientation then spreads along the maximum-alignment spanning
/// tree (Prim's algorithm from the seed, an indexed heap of the library), each point taking
/// the side of the tree neighbour it was reached from. Memory is O(N·k): the neighbour
/// lists, their reverse, and O(N) for the tree. The result is deterministic and does not
/// depend on the thread count.
/// @return the number of normals flipped.
/// @throws std::invalid_argument when normals or valid do not hold `index.Size()` entries,
///         or in spanning-tree mode k < 1 (k larger than the cloud is reduced to it);
///         CUserIntrException on cancellation. The normals are then unspecified.
QVMATH_API int OrientCloudNormals(const CCloudIndex& index, const CCloudOrientParams& params,
                                  std::vector<Point3D>& normals,
                                  const std::vector<unsigned char>& valid,
                                  CProgressCounter* progress = nullptr);

}  // namespace REmath
