// SPDX-License-Identifier: MIT
// The problem of the min-max optimizer: the functions whose minimum is maximised, the
// starting point, the search box and an optional projector onto an admissible set.
#pragma once

#include <qvmath/core/functor.h>
#include <qvmath/core/point3d.h>
#include <qvmath/platform/export.h>

#include <vector>

namespace REmath {

/// A min-max problem over 3-D points: maximise F(x) = minᵢ fᵢ(x) from InitApprox inside
/// the box [LimitMin, LimitMax], optionally keeping every trial point admissible through a
/// projector.
/// Ownership: the task stores pointers to the functions and to the projector; it neither
/// copies nor frees them, and they must outlive every optimizer run on the task. Copies of
/// a task (copy constructor, assignment) share the same functions and projector.
class QVMATH_API CMinMaxTask {
 public:
  /// One function fᵢ: a scalar of the point, called through its const call operation.
  using TFunctor = Functor1<double, const Point3D_d&>;

  /// Pulls a point into the admissible set. Called on every trial point of the optimizer
  /// before the point is evaluated; the optimizer never calls it on InitApprox.
  class QVMATH_API IProjector {
   public:
    virtual ~IProjector();
    /// Changes x in place into an admissible point (typically the nearest one).
    virtual void Project(Point3D_d& x) const = 0;
  };

  /// A task with no functions, all three points at the origin and no projector.
  CMinMaxTask();
  /// A task over `functions` (in this order; the order breaks ties between equal values).
  /// @throws std::invalid_argument "CMinMaxTask: null function" when an entry is null.
  CMinMaxTask(const std::vector<const TFunctor*>& functions, const Point3D_d& initApprox,
              const Point3D_d& limitMin, const Point3D_d& limitMax,
              IProjector* projector = nullptr);
  /// Copies the function pointers, points and projector pointer (not the objects).
  CMinMaxTask(const CMinMaxTask& other);
  /// As the copy constructor; strong guarantee.
  CMinMaxTask& operator=(const CMinMaxTask& other);
  ~CMinMaxTask();

  /// @return the number of functions.
  int NFunctions() const { return static_cast<int>(m_functions.size()); }
  /// @return function i.
  /// @throws std::out_of_range (the standard vector range error) unless 0 <= i < NFunctions().
  const TFunctor& FnByIdx(int i) const;

  /// Starting point of the optimizer.
  const Point3D_d& GetInitApprox() const { return m_initApprox; }
  /// Sets the starting point.
  void SetInitApprox(const Point3D_d& x) { m_initApprox = x; }
  /// Lower corner of the search box.
  const Point3D_d& GetLimitMin() const { return m_limitMin; }
  /// Sets the lower corner of the search box.
  void SetLimitMin(const Point3D_d& x) { m_limitMin = x; }
  /// Upper corner of the search box.
  const Point3D_d& GetLimitMax() const { return m_limitMax; }
  /// Sets the upper corner of the search box.
  void SetLimitMax(const Point3D_d& x) { m_limitMax = x; }
  /// The projector applied to trial points, or null for none.
  IProjector* GetProjector() const { return m_projector; }
  /// Sets the projector (not owned; null for none).
  void SetProjector(IProjector* projector) { m_projector = projector; }

 private:
  void AddFunctor(const TFunctor* f);

  std::vector<const TFunctor*> m_functions;
  Point3D_d m_initApprox;
  Point3D_d m_limitMin;
  Point3D_d m_limitMax;
  IProjector* m_projector;
};

}  // namespace REmath
