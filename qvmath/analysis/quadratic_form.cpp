// SPDX-License-Identifier: MIT
#include <qvmath/analysis/quadratic_form.h>
#include <qvmath/core/detail/tolerance.h>
#include <qvmath/core/detail/vec3.h>

#include <cmath>
#include <utility>

using REmath::Point3D_d;

const double CQuadraticForm::m_sEvalError = 1e-5;

namespace {

// |0 − v| ≤ (|v| + 0)·ε: the form's documented zero test. It is true only for v == 0;
// it is kept literally, not replaced by a tolerance.
bool IsZero(double v) {
  return REmath::detail::RelativelyEqual(0.0, v, REmath::detail::kDoubleEps);
}

Point3D_d Mul(const CRotationMatrix& A, const Point3D_d& p) {
  return Point3D_d(A.m[0][0] * p.x() + A.m[0][1] * p.y() + A.m[0][2] * p.z(),
                   A.m[1][0] * p.x() + A.m[1][1] * p.y() + A.m[1][2] * p.z(),
                   A.m[2][0] * p.x() + A.m[2][1] * p.y() + A.m[2][2] * p.z());
}

}  // namespace

CQuadraticForm::CQuadraticForm() : m_A(CRotationMatrix::Identity()), m_b(), m_c(0) {}

CQuadraticForm CQuadraticForm::buildFromCoefficients(double KXX, double KYY, double KZZ, double KXY,
                                                     double KXZ, double KYZ, double KX, double KY,
                                                     double KZ, double K) {
  CQuadraticForm f;
  f.m_A.m[0][0] = KXX;
  f.m_A.m[1][1] = KYY;
  f.m_A.m[2][2] = KZZ;
  f.m_A.m[0][1] = f.m_A.m[1][0] = KXY / 2;
  f.m_A.m[0][2] = f.m_A.m[2][0] = KXZ / 2;
  f.m_A.m[1][2] = f.m_A.m[2][1] = KYZ / 2;
  f.m_b = Point3D_d(KX, KY, KZ);
  f.m_c = K;
  return f;
}

double CQuadraticForm::eval(const Point3D_d& p) const {
  return REmath::detail::PointDot(p, Mul(m_A, p)) + REmath::detail::PointDot(m_b, p) + m_c;
}

Point3D_d CQuadraticForm::evalGradient(const Point3D_d& p) const {
  Point3D_d g = Mul(m_A, p);
  g *= 2.0;
  g += m_b;
  return g;
}

void CQuadraticForm::transformToBasis(const COrthoNormBasis& basis) {
  const CRotationMatrix& R = basis.getBackCoordTransform().m;
  const Point3D_d o = basis.getOrigin();
  const Point3D_d Ao = Mul(m_A, o);
  // c' and b' use the old A and b, so they come first.
  m_c = m_c + REmath::detail::PointDot(m_b, o) + REmath::detail::PointDot(o, Ao);
  Point3D_d v = Ao;
  v *= 2.0;
  v += m_b;
  m_b = Mul(R.getTransposed(), v);
  CRotationMatrix AR;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j)
      AR.m[i][j] = m_A.m[i][0] * R.m[0][j] + m_A.m[i][1] * R.m[1][j] + m_A.m[i][2] * R.m[2][j];
  CRotationMatrix Ap;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j)
      Ap.m[i][j] = R.m[0][i] * AR.m[0][j] + R.m[1][i] * AR.m[1][j] + R.m[2][i] * AR.m[2][j];
  // Rounding leaves Rᵀ·A·R a few ulps off symmetric; the form's invariant wants it exact.
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) m_A.m[i][j] = (Ap.m[i][j] + Ap.m[j][i]) / 2;
}

CQuadraticForm CQuadraticForm::getTransformedToBasis(const COrthoNormBasis& basis) const {
  CQuadraticForm f(*this);
  f.transformToBasis(basis);
  return f;
}

CQuadraticForm::CalcZResult CQuadraticForm::calculateZByXY(double x, double y, double& z1,
                                                           double& z2) const {
  const double a = m_A.m[2][2];
  const double beta = getKXZ() * x + getKYZ() * y + m_b.z();
  const double gamma =
      getKXX() * x * x + getKXY() * x * y + getKYY() * y * y + m_b.x() * x + m_b.y() * y + m_c;
  if (IsZero(a)) {
    if (!IsZero(beta)) {
      z1 = -gamma / beta;
      return CZR_OneRoot;
    }
    return IsZero(gamma) ? CZR_AnyZ : CZR_NoSolution;
  }
  const double d = beta * beta - 4 * a * gamma;
  if (d < 0) return CZR_NoSolution;
  const double s = std::sqrt(d);
  z1 = (s - beta) / (2 * a);
  z2 = (-beta - s) / (2 * a);
  if (std::fabs(z2) < std::fabs(z1)) std::swap(z1, z2);
  return CZR_TwoRoots;
}

CQuadraticForm::CalcZResult CQuadraticForm::calculateZByXYSortedByGrad(double x, double y,
                                                                       double& z1, double& z2,
                                                                       const Point3D_d& dir) const {
  const CalcZResult r = calculateZByXY(x, y, z1, z2);
  if (r == CZR_TwoRoots) {
    const Point3D_d g1 = evalGradient(Point3D_d(x, y, z1)).unitLength();
    const Point3D_d g2 = evalGradient(Point3D_d(x, y, z2)).unitLength();
    const Point3D_d u = dir.unitLength();
    if (REmath::detail::PointDot(u, g1) < REmath::detail::PointDot(u, g2)) std::swap(z1, z2);
  }
  return r;
}
