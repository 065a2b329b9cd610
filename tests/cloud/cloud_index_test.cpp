// SPDX-License-Identifier: MIT
#include <qvmath/cloud/cloud_index.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "test_util.h"

using namespace REmath;

namespace {

float D2(const Point3D& a, const Point3D& b) {
  const float dx = a.x() - b.x(), dy = a.y() - b.y(), dz = a.z() - b.z();
  return dx * dx + dy * dy + dz * dz;
}

// A clustered cloud with exact duplicates and non-finite points.
std::vector<Point3D> MessyCloud(qvtest::TestRng& rng, int n) {
  std::vector<Point3D> pts;
  for (int i = 0; i < n; ++i) {
    const double c = double(i % 7);
    pts.emplace_back(float(c + rng.Uniform(-0.3, 0.3)), float(rng.Uniform(-1, 1)),
                     float(1e3 + rng.Uniform(-0.01, 0.01)));
  }
  for (int i = 0; i < n / 10; ++i)
    pts[std::size_t(rng.Int(0, n - 1))] = pts[std::size_t(rng.Int(0, n - 1))];
  pts[3].x() = std::numeric_limits<float>::quiet_NaN();
  pts[5].z() = std::numeric_limits<float>::infinity();
  return pts;
}

}  // namespace

TEST(CloudIndex, Properties_QueriesMatchBruteForce) {
  qvtest::TestRng rng(31);
  SCOPED_TRACE(rng.Trace());
  const std::vector<Point3D> pts = MessyCloud(rng, 3000);
  CCloudIndex built;
  built.Build(pts.data(), int(pts.size()));
  const CCloudIndex index = std::move(built);  // the tree must survive a move
  EXPECT_EQ(index.IndexedCount(), 2998);
  EXPECT_FALSE(index.IsIndexed(3));
  EXPECT_FALSE(index.IsIndexed(5));
  std::vector<int> idx(40);
  std::vector<float> d2(40);
  CNeighbourList list;
  for (int trial = 0; trial < 300; ++trial) {
    const Point3D q = trial % 2 ? pts[std::size_t(rng.Int(6, 2999))]
                                : Point3D(float(rng.Uniform(-1, 7)), float(rng.Uniform(-1, 1)),
                                          float(1e3 + rng.Uniform(-0.1, 0.1)));
    std::vector<std::pair<float, int>> all;
    for (int i = 0; i < int(pts.size()); ++i)
      if (index.IsIndexed(i)) all.emplace_back(D2(q, pts[std::size_t(i)]), i);
    std::sort(all.begin(), all.end());
    const int k = 1 + trial % 40;
    ASSERT_EQ(index.KNearest(q, k, idx.data(), d2.data()), k);
    for (std::size_t j = 0; j < std::size_t(k); ++j)
      EXPECT_TRUE(d2[j] == all[j].first && D2(q, pts[std::size_t(idx[j])]) == d2[j]) << trial;
    const float r = float(rng.Uniform(0.01, 0.3));
    const int found = index.RadiusSearch(q, r, list);
    int expected = 0;
    while (expected < int(all.size()) && all[std::size_t(expected)].first < r * r) ++expected;
    ASSERT_EQ(found, expected) << trial;
    for (int j = 0; j < found; ++j)  // ties ordered by position
      EXPECT_EQ(std::make_pair(list.Dist2(j), list.Index(j)), all[std::size_t(j)]) << trial;
    if (found > 3) {
      ASSERT_EQ(index.RadiusSearch(q, r, list, 3), 3);
      EXPECT_EQ(list.Dist2(2), all[2].first);
    }
  }
  for (int s = 0; s < index.IndexedCount(); ++s)
    EXPECT_EQ(index.InputToSorted()[index.SortedToInput()[s]], s);
  // Any thread count builds the same index (three sorted runs merged in two levels).
  const std::vector<Point3D> big = MessyCloud(rng, 20000);
  CCloudIndex one, three;
  one.Build(big.data(), int(big.size()));
  three.Build(big.data(), int(big.size()), nullptr, 3);
  EXPECT_TRUE(
      std::equal(one.InputToSorted(), one.InputToSorted() + one.Size(), three.InputToSorted()));
}

TEST(CloudIndex, Degenerate_EmptyNonFiniteAndOversizedQueries) {
  CCloudIndex index;
  const Point3D q(0.0f);
  int idx[4];
  float d2[4];
  CNeighbourList list;
  index.Build(nullptr, 0);
  EXPECT_EQ(index.KNearest(q, 3, idx, d2), 0);
  EXPECT_EQ(index.RadiusSearch(q, 1.0f, list), 0);
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const Point3D bad[2] = {Point3D(nan, 0.0f, 0.0f), Point3D(0.0f, 0.0f, nan)};
  index.Build(bad, 2);
  EXPECT_EQ(index.IndexedCount(), 0);
  EXPECT_EQ(index.KNearest(q, 3, idx, d2), 0);
  const Point3D two[2] = {Point3D(1.0f), Point3D(1.0f)};
  index.Build(two, 2);
  EXPECT_EQ(index.KNearest(q, 4, idx, nullptr), 2);  // k beyond the cloud: all of it
  EXPECT_EQ(index.KNearest(q, 0, idx, d2), 0);
  EXPECT_EQ(index.RadiusSearch(q, -1.0f, list), 0);
  EXPECT_EQ(index.RadiusSearch(q, nan, list), 0);
  EXPECT_EQ(index.RadiusSearch(Point3D(1.0f), 1e-30f, list), 2);  // duplicates, distance 0
  EXPECT_THROW(index.Build(nullptr, 3), std::invalid_argument);
}
