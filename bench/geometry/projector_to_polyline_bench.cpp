// SPDX-License-Identifier: MIT
// Point projection onto a 10,000-vertex polyline: CProjectorToPolyline beside a scan of
// CGAL's point-segment squared distance over the same segments.
#include <CGAL/Simple_cartesian.h>
#include <benchmark/benchmark.h>
#include <qvmath/geometry/projector_to_polyline.h>

#include <cmath>
#include <random>
#include <vector>

namespace {

using REmath::Point3D_d;
using Kernel = CGAL::Simple_cartesian<double>;

// A random walk of n vertices (steps of about 1) and queries scattered around it.
struct Data {
  std::vector<Point3D_d> vertices;
  std::vector<Point3D_d> queries;
};

const Data& Inputs() {
  static const Data d = [] {
    Data r;
    std::mt19937 gen(20240611);
    std::uniform_real_distribution<double> step(-1, 1), spread(-3, 3);
    Point3D_d p(0, 0, 0);
    for (int k = 0; k < 10000; ++k) {
      p += Point3D_d(step(gen), step(gen), step(gen));
      r.vertices.push_back(p);
    }
    std::uniform_int_distribution<int> pick(0, 9999);
    for (int q = 0; q < 256; ++q) {
      const Point3D_d& v = r.vertices[pick(gen)];
      r.queries.emplace_back(v.x() + spread(gen), v.y() + spread(gen), v.z() + spread(gen));
    }
    return r;
  }();
  return d;
}

void BM_CProjectorToPolyline(benchmark::State& st) {
  const Data& d = Inputs();
  CProjectorToPolyline pl;
  pl.SetPoints(d.vertices);
  for (auto _ : st) {
    for (const Point3D_d& p : d.queries) {
      Point3D_d q;
      double param = 0;
      benchmark::DoNotOptimize(pl.projectPoint(p, q, param));
      benchmark::DoNotOptimize(q);
    }
  }
  st.SetItemsProcessed(st.iterations() * int64_t(d.queries.size()));
  st.counters["vertices"] = double(d.vertices.size());
}

void BM_CgalSegmentScan(benchmark::State& st) {
  const Data& d = Inputs();
  std::vector<Kernel::Segment_3> segs;
  for (std::size_t i = 1; i < d.vertices.size(); ++i) {
    const Point3D_d &a = d.vertices[i - 1], &b = d.vertices[i];
    segs.emplace_back(Kernel::Point_3(a.x(), a.y(), a.z()), Kernel::Point_3(b.x(), b.y(), b.z()));
  }
  for (auto _ : st) {
    for (const Point3D_d& p : d.queries) {
      const Kernel::Point_3 cp(p.x(), p.y(), p.z());
      double best = HUGE_VAL;
      std::size_t bestSeg = 0;
      for (std::size_t i = 0; i < segs.size(); ++i) {
        const double dd = CGAL::squared_distance(cp, segs[i]);
        if (dd < best) best = dd, bestSeg = i;
      }
      benchmark::DoNotOptimize(best);
      benchmark::DoNotOptimize(bestSeg);
    }
  }
  st.SetItemsProcessed(st.iterations() * int64_t(d.queries.size()));
}

}  // namespace

BENCHMARK(BM_CProjectorToPolyline)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CgalSegmentScan)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
