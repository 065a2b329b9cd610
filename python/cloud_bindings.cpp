// SPDX-License-Identifier: MIT
// Bindings of the point-cloud layer: files, normals and their orientation, curvature,
// planes, surface reconstruction, and the synthetic torus scan.
#include <qvmath/cloud/cloud_curvature.h>
#include <qvmath/cloud/cloud_file.h>
#include <qvmath/cloud/cloud_index.h>
#include <qvmath/cloud/cloud_normals.h>
#include <qvmath/cloud/cloud_orientation.h>
#include <qvmath/cloud/cloud_planes.h>
#include <qvmath/cloud/cloud_reconstruct.h>
#include <qvmath/cloud/cloud_samples.h>
#include <qvmath/cloud/point_cloud.h>
#include <qvmath/infra/progress_counter.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <stdexcept>

#include "bind_common.h"

namespace qvmath_python {

namespace {

using REmath::Point3D;

// Opens a sub-phase [a, a + b] of the counter's current phase around `step`.
template <class F>
void InPhase(CProgressCounter* counter, double a, double b, F&& step) {
  counter->StartNewSubPhaseFloat(a, b, true);
  step();
  counter->FinishSubPhase();
}

py::array_t<float> PointsArray(std::vector<Point3D>&& v) {
  const auto n = py::ssize_t(v.size());
  return ToArray<float>(std::move(v), {n, 3});
}

int Threads(int threads) { return threads < 1 ? 0 : threads; }

// Builds the neighbour index of the points (the first 10 % of the counter's phase).
void BuildIndex(const CPointsView& pts, REmath::CCloudIndex& index, CProgressCounter* counter,
                int nThreads) {
  InPhase(counter, 0.0, 0.1, [&] { index.Build(pts.data(), pts.Size(), counter, nThreads); });
}

// Normals of every point (covariance method, k = 16), as `normals` computes them by
// default; oriented by the spanning tree when `orient`.
void DefaultNormals(const REmath::CCloudIndex& index, bool orient, REmath::CCloudNormals& out,
                    int threads, CProgressCounter* counter, double a, double b) {
  REmath::CCloudNormalParams params;
  params.nThreads = threads;
  if (orient) params.k = std::min(params.k, index.Size());
  InPhase(counter, a, orient ? b / 2 : b,
          [&] { REmath::ComputeCloudNormals(index, params, out, counter); });
  if (!orient) return;
  REmath::CCloudOrientParams op;
  op.nThreads = threads;
  InPhase(counter, a + b / 2, b / 2,
          [&] { REmath::OrientCloudNormals(index, op, out.normals, out.valid, counter); });
}

// Given normals: (n, 3), valid where finite and not zero.
void GivenNormals(const py::handle& obj, int n, std::vector<Point3D>& normals,
                  std::vector<unsigned char>& valid) {
  CPointsView view(obj, "normals");
  if (view.Size() != n)
    throw py::value_error("normals must hold one row per point: " + std::to_string(view.Size()) +
                          " rows for " + std::to_string(n) + " points");
  normals.assign(view.data(), view.data() + n);
  valid.resize(std::size_t(n));
  for (int i = 0; i < n; ++i) {
    const Point3D& v = normals[std::size_t(i)];
    const bool finite = std::isfinite(v.x()) && std::isfinite(v.y()) && std::isfinite(v.z());
    valid[std::size_t(i)] = finite && (v.x() != 0 || v.y() != 0 || v.z() != 0);
  }
}

// ---- files -------------------------------------------------------------------------------

const char* DtypeOf(REmath::ECloudFieldType t) {
  using T = REmath::ECloudFieldType;
  switch (t) {
    case T::Int8:
      return "int8";
    case T::UInt8:
      return "uint8";
    case T::Int16:
      return "int16";
    case T::UInt16:
      return "uint16";
    case T::Int32:
      return "int32";
    case T::UInt32:
      return "uint32";
    case T::Float64:
      return "float64";
    case T::Float32:
      break;
  }
  return "float32";
}

REmath::ECloudFieldType FieldTypeOf(const py::dtype& d) {
  using T = REmath::ECloudFieldType;
  const char kind = d.kind();
  const auto size = d.itemsize();
  if (kind == 'f') return size == 8 ? T::Float64 : T::Float32;
  if (kind == 'i' || kind == 'b')
    return size == 1 ? T::Int8 : size == 2 ? T::Int16 : size == 4 ? T::Int32 : T::Float64;
  if (kind == 'u')
    return size == 1 ? T::UInt8 : size == 2 ? T::UInt16 : size == 4 ? T::UInt32 : T::Float64;
  return T::Float32;
}

py::dict Read(const std::string& path) {
  REmath::CPointCloud cloud;
  {
    py::gil_scoped_release nogil;
    REmath::ReadCloudFile(path, cloud);
  }
  const auto n = py::ssize_t(cloud.Size());
  py::dict out;
  out["points"] = PointsArray(std::move(cloud.Positions()));
  if (cloud.HasNormals()) out["normals"] = PointsArray(std::move(cloud.Normals()));
  if (cloud.HasColours()) {
    py::array_t<std::uint8_t> rgb({n, py::ssize_t(3)});
    std::uint8_t* p = rgb.mutable_data();
    for (py::ssize_t i = 0; i < n; ++i) {
      const std::uint32_t c = cloud.Colours()[std::size_t(i)];
      for (int ch = 0; ch < 3; ++ch) p[3 * i + ch] = std::uint8_t((c >> (8 * ch)) & 0xFFu);
    }
    out["colors"] = rgb;
  }
  py::module_ np = py::module_::import("numpy");
  for (auto& f : cloud.Fields()) {
    py::array values = ToArray<float>(std::move(f.values), {n});
    out[py::str(f.name)] = values.attr("astype")(DtypeOf(f.fileType));
  }
  return out;
}

void Write(const std::string& path, const py::handle& points, const py::kwargs& fields) {
  REmath::CPointCloud cloud;
  CPointsView pts(points, "points");
  const int n = pts.Size();
  cloud.Positions().assign(pts.data(), pts.data() + n);
  bool ascii = false;
  for (auto item : fields) {
    const std::string name = py::str(item.first);
    if (name == "ascii") {
      ascii = item.second.cast<bool>();
    } else if (name == "normals") {
      std::vector<unsigned char> valid;
      GivenNormals(item.second, n, cloud.Normals(), valid);
    } else if (name == "colors") {
      py::ssize_t rows = 0;
      std::vector<double> rgb = ReadRealArray(item.second, "colors", {3}, rows);
      if (rows != n) throw py::value_error("colors must hold one row per point");
      cloud.Colours().resize(std::size_t(n));
      for (int i = 0; i < n; ++i) {
        std::uint32_t c = 0;
        for (int ch = 0; ch < 3; ++ch) {
          const double v = rgb[std::size_t(3 * i + ch)];
          if (!(v >= 0 && v <= 255)) throw py::value_error("colors must lie in 0..255");
          c |= std::uint32_t(v) << (8 * ch);
        }
        cloud.Colours()[std::size_t(i)] = c;
      }
    } else {
      py::ssize_t rows = 0;
      std::vector<double> values = ReadRealArray(item.second, name.c_str(), {}, rows);
      if (rows != n) throw py::value_error("field " + name + " must hold one value per point");
      REmath::CCloudScalarField& f =
          cloud.SetField(name, FieldTypeOf(py::array::ensure(item.second).dtype()));
      f.values.assign(values.begin(), values.end());
    }
  }
  py::gil_scoped_release nogil;
  REmath::WriteCloudFile(path, cloud, ascii);
}

// ---- normals, curvature, planes ----------------------------------------------------------

py::tuple Normals(const py::handle& points, int k, const std::string& method,
                  const py::object& orient, double radius, int threads,
                  const py::object& progress) {
  CPointsView pts(points, "points");
  REmath::CCloudNormalParams params;
  if (method == "pca")
    params.method = REmath::ECloudNormalMethod::Covariance;
  else if (method == "quadric")
    params.method = REmath::ECloudNormalMethod::Quadric;
  else
    throw py::value_error("method must be \"pca\" or \"quadric\", got \"" + method + "\"");
  params.k = k;
  params.radius = float(radius);
  params.nThreads = Threads(threads);

  bool doOrient = !orient.is_none();
  REmath::CCloudOrientParams op;
  op.k = k;
  op.nThreads = params.nThreads;
  if (doOrient) {
    py::object rule = orient, vector = orient;
    if (py::isinstance<py::tuple>(orient) && py::len(orient) == 2 &&
        py::isinstance<py::str>(py::tuple(orient)[0])) {
      rule = py::tuple(orient)[0];
      vector = py::tuple(orient)[1];
    }
    const std::string bad =
        "orient must be None, \"mst\", a viewpoint (x, y, z), (\"viewpoint\", (x, y, z)) or "
        "(\"direction\", (x, y, z))";
    std::string mode = "viewpoint";
    if (py::isinstance<py::str>(rule)) mode = rule.cast<std::string>();
    if (mode == "mst") {
      op.mode = REmath::ECloudOrientation::SpanningTree;
    } else if (mode == "viewpoint" || mode == "direction") {
      if (py::isinstance<py::str>(vector)) throw py::value_error(bad);
      py::ssize_t rows = 0;
      std::vector<double> v =
          ReadRealArray(py::array::ensure(vector).attr("reshape")(1, -1), "orient", {3}, rows);
      op.mode = mode == "viewpoint" ? REmath::ECloudOrientation::TowardViewpoint
                                    : REmath::ECloudOrientation::AlongDirection;
      (mode == "viewpoint" ? op.viewpoint : op.direction) = REmath::Point3D_d(v[0], v[1], v[2]);
    } else {
      throw py::value_error(bad);
    }
  }

  REmath::CCloudNormals out;
  RunCancellable(progress, [&](CProgressCounter* counter) {
    REmath::CCloudIndex index;
    BuildIndex(pts, index, counter, params.nThreads);
    InPhase(counter, 0.1, doOrient ? 0.6 : 0.9,
            [&] { REmath::ComputeCloudNormals(index, params, out, counter); });
    if (doOrient)
      InPhase(counter, 0.7, 0.3,
              [&] { REmath::OrientCloudNormals(index, op, out.normals, out.valid, counter); });
  });
  py::array_t<bool> valid = ToBoolArray(out.valid);
  return py::make_tuple(PointsArray(std::move(out.normals)), valid);
}

py::dict Curvature(const py::handle& points, const py::object& normals, int k, double radius,
                   int threads, const py::object& progress) {
  CPointsView pts(points, "points");
  std::vector<Point3D> given;
  std::vector<unsigned char> givenValid;
  if (!normals.is_none()) GivenNormals(normals, pts.Size(), given, givenValid);
  REmath::CCloudCurvatureParams params;
  params.k = k;
  params.radius = float(radius);
  params.nThreads = Threads(threads);
  REmath::CCloudCurvatures out;
  RunCancellable(progress, [&](CProgressCounter* counter) {
    REmath::CCloudIndex index;
    BuildIndex(pts, index, counter, params.nThreads);
    REmath::CCloudNormals computed;
    if (normals.is_none()) {
      DefaultNormals(index, true, computed, params.nThreads, counter, 0.1, 0.4);
      given = std::move(computed.normals);
      givenValid = std::move(computed.valid);
    }
    const double a = normals.is_none() ? 0.5 : 0.1;
    InPhase(counter, a, 1.0 - a, [&] {
      REmath::ComputeCloudCurvatures(index, given, givenValid, params, out, counter);
    });
  });
  const auto n = py::ssize_t(out.valid.size());
  py::dict d;
  d["k1"] = ToArray<float>(std::move(out.k1), {n});
  d["k2"] = ToArray<float>(std::move(out.k2), {n});
  d["mean"] = ToArray<float>(std::move(out.mean), {n});
  d["gauss"] = ToArray<float>(std::move(out.gauss), {n});
  d["dir1"] = PointsArray(std::move(out.dir1));
  d["dir2"] = PointsArray(std::move(out.dir2));
  d["valid"] = ToBoolArray(out.valid);
  return d;
}

py::tuple Planes(const py::handle& points, const py::object& normals, const py::object& threshold,
                 std::uint64_t seed, double maxAngle, int minPoints, int maxPlanes,
                 const py::object& connection, int threads, const py::object& progress) {
  CPointsView pts(points, "points");
  std::vector<Point3D> given;
  std::vector<unsigned char> givenValid;
  // normals=False: positions only (empty normal vectors).
  const bool positionsOnly = py::isinstance<py::bool_>(normals) && !normals.cast<bool>();
  if (!normals.is_none() && !positionsOnly) GivenNormals(normals, pts.Size(), given, givenValid);
  REmath::CCloudPlaneParams params;
  if (!threshold.is_none()) {
    params.distance = threshold.cast<double>();
    if (!(params.distance > 0)) throw py::value_error("threshold must be positive or None");
  }
  params.seed = seed;
  params.maxAngle = maxAngle * M_PI / 180.0;
  params.minPoints = minPoints;
  params.maxPlanes = maxPlanes;
  if (!connection.is_none()) {
    params.connection = connection.cast<double>();
    if (!(params.connection > 0)) throw py::value_error("connection must be positive or None");
  }
  params.nThreads = Threads(threads);
  REmath::CCloudPlanes out;
  RunCancellable(progress, [&](CProgressCounter* counter) {
    REmath::CCloudIndex index;
    BuildIndex(pts, index, counter, params.nThreads);
    if (normals.is_none()) {
      REmath::CCloudNormals computed;
      DefaultNormals(index, false, computed, params.nThreads, counter, 0.1, 0.4);
      given = std::move(computed.normals);
      givenValid = std::move(computed.valid);
    }
    const double a = normals.is_none() ? 0.5 : 0.1;
    InPhase(counter, a, 1.0 - a,
            [&] { REmath::FindCloudPlanes(index, given, givenValid, params, out, counter); });
  });
  py::list planes;
  for (const REmath::CCloudPlane& p : out.planes) {
    py::dict d;
    const double* n = p.equation.NormalDir();
    d["normal"] = py::make_tuple(n[0], n[1], n[2]);
    d["d"] = p.equation.FreeTerm();
    d["origin"] = py::make_tuple(p.origin.x(), p.origin.y(), p.origin.z());
    d["inliers"] = p.inliers;
    d["rms_error"] = p.rmsError;
    d["mean_error"] = p.meanError;
    d["max_error"] = p.maxError;
    py::array_t<double> basis({3, 3}), extent({3, 2});
    for (int i = 0; i < 3; ++i) {
      std::memcpy(basis.mutable_data(i), p.limits.GetBasisVector(i), 3 * sizeof(double));
      std::memcpy(extent.mutable_data(i), p.limits.GetLimitsInDir(i), 2 * sizeof(double));
    }
    d["basis"] = basis;
    d["extent"] = extent;
    planes.append(d);
  }
  const auto n = py::ssize_t(out.labels.size());
  return py::make_tuple(ToArray<std::int32_t>(std::move(out.labels), {n}), planes, out.distance);
}

py::tuple Reconstruct(const py::handle& points, const py::object& normals, const py::object& cell,
                      double band, int neighbours, const py::object& maxMemory, int threads,
                      const py::object& progress) {
  CPointsView pts(points, "points");
  REmath::CPointCloud cloud;
  cloud.Positions().assign(pts.data(), pts.data() + pts.Size());
  std::vector<unsigned char> valid;
  if (!normals.is_none()) GivenNormals(normals, pts.Size(), cloud.Normals(), valid);
  REmath::CReconstructParams params;
  if (!cell.is_none()) {
    params.cellSize = cell.cast<double>();
    // The library reads a cell <= 0 as "derive it"; here None says that.
    if (!(params.cellSize > 0) || !std::isfinite(params.cellSize))
      throw py::value_error("cell must be positive and finite, or None");
  }
  params.band = band;
  params.neighbours = neighbours;
  if (!maxMemory.is_none()) {
    params.maxMemory = maxMemory.cast<std::int64_t>();
    if (params.maxMemory <= 0) throw py::value_error("max_memory must be positive, or None");
  }
  params.nThreads = Threads(threads);
  REmath::CTriangleMesh mesh;
  REmath::CReconstructReport report;
  RunCancellable(progress, [&](CProgressCounter* counter) {
    double a = 0.0;
    if (normals.is_none()) {
      // Normals as normals(points, orient="mst") gives them; invalid ones stay (0, 0, 0),
      // which the reconstruction skips.
      if (pts.Size() < 3) throw std::invalid_argument("reconstruct: fewer than 3 points");
      REmath::CCloudIndex index;
      BuildIndex(pts, index, counter, params.nThreads);
      REmath::CCloudNormals computed;
      DefaultNormals(index, true, computed, params.nThreads, counter, 0.1, 0.3);
      cloud.Normals() = std::move(computed.normals);
      a = 0.4;
    }
    InPhase(counter, a, 1.0 - a,
            [&] { REmath::ReconstructCloudMesh(cloud, params, mesh, report, counter); });
  });
  const auto t = py::ssize_t(mesh.TriangleCount());
  py::dict d;
  d["closed"] = report.edges.closed;
  d["euler"] = report.edges.euler;
  d["edges"] = report.edges.edges;
  d["boundary_edges"] = report.edges.boundaryEdges;
  d["non_manifold_edges"] = report.edges.nonManifoldEdges;
  d["components"] = report.edges.components;
  d["pieces"] = report.pieces;
  d["cell_size"] = report.cellSize;
  d["point_spacing"] = report.pointSpacing;
  d["samples_used"] = report.samplesUsed;
  d["estimated_bytes"] = report.estimatedBytes;
  d["mean_distance"] = report.meanDistance;
  d["rms_distance"] = report.rmsDistance;
  d["max_distance"] = report.maxDistance;
  if (!mesh.HasNormals()) mesh.Normals().assign(mesh.Vertices().size(), Point3D(0, 0, 0));
  py::array_t<float> normalsOut = PointsArray(std::move(mesh.Normals()));
  return py::make_tuple(PointsArray(std::move(mesh.Vertices())),
                        ToArray<std::int32_t>(std::move(mesh.Triangles()), {t, 3}), normalsOut, d);
}

py::dict SampleTorus(int n, double R, double r, double sigma, std::uint64_t seed) {
  REmath::CSampleScan scan;
  REmath::MakeSampleTorus(n, R, r, sigma, seed, scan);
  py::dict d;
  d["points"] = PointsArray(std::move(scan.cloud.Positions()));
  d["normals"] = PointsArray(std::move(scan.trueNormals));
  d["k1"] = ToArray<float>(std::move(scan.trueK1), {py::ssize_t(n)});
  d["k2"] = ToArray<float>(std::move(scan.trueK2), {py::ssize_t(n)});
  return d;
}

}  // namespace

void BindCloud(py::module_& m) {
  using namespace pybind11::literals;
  m.def("read", &Read, "path"_a,
        "read(path) -> dict\n\n"
        "Reads a PLY or XYZ point-cloud file (format from the extension: .ply; .xyz, .txt,\n"
        ".pts, .csv, .asc). Returns a dict with 'points' (n, 3) float32 and, when present,\n"
        "'normals' (n, 3) float32, 'colors' (n, 3) uint8 and one (n,) array per scalar field,\n"
        "in the field's file type. Raises OSError with the reader's message on failure.");
  m.def("write", &Write, "path"_a, "points"_a,
        "write(path, points, normals=None, colors=None, ascii=False, **fields)\n\n"
        "Writes a PLY (binary little-endian, or ASCII with ascii=True) or XYZ file. normals\n"
        "is (n, 3), colors (n, 3) in 0..255, every other keyword a per-point scalar field\n"
        "(n,) stored with its dtype's file type (integers up to 32 bits, float32, float64).");
  m.def("normals", &Normals, "points"_a, "k"_a = 16, "method"_a = "pca", "orient"_a = py::none(),
        "radius"_a = 0.0, "threads"_a = 0, "progress"_a = py::none(),
        "normals(points, k=16, method='pca', orient=None, radius=0, threads=0, progress=None)\n"
        "    -> (normals, valid)\n\n"
        "Unit normal of every point from its k nearest neighbours (itself included) or, with\n"
        "radius > 0, its neighbours strictly within radius. method 'pca': smallest-eigenvalue\n"
        "direction of the scatter matrix; 'quadric': normal of a fitted quadric. orient:\n"
        "None (the eigen-solver's sign), 'mst' (consistent over each connected piece by a\n"
        "spanning tree of the k-neighbour graph, closed surfaces outward), a viewpoint\n"
        "(x, y, z) or ('viewpoint', (x, y, z)) to face, or ('direction', (x, y, z)).\n"
        "Returns normals (n, 3) float32, (0, 0, 0) where invalid, and valid (n,) bool.\n"
        "Points with NaN or infinite coordinates are invalid. Raises ValueError for an empty\n"
        "cloud, k below 3 or above the number of points.");
  m.def("curvature", &Curvature, "points"_a, "normals"_a = py::none(), "k"_a = 30, "radius"_a = 0.0,
        "threads"_a = 0, "progress"_a = py::none(),
        "curvature(points, normals=None, k=30, radius=0, threads=0, progress=None) -> dict\n\n"
        "Signed principal curvatures (1/length) at every point from its k nearest neighbours\n"
        "and its oriented normal; without normals, those of normals(points, orient='mst').\n"
        "Positive where the surface is convex seen from the normal's side. Returns a dict of\n"
        "k1 >= k2, mean, gauss (n,) float32 (NaN where invalid), dir1, dir2 (n, 3) unit\n"
        "principal directions and valid (n,) bool. Given normals that are zero or not finite\n"
        "mark their points invalid. Raises ValueError for k < 6 or above the number of points.");
  m.def("planes", &Planes, "points"_a, "normals"_a = py::none(), "threshold"_a = py::none(),
        "seed"_a = 0, "max_angle"_a = 10.0, "min_points"_a = 50, "max_planes"_a = 100,
        "connection"_a = py::none(), "threads"_a = 0, "progress"_a = py::none(),
        "planes(points, normals=None, threshold=None, seed=0, max_angle=10, min_points=50,\n"
        "       max_planes=100, connection=None, threads=0, progress=None)\n"
        "       -> (labels, planes, threshold)\n\n"
        "Every plane of the cloud: RANSAC proposals from oriented points, connected pieces of\n"
        "the inliers on a grid of cells of edge connection (None: 4 x the median point\n"
        "spacing), least-squares refit. threshold: largest inlier distance (None: 3 x the\n"
        "median point spacing); max_angle in degrees between an inlier's normal and the\n"
        "plane's. normals=None uses those of normals(points); normals=False finds the planes\n"
        "from the positions alone (proposals from random triples, no angle test; faces also\n"
        "take the strips of their neighbours within threshold). Returns labels (n,)\n"
        "int32 (plane index or -1), a list of dicts (normal, d with normal.p + d = 0, origin,\n"
        "inliers, rms_error, mean_error, max_error, basis (3, 3), extent (3, 2) along basis)\n"
        "and the threshold used. The same seed gives the same planes.");
  m.def("reconstruct", &Reconstruct, "points"_a, "normals"_a = py::none(), "cell"_a = py::none(),
        "band"_a = 3.0, "neighbours"_a = 10, "max_memory"_a = py::none(), "threads"_a = 0,
        "progress"_a = py::none(),
        "reconstruct(points, normals=None, cell=None, band=3.0, neighbours=10, max_memory=None,\n"
        "            threads=0, progress=None) -> (vertices, triangles, normals, report)\n\n"
        "Triangle mesh of the surface the points sample: the zero set of the blended signed\n"
        "distance to the tangent planes of the `neighbours` (1..64) nearest samples, polygonized\n"
        "with cubes of edge cell (None: 2 x the median nearest-neighbour distance) within band\n"
        "cells (> sqrt(3)) of the samples, so holes wider than about twice the band stay open.\n"
        "normals must point outward consistently; None computes them as\n"
        "normals(points, orient='mst') does. Rows with a zero or non-finite normal or position\n"
        "are skipped. Returns vertices (m, 3) float32, triangles (t, 3) int32 counter-clockwise\n"
        "seen from outside, unit vertex normals (m, 3) float32 and a report dict: closed,\n"
        "euler, edges, boundary_edges, non_manifold_edges, components, pieces, cell_size,\n"
        "point_spacing, samples_used, estimated_bytes and the mean_distance, rms_distance and\n"
        "max_distance from the used samples to the mesh. max_memory (bytes) bounds the\n"
        "estimated working memory. threads drives the distances; the polygonization is serial.\n"
        "Raises ValueError for no usable sample, a bad band, neighbours or cell, or an\n"
        "estimate above max_memory.");
  m.def("sample_torus", &SampleTorus, "n"_a, "R"_a = 3.0, "r"_a = 1.0, "sigma"_a = 0.0,
        "seed"_a = 1,
        "sample_torus(n, R=3, r=1, sigma=0, seed=1) -> dict\n\n"
        "n points uniform by area on the torus of radii R > r about the z axis with Gaussian\n"
        "noise sigma, reproducible from seed. Returns points, the exact outward normals and\n"
        "principal curvatures k1 = 1/r, k2 = cos(theta)/(R + r cos(theta)) before the noise.");
}

}  // namespace qvmath_python
