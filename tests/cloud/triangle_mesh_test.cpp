// SPDX-License-Identifier: MIT
#include <qvmath/cloud/triangle_mesh.h>

#include <stdexcept>
#include <vector>

#include "test_util.h"

using namespace REmath;

namespace {

CTriangleMesh Mesh(int nv, std::vector<CTriangleMesh::Triangle> tris) {
  CTriangleMesh m;
  for (int i = 0; i < nv; ++i) m.Vertices().emplace_back(float(i), float(i * i), float(i % 3));
  m.Triangles() = std::move(tris);
  return m;
}

}  // namespace

// Hand-counted edge statistics of small meshes.
TEST(TriangleMesh, Regions_EdgeStatsOfSmallMeshes) {
  struct Case {
    const char* name;
    CTriangleMesh mesh;
    std::int64_t edges, boundary, nonManifold, euler;
    int components;
    bool closed;
  } cases[] = {
      {"tetrahedron", Mesh(4, {{0, 2, 1}, {0, 1, 3}, {1, 2, 3}, {0, 3, 2}}), 6, 0, 0, 2, 1, true},
      {"open tetrahedron", Mesh(4, {{0, 2, 1}, {0, 1, 3}, {1, 2, 3}}), 6, 3, 0, 1, 1, false},
      {"fin", Mesh(5, {{0, 1, 2}, {1, 0, 3}, {0, 1, 4}}), 7, 6, 1, 1, 1, false},
      {"two triangles, unused vertex", Mesh(7, {{0, 1, 2}, {3, 4, 5}}), 6, 6, 0, 2, 2, false},
      {"repeated index", Mesh(3, {{0, 1, 1}}), 1, 1, 0, 2, 1, false},
      {"empty", Mesh(3, {}), 0, 0, 0, 0, 0, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const CMeshEdgeStats s = c.mesh.EdgeStats();
    EXPECT_EQ(s.edges, c.edges);
    EXPECT_EQ(s.boundaryEdges, c.boundary);
    EXPECT_EQ(s.nonManifoldEdges, c.nonManifold);
    EXPECT_EQ(s.euler, c.euler);
    EXPECT_EQ(s.components, c.components);
    EXPECT_EQ(s.closed, c.closed);
  }
}

// The invariant: indices in [0, vertex count), normals absent or one per vertex.
TEST(TriangleMesh, Degenerate_InvalidMeshesRejected) {
  for (std::int32_t bad : {3, -1})
    EXPECT_THROW(Mesh(3, {{0, bad, 2}}).EdgeStats(), std::invalid_argument);
  CTriangleMesh m = Mesh(3, {{0, 1, 2}});
  m.Normals().assign(2, Point3D(0, 0, 1));
  EXPECT_THROW(m.CheckValid(), std::invalid_argument);
  m.Normals().emplace_back(0, 0, 1);
  EXPECT_NO_THROW(m.CheckValid());
}
