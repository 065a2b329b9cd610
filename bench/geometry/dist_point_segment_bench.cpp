// SPDX-License-Identifier: MIT
// DistancePoint2Segment beside CGAL::squared_distance(Point_3, Segment_3), in float
// (Simple_cartesian<float>) and in double, on the same 1M random point-segment pairs held in
// memory. Accuracy: the largest error against a double-precision CGAL reference.
#include <CGAL/Simple_cartesian.h>
#include <CGAL/squared_distance_3.h>
#include <benchmark/benchmark.h>
#include <qvmath/geometry/dist_point_segment.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

using Kf = CGAL::Simple_cartesian<float>;
using Kd = CGAL::Simple_cartesian<double>;

template <class T>
struct Pair {
  T p[3], a[3], b[3];
};

template <class T>
const std::vector<Pair<T>>& Pairs() {
  static const std::vector<Pair<T>> pairs = [] {
    std::mt19937_64 rng(20240612);
    std::uniform_real_distribution<float> u(-1, 1);  // same float values for both types
    std::vector<Pair<T>> v(1 << 20);
    for (auto& q : v)
      for (T* x : {q.p, q.a, q.b})
        for (int i = 0; i < 3; ++i) x[i] = u(rng);
    return v;
  }();
  return pairs;
}

template <class K, class T>
typename K::Point_3 Pt(const T* x) {
  return typename K::Point_3(x[0], x[1], x[2]);
}

template <class T>
double Error(double got, const Pair<T>& q) {
  const double ref = CGAL::squared_distance(Pt<Kd>(q.p), Kd::Segment_3(Pt<Kd>(q.a), Pt<Kd>(q.b)));
  return std::abs(got - ref) / (1 + ref);
}

template <class T>
void BM_DistPoint2Segment_QVmath(benchmark::State& st) {
  const auto& pairs = Pairs<T>();
  for (auto _ : st)
    for (const auto& q : pairs) {
      T foot[3];
      int region;
      benchmark::DoNotOptimize(DistancePoint2Segment(q.p, q.a, q.b, foot, region));
      benchmark::DoNotOptimize(region);
    }
  st.SetItemsProcessed(st.iterations() * pairs.size());
  double err = 0;
  for (std::size_t i = 0; i < pairs.size(); i += 64)
    err = std::max(err, Error(DistancePoint2Segment(pairs[i].p, pairs[i].a, pairs[i].b), pairs[i]));
  st.counters["max_rel_err"] = err;
}

template <class T>
void BM_DistPoint2Segment_QVmathPlain(benchmark::State& st) {
  const auto& pairs = Pairs<T>();
  for (auto _ : st)
    for (const auto& q : pairs) benchmark::DoNotOptimize(DistancePoint2Segment(q.p, q.a, q.b));
  st.SetItemsProcessed(st.iterations() * pairs.size());
}

template <class T>
void BM_DistPoint2Segment_Cgal(benchmark::State& st) {
  using K = CGAL::Simple_cartesian<T>;
  const auto& pairs = Pairs<T>();
  std::vector<typename K::Point_3> pts;
  std::vector<typename K::Segment_3> segs;
  pts.reserve(pairs.size());
  segs.reserve(pairs.size());
  for (const auto& q : pairs) {
    pts.push_back(Pt<K>(q.p));
    segs.emplace_back(Pt<K>(q.a), Pt<K>(q.b));
  }
  for (auto _ : st)
    for (std::size_t i = 0; i < pts.size(); ++i)
      benchmark::DoNotOptimize(CGAL::squared_distance(pts[i], segs[i]));
  st.SetItemsProcessed(st.iterations() * pts.size());
  double err = 0;
  for (std::size_t i = 0; i < pts.size(); i += 64)
    err = std::max(err, Error(double(CGAL::squared_distance(pts[i], segs[i])), pairs[i]));
  st.counters["max_rel_err"] = err;
}

}  // namespace

BENCHMARK_TEMPLATE(BM_DistPoint2Segment_QVmath, float)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_DistPoint2Segment_QVmathPlain, float)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_DistPoint2Segment_Cgal, float)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_DistPoint2Segment_QVmath, double)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_DistPoint2Segment_QVmathPlain, double)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_DistPoint2Segment_Cgal, double)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
