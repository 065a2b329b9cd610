// SPDX-License-Identifier: MIT
// Covariance normals of 16-point torus neighbourhoods: GetNormal beside Eigen's centroid,
// scatter and SelfAdjointEigenSolver::compute on the same points; and the accuracy of the
// quadric-fit normal (GetNormal2, k = 16) against the covariance normal.

#include <benchmark/benchmark.h>
#include <qvmath/analysis/normal_estimation.h>
#include <qvmath/analysis/quadric_normal.h>

#include <Eigen/Dense>

#include "analysis/torus_cloud.h"

namespace {

using qvbench::TorusCloud;

constexpr int kK = 16, kQueries = 4096;

struct Hoods {
  std::vector<REmath::Point3D> flat;  // kQueries × kK
  std::vector<int> query;
};

const TorusCloud& Cloud(double sigma) {
  static const TorusCloud clean = qvbench::MakeTorus(100000, 0, 11);
  static const TorusCloud noisy = qvbench::MakeTorus(100000, 0.001, 11);
  return sigma > 0 ? noisy : clean;
}

Hoods MakeHoods(double sigma, int k, int count) {
  const TorusCloud& c = Cloud(sigma);
  qvbench::TorusTree tree(3, c);
  tree.buildIndex();
  Hoods h;
  std::vector<REmath::Point3D> nb;
  for (int i = 0; i < count; ++i) {
    const int q = int((i * 7919LL) % int(c.pts.size()));
    qvbench::Neighbourhood(tree, c, q, k, nb);
    h.flat.insert(h.flat.end(), nb.begin(), nb.end());
    h.query.push_back(q);
  }
  return h;
}

const Hoods& Hoods16() {
  static const Hoods h = MakeHoods(0, kK, kQueries);
  return h;
}

void BM_GetNormal16_QVmath(benchmark::State& st) {
  const Hoods& h = Hoods16();
  double m[3][3], nrm[3];
  double* work[3] = {m[0], m[1], m[2]};
  for (auto _ : st)
    for (int i = 0; i < kQueries; ++i) {
      GetNormal(kK, &h.flat[size_t(i) * kK], work, nrm);
      benchmark::DoNotOptimize(nrm);
    }
  st.SetItemsProcessed(st.iterations() * kQueries);
}

void BM_GetNormal16_EigenCompute(benchmark::State& st) {
  const Hoods& h = Hoods16();
  Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> es;
  for (auto _ : st)
    for (int i = 0; i < kQueries; ++i) {
      const REmath::Point3D* p = &h.flat[size_t(i) * kK];
      Eigen::Vector3d c = Eigen::Vector3d::Zero();
      for (int j = 0; j < kK; ++j) c += Eigen::Vector3d(p[j].x(), p[j].y(), p[j].z());
      c /= kK;
      Eigen::Matrix3d S = Eigen::Matrix3d::Zero();
      for (int j = 0; j < kK; ++j) {
        const Eigen::Vector3d d = Eigen::Vector3d(p[j].x(), p[j].y(), p[j].z()) - c;
        S.noalias() += d * d.transpose();
      }
      es.compute(S);
      benchmark::DoNotOptimize(es.eigenvectors().col(0).eval());
    }
  st.SetItemsProcessed(st.iterations() * kQueries);
}

double AngleDeg(const double* a, const double* b) {
  const double c = std::fabs(a[0] * b[0] + a[1] * b[1] + a[2] * b[2]) /
                   std::sqrt((a[0] * a[0] + a[1] * a[1] + a[2] * a[2]) *
                             (b[0] * b[0] + b[1] * b[1] + b[2] * b[2]));
  return std::acos(std::min(1.0, c)) * 180 / std::acos(-1.0);
}

// Median angle to the analytic normal, covariance vs quadric fit, at 5000 points.
void BM_NormalAccuracyK16(benchmark::State& st) {
  const double sigma = st.range(0) ? 0.001 : 0.0;
  const TorusCloud& c = Cloud(sigma);
  const Hoods h = MakeHoods(sigma, kK, 5000);
  std::vector<double> eCov, eFit, eFree;
  CGetNormal2Prms freeTerm;
  freeTerm.ZeroFremTerm() = false;
  freeTerm.Appr2MinDist() = 1.0f;  // equal weights
  for (auto _ : st) {
    eCov.clear(), eFit.clear(), eFree.clear();
    double m[3][3], cov[3], fit[3];
    double* work[3] = {m[0], m[1], m[2]};
    for (size_t i = 0; i < h.query.size(); ++i) {
      const REmath::Point3D* p = &h.flat[i * kK];
      const double* truth = &c.normal[size_t(h.query[i]) * 3];
      if (GetNormal(kK, p, work, cov)) eCov.push_back(AngleDeg(cov, truth));
      if (GetNormal2(kK, p, nullptr, nullptr, fit, nullptr, nullptr))
        eFit.push_back(AngleDeg(fit, truth));
      if (GetNormal2(kK, p, &freeTerm, nullptr, fit, nullptr, nullptr))
        eFree.push_back(AngleDeg(fit, truth));
    }
  }
  st.counters["cov_median_deg"] = qvbench::Median(eCov);
  st.counters["normal2_median_deg"] = qvbench::Median(eFit);
  st.counters["normal2_free_equal_deg"] = qvbench::Median(eFree);
}

BENCHMARK(BM_GetNormal16_QVmath);
BENCHMARK(BM_GetNormal16_EigenCompute);
BENCHMARK(BM_NormalAccuracyK16)->Arg(0)->Arg(1)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
