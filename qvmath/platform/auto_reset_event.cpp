// SPDX-License-Identifier: MIT
#include <qvmath/platform/auto_reset_event.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>

// Each waiting thread sleeps on a condition of its own (a CWaiter on its stack) and
// registers it with every event it waits for; Set wakes the waiters registered with that
// event and nobody else, so independent block processors no longer wake each other. One
// process-wide mutex guards the signal flags and the registrations, which keeps WaitAny
// (a test of several events and the consumption of one) a single atomic step. It is held
// only for a few instructions at a time, never while a thread sleeps.
struct CKorvaAutoResetEvent::CWaiter {
  std::condition_variable wake;
};

namespace {

std::mutex& HubMutex() {
  static std::mutex mutex;
  return mutex;
}

// Waits until pred() holds or the time-out passes; pred runs under the hub's mutex.
template <class Pred>
bool WaitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& wake,
               std::uint32_t timeoutMs, Pred pred) {
  if (timeoutMs == kKorvaInfinite) {
    wake.wait(lock, pred);
    return true;
  }
  return wake.wait_for(lock, std::chrono::milliseconds(timeoutMs), pred);
}

}  // namespace

CKorvaAutoResetEvent::CKorvaAutoResetEvent(bool signalled) : m_signalled(signalled) {}

CKorvaAutoResetEvent::~CKorvaAutoResetEvent() = default;

void CKorvaAutoResetEvent::Set() {
  std::lock_guard<std::mutex> lock(HubMutex());
  if (m_signalled) return;
  m_signalled = true;
  // All of this event's waiters: one consumes the signal, the others (say a WaitAny
  // served by another event meanwhile, or a wait timing out) go back to sleep or leave,
  // and no wake-up is lost to a waiter that will not take it.
  for (CWaiter* w : m_waiters) w->wake.notify_one();
}

void CKorvaAutoResetEvent::Reset() {
  std::lock_guard<std::mutex> lock(HubMutex());
  m_signalled = false;
}

void CKorvaAutoResetEvent::Register(CWaiter* w) { m_waiters.push_back(w); }

void CKorvaAutoResetEvent::Unregister(CWaiter* w) {
  m_waiters.erase(std::find(m_waiters.begin(), m_waiters.end(), w));
}

bool CKorvaAutoResetEvent::Wait(std::uint32_t timeoutMs) {
  std::unique_lock<std::mutex> lock(HubMutex());
  if (!m_signalled) {
    // A zero time-out only tests: the block processor polls this way once per block.
    if (timeoutMs == 0) return false;
    CWaiter self;
    Register(&self);
    const bool got = WaitUntil(lock, self.wake, timeoutMs, [this] { return m_signalled; });
    Unregister(&self);
    if (!got) return false;
  }
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
  std::unique_lock<std::mutex> lock(HubMutex());
  if (!anySignalled()) {
    if (timeoutMs == 0) return -1;
    CWaiter self;
    for (int i = 0; i < count; ++i) events[i]->Register(&self);
    const bool got = WaitUntil(lock, self.wake, timeoutMs, anySignalled);
    for (int i = 0; i < count; ++i) events[i]->Unregister(&self);
    if (!got) return -1;
  }
  events[hit]->m_signalled = false;
  return hit;
}
