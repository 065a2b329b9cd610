// SPDX-License-Identifier: MIT
// The larger principal curvature on a torus (R = 1, r = 0.3; truth 1/r) from 30 nearest
// neighbours, noise-free and with σ = 0.001: GetSignedCurvatures, EstimateCurvature and,
// when PCL is found, PCL's PrincipalCurvaturesEstimation (its normal-variation value
// converted to 1/length). Speed: GetSignedCurvatures per 30-point neighbourhood beside a
// plain Eigen least-squares quadric fit (Householder QR) on the same points and frame.

#include <benchmark/benchmark.h>
#include <qvmath/analysis/normal_estimation.h>
#include <qvmath/analysis/ortho_norm_basis.h>
#include <qvmath/analysis/quadric_curvature.h>
#include <qvmath/analysis/quadric_normal.h>
#include <qvmath/analysis/signed_curvature.h>

#include <Eigen/Dense>
#include <string>

#if defined(QVMATH_BENCH_HAVE_PCL)
#include <pcl/features/normal_3d.h>
#include <pcl/features/principal_curvatures.h>
#include <pcl/point_types.h>
#endif

#include "analysis/torus_cloud.h"

namespace {

using qvbench::TorusCloud;

constexpr int kK = 30, kStudy = 5000, kSpeed = 2048;

const TorusCloud& Cloud(bool noisy) {
  static const TorusCloud clean = qvbench::MakeTorus(100000, 0, 12);
  static const TorusCloud rough = qvbench::MakeTorus(100000, 0.001, 12);
  return noisy ? rough : clean;
}

struct Hoods {
  std::vector<REmath::Point3D> flat;
  std::vector<unsigned> index;  // cloud index of every entry of flat
  std::vector<int> query;
  std::vector<REmath::Point3D_d> normal;  // covariance normal of each neighbourhood
};

Hoods MakeHoods(bool noisy, int count) {
  const TorusCloud& c = Cloud(noisy);
  qvbench::TorusTree tree(3, c);
  tree.buildIndex();
  Hoods h;
  std::vector<REmath::Point3D> nb;
  std::vector<unsigned> idx;
  double m[3][3], n[3];
  double* work[3] = {m[0], m[1], m[2]};
  for (int i = 0; i < count; ++i) {
    const int q = int((i * 7919LL) % int(c.pts.size()));
    qvbench::Neighbourhood(tree, c, q, kK, nb, &idx);
    h.flat.insert(h.flat.end(), nb.begin(), nb.end());
    h.index.insert(h.index.end(), idx.begin(), idx.end());
    h.query.push_back(q);
    GetNormal(kK, nb.data(), work, n);
    h.normal.emplace_back(n[0], n[1], n[2]);
  }
  return h;
}

REmath::Point3D_d D(const REmath::Point3D& p) { return REmath::Point3D_d(p.x(), p.y(), p.z()); }

// Normals of the whole cloud as a point-cloud layer computes them: from the k nearest
// neighbours of every point, by GetNormal2 (quadric) or GetNormal (covariance), oriented
// outward (the orientation only is taken from the truth).
std::vector<REmath::Point3D> CloudNormals(bool noisy, bool quadric, int k) {
  const TorusCloud& c = Cloud(noisy);
  qvbench::TorusTree tree(3, c);
  tree.buildIndex();
  std::vector<REmath::Point3D> out(c.pts.size()), nb;
  double m[3][3], n[3] = {0, 0, 1};
  double* work[3] = {m[0], m[1], m[2]};
  CGetNormal2Prms equal;
  equal.Appr2MinDist() = 1.0f;  // equal weights: the least noise
  for (size_t i = 0; i < c.pts.size(); ++i) {
    qvbench::Neighbourhood(tree, c, int(i), k, nb);
    if (quadric)
      GetNormal2(k, nb.data(), &equal, nullptr, n, nullptr, nullptr);
    else
      GetNormal(k, nb.data(), work, n);
    const double* t = &c.normal[3 * i];
    const double sg = n[0] * t[0] + n[1] * t[1] + n[2] * t[2] < 0 ? -1 : 1;
    out[i] = REmath::Point3D(float(sg * n[0]), float(sg * n[1]), float(sg * n[2]));
  }
  return out;
}

// The larger |k| of the fit with the neighbours' normals taken from cloud normals nrm.
std::vector<double> WithNormals(const Hoods& h, const std::vector<REmath::Point3D>& nrm) {
  const double truth = 1 / TorusCloud::kr;
  std::vector<double> e;
  std::vector<REmath::Point3D> nb(kK);
  for (size_t i = 0; i < h.query.size(); ++i) {
    const REmath::Point3D* p = &h.flat[i * kK];
    for (int j = 0; j < kK; ++j) nb[j] = nrm[h.index[i * kK + j]];
    CSignedCurvature c;
    if (GetSignedCurvatures(kK, p, nb.data(), D(p[0]), D(nb[0]), c))
      e.push_back(std::fabs(std::max(std::fabs(c.k1), std::fabs(c.k2)) - truth) / truth);
  }
  return e;
}

void BM_LargerCurvatureAccuracyK30(benchmark::State& st) {
  const bool noisy = st.range(0) != 0;
  const Hoods h = MakeHoods(noisy, kStudy);
  const double truth = 1 / TorusCloud::kr;
  std::vector<double> eSigned, eQuadric;
  for (auto _ : st) {
    eSigned.clear(), eQuadric.clear();
    std::vector<REmath::Point3D> nb(kK);
    REmath::Matrix<double> T;
    for (size_t i = 0; i < h.query.size(); ++i) {
      const REmath::Point3D* p = &h.flat[i * kK];
      CSignedCurvature c;
      if (GetSignedCurvatures(kK, p, D(p[0]), h.normal[i], c))
        eSigned.push_back(std::fabs(std::max(std::fabs(c.k1), std::fabs(c.k2)) - truth) / truth);
      nb.assign(p, p + kK);
      double out[5];
      if (EstimateCurvature(nb, false, out, T))
        eQuadric.push_back(std::fabs(std::max(out[0], out[1]) - truth) / truth);
    }
  }
  st.counters["signed_median_relerr_pct"] = 100 * qvbench::Median(eSigned);
  for (int k : {30, 60}) {
    const std::string tag = "_k" + std::to_string(k) + "_median_relerr_pct";
    st.counters["withnormal2" + tag] =
        100 * qvbench::Median(WithNormals(h, CloudNormals(noisy, true, k)));
    st.counters["withcovnormals" + tag] =
        100 * qvbench::Median(WithNormals(h, CloudNormals(noisy, false, k)));
  }
  st.counters["quadric_median_relerr_pct"] = 100 * qvbench::Median(eQuadric);
#if defined(QVMATH_BENCH_HAVE_PCL)
  // PCL: normals from 30 neighbours over the whole cloud, then the principal curvature of
  // the 30-neighbourhood of each studied point. Its pc1 is the largest eigenvalue of the
  // covariance of the neighbours' normals projected on the tangent plane; with projected
  // normals ≈ k·x along the principal direction this is k²·var(x), so k = √(pc1/var(x)).
  const TorusCloud& c = Cloud(noisy);
  pcl::PointCloud<pcl::PointXYZ>::Ptr cloud(new pcl::PointCloud<pcl::PointXYZ>);
  for (const auto& p : c.pts) cloud->push_back(pcl::PointXYZ(p.x(), p.y(), p.z()));
  pcl::search::KdTree<pcl::PointXYZ>::Ptr tree(new pcl::search::KdTree<pcl::PointXYZ>);
  pcl::NormalEstimation<pcl::PointXYZ, pcl::Normal> ne;
  pcl::PointCloud<pcl::Normal>::Ptr normals(new pcl::PointCloud<pcl::Normal>);
  ne.setInputCloud(cloud);
  ne.setSearchMethod(tree);
  ne.setKSearch(kK);
  ne.compute(*normals);
  pcl::PrincipalCurvaturesEstimation<pcl::PointXYZ, pcl::Normal, pcl::PrincipalCurvatures> pc;
  pcl::IndicesPtr idx(new pcl::Indices(h.query.begin(), h.query.end()));
  pc.setInputCloud(cloud);
  pc.setInputNormals(normals);
  pc.setSearchMethod(tree);
  pc.setKSearch(kK);
  pc.setIndices(idx);
  pcl::PointCloud<pcl::PrincipalCurvatures> curv;
  pc.compute(curv);
  std::vector<double> ePcl;
  for (size_t i = 0; i < h.query.size(); ++i) {
    const auto& k = curv[i];
    if (!std::isfinite(k.pc1)) continue;
    const REmath::Point3D* p = &h.flat[i * kK];
    const Eigen::Vector3d dir(k.principal_curvature_x, k.principal_curvature_y,
                              k.principal_curvature_z);
    Eigen::Vector3d mean = Eigen::Vector3d::Zero();
    for (int j = 0; j < kK; ++j) mean += Eigen::Vector3d(p[j].x(), p[j].y(), p[j].z()) / kK;
    double var = 0;
    for (int j = 0; j < kK; ++j) {
      const double x = (Eigen::Vector3d(p[j].x(), p[j].y(), p[j].z()) - mean).dot(dir);
      var += x * x / kK;
    }
    ePcl.push_back(std::fabs(std::sqrt(k.pc1 / var) - truth) / truth);
  }
  st.counters["pcl_median_relerr_pct"] = 100 * qvbench::Median(ePcl);
#endif
}

const Hoods& SpeedHoods() {
  static const Hoods h = MakeHoods(false, kSpeed);
  return h;
}

void BM_SignedCurvature30_QVmath(benchmark::State& st) {
  const Hoods& h = SpeedHoods();
  for (auto _ : st)
    for (int i = 0; i < kSpeed; ++i) {
      const REmath::Point3D* p = &h.flat[size_t(i) * kK];
      CSignedCurvature c;
      GetSignedCurvatures(kK, p, D(p[0]), h.normal[i], c);
      benchmark::DoNotOptimize(c);
    }
  st.SetItemsProcessed(st.iterations() * kSpeed);
}

// The same frame and height function, solved by Eigen's Householder QR, curvatures from a
// 2×2 eigen-solve of the Hessian (the slope-free approximation).
void BM_SignedCurvature30_EigenQR(benchmark::State& st) {
  const Hoods& h = SpeedHoods();
  Eigen::Matrix<double, kK, 6> A;
  Eigen::Matrix<double, kK, 1> b;
  for (auto _ : st)
    for (int i = 0; i < kSpeed; ++i) {
      const REmath::Point3D* p = &h.flat[size_t(i) * kK];
      const COrthoNormBasis f =
          COrthoNormBasis::buildAnyRightHandByV2AndOrigin(h.normal[i], D(p[0]));
      for (int j = 0; j < kK; ++j) {
        const REmath::Point3D_d q = f.transformCoordsToBasis(D(p[j]));
        A.row(j) << 1, q.x(), q.y(), q.x() * q.x(), q.x() * q.y(), q.y() * q.y();
        b[j] = q.z();
      }
      const Eigen::Matrix<double, 6, 1> c = A.householderQr().solve(b);
      Eigen::Matrix2d H;
      H << 2 * c[3], c[4], c[4], 2 * c[5];
      benchmark::DoNotOptimize(
          Eigen::SelfAdjointEigenSolver<Eigen::Matrix2d>(H).eigenvalues().eval());
    }
  st.SetItemsProcessed(st.iterations() * kSpeed);
}

BENCHMARK(BM_SignedCurvature30_QVmath);
BENCHMARK(BM_SignedCurvature30_EigenQR);
BENCHMARK(BM_LargerCurvatureAccuracyK30)
    ->Arg(0)
    ->Arg(1)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
