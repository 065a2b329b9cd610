// SPDX-License-Identifier: MIT
#include <qvmath/cloud/triangle_mesh.h>

#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "test_util.h"

using namespace REmath;

namespace {

CTriangleMesh Mesh(int nv, std::vector<std::array<std::int32_t, 3>> tris) {
  CTriangleMesh m;
  for (int i = 0; i < nv; ++i) m.vertices.emplace_back(float(i), float(i * i), float(i % 3));
  m.triangles = std::move(tris);
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
  for (std::int32_t bad : {3, -1})
    EXPECT_THROW(Mesh(3, {{0, bad, 2}}).EdgeStats(), std::invalid_argument);
}

// Every encoding reads back to the same vertices and normals; the faces follow as lists of
// three int32 indices in the file's byte order.
TEST(TriangleMesh, Properties_PlyRoundTrip) {
  CTriangleMesh m = Mesh(4, {{0, 2, 1}, {0, 1, 3}, {1, 2, 3}, {0, 3, 2}});
  for (int i = 0; i < 4; ++i) m.normals.emplace_back(0.1f * float(i), 1.0f / 3.0f, -0.5f);
  for (EPlyEncoding enc :
       {EPlyEncoding::Ascii, EPlyEncoding::BinaryLittleEndian, EPlyEncoding::BinaryBigEndian}) {
    std::vector<unsigned char> bytes;
    WritePlyMesh(m, bytes, enc);
    CPointCloud back;
    ReadPlyCloud(bytes.data(), bytes.size(), back);
    ASSERT_EQ(back.Size(), 4);
    for (int i = 0; i < 4; ++i) {
      EXPECT_EQ(std::memcmp(&back.Positions()[i], &m.vertices[i], 12), 0);
      EXPECT_EQ(std::memcmp(&back.Normals()[i], &m.normals[i], 12), 0);
    }
    const std::string text(bytes.begin(), bytes.end());
    ASSERT_NE(text.find("element face 4\nproperty list uchar int vertex_indices\n"),
              std::string::npos);
    if (enc == EPlyEncoding::Ascii) {
      EXPECT_EQ(text.substr(text.size() - 8), "3 0 3 2\n");
    } else {
      const unsigned char* last = bytes.data() + bytes.size() - 13;
      EXPECT_EQ(last[0], 3);
      EXPECT_EQ(enc == EPlyEncoding::BinaryLittleEndian ? last[9] : last[12], 2);
    }
  }
  m.normals.pop_back();
  EXPECT_THROW(WritePlyMeshFile("unwritten.ply", m), std::invalid_argument);
}
