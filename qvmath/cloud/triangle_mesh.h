// SPDX-License-Identifier: MIT
// REmath::CTriangleMesh: an indexed triangle mesh with shared vertices and vertex normals,
// its edge statistics (closed, Euler characteristic, boundary and non-manifold edges) and
// PLY output with a face list.
#pragma once

#include <qvmath/cloud/ply_io.h>
#include <qvmath/core/point3d.h>
#include <qvmath/platform/export.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace REmath {

/// Edge statistics of a `CTriangleMesh`, from `CTriangleMesh::EdgeStats`.
///
/// An edge is an unordered pair of distinct vertex indices used by at least one triangle;
/// a boundary edge is used by exactly one triangle, a non-manifold edge by three or more.
struct QVMATH_API CMeshEdgeStats {
  /// Number of edges.
  std::int64_t edges = 0;
  /// Edges used by exactly one triangle.
  std::int64_t boundaryEdges = 0;
  /// Edges used by three or more triangles.
  std::int64_t nonManifoldEdges = 0;
  /// V − E + F, V counting only the vertices some triangle uses: 2 for a closed sphere-like
  /// piece, 0 for a torus, summed over the connected pieces.
  std::int64_t euler = 0;
  /// Connected pieces (triangles joined through shared vertices).
  int components = 0;
  /// True when there is at least one triangle and every edge is used by exactly two.
  bool closed = false;
};

/// An indexed triangle mesh: vertex positions, optional unit vertex normals (empty or one per
/// vertex) and triangles of three vertex indices.
///
/// Conventions: a triangle (a, b, c) is counter-clockwise seen from the side its right-hand
/// normal (b − a) × (c − a) points to, the outside of a closed mesh made by the library.
/// Ownership: a plain value. Thread safety: none of its own.
class QVMATH_API CTriangleMesh {
 public:
  /// The vertex positions.
  std::vector<Point3D> vertices;
  /// Unit vertex normals: empty or one per vertex.
  std::vector<Point3D> normals;
  /// The triangles, three indices into `vertices` each.
  std::vector<std::array<std::int32_t, 3>> triangles;

  /// Checks that `normals` is empty or as long as `vertices` and that every index lies in
  /// [0, vertices.size()).
  /// @throws std::invalid_argument naming the first triangle or attribute that breaks it.
  void CheckIndices() const;

  /// Counts the edges of the triangles and how many triangles use each; see
  /// `CMeshEdgeStats`. A triangle with a repeated index contributes only its edges between
  /// distinct vertices. O(F log F); allocates.
  /// @throws std::invalid_argument as `CheckIndices`.
  CMeshEdgeStats EdgeStats() const;
};

/// Writes `mesh` as a PLY file into `out` (replacing its contents): a `vertex` element with
/// `float x y z` (and `float nx ny nz` when the mesh has normals), then a `face` element
/// with `property list uchar int vertex_indices`, three indices per triangle. ASCII values
/// are written in the shortest form that reads back to the same float. `ReadPlyCloud` reads
/// the vertices of such a file back (the faces are skipped).
/// @throws std::invalid_argument as `CTriangleMesh::CheckIndices`.
QVMATH_API void WritePlyMesh(const CTriangleMesh& mesh, std::vector<unsigned char>& out,
                             EPlyEncoding encoding = EPlyEncoding::BinaryLittleEndian);

/// Writes `mesh` to the file `path` as `WritePlyMesh` does (created or truncated).
/// @throws ECloudFileError "<path>: <problem>" when the file cannot be written;
///         std::invalid_argument as `WritePlyMesh`.
QVMATH_API void WritePlyMeshFile(const std::string& path, const CTriangleMesh& mesh,
                                 EPlyEncoding encoding = EPlyEncoding::BinaryLittleEndian);

}  // namespace REmath
