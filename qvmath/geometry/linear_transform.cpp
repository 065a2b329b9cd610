// SPDX-License-Identifier: MIT
// RElinearTransform members and the general affine inverse.

#include <qvmath/core/detail/tolerance.h>
#include <qvmath/geometry/linear_transform.h>

#include <algorithm>
#include <cmath>

namespace {

// Composition a∘b (b applied first): matrix a.m·b.m, translation a.m·b.t + a.t.
RElinearTransform Compose(const RElinearTransform& a, const RElinearTransform& b) {
  RElinearTransform r;
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      double s = 0;
      for (int k = 0; k < 3; ++k) s += a.m.m[i][k] * b.m.m[k][j];
      r.m.m[i][j] = s;
    }
    double s = 0;
    for (int k = 0; k < 3; ++k) s += a.m.m[i][k] * b.t[k];
    r.t[i] = s + a.t[i];
  }
  return r;
}

// Equality for the orthogonality test: single-precision epsilon, relative with a floor
// of 1 so that entries that should be zero are judged absolutely.
bool NearlyEqual(double a, double b) {
  return std::fabs(a - b) <= REmath::detail::kFloatEps * std::max(1.0, std::fabs(a) + std::fabs(b));
}

}  // namespace

RElinearTransform::RElinearTransform() : m(Identity().m), t{0, 0, 0} {}

RElinearTransform::RElinearTransform(double const (&a)[3][3], const double* tr)
    : m(a), t{tr[0], tr[1], tr[2]} {}

RElinearTransform::RElinearTransform(const CRotationMatrix& rot, const REmath::Point3D_d& tr)
    : m(rot), t{tr.m_x, tr.m_y, tr.m_z} {}

RElinearTransform RElinearTransform::getInvertedOrtho() const {
  RElinearTransform r;
  r.m = m.getTransposed();
  for (int i = 0; i < 3; ++i) {
    double s = 0;
    for (int k = 0; k < 3; ++k) s += m.m[k][i] * t[k];
    r.t[i] = -s;
  }
  return r;
}

void RElinearTransform::invertOrtho() { *this = getInvertedOrtho(); }

bool RElinearTransform::isOrtho() const {
  const RElinearTransform p = Compose(getInvertedOrtho(), *this);
  const RElinearTransform& id = Identity();
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j)
      if (!NearlyEqual(p.m.m[i][j], id.m.m[i][j])) return false;
    if (!NearlyEqual(p.t[i], id.t[i])) return false;
  }
  return true;
}

REmath::Point3D_d RElinearTransform::apply(const REmath::Point3D_d& p) const {
  const double x[3] = {p.m_x, p.m_y, p.m_z};
  double r[3];
  for (int i = 0; i < 3; ++i) r[i] = m.m[i][0] * x[0] + m.m[i][1] * x[1] + m.m[i][2] * x[2] + t[i];
  return REmath::Point3D_d(r[0], r[1], r[2]);
}

const RElinearTransform& RElinearTransform::Identity() {
  static const RElinearTransform kIdentity(CRotationMatrix::Identity(),
                                           REmath::Point3D_d(0.0, 0.0, 0.0));
  return kIdentity;
}

const RElinearTransform& RElinearTransform::Zero() {
  static const RElinearTransform kZero(CRotationMatrix::Zero(), REmath::Point3D_d(0.0, 0.0, 0.0));
  return kZero;
}

bool invertTransform(const RElinearTransform& tr, RElinearTransform& out) {
  const double t[3] = {tr.t[0], tr.t[1], tr.t[2]};  // out may alias tr
  if (!invertMatrix(tr.m, out.m)) return false;
  for (int i = 0; i < 3; ++i)
    out.t[i] = -(out.m.m[i][0] * t[0] + out.m.m[i][1] * t[1] + out.m.m[i][2] * t[2]);
  return true;
}
