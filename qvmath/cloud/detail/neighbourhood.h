// SPDX-License-Identifier: MIT
// Internal: per-thread gathering of a point's neighbourhood from a CCloudIndex, shared by
// the whole-cloud operations. Not installed.
#pragma once

#include <qvmath/cloud/cloud_index.h>

#include <vector>

namespace REmath {
namespace detail {

// The scratch of one thread. Sized once; gathering then allocates nothing (the radius list
// grows only up to its largest result).
struct NeighbourScratch {
  std::vector<int> idx;
  std::vector<float> dist2;
  std::vector<Point3D> pts;
  CNeighbourList list;
  void Reserve(int k) {
    idx.resize(std::size_t(k));
    dist2.resize(std::size_t(k));
    pts.resize(std::size_t(k));
  }
};

// Gathers the neighbourhood of sorted position s into sc.pts[0..count) with the point
// itself first (the neighbour it displaces moves to its slot), and sc.idx[0..count) their
// sorted positions. k-NN with k neighbours when radius <= 0, else the points within
// radius (at most maxCount when maxCount > 0). Returns count.
inline int GatherNeighbourhood(const CCloudIndex& index, int s, int k, float radius, int maxCount,
                               NeighbourScratch& sc) {
  const Point3D* sorted = index.SortedPoints();
  const Point3D& q = sorted[s];
  int count;
  if (radius > 0) {
    count = index.RadiusSearchSorted(q, radius, sc.list, maxCount);
    if (int(sc.pts.size()) < count) {
      sc.pts.resize(std::size_t(count));
      sc.idx.resize(std::size_t(count));
    }
    for (int i = 0; i < count; ++i) sc.idx[std::size_t(i)] = sc.list.Index(i);
  } else {
    count = index.KNearestSorted(q, k, sc.idx.data(), sc.dist2.data());
  }
  int self = -1;
  for (int i = 0; i < count && self < 0; ++i)
    if (sc.idx[std::size_t(i)] == s) self = i;
  if (self > 0) std::swap(sc.idx[0], sc.idx[std::size_t(self)]);
  if (self < 0 && count > 0) sc.idx[std::size_t(count - 1)] = s;  // keep the point itself
  if (self < 0 && count > 0) std::swap(sc.idx[0], sc.idx[std::size_t(count - 1)]);
  for (int i = 0; i < count; ++i) sc.pts[std::size_t(i)] = sorted[sc.idx[std::size_t(i)]];
  return count;
}

}  // namespace detail
}  // namespace REmath
