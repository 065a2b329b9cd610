// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/platform/crit_section.h>
#include <qvmath/platform/korva_exception.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {
// Whether another thread can take the section right now (it releases it again at once).
bool OtherThreadGets(CKorvaCritSection& cs) {
  bool got = false;
  std::thread other([&] {
    got = cs.TryLock();
    if (got) cs.Unlock();
  });
  other.join();
  return got;
}
}  // namespace

TEST(CritSectionTest, Reentrancy_OwnerMayLockAgain) {
  CKorvaCritSection cs;
  cs.Lock();
  cs.Lock();  // a plain mutex would deadlock here
  cs.Unlock();
  EXPECT_FALSE(OtherThreadGets(cs)) << "one level still held";
  cs.Unlock();
  EXPECT_TRUE(OtherThreadGets(cs));
}

TEST(CritSectionTest, Guard_ExcludesOtherThreadsAndReleasesOnException) {
  CKorvaCritSection cs;
  long counter = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 20000; ++i) {
        CKorvaCritSectionGuard g(cs);
        CKorvaCritSectionGuard nested(&cs);
        ++counter;
      }
    });
  for (auto& t : threads) t.join();
  EXPECT_EQ(counter, 80000);
  try {
    CKorvaCritSectionGuard g(cs);
    throw CKorvaException(std::string("boom"));
  } catch (const std::exception& e) {
    EXPECT_STREQ(e.what(), "boom");
  }
  EXPECT_STREQ(CKorvaException(static_cast<const char*>(nullptr)).what(), "");
  EXPECT_TRUE(OtherThreadGets(cs)) << "the guard released the section during the throw";
  CKorvaCritSectionGuard inert(nullptr);
}
