// SPDX-License-Identifier: MIT
#include <qvmath/infra/block_processor.h>
#include <qvmath/infra/block_worker.h>
#include <qvmath/infra/progress_counter.h>

#include <atomic>
#include <memory>
#include <thread>

#include "block_test_host.h"
#include "test_util.h"

using namespace BlockProc;
using qvtest::LineStructure;

namespace {

struct CountingWorker : CBlockWorker {
  CountingWorker(CBlockProcessor* m, bool own) : CBlockWorker(m, own) {}
  int ProcessFragment(IKorvaFragmentDescriptor_Old&, IKorvaFragment_Old*) override {
    ++processed;
    return 0;
  }
  void FinishBlock(IKorvaFragmentDescriptor_Old&, IKorvaFragment_Old*) override {}
  int processed = 0;
};

struct Manager : CBlockProcessor {
  CBlockWorker* CreateWorker(bool threaded) override { return new CountingWorker(this, threaded); }
};

// Whether another thread could take `section` right now.
bool FreeForOtherThreads(CKorvaCritSection* section) {
  bool taken = false;
  std::thread other([&] {
    taken = section->TryLock();
    if (taken) section->Unlock();
  });
  other.join();
  return taken;
}

}  // namespace

TEST(BlockWorker, Regions_CountersEventsAndSections) {
  Manager m;
  CProgressCounter pc;
  m.SetProgressCounter(&pc);
  CountingWorker shared(&m, false);
  EXPECT_EQ(shared.GetProgressCounter(), &pc);
  CountingWorker own(&m, true);
  EXPECT_NE(own.GetProgressCounter(), &pc);

  // All sections are the block lock and every worker's read section.
  auto extra = std::make_unique<CountingWorker>(&m, false);
  m.LockAllSections();
  EXPECT_FALSE(FreeForOtherThreads(m.GetBlockCritSect()));
  EXPECT_FALSE(FreeForOtherThreads(own.GetReadBlockSect()));
  EXPECT_FALSE(FreeForOtherThreads(extra->GetReadBlockSect()));
  m.UnlockAllSections();
  EXPECT_TRUE(FreeForOtherThreads(own.GetReadBlockSect()));
  EXPECT_TRUE(FreeForOtherThreads(m.GetBlockCritSect()));
  extra.reset();  // gives its section back: locking all must not touch it any more
  m.LockAllSections();
  EXPECT_FALSE(FreeForOtherThreads(shared.GetReadBlockSect()));
  m.UnlockAllSections();
}

TEST(BlockWorker, Regions_WorkTakesEveryBlockThenReturns) {
  LineStructure s(5, 0);
  Manager m;
  m.SetBlockStructure(&s);
  m.OnBlockStructureInit();
  CountingWorker w(&m, true);
  w.GetWorkerAbortEvent()->Set();
  w.Work();  // aborted before the first block
  EXPECT_EQ(w.processed, 0);
  w.Work();
  EXPECT_EQ(w.processed, 5);
  EXPECT_EQ(m.GetFinishedBlockCount(), 5);
  EXPECT_TRUE(m.GetOneBlockFinishedEvent()->Wait(0));
  EXPECT_FALSE(m.HasPotentialJob());
}

TEST(BlockWorker, Regions_IdleWorkerWaitsForWakeUpOrAbort) {
  LineStructure s(4, 10);  // no two blocks together
  Manager m;
  m.SetBlockStructure(&s);
  m.OnBlockStructureInit();
  const Block_iter first = m.LockNextBlock(nullptr);  // held by "another worker"
  CountingWorker w(&m, true);
  std::thread t([&] { w.Work(); });
  ASSERT_TRUE(w.GetIdleWorkerEvent()->Wait(10000));  // nothing ready: it went idle
  EXPECT_EQ(w.processed, 0);
  {
    CKorvaCritSectionGuard guard(m.GetBlockCritSect());
    m.UnLockBlock(first, nullptr);
  }
  w.GetWorkerWakeUpEvent()->Set();
  t.join();
  EXPECT_EQ(w.processed, 3);

  // Idle again, then aborted.
  m.OnBlockStructureInit();
  const Block_iter again = m.LockNextBlock(nullptr);
  CountingWorker v(&m, true);
  std::thread u([&] { v.Work(); });
  ASSERT_TRUE(v.GetIdleWorkerEvent()->Wait(10000));
  v.GetWorkerAbortEvent()->Set();
  u.join();
  EXPECT_EQ(v.processed, 0);
  m.UnLockBlock(again, nullptr);
}

namespace {

// Counts, per call of BlockInitUnshared, whether the block lock was free for other threads
// and whether the worker's read section was held.
struct ProbeManager : CBlockProcessor {
  CBlockWorker* CreateWorker(bool threaded) override;
  std::atomic<int> calls{0}, blockLockFree{0}, readHeld{0};
};

struct ProbingWorker : CountingWorker {
  using CountingWorker::CountingWorker;
  bool BlockInitUnshared(IKorvaFragmentDescriptor_Old&, IKorvaFragment_Old*) override {
    auto* m = static_cast<ProbeManager*>(GetManager());
    ++m->calls;
    m->blockLockFree += FreeForOtherThreads(m->GetBlockCritSect());
    m->readHeld += !FreeForOtherThreads(GetReadBlockSect());
    return true;
  }
};

CBlockWorker* ProbeManager::CreateWorker(bool threaded) {
  return new ProbingWorker(this, threaded);
}

}  // namespace

// Unless the processor asks for it, BlockInitUnshared runs under the worker's own read
// section only: the block lock stays free for the other threads meanwhile.
TEST(BlockWorker, Regions_UnsharedInitHoldsOnlyTheReadSection) {
  LineStructure s(6, 0);
  ProbeManager m;
  m.SetBlockStructure(&s);
  m.SetNParralelThreads(2);
  m.SetUseParallelThreads(true);
  EXPECT_EQ(m.Run(), 0);
  EXPECT_EQ(m.calls.load(), 6);
  EXPECT_EQ(m.blockLockFree.load(), 6);
  EXPECT_EQ(m.readHeld.load(), 6);
}
