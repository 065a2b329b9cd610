// SPDX-License-Identifier: MIT
// CPrgCntBlocksTreaded: merges the progress of worker threads, each reporting through a
// counter of its own on the block it processes, into one parent progress counter.
#pragma once

#include <qvmath/platform/crit_section.h>
#include <qvmath/platform/export.h>

#include <map>
#include <vector>

class CProgressCounter;

/// Aggregates per-block progress of worker counters into a parent counter.
///
/// Each worker counter is registered: its callback becomes `AggregatingCallback` and its
/// context a registration record of this aggregator. While a worker processes block i
/// (`BlockStart`), the positions 0..100 its counter reports are stored as block i's
/// percentage; `BlockFinish` sets the block to 100. `UpdateParent`, called by the one
/// thread that owns the parent, moves the parent to the mean percentage of all blocks.
/// `SetAbort` makes every worker counter's next report cancel (its `SetPos` throws
/// `CUserIntrException` in the worker thread).
///
/// Ownership: owns its lock, the registration records and the tables; the parent and the
/// worker counters stay the caller's. Destruction detaches the still registered counters
/// (callback and context set to null); registered counters must outlive the aggregator or
/// be unregistered first.
///
/// Thread safety: every operation takes the aggregator's own lock. The callback runs under
/// a worker counter's lock and then takes the aggregator's lock (lock order: counter, then
/// aggregator); registration changes a counter's callback outside the aggregator's lock for
/// the same reason. `UpdateParent` moves the parent outside the aggregator's lock.
class QVMATH_API CPrgCntBlocksTreaded {
 public:
  /// An aggregator over `parent` (null: `UpdateParent` does nothing) with `blockCount`
  /// percentage slots, all 0 (negative counts give none).
  explicit CPrgCntBlocksTreaded(CProgressCounter* parent, int blockCount = 0);
  CPrgCntBlocksTreaded(const CPrgCntBlocksTreaded&) = delete;
  CPrgCntBlocksTreaded& operator=(const CPrgCntBlocksTreaded&) = delete;
  /// Detaches every still registered worker counter and frees what the aggregator holds.
  virtual ~CPrgCntBlocksTreaded();

  /// Resizes the percentage table to `blockCount` slots, all 0, and forgets the block
  /// assignments of the workers. Registrations are kept.
  void SetBlockCount(int blockCount);
  /// @return the number of percentage slots.
  int GetBlockCount() const;

  /// Registers `worker`: its context becomes a registration record and its callback
  /// `AggregatingCallback`. Nothing for a null or already registered counter.
  void RegisterWorker(CProgressCounter* worker);
  /// Forgets the registration of `worker` and sets its callback and context to null.
  /// Nothing for a counter that is not registered.
  void UnregisterWorker(CProgressCounter* worker);

  /// From now on, positions reported by `worker` are block `blockIndex`'s percentage.
  /// An index outside the table is ignored.
  void BlockStart(int blockIndex, CProgressCounter* worker);
  /// `worker` is done with block `blockIndex`: the block counts as 100 % and the worker's
  /// later reports are ignored until its next `BlockStart`.
  void BlockFinish(int blockIndex, CProgressCounter* worker);

  /// When a percentage changed since the last call: moves the parent by
  /// `SetPosFloat(sum of percentages / (blocks · 100))` (0.0 without blocks).
  /// @throws CUserIntrException when the parent's callback cancels.
  void UpdateParent();

  /// Raises (or with false clears) the abort flag: while raised, every report of a
  /// registered worker counter returns "stop" to it.
  void SetAbort(bool abort = true);
  /// @return the abort flag.
  bool IsAbort() const;

  /// The callback that registered worker counters carry. `registration` is the record that
  /// registration put into the counter's context.
  /// @return 1 when the abort flag is raised, 0 otherwise.
  static int AggregatingCallback(int pos, void* registration);

 private:
  struct Registration {
    CPrgCntBlocksTreaded* owner;
    CProgressCounter* worker;
  };

  CProgressCounter* m_parent;
  CKorvaCritSection* m_lock;
  std::vector<int> m_percent;
  std::map<const CProgressCounter*, int> m_blockOfWorker;
  bool m_changed;
  std::vector<Registration*>* m_registrations;
  bool m_abort;
};
