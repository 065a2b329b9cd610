// SPDX-License-Identifier: MIT
#include <qvmath/analysis/detail/scatter3.h>
#include <qvmath/analysis/normal_estimation.h>

namespace {

constexpr double kEigenBound = 1e30;

// The covariance step: scatter about the centroid into work, then diagonalisation.
// Returns tqli_d's status; d receives the eigenvalues.
int CovarianceStep(int n, const REmath::Point3D* pts, double** work, double d[3]) {
  double c[3], S[3][3];
  REmath::detail::CentroidAndScatter(n, pts, c, S);
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) work[i][j] = S[i][j];
  return REmath::detail::DiagonaliseSym3(work, d);
}

template <class Real>
int GetNormalT(int n, const REmath::Point3D* pts, double** work, Real* normal) {
  double d[3];
  if (!CovarianceStep(n, pts, work, d)) return 0;
  int i = REmath::detail::SmallestEigenIndex(d, kEigenBound);
  if (i < 0) i = 0;
  for (int r = 0; r < 3; ++r) normal[r] = Real(work[r][i]);
  return 1;
}

}  // namespace

int GetNormal(int n, const REmath::Point3D* pts, double** work, double* normal) {
  return GetNormalT(n, pts, work, normal);
}

int GetNormal(int n, const REmath::Point3D* pts, double** work, float* normal) {
  return GetNormalT(n, pts, work, normal);
}

int GetAnisotropy(int n, const REmath::Point3D* pts, double** work, float& aniso) {
  double d[3];
  if (!CovarianceStep(n, pts, work, d)) return 0;
  const int i = REmath::detail::SmallestEigenIndex(d, kEigenBound);
  const double m = i < 0 ? kEigenBound : d[i];
  const double trace = d[0] + d[1] + d[2];
  aniso = trace > 0 ? float(m / trace) : float(1.0 / 3.0);
  return 1;
}

bool EstimateNormal(const std::vector<REmath::Point3D>& pts, double* normal) {
  normal[0] = normal[1] = normal[2] = 0;
  double m[3][3];
  double* work[3] = {m[0], m[1], m[2]};
  return GetNormal(int(pts.size()), pts.data(), work, normal) == 1;
}
