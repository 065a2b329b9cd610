// SPDX-License-Identifier: MIT
// Bindings of the geometry kernel: the implicit-surface polygonizer with a Python function,
// and point-to-triangle and point-to-segment distances over arrays.
#include <qvmath/geometry/dist_batch.h>
#include <qvmath/geometry/dist_point_segment.h>
#include <qvmath/geometry/dist_point_triangle.h>
#include <qvmath/geometry/polygonizer.h>

#include <cmath>
#include <cstdint>
#include <new>

#include "bind_common.h"

namespace qvmath_python {

namespace {

using REmath::Point3D_d;

// f(p, &flag) → f(x, y, z) of Python, or in the vectorised form f(xyz) with an (m, 3) array
// returning m values. The polygonizer asks for one value at a time, and each bisection step
// depends on the sign found by the previous one, so a batch can only hold values whose
// points are known in advance: those of a vertex normal, the forward differences at the
// vertex q along x, y and z (step size / 100). q is the eleventh point of a run of halving
// steps along a lattice edge (ten bisection midpoints, then the vertex); at that point the
// batch holds q and its three neighbours, and the next three requests read their values.
// A wrong guess only costs evaluations: a value is handed out only for the exact point it
// was computed at.
class CPySurface : public pzProcess::SurfaceFunctor {
 public:
  CPySurface(py::object f, bool batch, double size)
      : m_f(std::move(f)), m_batch(batch), m_size(size), m_delta(size / 100) {}
  double operator()(const Point3D_d& p, int*) const override {
    if (!m_batch) return m_f(p.x(), p.y(), p.z()).cast<double>();
    const bool vertex = FollowsBisection(p);
    for (int i = 1; i < m_cached; ++i)
      if (m_points[i].x() == p.x() && m_points[i].y() == p.y() && m_points[i].z() == p.z())
        return m_values[i];
    m_cached = vertex ? 4 : 1;
    m_points[0] = p;
    m_points[1] = Point3D_d(p.x() + m_delta, p.y(), p.z());
    m_points[2] = Point3D_d(p.x(), p.y() + m_delta, p.z());
    m_points[3] = Point3D_d(p.x(), p.y(), p.z() + m_delta);
    py::array_t<double> xyz({py::ssize_t(m_cached), py::ssize_t(3)});
    double* d = xyz.mutable_data();
    for (int i = 0; i < m_cached; ++i)
      d[3 * i] = m_points[i].x(), d[3 * i + 1] = m_points[i].y(), d[3 * i + 2] = m_points[i].z();
    using DoubleC = py::array_t<double, py::array::c_style | py::array::forcecast>;
    DoubleC values = DoubleC::ensure(m_f(xyz));
    if (!values) throw py::error_already_set();
    if (values.size() != m_cached)
      throw py::value_error("a vectorised f must return one value per row of its (m, 3) input");
    for (int i = 0; i < m_cached; ++i) m_values[i] = values.data()[i];
    return m_values[0];
  }

 private:
  // Whether p ends a run of at least nine steps that each halve the previous one along one
  // line, the last one 2⁻¹¹ of a lattice edge.
  bool FollowsBisection(const Point3D_d& p) const {
    const double s[3] = {p.x() - m_last.x(), p.y() - m_last.y(), p.z() - m_last.z()};
    const double* t = m_step;
    const double ss = s[0] * s[0] + s[1] * s[1] + s[2] * s[2];
    const double tt = t[0] * t[0] + t[1] * t[1] + t[2] * t[2];
    const double c[3] = {s[1] * t[2] - s[2] * t[1], s[2] * t[0] - s[0] * t[2],
                         s[0] * t[1] - s[1] * t[0]};
    const double cc = c[0] * c[0] + c[1] * c[1] + c[2] * c[2];
    const bool halving = ss > 0 && std::fabs(4 * ss - tt) <= 1e-6 * tt && cc <= 1e-9 * ss * tt;
    m_run = halving ? m_run + 1 : 0;
    m_last = p;
    for (int i = 0; i < 3; ++i) m_step[i] = s[i];
    // Ten bisections of a lattice edge (length size, size √2 or size √3) leave a last step
    // of 2⁻¹¹ of its length; that tells the vertex from a bisection step that merely
    // continues a halving run begun at one of the edge's corners.
    const double e = ss * 4194304.0 / (m_size * m_size);  // (|s| 2¹¹ / size)²
    const double r = std::round(e);
    return m_run >= 9 && r >= 1 && r <= 3 && std::fabs(e - r) <= 1e-6;
  }

  py::object m_f;
  bool m_batch;
  double m_size;
  double m_delta;  // the polygonizer's finite-difference step, computed as it does
  mutable int m_cached = 0;
  mutable Point3D_d m_points[4];
  mutable double m_values[4] = {0, 0, 0, 0};
  mutable Point3D_d m_last;
  mutable double m_step[3] = {0, 0, 0};
  mutable int m_run = 0;
};

class CCollect : public pzProcess::TriangleFunctor {
 public:
  explicit CCollect(std::vector<std::int32_t>& out) : m_out(out) {}
  int operator()(int a, int b, int c, pzVertices) const override {
    m_out.push_back(a), m_out.push_back(b), m_out.push_back(c);
    return 1;
  }

 private:
  std::vector<std::int32_t>& m_out;
};

py::tuple Polygonize(const py::object& f, py::sequence start, double size, py::sequence bounds,
                     bool vectorized) {
  if (py::len(start) != 3 || py::len(bounds) != 3)
    throw py::value_error("start and bounds must hold three values each");
  int b[3];
  for (int i = 0; i < 3; ++i) b[i] = bounds[py::size_t(i)].cast<int>();
  const Point3D_d s(start[0].cast<double>(), start[1].cast<double>(), start[2].cast<double>());
  pzProcess process;
  std::vector<std::int32_t> triangles;
  const CPySurface surface(f, vectorized, size);
  const int r = process.polygonize(surface, size, b, s, CCollect(triangles));
  if (r == pzProcess::kNoSeed)
    throw py::value_error("no surface found near start: f took only one sign in the search");
  if (r == pzProcess::kBadArgument)
    throw py::value_error("size must be positive and finite, bounds non-negative, start finite");
  if (r == pzProcess::kNoMemory) throw std::bad_alloc();
  const pzVertices& v = process.vertices();
  const auto m = py::ssize_t(v.count);
  py::array_t<double> vertices({m, py::ssize_t(3)}), normals({m, py::ssize_t(3)});
  double* pv = vertices.mutable_data();
  double* pn = normals.mutable_data();
  for (py::ssize_t i = 0; i < m; ++i) {
    const pzVertex& x = v.ptr[i];
    pv[3 * i] = x.position.x(), pv[3 * i + 1] = x.position.y(), pv[3 * i + 2] = x.position.z();
    pn[3 * i] = x.normal.x(), pn[3 * i + 1] = x.normal.y(), pn[3 * i + 2] = x.normal.z();
  }
  const auto t = py::ssize_t(triangles.size() / 3);
  return py::make_tuple(vertices, normals, ToArray<std::int32_t>(std::move(triangles), {t, 3}));
}

// Points (n, 3) and items (m, k, 3) or (k, 3); row i is paired with item i, or one side is
// broadcast when it holds a single entry. The points are read in place where their layout
// allows (C-contiguous float32).
struct CPairs {
  CPairs(const py::handle& points, const py::handle& items, const char* name, int k)
      : view(points, "points") {
    py::array a = py::array::ensure(items);
    py::ssize_t m = 0;
    std::vector<double> d = (a && a.ndim() == 2)
                                ? ReadRealArray(a.attr("reshape")(1, k, 3), name, {k, 3}, m)
                                : ReadRealArray(items, name, {k, 3}, m);
    item.assign(d.begin(), d.end());
    const py::ssize_t np = view.Size();
    if (np != m && np != 1 && m != 1)
      throw py::value_error(std::string("points and ") + name +
                            " must have the same length or "
                            "one of them a single entry: " +
                            std::to_string(np) + " and " + std::to_string(m));
    n = (np == 1 || m == 1) ? np * m : np;
    stepP = np == 1 && m != 1 ? 0 : 3;
    stepItem = m == 1 ? 0 : 3 * k;
  }
  const float* Point(py::ssize_t i) const {
    return reinterpret_cast<const float*>(view.data()) + i * stepP;
  }
  const float* Item(py::ssize_t i) const { return item.data() + i * stepItem; }

  CPointsView view;
  std::vector<float> item;
  py::ssize_t n = 0, stepP = 3, stepItem = 0;
};

// Runs the query over the pairs: one batched call when a single item serves every point
// (bit for bit the per-point results), one call per pair otherwise.
template <class Batch, class Single>
py::tuple Distances(const CPairs& in, Batch batch, Single single) {
  const auto n = std::size_t(in.n);
  std::vector<float> d2(n), feet(3 * n);
  std::vector<int> region(n);
  {
    py::gil_scoped_release nogil;
    if (in.stepItem == 0 && in.stepP == 3 && n > 0) {
      batch(in.Point(0), int(n), in.Item(0), d2.data(), region.data(), feet.data());
    } else {
      for (std::size_t i = 0; i < n; ++i)
        d2[i] = single(in.Point(py::ssize_t(i)), in.Item(py::ssize_t(i)), region[i],
                       feet.data() + 3 * i);
    }
  }
  std::vector<std::int8_t> codes(region.begin(), region.end());
  return py::make_tuple(ToArray<float>(std::move(d2), {in.n}),
                        ToArray<float>(std::move(feet), {in.n, 3}),
                        ToArray<std::int8_t>(std::move(codes), {in.n}));
}

py::tuple DistanceToTriangles(const py::handle& points, const py::handle& triangles) {
  const CPairs in(points, triangles, "triangles", 3);
  return Distances(
      in,
      [](const float* p, int n, const float* t, float* d2, int* r, float* feet) {
        const float* tri[3] = {t, t + 3, t + 6};
        distancePointsTriangle2(p, n, tri, d2, r, feet);
      },
      [](const float* p, const float* t, int& r, float* foot) {
        const float* tri[3] = {t, t + 3, t + 6};
        return distancePointTriangle2(p, tri, r, foot);
      });
}

py::tuple DistanceToSegments(const py::handle& points, const py::handle& segments) {
  const CPairs in(points, segments, "segments", 2);
  return Distances(
      in,
      [](const float* p, int n, const float* s, float* d2, int* r, float* feet) {
        DistancePoints2Segment(p, n, s, s + 3, d2, r, feet);
      },
      [](const float* p, const float* s, int& r, float* foot) {
        return DistancePoint2Segment(p, s, s + 3, foot, r);
      });
}

}  // namespace

void BindGeometry(py::module_& m) {
  using namespace pybind11::literals;
  m.def("polygonize", &Polygonize, "f"_a, "start"_a, "size"_a, "bounds"_a, "vectorized"_a = false,
        "polygonize(f, start, size, bounds, vectorized=False) -> (vertices, normals, triangles)\n\n"
        "Triangulates the component of f = 0 through a seed found near start, by continuation\n"
        "over a lattice of cubes of edge size within |i|, |j|, |k| <= bounds (three cube\n"
        "counts). f(x, y, z) returns a float; with vectorized=True f takes an (m, 3) float64\n"
        "array and returns m values, each row's value computed from that row alone. The\n"
        "polygonizer asks for one value at a time and each of its ten bisection steps per\n"
        "vertex depends on the sign found by the previous one, so most calls carry one row:\n"
        "only the four values of each vertex normal (at the vertex and at steps of size/100\n"
        "along x, y and z) go in one call of four rows, 11 calls per vertex instead of 14,\n"
        "with the same values and mesh as the scalar form. Lattice corners and the seed search\n"
        "take one row per call. Returns vertices (m, 3) and unit normals (m, 3) float64 toward\n"
        "f > 0, and triangles (t, 3) int32, counter-clockwise seen from f > 0. An exception\n"
        "raised by f propagates. Raises ValueError when no surface is found near start or an\n"
        "argument is unusable.");
  m.def("distance_to_triangles", &DistanceToTriangles, "points"_a, "triangles"_a,
        "distance_to_triangles(points, triangles) -> (d2, feet, regions)\n\n"
        "Squared distance from each point (n, 3) to its triangle (n, 3, 3); a single point or\n"
        "a single triangle (3, 3) is paired with every entry of the other side. Returns d2\n"
        "(n,) float32, feet (n, 3) float32 and regions (n,) int8: 0 face, 1 edge AB, 2 edge\n"
        "BC, 3 edge CA, 4 vertex A, 5 vertex B, 6 vertex C. Computed in float32; a single\n"
        "triangle against many points runs four points at a time (the same results).");
  m.def("distance_to_segments", &DistanceToSegments, "points"_a, "segments"_a,
        "distance_to_segments(points, segments) -> (d2, feet, regions)\n\n"
        "Squared distance from each point (n, 3) to its segment (n, 2, 3) (or a single one\n"
        "(2, 3), broadcast like distance_to_triangles). Returns d2 (n,) float32, feet (n, 3)\n"
        "float32 and regions (n,) int8: 0 interior (also a zero-length segment), 1 end a,\n"
        "2 end b (a tie between the ends goes to b). Computed in float32; a single segment\n"
        "against many points runs four points at a time (the same results).");
}

}  // namespace qvmath_python
