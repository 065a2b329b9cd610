// SPDX-License-Identifier: MIT
#include <qvmath/cloud/detail/triangle_bvh.h>
#include <qvmath/geometry/detail/point_triangle.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace REmath {
namespace detail {

namespace {

// Squared distance from p to the box, in float; 0 inside. Only a bound for pruning: a
// triangle is skipped when its box is strictly farther than the best distance so far, so
// rounding here can cost time but never change the answer as long as the bound does not
// exceed the true distance, which holds because every step rounds a non-negative gap of
// the exact box (whose corners are the triangles' own float coordinates).
inline float BoxDistance2(const float* p, const float* lo, const float* hi) {
  float d2 = 0;
  for (int i = 0; i < 3; ++i) {
    const float g = std::max(std::max(lo[i] - p[i], p[i] - hi[i]), 0.0f);
    d2 += g * g;
  }
  return d2;
}

// A box is pruned only when its bound exceeds the best distance by more than this factor:
// the box bound and the triangle query round differently, and a margin far above both
// rounding errors keeps every triangle that could win (or tie) in float arithmetic, so the
// result equals a brute-force scan.
constexpr float kPruneSlack = 1.0001f;

// Deepest tree the median split produces for 2^31 triangles, with room to spare.
constexpr int kMaxDepth = 64;

}  // namespace

void CTriangleBvh::Build(const CTriangleMesh& mesh) {
  const int n = mesh.TriangleCount();
  m_nodes.clear();
  m_ids.resize(std::size_t(n));
  std::iota(m_ids.begin(), m_ids.end(), 0);
  std::vector<float> centroids(3 * std::size_t(n));
  const auto& v = mesh.Vertices();
  const auto& t = mesh.Triangles();
  for (std::size_t i = 0; i < std::size_t(n); ++i)
    for (int c = 0; c < 3; ++c)
      centroids[3 * i + std::size_t(c)] =
          (v[std::size_t(t[i][0])].asArray()[c] + v[std::size_t(t[i][1])].asArray()[c] +
           v[std::size_t(t[i][2])].asArray()[c]) /
          3.0f;
  if (n == 0) {
    m_corners.clear();
    return;
  }
  m_nodes.reserve(std::size_t(2 * (n / kLeafSize + 1)));
  m_nodes.resize(1);
  BuildNode(0, 0, n, centroids);
  // Leaves renumbered and their slots padded to four.
  std::vector<std::int32_t> sorted;
  sorted.swap(m_ids);
  int leaves = 0;
  for (Node& nd : m_nodes)
    if (nd.count > 0) {
      const int begin = nd.first;
      nd.first = leaves++;
      for (int k = 0; k < kLeafSize; ++k)
        m_ids.push_back(sorted[std::size_t(begin + (k < nd.count ? k : 0))]);
    }
  m_corners.resize(9 * m_ids.size());
  for (std::size_t s = 0; s < m_ids.size(); ++s)
    for (int k = 0; k < 3; ++k)
      for (int c = 0; c < 3; ++c)
        m_corners[9 * s + std::size_t(3 * k + c)] =
            v[std::size_t(t[std::size_t(m_ids[s])][std::size_t(k)])].asArray()[c];
#if defined(__SSE2__)
  m_lanes.resize(std::size_t(leaves));
  for (std::size_t L = 0; L < m_lanes.size(); ++L) {
    const float* A[4];
    const float* B[4];
    const float* C[4];
    for (std::size_t k = 0; k < 4; ++k) {
      const float* c = &m_corners[9 * (4 * L + k)];
      A[k] = c, B[k] = c + 3, C[k] = c + 6;
    }
    m_lanes[L] = lanes::PrepareTriangles(A, B, C);
  }
#endif
  // Boxes bottom-up from the corners (children follow their parent in m_nodes).
  for (int i = int(m_nodes.size()) - 1; i >= 0; --i) {
    Node& nd = m_nodes[std::size_t(i)];
    for (int c = 0; c < 3; ++c) {
      nd.lo[c] = std::numeric_limits<float>::infinity();
      nd.hi[c] = -std::numeric_limits<float>::infinity();
    }
    auto grow = [&nd](const float* lo, const float* hi) {
      for (int c = 0; c < 3; ++c) {
        nd.lo[c] = std::min(nd.lo[c], lo[c]);
        nd.hi[c] = std::max(nd.hi[c], hi[c]);
      }
    };
    if (nd.count > 0) {
      for (int s = 4 * nd.first; s < 4 * nd.first + nd.count; ++s)
        for (int k = 0; k < 3; ++k) {
          const float* x = &m_corners[9 * std::size_t(s) + std::size_t(3 * k)];
          grow(x, x);
        }
    } else {
      for (int ch = nd.first; ch <= nd.first + 1; ++ch)
        grow(m_nodes[std::size_t(ch)].lo, m_nodes[std::size_t(ch)].hi);
    }
  }
}

void CTriangleBvh::BuildNode(int self, int begin, int end, const std::vector<float>& centroids) {
  if (end - begin <= kLeafSize) {
    m_nodes[std::size_t(self)].first = begin;
    m_nodes[std::size_t(self)].count = end - begin;
    return;
  }
  // NaN centroids (triangles with NaN corners) sort last; ties by index, so that the tree,
  // and with it the order of visits, depends on the mesh only.
  auto key = [&](std::int32_t id, int c) {
    const float x = centroids[3 * std::size_t(id) + std::size_t(c)];
    return std::isnan(x) ? std::numeric_limits<float>::infinity() : x;
  };
  float lo[3], hi[3];
  for (int c = 0; c < 3; ++c) {
    lo[c] = std::numeric_limits<float>::infinity();
    hi[c] = -std::numeric_limits<float>::infinity();
  }
  for (int s = begin; s < end; ++s)
    for (int c = 0; c < 3; ++c) {
      const float x = key(m_ids[std::size_t(s)], c);
      if (x == std::numeric_limits<float>::infinity()) continue;
      lo[c] = std::min(lo[c], x);
      hi[c] = std::max(hi[c], x);
    }
  int axis = 0;
  for (int c = 1; c < 3; ++c)
    if (hi[c] - lo[c] > hi[axis] - lo[axis]) axis = c;
  const int mid = begin + (end - begin) / 2;
  std::nth_element(m_ids.begin() + begin, m_ids.begin() + mid, m_ids.begin() + end,
                   [&](std::int32_t a, std::int32_t b) {
                     const float ka = key(a, axis), kb = key(b, axis);
                     return ka < kb || (ka == kb && a < b);
                   });
  // Children are allocated as a pair: the right child is left + 1.
  const int left = int(m_nodes.size());
  m_nodes.resize(m_nodes.size() + 2);
  m_nodes[std::size_t(self)].first = left;
  m_nodes[std::size_t(self)].count = 0;
  BuildNode(left, begin, mid, centroids);
  BuildNode(left + 1, mid, end, centroids);
}

bool CTriangleBvh::Nearest(const float* p, float& d2, float* foot, int& triangle, int& hint) const {
  if (m_nodes.empty()) return false;
  struct Entry {
    std::int32_t node;
    float d2;
  };
  Entry stack[kMaxDepth];
  int top = 0;
  float best = std::numeric_limits<float>::infinity();
  std::int32_t bestId = std::numeric_limits<std::int32_t>::max();
  float bestFoot[3] = {0, 0, 0};
  int bestSlot = -1;
  if (hint >= 0 && std::size_t(hint) < m_ids.size()) {
    const float* c = &m_corners[9 * std::size_t(hint)];
    const float d = PointTriangle2Scalar(p, c, c + 3, c + 6, nullptr, bestFoot);
    // A NaN distance bounds nothing; the search then starts unbounded.
    if (!std::isnan(d)) best = d, bestId = m_ids[std::size_t(hint)], bestSlot = hint;
  }
  stack[top++] = Entry{0, BoxDistance2(p, m_nodes[0].lo, m_nodes[0].hi)};
  while (top > 0) {
    const Entry e = stack[--top];
    if (e.d2 > best * kPruneSlack) continue;
    const Node& nd = m_nodes[std::size_t(e.node)];
    if (nd.count > 0) {
      const int slot0 = 4 * nd.first;
      alignas(16) float d[4], fx[4], fy[4], fz[4];
#if defined(__SSE2__)
      // The leaf's triangles in one lane query; each lane has the scalar body's bits.
      lanes::V3 f;
      _mm_store_ps(d, lanes::Triangle4<false, true>(m_lanes[std::size_t(nd.first)], lanes::Splat(p),
                                                    nullptr, &f));
      _mm_store_ps(fx, f.x);
      _mm_store_ps(fy, f.y);
      _mm_store_ps(fz, f.z);
#else
      for (int k = 0; k < nd.count; ++k) {
        const float* c = &m_corners[9 * std::size_t(slot0 + k)];
        float f[3];
        d[k] = PointTriangle2Scalar(p, c, c + 3, c + 6, nullptr, f);
        fx[k] = f[0], fy[k] = f[1], fz[k] = f[2];
      }
#endif
      for (int k = 0; k < nd.count; ++k) {
        const std::int32_t id = m_ids[std::size_t(slot0 + k)];
        if (d[k] < best || (d[k] == best && id < bestId)) {
          best = d[k], bestId = id, bestSlot = slot0 + k;
          bestFoot[0] = fx[k], bestFoot[1] = fy[k], bestFoot[2] = fz[k];
        }
      }
      continue;
    }
    // The nearer child is visited first: it usually lowers the bound that prunes the other.
    const Node& l = m_nodes[std::size_t(nd.first)];
    const Node& r = m_nodes[std::size_t(nd.first) + 1];
    const float dl = BoxDistance2(p, l.lo, l.hi), dr = BoxDistance2(p, r.lo, r.hi);
    if (dl <= dr) {
      stack[top++] = Entry{nd.first + 1, dr};
      stack[top++] = Entry{nd.first, dl};
    } else {
      stack[top++] = Entry{nd.first, dl};
      stack[top++] = Entry{nd.first + 1, dr};
    }
  }
  if (bestSlot < 0) return false;
  hint = bestSlot;
  d2 = best;
  triangle = bestId;
  foot[0] = bestFoot[0], foot[1] = bestFoot[1], foot[2] = bestFoot[2];
  return true;
}

}  // namespace detail
}  // namespace REmath
