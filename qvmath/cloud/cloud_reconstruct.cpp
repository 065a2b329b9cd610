// SPDX-License-Identifier: MIT
#include <qvmath/analysis/detail/small_spd.h>
#include <qvmath/cloud/cloud_index.h>
#include <qvmath/cloud/cloud_planes.h>
#include <qvmath/cloud/cloud_reconstruct.h>
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
constexpr int kMaxFit = 128;
constexpr int kDistanceNeighbours = 8;
constexpr int kBlockSize = 4096;
constexpr double kCoverRadius = 1.5;  // in cells

// The blended tangent-plane distance. The polygonizer calls it serially, so one scratch
// area for the neighbour query suffices; it is `mutable` because the functor is const.
class CTangentPlaneFunction : public pzProcess::SurfaceFunctor {
 public:
  CTangentPlaneFunction(const CCloudIndex& index, const std::vector<Point3D>& normals, int k,
                        double cell, double band)
      : m_index(index),
        m_normals(normals),
        m_k(k),
        m_invH2(1.0 / (cell * cell)),
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
      if (m_pc) m_pc->SetPosFloat(std::min(0.99, double(m_out.size() + m_before) / m_expected));
    }
    return 1;
  }

 private:
  std::vector<std::array<std::int32_t, 3>>& m_out;
  CProgressCounter* m_pc;
  double m_expected;
  std::size_t m_before;
};

// Moves each mesh vertex onto a weighted least-squares quadric height field over the
// samples nearest to it (moving least squares), in the frame of its normal, and turns the
// normal to the quadric's. The tangent-plane blend that placed the vertex averages few
// samples, so it keeps much of their noise, and it sags by about κ d²/2 over curved
// surfaces; the quadric fit over more samples averages the noise and follows the
// curvature. The rules for leaving a vertex alone are those of the header; a move of a
// cell or more means the quadric does not describe the neighbourhood.
class CVertexProjectKernel : public detail::IBlockKernel {
 public:
  CVertexProjectKernel(const CCloudIndex& index, const std::vector<Point3D>& normals, int k,
                       double cell, CTriangleMesh& mesh)
      : m_index(index), m_normals(normals), m_k(k), m_cell(cell), m_mesh(mesh) {}

  void ProcessRange(int begin, int end, int) override {
    int idx[kMaxFit];
    float d2[kMaxFit];
    const Point3D* pts = m_index.SortedPoints();
    for (int v = begin; v < end; ++v) {
      Point3D& pos = m_mesh.Vertices()[std::size_t(v)];
      Point3D& nrm = m_mesh.Normals()[std::size_t(v)];
      const int n = m_index.KNearestSorted(pos, m_k, idx, d2);
      if (n < 6) continue;
      const double o[3] = {pos.x(), pos.y(), pos.z()};
      double w3[3] = {nrm.x(), nrm.y(), nrm.z()};
      const double len = std::sqrt(w3[0] * w3[0] + w3[1] * w3[1] + w3[2] * w3[2]);
      if (!(len > 0.0)) continue;
      for (double& c : w3) c /= len;
      // A tangent frame (u, t, w): u along the axis least aligned with w.
      const int a = std::fabs(w3[0]) <= std::fabs(w3[1])
                        ? (std::fabs(w3[0]) <= std::fabs(w3[2]) ? 0 : 2)
                        : (std::fabs(w3[1]) <= std::fabs(w3[2]) ? 1 : 2);
      double u3[3] = {-w3[a] * w3[0], -w3[a] * w3[1], -w3[a] * w3[2]};
      u3[a] += 1.0;
      const double ul = std::sqrt(u3[0] * u3[0] + u3[1] * u3[1] + u3[2] * u3[2]);
      for (double& c : u3) c /= ul;
      const double t3[3] = {w3[1] * u3[2] - w3[2] * u3[1], w3[2] * u3[0] - w3[0] * u3[2],
                            w3[0] * u3[1] - w3[1] * u3[0]};
      // Weights falling linearly in d² to 0 at the farthest neighbour: a sample enters and
      // leaves the fit at weight 0, so close vertices (the polygonizer's slivers) get close
      // fits; a Gaussian cut at the k-th neighbour jumps and turns slivers over.
      const double inv = 1.0 / (double(d2[n - 1]) > 0.0 ? double(d2[n - 1]) : 1.0);
      detail::NormalEquations<6> ne;
      int used = 0;
      double cu = 0.0, ct = 0.0, sw = 0.0;
      for (int i = 0; i < n; ++i) {
        const Point3D& sn = m_normals[std::size_t(idx[i])];
        if (sn.x() * w3[0] + sn.y() * w3[1] + sn.z() * w3[2] <= 0.0) continue;  // other sheet
        const Point3D& x = pts[idx[i]];
        const double d[3] = {x.x() - o[0], x.y() - o[1], x.z() - o[2]};
        const double pu = d[0] * u3[0] + d[1] * u3[1] + d[2] * u3[2];
        const double pt = d[0] * t3[0] + d[1] * t3[1] + d[2] * t3[2];
        const double pw = d[0] * w3[0] + d[1] * w3[1] + d[2] * w3[2];
        const double row[6] = {1.0, pu, pt, pu * pu, pu * pt, pt * pt};
        const double w = 1.0 - double(d2[i]) * inv;
        ne.Add(row, pw, w);
        cu += w * pu, ct += w * pt, sw += w;
        ++used;
      }
      // Past the rim of a hole the samples lie to one side: their weighted centre is off
      // the vertex by half the neighbourhood's radius or more, and the fit would extrapolate.
      if (used < 6 || cu * cu + ct * ct > 0.25 * sw * sw * double(d2[n - 1])) continue;
      ne.Symmetrise();
      detail::EquilibratedCholesky<6> ch;
      ch.Factor(ne.G, 1e-10);
      double c[6];
      ch.Solve(ne.r, c);
      if (!(std::fabs(c[0]) < m_cell)) continue;
      pos = Point3D(float(o[0] + c[0] * w3[0]), float(o[1] + c[0] * w3[1]),
                    float(o[2] + c[0] * w3[2]));
      double g[3];
      for (int j = 0; j < 3; ++j) g[j] = w3[j] - c[1] * u3[j] - c[2] * t3[j];
      const double gl = std::sqrt(g[0] * g[0] + g[1] * g[1] + g[2] * g[2]);
      nrm = Point3D(float(g[0] / gl), float(g[1] / gl), float(g[2] / gl));
    }
  }

 private:
  const CCloudIndex& m_index;
  const std::vector<Point3D>& m_normals;  // in the index's sorted order
  int m_k;
  double m_cell;
  CTriangleMesh& m_mesh;
};

// Distance of each sample to the triangles around its nearest mesh vertices.
class CSampleDistanceKernel : public detail::IBlockKernel {
 public:
  CSampleDistanceKernel(const CTriangleMesh& mesh, const CCloudIndex& vertexIndex,
                        const std::vector<std::int32_t>& start,
                        const std::vector<std::int32_t>& incident, const Point3D* samples,
                        std::vector<float>& dist)
      : m_mesh(mesh),
        m_vindex(vertexIndex),
        m_start(start),
        m_incident(incident),
        m_samples(samples),
        m_dist(dist) {}

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

// Twice the area vector of triangle t over the positions v.
Point3D_d AreaVector(const std::vector<Point3D>& v, const std::array<std::int32_t, 3>& t) {
  const Point3D &a = v[std::size_t(t[0])], &b = v[std::size_t(t[1])], &c = v[std::size_t(t[2])];
  const double u[3] = {double(b.x()) - a.x(), double(b.y()) - a.y(), double(b.z()) - a.z()};
  const double w[3] = {double(c.x()) - a.x(), double(c.y()) - a.y(), double(c.z()) - a.z()};
  return Point3D_d(u[1] * w[2] - u[2] * w[1], u[2] * w[0] - u[0] * w[2], u[0] * w[1] - u[1] * w[0]);
}

// The polygonizer leaves slivers (vertices a hair from a lattice corner), which the fit's
// small differences between close vertices can turn over. Every triangle the fit turned
// over gets its vertices back where the polygonizer put them, until none is turned over
// (at worst every vertex is back, which has none).
void KeepOrientation(const std::vector<Point3D>& placed, const std::vector<Point3D>& placedNormals,
                     CTriangleMesh& mesh) {
  std::vector<Point3D>& vs = mesh.Vertices();
  for (bool changed = true; changed;) {
    changed = false;
    for (const auto& t : mesh.Triangles()) {
      const Point3D_d a = AreaVector(placed, t), b = AreaVector(vs, t);
      if (a.x() * b.x() + a.y() * b.y() + a.z() * b.z() > 0.0) continue;
      if (a.x() == 0.0 && a.y() == 0.0 && a.z() == 0.0) continue;  // no orientation to keep
      for (std::int32_t v : t) {
        const std::size_t i = std::size_t(v);
        if (vs[i].x() == placed[i].x() && vs[i].y() == placed[i].y() && vs[i].z() == placed[i].z())
          continue;
        vs[i] = placed[i];
        mesh.Normals()[i] = placedNormals[i];
        changed = true;
      }
    }
  }
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

namespace {

// Triangles expected from n samples of median spacing s at cell size h. The area of a
// randomly sampled surface from the median nearest distance s: for a Poisson process of
// density ρ the median is √(ln 2 / (π ρ)), so the area is N s² π / ln 2 ≈ 4.53 N s². The
// six tetrahedra per cube make about 9 triangles per area h² (measured on spheres).
double ExpectedTriangles(double n, double spacing, double h) {
  const double sp = spacing > 0.0 ? spacing : h;
  return std::max(1.0, 10.0 * n * sp * sp * 4.53 / (h * h));
}

}  // namespace

std::int64_t EstimateReconstructBytes(int samples, double spacing, double cellSize) {
  constexpr std::int64_t kSaturated = 9000000000000000000;
  if (!(cellSize > 0.0) || !std::isfinite(cellSize)) return kSaturated;
  const double n = std::max(0, samples);
  const double bytes = 200.0 * ExpectedTriangles(n, spacing, cellSize) + 100.0 * n;
  return bytes > 9e18 ? kSaturated : std::int64_t(bytes);
}

void ReconstructCloudMesh(const CPointCloud& cloud, const CReconstructParams& params,
                          CTriangleMesh& mesh, CReconstructReport& report,
                          CProgressCounter* progress) {
  cloud.CheckSizes();
  if (!cloud.HasNormals()) Invalid("the cloud has no normals");
  if (params.neighbours < 1 || params.neighbours > kMaxNeighbours)
    Invalid("neighbours must lie in 1..64");
  if (params.fitNeighbours != 0 && (params.fitNeighbours < 6 || params.fitNeighbours > kMaxFit))
    Invalid("fitNeighbours must be 0 or lie in 6..128");
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
    index.Build(pos.data(), int(pos.size()), progress, params.nThreads);
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

  report.estimatedBytes = EstimateReconstructBytes(int(pos.size()), spacing, h);
  const double expectedTriangles = ExpectedTriangles(double(pos.size()), spacing, h);
  if (params.maxMemory > 0 && report.estimatedBytes > params.maxMemory)
    throw std::length_error("reconstruct: estimated memory of " +
                            std::to_string((report.estimatedBytes + (1 << 20) - 1) >> 20) +
                            " MB exceeds the limit of " + std::to_string(params.maxMemory >> 20) +
                            " MB");

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
    CPrgCntSubPhase phase(progress, 0.05, 0.70, CPrgCntSubPhase::PhaseFloat);
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
  if (params.fitNeighbours > 0 && !mesh.Vertices().empty()) {
    CPrgCntSubPhase phase(progress, 0.75, 0.10, CPrgCntSubPhase::PhaseFloat);
    const std::vector<Point3D> placed = mesh.Vertices(), placedNormals = mesh.Normals();
    CVertexProjectKernel project(index, sortedNormals, params.fitNeighbours, h, mesh);
    detail::RunBlocks(int(mesh.Vertices().size()), kBlockSize,
                      detail::ResolveThreadCount(params.nThreads), progress, project);
    KeepOrientation(placed, placedNormals, mesh);
  }
  report.edges = mesh.EdgeStats();
  CPrgCntSubPhase phase(progress, 0.85, 0.15, CPrgCntSubPhase::PhaseFloat);
  SampleDistances(mesh, pos, params, report, progress);
}

}  // namespace REmath
