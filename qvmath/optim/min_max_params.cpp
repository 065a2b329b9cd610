// SPDX-License-Identifier: MIT
#include <qvmath/optim/min_max_params.h>

namespace REmath {

CMinMaxParams::CMinMaxParams() { SetDefault(); }

void CMinMaxParams::SetDefault() {
  m_tolerance = 1e-5;
  m_maxIter = 4;
  m_maxGradientMoveAttempts = 3;
  m_gradientScale = 0.5;
  m_gradCalcRelDelta = 1e-5;
}

}  // namespace REmath
