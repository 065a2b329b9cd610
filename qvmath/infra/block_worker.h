// SPDX-License-Identifier: MIT
// CBlockWorker: the per-thread object of the block processor that processes one block at a
// time, with the worker interface it implements and its thread loop.
#pragma once

#include <qvmath/infra/block_structure.h>
#include <qvmath/platform/auto_reset_event.h>
#include <qvmath/platform/crit_section.h>
#include <qvmath/platform/export.h>

#include <memory>

class CProgressCounter;

namespace BlockProc {

class CBlockProcessor;

/// Processes one block: the operation a block worker implements.
class QVMATH_API IKorvaFragmentParallelWorker_Old {
 public:
  virtual ~IKorvaFragmentParallelWorker_Old();
  /// Processes block `desc`; `fragment` is its extracted copy, or null when the processor
  /// does not extract blocks.
  /// @return 0 on success; 10 asks to stop as a user break; any other value is a failure
  ///         code that the processor turns into `EBlockAlgError`.
  virtual int ProcessFragment(IKorvaFragmentDescriptor_Old& desc, IKorvaFragment_Old* fragment) = 0;
};

/// The per-thread worker of a `CBlockProcessor`; the host derives from it and creates it in
/// the processor's worker factory.
///
/// For each block handed to it the processor calls `BlockInit` and `BlockInitUnshared`
/// (false skips the block), `ProcessFragment`, and, when changes are applied per block,
/// `FinishBlock`. In threaded processing the worker's thread runs `Init()` and then `Work()`.
///
/// Ownership: the worker owns its events and, when constructed with `ownCounter`, its
/// progress counter; its read section belongs to the manager and is given back when the
/// worker is destroyed. A worker must not outlive its manager. Not copyable.
/// Thread safety: a worker is used by one thread at a time (its own thread while it runs).
/// Threaded workers should own their counter: the processor routes the reports of such
/// counters into its own counter; a worker using the manager's counter in a worker thread
/// would move that counter from several threads at once.
class QVMATH_API CBlockWorker : public virtual IKorvaFragmentParallelWorker_Old {
 public:
  /// A worker of `manager`. With `ownCounter` it creates a fresh `CProgressCounter` of its
  /// own (deleted with the worker); otherwise it uses the manager's counter (which may be
  /// null). With a non-null manager it takes a read section from
  /// `manager->AddWorkerReadCriticalSection()` and creates its idle, wake-up and abort
  /// events (auto-reset, not signalled); a null manager leaves it without section and events.
  CBlockWorker(CBlockProcessor* manager, bool ownCounter);
  CBlockWorker(const CBlockWorker&) = delete;
  CBlockWorker& operator=(const CBlockWorker&) = delete;
  /// Gives the read section back to the manager and frees an own counter and the events.
  ~CBlockWorker() override;

  /// Called once in the worker's thread before `Work()`. Default: nothing.
  virtual void Init();
  /// Called first for each block, under the worker's read section.
  /// @return false to skip the block. Default: true.
  virtual bool BlockInit(IKorvaFragmentDescriptor_Old& desc, IKorvaFragment_Old* fragment);
  /// Called after `BlockInit`: under the read section, or under all sections when the
  /// manager's `NeedUnsharedWorkerInit()` is true.
  /// @return false to skip the block. Default: true.
  virtual bool BlockInitUnshared(IKorvaFragmentDescriptor_Old& desc, IKorvaFragment_Old* fragment);
  /// Called after a block was processed successfully: in threaded processing only when
  /// changes are applied immediately (under all sections, before `ApplyBlockChanges`), in
  /// `CBlockProcessor::SingleBlockProcess` always.
  virtual void FinishBlock(IKorvaFragmentDescriptor_Old& desc, IKorvaFragment_Old* fragment) = 0;

  /// The worker thread's loop: takes blocks from the manager while some are ready, waits
  /// for a wake-up while none is ready but some remain, and returns when every block of the
  /// pass is done or the worker's abort event is signalled. Nothing without a manager.
  /// @throws whatever processing a block throws (the block is then not given back).
  void Work();
  /// Gives `block` back to the manager as finished (`UnLockBlock` under the block lock) and
  /// signals the manager's one-block-finished event.
  void ReturnBlockToManager(Block_iter block);

  /// @return the counter the worker reports through (own or the manager's; may be null).
  CProgressCounter* GetProgressCounter() const { return m_counter; }
  /// @return whether the worker owns its counter.
  bool OwnsProgressCounter() const { return m_ownCounter; }
  /// @return the manager (null when constructed without one).
  CBlockProcessor* GetManager() const { return m_manager; }
  /// @return the worker's read section (owned by the manager; null without a manager).
  CKorvaCritSection* GetReadBlockSect() const { return m_readSection; }
  /// @return the event the worker signals before it waits idle (null without a manager).
  CKorvaAutoResetEvent* GetIdleWorkerEvent() const { return m_idleEvent.get(); }
  /// @return the event that wakes the idle worker (null without a manager).
  CKorvaAutoResetEvent* GetWorkerWakeUpEvent() const { return m_wakeUpEvent.get(); }
  /// @return the event that makes `Work()` return (null without a manager).
  CKorvaAutoResetEvent* GetWorkerAbortEvent() const { return m_abortEvent.get(); }

 private:
  CBlockProcessor* m_manager;
  CKorvaCritSection* m_readSection;
  CProgressCounter* m_counter;
  bool m_ownCounter;
  std::unique_ptr<CKorvaAutoResetEvent> m_idleEvent;
  std::unique_ptr<CKorvaAutoResetEvent> m_wakeUpEvent;
  std::unique_ptr<CKorvaAutoResetEvent> m_abortEvent;
};

}  // namespace BlockProc
