// SPDX-License-Identifier: MIT
// The implicit-surface polygonizer on a unit sphere, a torus (R = 1, r = 0.3) and a blend of
// three spheres at about 10k, 100k and 1M triangles: pzProcess::polygonize (continuation),
// pzProcess::marchingcubes (box sweep) and, when PCL is found, pcl::MarchingCubes fed with
// the same function sampled on its grid, at a comparable triangle count.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <qvmath/geometry/polygonizer.h>

#include <algorithm>
#include <cmath>
#include <unordered_set>
#include <vector>

#ifdef QVMATH_BENCH_HAVE_PCL
#include <pcl/point_types.h>
#include <pcl/surface/marching_cubes.h>
#endif

namespace {

using REmath::Point3D_d;

double Shape(int shape, double x, double y, double z) {
  switch (shape) {
    case 0:
      return std::sqrt(x * x + y * y + z * z) - 1;
    case 1:
      return std::hypot(std::hypot(x, y) - 1, z) - 0.3;
    default: {  // three Gaussian blobs, f > 0 outside
      const double c[3][3] = {{-0.5, 0, 0}, {0.5, 0, 0}, {0, 0.7, 0.2}};
      double s = 0;
      for (const auto& q : c)
        s += std::exp(
            -3 * ((x - q[0]) * (x - q[0]) + (y - q[1]) * (y - q[1]) + (z - q[2]) * (z - q[2])));
      return 0.4 - s;
    }
  }
}
const char* kNames[3] = {"sphere", "torus", "blend3"};

struct Fn : pzProcess::SurfaceFunctor {
  int shape = 0;
  mutable long calls = 0;
  double operator()(const Point3D_d& p, int*) const override {
    ++calls;
    return Shape(shape, p.x(), p.y(), p.z());
  }
};

// Records evaluation points (for the count of distinct points) in an untimed run.
struct RecordingFn : Fn {
  struct H {
    size_t operator()(const Point3D_d& p) const {
      return std::hash<double>()(p.x()) ^ (std::hash<double>()(p.y()) * 31) ^
             (std::hash<double>()(p.z()) * 131);
    }
  };
  struct E {
    bool operator()(const Point3D_d& a, const Point3D_d& b) const {
      return a.x() == b.x() && a.y() == b.y() && a.z() == b.z();
    }
  };
  mutable std::unordered_set<Point3D_d, H, E> seen;
  double operator()(const Point3D_d& p, int* f) const override {
    seen.insert(p);
    return Fn::operator()(p, f);
  }
};

size_t HeapBytes() {
  const struct mallinfo2 m = mallinfo2();
  return m.uordblks + m.hblkhd;
}

struct Sink : pzProcess::TriangleFunctor {
  mutable std::vector<int> tris;
  mutable size_t peak = 0;
  bool trackMemory = false;
  int operator()(int a, int b, int c, pzVertices) const override {
    tris.push_back(a), tris.push_back(b), tris.push_back(c);
    if (trackMemory && tris.size() % 12288 == 0) peak = std::max(peak, HeapBytes());
    return 1;
  }
};

// A surface point on the +x ray from the shape's inside (the seed search starts there).
Point3D_d StartPoint(int shape) {
  double in = shape == 1 ? 1.0 : 0.0, out = 3;
  for (int n = 0; n < 60; ++n) {
    const double m = 0.5 * (in + out);
    (Shape(shape, m, 0, 0) > 0 ? out : in) = m;
  }
  return Point3D_d(in, 0, 0);
}

int Run(pzProcess& pz, const Fn& f, double size, int shape, bool sweep, const Sink& sink) {
  sink.tris.clear();
  static const int bounds[3] = {1 << 20, 1 << 20, 1 << 20};
  return sweep ? pz.marchingcubes(f, size, Point3D_d(-1.5, -1.5, -1.5), Point3D_d(1.5, 1.5, 1.5),
                                  sink)
               : pz.polygonize(f, size, bounds, StartPoint(shape), sink);
}

// Cube size for about `target` triangles (the count scales as size⁻²).
double SizeFor(int shape, long target) {
  pzProcess pz;
  Fn f;
  f.shape = shape;
  Sink sink;
  double size = 0.1;
  for (int it = 0; it < 2; ++it)
    size *= std::sqrt(Run(pz, f, size, shape, false, sink) / double(target));
  return size;
}

void BM_Pz(benchmark::State& st, bool sweep) {
  const int shape = int(st.range(0));
  const long target = st.range(1);
  const double size = SizeFor(shape, target);
  pzProcess pz;
  Fn f;
  f.shape = shape;
  Sink sink;
  int n = 0;
  for (auto _ : st) {
    n = Run(pz, f, size, shape, sweep, sink);
    benchmark::DoNotOptimize(pz.vertices().ptr);
  }
  const double evalsPerRun = double(f.calls) / double(st.iterations());
  // Untimed passes: the heap peak above the starting level (sampled every 4096 triangles),
  // then the distinct evaluation points (every corner, 10 bisection and 4 normal points per
  // vertex, the seed search): evaluations / distinct points is 1 when nothing is evaluated
  // twice.
  Sink mem;
  mem.trackMemory = true;
  pz.freeprocess();
  const size_t base = HeapBytes();
  Run(pz, f, size, shape, sweep, mem);
  mem.peak = std::max(mem.peak, HeapBytes());
  RecordingFn rec;
  rec.shape = shape;
  Run(pz, rec, size, shape, sweep, sink);
  const double verts = pz.vertices().count;
  st.SetLabel(std::string(kNames[shape]) + (sweep ? " box" : " seed"));
  st.SetItemsProcessed(st.iterations() * n);
  st.counters["triangles"] = n;
  st.counters["size"] = size;
  st.counters["evals_per_tri"] = evalsPerRun / n;
  st.counters["corners_per_tri"] = (double(rec.seen.size()) - 14 * verts) / n;
  st.counters["ratio_to_bound"] = evalsPerRun / double(rec.seen.size());
  st.counters["peak_MB"] = (double(mem.peak) - double(base)) / 1e6;
}

#ifdef QVMATH_BENCH_HAVE_PCL
// pcl::MarchingCubes over [-1.5, 1.5]³ with the grid filled from the same function.
class PclImplicitMC : public pcl::MarchingCubes<pcl::PointNormal> {
 public:
  int shape = 0;
  long calls = 0;

 protected:
  void voxelizeData() override {
    grid_.assign(std::size_t(res_x_) * res_y_ * res_z_, 0.0f);
    const Eigen::Array3f lo = lower_boundary_,
                         step = (upper_boundary_ - lower_boundary_) /
                                Eigen::Array3f(res_x_ - 1, res_y_ - 1, res_z_ - 1);
    for (int x = 0; x < res_x_; ++x)
      for (int y = 0; y < res_y_; ++y)
        for (int z = 0; z < res_z_; ++z) {
          ++calls;
          grid_[(std::size_t(x) * res_y_ + y) * res_z_ + z] =
              float(Shape(shape, lo[0] + x * step[0], lo[1] + y * step[1], lo[2] + z * step[2]));
        }
  }
};

pcl::PointNormal Corner(float c) {
  pcl::PointNormal p;
  p.x = p.y = p.z = c;
  return p;
}

int PclRun(int shape, int res, long* calls) {
  pcl::PointCloud<pcl::PointNormal>::Ptr box(new pcl::PointCloud<pcl::PointNormal>);
  box->push_back(Corner(-1.5f));
  box->push_back(Corner(1.5f));
  PclImplicitMC mc;
  mc.shape = shape;
  mc.setInputCloud(box);
  mc.setGridResolution(res, res, res);
  mc.setPercentageExtendGrid(0.0f);
  mc.setIsoLevel(0.0f);
  pcl::PointCloud<pcl::PointNormal> points;
  std::vector<pcl::Vertices> polygons;
  mc.reconstruct(points, polygons);
  if (calls) *calls += mc.calls;
  return int(polygons.size());
}

void BM_PclMarchingCubes(benchmark::State& st) {
  const int shape = int(st.range(0));
  const long target = st.range(1);
  int res = 40;
  for (int it = 0; it < 2; ++it)
    res = int(std::lround(res * std::sqrt(double(target) / PclRun(shape, res, nullptr))));
  int n = 0;
  long calls = 0;
  for (auto _ : st) {
    n = PclRun(shape, res, &calls);
    benchmark::DoNotOptimize(n);
  }
  st.SetLabel(std::string(kNames[shape]) + " pcl");
  st.SetItemsProcessed(st.iterations() * n);
  st.counters["triangles"] = n;
  st.counters["grid_res"] = res;
  st.counters["evals_per_tri"] = double(calls) / double(st.iterations()) / n;
}
BENCHMARK(BM_PclMarchingCubes)
    ->ArgsProduct({{0, 1, 2}, {10000, 100000}})
    ->Unit(benchmark::kMillisecond);
#endif

BENCHMARK_CAPTURE(BM_Pz, polygonize, false)
    ->ArgsProduct({{0, 1, 2}, {10000, 100000, 1000000}})
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Pz, marchingcubes, true)
    ->ArgsProduct({{0, 1, 2}, {10000, 100000}})
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
