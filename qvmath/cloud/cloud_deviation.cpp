// SPDX-License-Identifier: MIT
#include <qvmath/cloud/cloud_deviation.h>
#include <qvmath/cloud/detail/cloud_blocks.h>
#include <qvmath/cloud/detail/triangle_bvh.h>
#include <qvmath/core/detail/vec3.h>
#include <qvmath/infra/progress_counter.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <stdexcept>

namespace REmath {

namespace {

constexpr int kBlockSize = 4096;

bool Finite(const Point3D& p) {
  return std::isfinite(p.x()) && std::isfinite(p.y()) && std::isfinite(p.z());
}

// The finite points in Morton order of their cells in a 1024³ grid over their box (ties by
// index). Neighbours in this order are mostly neighbours in space, so each point's search
// starts from the previous point's triangle and touches memory the previous one warmed.
std::vector<std::int32_t> SpatialOrder(const std::vector<Point3D>& pts) {
  float lo[3], hi[3];
  for (int c = 0; c < 3; ++c) {
    lo[c] = std::numeric_limits<float>::infinity();
    hi[c] = -lo[c];
  }
  for (const Point3D& p : pts)
    if (Finite(p))
      for (int c = 0; c < 3; ++c) {
        lo[c] = std::min(lo[c], p.asArray()[c]);
        hi[c] = std::max(hi[c], p.asArray()[c]);
      }
  double scale[3];
  for (int c = 0; c < 3; ++c) scale[c] = hi[c] > lo[c] ? 1023.0 / (double(hi[c]) - lo[c]) : 0.0;
  auto spread = [](std::uint64_t x) {  // bits 0..9 to every third bit
    x = (x | (x << 16)) & 0x030000FFull;
    x = (x | (x << 8)) & 0x0300F00Full;
    x = (x | (x << 4)) & 0x030C30C3ull;
    x = (x | (x << 2)) & 0x09249249ull;
    return x;
  };
  std::vector<std::uint64_t> keys;
  keys.reserve(pts.size());
  for (std::size_t i = 0; i < pts.size(); ++i) {
    if (!Finite(pts[i])) continue;
    std::uint64_t code = 0;
    for (int c = 0; c < 3; ++c) {
      const double q = (double(pts[i].asArray()[c]) - lo[c]) * scale[c];
      code |= spread(std::uint64_t(std::min(std::max(q, 0.0), 1023.0))) << c;
    }
    keys.push_back(code << 32 | std::uint64_t(i));
  }
  std::sort(keys.begin(), keys.end());
  std::vector<std::int32_t> order(keys.size());
  for (std::size_t k = 0; k < keys.size(); ++k) order[k] = std::int32_t(keys[k] & 0xFFFFFFFFu);
  return order;
}

class DeviationKernel : public detail::IBlockKernel {
 public:
  DeviationKernel(const CPointCloud& cloud, const std::vector<std::int32_t>& order,
                  const CTriangleMesh& mesh, const detail::CTriangleBvh& bvh, CCloudDeviation& out)
      : m_pts(cloud.Positions()), m_order(order), m_mesh(mesh), m_bvh(bvh), m_out(out) {}

  void ProcessRange(int begin, int end, int /*slot*/) override {
    const auto& v = m_mesh.Vertices();
    int hint = -1;
    for (int s = begin; s < end; ++s) {
      const std::size_t k = std::size_t(m_order[std::size_t(s)]);
      const float* p = m_pts[k].asArray();
      float d2, foot[3];
      int t = -1;
      if (!m_bvh.Nearest(p, d2, foot, t, hint)) continue;  // stays NaN, -1
      // The sign by the triangle's own normal (B − A) × (C − A); the query's internal
      // normal has the opposite orientation, so it is not reused.
      const CTriangleMesh::Triangle& tri = m_mesh.Triangles()[std::size_t(t)];
      const float* A = v[std::size_t(tri[0])].asArray();
      float e1[3], e2[3], n[3], r[3];
      detail::Sub3(v[std::size_t(tri[1])].asArray(), A, e1);
      detail::Sub3(v[std::size_t(tri[2])].asArray(), A, e2);
      detail::Cross3(e1, e2, n);
      detail::Sub3(p, foot, r);
      const float d = std::sqrt(d2);
      m_out.distance[k] = detail::Dot3(r, n) < 0 ? -d : d;
      m_out.nearest[k] = Point3D(foot[0], foot[1], foot[2]);
      m_out.triangle[k] = t;
    }
  }

 private:
  const std::vector<Point3D>& m_pts;
  const std::vector<std::int32_t>& m_order;
  const CTriangleMesh& m_mesh;
  const detail::CTriangleBvh& m_bvh;
  CCloudDeviation& m_out;
};

}  // namespace

void ComputeDeviationStats(const std::vector<float>& distance, const CDeviationParams& params,
                           CDeviationStats& stats) {
  if (params.histogramBins < 1)
    throw std::invalid_argument("deviation: the histogram needs at least one bin");
  stats = CDeviationStats();
  double sum = 0, sumAbs = 0, sumSq = 0;
  double lo = std::numeric_limits<double>::infinity(), hi = -lo;
  int within = 0;
  for (float f : distance) {
    if (std::isnan(f)) {
      ++stats.invalidCount;
      continue;
    }
    const double d = f;
    ++stats.validCount;
    sum += d;
    sumAbs += std::abs(d);
    sumSq += d * d;
    lo = std::min(lo, d);
    hi = std::max(hi, d);
    within += std::abs(d) <= double(params.tolerance) ? 1 : 0;
  }
  stats.histogram.assign(std::size_t(params.histogramBins), 0);
  if (stats.validCount == 0) return;
  const double n = stats.validCount;
  stats.mean = sum / n;
  stats.meanAbs = sumAbs / n;
  stats.rms = std::sqrt(sumSq / n);
  stats.minSigned = lo;
  stats.maxSigned = hi;
  stats.maxAbs = std::max(-lo, hi);
  stats.withinTolerance = within / n;
  if (params.histogramMin < params.histogramMax) {
    lo = params.histogramMin;
    hi = params.histogramMax;
  }
  stats.histogramMin = lo;
  stats.histogramMax = hi;
  const int bins = params.histogramBins;
  // All values equal (hi == lo): everything in the first bin.
  const double scale = hi > lo ? bins / (hi - lo) : 0.0;
  for (float f : distance) {
    if (std::isnan(f)) continue;
    const double b = std::floor((double(f) - lo) * scale);
    const int k = b < 0 ? 0 : b >= bins ? bins - 1 : int(b);
    ++stats.histogram[std::size_t(k)];
  }
}

void ComputeCloudDeviation(const CPointCloud& cloud, const CTriangleMesh& mesh,
                           const CDeviationParams& params, CCloudDeviation& out,
                           CProgressCounter* progress) {
  if (mesh.TriangleCount() == 0)
    throw std::invalid_argument("deviation: the mesh has no triangles");
  mesh.CheckValid();
  if (params.histogramBins < 1)
    throw std::invalid_argument("deviation: the histogram needs at least one bin");
  detail::CTriangleBvh bvh;
  {
    CPrgCntSubPhase phase(progress, 0.0, 0.05, CPrgCntSubPhase::PhaseFloat);
    bvh.Build(mesh);
  }
  const std::size_t n = std::size_t(cloud.Size());
  const float nan = std::numeric_limits<float>::quiet_NaN();
  out.distance.assign(n, nan);
  out.nearest.assign(n, Point3D(nan));
  out.triangle.assign(n, -1);
  {
    CPrgCntSubPhase phase(progress, 0.05, 0.95, CPrgCntSubPhase::PhaseFloat);
    const std::vector<std::int32_t> order = SpatialOrder(cloud.Positions());
    DeviationKernel kernel(cloud, order, mesh, bvh, out);
    detail::RunBlocks(int(order.size()), kBlockSize, detail::ResolveThreadCount(params.nThreads),
                      progress, kernel);
  }
  ComputeDeviationStats(out.distance, params, out.stats);
}

}  // namespace REmath
