// SPDX-License-Identifier: MIT
// Squared point-triangle distances: CProjectorTriangle's precalculated query beside
// distancePointTriangle2 on the same triangles and points.
#include <benchmark/benchmark.h>
#include <qvmath/geometry/dist_point_triangle.h>
#include <qvmath/geometry/projector_triangle.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace {

using REmath::CProjectorTriangle;
using REmath::Point3D;

struct Data {
  std::vector<Point3D> tris;  // 3 per triangle
  std::vector<float> points;  // 3 per query
  std::vector<double> exact;  // double reference per query
};

// Exact squared distance in double by the closest-feature rule (for the error counter).
double Reference(const Point3D* t, const float* p) {
  double a[3], b[3], c[3], q[3];
  for (int k = 0; k < 3; ++k)
    a[k] = t[0].asArray()[k], b[k] = t[1].asArray()[k], c[k] = t[2].asArray()[k], q[k] = p[k];
  auto sub = [](const double* u, const double* v, double* r) {
    for (int k = 0; k < 3; ++k) r[k] = u[k] - v[k];
  };
  auto dot = [](const double* u, const double* v) {
    return u[0] * v[0] + u[1] * v[1] + u[2] * v[2];
  };
  auto seg = [&](const double* u, const double* v) {
    double d[3], w[3];
    sub(v, u, d);
    sub(q, u, w);
    const double t = std::clamp(dot(w, d) / dot(d, d), 0.0, 1.0);
    for (int k = 0; k < 3; ++k) w[k] -= t * d[k];
    return dot(w, w);
  };
  double e1[3], e2[3], n[3], w[3];
  sub(b, a, e1);
  sub(c, a, e2);
  n[0] = e1[1] * e2[2] - e1[2] * e2[1], n[1] = e1[2] * e2[0] - e1[0] * e2[2],
  n[2] = e1[0] * e2[1] - e1[1] * e2[0];
  sub(q, a, w);
  const double s = dot(w, n) / dot(n, n);
  double r[3];
  for (int k = 0; k < 3; ++k) r[k] = w[k] - s * n[k];
  // Barycentric test of the in-plane projection.
  const double d00 = dot(e1, e1), d01 = dot(e1, e2), d11 = dot(e2, e2), d20 = dot(r, e1),
               d21 = dot(r, e2), den = d00 * d11 - d01 * d01;
  const double v = (d11 * d20 - d01 * d21) / den, u2 = (d00 * d21 - d01 * d20) / den;
  if (v >= 0 && u2 >= 0 && v + u2 <= 1) return s * s * dot(n, n);
  return std::min({seg(a, b), seg(b, c), seg(c, a)});
}

// nTri triangles of size ~1 scattered in a box of 100, perTri query points around each.
Data Make(int nTri, int perTri, unsigned seed) {
  std::mt19937 gen(seed);
  std::uniform_real_distribution<float> box(-50, 50), local(-1, 1), near(-2, 2);
  Data d;
  for (int t = 0; t < nTri; ++t) {
    const float cx = box(gen), cy = box(gen), cz = box(gen);
    for (int v = 0; v < 3; ++v)
      d.tris.emplace_back(cx + local(gen), cy + local(gen), cz + local(gen));
    for (int q = 0; q < perTri; ++q) {
      const float p[3] = {cx + near(gen), cy + near(gen), cz + near(gen)};
      d.points.insert(d.points.end(), p, p + 3);
      d.exact.push_back(Reference(&d.tris[3 * t], p));
    }
  }
  return d;
}

const Data& Inputs(int perTri) {
  // Fixed inputs per configuration: 1M queries on 256 triangles (each triangle's
  // precalculated data stays in cache), or one query on each of 262,144 distinct triangles
  // (the cached data streams from memory: 336 bytes per triangle against 36).
  static const Data few = Make(256, 4096, 20240611);
  static const Data many = Make(1 << 18, 1, 20240611);
  return perTri == 1 ? many : few;
}

void BM_DistToTriangle2Precalced(benchmark::State& st) {
  const int perTri = int(st.range(0));
  const Data& d = Inputs(perTri);
  const int nTri = int(d.tris.size() / 3);
  std::vector<CProjectorTriangle> pts(nTri);
  for (int t = 0; t < nTri; ++t) {
    pts[t].SetTriangle(d.tris[3 * t], d.tris[3 * t + 1], d.tris[3 * t + 2]);
    pts[t].PreCalc();
  }
  double maxErr = 0;
  for (int t = 0; t < nTri; ++t)
    for (int q = 0; q < perTri; ++q) {
      const std::size_t i = std::size_t(t) * perTri + q;
      maxErr = std::max(maxErr,
                        std::fabs(pts[t].DistToTriangle2Precalced(&d.points[3 * i]) - d.exact[i]) /
                            (1 + d.exact[i]));
    }
  for (auto _ : st) {
    for (int t = 0; t < nTri; ++t) {
      const CProjectorTriangle& pt = pts[t];
      const float* p = &d.points[3 * std::size_t(t) * perTri];
      for (int q = 0; q < perTri; ++q)
        benchmark::DoNotOptimize(pt.DistToTriangle2Precalced(p + 3 * q));
    }
  }
  st.SetItemsProcessed(st.iterations() * int64_t(d.exact.size()));
  st.counters["max_rel_err"] = maxErr;
}

void BM_distancePointTriangle2(benchmark::State& st) {
  const int perTri = int(st.range(0));
  const Data& d = Inputs(perTri);
  const int nTri = int(d.tris.size() / 3);
  double maxErr = 0;
  for (int t = 0; t < nTri; ++t)
    for (int q = 0; q < perTri; ++q) {
      const std::size_t i = std::size_t(t) * perTri + q;
      maxErr = std::max(
          maxErr, std::fabs(distancePointTriangle2(&d.points[3 * i], &d.tris[3 * t]) - d.exact[i]) /
                      (1 + d.exact[i]));
    }
  for (auto _ : st) {
    for (int t = 0; t < nTri; ++t) {
      const Point3D* tri = &d.tris[3 * t];
      const float* p = &d.points[3 * std::size_t(t) * perTri];
      for (int q = 0; q < perTri; ++q)
        benchmark::DoNotOptimize(distancePointTriangle2(p + 3 * q, tri));
    }
  }
  st.SetItemsProcessed(st.iterations() * int64_t(d.exact.size()));
  st.counters["max_rel_err"] = maxErr;
}

}  // namespace

BENCHMARK(BM_DistToTriangle2Precalced)->Arg(4096)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_distancePointTriangle2)->Arg(4096)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
