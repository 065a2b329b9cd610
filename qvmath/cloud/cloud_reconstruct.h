// SPDX-License-Identifier: MIT
// Surface reconstruction: a closed triangle mesh from a scan with oriented normals, by
// polygonizing the signed distance to the tangent planes of the nearest samples and
// placing the vertices on a local quadric fit of the samples.
#pragma once

#include <qvmath/cloud/point_cloud.h>
#include <qvmath/cloud/triangle_mesh.h>
#include <qvmath/platform/export.h>

#include <cstdint>

class CProgressCounter;

namespace REmath {

/// Parameters of `ReconstructCloudMesh`. Defaults: cell size 2 × `EstimatePointSpacing`,
/// a band of 3 cells, 10 blended neighbours, 96 samples per vertex fit, no memory limit,
/// one thread.
struct QVMATH_API CReconstructParams {
  /// Edge of the polygonizer's cubes, in the units of the points; <= 0: `spacingFactor`
  /// times the median nearest-neighbour distance of the samples (`EstimatePointSpacing`).
  double cellSize = 0.0;
  /// The factor of the derived cell size.
  double spacingFactor = 2.0;
  /// Half-width of the band, in cells, where the function is defined: a lattice corner
  /// farther than band × cell from every sample is flagged, so the surface stops there.
  /// Gaps in the scan wider than about twice this stay open; it must exceed √3 (a cube's
  /// diagonal) for the band to hold the cubes the surface crosses.
  double band = 3.0;
  /// Samples whose tangent planes are blended at each evaluation (1..64).
  int neighbours = 10;
  /// Samples of the quadric fit that finally places each mesh vertex (6..128); 0 keeps
  /// the vertices where the polygonizer put them.
  int fitNeighbours = 96;
  /// Largest estimated working memory in bytes; <= 0: no limit.
  std::int64_t maxMemory = 0;
  /// Worker threads of the vertex fit and the sample-to-mesh distances; 1 runs on the calling
  /// thread, < 1 one per hardware thread. The polygonization itself is serial.
  int nThreads = 1;
};

/// What `ReconstructCloudMesh` did and what the mesh is.
struct QVMATH_API CReconstructReport {
  /// The cell size used (given or derived) and the spacing estimate (0 when not needed).
  double cellSize = 0.0;
  double pointSpacing = 0.0;
  /// The memory estimate checked against `maxMemory`, in bytes.
  std::int64_t estimatedBytes = 0;
  /// Samples used: finite positions with a finite normal of non-zero length.
  int samplesUsed = 0;
  /// Polygonizer runs that produced triangles (one per piece of the scan, normally).
  int pieces = 0;
  /// Edge statistics of the mesh: closed, Euler characteristic, boundary and non-manifold
  /// edges, connected components.
  CMeshEdgeStats edges;
  /// Distances from the used samples to the mesh: mean, root mean square and largest
  /// (0 when the mesh is empty). See `ReconstructCloudMesh` for how they are found.
  double meanDistance = 0.0;
  double rmsDistance = 0.0;
  double maxDistance = 0.0;
};

/// The working-memory estimate `ReconstructCloudMesh` checks against `maxMemory`, in bytes:
/// 200 bytes per expected triangle (about 10 per area h² of a randomly sampled surface of
/// 4.53·N·s², s the median nearest-neighbour spacing; h when s <= 0) plus 100 bytes per
/// sample. For hosts that want to refuse a job before preparing its normals. Saturates at
/// 9e18; a non-positive cell size gives that saturated value.
QVMATH_API std::int64_t EstimateReconstructBytes(int samples, double spacing, double cellSize);

/// Reconstructs a triangle mesh into `mesh` from the samples of `cloud` and their normals,
/// which must be consistently oriented (toward the outside; `OrientCloudNormals`).
///
/// The surface is the zero set of f(p) = Σ wᵢ nᵢ·(p − xᵢ) / Σ wᵢ over the `neighbours`
/// samples xᵢ nearest to p, with unit normals nᵢ and weights wᵢ = exp(−(|p − xᵢ|² − d₀²) / h²)
/// (h the cell size, d₀ the nearest distance): the blended signed distance to their tangent
/// planes, positive outside. f is defined only within band × h of the samples; beyond, the
/// polygonizer is told to stop, so no surface appears away from the data, and a hole in
/// the scan wider than the band stays a hole with a boundary instead of a cap.
///
/// Vertex placement: the polygonizer puts each vertex on the zero set of f by bisection
/// along a lattice edge; f averages only a few samples, so it keeps much of their noise, and
/// it sags by about κ d²/2 on a surface of curvature κ. Unless `fitNeighbours` is 0, each
/// vertex v with normal n then moves along n onto the height field z = a + b u + c t +
/// d u² + e u t + f t² fitted by weighted least squares, in a frame (u, t, n) at v, to its
/// `fitNeighbours` nearest samples (those whose normal faces away from n are left out:
/// another sheet), with weights 1 − |x − v|²/ρ² (ρ the farthest one's distance: a sample
/// enters and leaves the fit at weight 0, so the result is continuous in v); its normal
/// becomes the fit's. Over 96 samples this removes the sag and averages the noise: on a
/// noisy scan the vertices lie about half as far from the true surface as without it.
/// A vertex stays put when the samples' weighted centre lies half of ρ or more off it in
/// the tangent plane (past the rim of a hole, where the fit would extrapolate), when fewer
/// than 6 samples face its way, or when the fit would move it by a cell or more. A triangle
/// the fit would turn over (a sliver by a lattice corner) gets its vertices back.
///
/// Polygonization: `pzProcess::polygonize` by continuation, seeded at a sample; when that
/// piece is done, the samples within 1.5 h of its vertices count as covered and the next
/// uncovered sample (in Morton order) seeds the next piece, until every sample is covered,
/// so every connected piece of the scan is found. The mesh's vertices are the polygonizer's
/// shared vertices, placed as above, with their normals; its triangles are counter-clockwise seen
/// from outside. A closed, well-sampled surface gives a closed 2-manifold.
///
/// Memory: the estimate, an upper-side one for random sampling, is about 200 bytes per
/// expected triangle (10 triangles per area h² of a surface of 4.5 N s², s the spacing) plus 100
/// bytes per sample; it is checked before any polygonization.
///
/// Distances of the samples: for each used sample, the least distance to the triangles
/// around its 8 nearest mesh vertices (`distancePointTriangle2`), exact for a sample close
/// to a mesh finer than the sampling, in parallel over `nThreads`.
///
/// Progress: index 0–5%, polygonization 5–75% (against the expected triangle count), the
/// vertex fit 75–85%, the distances 85–100%.
/// @param[out] mesh replaced by the result; unspecified after an exception.
/// @param[out] report filled on success; unspecified after an exception.
/// @throws std::invalid_argument "reconstruct: ..." when the cloud has no normals or breaks
///         its size invariant, has no usable sample, neighbours is outside 1..64, fitNeighbours is
///         neither 0 nor in 6..128, the band is not above √3, or the cell size is not finite or
///         cannot be derived (fewer than two distinct samples); std::length_error "reconstruct:
///         estimated memory of N MB exceeds the limit of M MB" before any work when the estimate
///         exceeds `maxMemory`; std::bad_alloc when the polygonizer runs out of memory;
///         CUserIntrException when the progress callback or the stop flag cancels.
/// Threading: `pzProcess::polygonize` reseeds the process-wide rand() with srand(1) at
/// every piece; serialise calls with other users of rand() when their sequence matters.
QVMATH_API void ReconstructCloudMesh(const CPointCloud& cloud, const CReconstructParams& params,
                                     CTriangleMesh& mesh, CReconstructReport& report,
                                     CProgressCounter* progress = nullptr);

}  // namespace REmath
