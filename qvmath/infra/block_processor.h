// SPDX-License-Identifier: MIT
// BlockProc::CBlockProcessor: runs worker objects over the blocks of a data set in several
// passes, serially or on worker threads, with progress, cancellation and abort; and the
// framework's error class EBlockAlgError.
#pragma once

#include <qvmath/infra/block_structure.h>
#include <qvmath/infra/block_worker.h>
#include <qvmath/platform/auto_reset_event.h>
#include <qvmath/platform/crit_section.h>
#include <qvmath/platform/export.h>

#include <atomic>
#include <exception>
#include <memory>
#include <vector>

class CProgressCounter;
class CPrgCntBlocksTreaded;

namespace BlockProc {

/// A failure of block processing, carrying an int code: a worker's non-zero result code
/// (other than 10), 10 for an abort after a user break, -1 for any other abort.
class QVMATH_API EBlockAlgError : public std::exception {
 public:
  /// Code 0.
  EBlockAlgError() : m_code(0) {}
  explicit EBlockAlgError(int code) : m_code(code) {}
  ~EBlockAlgError() override;
  /// @return the error code.
  int GetErrorCode() const { return m_code; }
  /// @return "Block processing failed".
  const char* what() const noexcept override;

 private:
  int m_code;
};

/// The manager of block processing; the host derives from it, supplies the worker factory
/// `CreateWorker` and overrides the hooks it needs (all others have trivial defaults).
///
/// `Run()` drives, on the calling thread: `PreliminaryGlobalActions` (progress 0-5 %); the
/// passes (5-95 %, pass k of n in [k/n, (k+1)/n] of it), each with `PreliminaryPassActions`,
/// the structure's `ResetForPass` and `OnBlockStructureInit` (0-5 % of the pass), all blocks
/// (5-95 %), then, unless changes are applied immediately, `ApplyBlockChangesBlockNotExtr`
/// for every block in block order and `FinalPassActions` (95-100 %); finally
/// `FinalGlobalActions` (95-100 %).
///
/// Blocks of a pass are processed serially (`SingleBlockProcess` per block, in its own
/// progress sub-phase) or, with parallel threads on, by N worker threads that take the
/// first ready block under the block lock: a block is ready when it is neither done nor
/// being processed and the structure's `CanProcessTogether` allows it against every block
/// being processed. The calling thread manages: it moves the progress counter from the
/// workers' counters, reaps ended threads and wakes idle workers, waiting at most 50 ms at a
/// time for a finished block or the abort event.
///
/// Changes: with the immediate-modify flag, each block's changes are applied as soon as it
/// is processed (`FinishBlock` of the worker, then `ApplyBlockChanges` with the extracted
/// fragment or `ApplyBlockChangesBlockNotExtr` without one), under all sections; otherwise
/// after the pass. With the extract flag, workers get `ExtractBlock`'s copy of each block.
///
/// Failures: a worker's result code goes through `CheckWorkerResult` (0 passes, 10 throws
/// `CUserIntrException`, others throw `EBlockAlgError(code)`). Whatever a worker thread
/// throws stops the other workers and is rethrown by `Run` on the calling thread with its
/// type and content unchanged (the first failure wins). `SetAbortEvent` (from any thread)
/// stops the workers at their next check, also a block that reports through its counter,
/// and makes `Run` throw `EBlockAlgError(10)` after `SetUserBreak(true)`, else
/// `EBlockAlgError(-1)`; in serial processing the event is checked before every block.
/// When `Run` returns or throws, no worker thread is left running and every worker and
/// fragment has been deleted.
///
/// Ownership: the structure, its descriptors and the counter stay the host's; the processor
/// owns its lock, events, the workers' read sections, the progress aggregator, the workers
/// it creates during a run and the fragments `ExtractBlock` returns. Copying copies the
/// settings (structure, counter, flags, pass and thread counts, user-break flag) and gives
/// the copy its own lock, events and run state; do not copy a running processor.
///
/// Thread safety: `Run` is called from one thread; during a run, workers call the hand-out
/// operations under the block lock (`GetBlockCritSect`). `SetAbortEvent`, `SetUserBreak`,
/// `IsAbortRaised`, `IsUserBreak`, `CurrentPassNo` and `SetThisPassLast` may be called from
/// any thread; the other settings are changed only between runs or from the hooks that run
/// on the calling thread. Lock order: the block lock, then the workers' read sections, then
/// a progress counter's lock, then the progress aggregator's lock.
class QVMATH_API CBlockProcessor {
 public:
  /// No structure or counter; one pass; serial (one thread); no immediate modify, no
  /// extraction; pass number -1.
  CBlockProcessor();
  CBlockProcessor(const CBlockProcessor& other);
  CBlockProcessor& operator=(const CBlockProcessor& other);
  virtual ~CBlockProcessor();

  /// Called once at the start of `Run`. Default: nothing.
  virtual void PreliminaryGlobalActions();
  /// Called at the start of every pass, before the structure's reset. Default: nothing.
  virtual void PreliminaryPassActions();
  /// Called once at the end of `Run`. Default: nothing.
  virtual void FinalGlobalActions();
  /// Called at the end of every pass, after the changes were applied. Default: nothing.
  virtual void FinalPassActions();
  /// Processes one block in serial mode. Default: creates a worker by `CreateWorker(false)`,
  /// calls its `Init`, `BlockInit(block, null)` and `BlockInitUnshared(block, null)` (false
  /// from either ends the block), `ProcessFragment`, `CheckWorkerResult` with the result and
  /// `FinishBlock`, and deletes the worker (also when something throws).
  /// @throws CKorvaException when the factory returns null; what the steps throw.
  virtual void SingleBlockProcess(IKorvaFragmentDescriptor_Old& block);
  /// Applies the changes of a block processed on an extracted `fragment`. Default: nothing.
  virtual void ApplyBlockChanges(const IKorvaFragmentDescriptor_Old& block,
                                 const IKorvaFragment_Old& fragment);
  /// Applies the changes of a block processed without extraction. Default: nothing.
  virtual void ApplyBlockChangesBlockNotExtr(const IKorvaFragmentDescriptor_Old& block);
  /// Creates a worker of this processor; `threaded` tells whether it will run on a worker
  /// thread (it should then own its progress counter). The processor deletes it.
  virtual CBlockWorker* CreateWorker(bool threaded) = 0;
  /// @return a copy of `block`'s data for a worker (deleted by the processor), or null to
  ///         skip the block. Called only with the extract flag. Default: null.
  virtual IKorvaFragment_Old* ExtractBlock(const IKorvaFragmentDescriptor_Old& block);
  /// @return true when `BlockInitUnshared` must run under all sections rather than the
  ///         worker's read section. Default: false.
  virtual bool NeedUnsharedWorkerInit();
  /// Called at the start of `Run`. Default: nothing.
  virtual void ResetWholeProcessStatus();
  /// Turns a worker's result code into the failure form: 0 returns, 10 throws
  /// `CUserIntrException`, any other code throws `EBlockAlgError(code)`.
  virtual void CheckWorkerResult(int code);
  /// @return the value `Run` returns after a complete run. Default: 0.
  virtual int GetWholeProcessResult();
  /// Creates the progress aggregator of a threaded pass over the processor's counter, with
  /// one slot per block of the pass.
  virtual void InitThreadedPrgCnt();
  /// Frees the progress aggregator (nothing when there is none).
  virtual void ReleaseThreadedPrgCnt();
  /// Moves the processor's counter from the aggregated worker progress.
  /// @throws CUserIntrException when the counter's callback cancels.
  virtual void UpdateParentPrgCnt();
  /// Routes the progress of `worker`'s counter into the aggregator. Nothing for a worker
  /// without a counter or one using the processor's own counter.
  virtual void RegisterWorkerPrgCnt(CBlockWorker* worker);
  /// Detaches `worker`'s counter from the aggregator.
  virtual void UnRegisterWorkerPrgCnt(CBlockWorker* worker);
  /// Called under the block lock when `block` is handed to `worker`: the worker's reports
  /// count for block `BlockIndex(block)` from now on.
  virtual void OnBlockProcessStart(Block_iter block, CBlockWorker* worker);
  /// Called under the block lock when `worker` gives `block` back: the block counts 100 %.
  virtual void OnBlockProcessFinish(Block_iter block, CBlockWorker* worker);

  /// Runs all passes over all blocks (see the class description).
  /// @return -1 when no block structure is set; 9 when the extract flag is set without the
  ///         immediate-modify flag (an extracted copy could never be applied), before any
  ///         hook is called; otherwise `GetWholeProcessResult()`.
  /// @throws CUserIntrException on cancellation (the counter's callback or a worker's code
  ///         10); EBlockAlgError for a worker's failure code or an abort (10 after a user
  ///         break, -1 otherwise); CKorvaException when the factory returns null; and
  ///         whatever a hook or worker throws, unchanged.
  int Run();

  void SetBlockStructure(CBlockStructure* structure) { m_structure = structure; }
  CBlockStructure* GetBlockStructure() const { return m_structure; }
  void SetProgressCounter(CProgressCounter* counter) { m_counter = counter; }
  CProgressCounter* GetProgressCounter() const { return m_counter; }
  void SetImmediateBlockModify(bool immediate) { m_immediate = immediate; }
  bool DoModifyImmediately() const { return m_immediate; }
  void SetExtractBlock(bool extract) { m_extract = extract; }
  bool DoBlockExtract() const { return m_extract; }
  /// Sets the number of passes (read again before every pass; < 1 runs no pass).
  void SetNPasses(int n) { m_nPasses = n; }
  int GetNPasses() const { return m_nPasses; }
  int TotalPassNum() const { return m_nPasses; }
  /// Sets the number of worker threads and turns parallel processing on exactly when n > 1.
  void SetNParralelThreads(int n);
  int GetNParralelThreads() const { return m_nThreads; }
  /// Turns parallel processing on or off; off also sets the thread count to 1. On with a
  /// count below 1 runs one worker thread.
  void SetUseParallelThreads(bool use);
  bool IsUseParallelThreads() const { return m_useParallel; }
  /// Marks the abort as a user break (the abort then throws code 10).
  void SetUserBreak(bool userBreak = true) { m_userBreak.store(userBreak); }
  bool IsUserBreak() const { return m_userBreak.load(); }
  /// @return the number of the pass being run (from 0), -1 before the first `Run`.
  int CurrentPassNo() const { return m_passNo.load(); }
  /// Makes the current pass the last one.
  void SetThisPassLast() { m_passNo.store(m_nPasses - 1); }
  /// @return the event workers signal whenever they give a block back or end.
  CKorvaAutoResetEvent* GetOneBlockFinishedEvent() const { return m_blockFinishedEvent.get(); }
  /// @return whether the running pass is being aborted (abort event seen, or a worker failed).
  bool IsAbortRaised() const { return m_abortRaised.load(); }
  /// @return the abort event (see `SetAbortEvent`).
  CKorvaAutoResetEvent* GetAbortEvent() const { return m_abortEvent.get(); }
  /// Signals the abort event: the running pass stops and `Run` throws `EBlockAlgError`.
  /// A signal given while no pass runs aborts the next pass.
  void SetAbortEvent() { m_abortEvent->Set(); }
  /// @return the block lock, which guards the hand-out state.
  CKorvaCritSection* GetBlockCritSect() const { return m_blockLock.get(); }
  /// @return the progress aggregator of the running threaded pass (null otherwise).
  CPrgCntBlocksTreaded* GetThreadedPrgCnt() const { return m_threadedPrgCnt; }

 private:
  friend class CBlockWorker;
  struct Impl;
  struct CrewMember;
  class AllSectionsHold;
  using Crew = std::vector<std::unique_ptr<CrewMember>>;

  // The hand-out machinery of a pass, used by `Run` and the workers.
  // Resets the hand-out state for a pass: walks the structure once, all blocks pending,
  // cursor at the first block, nothing being processed, finished count 0.
  void OnBlockStructureInit();
  // The operations below are called under the block lock.
  // @return false when `block` lies before the cursor, is finished or is being processed
  //         (or is not a block of the pass); otherwise whether the structure allows it
  //         together with every block being processed.
  bool IsBlockReadyForProcess(Block_iter block);
  // @return whether some block from the cursor on is not yet finished.
  bool HasPotentialJob();
  // @return whether some block from the cursor on is ready.
  bool HasCurrentJob();
  // Advances the cursor over finished blocks and hands the first ready block to `worker`
  // (`OnBlockProcessStart`).
  // @return that block, or `BlockEnd()` when none is ready.
  Block_iter LockNextBlock(CBlockWorker* worker);
  // Takes `block` back from `worker` as finished (`OnBlockProcessFinish`).
  void UnLockBlock(Block_iter block, CBlockWorker* worker);
  // @return the structure's `end()`.
  Block_iter BlockEnd();
  // @return the number of blocks finished in the current pass.
  int GetFinishedBlockCount() const;

  // Creates a read section for a new worker (owned by the processor until the worker
  // gives it back in its destructor).
  CKorvaCritSection* AddWorkerReadCriticalSection();
  // Takes the block lock, then every worker's read section. Must not be called while
  // holding a read section.
  void LockAllSections();
  // Releases what `LockAllSections` took.
  void UnlockAllSections();

  // Processes one block with `worker` on the calling thread (a worker thread): extraction,
  // `BlockInit`, `BlockInitUnshared`, `ProcessFragment`, `CheckWorkerResult` and, with the
  // immediate-modify flag, `FinishBlock` and the application of the changes under all
  // sections. Returns early when the abort is raised; the fragment is deleted on every way
  // out.
  // @throws what `CheckWorkerResult` and the hooks throw.
  void BlockProcessCore(CBlockWorker& worker, Block_iter block);
  // `SingleBlockProcess(block)`, then `ApplyBlockChangesBlockNotExtr(block)`.
  void SingleBlockProcessAndApply(IKorvaFragmentDescriptor_Old& block);
  // Processes the blocks of the pass on the configured number of worker threads, the
  // calling thread managing (see the class description).
  // @throws as `Run`; no thread is left running afterwards.
  void ParallelBlockProcess();

  void StartCrew(Crew& crew);
  bool ManageCrew(Crew& crew);
  bool ReapEndedWorkers(Crew& crew);
  void StopCrew(Crew& crew);

  void RunPass();
  void SerialBlockProcess();
  void ThrowIfAbortSignalled();
  [[noreturn]] void ThrowAbort();
  void WorkerThread(CrewMember* member);
  void RecordWorkerFailure(std::exception_ptr failure);
  bool HasWorkerFailure() const;
  void RemoveWorkerReadCriticalSection(CKorvaCritSection* section);

  CBlockStructure* m_structure;
  CProgressCounter* m_counter;
  CPrgCntBlocksTreaded* m_threadedPrgCnt;
  bool m_immediate;
  bool m_extract;
  int m_nPasses;
  int m_nThreads;
  std::atomic<bool> m_userBreak;
  std::atomic<int> m_passNo;
  std::unique_ptr<CKorvaAutoResetEvent> m_blockFinishedEvent;
  std::atomic<bool> m_abortRaised;
  std::unique_ptr<CKorvaAutoResetEvent> m_abortEvent;
  std::unique_ptr<CKorvaCritSection> m_blockLock;
  bool m_useParallel;
  // Hand-out state of the pass (cursor, block states, blocks being processed), the
  // workers' read sections and the first worker failure; guarded by the block lock.
  std::unique_ptr<Impl> m_impl;
};

}  // namespace BlockProc
