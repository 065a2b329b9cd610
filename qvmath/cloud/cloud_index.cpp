// SPDX-License-Identifier: MIT
#include <qvmath/cloud/cloud_index.h>
#include <qvmath/cloud/detail/cloud_blocks.h>
#include <qvmath/infra/progress_counter.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <nanoflann.hpp>
#include <stdexcept>
#include <vector>

namespace REmath {

namespace {

// The tree's view of the sorted points: the buffer, not the vector, so that moving the
// index (which moves the vector object but not its buffer) leaves the view valid.
struct SortedPointsAdaptor {
  const Point3D* pts;
  std::size_t n;
  std::size_t kdtree_get_point_count() const { return n; }
  float kdtree_get_pt(std::uint32_t i, std::size_t dim) const {
    const Point3D& p = pts[i];
    return dim == 0 ? p.x() : dim == 1 ? p.y() : p.z();
  }
  template <class BBox>
  bool kdtree_get_bbox(BBox&) const {
    return false;
  }
};

using KdTree = nanoflann::KDTreeSingleIndexAdaptor<
    nanoflann::L2_Simple_Adaptor<float, SortedPointsAdaptor, float, std::uint32_t>,
    SortedPointsAdaptor, 3, std::uint32_t>;

// Spreads the low 21 bits of v so that bit i lands on bit 3i.
std::uint64_t Spread21(std::uint64_t v) {
  v &= 0x1FFFFF;
  v = (v | v << 32) & 0x1F00000000FFFFULL;
  v = (v | v << 16) & 0x1F0000FF0000FFULL;
  v = (v | v << 8) & 0x100F00F00F00F00FULL;
  v = (v | v << 4) & 0x10C30C30C30C30C3ULL;
  v = (v | v << 2) & 0x1249249249249249ULL;
  return v;
}

constexpr int kBuildBlock = 65536;
constexpr std::uint64_t kNotIndexed = std::uint64_t(1) << 63;

struct Bounds {
  double lo[3] = {HUGE_VAL, HUGE_VAL, HUGE_VAL}, hi[3] = {-HUGE_VAL, -HUGE_VAL, -HUGE_VAL};
  int valid = 0;
};

// Sorts keys as std::sort would: `runs` runs sorted in parallel, then merged pairwise, the
// merges of a level in parallel.
void SortInRuns(std::vector<std::pair<std::uint64_t, int>>& keys, int runs) {
  const int n = int(keys.size());
  runs = std::max(1, std::min(runs, n / 4096));
  std::vector<int> bound(std::size_t(runs) + 1);
  for (int r = 0; r <= runs; ++r) bound[std::size_t(r)] = int((long long)(n)*r / runs);
  auto at = [&](int r) { return keys.begin() + bound[std::size_t(r)]; };
  detail::RunBlocksOf(runs, 1, runs, nullptr, [&](int begin, int end, int) {
    for (int r = begin; r < end; ++r) std::sort(at(r), at(r + 1));
  });
  for (int width = 1; width < runs; width *= 2) {
    const int pairs = (runs + 2 * width - 1) / (2 * width);
    detail::RunBlocksOf(pairs, 1, pairs, nullptr, [&](int begin, int end, int) {
      for (int q = begin; q < end; ++q) {
        const int lo = 2 * width * q, mid = std::min(runs, lo + width),
                  hi = std::min(runs, lo + 2 * width);
        if (mid < hi) std::inplace_merge(at(lo), at(mid), at(hi));
      }
    });
  }
}

bool IsFinite(const Point3D& p) {
  return std::isfinite(p.x()) && std::isfinite(p.y()) && std::isfinite(p.z());
}

// Collects the radius-search hits into the list's storage (kept between searches).
class RadiusHits {
 public:
  RadiusHits(float radius2, std::vector<std::pair<float, int>>& items)
      : m_radius2(radius2), m_items(items) {
    m_items.clear();
  }
  std::size_t size() const { return m_items.size(); }
  bool full() const { return true; }
  bool addPoint(float d2, std::uint32_t i) {
    if (d2 < m_radius2) m_items.emplace_back(d2, int(i));
    return true;
  }
  float worstDist() const { return m_radius2; }

 private:
  float m_radius2;
  std::vector<std::pair<float, int>>& m_items;
};

}  // namespace

struct CCloudIndex::Tree {
  SortedPointsAdaptor adaptor;
  KdTree tree;
  explicit Tree(const std::vector<Point3D>& pts)
      : adaptor{pts.data(), pts.size()},
        tree(3, adaptor,
             nanoflann::KDTreeSingleIndexAdaptorParams(
                 kLeafSize, nanoflann::KDTreeSingleIndexAdaptorFlags::SkipInitialBuildIndex)) {}
  // Leaves of 16 points: a k = 16 query then touches few leaves, and a leaf's points, being
  // in Morton order, share cache lines.
  static constexpr std::size_t kLeafSize = 16;
};

CCloudIndex::CCloudIndex() = default;
CCloudIndex::~CCloudIndex() = default;
CCloudIndex::CCloudIndex(CCloudIndex&&) noexcept = default;
CCloudIndex& CCloudIndex::operator=(CCloudIndex&&) noexcept = default;

void CCloudIndex::Build(const Point3D* pts, int n, CProgressCounter* progress, int nThreads) {
  if (n < 0 || (!pts && n > 0)) throw std::invalid_argument("CCloudIndex::Build: bad point array");
  m_tree.reset();
  m_sorted.clear();
  m_sortedToInput.clear();
  m_inputToSorted.assign(std::size_t(n), -1);
  const int slots = detail::ResolveThreadCount(nThreads);
  // Bounds of the finite points, one partial box per slot.
  std::vector<Bounds> part(static_cast<std::size_t>(slots));
  detail::RunBlocksOf(n, kBuildBlock, slots, nullptr, [&](int begin, int end, int slot) {
    Bounds b = part[std::size_t(slot)];  // a local copy: slots share cache lines
    for (int i = begin; i < end; ++i) {
      if (!IsFinite(pts[i])) continue;
      ++b.valid;
      const double c[3] = {pts[i].x(), pts[i].y(), pts[i].z()};
      for (int a = 0; a < 3; ++a) {
        b.lo[a] = std::min(b.lo[a], c[a]);
        b.hi[a] = std::max(b.hi[a], c[a]);
      }
    }
    part[std::size_t(slot)] = b;
  });
  Bounds box;
  for (const Bounds& b : part) {
    box.valid += b.valid;
    for (int a = 0; a < 3; ++a) {
      box.lo[a] = std::min(box.lo[a], b.lo[a]);
      box.hi[a] = std::max(box.hi[a], b.hi[a]);
    }
  }
  // One scale for all axes keeps the curve's cells cubic; the span is taken in double so
  // that a cloud spanning the whole float range does not overflow.
  double span = 0;
  for (int a = 0; a < 3; ++a) span = std::max(span, box.valid ? box.hi[a] - box.lo[a] : 0.0);
  const double scale = span > 0 ? 2097151.0 / span : 0.0;
  // Keys hold 63 bits of curve code; a non-finite point gets the top bit, which sorts it
  // after every finite one, where the keys are cut off.
  std::vector<std::pair<std::uint64_t, int>> keys(static_cast<std::size_t>(n));
  detail::RunBlocksOf(n, kBuildBlock, slots, nullptr, [&](int begin, int end, int) {
    for (int i = begin; i < end; ++i) {
      std::uint64_t code = kNotIndexed;
      if (IsFinite(pts[i])) {
        const double c[3] = {pts[i].x(), pts[i].y(), pts[i].z()};
        code = 0;
        for (int a = 0; a < 3; ++a) {
          const double q = std::min(2097151.0, std::max(0.0, (c[a] - box.lo[a]) * scale));
          code |= Spread21(std::uint64_t(q)) << a;
        }
      }
      keys[std::size_t(i)] = {code, i};
    }
  });
  if (progress) progress->SetPosFloat(0.1);
  // Keys are distinct (equal codes keep the input order), so the sorted order is unique
  // and the same for any split into runs.
  SortInRuns(keys, slots);
  keys.resize(std::size_t(box.valid));
  m_sorted.resize(keys.size());
  m_sortedToInput.resize(keys.size());
  detail::RunBlocksOf(box.valid, kBuildBlock, slots, nullptr, [&](int begin, int end, int) {
    for (int s = begin; s < end; ++s) {
      const int i = keys[std::size_t(s)].second;
      m_sorted[std::size_t(s)] = pts[i];
      m_sortedToInput[std::size_t(s)] = i;
      m_inputToSorted[std::size_t(i)] = s;
    }
  });
  if (progress) progress->SetPosFloat(0.3);
  m_tree = std::make_unique<Tree>(m_sorted);
  if (!m_sorted.empty()) m_tree->tree.buildIndex();
  if (progress) progress->SetPosFloat(1.0);
}

int CCloudIndex::KNearestSorted(const Point3D& q, int k, int* sorted, float* dist2) const {
  if (k <= 0 || m_sorted.empty()) return 0;
  k = std::min(k, IndexedCount());
  // The tree needs somewhere to write distances: without a caller array a stack buffer
  // serves, which bounds k in that case.
  float local[256];
  float* d = dist2;
  if (!d) {
    if (k > 256) throw std::invalid_argument("CCloudIndex::KNearest: dist2 needed for k > 256");
    d = local;
  }
  nanoflann::KNNResultSet<float, std::uint32_t, std::uint32_t> rs(static_cast<std::uint32_t>(k));
  static_assert(sizeof(std::uint32_t) == sizeof(int), "indices are written as uint32");
  rs.init(reinterpret_cast<std::uint32_t*>(sorted), d);
  const float qp[3] = {q.x(), q.y(), q.z()};
  m_tree->tree.findNeighbors(rs, qp, nanoflann::SearchParams());
  return static_cast<int>(rs.size());
}

int CCloudIndex::KNearest(const Point3D& q, int k, int* indices, float* dist2) const {
  const int found = KNearestSorted(q, k, indices, dist2);
  for (int i = 0; i < found; ++i) indices[i] = m_sortedToInput[std::size_t(indices[i])];
  return found;
}

int CCloudIndex::RadiusSearchSorted(const Point3D& q, float radius, CNeighbourList& out,
                                    int maxCount) const {
  out.m_items.clear();
  if (!(radius > 0) || m_sorted.empty()) return 0;
  // A radius whose square underflows still finds the points at distance 0.
  float radius2 = radius * radius;
  if (radius2 == 0) radius2 = std::numeric_limits<float>::denorm_min();
  RadiusHits hits(radius2, out.m_items);
  const float qp[3] = {q.x(), q.y(), q.z()};
  m_tree->tree.findNeighbors(hits, qp, nanoflann::SearchParams(32, 0.0f, false));
  // Sorting the (distance, position) pairs orders equal distances by position: the
  // result is independent of the tree walk.
  if (maxCount > 0 && out.Count() > maxCount) {
    std::partial_sort(out.m_items.begin(), out.m_items.begin() + maxCount, out.m_items.end());
    out.m_items.resize(std::size_t(maxCount));
  } else {
    std::sort(out.m_items.begin(), out.m_items.end());
  }
  return out.Count();
}

int CCloudIndex::RadiusSearch(const Point3D& q, float radius, CNeighbourList& out,
                              int maxCount) const {
  RadiusSearchSorted(q, radius, out, maxCount);
  for (auto& it : out.m_items) it.second = m_sortedToInput[std::size_t(it.second)];
  return out.Count();
}

}  // namespace REmath
