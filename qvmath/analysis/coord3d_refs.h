// SPDX-License-Identifier: MIT
// ICoord3DRefs: an abstract read-only indexed source of float points, and CPtVecAdapder,
// its adapter over a std::vector of Point3D.
#pragma once

#include <qvmath/core/point3d.h>
#include <qvmath/platform/export.h>

#include <vector>

namespace REmath {

/// A read-only, indexed source of points of three floats, for the plane approximator and
/// the extent routines. The library only reads through it and never frees it.
/// Virtual slots, in order: the destructor, `GetPointCount`, `GetPointCoords`.
/// Thread safety: the library calls only the const operations; an implementation whose
/// const operations are re-entrant may be shared by several threads.
class QVMATH_API ICoord3DRefs {
 public:
  static const int DIM = 3;
  virtual ~ICoord3DRefs();
  /// The number of points.
  virtual unsigned GetPointCount() const = 0;
  /// The coordinates x, y, z of point i (0 <= i < GetPointCount(); not checked). The
  /// pointer stays valid while the source is alive and unchanged.
  virtual const float* GetPointCoords(unsigned i) const = 0;
};

/// `ICoord3DRefs` over a std::vector of `Point3D`: the count is the vector's size and point
/// i its element i. Holds a reference: the vector must outlive the adapter, and resizing
/// it invalidates pointers returned earlier.
class QVMATH_API CPtVecAdapder : public ICoord3DRefs {
 public:
  /// An adapter reading `points` (not copied, not owned).
  explicit CPtVecAdapder(const std::vector<Point3D>& points) : m_points(points) {}
  ~CPtVecAdapder() override;
  unsigned GetPointCount() const override { return unsigned(m_points.size()); }
  const float* GetPointCoords(unsigned i) const override { return m_points[i].asArray(); }

 private:
  const std::vector<Point3D>& m_points;
};

}  // namespace REmath
