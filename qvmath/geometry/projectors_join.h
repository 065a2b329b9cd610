// SPDX-License-Identifier: MIT
// CProjectorsJoin: a point projector over a set of projectors that keeps the nearest of
// their answers.
#pragma once

#include <qvmath/core/point3d.h>
#include <qvmath/geometry/point_to_geom_obj_projector.h>
#include <qvmath/platform/export.h>

#include <cstddef>
#include <list>

/// Projects a point with each of its projectors and keeps the nearest answer.
///
/// Ownership: the join owns the projectors added to it (a `std::list` of pointers, in
/// insertion order) and deletes them through their virtual destructors when it is
/// destroyed. A join must not be added to itself.
/// Copies (copy construction, assignment, `Copy`) are deep: each owned projector's `Copy()`
/// is added to the new join when not null, so a projector that cannot copy itself is
/// dropped from the copy.
/// Thread safety: projecting changes nothing in the join itself; it is as safe as the owned
/// projectors are.
class QVMATH_API CProjectorsJoin : public IPointToGeomObjProjector {
 public:
  /// An empty join (every projection fails).
  CProjectorsJoin();
  /// A deep copy, dropping the projectors that cannot copy themselves.
  CProjectorsJoin(const CProjectorsJoin& other);
  /// Replaces the owned projectors by deep copies of other's (the old ones are deleted).
  CProjectorsJoin& operator=(const CProjectorsJoin& other);
  /// Deletes every owned projector.
  ~CProjectorsJoin() override;

  /// Appends projector to the list and takes ownership of it; a null pointer is ignored.
  /// @throws std::length_error "list<T> too long" when the list is at its maximum size; the
  ///         projector is then deleted (ownership passed with the call), as it is when the
  ///         list cannot allocate (std::bad_alloc).
  void AddProjectorWithOwnerShip(IPointToGeomObjProjector* projector);
  /// The number of owned projectors.
  std::size_t GetProjectorsCount() const;

 private:
  /// A new join holding the copies of the owned projectors (see the class comment).
  IPointToGeomObjProjector* OnCopy() const override;
  /// Projects p with every owned projector in insertion order and keeps the answer r with
  /// the least |p − r|², taken only when strictly nearer, so among equally near answers
  /// the earliest-added projector wins.
  /// @return true when some projector succeeded (q is then the nearest answer; an answer at
  ///         a non-finite distance counts as success but is never taken, so q may stay
  ///         untouched); false, with q untouched, for an empty join or when every projector
  ///         fails.
  bool OnProjectPoint(const REmath::Point3D_d& p, REmath::Point3D_d& q) override;

  void CopyFrom(const CProjectorsJoin& other);
  void Clear();

  std::list<IPointToGeomObjProjector*> m_projectors;
};
