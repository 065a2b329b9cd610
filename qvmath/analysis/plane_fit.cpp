// SPDX-License-Identifier: MIT
// Least-squares planes through the centroid: the covariance step, the choice of the smallest
// eigenvalue and the output conventions of each entry point.
#include <qvmath/analysis/detail/scatter3.h>
#include <qvmath/analysis/plane_fit.h>
#include <qvmath/geometry/local_frame.h>

#include <cmath>

namespace {

// Centroid and the eigenvector of the smallest eigenvalue below `bound`; false when the set
// is too small, the QL iteration fails or no eigenvalue is below the bound.
template <class P>
bool SmallestScatterAxis(const std::vector<P>& pts, double bound, double c[3], double axis[3]) {
  if (pts.size() < 3) return false;
  double S[3][3];
  REmath::detail::CentroidAndScatterLarge(pts.size(), pts.data(), c, S);
  double* work[3] = {S[0], S[1], S[2]};
  double d[3];
  if (!REmath::detail::DiagonaliseSym3(work, d)) return false;
  const int k = REmath::detail::SmallestEigenIndex(d, bound);
  if (k < 0) return false;
  for (int i = 0; i < 3; ++i) axis[i] = S[i][k];
  return true;
}

template <class P>
bool FitPlane(const std::vector<P>& pts, double* plane, double* centroid) {
  double c[3], n[3];
  if (!SmallestScatterAxis(pts, 1e30, c, n)) return false;
  for (int i = 0; i < 3; ++i) {
    plane[i] = n[i];
    centroid[i] = c[i];
  }
  plane[3] = n[0] * c[0] + n[1] * c[1] + n[2] * c[2];
  return true;
}

}  // namespace

bool FitPlaneToPointSet(const std::vector<REmath::Point3D>& pts, double* plane, double* centroid) {
  return FitPlane(pts, plane, centroid);
}

bool FitPlaneToPointSet(const std::vector<REmath::Point3D_d>& pts, double* plane,
                        double* centroid) {
  return FitPlane(pts, plane, centroid);
}

bool RecognizePlaneSelectionFree(const std::vector<REmath::Point3D>& pts,
                                 const REmath::Point3D& viewDir, REmath::Point3D_d& origin,
                                 REmath::Point3D_d& normal) {
  double c[3], n[3];
  // The bound here is 1e100, not the 1e30 of the other fits; kept as the callers know it.
  if (!SmallestScatterAxis(pts, 1e100, c, n)) return false;
  const double dot =
      n[0] * double(viewDir.x()) + n[1] * double(viewDir.y()) + n[2] * double(viewDir.z());
  if (dot < 0) {
    for (double& v : n) v = -v;
  }
  NormalizeVector(n);
  origin = REmath::Point3D_d(c[0], c[1], c[2]);
  normal = REmath::Point3D_d(n[0], n[1], n[2]);
  return true;
}

void CalcPlaneFitError(const std::vector<REmath::Point3D>& pts, const REmath::Point3D_d& origin,
                       const REmath::Point3D_d& normal, double& maxErr, double& meanErr) {
  maxErr = 0;
  meanErr = 0;
  for (const REmath::Point3D& p : pts) {
    const double e = std::fabs((origin.x() - double(p.x())) * normal.x() +
                               (origin.y() - double(p.y())) * normal.y() +
                               (origin.z() - double(p.z())) * normal.z());
    meanErr += e;
    if (e > maxErr) maxErr = e;
  }
  // An empty set divides 0 by 0 on purpose: callers test the mean for NaN.
  meanErr /= double(pts.size());
}
