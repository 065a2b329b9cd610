// SPDX-License-Identifier: MIT
#include <qvmath/analysis/detail/curvature_core.h>
#include <qvmath/analysis/detail/local_quadric_fit.h>
#include <qvmath/analysis/quadric_curvature.h>

#include <cmath>

namespace {

// The fitted quadric at pts[0] as a raw record.
bool FitRaw(const std::vector<REmath::Point3D>& pts, bool weighted, CQuadFormRaw9<double>& raw) {
  REmath::detail::LocalQuadricOptions opt;
  opt.weighted = weighted;
  opt.force2 = true;
  REmath::detail::LocalQuadricResult r;
  if (!REmath::detail::FitLocalQuadric(int(pts.size()), pts.data(), opt, r)) return false;
  r.quad.ConvertToRawFormat(raw);
  return true;
}

}  // namespace

bool EstimateCurvature(const std::vector<REmath::Point3D>& pts, bool weighted, double* out,
                       REmath::Matrix<double>& m) {
  CQuadFormRaw9<double> raw;
  if (!FitRaw(pts, weighted, raw)) return false;
  double k[2], normal[3];
  const bool ok = REmath::detail::CurvaturesOfRaw(raw, k, &m, normal);
  out[0] = k[0];
  out[1] = k[1];
  if (!ok) return false;
  out[2] = normal[0], out[3] = normal[1], out[4] = normal[2];
  return true;
}

bool GetMinMaxCurvaturesForPoints(std::vector<REmath::Point3D>& pts, float& kmin, float& kmax) {
  CQuadFormRaw9<double> raw;
  if (!FitRaw(pts, false, raw)) return false;
  double k[2];
  if (!REmath::detail::CurvaturesOfRaw(raw, k, nullptr, nullptr)) return false;
  kmin = float(std::fmin(k[0], k[1]));
  kmax = float(std::fmax(k[0], k[1]));
  return true;
}
