// SPDX-License-Identifier: MIT
// CRotationMatrix members and the LAPACK-based 3×3 inverse.
#include <qvmath/core/detail/lapack.h>
#include <qvmath/core/detail/tolerance.h>
#include <qvmath/core/rotation_matrix.h>

#include <cmath>

namespace {

using REmath::detail::kDoubleEps;
using REmath::detail::kFloatEps;

// Relative symmetry test without an absolute floor, as the matrix's users expect:
// exactly equal pairs pass, tiny unequal ones fail however small they are.
bool SelfAdjointWithin(const double (&m)[3][3], double eps) {
  for (int i = 0; i < 3; ++i)
    for (int j = i + 1; j < 3; ++j) {
      const double a = m[i][j], b = m[j][i];
      if (!REmath::detail::RelativelyEqual(a, b, eps)) return false;
    }
  return true;
}

constexpr double kIdentityEntries[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
constexpr double kZeroEntries[3][3] = {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}};

}  // namespace

CRotationMatrix::CRotationMatrix() : CRotationMatrix(Identity()) {}

CRotationMatrix::CRotationMatrix(double const (&a)[3][3]) {
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) m[i][j] = a[i][j];
}

void CRotationMatrix::setRow(int i, const REmath::Point3D_d& v) {
  m[i][0] = v.m_x;
  m[i][1] = v.m_y;
  m[i][2] = v.m_z;
}

void CRotationMatrix::setColumn(int j, const REmath::Point3D_d& v) {
  m[0][j] = v.m_x;
  m[1][j] = v.m_y;
  m[2][j] = v.m_z;
}

REmath::Point3D_d CRotationMatrix::getRow(int i) const {
  return REmath::Point3D_d(m[i][0], m[i][1], m[i][2]);
}

REmath::Point3D_d CRotationMatrix::getColumn(int j) const {
  return REmath::Point3D_d(m[0][j], m[1][j], m[2][j]);
}

bool CRotationMatrix::isSelfAdjoint() const { return SelfAdjointWithin(m, kDoubleEps); }

bool CRotationMatrix::isSelfAdjointAsFloats() const { return SelfAdjointWithin(m, kFloatEps); }

CRotationMatrix& CRotationMatrix::operator+=(CRotationMatrix other) {
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) m[i][j] += other.m[i][j];
  return *this;
}

CRotationMatrix CRotationMatrix::operator+(CRotationMatrix other) const {
  CRotationMatrix r(*this);
  r += other;
  return r;
}

CRotationMatrix& CRotationMatrix::operator*=(double s) {
  for (auto& row : m)
    for (double& e : row) e *= s;
  return *this;
}

CRotationMatrix CRotationMatrix::operator*(double s) const {
  CRotationMatrix r(*this);
  r *= s;
  return r;
}

CRotationMatrix CRotationMatrix::operator/(double s) const {
  CRotationMatrix r(*this);
  for (auto& row : r.m)
    for (double& e : row) e /= s;
  return r;
}

void CRotationMatrix::transpose() {
  for (int i = 0; i < 3; ++i)
    for (int j = i + 1; j < 3; ++j) {
      const double t = m[i][j];
      m[i][j] = m[j][i];
      m[j][i] = t;
    }
}

CRotationMatrix CRotationMatrix::getTransposed() const {
  CRotationMatrix r(*this);
  r.transpose();
  return r;
}

CRotationMatrix CRotationMatrix::buildFromRows(const REmath::Point3D_d& r0,
                                               const REmath::Point3D_d& r1,
                                               const REmath::Point3D_d& r2) {
  CRotationMatrix r(kZeroEntries);
  r.setRow(0, r0);
  r.setRow(1, r1);
  r.setRow(2, r2);
  return r;
}

CRotationMatrix CRotationMatrix::buildFromColumns(const REmath::Point3D_d& c0,
                                                  const REmath::Point3D_d& c1,
                                                  const REmath::Point3D_d& c2) {
  return buildFromRows(c0, c1, c2).getTransposed();
}

const CRotationMatrix& CRotationMatrix::Identity() {
  static const CRotationMatrix kIdentity(kIdentityEntries);
  return kIdentity;
}

const CRotationMatrix& CRotationMatrix::Zero() {
  static const CRotationMatrix kZero(kZeroEntries);
  return kZero;
}

bool invertMatrix(const CRotationMatrix& a, CRotationMatrix& out) {
  // LAPACK is column-major: laying the row-major entries out column by column hands it
  // the transpose, so store a[i][j] at (row i, column j) explicitly.
  double lu[9];
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) lu[j * 3 + i] = a.m[i][j];
  int ipiv[3];
  if (REmath::detail::lapack::getrf(3, 3, lu, 3, ipiv) != 0) return false;
  // A fixed workspace of 192 doubles (64 blocks of n = 3), far above the optimum for a
  // 3×3 matrix, so no workspace query is needed.
  double work[192];
  if (REmath::detail::lapack::getri(3, lu, 3, ipiv, work, 192) != 0) return false;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) out.m[i][j] = lu[j * 3 + i];
  return true;
}
