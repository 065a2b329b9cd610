// SPDX-License-Identifier: MIT
#include <qvmath/cloud/cloud_reconstruct.h>

#include <qvmath/cloud/cloud_index.h>
#include <qvmath/cloud/cloud_planes.h>
#include <qvmath/cloud/detail/cloud_blocks.h>
#include <qvmath/geometry/dist_point_triangle.h>
#include <qvmath/geometry/polygonizer.h>
#include <qvmath/infra/progress_counter.h>
#include <qvmath/platform/korva_exception.h>

#include <algorithm>
#include <cmath>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

namespace REmath {

namespace {

constexpr int kMaxNeighbours = 64;
constexpr int kDistanceNeighbours = 8;
constexpr int kBlockSize = 4096;
constexpr double kCoverRadius = 1.5;  // in cells

// The blended tangent-plane distance. The polygonizer calls it serially, so one scratch
// area for the neighbour query suffices; it is `mutable` because the functor is const.
class CTangentPlaneFunction : public pzProcess::SurfaceFunctor {
 public:
  CTangentPlaneFunction(const CCloudIndex& index, const std::vector<Point3D>& normals, int k,
                        double cell, double band)
      : m_index(index), m_normals(normals), m_k(k), m_invH2(1.0 / (cell * cell)),
        m_band2(band * cell * band * cell) {}

  double operator()(const Point3D_d& p, int* flag) const override {
    const Point3D q(float(p.x()), float(p.y()), float(p.z()));
    const int n = m_index.KNearestSorted(q, m_k, m_idx, m_d2);
    if (n == 0 || double(m_d2[0]) > m_band2) {
      *flag = 1;
      return 1.0;
    }
    // Weights relative to the nearest sample: exp(0) = 1 for it, so the sum never
    // underflows however far p lies from the samples (in units of h).
    double sw = 0.0, sf = 0.0;
    const double d0 = m_d2[0];
    const Point3D* pts = m_index.SortedPoints();
    for (int i = 0; i < n; ++i) {
      const double w = std::exp(-(double(m_d2[i]) - d0) * m_invH2);
      const Point3D& x = pts[m_idx[i]];
      const Point3D& nn = m_normals[std::size_t(m_idx[i])];
      sf += w * (nn.x() * (p.x() - x.x()) + nn.y() * (p.y() - x.y()) + nn.z() * (p.z() - x.z()));
      sw += w;
    }
    return sf / sw;
  }

 private:
  const CCloudIndex& m_index;
  const std::vector<Point3D>& m_normals;  // in the index's sorted order
  int m_k;
  double m_invH2, m_band2;
  mutable int m_idx[kMaxNeighbours];
  mutable float m_d2[kMaxNeighbours];
};

// Collects the triangles of one polygonizer run (indices into its vertex store), reports
// progress and honours the stop flag.
class CTriangleCollector : public pzProcess::TriangleFunctor {
 public:
  CTriangleCollector(std::vector<std::array<std::int32_t, 3>>& out, CProgressCounter* pc,
                     double expected, std::size_t before)
      : m_out(out), m_pc(pc), m_expected(expected), m_before(before) {}

  int operator()(int a, int b, int c, pzVertices) const override {
    m_out.push_back({a, b, c});
    if ((m_out.size() & 1023) == 0) {
      if (CProgressCounter::IsStopping()) throw CUserIntrException();
      if (m_pc)
        m_pc->SetPosFloat(std::min(0.99, double(m_out.size() + m_before) / m_expected));
    }
    return 1;
  }

 private:
  std::vector<std::array<std::int32_t, 3>>& m_out;
  CProgressCounter* m_pc;
  double m_expected;
  std::size_t m_before;
};

// Distance of each sample to the triangles around its nearest mesh vertices.
class CSampleDistanceKernel : public detail::IBlockKernel {
 public:
  CSampleDistanceKernel(const CTriangleMesh& mesh, const CCloudIndex& vertexIndex,
                        const std::vector<std::int32_t>& start,
                        const std::vector<std::int32_t>& incident, const Point3D* samples,
                        std::vector<float>& dist)
      : m_mesh(mesh), m_vindex(vertexIndex), m_start(start), m_incident(incident),
        m_samples(samples), m_dist(dist) {}

  void ProcessRange(int begin, int end, int) override {
    int near[kDistanceNeighbours];
    for (int s = begin; s < end; ++s) {
      const Point3D& p = m_samples[s];
      const int n = m_vindex.KNearest(p, kDistanceNeighbours, near, nullptr);
      float best = INFINITY;
      for (int i = 0; i < n; ++i) {
        const std::size_t v = std::size_t(near[i]);
        for (std::int32_t k = m_start[v]; k < m_start[v + 1]; ++k) {
          const auto& t = m_mesh.Triangles()[std::size_t(m_incident[std::size_t(k)])];
          const Point3D tri[3] = {m_mesh.Vertices()[std::size_t(t[0])],
                                  m_mesh.Vertices()[std::size_t(t[1])],
                                  m_mesh.Vertices()[std::size_t(t[2])]};
          best = std::min(best, distancePointTriangle2(p.asArray(), tri));
        }
      }
      m_dist[std::size_t(s)] = std::sqrt(best);
    }
  }

 private:
  const CTriangleMesh& m_mesh;
  const CCloudIndex& m_vindex;
  const std::vector<std::int32_t>& m_start;
  const std::vector<std::int32_t>& m_incident;
  const Point3D* m_samples;
  std::vector<float>& m_dist;
};

[[noreturn]] void Invalid(const std::string& what) {
  throw std::invalid_argument("reconstruct: " + what);
}

bool Finite(const Point3D& p) {
  return std::isfinite(p.x()) && std::isfinite(p.y()) && std::isfinite(p.z());
}

void SampleDistances(const CTriangleMesh& mesh, const std::vector<Point3D>& samples,
                     const CReconstructParams& params, CReconstructReport& report,
                     CProgressCounter* progress) {
  if (mesh.Triangles().empty()) return;
  CCloudIndex vindex;
  vindex.Build(mesh.Vertices().data(), int(mesh.Vertices().size()));
  // Vertex → incident triangles, in compressed rows.
  std::vector<std::int32_t> start(mesh.Vertices().size() + 1, 0),
      incident(mesh.Triangles().size() * 3);
  for (const auto& t : mesh.Triangles())
    for (std::int32_t v : t) ++start[std::size_t(v) + 1];
  for (std::size_t v = 0; v < mesh.Vertices().size(); ++v) start[v + 1] += start[v];
  std::vector<std::int32_t> fill(start.begin(), start.end() - 1);
  for (std::size_t t = 0; t < mesh.Triangles().size(); ++t)
    for (std::int32_t v : mesh.Triangles()[t])
      incident[std::size_t(fill[std::size_t(v)]++)] = std::int32_t(t);
  std::vector<float> dist(samples.size());
  CSampleDistanceKernel kernel(mesh, vindex, start, incident, samples.data(), dist);
  detail::RunBlocks(int(samples.size()), kBlockSize, detail::ResolveThreadCount(params.nThreads),
                    progress, kernel);
  double sum = 0.0, sum2 = 0.0, mx = 0.0;
  for (float d : dist) {
    sum += d;
    sum2 += double(d) * d;
    mx = std::max(mx, double(d));
  }
  report.meanDistance = sum / double(dist.size());
  report.rmsDistance = std::sqrt(sum2 / double(dist.size()));
  report.maxDistance = mx;
}

}  // namespace

void ReconstructCloudMesh(const CPointCloud& cloud, const CReconstructParams& params,
                          CTriangleMesh& mesh, CReconstructReport& report,
                          CProgressCounter* progress) {
  cloud.CheckSizes();
  if (!cloud.HasNormals()) Invalid("the cloud has no normals");
  if (params.neighbours < 1 || params.neighbours > kMaxNeighbours)
    Invalid("neighbours must lie in 1..64");
  if (!(params.band > std::sqrt(3.0)) || !std::isfinite(params.band))
    Invalid("the band must exceed sqrt(3) cells");
  report = CReconstructReport();
  mesh = CTriangleMesh();

  // Samples with a usable position and normal, compacted.
  std::vector<Point3D> pos, nrm;
  for (int i = 0; i < cloud.Size(); ++i) {
    const Point3D& p = cloud.Positions()[std::size_t(i)];
    const Point3D& n = cloud.Normals()[std::size_t(i)];
    const double len =
        std::sqrt(double(n.x()) * n.x() + double(n.y()) * n.y() + double(n.z()) * n.z());
    if (!Finite(p) || !Finite(n) || !(len > 0.0)) continue;
    pos.push_back(p);
    nrm.emplace_back(float(n.x() / len), float(n.y() / len), float(n.z() / len));
  }
  if (pos.empty()) Invalid("no sample with a finite position and normal");
  report.samplesUsed = int(pos.size());

  CCloudIndex index;
  {
    CPrgCntSubPhase phase(progress, 0.0, 0.05, CPrgCntSubPhase::PhaseFloat);
    index.Build(pos.data(), int(pos.size()), progress);
  }
  // The normals in the index's sorted order, so that the function reads both arrays at
  // the same (Morton-local) positions.
  std::vector<Point3D> sortedNormals(pos.size());
  for (std::size_t s = 0; s < pos.size(); ++s)
    sortedNormals[s] = nrm[std::size_t(index.SortedToInput()[s])];

  double h = params.cellSize;
  double spacing = EstimatePointSpacing(index);
  report.pointSpacing = spacing;
  if (!std::isfinite(h)) Invalid("the cell size is not finite");
  if (h <= 0.0) {
    if (!(spacing > 0.0)) Invalid("cannot derive a cell size from fewer than two distinct samples");
    if (!(params.spacingFactor > 0.0) || !std::isfinite(params.spacingFactor))
      Invalid("the spacing factor must be positive and finite");
    h = params.spacingFactor * spacing;
  }
  report.cellSize = h;

  // Area of a randomly sampled surface from the median nearest distance s: for a Poisson
  // process of density ρ the median is √(ln 2 / (π ρ)), so the area is N s² π / ln 2.
  // The six tetrahedra per cube make about 9 triangles per area h² (measured on spheres).
  const double n = double(pos.size());
  const double sp = spacing > 0.0 ? spacing : h;
  const double expectedTriangles = std::max(1.0, 10.0 * n * sp * sp * 4.53 / (h * h));
  const double bytes = 200.0 * expectedTriangles + 100.0 * n;
  report.estimatedBytes = bytes > 9e18 ? std::int64_t(9e18) : std::int64_t(bytes);
  if (params.maxMemory > 0 && report.estimatedBytes > params.maxMemory)
    throw std::length_error("reconstruct: estimated memory of " +
                            std::to_string((report.estimatedBytes + (1 << 20) - 1) >> 20) +
                            " MB exceeds the limit of " +
                            std::to_string(params.maxMemory >> 20) + " MB");

  // Lattice bounds: the samples' extent plus the band, in cells, from any seed.
  float lo[3] = {INFINITY, INFINITY, INFINITY}, hi[3] = {-INFINITY, -INFINITY, -INFINITY};
  for (const Point3D& p : pos)
    for (int a = 0; a < 3; ++a) {
      lo[a] = std::min(lo[a], p.asArray()[a]);
      hi[a] = std::max(hi[a], p.asArray()[a]);
    }
  int bounds[3];
  for (int a = 0; a < 3; ++a)
    bounds[a] = int(std::min(5.0e8, (double(hi[a]) - lo[a]) / h + params.band + 2.0));

  CTangentPlaneFunction f(index, sortedNormals, params.neighbours, h, params.band);
  std::vector<char> covered(pos.size(), 0);
  std::vector<std::array<std::int32_t, 3>> piece;
  CNeighbourList near;
  pzProcess poly;
  auto cover = [&](const Point3D& p, float radius) {
    index.RadiusSearchSorted(p, radius, near);
    for (int i = 0; i < near.Count(); ++i) covered[std::size_t(near.Index(i))] = 1;
  };
  {
    CPrgCntSubPhase phase(progress, 0.05, 0.80, CPrgCntSubPhase::PhaseFloat);
    const Point3D* sorted = index.SortedPoints();
    for (std::size_t s = 0; s < pos.size(); ++s) {
      if (covered[s]) continue;
      covered[s] = 1;
      piece.clear();
      CTriangleCollector collect(piece, progress, expectedTriangles, mesh.Triangles().size());
      const Point3D& x = sorted[s];
      const int r = poly.polygonize(f, h, bounds, Point3D_d(x.x(), x.y(), x.z()), collect);
      if (r == pzProcess::kNoMemory) throw std::bad_alloc();
      if (r <= 0) {
        // No seed or an empty start cube: leave this neighbourhood to other seeds.
        cover(x, float(h));
        continue;
      }
      ++report.pieces;
      const pzVertices& vs = poly.vertices();
      const auto offset = std::int32_t(mesh.Vertices().size());
      for (int v = 0; v < vs.count; ++v) {
        const pzVertex& pv = vs.ptr[v];
        mesh.Vertices().emplace_back(float(pv.position.x()), float(pv.position.y()),
                                   float(pv.position.z()));
        mesh.Normals().emplace_back(float(pv.normal.x()), float(pv.normal.y()),
                                  float(pv.normal.z()));
        cover(mesh.Vertices().back(), float(kCoverRadius * h));
      }
      for (const auto& t : piece)
        mesh.Triangles().push_back({t[0] + offset, t[1] + offset, t[2] + offset});
    }
    poly.freeprocess();
  }
  report.edges = mesh.EdgeStats();
  CPrgCntSubPhase phase(progress, 0.85, 0.15, CPrgCntSubPhase::PhaseFloat);
  SampleDistances(mesh, pos, params, report, progress);
}

}  // namespace REmath
