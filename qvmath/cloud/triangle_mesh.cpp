// SPDX-License-Identifier: MIT
#include <qvmath/cloud/triangle_mesh.h>

#include <stdexcept>
#include <string>
#include <utility>

namespace REmath {

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

}  // namespace REmath
