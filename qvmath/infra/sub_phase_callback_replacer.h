// SPDX-License-Identifier: MIT
// KvPCnt::CSubPhaseCallBackReplacer: temporarily replaces the process-wide default progress
// callback so that nested work reports into a sub-range of an outer progress display.
#pragma once

#include <qvmath/platform/export.h>

namespace KvPCnt {

/// Replaces `CProgressCounter::globalProgressFcn` for its lifetime with `GetCallBack()`, so
/// that counters constructed meanwhile (by nested work) report into the sub-range
/// [start, start + length] of the callback that was installed before.
///
/// The nested counter's context must be the replacer itself (the host sets it). An inner
/// position p (0..100) reaches the saved callback as trunc(p · 0.01f · length + start),
/// computed in double with the single-precision constant 0.01f (0.009999999776482582),
/// kept as is: inner 50 over start 20, length 50 gives 44, not 45. Positions only move
/// forward: one not greater than the last passed on is suppressed. The saved callback gets
/// `context` (the outer counter's context) and its answer is returned, so a stop request of
/// the outer display reaches the nested counter.
///
/// Nested replacers must be released in the reverse order of creation: each restores the
/// callback it saved. The visibility flag is stored and not used by the callback.
/// Ownership: owns nothing. Not copyable.
/// Thread safety: changes process-wide state; create and release it while no other thread
/// constructs progress counters. Its callback keeps the last position without a lock: the
/// counters reporting through one replacer must be moved by one thread at a time.
class QVMATH_API CSubPhaseCallBackReplacer {
 public:
  /// Saves the current global callback and installs `GetCallBack()` in its place.
  /// @param[in] start   start of the sub-range on the outer 0..100 scale.
  /// @param[in] length  length of the sub-range.
  /// @param[in] context the context handed to the saved callback.
  /// @param[in] visible stored only.
  CSubPhaseCallBackReplacer(int start, int length, void* context, bool visible);
  CSubPhaseCallBackReplacer(const CSubPhaseCallBackReplacer&) = delete;
  CSubPhaseCallBackReplacer& operator=(const CSubPhaseCallBackReplacer&) = delete;
  /// `Release()`.
  virtual ~CSubPhaseCallBackReplacer();

  /// Restores the saved global callback, the first time only.
  void Release();

  /// @return the replacer's callback: for context null (or no saved callback) it returns 0;
  ///         otherwise it maps and forwards the position as described above.
  static int (*GetCallBack())(int, void*);

  /// @return the visibility flag given to the constructor.
  bool IsVisible() const { return m_visible; }

 private:
  static int Forward(int pos, void* context);

  int (*m_saved)(int, void*);
  bool m_released;
  bool m_visible;
  int m_start;
  int m_length;
  int m_last;
  void* m_context;
};

}  // namespace KvPCnt
