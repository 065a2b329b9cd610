// SPDX-License-Identifier: MIT
#include <qvmath/analysis/detail/scatter3.h>
#include <qvmath/analysis/quadratic_form.h>
#include <qvmath/cloud/cloud_normals.h>
#include <qvmath/cloud/detail/cloud_blocks.h>
#include <qvmath/cloud/detail/neighbourhood.h>
#include <qvmath/infra/progress_counter.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

namespace REmath {

namespace {

// The eigenvalue bound of `GetNormal`/`GetAnisotropy`: the first index is taken if below it.
constexpr double kEigenBound = 1e30;
// Middle/largest eigenvalue ratio at or below which a neighbourhood counts as collinear:
// float coordinates of points on a line scatter by about 1e-7 relative, which puts the
// ratio near 1e-14; real surface patches are many orders above 1e-10.
constexpr double kCollinearRatio = 1e-10;
constexpr int kBlockSize = 2048;

// The covariance step of GetNormal and GetAnisotropy done once for both: they diagonalise
// the same scatter matrix, so the results equal theirs bit for bit (the tests hold them
// to it) at half the cost.
bool CovarianceNormal(int n, const Point3D* pts, Point3D& normal, float& variation) {
  double c[3], S[3][3], d[3];
  detail::CentroidAndScatter(n, pts, c, S);
  double* work[3] = {S[0], S[1], S[2]};
  if (!detail::DiagonaliseSym3(work, d)) return false;
  int i = detail::SmallestEigenIndex(d, kEigenBound);
  if (i < 0) return false;  // NaN or overflowing eigenvalues
  const double m = d[i];
  const double trace = d[0] + d[1] + d[2];
  const double largest = std::max(d[0], std::max(d[1], d[2]));
  const double middle = trace - m - largest;
  if (!(middle > kCollinearRatio * largest)) return false;
  const double len =
      std::sqrt(work[0][i] * work[0][i] + work[1][i] * work[1][i] + work[2][i] * work[2][i]);
  if (!(len > 0)) return false;
  normal = Point3D(float(work[0][i] / len), float(work[1][i] / len), float(work[2][i] / len));
  variation = trace > 0 ? float(m / trace) : float(1.0 / 3.0);
  return true;
}

class NormalKernel : public detail::IBlockKernel {
 public:
  NormalKernel(const CCloudIndex& index, const CCloudNormalParams& p, CCloudNormals& out, int slots)
      : m_index(index), m_p(p), m_out(out), m_scratch(std::size_t(slots)) {
    for (auto& s : m_scratch) s.Reserve(p.radius > 0 ? 64 : p.k);
  }
  void ProcessRange(int begin, int end, int slot) override {
    detail::NeighbourScratch& sc = m_scratch[std::size_t(slot)];
    const int* toInput = m_index.SortedToInput();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (int s = begin; s < end; ++s) {
      const int count =
          detail::GatherNeighbourhood(m_index, s, m_p.k, m_p.radius, m_p.maxNeighbours, sc);
      Point3D n(0.0f);
      float var = nan;
      bool ok = false;
      if (m_p.method == ECloudNormalMethod::Covariance) {
        ok = count >= 3 && CovarianceNormal(count, sc.pts.data(), n, var);
      } else {
        double nd[3];
        double resid;
        CQuadraticForm quad;
        ok = GetNormal2(count, sc.pts.data(), &m_p.quadric, &quad, nd, &var, &resid);
        if (ok) n = Point3D(float(nd[0]), float(nd[1]), float(nd[2]));
      }
      const std::size_t i = std::size_t(toInput[s]);
      m_out.valid[i] = ok ? 1 : 0;
      m_out.normals[i] = ok ? n : Point3D(0.0f);
      m_out.surfaceVariation[i] = ok ? var : nan;
    }
  }

 private:
  const CCloudIndex& m_index;
  const CCloudNormalParams& m_p;
  CCloudNormals& m_out;
  std::vector<detail::NeighbourScratch> m_scratch;
};

}  // namespace

void ComputeCloudNormals(const CCloudIndex& index, const CCloudNormalParams& params,
                         CCloudNormals& out, CProgressCounter* progress) {
  const int n = index.Size();
  const int m = index.IndexedCount();
  if (n == 0) throw std::invalid_argument("normals: empty cloud");
  if (m == 0) throw std::invalid_argument("normals: the cloud has no finite point");
  const bool quadric = params.method == ECloudNormalMethod::Quadric;
  const int minK = quadric ? params.quadric.q_size() : 3;
  if (params.radius <= 0 || std::isnan(params.radius)) {
    if (params.k < minK)
      throw std::invalid_argument("normals: k = " + std::to_string(params.k) +
                                  " is below the minimum " + std::to_string(minK));
    if (params.k > m)
      throw std::invalid_argument("normals: k = " + std::to_string(params.k) + " exceeds the " +
                                  std::to_string(m) + " finite points of the cloud");
  }
  out.normals.assign(std::size_t(n), Point3D(0.0f));
  out.surfaceVariation.assign(std::size_t(n), std::numeric_limits<float>::quiet_NaN());
  out.valid.assign(std::size_t(n), 0);
  const int slots = detail::ResolveThreadCount(params.nThreads);
  NormalKernel kernel(index, params, out, slots);
  detail::RunBlocks(m, kBlockSize, slots, progress, kernel);
  out.invalidCount = 0;
  for (unsigned char v : out.valid) out.invalidCount += v ? 0 : 1;
}

void ComputeCloudNormals(const CPointCloud& cloud, const CCloudNormalParams& params,
                         CCloudNormals& out, CProgressCounter* progress) {
  CCloudIndex index;
  {
    CPrgCntSubPhase phase(progress, 0.0, 0.1, CPrgCntSubPhase::PhaseFloat);
    index.Build(cloud.Positions().data(), cloud.Size(), progress, params.nThreads);
  }
  CPrgCntSubPhase phase(progress, 0.1, 0.9, CPrgCntSubPhase::PhaseFloat);
  ComputeCloudNormals(index, params, out, progress);
}

}  // namespace REmath
