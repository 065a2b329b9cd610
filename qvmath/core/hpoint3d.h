// SPDX-License-Identifier: MIT
// Homogeneous 3-D points in single and double precision: HPoint3D (four floats) and
// HPoint3D_d (four doubles), usable as flat coordinate arrays of stride 4.
#pragma once

#include <qvmath/core/point3d.h>
#include <qvmath/platform/export.h>

#include <cmath>
#include <type_traits>

namespace REmath {

namespace detail {

/// Shared body of `HPoint3D` and `HPoint3D_d` (undocumented; use the two point types).
/// P is the plain point type that `projectW` returns.
template <class D, class Real, class P>
struct HPoint3Base {
  Real m_x, m_y, m_z, m_w;

  HPoint3Base() : m_x(0), m_y(0), m_z(0), m_w(0) {}
  explicit HPoint3Base(float s) : m_x(Real(s)), m_y(Real(s)), m_z(Real(s)), m_w(Real(s)) {}
  explicit HPoint3Base(double s) : m_x(Real(s)), m_y(Real(s)), m_z(Real(s)), m_w(Real(s)) {}
  explicit HPoint3Base(int s) : HPoint3Base(Real(s)) {}
  HPoint3Base(Real x, Real y, Real z, Real w) : m_x(x), m_y(y), m_z(z), m_w(w) {}
  explicit HPoint3Base(const float* a)
      : m_x(Real(a[0])), m_y(Real(a[1])), m_z(Real(a[2])), m_w(Real(a[3])) {}
  // From the plain point: x, y, z copied, weight 1.
  explicit HPoint3Base(const P& p) : m_x(p.m_x), m_y(p.m_y), m_z(p.m_z), m_w(1) {}

  Real x() const { return m_x; }
  Real y() const { return m_y; }
  Real z() const { return m_z; }
  Real w() const { return m_w; }
  Real& x() { return m_x; }
  Real& y() { return m_y; }
  Real& z() { return m_z; }
  Real& w() { return m_w; }

  D& operator+=(const D& o) {
    m_x += o.m_x, m_y += o.m_y, m_z += o.m_z, m_w += o.m_w;
    return self();
  }
  D& operator-=(const D& o) {
    m_x -= o.m_x, m_y -= o.m_y, m_z -= o.m_z, m_w -= o.m_w;
    return self();
  }
  D& operator*=(float f) { return scaleBy(Real(f)); }
  D& operator*=(double f) { return scaleBy(f); }
  D& operator/=(float f) { return divideBy(Real(f)); }
  D& operator/=(double f) { return divideBy(f); }

  /// x·x + y·y + z·z in double, summed as ((0 + z·z) + y·y) + x·x; the weight takes no part.
  double norm2() const {
    const double x = m_x, y = m_y, z = m_z;
    return ((0.0 + z * z) + y * y) + x * x;
  }
  /// sqrt(norm2()).
  double norm() const { return std::sqrt(norm2()); }
  /// x, y, z exactly as stored: the weight is dropped, not divided out (callers holding
  /// weighted coordinates divide by w themselves).
  P projectW() const { return P(m_x, m_y, m_z); }

  /// Exact equality of all four components, compared w, z, y, x.
  friend bool operator==(const D& a, const D& b) {
    return a.m_w == b.m_w && a.m_z == b.m_z && a.m_y == b.m_y && a.m_x == b.m_x;
  }
  friend bool operator!=(const D& a, const D& b) { return !(a == b); }
  // The order compares lengths (norm2) only: two different points of equal length are
  // neither < nor > each other, yet both <= and >= hold.
  friend bool operator<(const D& a, const D& b) { return a.norm2() < b.norm2(); }
  friend bool operator>(const D& a, const D& b) { return a.norm2() > b.norm2(); }
  friend bool operator<=(const D& a, const D& b) { return a.norm2() <= b.norm2(); }
  friend bool operator>=(const D& a, const D& b) { return a.norm2() >= b.norm2(); }

 private:
  D& self() { return static_cast<D&>(*this); }
  template <class S>
  D& scaleBy(S f) {
    m_x = Real(m_x * f), m_y = Real(m_y * f), m_z = Real(m_z * f), m_w = Real(m_w * f);
    return self();
  }
  template <class S>
  D& divideBy(S f) {
    m_x = Real(m_x / f), m_y = Real(m_y / f), m_z = Real(m_z / f), m_w = Real(m_w / f);
    return self();
  }
};

}  // namespace detail

/// A homogeneous point of four floats x, y, z, w (16 bytes); w is a weight that nothing
/// normalises. Default (0,0,0,0) — w is 0, not 1; scalar constructors and `operator=(float)`
/// set all four components; construction or assignment from a `Point3D` sets w = 1.
/// Ordering operators compare `norm2()`; `==` compares all four components exactly.
struct QVMATH_API HPoint3D : detail::HPoint3Base<HPoint3D, float, Point3D> {
  using HPoint3Base::HPoint3Base;
  HPoint3D() = default;
  HPoint3D& operator=(float s) { return *this = HPoint3D(s); }
  HPoint3D& operator=(const Point3D& p) { return *this = HPoint3D(p); }
};

/// A homogeneous point of four doubles x, y, z, w (32 bytes); as `HPoint3D`, and also
/// constructible from an array of four doubles.
struct QVMATH_API HPoint3D_d : detail::HPoint3Base<HPoint3D_d, double, Point3D_d> {
  using HPoint3Base::HPoint3Base;
  HPoint3D_d() = default;
  explicit HPoint3D_d(const double* a) : HPoint3Base(a[0], a[1], a[2], a[3]) {}
  HPoint3D_d& operator=(double s) { return *this = HPoint3D_d(s); }
  HPoint3D_d& operator=(const Point3D_d& p) { return *this = HPoint3D_d(p); }
};

static_assert(std::is_standard_layout<HPoint3D>::value && sizeof(HPoint3D) == 16,
              "HPoint3D must be four contiguous floats");
static_assert(std::is_standard_layout<HPoint3D_d>::value && sizeof(HPoint3D_d) == 32,
              "HPoint3D_d must be four contiguous doubles");
static_assert(std::is_trivially_copyable<HPoint3D>::value &&
                  std::is_trivially_copyable<HPoint3D_d>::value,
              "points are copied as raw memory by the containers");

}  // namespace REmath
