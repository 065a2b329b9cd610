// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/platform/auto_reset_event.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

using Clock = std::chrono::steady_clock;

TEST(AutoResetEventTest, Semantics_OneSignalReleasesExactlyOneWait) {
  CKorvaAutoResetEvent ev;
  EXPECT_FALSE(ev.Wait(0)) << "created not signalled";
  ev.Set();
  ev.Set();  // setting a signalled event changes nothing
  EXPECT_TRUE(ev.Wait(0));
  EXPECT_FALSE(ev.Wait(0)) << "the successful wait consumed the signal";

  // Three waiters, three signals one after the other: every signal wakes exactly one.
  CKorvaAutoResetEvent shared;
  std::atomic<int> woken{0};
  std::vector<std::thread> waiters;
  for (int i = 0; i < 3; ++i) waiters.emplace_back([&] { woken += shared.Wait(10000); });
  for (int expected = 1; expected <= 3; ++expected) {
    shared.Set();
    const auto deadline = Clock::now() + std::chrono::seconds(10);
    while (woken.load() < expected && Clock::now() < deadline)
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(woken.load(), expected);  // and not more
  }
  for (auto& t : waiters) t.join();
}

TEST(AutoResetEventTest, WaitAny_LowestSignalledIndexTimeoutsAndBadLists) {
  CKorvaAutoResetEvent a, b, c;
  const auto t0 = Clock::now();
  EXPECT_FALSE(a.Wait(60));
  EXPECT_GE(Clock::now() - t0, std::chrono::milliseconds(59));
  CKorvaAutoResetEvent* list[3] = {&a, &b, &c};
  EXPECT_EQ(CKorvaAutoResetEvent::WaitAny(list, 3, 30), -1);
  EXPECT_EQ(CKorvaAutoResetEvent::WaitAny(nullptr, 2, 0), -1);
  b.Set();
  c.Set();  // only the lowest signalled one is consumed
  EXPECT_EQ(CKorvaAutoResetEvent::WaitAny(list, 3, 0), 1);
  EXPECT_EQ(CKorvaAutoResetEvent::WaitAny(list, 3, 0), 2);
  EXPECT_EQ(CKorvaAutoResetEvent::WaitAny(list, 3, 0), -1);
}

// A Set wakes the waiters of its own event only; a waiter on another event stays asleep
// however often this one is set, and a WaitAny over both is released by either.
TEST(AutoResetEventTest, Semantics_SetReleasesOnlyItsOwnWaiters) {
  CKorvaAutoResetEvent a, b;
  std::atomic<int> released{0};
  std::thread onB([&] { released = b.Wait(); });
  for (int k = 0; k < 200; ++k) a.Set();
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_EQ(released.load(), 0);
  b.Set();
  onB.join();
  EXPECT_EQ(released.load(), 1);
  EXPECT_TRUE(a.Wait(0));
  CKorvaAutoResetEvent* both[2] = {&a, &b};
  std::thread any([&] { released = CKorvaAutoResetEvent::WaitAny(both, 2, kKorvaInfinite); });
  std::this_thread::sleep_for(std::chrono::milliseconds(5));
  b.Set();
  any.join();
  EXPECT_EQ(released.load(), 1);
  EXPECT_FALSE(a.Wait(0) || b.Wait(0)) << "the signal was consumed";
}
