// SPDX-License-Identifier: MIT
#include <qvmath/infra/block_processor.h>
#include <qvmath/infra/block_worker.h>
#include <qvmath/infra/progress_counter.h>

namespace BlockProc {

IKorvaFragmentParallelWorker_Old::~IKorvaFragmentParallelWorker_Old() = default;

CBlockWorker::CBlockWorker(CBlockProcessor* manager, bool ownCounter)
    : m_manager(manager), m_readSection(nullptr), m_counter(nullptr), m_ownCounter(ownCounter) {
  // Events first: should the counter's allocation fail, they free themselves, and the
  // read section, the one thing handed to us by the manager, is taken last.
  if (m_manager) {
    m_idleEvent = std::make_unique<CKorvaAutoResetEvent>(false);
    m_wakeUpEvent = std::make_unique<CKorvaAutoResetEvent>(false);
    m_abortEvent = std::make_unique<CKorvaAutoResetEvent>(false);
  }
  if (m_ownCounter)
    m_counter = new CProgressCounter;
  else if (m_manager)
    m_counter = m_manager->GetProgressCounter();
  if (m_manager) {
    try {
      m_readSection = m_manager->AddWorkerReadCriticalSection();
    } catch (...) {
      if (m_ownCounter) delete m_counter;
      throw;
    }
  }
}

CBlockWorker::~CBlockWorker() {
  if (m_manager && m_readSection) m_manager->RemoveWorkerReadCriticalSection(m_readSection);
  if (m_ownCounter) delete m_counter;
}

void CBlockWorker::Init() {}

bool CBlockWorker::BlockInit(IKorvaFragmentDescriptor_Old&, IKorvaFragment_Old*) { return true; }

bool CBlockWorker::BlockInitUnshared(IKorvaFragmentDescriptor_Old&, IKorvaFragment_Old*) {
  return true;
}

void CBlockWorker::Work() {
  if (!m_manager) return;
  CKorvaCritSection* blockLock = m_manager->GetBlockCritSect();
  CKorvaAutoResetEvent* const wakeOrAbort[2] = {m_wakeUpEvent.get(), m_abortEvent.get()};
  for (;;) {
    if (m_abortEvent->Wait(0)) return;
    blockLock->Lock();
    bool locked = true;
    try {
      if (!m_manager->HasPotentialJob()) {
        blockLock->Unlock();
        return;
      }
      if (m_manager->HasCurrentJob()) {
        const Block_iter block = m_manager->LockNextBlock(this);
        blockLock->Unlock();
        locked = false;
        if (block == m_manager->BlockEnd()) return;
        m_manager->BlockProcessCore(*this, block);
        ReturnBlockToManager(block);
        if (m_manager->IsAbortRaised()) return;
      } else {
        // Signalled before the lock is released: a block given back after this point
        // (which needs the lock) finds us idle, and its finished event makes the manager
        // wake us, so no wake-up is lost.
        m_idleEvent->Set();
        blockLock->Unlock();
        locked = false;
        if (CKorvaAutoResetEvent::WaitAny(wakeOrAbort, 2) != 0) return;
      }
    } catch (...) {
      if (locked) blockLock->Unlock();
      throw;
    }
  }
}

void CBlockWorker::ReturnBlockToManager(Block_iter block) {
  if (!m_manager) return;
  {
    CKorvaCritSectionGuard guard(m_manager->GetBlockCritSect());
    m_manager->UnLockBlock(block, this);
  }
  m_manager->GetOneBlockFinishedEvent()->Set();
}

}  // namespace BlockProc
