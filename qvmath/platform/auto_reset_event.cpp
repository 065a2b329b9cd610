// SPDX-License-Identifier: MIT
#include <qvmath/platform/auto_reset_event.h>

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace {

// One mutex and condition for all events. A wait on several events must be woken by any
// of them; one shared condition gives that without per-waiter registration lists. The
// events of this library are few and coarse (block hand-out, stop requests), so waking
// every waiter on each Set costs nothing that matters.
struct EventHub {
  std::mutex mutex;
  std::condition_variable changed;
};

EventHub& Hub() {
  static EventHub hub;
  return hub;
}

// Waits until pred() holds or the time-out passes; pred runs under the hub's mutex.
template <class Pred>
bool WaitUntil(std::unique_lock<std::mutex>& lock, std::uint32_t timeoutMs, Pred pred) {
  // A zero time-out only tests: going through the condition would cost a futex call and a
  // context switch, and the block processor polls this way once per block.
  if (timeoutMs == 0) return pred();
  if (timeoutMs == kKorvaInfinite) {
    Hub().changed.wait(lock, pred);
    return true;
  }
  return Hub().changed.wait_for(lock, std::chrono::milliseconds(timeoutMs), pred);
}

}  // namespace

CKorvaAutoResetEvent::CKorvaAutoResetEvent(bool signalled) : m_signalled(signalled) {}

CKorvaAutoResetEvent::~CKorvaAutoResetEvent() = default;

void CKorvaAutoResetEvent::Set() {
  {
    std::lock_guard<std::mutex> lock(Hub().mutex);
    m_signalled = true;
  }
  Hub().changed.notify_all();
}

void CKorvaAutoResetEvent::Reset() {
  std::lock_guard<std::mutex> lock(Hub().mutex);
  m_signalled = false;
}

bool CKorvaAutoResetEvent::Wait(std::uint32_t timeoutMs) {
  std::unique_lock<std::mutex> lock(Hub().mutex);
  if (!WaitUntil(lock, timeoutMs, [this] { return m_signalled; })) return false;
  m_signalled = false;
  return true;
}

int CKorvaAutoResetEvent::WaitAny(CKorvaAutoResetEvent* const* events, int count,
                                  std::uint32_t timeoutMs) {
  if (!events || count < 1) return -1;
  int hit = -1;
  auto anySignalled = [&] {
    for (int i = 0; i < count; ++i)
      if (events[i]->m_signalled) {
        hit = i;
        return true;
      }
    return false;
  };
  std::unique_lock<std::mutex> lock(Hub().mutex);
  if (!WaitUntil(lock, timeoutMs, anySignalled)) return -1;
  events[hit]->m_signalled = false;
  return hit;
}
