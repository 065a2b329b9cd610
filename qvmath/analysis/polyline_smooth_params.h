// SPDX-License-Identifier: MIT
// CPolylineSmoothParams: the parameters of smoothPolylineWithFixedPoints.
#pragma once

#include <qvmath/platform/export.h>

#include <vector>

/// Parameters of `smoothPolylineWithFixedPoints`, with their defaults:
/// IsClosed false, Weight (λ) 0.4, NIter 10, PreserveShape true (the inflating μ pass runs),
/// PtrFixedPtIdx null (no fixed vertices). The list of fixed indices is not owned: it must
/// outlive every smoothing call that uses these parameters.
/// Virtual slots, in order: `SetDefaultValuesPolyline`, the destructor, `SetDefaultValues`.
/// A subclass redefines its defaults by overriding `SetDefaultValuesPolyline`; the
/// constructors of this class always start from the defaults above.
class QVMATH_API CPolylineSmoothParams {
 protected:
  /// Sets the defaults listed above.
  virtual void SetDefaultValuesPolyline();

 public:
  virtual ~CPolylineSmoothParams();
  /// Restores the defaults through `SetDefaultValuesPolyline`.
  virtual void SetDefaultValues();

  /// The defaults.
  CPolylineSmoothParams();
  /// All fields, in field order; fixedIdx is stored, not copied (may be null).
  CPolylineSmoothParams(bool closed, double weight, int nIter, bool preserveShape,
                        std::vector<int>* fixedIdx);
  CPolylineSmoothParams(const CPolylineSmoothParams&) = default;
  CPolylineSmoothParams& operator=(const CPolylineSmoothParams&) = default;

  bool GetIsClosed() const { return m_isClosed; }
  void SetClosed(bool closed) { m_isClosed = closed; }
  double GetWeight() const { return m_weight; }
  void SetWeight(double weight) { m_weight = weight; }
  int GetNIter() const { return m_nIter; }
  void SetNIter(int nIter) { m_nIter = nIter; }
  bool GetPreserveShape() const { return m_preserveShape; }
  void SetPreserveShape(bool preserve) { m_preserveShape = preserve; }
  const std::vector<int>* GetPtrFixedPtIdx() const { return m_fixedIdx; }
  void SetPtrFixedPtIdx(const std::vector<int>* fixedIdx) { m_fixedIdx = fixedIdx; }

 private:
  bool m_isClosed;
  double m_weight;
  int m_nIter;
  bool m_preserveShape;
  const std::vector<int>* m_fixedIdx;
};
