// SPDX-License-Identifier: MIT
// distancePointTriangle2 beside CGAL::squared_distance(Point_3, Triangle_3) with
// Simple_cartesian<float>, on the same 1M random point-triangle pairs held in memory.
// Accuracy: the largest error of each against a double-precision CGAL reference, relative
// to the squared size of the configuration.
#include <CGAL/Simple_cartesian.h>
#include <CGAL/squared_distance_3.h>
#include <benchmark/benchmark.h>
#include <qvmath/geometry/dist_point_triangle.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

using Kf = CGAL::Simple_cartesian<float>;
using Kd = CGAL::Simple_cartesian<double>;

struct Pair {
  float p[3], a[3], b[3], c[3];
};

const std::vector<Pair>& Pairs() {
  static const std::vector<Pair> pairs = [] {
    std::mt19937_64 rng(20240611);
    std::uniform_real_distribution<float> u(-1, 1);
    std::vector<Pair> v(1 << 20);
    for (Pair& q : v)
      for (float* x : {q.p, q.a, q.b, q.c})
        for (int i = 0; i < 3; ++i) x[i] = u(rng);
    return v;
  }();
  return pairs;
}

template <class K>
typename K::Point_3 Pt(const float* x) {
  return typename K::Point_3(x[0], x[1], x[2]);
}

// Error relative to the squared size (distances and coordinates are O(1) here).
double Error(double got, const Pair& q) {
  const double ref =
      CGAL::squared_distance(Pt<Kd>(q.p), Kd::Triangle_3(Pt<Kd>(q.a), Pt<Kd>(q.b), Pt<Kd>(q.c)));
  return std::abs(got - ref) / (1 + ref);
}

void BM_DistPointTriangle2_QVmath(benchmark::State& st) {
  const auto& pairs = Pairs();
  for (auto _ : st)
    for (const Pair& q : pairs) {
      const float* tri[3] = {q.a, q.b, q.c};
      int region;
      benchmark::DoNotOptimize(distancePointTriangle2(q.p, tri, region, nullptr));
      benchmark::DoNotOptimize(region);
    }
  st.SetItemsProcessed(st.iterations() * pairs.size());
  double err = 0;
  for (std::size_t i = 0; i < pairs.size(); i += 64) {
    const float* tri[3] = {pairs[i].a, pairs[i].b, pairs[i].c};
    int region;
    err = std::max(err, Error(distancePointTriangle2(pairs[i].p, tri, region, nullptr), pairs[i]));
  }
  st.counters["max_rel_err"] = err;
}

void BM_DistPointTriangle2_QVmathNoRegion(benchmark::State& st) {
  const auto& pairs = Pairs();
  std::vector<REmath::Point3D> tris;
  tris.reserve(pairs.size() * 3);
  for (const Pair& q : pairs)
    for (const float* x : {q.a, q.b, q.c}) tris.emplace_back(x);
  for (auto _ : st)
    for (std::size_t i = 0; i < pairs.size(); ++i)
      benchmark::DoNotOptimize(distancePointTriangle2(pairs[i].p, &tris[3 * i]));
  st.SetItemsProcessed(st.iterations() * pairs.size());
}

void BM_DistPointTriangle2_CgalFloat(benchmark::State& st) {
  const auto& pairs = Pairs();
  std::vector<Kf::Point_3> pts;
  std::vector<Kf::Triangle_3> tris;
  pts.reserve(pairs.size());
  tris.reserve(pairs.size());
  for (const Pair& q : pairs) {
    pts.push_back(Pt<Kf>(q.p));
    tris.emplace_back(Pt<Kf>(q.a), Pt<Kf>(q.b), Pt<Kf>(q.c));
  }
  for (auto _ : st)
    for (std::size_t i = 0; i < pts.size(); ++i)
      benchmark::DoNotOptimize(CGAL::squared_distance(pts[i], tris[i]));
  st.SetItemsProcessed(st.iterations() * pts.size());
  double err = 0;
  for (std::size_t i = 0; i < pts.size(); i += 64)
    err = std::max(err, Error(CGAL::squared_distance(pts[i], tris[i]), pairs[i]));
  st.counters["max_rel_err"] = err;
}

}  // namespace

BENCHMARK(BM_DistPointTriangle2_QVmath)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DistPointTriangle2_QVmathNoRegion)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DistPointTriangle2_CgalFloat)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
