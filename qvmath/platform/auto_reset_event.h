// SPDX-License-Identifier: MIT
// Auto-reset events: a signal that releases exactly one wait and then resets itself,
// with waits on one event or on the first of several, with a time-out.
#pragma once

#include <qvmath/platform/export.h>

#include <cstdint>
#include <vector>

/// Time-out value meaning "wait without time-out".
constexpr std::uint32_t kKorvaInfinite = 0xFFFFFFFFu;

/// An auto-reset event. `Set` signals it; a successful wait consumes the signal, so one
/// `Set` releases exactly one waiter (or the next wait, if nobody is waiting). Setting
/// an already signalled event changes nothing. Not copyable.
/// Thread safety: every operation may be called from any thread. Each waiting thread sleeps
/// on its own condition, registered with the events it waits for: `Set` wakes only the
/// waiters of its own event. The signal flags and registrations of all events are guarded
/// by one process-wide mutex, held for a few instructions at a time, which makes the test
/// and consumption of `WaitAny` one atomic step. Waiting registers the waiter in a list
/// of the event whose capacity is kept, so repeated waits do not allocate.
class QVMATH_API CKorvaAutoResetEvent {
 public:
  /// @param[in] signalled the initial state.
  explicit CKorvaAutoResetEvent(bool signalled = false);
  ~CKorvaAutoResetEvent();
  CKorvaAutoResetEvent(const CKorvaAutoResetEvent&) = delete;
  CKorvaAutoResetEvent& operator=(const CKorvaAutoResetEvent&) = delete;

  /// Signals the event and wakes its waiters (one of them consumes the signal).
  void Set();
  /// Clears the signal.
  void Reset();
  /// Waits until the event is signalled and consumes the signal.
  /// @param[in] timeoutMs milliseconds to wait; 0 only tests, `kKorvaInfinite` waits forever.
  /// @return true when the signal was consumed, false on time-out.
  bool Wait(std::uint32_t timeoutMs = kKorvaInfinite);

  /// Waits until one of `events[0..count)` is signalled and consumes that one signal.
  /// When several are signalled, the lowest index wins (as on the original platform).
  /// @param[in] events non-null event pointers; count must be at least 1.
  /// @param[in] timeoutMs as for `Wait`.
  /// @return the index of the consumed event, or -1 on time-out (and for count < 1).
  static int WaitAny(CKorvaAutoResetEvent* const* events, int count,
                     std::uint32_t timeoutMs = kKorvaInfinite);

 private:
  struct CWaiter;
  void Register(CWaiter* w);
  void Unregister(CWaiter* w);

  bool m_signalled;
  std::vector<CWaiter*> m_waiters;  ///< threads now waiting for this event
};
