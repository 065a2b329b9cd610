// SPDX-License-Identifier: MIT
// REmath::CTriangleMesh: an indexed triangle mesh with shared vertices and optional vertex
// normals, and its edge statistics (closed, Euler characteristic, boundary and non-manifold
// edges). PLY reading and writing of meshes lives in ply_io.h.
#pragma once

#include <qvmath/core/point3d.h>
#include <qvmath/platform/export.h>

#include <array>
#include <cstdint>
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

/// An indexed triangle mesh: vertex positions, optional per-vertex normals and triangles as
/// three vertex indices each.
///
/// Conventions: a triangle (a, b, c) faces the side of (B − A) × (C − A), its vertices
/// counter-clockwise seen from there; a closed mesh whose triangles face outward is
/// oriented outward (the library's reconstruction builds them so, with unit vertex normals
/// pointing outward). Degenerate triangles (repeated or collinear vertices) are allowed.
/// Invariant checked by `CheckValid` (and by every operation that reads a mesh): the normal
/// vector is empty or holds one normal per vertex, and every index lies in
/// [0, `VertexCount()`). Ownership: a plain value. Thread safety: none of its own.
class QVMATH_API CTriangleMesh {
 public:
  using Triangle = std::array<std::int32_t, 3>;

  /// An empty mesh.
  CTriangleMesh() = default;

  int VertexCount() const { return static_cast<int>(m_vertices.size()); }
  int TriangleCount() const { return static_cast<int>(m_triangles.size()); }
  std::vector<Point3D>& Vertices() { return m_vertices; }
  const std::vector<Point3D>& Vertices() const { return m_vertices; }
  /// @return whether vertex normals are present (the normal vector is not empty).
  bool HasNormals() const { return !m_normals.empty(); }
  std::vector<Point3D>& Normals() { return m_normals; }
  const std::vector<Point3D>& Normals() const { return m_normals; }
  std::vector<Triangle>& Triangles() { return m_triangles; }
  const std::vector<Triangle>& Triangles() const { return m_triangles; }

  /// Reverses the orientation of every triangle (b and c swapped) and negates the vertex
  /// normals.
  void FlipOrientation();
  /// Checks the invariant of the class.
  /// @throws std::invalid_argument naming the first normal count or triangle that breaks it.
  void CheckValid() const;

  /// Counts the edges of the triangles and how many triangles use each; see
  /// `CMeshEdgeStats`. A triangle with a repeated index contributes only its edges between
  /// distinct vertices. O(F log F); allocates.
  /// @throws std::invalid_argument as `CheckValid`.
  CMeshEdgeStats EdgeStats() const;

 private:
  std::vector<Point3D> m_vertices;
  std::vector<Point3D> m_normals;
  std::vector<Triangle> m_triangles;
};

}  // namespace REmath
