// SPDX-License-Identifier: MIT
// Plain 3-D points in single and double precision: Point3D (three floats) and Point3D_d
// (three doubles), usable as flat coordinate arrays of stride 3.
#pragma once

#include <qvmath/platform/export.h>

#include <cmath>
#include <cstddef>
#include <type_traits>

namespace REmath {

namespace detail {

/// Shared body of `Point3D` and `Point3D_d` (undocumented; use the two point types).
template <class D, class Real>
struct Point3Base {
  Real m_x, m_y, m_z;

  Point3Base() : m_x(0), m_y(0), m_z(0) {}
  // Scalar constructors fill every component; double and int go to Real by a plain store.
  explicit Point3Base(float s) : m_x(Real(s)), m_y(Real(s)), m_z(Real(s)) {}
  explicit Point3Base(double s) : m_x(Real(s)), m_y(Real(s)), m_z(Real(s)) {}
  explicit Point3Base(int s) : Point3Base(Real(s)) {}
  Point3Base(float x, float y, float z) : m_x(Real(x)), m_y(Real(y)), m_z(Real(z)) {}
  Point3Base(double x, double y, double z) : m_x(Real(x)), m_y(Real(y)), m_z(Real(z)) {}
  // Any other mix of arithmetic components, as in Point3D_d(1, 0, 0) or (0.5, 0, 2), which
  // would be ambiguous between the two forms above; each component converts to Real.
  template <class A, class B, class C,
            std::enable_if_t<std::is_arithmetic<A>::value && std::is_arithmetic<B>::value &&
                                 std::is_arithmetic<C>::value,
                             int> = 0>
  Point3Base(A x, B y, C z) : m_x(Real(x)), m_y(Real(y)), m_z(Real(z)) {}
  explicit Point3Base(const float* a) : m_x(Real(a[0])), m_y(Real(a[1])), m_z(Real(a[2])) {}
  explicit Point3Base(const double* a) : m_x(Real(a[0])), m_y(Real(a[1])), m_z(Real(a[2])) {}

  Real x() const { return m_x; }
  Real y() const { return m_y; }
  Real z() const { return m_z; }
  Real& x() { return m_x; }
  Real& y() { return m_y; }
  Real& z() { return m_z; }
  const Real* asArray() const { return &m_x; }

  void toArray(float* a) const { a[0] = float(m_x), a[1] = float(m_y), a[2] = float(m_z); }
  void toArray(double* a) const { a[0] = double(m_x), a[1] = double(m_y), a[2] = double(m_z); }
  void fromArray(const float* a) { m_x = Real(a[0]), m_y = Real(a[1]), m_z = Real(a[2]); }
  void fromArray(const double* a) { m_x = Real(a[0]), m_y = Real(a[1]), m_z = Real(a[2]); }

  D& operator+=(const D& o) {
    m_x += o.m_x, m_y += o.m_y, m_z += o.m_z;
    return self();
  }
  D& operator-=(const D& o) {
    m_x -= o.m_x, m_y -= o.m_y, m_z -= o.m_z;
    return self();
  }
  // The float forms compute in Real; the double forms compute in double and store back.
  D& operator*=(float f) { return scaleBy(Real(f)); }
  D& operator*=(double f) { return scaleBy(f); }
  // A true division per component, not a multiplication by the reciprocal; a zero
  // divisor gives infinities or NaNs as the arithmetic does.
  D& operator/=(float f) { return divideBy(Real(f)); }
  D& operator/=(double f) { return divideBy(f); }

  /// The point times r, with r = 1 / sqrt(x·x + y·y + z·z) computed in double.
  /// A zero vector gives non-finite components by design.
  D unitLength() const {
    D r(self());
    r.normalize();
    return r;
  }
  /// In-place form of `unitLength`.
  void normalize() {
    const double dx = m_x, dy = m_y, dz = m_z;
    const double r = 1.0 / std::sqrt(dx * dx + dy * dy + dz * dz);
    m_x = Real(dx * r), m_y = Real(dy * r), m_z = Real(dz * r);
  }

 private:
  D& self() { return static_cast<D&>(*this); }
  const D& self() const { return static_cast<const D&>(*this); }
  template <class S>
  D& scaleBy(S f) {
    m_x = Real(m_x * f), m_y = Real(m_y * f), m_z = Real(m_z * f);
    return self();
  }
  template <class S>
  D& divideBy(S f) {
    m_x = Real(m_x / f), m_y = Real(m_y / f), m_z = Real(m_z / f);
    return self();
  }
};

}  // namespace detail

/// A point or direction of three floats x, y, z, contiguous and in that order (12 bytes).
/// Constructors: default (0,0,0); scalar (float/double/int s) sets x = y = z = s; three
/// components; from an array of three floats or doubles. Doubles narrow to the nearest
/// float (1e40 becomes infinity). Arithmetic only through the compound operators.
struct QVMATH_API Point3D : detail::Point3Base<Point3D, float> {
  using Point3Base::Point3Base;
};

/// A point or direction of three doubles x, y, z, contiguous and in that order (24 bytes).
/// Same family of constructors and operators as `Point3D`, plus length and angle helpers.
struct QVMATH_API Point3D_d : detail::Point3Base<Point3D_d, double> {
  using Point3Base::Point3Base;

  /// sqrt(x·x + y·y + z·z).
  double length() const { return std::sqrt(m_x * m_x + m_y * m_y + m_z * m_z); }
  /// True when |1 − L| ≤ (|L| + 1)·2.220446049250313e-16 with L = length().
  bool isUnitLength() const {
    const double L = length();
    return std::fabs(1.0 - L) <= (std::fabs(L) + 1.0) * 2.220446049250313e-16;
  }
  /// Cosine of the angle to b: (this·b) / (length(b)·length(this)); non-finite for a
  /// zero vector by design.
  double angleCos(const Point3D_d& b) const {
    return (m_x * b.m_x + m_y * b.m_y + m_z * b.m_z) / (b.length() * length());
  }
};

static_assert(std::is_standard_layout<Point3D>::value && sizeof(Point3D) == 12,
              "Point3D must be three contiguous floats");
static_assert(std::is_standard_layout<Point3D_d>::value && sizeof(Point3D_d) == 24,
              "Point3D_d must be three contiguous doubles");
static_assert(std::is_trivially_copyable<Point3D>::value &&
                  std::is_trivially_copyable<Point3D_d>::value,
              "points are copied as raw memory by the containers");

}  // namespace REmath
