// SPDX-License-Identifier: MIT
// PLY meshes: round trips in every encoding, polygons split into fans, and the faults.
#include <qvmath/cloud/cloud_file_error.h>
#include <qvmath/cloud/ply_io.h>

#include <cstring>
#include <string>
#include <vector>

#include "test_util.h"

using namespace REmath;

namespace {

std::vector<unsigned char> Bytes(const std::string& s) { return {s.begin(), s.end()}; }

TEST(PlyMesh, Properties_RoundTripInEveryEncoding) {
  CTriangleMesh m;
  m.Vertices() = {Point3D(0, 0, 0), Point3D(1.5f, 0, 0), Point3D(0, 1e-7f, 0), Point3D(0, 0, -3)};
  m.Normals() = {Point3D(0, 0, 1), Point3D(0, 1, 0), Point3D(1, 0, 0), Point3D(0, 0, -1)};
  m.Triangles() = {{0, 1, 2}, {0, 2, 3}, {3, 2, 1}};
  for (EPlyEncoding e :
       {EPlyEncoding::BinaryLittleEndian, EPlyEncoding::BinaryBigEndian, EPlyEncoding::Ascii}) {
    std::vector<unsigned char> bytes;
    WritePlyMesh(m, bytes, e);
    CTriangleMesh r;
    ReadPlyMesh(bytes.data(), bytes.size(), r);
    EXPECT_EQ(r.Triangles(), m.Triangles());
    ASSERT_EQ(r.VertexCount(), m.VertexCount());
    EXPECT_EQ(std::memcmp(r.Vertices().data(), m.Vertices().data(), 4 * sizeof(Point3D)), 0);
    EXPECT_EQ(std::memcmp(r.Normals().data(), m.Normals().data(), 4 * sizeof(Point3D)), 0);
  }
}

TEST(PlyMesh, Regions_PolygonsExtraPropertiesAndFaults) {
  const std::string head =
      "ply\nformat ascii 1.0\nelement vertex 4\nproperty float x\nproperty float y\n"
      "property float z\nproperty uchar red\nelement face 2\nproperty uchar flags\n"
      "property list uchar uint vertex_indices\nelement edge 1\nproperty int a\nend_header\n"
      "0 0 0 1\n1 0 0 1\n1 1 0 1\n0 1 0 1\n";
  CTriangleMesh m;
  const auto ok = Bytes(head + "7 4 0 1 2 3\n9 3 2 1 0\n5\n");
  ReadPlyMesh(ok.data(), ok.size(), m);
  const std::vector<CTriangleMesh::Triangle> fan = {{0, 1, 2}, {0, 2, 3}, {2, 1, 0}};
  EXPECT_EQ(m.Triangles(), fan);
  EXPECT_FALSE(m.HasNormals());
  for (const std::string& bad : {head + "7 4 0 1 2 4\n9 3 2 1 0\n5\n",  // index out of range
                                 head + "7 2 0 1\n9 3 2 1 0\n5\n",      // two corners
                                 head + "7 3 0 1 2.5\n9 3 2 1 0\n5\n"}) {
    const auto b = Bytes(bad);
    EXPECT_THROW(ReadPlyMesh(b.data(), b.size(), m), ECloudFileError);
  }
  m.Triangles() = {{0, 1, 9}};
  std::vector<unsigned char> out;
  EXPECT_THROW(WritePlyMesh(m, out), std::invalid_argument);
}

}  // namespace
