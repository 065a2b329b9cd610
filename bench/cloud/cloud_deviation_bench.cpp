// SPDX-License-Identifier: MIT
// Scan-to-mesh deviation of 1M points against a 100k-triangle torus mesh (R = 1, r = 0.3,
// 500 × 100 quads), points on the torus displaced along its normal by N(0, 0.01), in
// random order. Beside CGAL's AABB_tree closest-point queries (Simple_cartesian<double>) and,
// when found, Open3D's RaycastingScene::ComputeDistance, on the same points and triangles,
// tree builds included. Accuracy: the largest difference of the unsigned distance from
// CGAL's double-precision one, absolute (max_abs_err) and relative to the distance for
// distances above 1e-4 (max_rel_err).
#include <CGAL/AABB_traits.h>
#include <CGAL/AABB_tree.h>
#include <CGAL/AABB_triangle_primitive.h>
#include <CGAL/Simple_cartesian.h>
#include <benchmark/benchmark.h>
#include <qvmath/cloud/cloud_deviation.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#ifdef QVMATH_BENCH_OPEN3D
#include <open3d/Open3D.h>
#include <open3d/t/geometry/RaycastingScene.h>
#endif

namespace {

using K = CGAL::Simple_cartesian<double>;
using REmath::Point3D;

struct Input {
  REmath::CTriangleMesh mesh;
  REmath::CPointCloud cloud;
  std::vector<double> reference;  // CGAL's distances, double precision
};

const Input& Data() {
  static const Input in = [] {
    Input r;
    const int nu = 500, nv = 100;
    const double R = 1.0, rr = 0.3, pi = 3.14159265358979323846;
    auto at = [&](double u, double v, double h, float* out) {
      const double cu = std::cos(u), su = std::sin(u), cv = std::cos(v), sv = std::sin(v);
      const double rad = R + (rr + h) * cv;
      out[0] = float(rad * cu), out[1] = float(rad * su), out[2] = float((rr + h) * sv);
    };
    for (int i = 0; i < nu; ++i)
      for (int j = 0; j < nv; ++j) {
        float p[3];
        at(2 * pi * i / nu, 2 * pi * j / nv, 0, p);
        r.mesh.Vertices().push_back(Point3D(p[0], p[1], p[2]));
      }
    for (int i = 0; i < nu; ++i)
      for (int j = 0; j < nv; ++j) {
        const int a = i * nv + j, b = ((i + 1) % nu) * nv + j,
                  c = ((i + 1) % nu) * nv + (j + 1) % nv, d = i * nv + (j + 1) % nv;
        r.mesh.Triangles().push_back({a, b, c});
        r.mesh.Triangles().push_back({a, c, d});
      }
    std::mt19937_64 rng(20240611);
    std::uniform_real_distribution<double> u(0, 2 * pi);
    std::normal_distribution<double> h(0, 0.01);
    for (int k = 0; k < 1000000; ++k) {
      float p[3];
      at(u(rng), u(rng), h(rng), p);
      r.cloud.Positions().push_back(Point3D(p[0], p[1], p[2]));
    }
    return r;
  }();
  return in;
}

std::vector<K::Triangle_3> CgalTriangles() {
  const auto& m = Data().mesh;
  std::vector<K::Triangle_3> tris;
  auto pt = [&](int i) {
    const Point3D& p = m.Vertices()[std::size_t(i)];
    return K::Point_3(p.x(), p.y(), p.z());
  };
  for (const auto& t : m.Triangles()) tris.emplace_back(pt(t[0]), pt(t[1]), pt(t[2]));
  return tris;
}

using Primitive = CGAL::AABB_triangle_primitive<K, std::vector<K::Triangle_3>::const_iterator>;
using Tree = CGAL::AABB_tree<CGAL::AABB_traits<K, Primitive>>;

// Distances by CGAL, computed once for the accuracy counters.
const std::vector<double>& Reference() {
  static const std::vector<double> ref = [] {
    const auto tris = CgalTriangles();
    Tree tree(tris.begin(), tris.end());
    tree.accelerate_distance_queries();
    std::vector<double> d;
    for (const Point3D& p : Data().cloud.Positions())
      d.push_back(std::sqrt(tree.squared_distance(K::Point_3(p.x(), p.y(), p.z()))));
    return d;
  }();
  return ref;
}

template <class Dist>
void Accuracy(benchmark::State& st, const Dist& dist) {
  const auto& ref = Reference();
  double abs = 0, rel = 0;
  for (std::size_t i = 0; i < ref.size(); ++i) {
    const double e = std::abs(std::abs(double(dist(i))) - ref[i]);
    abs = std::max(abs, e);
    if (ref[i] > 1e-4) rel = std::max(rel, e / ref[i]);
  }
  st.counters["max_abs_err"] = abs;
  st.counters["max_rel_err"] = rel;
  st.SetItemsProcessed(st.iterations() * std::int64_t(ref.size()));
}

void BM_Deviation_QVmath(benchmark::State& st) {
  REmath::CDeviationParams params;
  params.nThreads = int(st.range(0));
  REmath::CCloudDeviation out;
  for (auto _ : st) {
    REmath::ComputeCloudDeviation(Data().cloud, Data().mesh, params, out);
    benchmark::DoNotOptimize(out.distance.data());
  }
  Accuracy(st, [&](std::size_t i) { return out.distance[i]; });
}

void BM_Deviation_CgalAabbTree(benchmark::State& st) {
  const auto tris = CgalTriangles();
  std::vector<K::Point_3> pts;
  for (const Point3D& p : Data().cloud.Positions()) pts.emplace_back(p.x(), p.y(), p.z());
  std::vector<double> d(pts.size());
  for (auto _ : st) {
    Tree tree(tris.begin(), tris.end());
    tree.accelerate_distance_queries();
    for (std::size_t i = 0; i < pts.size(); ++i) {
      const auto hit = tree.closest_point_and_primitive(pts[i]);
      d[i] = std::sqrt(CGAL::squared_distance(pts[i], hit.first));
    }
    benchmark::DoNotOptimize(d.data());
  }
  Accuracy(st, [&](std::size_t i) { return d[i]; });
}

#ifdef QVMATH_BENCH_OPEN3D
void BM_Deviation_Open3D(benchmark::State& st) {
  namespace core = open3d::core;
  const auto& m = Data().mesh;
  std::vector<float> v;
  for (const Point3D& p : m.Vertices()) v.insert(v.end(), {p.x(), p.y(), p.z()});
  std::vector<std::uint32_t> t;
  for (const auto& tr : m.Triangles())
    t.insert(t.end(), {std::uint32_t(tr[0]), std::uint32_t(tr[1]), std::uint32_t(tr[2])});
  std::vector<float> q;
  for (const Point3D& p : Data().cloud.Positions()) q.insert(q.end(), {p.x(), p.y(), p.z()});
  const core::Tensor vt(v, {std::int64_t(m.VertexCount()), 3}, core::Float32);
  const core::Tensor tt(t, {std::int64_t(m.TriangleCount()), 3}, core::UInt32);
  const core::Tensor qt(q, {std::int64_t(q.size() / 3), 3}, core::Float32);
  std::vector<float> d;
  for (auto _ : st) {
    open3d::t::geometry::RaycastingScene scene;
    scene.AddTriangles(vt, tt);
    d = scene.ComputeDistance(qt, int(st.range(0))).template ToFlatVector<float>();
    benchmark::DoNotOptimize(d.data());
  }
  Accuracy(st, [&](std::size_t i) { return d[i]; });
}
BENCHMARK(BM_Deviation_Open3D)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->Iterations(2);
#endif

}  // namespace

BENCHMARK(BM_Deviation_QVmath)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(BM_Deviation_CgalAabbTree)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK_MAIN();
