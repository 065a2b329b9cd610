// SPDX-License-Identifier: MIT
#include <qvmath/cloud/cloud_orientation.h>
#include <qvmath/cloud/detail/cloud_blocks.h>
#include <qvmath/cloud/detail/knn_graph.h>
#include <qvmath/core/detail/vec3.h>
#include <qvmath/infra/fp_heap.h>
#include <qvmath/infra/progress_counter.h>
#include <qvmath/platform/korva_exception.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <stdexcept>

namespace REmath {

namespace {

constexpr int kBlockSize = 4096;
// A piece is flat when its seed's offset from the centroid along the normal is within 1 %
// of its RMS radius: the outward rule has no side to pick there.
constexpr double kFlatRatio = 0.01;

// Flips by a fixed rule, block by block.
class RuleKernel : public detail::IBlockKernel {
 public:
  RuleKernel(const std::vector<Point3D>& pts, const CCloudOrientParams& p,
             std::vector<Point3D>& normals, const std::vector<unsigned char>& valid,
             std::vector<unsigned char>& flipped)
      : m_pts(pts), m_p(p), m_normals(normals), m_valid(valid), m_flipped(flipped) {}
  void ProcessRange(int begin, int end, int) override {
    for (int i = begin; i < end; ++i) {
      const std::size_t u = std::size_t(i);
      if (!m_valid[u]) continue;
      const Point3D& p = m_pts[u];
      const Point3D_d ref = m_p.mode == ECloudOrientation::TowardViewpoint
                                ? Point3D_d(m_p.viewpoint.x() - p.x(), m_p.viewpoint.y() - p.y(),
                                            m_p.viewpoint.z() - p.z())
                                : m_p.direction;
      if (detail::PointDot(m_normals[u], ref) < 0) {
        m_normals[u] = Point3D(-m_normals[u].x(), -m_normals[u].y(), -m_normals[u].z());
        m_flipped[u] = 1;
      }
    }
  }

 private:
  const std::vector<Point3D>& m_pts;
  const CCloudOrientParams& m_p;
  std::vector<Point3D>& m_normals;
  const std::vector<unsigned char>& m_valid;
  std::vector<unsigned char>& m_flipped;
};

struct HeapNode : CfpHeapMem {
  int parent = -1;
};

int SpanningTree(const CCloudIndex& index, const CCloudOrientParams& p,
                 std::vector<Point3D>& normals, const std::vector<unsigned char>& valid,
                 CProgressCounter* progress) {
  const int m = index.IndexedCount();
  const int* toInput = index.SortedToInput();
  const Point3D* pts = index.SortedPoints();
  const int k = p.k;
  // Normals and validity in sorted order, so that the walk reads memory in curve order.
  std::vector<Point3D> nrm(static_cast<std::size_t>(m));
  std::vector<unsigned char> ok(static_cast<std::size_t>(m));
  for (int s = 0; s < m; ++s) {
    nrm[std::size_t(s)] = normals[std::size_t(toInput[s])];
    ok[std::size_t(s)] = valid[std::size_t(toInput[s])];
  }
  detail::KnnGraph graph;
  {
    CPrgCntSubPhase phase(progress, 0.0, 0.6, CPrgCntSubPhase::PhaseFloat);
    graph.Build(index, k, ok, p.nThreads, progress);
  }
  CPrgCntSubPhase phase(progress, 0.6, 0.4, CPrgCntSubPhase::PhaseFloat);
  auto forEachNeighbour = [&](int s, auto&& f) { graph.ForEach(s, f); };

  // Pieces: labelled by a breadth-first walk, in the order of their lowest input index.
  std::vector<int> piece(static_cast<std::size_t>(m), -1);
  std::vector<int> order;  // valid sorted positions by input index
  order.reserve(std::size_t(m));
  {
    std::vector<int> byInput(std::size_t(index.Size()), -1);
    for (int s = 0; s < m; ++s)
      if (ok[std::size_t(s)]) byInput[std::size_t(toInput[s])] = s;
    for (int s : byInput)
      if (s >= 0) order.push_back(s);
  }
  std::vector<int> queue;
  queue.reserve(std::size_t(m));
  int nPieces = 0;
  std::vector<int> seeds;
  for (int start : order) {
    if (piece[std::size_t(start)] >= 0) continue;
    const int id = nPieces++;
    queue.clear();
    queue.push_back(start);
    piece[std::size_t(start)] = id;
    double c[3] = {0, 0, 0};
    for (std::size_t h = 0; h < queue.size(); ++h) {
      const int s = queue[h];
      c[0] += pts[s].x();
      c[1] += pts[s].y();
      c[2] += pts[s].z();
      forEachNeighbour(s, [&](int v) {
        if (piece[std::size_t(v)] < 0) {
          piece[std::size_t(v)] = id;
          queue.push_back(v);
        }
      });
    }
    const double inv = 1.0 / double(queue.size());
    const Point3D_d centre(c[0] * inv, c[1] * inv, c[2] * inv);
    double best = -1, rms = 0;
    int seed = -1;
    for (int s : queue) {
      const Point3D_d d(pts[s].x() - centre.x(), pts[s].y() - centre.y(), pts[s].z() - centre.z());
      rms += d.x() * d.x() + d.y() * d.y() + d.z() * d.z();
      const double a = std::fabs(detail::PointDot(nrm[std::size_t(s)], d));
      if (a > best || (a == best && toInput[s] < toInput[seed])) {
        best = a;
        seed = s;
      }
    }
    rms = std::sqrt(rms * inv);
    const Point3D_d d(pts[seed].x() - centre.x(), pts[seed].y() - centre.y(),
                      pts[seed].z() - centre.z());
    const Point3D_d ref = best > kFlatRatio * rms ? d : p.flatHint;
    Point3D& ns = nrm[std::size_t(seed)];
    if (detail::PointDot(ns, ref) < 0) ns = Point3D(-ns.x(), -ns.y(), -ns.z());
    seeds.push_back(seed);
  }

  // Prim's algorithm with the alignment |nᵢ·nⱼ| as the key of a max-heap: the most aligned
  // edge first is the minimum spanning tree of the weights 1 − |nᵢ·nⱼ|.
  std::vector<HeapNode> node(static_cast<std::size_t>(m));
  std::vector<unsigned char> done(std::size_t(m), 0);
  CfpHeap heap;
  int reached = 0;
  for (int seed : seeds) {
    heap.insert(&node[std::size_t(seed)], 2.0);
    while (heap.size() > 0) {
      HeapNode* h = static_cast<HeapNode*>(heap.extract());
      const int s = int(h - node.data());
      done[std::size_t(s)] = 1;
      if (h->parent >= 0 &&
          detail::PointDot(nrm[std::size_t(s)], nrm[std::size_t(h->parent)]) < 0) {
        Point3D& n = nrm[std::size_t(s)];
        n = Point3D(-n.x(), -n.y(), -n.z());
      }
      if ((++reached & 0xFFFF) == 0) {
        if (CProgressCounter::IsStopping()) throw CUserIntrException();
        if (progress) progress->SetPosFloat(double(reached) / double(m));
      }
      forEachNeighbour(s, [&](int v) {
        if (done[std::size_t(v)]) return;
        const double key = std::fabs(detail::PointDot(nrm[std::size_t(s)], nrm[std::size_t(v)]));
        HeapNode& e = node[std::size_t(v)];
        if (!e.inHeap()) {
          e.parent = s;
          heap.insert(&e, key);
        } else if (key > e.getHeapKey()) {
          e.parent = s;
          heap.update(&e, key);
        }
      });
    }
  }
  int flipped = 0;
  for (int s = 0; s < m; ++s) {
    if (!ok[std::size_t(s)]) continue;
    Point3D& out = normals[std::size_t(toInput[s])];
    if (detail::PointDot(out, nrm[std::size_t(s)]) < 0) ++flipped;
    out = nrm[std::size_t(s)];
  }
  return flipped;
}

}  // namespace

int OrientCloudNormals(const CCloudIndex& index, const CCloudOrientParams& params,
                       std::vector<Point3D>& normals, const std::vector<unsigned char>& valid,
                       CProgressCounter* progress) {
  const std::size_t n = std::size_t(index.Size());
  if (normals.size() != n || valid.size() != n)
    throw std::invalid_argument("orientation: normals and flags must hold one entry per point");
  if (params.mode == ECloudOrientation::SpanningTree) {
    if (params.k < 1) throw std::invalid_argument("orientation: k must be at least 1");
    if (index.IndexedCount() == 0) return 0;
    return SpanningTree(index, params, normals, valid, progress);
  }
  // The positions in input order: the sorted copy mapped back.
  std::vector<Point3D> pts(n, Point3D(0.0f));
  for (int s = 0; s < index.IndexedCount(); ++s)
    pts[std::size_t(index.SortedToInput()[s])] = index.SortedPoints()[s];
  std::vector<unsigned char> flipped(n, 0);
  RuleKernel kernel(pts, params, normals, valid, flipped);
  detail::RunBlocks(int(n), kBlockSize, params.nThreads, progress, kernel);
  int count = 0;
  for (unsigned char f : flipped) count += f;
  return count;
}

}  // namespace REmath
