// SPDX-License-Identifier: MIT
#include <qvmath/cloud/triangle_mesh.h>

#include <qvmath/cloud/detail/field_types.h>
#include <qvmath/cloud/detail/file_bytes.h>

#include <algorithm>
#include <numeric>
#include <stdexcept>

namespace REmath {

namespace {

// Union-find root with path halving.
std::int32_t Root(std::vector<std::int32_t>& parent, std::int32_t v) {
  while (parent[std::size_t(v)] != v) {
    parent[std::size_t(v)] = parent[std::size_t(parent[std::size_t(v)])];
    v = parent[std::size_t(v)];
  }
  return v;
}

}  // namespace

void CTriangleMesh::CheckIndices() const {
  if (!normals.empty() && normals.size() != vertices.size())
    throw std::invalid_argument("mesh: normals and vertices differ in number");
  const auto nv = static_cast<std::int64_t>(vertices.size());
  for (std::size_t t = 0; t < triangles.size(); ++t)
    for (std::int32_t v : triangles[t])
      if (v < 0 || v >= nv)
        throw std::invalid_argument("mesh: triangle " + std::to_string(t) +
                                    " has a vertex index out of range");
}

CMeshEdgeStats CTriangleMesh::EdgeStats() const {
  CheckIndices();
  CMeshEdgeStats s;
  // Each edge as one 64-bit key (smaller index high): sorting brings the uses of an edge
  // together, so the counts need no hash table.
  std::vector<std::uint64_t> keys;
  keys.reserve(triangles.size() * 3);
  std::vector<std::int32_t> parent(vertices.size());
  std::iota(parent.begin(), parent.end(), 0);
  std::vector<char> used(vertices.size(), 0);
  for (const auto& t : triangles) {
    const std::size_t first = keys.size();
    for (int e = 0; e < 3; ++e) {
      std::int32_t a = t[std::size_t(e)], b = t[std::size_t((e + 1) % 3)];
      used[std::size_t(a)] = 1;
      if (a == b) continue;
      if (a > b) std::swap(a, b);
      const std::uint64_t key = std::uint64_t(std::uint32_t(a)) << 32 | std::uint32_t(b);
      // A triangle with a repeated index runs along its one edge twice: count it once.
      if (keys.size() > first && keys[first] == key) continue;
      keys.push_back(key);
      const std::int32_t ra = Root(parent, a), rb = Root(parent, b);
      if (ra != rb) parent[std::size_t(ra)] = rb;
    }
  }
  std::sort(keys.begin(), keys.end());
  for (std::size_t i = 0; i < keys.size();) {
    std::size_t j = i + 1;
    while (j < keys.size() && keys[j] == keys[i]) ++j;
    ++s.edges;
    if (j - i == 1) ++s.boundaryEdges;
    if (j - i >= 3) ++s.nonManifoldEdges;
    i = j;
  }
  std::int64_t nv = 0;
  for (std::size_t v = 0; v < vertices.size(); ++v) {
    if (!used[v]) continue;
    ++nv;
    if (Root(parent, std::int32_t(v)) == std::int32_t(v)) ++s.components;
  }
  s.euler = nv - s.edges + static_cast<std::int64_t>(triangles.size());
  s.closed = !triangles.empty() && s.boundaryEdges == 0 && s.nonManifoldEdges == 0;
  return s;
}

void WritePlyMesh(const CTriangleMesh& mesh, std::vector<unsigned char>& out,
                  EPlyEncoding encoding) {
  mesh.CheckIndices();
  const bool hasNormals = !mesh.normals.empty();
  std::string h = "ply\nformat ";
  h += encoding == EPlyEncoding::Ascii               ? "ascii"
       : encoding == EPlyEncoding::BinaryBigEndian ? "binary_big_endian"
                                                   : "binary_little_endian";
  h += " 1.0\ncomment written by QVmath\nelement vertex " +
       std::to_string(mesh.vertices.size()) + "\n";
  h += "property float x\nproperty float y\nproperty float z\n";
  if (hasNormals) h += "property float nx\nproperty float ny\nproperty float nz\n";
  h += "element face " + std::to_string(mesh.triangles.size()) + "\n";
  h += "property list uchar int vertex_indices\nend_header\n";
  out.assign(h.begin(), h.end());
  const std::size_t nv = mesh.vertices.size(), nt = mesh.triangles.size();
  if (encoding == EPlyEncoding::Ascii) {
    std::string line;
    auto put3 = [&](const Point3D& p) {
      detail::AppendFloat(line, p.x()); line += ' ';
      detail::AppendFloat(line, p.y()); line += ' ';
      detail::AppendFloat(line, p.z()); line += ' ';
    };
    for (std::size_t k = 0; k < nv; ++k) {
      line.clear();
      put3(mesh.vertices[k]);
      if (hasNormals) put3(mesh.normals[k]);
      line.back() = '\n';
      out.insert(out.end(), line.begin(), line.end());
    }
    for (const auto& t : mesh.triangles) {
      line = "3 " + std::to_string(t[0]) + ' ' + std::to_string(t[1]) + ' ' +
             std::to_string(t[2]) + '\n';
      out.insert(out.end(), line.begin(), line.end());
    }
    return;
  }
  const bool swap = (encoding == EPlyEncoding::BinaryLittleEndian) != detail::HostIsLittleEndian();
  const std::size_t rec = hasNormals ? 24 : 12;
  std::size_t at = out.size();
  out.resize(at + rec * nv + 13 * nt);
  unsigned char* p = out.data() + at;
  const auto f32 = ECloudFieldType::Float32;
  auto put3 = [&](const Point3D& q) {
    detail::EncodeValue(q.x(), f32, swap, p);
    detail::EncodeValue(q.y(), f32, swap, p + 4);
    detail::EncodeValue(q.z(), f32, swap, p + 8);
    p += 12;
  };
  for (std::size_t k = 0; k < nv; ++k) {
    put3(mesh.vertices[k]);
    if (hasNormals) put3(mesh.normals[k]);
  }
  for (const auto& t : mesh.triangles) {
    *p++ = 3;
    for (std::int32_t v : t) {
      detail::EncodeValue(v, ECloudFieldType::Int32, swap, p);
      p += 4;
    }
  }
}

void WritePlyMeshFile(const std::string& path, const CTriangleMesh& mesh,
                      EPlyEncoding encoding) {
  std::vector<unsigned char> bytes;
  WritePlyMesh(mesh, bytes, encoding);
  detail::WriteFileBytes(path, bytes.data(), bytes.size());
}

}  // namespace REmath
