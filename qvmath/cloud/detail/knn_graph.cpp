// SPDX-License-Identifier: MIT
#include <qvmath/cloud/detail/cloud_blocks.h>
#include <qvmath/cloud/detail/knn_graph.h>
#include <qvmath/cloud/detail/neighbourhood.h>

#include <algorithm>

namespace REmath {
namespace detail {

namespace {

constexpr int kBlockSize = 4096;

class GraphKernel : public IBlockKernel {
 public:
  GraphKernel(const CCloudIndex& index, int k, const std::vector<unsigned char>& use,
              std::vector<int>& lists, int slots)
      : m_index(index), m_k(k), m_use(use), m_lists(lists), m_scratch(std::size_t(slots)) {
    for (auto& s : m_scratch) s.Reserve(k + 1);
  }
  void ProcessRange(int begin, int end, int slot) override {
    NeighbourScratch& sc = m_scratch[std::size_t(slot)];
    const Point3D* sorted = m_index.SortedPoints();
    for (int s = begin; s < end; ++s) {
      int* out = &m_lists[std::size_t(s) * std::size_t(m_k)];
      std::fill(out, out + m_k, -1);
      if (!m_use[std::size_t(s)]) continue;
      const int found = m_index.KNearestSorted(sorted[s], m_k + 1, sc.idx.data(), sc.dist2.data());
      int w = 0;
      for (int j = 0; j < found && w < m_k; ++j) {
        const int t = sc.idx[std::size_t(j)];
        if (t != s && m_use[std::size_t(t)]) out[w++] = t;
      }
    }
  }

 private:
  const CCloudIndex& m_index;
  int m_k;
  const std::vector<unsigned char>& m_use;
  std::vector<int>& m_lists;
  std::vector<NeighbourScratch> m_scratch;
};

}  // namespace

void KnnGraph::Build(const CCloudIndex& index, int k, const std::vector<unsigned char>& use,
                     int nThreads, CProgressCounter* progress) {
  const int m = index.IndexedCount();
  m_k = std::max(1, std::min(k, m - 1));
  m_lists.assign(std::size_t(m) * std::size_t(m_k), -1);
  const int slots = ResolveThreadCount(nThreads);
  GraphKernel kernel(index, m_k, use, m_lists, slots);
  RunBlocks(m, kBlockSize, slots, progress, kernel);
  // Reverse edges as compressed rows: symmetric without a second search.
  m_revStart.assign(std::size_t(m) + 1, 0);
  for (int v : m_lists)
    if (v >= 0) ++m_revStart[std::size_t(v) + 1];
  for (int s = 0; s < m; ++s) m_revStart[std::size_t(s) + 1] += m_revStart[std::size_t(s)];
  m_rev.assign(std::size_t(m_revStart[std::size_t(m)]), 0);
  std::vector<int> fill(m_revStart.begin(), m_revStart.end() - 1);
  for (int s = 0; s < m; ++s)
    for (int j = 0; j < m_k; ++j) {
      const int v = m_lists[std::size_t(s) * std::size_t(m_k) + std::size_t(j)];
      if (v >= 0) m_rev[std::size_t(fill[std::size_t(v)]++)] = s;
    }
}

}  // namespace detail
}  // namespace REmath
