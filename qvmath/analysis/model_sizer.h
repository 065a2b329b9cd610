// SPDX-License-Identifier: MIT
// IModelSizer: the size of the model a computation works on (three extents), from which
// size-dependent tolerances are derived; hooks let a host supply or store it elsewhere.
#pragma once

#include <qvmath/core/point3d.h>
#include <qvmath/platform/export.h>

/// Carries the size of a model: its extents along x, y and z (three doubles, input
/// units), for tolerances that must scale with the model (a distance floor, a flatness
/// threshold). The public calls forward to the private hooks; the defaults keep the size
/// in the object. A default-constructed sizer (and `ResetModelSizeDefault`) has the size
/// (1, 1, 1). Ownership: plain object, owns nothing. Thread safety: not synchronised; one
/// sizer per thread or external locking for writers.
class QVMATH_API IModelSizer {
 public:
  IModelSizer();
  IModelSizer(const IModelSizer& other) = default;
  IModelSizer& operator=(const IModelSizer& other) = default;
  virtual ~IModelSizer();

  /// The three extents (through `OnGetModelSize`).
  REmath::Point3D_d GetModelSize() const { return OnGetModelSize(); }
  /// Sets the three extents (through `OnSetModelSize`); values are taken as given.
  void SetModelSize(const REmath::Point3D_d& size) { OnSetModelSize(size); }
  /// Restores the default size (through `OnResetModelSizeDefault`).
  void ResetModelSizeDefault() { OnResetModelSizeDefault(); }

  /// Sets the model size to the extents of the axis-aligned box of pts[0..n) (through
  /// `SetModelSize`). n <= 0 leaves the size unchanged.
  void updateLimits(int n, const REmath::Point3D* pts);
  /// The linear size of the model: the length of the box diagonal, √(sx² + sy² + sz²).
  double GetLinearLimits() const;
  /// The smallest and the largest of the three extents.
  void GetLimits(double& smallest, double& largest) const;

 protected:
  /// The stored size, read and written by the default hooks.
  double m_size[3];

 private:
  /// Called by `GetModelSize`; the default returns the stored size.
  virtual REmath::Point3D_d OnGetModelSize() const;
  /// Called by `SetModelSize` and `updateLimits`; the default stores size.
  virtual void OnSetModelSize(const REmath::Point3D_d& size);
  /// Called by `ResetModelSizeDefault`; the default stores (1, 1, 1).
  virtual void OnResetModelSizeDefault();
};
