// SPDX-License-Identifier: MIT
// REmath::CCloudIndex: k-nearest-neighbour and radius search over a point set, built on a
// k-d tree over the points reordered along a Morton (Z-order) curve; and CNeighbourList,
// the reusable result of a radius search.
#pragma once

#include <qvmath/core/point3d.h>
#include <qvmath/platform/export.h>

#include <memory>
#include <utility>
#include <vector>

class CProgressCounter;

namespace REmath {

/// The neighbours found by `CCloudIndex::RadiusSearch`: indices and squared distances,
/// nearest first. Keep one list per thread and reuse it: after the first queries have
/// grown its storage, searches allocate nothing.
class QVMATH_API CNeighbourList {
 public:
  /// @return the number of neighbours found.
  int Count() const { return static_cast<int>(m_items.size()); }
  /// @return the index of neighbour i (0 <= i < Count()).
  int Index(int i) const { return m_items[std::size_t(i)].second; }
  /// @return the squared distance of neighbour i.
  float Dist2(int i) const { return m_items[std::size_t(i)].first; }

 private:
  friend class CCloudIndex;
  std::vector<std::pair<float, int>> m_items;  // (squared distance, index)
};

/// A neighbour index over pts[0..n) given to `Build`.
///
/// Points with a NaN or infinite coordinate are not indexed: they are never returned and
/// `IsIndexed` is false for them. The indexed points are copied in Morton order (the
/// interleaved bits of their coordinates quantised to 21 bits over the bounding box): near
/// points then sit near each other in memory, which is what makes a million-point search
/// fast, and visiting the points in `SortedToInput` order makes consecutive queries share
/// cache lines. Results are reported in input indices by the plain queries and in sorted
/// positions by the `...Sorted` ones.
///
/// Distances are Euclidean, computed in float; "squared" results are squared distances.
/// Results are nearest first; among equal distances the order is that of the tree walk,
/// fixed for a given input. A query point that is itself indexed is its own first
/// neighbour (distance 0) unless a duplicate of it comes first.
///
/// Ownership: the index copies the points; it owns its tree. Movable, not copyable.
/// Thread safety: after `Build`, every const query may run on any number of threads at
/// once; `Build` must not run concurrently with anything else on the same index.
class QVMATH_API CCloudIndex {
 public:
  /// An empty index (no points).
  CCloudIndex();
  ~CCloudIndex();
  CCloudIndex(CCloudIndex&&) noexcept;
  CCloudIndex& operator=(CCloudIndex&&) noexcept;
  CCloudIndex(const CCloudIndex&) = delete;
  CCloudIndex& operator=(const CCloudIndex&) = delete;

  /// Builds the index over pts[0..n), replacing any previous one. `progress` (null: none)
  /// is moved from 0 to 1 of its current phase. The bounds, the curve keys, their sort and
  /// the reordering run on `nThreads` threads (1: the calling thread; < 1: one per
  /// hardware thread); the tree itself is built on the calling thread. The index is the
  /// same whatever the thread count.
  /// @throws std::invalid_argument for n < 0 or a null pts with n > 0;
  ///         CUserIntrException on cancellation (progress callback or stop flag).
  void Build(const Point3D* pts, int n, CProgressCounter* progress = nullptr, int nThreads = 1);

  /// @return n of the last `Build` (indexed or not).
  int Size() const { return static_cast<int>(m_inputToSorted.size()); }
  /// @return the number of indexed (finite) points.
  int IndexedCount() const { return static_cast<int>(m_sorted.size()); }
  /// @return whether input point i is indexed (false for a non-finite one or i out of range).
  bool IsIndexed(int i) const {
    return i >= 0 && i < Size() && m_inputToSorted[std::size_t(i)] >= 0;
  }

  /// The min(k, IndexedCount()) nearest indexed points of q: input indices into
  /// indices[0..), squared distances into dist2[0..) (null: not wanted). k <= 0 finds none.
  /// @return the number found. No allocation.
  /// @throws std::invalid_argument for a null dist2 with k > 256.
  int KNearest(const Point3D& q, int k, int* indices, float* dist2) const;
  /// As `KNearest`, with positions in the sorted order instead of input indices.
  int KNearestSorted(const Point3D& q, int k, int* sorted, float* dist2) const;

  /// The indexed points strictly closer than `radius` to q, nearest first with input
  /// indices, into `out` (replaced); with maxCount > 0 only the maxCount nearest.
  /// A radius <= 0 or NaN finds none.
  /// @return out.Count(). Allocates only while `out` grows beyond its largest result yet.
  int RadiusSearch(const Point3D& q, float radius, CNeighbourList& out, int maxCount = 0) const;
  /// As `RadiusSearch`, with positions in the sorted order.
  int RadiusSearchSorted(const Point3D& q, float radius, CNeighbourList& out,
                         int maxCount = 0) const;

  /// @return the indexed points in Morton order (IndexedCount() of them).
  const Point3D* SortedPoints() const { return m_sorted.data(); }
  /// @return for each sorted position, the input index of its point.
  const int* SortedToInput() const { return m_sortedToInput.data(); }
  /// @return for each input index, its sorted position, -1 when not indexed (Size() of them).
  const int* InputToSorted() const { return m_inputToSorted.data(); }

 private:
  struct Tree;
  std::vector<Point3D> m_sorted;
  std::vector<int> m_sortedToInput;
  std::vector<int> m_inputToSorted;
  std::unique_ptr<Tree> m_tree;
};

}  // namespace REmath
