// SPDX-License-Identifier: MIT
// Internal: a bounding-volume hierarchy over the triangles of a mesh and the nearest-
// triangle query through it. Not installed.
#pragma once

#include <qvmath/cloud/triangle_mesh.h>
#include <qvmath/geometry/detail/point_triangle_lanes.h>

#include <cstdint>
#include <vector>

namespace REmath {
namespace detail {

// A binary tree of axis-aligned boxes, built by splitting the triangles at the median of
// their centroids along the longest axis of the centroids' box, down to leaves of at most
// kLeafSize triangles. Leaf L owns the slots 4L..4L+3 (unused ones repeat its first
// triangle); each slot holds a copy of its triangle's corners, and on SSE2 targets each leaf
// its four triangles prepared for the lane query, so that a leaf costs one vector query. Immutable
// after Build; Nearest is re-entrant and allocates nothing.
class CTriangleBvh {
 public:
  static constexpr int kLeafSize = 4;

  // Builds over every triangle of mesh (which must satisfy CheckValid).
  void Build(const CTriangleMesh& mesh);

  // The triangle nearest to p by detail::PointTriangle2Scalar (the bits of
  // distancePointTriangle2): the least squared distance, the lowest mesh index among
  // equal ones. Writes its squared distance, foot and mesh index; returns false (and writes
  // nothing) for an empty tree. hint (in/out) is a leaf slot to measure first, -1 for none;
  // the slot of the answer is written back. A near hint (the previous point's answer when
  // the points are visited in spatial order) bounds the search at once; it changes the
  // work, never the answer.
  bool Nearest(const float* p, float& d2, float* foot, int& triangle, int& hint) const;

 private:
  struct Node {
    float lo[3], hi[3];
    std::int32_t first;  // leaf: leaf number L; inner: index of the left child
    std::int32_t count;  // leaf: triangle count (> 0); inner: 0, right child = left + 1
  };
  void BuildNode(int self, int begin, int end, const std::vector<float>& centroids);

  std::vector<Node> m_nodes;
  std::vector<float> m_corners;     // 9 floats per slot: A, B, C
  std::vector<std::int32_t> m_ids;  // mesh index per slot
#if defined(__SSE2__)
  std::vector<lanes::Triangle> m_lanes;  // per leaf
#endif
};

}  // namespace detail
}  // namespace REmath
