// SPDX-License-Identifier: MIT
#include <qvmath/cloud/triangle_mesh.h>

#include <algorithm>
#include <numeric>
#include <stdexcept>
#include <string>
#include <utility>

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

void CTriangleMesh::FlipOrientation() {
  for (Triangle& t : m_triangles) std::swap(t[1], t[2]);
  for (Point3D& n : m_normals) n *= -1.0f;
}

void CTriangleMesh::CheckValid() const {
  const std::size_t n = m_vertices.size();
  if (!m_normals.empty() && m_normals.size() != n)
    throw std::invalid_argument("CTriangleMesh: " + std::to_string(m_normals.size()) +
                                " normals for " + std::to_string(n) + " vertices");
  for (std::size_t i = 0; i < m_triangles.size(); ++i)
    for (std::int32_t v : m_triangles[i])
      if (v < 0 || std::size_t(v) >= n)
        throw std::invalid_argument("CTriangleMesh: triangle " + std::to_string(i) +
                                    " has vertex index " + std::to_string(v) + " outside [0, " +
                                    std::to_string(n) + ")");
}

CMeshEdgeStats CTriangleMesh::EdgeStats() const {
  CheckValid();
  CMeshEdgeStats s;
  // Each edge as one 64-bit key (smaller index high): sorting brings the uses of an edge
  // together, so the counts need no hash table.
  std::vector<std::uint64_t> keys;
  keys.reserve(m_triangles.size() * 3);
  std::vector<std::int32_t> parent(m_vertices.size());
  std::iota(parent.begin(), parent.end(), 0);
  std::vector<char> used(m_vertices.size(), 0);
  for (const Triangle& t : m_triangles) {
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
  for (std::size_t v = 0; v < m_vertices.size(); ++v) {
    if (!used[v]) continue;
    ++nv;
    if (Root(parent, std::int32_t(v)) == std::int32_t(v)) ++s.components;
  }
  s.euler = nv - s.edges + static_cast<std::int64_t>(m_triangles.size());
  s.closed = !m_triangles.empty() && s.boundaryEdges == 0 && s.nonManifoldEdges == 0;
  return s;
}

}  // namespace REmath
