// SPDX-License-Identifier: MIT
#include <qvmath/analysis/signed_curvature.h>
#include <qvmath/cloud/cloud_curvature.h>
#include <qvmath/cloud/detail/cloud_blocks.h>
#include <qvmath/cloud/detail/neighbourhood.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

namespace REmath {

namespace {

constexpr int kBlockSize = 1024;
constexpr int kMinNeighbours = 6;  // the six coefficients of the height function

class CurvatureKernel : public detail::IBlockKernel {
 public:
  CurvatureKernel(const CCloudIndex& index, const std::vector<Point3D>& normals,
                  const std::vector<unsigned char>& ok, const CCloudCurvatureParams& p,
                  CCloudCurvatures& out, int slots)
      : m_index(index),
        m_normals(normals),
        m_ok(ok),
        m_p(p),
        m_out(out),
        m_scratch(std::size_t(slots)),
        m_fit(std::size_t(slots)) {
    for (std::size_t i = 0; i < m_scratch.size(); ++i) {
      m_scratch[i].Reserve(p.radius > 0 ? 64 : p.k);
      m_fit[i].pts.resize(m_scratch[i].pts.size());
      m_fit[i].normals.resize(m_scratch[i].pts.size());
    }
  }
  void ProcessRange(int begin, int end, int slot) override {
    detail::NeighbourScratch& sc = m_scratch[std::size_t(slot)];
    const int* toInput = m_index.SortedToInput();
    for (int s = begin; s < end; ++s) {
      const std::size_t i = std::size_t(toInput[s]);
      if (!m_ok[i]) continue;
      const int count =
          detail::GatherNeighbourhood(m_index, s, m_p.k, m_p.radius, m_p.maxNeighbours, sc);
      const Point3D& q = sc.pts[0];
      const Point3D& n = m_normals[i];
      const Point3D_d origin(q.x(), q.y(), q.z()), normal(n.x(), n.y(), n.z());
      CSignedCurvature c;
      bool ok;
      if (m_p.useNeighbourNormals) {
        // Neighbours without a valid normal drop out of the normal fit; the point itself
        // stays first.
        FitScratch& f = m_fit[std::size_t(slot)];
        if (f.pts.size() < std::size_t(count)) {
          f.pts.resize(std::size_t(count));
          f.normals.resize(std::size_t(count));
        }
        int used = 0;
        for (int j = 0; j < count; ++j) {
          const std::size_t in = std::size_t(toInput[sc.idx[std::size_t(j)]]);
          if (!m_ok[in]) continue;
          f.pts[std::size_t(used)] = sc.pts[std::size_t(j)];
          f.normals[std::size_t(used)] = m_normals[in];
          ++used;
        }
        ok = GetSignedCurvatures(used, f.pts.data(), f.normals.data(), origin, normal, c);
      } else {
        ok = GetSignedCurvatures(count, sc.pts.data(), origin, normal, c);
      }
      if (!ok) continue;
      m_out.valid[i] = 1;
      m_out.k1[i] = float(c.k1);
      m_out.k2[i] = float(c.k2);
      m_out.mean[i] = float(c.mean);
      m_out.gauss[i] = float(c.gauss);
      m_out.dir1[i] = Point3D(float(c.dir1.x()), float(c.dir1.y()), float(c.dir1.z()));
      m_out.dir2[i] = Point3D(float(c.dir2.x()), float(c.dir2.y()), float(c.dir2.z()));
    }
  }

 private:
  const CCloudIndex& m_index;
  const std::vector<Point3D>& m_normals;
  const std::vector<unsigned char>& m_ok;
  const CCloudCurvatureParams& m_p;
  CCloudCurvatures& m_out;
  std::vector<detail::NeighbourScratch> m_scratch;
  struct FitScratch {
    std::vector<Point3D> pts, normals;
  };
  std::vector<FitScratch> m_fit;
};

}  // namespace

void ComputeCloudCurvatures(const CCloudIndex& index, const std::vector<Point3D>& normals,
                            const std::vector<unsigned char>& normalValid,
                            const CCloudCurvatureParams& params, CCloudCurvatures& out,
                            CProgressCounter* progress) {
  const int n = index.Size();
  const int m = index.IndexedCount();
  if (n == 0) throw std::invalid_argument("curvature: empty cloud");
  if (m == 0) throw std::invalid_argument("curvature: the cloud has no finite point");
  if (normals.size() != std::size_t(n) || normalValid.size() != std::size_t(n))
    throw std::invalid_argument("curvature: normals and flags must hold one entry per point");
  if (!(params.radius > 0)) {
    if (params.k < kMinNeighbours)
      throw std::invalid_argument("curvature: k = " + std::to_string(params.k) +
                                  " is below the minimum 6");
    if (params.k > m)
      throw std::invalid_argument("curvature: k = " + std::to_string(params.k) + " exceeds the " +
                                  std::to_string(m) + " finite points of the cloud");
  }
  const float nan = std::numeric_limits<float>::quiet_NaN();
  for (auto* v : {&out.k1, &out.k2, &out.mean, &out.gauss}) v->assign(std::size_t(n), nan);
  out.dir1.assign(std::size_t(n), Point3D(0.0f));
  out.dir2.assign(std::size_t(n), Point3D(0.0f));
  out.valid.assign(std::size_t(n), 0);
  const int slots = detail::ResolveThreadCount(params.nThreads);
  CurvatureKernel kernel(index, normals, normalValid, params, out, slots);
  detail::RunBlocks(m, kBlockSize, slots, progress, kernel);
  out.invalidCount = 0;
  for (unsigned char v : out.valid) out.invalidCount += v ? 0 : 1;
}

}  // namespace REmath
