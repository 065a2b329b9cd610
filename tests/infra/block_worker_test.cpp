// SPDX-License-Identifier: MIT
#include <qvmath/infra/block_processor.h>
#include <qvmath/infra/block_worker.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <set>
#include <thread>

#include "block_test_host.h"
#include "test_util.h"

using namespace BlockProc;
using qvtest::LineStructure;

namespace {

// Whether another thread could take `section` (in one of `tries` attempts; a worker may hold
// the block lock for a moment while it takes a block).
bool FreeForOtherThreads(CKorvaCritSection* section, int tries = 1) {
  bool taken = false;
  std::thread other([&] {
    for (int k = 0; k < tries && !taken; ++k) {
      taken = section->TryLock();
      if (taken) section->Unlock();
      if (!taken && k + 1 < tries) std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
  });
  other.join();
  return taken;
}

struct Piece : IKorvaFragment_Old {};

// Probes, from inside threaded runs, which sections are held where the hooks run: under
// "all sections" the block lock and every live worker's read section; in a plain unshared
// init only the worker's own read section.
struct ProbeManager : CBlockProcessor {
  CBlockWorker* CreateWorker(bool threaded) override;
  bool NeedUnsharedWorkerInit() override { return unshared; }
  IKorvaFragment_Old* ExtractBlock(const IKorvaFragmentDescriptor_Old&) override {
    return new Piece;
  }
  void ApplyBlockChanges(const IKorvaFragmentDescriptor_Old&, const IKorvaFragment_Old&) override {
    ++applies;
    ExpectAllSectionsHeld();
  }
  void ExpectAllSectionsHeld() {
    EXPECT_FALSE(FreeForOtherThreads(GetBlockCritSect()));
    std::lock_guard<std::mutex> lock(mutex);
    for (CBlockWorker* w : live) EXPECT_FALSE(FreeForOtherThreads(w->GetReadBlockSect()));
  }
  bool unshared = false;
  std::mutex mutex;
  std::set<CBlockWorker*> live;
  std::atomic<int> inits{0}, applies{0};
};

struct ProbeWorker : CBlockWorker {
  ProbeWorker(ProbeManager* m, bool threaded) : CBlockWorker(m, threaded), m_m(m) {
    std::lock_guard<std::mutex> lock(m_m->mutex);
    m_m->live.insert(this);
  }
  ~ProbeWorker() override {
    std::lock_guard<std::mutex> lock(m_m->mutex);
    m_m->live.erase(this);
  }
  bool BlockInitUnshared(IKorvaFragmentDescriptor_Old&, IKorvaFragment_Old*) override {
    ++m_m->inits;
    EXPECT_FALSE(FreeForOtherThreads(GetReadBlockSect()));
    if (m_m->unshared)
      m_m->ExpectAllSectionsHeld();
    else
      EXPECT_TRUE(FreeForOtherThreads(m_m->GetBlockCritSect(), 1000));
    return true;
  }
  int ProcessFragment(IKorvaFragmentDescriptor_Old&, IKorvaFragment_Old*) override { return 0; }
  void FinishBlock(IKorvaFragmentDescriptor_Old&, IKorvaFragment_Old*) override {}
  ProbeManager* m_m;
};

CBlockWorker* ProbeManager::CreateWorker(bool threaded) { return new ProbeWorker(this, threaded); }

}  // namespace

TEST(BlockWorker, Regions_SectionsHeldAroundTheHooks) {
  for (bool unshared : {false, true}) {
    SCOPED_TRACE(unshared);
    LineStructure s(9, 0);
    ProbeManager m;
    m.unshared = unshared;
    m.SetBlockStructure(&s);
    m.SetNParralelThreads(3);
    m.SetImmediateBlockModify(unshared);
    m.SetExtractBlock(unshared);
    EXPECT_EQ(m.Run(), 0);
    EXPECT_EQ(m.inits.load(), 9);
    EXPECT_EQ(m.applies.load(), unshared ? 9 : 0);
    EXPECT_TRUE(m.live.empty());
  }
}
