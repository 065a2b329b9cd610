// SPDX-License-Identifier: MIT
#include <qvmath/infra/progress_counter.h>
#include <qvmath/infra/sub_phase_callback_replacer.h>

#include <climits>
#include <cmath>

namespace KvPCnt {

CSubPhaseCallBackReplacer::CSubPhaseCallBackReplacer(int start, int length, void* context,
                                                     bool visible)
    : m_saved(CProgressCounter::GetGlobalCallback()),
      m_released(false),
      m_visible(visible),
      m_start(start),
      m_length(length),
      m_last(start - 1),
      m_context(context) {
  CProgressCounter::SetGlobalCallback(&Forward);
}

CSubPhaseCallBackReplacer::~CSubPhaseCallBackReplacer() { Release(); }

void CSubPhaseCallBackReplacer::Release() {
  if (m_released) return;
  m_released = true;
  CProgressCounter::SetGlobalCallback(m_saved);
}

int (*CSubPhaseCallBackReplacer::GetCallBack())(int, void*) { return &Forward; }

int CSubPhaseCallBackReplacer::Forward(int pos, void* context) {
  CSubPhaseCallBackReplacer* self = static_cast<CSubPhaseCallBackReplacer*>(context);
  if (!self || !self->m_saved) return 0;
  // The factor is the float constant 0.01f widened to double, multiplied in this order:
  // the mapped positions (44 for inner 50 over [20, 70], not 45) depend on it.
  const double mapped =
      double(pos) * double(0.01f) * double(self->m_length) + double(self->m_start);
  // Truncation toward zero; values beyond int (absurd positions) are held at its bounds.
  double t = std::trunc(mapped);
  if (!(t >= double(INT_MIN))) t = double(INT_MIN);
  if (t > double(INT_MAX)) t = double(INT_MAX);
  const int p = int(t);
  if (p <= self->m_last) return 0;
  self->m_last = p;
  return self->m_saved(p, self->m_context);
}

}  // namespace KvPCnt
