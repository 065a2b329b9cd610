// SPDX-License-Identifier: MIT
#include <qvmath/analysis/curvatures.h>
#include <qvmath/analysis/detail/curvature_core.h>
#include <qvmath/core/detail/vec3.h>

#include <cmath>

namespace {

void Normalise(double* v) {
  const double r = 1.0 / std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
  v[0] *= r, v[1] *= r, v[2] *= r;
}

}  // namespace

namespace REmath {
namespace detail {

bool CurvaturesOfRaw(const CQuadFormRaw9<double>& q, double* k, REmath::Matrix<double>* tensor,
                     double* normal) {
  k[0] = k[1] = kCurvatureGiveUp;
  const double g2 = q.KX * q.KX + q.KY * q.KY + q.KZ * q.KZ;
  if (g2 <= 1e-10) return false;
  const double gl = std::sqrt(g2);
  double n[3] = {q.KX / gl, q.KY / gl, q.KZ / gl};
  double t1[3];
  if (n[2] * n[2] < 0.8) {
    const double s = std::sqrt(1 - n[2] * n[2]);
    t1[0] = -n[1] / s, t1[1] = n[0] / s, t1[2] = 0;
  } else if (n[1] * n[1] >= 0.8) {
    // Unreachable for a unit n (nz² >= 0.8 leaves ny² <= 0.2); kept as the method has it.
    const double s = std::sqrt(1 - n[0] * n[0]);
    t1[0] = 0, t1[1] = -n[2] / s, t1[2] = n[1] / s;
  } else {
    const double s = std::sqrt(1 - n[1] * n[1]);
    t1[0] = n[2] / s, t1[1] = 0, t1[2] = -n[0] / s;
  }
  double t2[3];
  REmath::detail::Cross3(t1, n, t2);
  auto quad = [&q](const double* t) {
    return q.KXX * t[0] * t[0] + q.KXY * t[0] * t[1] + q.KXZ * t[0] * t[2] + q.KYY * t[1] * t[1] +
           q.KYZ * t[1] * t[2] + q.KZZ * t[2] * t[2];
  };
  const double Ht1[3] = {2 * q.KXX * t1[0] + q.KXY * t1[1] + q.KXZ * t1[2],
                         q.KXY * t1[0] + 2 * q.KYY * t1[1] + q.KYZ * t1[2],
                         q.KXZ * t1[0] + q.KYZ * t1[1] + 2 * q.KZZ * t1[2]};
  const double k11 = -2 * quad(t1) / gl;
  const double k22 = -2 * quad(t2) / gl;
  const double k12 = -(t2[0] * Ht1[0] + t2[1] * Ht1[1] + t2[2] * Ht1[2]) / gl;
  const double h = (k11 + k22) / 2;
  const double D = h * h - (k11 * k22 - k12 * k12);
  // Umbilic points (D = 0) fall here too: the routine does not report them.
  if (D < 1e-10) return false;
  const double s = std::sqrt(D);
  k[0] = std::fabs(h - s);
  k[1] = std::fabs(h + s);
  if (!tensor) return true;
  Normalise(t2);
  Normalise(t1);
  Normalise(n);
  if (normal) normal[0] = n[0], normal[1] = n[1], normal[2] = n[2];
  // k[0] goes with t2 and k[1] with t1, principal directions or not: kept deliberately.
  const double* B[3] = {t2, t1, n};
  const double lambda[3] = {k[0], k[1], 0};
  tensor->resize(3, 3);
  double T[3][3];
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j)
      T[i][j] = B[0][i] * lambda[0] * B[0][j] + B[1][i] * lambda[1] * B[1][j] +
                B[2][i] * lambda[2] * B[2][j];
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) (*tensor)(i, j) = (T[i][j] + T[j][i]) / 2;
  return true;
}

}  // namespace detail
}  // namespace REmath

void GetCurvatures(const CQuadFormRaw9<double>& q, double* k, REmath::Matrix<double>* tensor,
                   double* normal) {
  REmath::detail::CurvaturesOfRaw(q, k, tensor, normal);
}

double MaxCurvature(const CQuadFormRaw9<double>& q) {
  double k[2];
  GetCurvatures(q, k, nullptr, nullptr);
  return k[0] <= k[1] ? k[1] : k[0];
}

double MaxCurvature(const CQuadraticForm& f) {
  CQuadFormRaw9<double> raw;
  f.ConvertToRawFormat(raw);
  return MaxCurvature(raw);
}
