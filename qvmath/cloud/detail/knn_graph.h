// SPDX-License-Identifier: MIT
// Internal: the k-nearest-neighbour graph of a CCloudIndex in sorted positions, made
// symmetric with reverse lists; memory O(N·k). Not installed.
#pragma once

#include <qvmath/cloud/cloud_index.h>

#include <vector>

class CProgressCounter;

namespace REmath {
namespace detail {

class KnnGraph {
 public:
  // Joins each sorted position s with use[s] != 0 to its k nearest other indexed points
  // that also have use != 0, then adds the reverse of every edge. Built in parallel.
  void Build(const CCloudIndex& index, int k, const std::vector<unsigned char>& use, int nThreads,
             CProgressCounter* progress);
  // Calls f(t) for every neighbour t of s (own list, then reverse list; an edge present in
  // both lists is visited twice).
  template <class F>
  void ForEach(int s, F&& f) const {
    const int* own = &m_lists[std::size_t(s) * std::size_t(m_k)];
    for (int j = 0; j < m_k && own[j] >= 0; ++j) f(own[j]);
    for (int r = m_revStart[std::size_t(s)]; r < m_revStart[std::size_t(s) + 1]; ++r)
      f(m_rev[std::size_t(r)]);
  }

 private:
  int m_k = 0;
  std::vector<int> m_lists;  // k per position, -1 padded
  std::vector<int> m_revStart;
  std::vector<int> m_rev;
};

}  // namespace detail
}  // namespace REmath
