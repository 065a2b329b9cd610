// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/geometry/polygonizer.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <numeric>
#include <set>
#include <stdexcept>
#include <vector>

#include "geom_test_util.h"

using qvtest::V3;
using REmath::Point3D_d;

namespace {

V3 A(const Point3D_d& p) { return {p.x(), p.y(), p.z()}; }

// f from a lambda; counts evaluations, throws after `throwAfter`.
struct Fn : pzProcess::SurfaceFunctor {
  std::function<double(const V3&, int*)> f;
  mutable long calls = 0;
  long throwAfter = -1;
  double operator()(const Point3D_d& p, int* flag) const override {
    if (calls++ == throwAfter) throw std::runtime_error("user");
    return f(A(p), flag);
  }
};
Fn Surface(std::function<double(const V3&)> g) {
  Fn fn;
  fn.f = [g](const V3& p, int*) { return g(p); };
  return fn;
}
double Sphere(const V3& p, const V3& c, double r) { return std::sqrt(qvtest::Dist2(p, c)) - r; }
double Torus(const V3& p) {  // R = 1, r = 0.3 around the z axis
  const double q = std::hypot(p[0], p[1]) - 1;
  return std::hypot(q, p[2]) - 0.3;
}

struct Mesh : pzProcess::TriangleFunctor {
  mutable std::vector<std::array<int, 3>> tris;
  int stopAfter = -1;
  int operator()(int a, int b, int c, pzVertices) const override {
    tris.push_back({a, b, c});
    return int(tris.size()) != stopAfter;
  }
};

// Numerical gradient of g (the oracle for the orientation rule: toward f > 0).
V3 Grad(const std::function<double(const V3&)>& g, const V3& p) {
  const double h = 1e-6;
  V3 r;
  for (int a = 0; a < 3; ++a) {
    V3 q = p, m = p;
    q[a] += h, m[a] -= h;
    r[a] = (g(q) - g(m)) / (2 * h);
  }
  return r;
}

struct Topology {
  bool closedAndOriented = true;  // every directed edge once, with its reverse present
  int euler = 0, components = 0;
  double area = 0, minArea = 1e300;
  int wrongFaces = 0;  // triangles whose normal does not point along the gradient of g
};
Topology Analyse(const std::vector<std::array<int, 3>>& tris, const pzVertices& v,
                 const std::function<double(const V3&)>& g) {
  Topology t;
  std::set<std::pair<int, int>> directed, undirected;
  std::set<int> used;
  std::vector<int> parent(v.count);
  std::iota(parent.begin(), parent.end(), 0);
  std::function<int(int)> root = [&](int x) {
    return parent[x] == x ? x : parent[x] = root(parent[x]);
  };
  for (const auto& tri : tris)
    for (int e = 0; e < 3; ++e) {
      t.closedAndOriented &= directed.insert({tri[e], tri[(e + 1) % 3]}).second;
      undirected.insert(std::minmax(tri[e], tri[(e + 1) % 3]));
      used.insert(tri[e]);
      parent[root(tri[e])] = root(tri[(e + 1) % 3]);
    }
  for (const auto& d : directed) t.closedAndOriented &= directed.count({d.second, d.first}) == 1;
  for (const auto& tri : tris) {
    const V3 p0 = A(v.ptr[tri[0]].position);
    const V3 n = qvtest::Cross(qvtest::Sub(A(v.ptr[tri[1]].position), p0),
                               qvtest::Sub(A(v.ptr[tri[2]].position), p0));
    t.area += 0.5 * std::sqrt(qvtest::Norm2(n));
    t.minArea = std::min(t.minArea, 0.5 * std::sqrt(qvtest::Norm2(n)));
    t.wrongFaces += qvtest::Dot(n, Grad(g, p0)) <= 0;
  }
  for (int x : used) t.components += root(x) == x;
  t.euler = int(used.size()) - int(undirected.size()) + int(tris.size());
  return t;
}

struct Case {
  const char* name;
  std::function<double(const V3&)> g;
  double size, area;
  int euler;
  Point3D_d start;
  bool sweep;  // marchingcubes over [-1.5, 1.5]³ instead of polygonize from (0, 0, 1)
};

TEST(Polygonizer, Properties_ClosedOrientedManifoldWithAnalyticArea) {
  const auto sphere = [](const V3& p) { return Sphere(p, {0, 0, 0}, 1); };
  const Case cases[] = {
      {"sphere", sphere, 0.1, 4 * qvtest::kPi, 2, {0, 0, 1}, false},
      {"torus", Torus, 0.05, 4 * qvtest::kPi * qvtest::kPi * 0.3, 0, {1.3, 0, 0}, false},
      {"sphere/box", sphere, 0.1, 4 * qvtest::kPi, 2, {}, true},
      {"torus/box", Torus, 0.05, 4 * qvtest::kPi * qvtest::kPi * 0.3, 0, {}, true}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Fn fn = Surface(c.g);
    Mesh mesh;
    pzProcess pz;
    const int bounds[3] = {1000, 1000, 1000};
    auto run = [&](Mesh& out) {
      return c.sweep ? pz.marchingcubes(fn, c.size, Point3D_d(-1.5, -1.5, -1.5),
                                        Point3D_d(1.5, 1.5, 1.5), out)
                     : pz.polygonize(fn, c.size, bounds, c.start, out);
    };
    Mesh first;
    run(first);
    const std::vector<pzVertex> firstVertices(pz.vertices().ptr,
                                              pz.vertices().ptr + pz.vertices().count);
    const int n = run(mesh);  // a second run gives the same mesh, bit for bit
    ASSERT_EQ(n, int(mesh.tris.size()));
    ASSERT_GT(n, 1000);
    const pzVertices& v = pz.vertices();
    ASSERT_EQ(firstVertices.size(), std::size_t(v.count));
    EXPECT_TRUE(first.tris == mesh.tris &&
                std::memcmp(firstVertices.data(), v.ptr, firstVertices.size() * sizeof(pzVertex)) ==
                    0);
    const Topology t = Analyse(mesh.tris, v, c.g);
    EXPECT_TRUE(t.closedAndOriented);
    EXPECT_EQ(t.euler, c.euler);
    EXPECT_EQ(t.components, 1);
    EXPECT_NEAR(t.area / c.area, 1.0, 0.01);
    EXPECT_GT(t.minArea, 0.0);
    EXPECT_EQ(t.wrongFaces, 0);
    // The forward-difference normal with step size/100 is within a few degrees of the true one.
    int wrongNormals = 0;
    for (int i = 0; i < v.count; ++i)
      wrongNormals += qvtest::Dot(A(v.ptr[i].normal), Grad(c.g, A(v.ptr[i].position))) < 0.99;
    EXPECT_EQ(wrongNormals, 0);
  }
}

TEST(Polygonizer, Degenerate_FailuresDeliverNothingAndReleaseEverything) {
  const int bounds[3] = {20, 20, 20}, negative[3] = {20, -1, 20};
  const Fn positive = Surface([](const V3& p) { return qvtest::Norm2(p) + 1; });
  const Fn nonPositive = Surface([](const V3&) { return 0.0; });
  const Fn sphere = Surface([](const V3& p) { return Sphere(p, {0, 0, 0}, 1); });
  Fn throwing = sphere;
  throwing.throwAfter = 3000;
  const Point3D_d o(0, 0, 0), far(1e300, 0, 0), nan(std::nan(""), 0, 0);
  struct {
    const Fn* f;
    double size;
    const int* bounds;
    Point3D_d start;
    int stopAfter, expect;
  } cases[] = {{&positive, 0.1, bounds, o, -1, pzProcess::kNoSeed},
               {&nonPositive, 0.1, bounds, o, -1, pzProcess::kNoSeed},
               {&sphere, 0.0, bounds, o, -1, pzProcess::kBadArgument},
               {&sphere, std::nan(""), bounds, o, -1, pzProcess::kBadArgument},
               {&sphere, 0.1, negative, o, -1, pzProcess::kBadArgument},
               {&sphere, 0.1, nullptr, o, -1, pzProcess::kBadArgument},
               {&sphere, 0.1, bounds, nan, -1, pzProcess::kBadArgument},
               {&sphere, 0.1, bounds, o, 7, pzProcess::kStopped},
               {&throwing, 0.1, bounds, o, -1, 1}};
  pzProcess pz;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.expect);
    Mesh mesh, ok;
    mesh.stopAfter = c.stopAfter;
    ASSERT_GT(pz.polygonize(sphere, 0.2, bounds, o, ok), 0);  // leaves a store behind
    if (c.expect == 1) {
      EXPECT_THROW(pz.polygonize(*c.f, c.size, c.bounds, c.start, mesh), std::runtime_error);
      c.f->calls = 0;
      EXPECT_THROW(pz.marchingcubes(*c.f, c.size, o, Point3D_d(1, 1, 1), mesh), std::runtime_error);
    } else {
      EXPECT_EQ(pz.polygonize(*c.f, c.size, c.bounds, c.start, mesh), c.expect);
      EXPECT_EQ(mesh.tris.size(), size_t(c.stopAfter > 0 ? c.stopAfter : 0));
    }
    EXPECT_EQ(pz.vertices().count, 0);
    EXPECT_EQ(pz.vertices().ptr, nullptr);
  }
  Mesh mesh;
  EXPECT_EQ(pz.marchingcubes(sphere, 0.1, o, far, mesh), pzProcess::kBadArgument);
}

// marchingcubes finds both of two disjoint spheres; polygonize follows the seed's one; a
// corner flag cuts the surface open where it is set.
TEST(Polygonizer, Properties_ComponentsAndFlags) {
  const auto g = [](const V3& p) {
    return std::min(Sphere(p, {-1, 0, 0}, 0.6), Sphere(p, {1, 0.2, 0}, 0.5));
  };
  Fn two = Surface(g), cut;
  cut.f = [&](const V3& p, int* flag) {
    *flag = p[0] > 1.2;
    return g(p);
  };
  const int bounds[3] = {100, 100, 100};
  struct {
    Fn* f;
    bool sweep;
    int components, euler;
    bool closed;
  } cases[] = {{&two, true, 2, 4, true}, {&two, false, 1, 2, true}, {&cut, true, 2, 3, false}};
  for (const auto& c : cases) {
    Mesh mesh;
    pzProcess pz;
    const int n =
        c.sweep ? pz.marchingcubes(*c.f, 0.05, Point3D_d(-2, -1, -1), Point3D_d(2, 1, 1), mesh)
                : pz.polygonize(*c.f, 0.05, bounds, Point3D_d(-1.6, 0, 0), mesh);
    ASSERT_GT(n, 0);
    const Topology t = Analyse(mesh.tris, pz.vertices(), g);
    EXPECT_EQ(t.wrongFaces, 0);
    EXPECT_EQ(t.components, c.components);
    EXPECT_EQ(t.closedAndOriented, c.closed);
    EXPECT_EQ(t.euler, c.euler);
    for (int i = 0; i < pz.vertices().count; ++i) {
      const double x = pz.vertices().ptr[i].position.x();
      EXPECT_TRUE((c.f != &cut || x <= 1.2) && (c.sweep || x < 0)) << x;
    }
  }
}

}  // namespace
