// SPDX-License-Identifier: MIT
// Defaults and constructors of the polyline smoothing parameters.
#include <qvmath/analysis/polyline_smooth_params.h>

void CPolylineSmoothParams::SetDefaultValuesPolyline() {
  m_isClosed = false;
  m_weight = 0.4;
  m_nIter = 10;
  m_preserveShape = true;
  m_fixedIdx = nullptr;
}

CPolylineSmoothParams::~CPolylineSmoothParams() = default;

void CPolylineSmoothParams::SetDefaultValues() { SetDefaultValuesPolyline(); }

// Calls this class's own defaults: during construction the virtual call cannot reach a
// subclass, and the documented defaults are these.
CPolylineSmoothParams::CPolylineSmoothParams() {
  CPolylineSmoothParams::SetDefaultValuesPolyline();
}

CPolylineSmoothParams::CPolylineSmoothParams(bool closed, double weight, int nIter,
                                             bool preserveShape, std::vector<int>* fixedIdx)
    : m_isClosed(closed),
      m_weight(weight),
      m_nIter(nIter),
      m_preserveShape(preserveShape),
      m_fixedIdx(fixedIdx) {}
