// SPDX-License-Identifier: MIT
// Bindings of the geometry kernel: the implicit-surface polygonizer with a Python function,
// and point-to-triangle and point-to-segment distances over arrays.
#include "bind_common.h"

#include <qvmath/geometry/dist_point_segment.h>
#include <qvmath/geometry/dist_point_triangle.h>
#include <qvmath/geometry/polygonizer.h>

#include <cstdint>
#include <new>

namespace qvmath_python {

namespace {

using REmath::Point3D_d;

// f(p, &flag) → f(x, y, z) of Python, or a batch call f(xyz) with an (m, 3) array when the
// caller asked for the vectorised form (one point per call: the polygonizer asks for one
// value at a time).
class CPySurface : public pzProcess::SurfaceFunctor {
 public:
  CPySurface(py::object f, bool batch) : m_f(std::move(f)), m_batch(batch) {}
  double operator()(const Point3D_d& p, int*) const override {
    if (!m_batch) return m_f(p.x(), p.y(), p.z()).cast<double>();
    py::array_t<double> xyz({py::ssize_t(1), py::ssize_t(3)});
    double* d = xyz.mutable_data();
    d[0] = p.x(), d[1] = p.y(), d[2] = p.z();
    py::array values = py::array::ensure(m_f(xyz));
    if (!values || values.size() != 1)
      throw py::value_error("a vectorised f must return one value per row of its (m, 3) input");
    return py::float_(values.attr("item")(0)).cast<double>();
  }

 private:
  py::object m_f;
  bool m_batch;
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
  const int r = process.polygonize(CPySurface(f, vectorized), size, b, s, CCollect(triangles));
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

// Reads points (n, 3) and items (m, k, 3) or (k, 3); pairs row i with item i, or one side
// broadcast when it holds a single entry.
struct CPairs {
  std::vector<float> p, items;
  py::ssize_t n = 0, stepP = 3, stepItem = 0;
};

CPairs ReadPairs(const py::handle& points, const py::handle& items, const char* name, int k) {
  CPairs out;
  CPointsView view(points, "points");
  const float* first = reinterpret_cast<const float*>(view.data());
  out.p.assign(first, first + 3 * std::size_t(view.Size()));
  py::array a = py::array::ensure(items);
  py::ssize_t m = 0;
  std::vector<double> d =
      (a && a.ndim() == 2) ? ReadRealArray(a.attr("reshape")(1, k, 3), name, {k, 3}, m)
                           : ReadRealArray(items, name, {k, 3}, m);
  out.items.assign(d.begin(), d.end());
  const py::ssize_t np = view.Size();
  if (np != m && np != 1 && m != 1)
    throw py::value_error(std::string("points and ") + name + " must have the same length or "
                          "one of them a single entry: " + std::to_string(np) + " and " +
                          std::to_string(m));
  out.n = (np == 1 || m == 1) ? np * m : np;
  if (np == 1 && m != 1) out.stepP = 0;
  out.stepItem = m == 1 ? 0 : 3 * k;
  return out;
}

py::tuple DistanceToTriangles(const py::handle& points, const py::handle& triangles) {
  CPairs in = ReadPairs(points, triangles, "triangles", 3);
  std::vector<float> d2(std::size_t(in.n)), feet(3 * std::size_t(in.n));
  std::vector<std::int8_t> region(std::size_t(in.n));
  {
    py::gil_scoped_release nogil;
    for (py::ssize_t i = 0; i < in.n; ++i) {
      const float* t = in.items.data() + i * in.stepItem;
      const float* tri[3] = {t, t + 3, t + 6};
      int r = 0;
      d2[std::size_t(i)] =
          distancePointTriangle2(in.p.data() + i * in.stepP, tri, r, feet.data() + 3 * i);
      region[std::size_t(i)] = std::int8_t(r);
    }
  }
  return py::make_tuple(ToArray<float>(std::move(d2), {in.n}),
                        ToArray<float>(std::move(feet), {in.n, 3}),
                        ToArray<std::int8_t>(std::move(region), {in.n}));
}

py::tuple DistanceToSegments(const py::handle& points, const py::handle& segments) {
  CPairs in = ReadPairs(points, segments, "segments", 2);
  std::vector<float> d2(std::size_t(in.n)), feet(3 * std::size_t(in.n));
  std::vector<std::int8_t> region(std::size_t(in.n));
  {
    py::gil_scoped_release nogil;
    for (py::ssize_t i = 0; i < in.n; ++i) {
      const float* s = in.items.data() + i * in.stepItem;
      int r = 0;
      d2[std::size_t(i)] =
          DistancePoint2Segment(in.p.data() + i * in.stepP, s, s + 3, feet.data() + 3 * i, r);
      region[std::size_t(i)] = std::int8_t(r);
    }
  }
  return py::make_tuple(ToArray<float>(std::move(d2), {in.n}),
                        ToArray<float>(std::move(feet), {in.n, 3}),
                        ToArray<std::int8_t>(std::move(region), {in.n}));
}

}  // namespace

void BindGeometry(py::module_& m) {
  using namespace pybind11::literals;
  m.def("polygonize", &Polygonize, "f"_a, "start"_a, "size"_a, "bounds"_a,
        "vectorized"_a = false,
        "polygonize(f, start, size, bounds, vectorized=False) -> (vertices, normals, triangles)\n\n"
        "Triangulates the component of f = 0 through a seed found near start, by continuation\n"
        "over a lattice of cubes of edge size within |i|, |j|, |k| <= bounds (three cube\n"
        "counts). f(x, y, z) returns a float; with vectorized=True f takes an (m, 3) array and\n"
        "returns m values. Returns vertices (m, 3) and unit normals (m, 3) float64 toward\n"
        "f > 0, and triangles (t, 3) int32, counter-clockwise seen from f > 0. An exception\n"
        "raised by f propagates. Raises ValueError when no surface is found near start or an\n"
        "argument is unusable.");
  m.def("distance_to_triangles", &DistanceToTriangles, "points"_a, "triangles"_a,
        "distance_to_triangles(points, triangles) -> (d2, feet, regions)\n\n"
        "Squared distance from each point (n, 3) to its triangle (n, 3, 3); a single point or\n"
        "a single triangle (3, 3) is paired with every entry of the other side. Returns d2\n"
        "(n,) float32, feet (n, 3) float32 and regions (n,) int8: 0 face, 1 edge AB, 2 edge\n"
        "BC, 3 edge CA, 4 vertex A, 5 vertex B, 6 vertex C. Computed in float32.");
  m.def("distance_to_segments", &DistanceToSegments, "points"_a, "segments"_a,
        "distance_to_segments(points, segments) -> (d2, feet, regions)\n\n"
        "Squared distance from each point (n, 3) to its segment (n, 2, 3) (or a single one\n"
        "(2, 3), broadcast like distance_to_triangles). Returns d2 (n,) float32, feet (n, 3)\n"
        "float32 and regions (n,) int8: 0 interior (also a zero-length segment), 1 end a,\n"
        "2 end b (a tie between the ends goes to b). Computed in float32.");
}

}  // namespace qvmath_python
