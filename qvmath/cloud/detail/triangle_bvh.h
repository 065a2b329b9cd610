// SPDX-License-Identifier: MIT
// Internal: a bounding-volume hierarchy over the triangles of a mesh and the nearest-
// triangle query through it. Not installed.
#pragma once

#include <qvmath/cloud/triangle_mesh.h>

#include <cstdint>
#include <vector>

namespace REmath {
namespace detail {

// A binary tree of axis-aligned boxes, built by splitting the triangles at the median of
// their centroids along the longest axis of the centroids' box, down to leaves of at most
// kLeafSize triangles. The triangles' corners are copied in leaf order so that a leaf reads
// one contiguous block. Immutable after Build; Nearest is re-entrant and allocates nothing.
class CTriangleBvh {
 public:
  static constexpr int kLeafSize = 4;

  // Builds over every triangle of mesh (which must satisfy CheckValid).
  void Build(const CTriangleMesh& mesh);

  // The triangle nearest to p by detail::PointTriangle2Scalar (the bits of
  // distancePointTriangle2): the least squared distance, the lowest mesh index among
  // equal ones. Writes its squared distance, foot and mesh index; returns false (and writes
  // nothing) for an empty tree.
  bool Nearest(const float* p, float& d2, float* foot, int& triangle) const;

 private:
  struct Node {
    float lo[3], hi[3];
    std::int32_t first;  // leaf: first triangle slot; inner: index of the left child
    std::int32_t count;  // leaf: triangle count (> 0); inner: 0, right child = left + 1
  };
  void BuildNode(int self, int begin, int end, const std::vector<float>& centroids);

  std::vector<Node> m_nodes;
  std::vector<float> m_corners;     // 9 floats per slot: A, B, C
  std::vector<std::int32_t> m_ids;  // mesh index per slot
};

}  // namespace detail
}  // namespace REmath
