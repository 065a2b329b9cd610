// SPDX-License-Identifier: MIT
// Batched point-to-triangle and point-to-segment distances (many points against one
// triangle or segment) beside CGAL::squared_distance with Simple_cartesian<float> on the
// same pairs, and beside the per-call queries: 256 random triangles (segments) with 4096
// random points each. Accuracy: the largest error against a double-precision CGAL
// reference, relative to 1 + the reference (coordinates are O(1)).
#include <CGAL/Simple_cartesian.h>
#include <CGAL/squared_distance_3.h>
#include <benchmark/benchmark.h>
#include <qvmath/geometry/dist_batch.h>
#include <qvmath/geometry/dist_point_segment.h>
#include <qvmath/geometry/dist_point_triangle.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace {

using Kf = CGAL::Simple_cartesian<float>;
using Kd = CGAL::Simple_cartesian<double>;

constexpr int kShapes = 256, kPoints = 4096;

struct Data {
  std::vector<float> shapes;  // 9 floats per triangle (a segment uses the first 6)
  std::vector<float> pts;     // 3 floats per point, kPoints per shape
};

const Data& Input() {
  static const Data d = [] {
    std::mt19937_64 rng(20240611);
    std::uniform_real_distribution<float> u(-1, 1);
    Data r;
    r.shapes.resize(9 * kShapes);
    r.pts.resize(3 * std::size_t(kShapes) * kPoints);
    for (float& x : r.shapes) x = u(rng);
    for (float& x : r.pts) x = u(rng);
    return r;
  }();
  return d;
}

template <class K>
typename K::Point_3 Pt(const float* x) {
  return typename K::Point_3(x[0], x[1], x[2]);
}

template <class K>
typename K::Triangle_3 Tri(int s) {
  const float* t = &Input().shapes[9 * std::size_t(s)];
  return typename K::Triangle_3(Pt<K>(t), Pt<K>(t + 3), Pt<K>(t + 6));
}
template <class K>
typename K::Segment_3 Seg(int s) {
  const float* t = &Input().shapes[9 * std::size_t(s)];
  return typename K::Segment_3(Pt<K>(t), Pt<K>(t + 3));
}

const float* Point(int s, int j) { return &Input().pts[3 * (std::size_t(s) * kPoints + j)]; }

void Finish(benchmark::State& st, double err) {
  st.SetItemsProcessed(st.iterations() * std::int64_t(kShapes) * kPoints);
  st.counters["max_rel_err"] = err;
}

void BM_TriangleBatch_QVmath(benchmark::State& st) {
  std::vector<float> d2(kPoints), feet(3 * kPoints);
  std::vector<int> reg(kPoints);
  const bool withFeet = st.range(0) != 0;
  double err = 0;
  for (auto _ : st)
    for (int s = 0; s < kShapes; ++s) {
      const float* t = &Input().shapes[9 * std::size_t(s)];
      const float* tri[3] = {t, t + 3, t + 6};
      distancePointsTriangle2(Point(s, 0), kPoints, tri, d2.data(), reg.data(),
                              withFeet ? feet.data() : nullptr);
      benchmark::DoNotOptimize(d2.data());
      benchmark::ClobberMemory();
    }
  for (int s = 0; s < kShapes; s += 16) {
    const float* t = &Input().shapes[9 * std::size_t(s)];
    const float* tri[3] = {t, t + 3, t + 6};
    distancePointsTriangle2(Point(s, 0), kPoints, tri, d2.data());
    for (int j = 0; j < kPoints; j += 16) {
      const double ref = CGAL::squared_distance(Pt<Kd>(Point(s, j)), Tri<Kd>(s));
      err = std::max(err, std::abs(d2[std::size_t(j)] - ref) / (1 + ref));
    }
  }
  Finish(st, err);
}

void BM_TriangleSingle_QVmath(benchmark::State& st) {
  for (auto _ : st)
    for (int s = 0; s < kShapes; ++s) {
      const float* t = &Input().shapes[9 * std::size_t(s)];
      const float* tri[3] = {t, t + 3, t + 6};
      for (int j = 0; j < kPoints; ++j) {
        int region;
        benchmark::DoNotOptimize(distancePointTriangle2(Point(s, j), tri, region, nullptr));
      }
    }
  Finish(st, 0);
}

void BM_TriangleSingle_CgalFloat(benchmark::State& st) {
  std::vector<Kf::Point_3> pts;
  for (std::size_t i = 0; i < Input().pts.size(); i += 3) pts.push_back(Pt<Kf>(&Input().pts[i]));
  std::vector<Kf::Triangle_3> tris;
  for (int s = 0; s < kShapes; ++s) tris.push_back(Tri<Kf>(s));
  for (auto _ : st)
    for (int s = 0; s < kShapes; ++s)
      for (int j = 0; j < kPoints; ++j)
        benchmark::DoNotOptimize(CGAL::squared_distance(
            pts[std::size_t(s) * kPoints + std::size_t(j)], tris[std::size_t(s)]));
  double err = 0;
  for (int s = 0; s < kShapes; s += 16)
    for (int j = 0; j < kPoints; j += 16) {
      const double ref = CGAL::squared_distance(Pt<Kd>(Point(s, j)), Tri<Kd>(s));
      const double got = CGAL::squared_distance(pts[std::size_t(s) * kPoints + std::size_t(j)],
                                                tris[std::size_t(s)]);
      err = std::max(err, std::abs(got - ref) / (1 + ref));
    }
  Finish(st, err);
}

void BM_SegmentBatch_QVmath(benchmark::State& st) {
  std::vector<float> d2(kPoints), feet(3 * kPoints);
  std::vector<int> reg(kPoints);
  double err = 0;
  for (auto _ : st)
    for (int s = 0; s < kShapes; ++s) {
      const float* t = &Input().shapes[9 * std::size_t(s)];
      DistancePoints2Segment(Point(s, 0), kPoints, t, t + 3, d2.data(), reg.data(), feet.data());
      benchmark::DoNotOptimize(d2.data());
      benchmark::ClobberMemory();
    }
  for (int s = 0; s < kShapes; s += 16) {
    const float* t = &Input().shapes[9 * std::size_t(s)];
    DistancePoints2Segment(Point(s, 0), kPoints, t, t + 3, d2.data());
    for (int j = 0; j < kPoints; j += 16) {
      const double ref = CGAL::squared_distance(Pt<Kd>(Point(s, j)), Seg<Kd>(s));
      err = std::max(err, std::abs(d2[std::size_t(j)] - ref) / (1 + ref));
    }
  }
  Finish(st, err);
}

void BM_SegmentSingle_QVmath(benchmark::State& st) {
  for (auto _ : st)
    for (int s = 0; s < kShapes; ++s) {
      const float* t = &Input().shapes[9 * std::size_t(s)];
      for (int j = 0; j < kPoints; ++j) {
        float foot[3];
        int region;
        benchmark::DoNotOptimize(DistancePoint2Segment(Point(s, j), t, t + 3, foot, region));
      }
    }
  Finish(st, 0);
}

void BM_SegmentSingle_CgalFloat(benchmark::State& st) {
  std::vector<Kf::Point_3> pts;
  for (std::size_t i = 0; i < Input().pts.size(); i += 3) pts.push_back(Pt<Kf>(&Input().pts[i]));
  std::vector<Kf::Segment_3> segs;
  for (int s = 0; s < kShapes; ++s) segs.push_back(Seg<Kf>(s));
  for (auto _ : st)
    for (int s = 0; s < kShapes; ++s)
      for (int j = 0; j < kPoints; ++j)
        benchmark::DoNotOptimize(CGAL::squared_distance(
            pts[std::size_t(s) * kPoints + std::size_t(j)], segs[std::size_t(s)]));
  Finish(st, 0);
}

}  // namespace

BENCHMARK(BM_TriangleBatch_QVmath)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_TriangleSingle_QVmath)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_TriangleSingle_CgalFloat)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SegmentBatch_QVmath)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SegmentSingle_QVmath)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SegmentSingle_CgalFloat)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
