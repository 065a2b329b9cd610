// SPDX-License-Identifier: MIT
// Progress reporting with nested sub-phases and user cancellation: CProgressCounter, the
// scope objects CPrgCntSubPhase and CPrgCntIntegerScope, and the process-wide stop event.
#pragma once

#include <qvmath/platform/crit_section.h>
#include <qvmath/platform/export.h>

#include <atomic>
#include <vector>

/// The host's view interface, over which a user-interface subclass of `CProgressCounter`
/// opens its progress dialog (`CreateDlg`). The library only passes references to it and
/// never needs its definition.
class IKorvaView;

/// Maps nested sub-phases of work onto one integer scale 0..100 and hands every change of
/// the integer position to a callback `int (*)(int pos, void* context)`; a non-zero return
/// from the callback cancels the work by throwing `CUserIntrException`.
///
/// A phase is the interval [start, start + step] of the 0..100 scale; the top-level phase is
/// [0, 100]. `StartNewSubPhaseFloat(a, b, visible)` narrows the phase to
/// [start + step·a, start + step·a + step·b] and saves the old one on a stack;
/// `SetPosFloat(f)` reports the fraction f of the current phase, rounded to the nearest
/// integer with ties upward (`rndtoni`). The callback runs under the counter's lock and only
/// when the integer position changes, so routines may report as often as they like.
///
/// Ownership: the counter owns nothing but its stacks; context and callback are the host's.
/// Copying copies every member (stacks, start, step, position, flags, context, callback);
/// each copy has a lock of its own.
///
/// Thread safety: position changes, sub-phase opening/closing and callback replacement take
/// the counter's lock, which is re-entrant (opening a sub-phase reports its start while
/// holding it). The plain accessors, `Hide`, `Restore`, `ClearStopFlag` and `SetContext` take
/// no lock. The callback must not call back into the same counter from another thread.
/// Counters are meant to be moved by one thread at a time; the block processor gives every
/// worker thread a counter of its own.
///
/// Process-wide state: `globalProgressFcn` (the default callback of new counters),
/// `m_hStopEvent` and `m_bStopping` (the stop event). Set the global callback while no other
/// thread constructs counters; create and close the stop event while no other thread uses it.
class QVMATH_API CProgressCounter {
 public:
  /// A fresh counter: no sub-phase, phase [0, 100], position -1 (so the first report always
  /// reaches the callback), visible, not stopped, null context, callback `globalProgressFcn`.
  CProgressCounter();
  /// Copies every member of `other` under `other`'s lock; the copy gets a lock of its own.
  CProgressCounter(const CProgressCounter& other);
  /// Copies every member of `other` (taken under `other`'s lock, stored under this one's).
  CProgressCounter& operator=(const CProgressCounter& other);
  virtual ~CProgressCounter();

  /// Shows a status text. Empty here; for a user-interface subclass in the host.
  virtual void SetStatus(const wchar_t* text);
  /// Opens a progress dialog over `view`. Empty here; for a user-interface subclass.
  virtual void CreateDlg(IKorvaView& view, unsigned int flags, bool modal);
  /// Closes the dialog of `CreateDlg`. Empty here; for a user-interface subclass.
  virtual void CloseDlg();
  /// Switches a dialog to threaded mode. Empty here; for a user-interface subclass.
  virtual void SetThreadedInterface(bool threaded);

  /// @return the global position at which the current phase begins (no lock).
  double GetStart() const { return m_start; }
  /// @return the width of the current phase on the 0..100 scale (no lock).
  double GetStep() const { return m_step; }
  /// @return the last position handed to the callback, -1 before the first (no lock).
  int GetPos() const { return m_pos.load(std::memory_order_relaxed); }
  /// @return whether the counter ignores positions (hidden), see `Hide` (no lock).
  bool IsHidden() const { return m_hidden.load(std::memory_order_relaxed); }
  /// @return the context handed to the callback (no lock).
  void* GetContext() const { return m_context; }
  /// Sets the context handed to the callback as its second argument (no lock).
  void SetContext(void* context) { m_context = context; }

  /// Sets the start of the current phase to v, clamped to [0, 99] (NaN gives 0). Nothing
  /// when hidden.
  void SetStart(double v);
  /// `SetStart(double(v))`.
  void SetStart(int v);
  /// Sets the width of the current phase to v; v <= 0 (or NaN) gives 1.0, v > 100 gives 100.
  /// Nothing when hidden.
  void SetStep(double v);
  /// `SetStep(double(v))`.
  void SetStep(int v);

  /// Reports the global position p, clamped to 0..100. Nothing when hidden or stopped.
  /// The callback is called (under the lock) only when p differs from the last position.
  /// @throws CUserIntrException when the callback returns non-zero; the stop flag is then
  ///         set (the counter stays silent until `ClearStopFlag`/`ResetCounters`) and the
  ///         lock has been released.
  void SetPos(int p);
  /// Reports the fraction f (0..1) of the current phase: p = rndtoni(f·step + start),
  /// clamped to [rndtoni(start), rndtoni(start + step)], then `SetPos(p)`. A NaN fraction
  /// reports nothing. Nothing when hidden.
  /// @throws CUserIntrException as `SetPos`.
  void SetPosFloat(double f);

  /// Sets the hidden flag: positions, `SetStart`, `SetStep` and integer-form
  /// `CPrgCntSubPhase` objects are then ignored. No lock.
  void Hide() { m_hidden.store(true, std::memory_order_relaxed); }
  /// Clears the hidden flag. No lock.
  void Restore() { m_hidden.store(false, std::memory_order_relaxed); }
  /// Clears the stop flag that a cancelling callback left behind. No lock.
  void ClearStopFlag() { m_stop.store(false, std::memory_order_relaxed); }

  /// Replaces this counter's callback (null: no reporting), under the lock.
  void SetCallback(int (*callback)(int, void*));
  /// Sets this counter's callback back to the current `globalProgressFcn`, under the lock.
  void ResetCallback();
  /// Sets the default callback that counters constructed afterwards take (and that
  /// `ResetCallback` installs). Process-wide; not synchronised with constructors running
  /// on other threads.
  static void SetGlobalCallback(int (*callback)(int, void*));
  /// @return the process-wide default callback (null when none was set).
  static int (*GetGlobalCallback())(int, void*);

  /// `StartNewSubPhaseFloat(startPercent·0.01, lengthPercent·0.01, visible)`.
  /// @throws CUserIntrException as `StartNewSubPhaseFloat`.
  void StartNewSubPhase(int startPercent, int lengthPercent, bool visible);
  /// Opens a sub-phase covering the fractions [startFraction, startFraction + lengthFraction]
  /// of the current phase: under the lock, saves start, step and visibility, sets
  /// start += step·startFraction and step *= lengthFraction, keeps the counter visible only
  /// when it was visible and `visible` is true, then reports `SetPosFloat(0.0)`.
  /// @throws CUserIntrException when that report cancels; the sub-phase is then open.
  void StartNewSubPhaseFloat(double startFraction, double lengthFraction, bool visible);
  /// Finishes the innermost sub-phase and reports its end; nothing when none is open.
  /// @throws CUserIntrException when that report cancels (the sub-phase is closed).
  void FinishSubPhase();
  /// Finishes the sub-phase whose opening left `depth` sub-phases open, discarding every
  /// sub-phase opened inside it: the end rndtoni(start + step) of the phase in force is
  /// taken, the saved stacks are cut to `depth` entries and the top entry is restored
  /// (start, step, hidden flag); with `setPos` the end is then reported by `SetPos`.
  /// Nothing when depth exceeds the number of open sub-phases (already finished) or is < 1.
  /// @throws CUserIntrException when the report cancels (the sub-phase is closed).
  void FinishSubPhaseAndAllSlaveSubphases(int depth, bool setPos);
  /// @return the number of open sub-phases.
  int GetPhaseDepth() const;
  /// Closes every sub-phase without reporting: phase [0, 100], stop flag cleared. The hidden
  /// flag, the position and the callback stay as they are.
  void ResetCounters();

  /// Creates the process-wide stop event (auto-reset, not signalled) when none exists.
  /// @return true when an event exists afterwards.
  static bool CreateStopEvent();
  /// Closes the stop event, if any, and forgets it.
  static void CloseStopEvent();
  /// If the stop event exists: sets `m_bStopping` to 1 and signals the event.
  static void SignalStopEvent();
  /// If the stop event exists: clears its signal and sets `m_bStopping` to 0.
  static void ResetStopEvent();
  /// Tests the stop event without waiting. A signal is consumed: one `SignalStopEvent` is
  /// seen by one successful call.
  /// @return true (and `m_bStopping` set to 0) when the event was signalled; false otherwise
  ///         and when no event exists.
  static bool CheckStopEvent();
  /// @return `m_bStopping != 0`: a stop was signalled and not yet consumed or reset.
  static bool IsStopping();

  /// The default callback of counters constructed from now on. Process-wide.
  static int (*globalProgressFcn)(int, void*);
  /// The process-wide stop event: a heap-allocated `CKorvaAutoResetEvent`, null when not
  /// created. Use the static functions above rather than the handle.
  static void* m_hStopEvent;
  /// Non-zero after `SignalStopEvent` until `CheckStopEvent` consumes the signal or
  /// `ResetStopEvent`; a hint read without a lock.
  static volatile int m_bStopping;

 private:
  std::vector<double> m_savedStart;
  std::vector<double> m_savedStep;
  std::vector<int> m_savedVisible;
  double m_start;
  double m_step;
  // Position and flags are read without the lock on the hot path of SetPos/SetPosFloat;
  // relaxed atomics make those reads well defined when a counter is shared by threads.
  std::atomic<int> m_pos;
  std::atomic<bool> m_hidden;
  std::atomic<bool> m_stop;
  void* m_context;
  mutable CKorvaCritSection m_lock;
  int (*m_callback)(int, void*);
};

/// Scope object that opens a sub-phase of a counter and closes it when finished or
/// destroyed, also while an exception passes (then without reporting the end).
///
/// The integer form opens nothing on a null or hidden counter. The double form opens a
/// sub-phase on a hidden counter too (as fractions truncated from percentages); this
/// asymmetry is intended and kept.
///
/// Ownership: holds the counter without owning it. Copies hold the same counter and depth;
/// finishing the same sub-phase through two copies is the caller's mistake (the second one
/// then finds it finished and does nothing, or finishes an unrelated later sub-phase of the
/// same depth).
class QVMATH_API CPrgCntSubPhase {
 public:
  /// Value of `kind`: a and b are percentages (integers 0..100) of the current phase.
  static constexpr int PhaseInt = 0;
  /// Value of `kind`: a and b are fractions of the current phase.
  static constexpr int PhaseFloat = 1;

  /// An inert object (no counter).
  CPrgCntSubPhase();
  /// Opens a sub-phase of `pc` starting at a and as long as b: percentages with
  /// kind == `PhaseInt` (then multiplied by 0.01), the integers taken as fractions with any
  /// other kind. Inert when `pc` is null or hidden.
  /// @throws CUserIntrException when the sub-phase's first report cancels; the half-opened
  ///         sub-phase is closed again before the exception leaves.
  CPrgCntSubPhase(CProgressCounter* pc, int a, int b, int kind, bool visible = true);
  /// Opens a sub-phase of `pc`: with a non-zero kind on a visible counter the fractions
  /// [a, a + b]; otherwise (kind `PhaseInt`, or a hidden counter) the percentages a and b
  /// truncated toward zero, times 0.01. Inert only when `pc` is null.
  /// @throws CUserIntrException as the integer form.
  CPrgCntSubPhase(CProgressCounter* pc, double a, double b, int kind, bool visible = true);
  CPrgCntSubPhase(const CPrgCntSubPhase&) = default;
  CPrgCntSubPhase& operator=(const CPrgCntSubPhase&) = default;
  /// Closes the sub-phase (and all opened inside it) without moving the position, when it
  /// is still held; never throws.
  virtual ~CPrgCntSubPhase();

  /// Closes the sub-phase and all opened inside it, reporting its end; then inert.
  /// @throws CUserIntrException when that report cancels.
  void Finish();

 protected:
  /// As `Finish`, reporting the end only with `setPos`.
  void FinishInternal(bool setPos);

 private:
  // Opens the sub-phase; on cancellation of its first report closes it again.
  void Open(CProgressCounter* pc, double a, double b, bool visible);

  CProgressCounter* m_pc;
  int m_depth;
};

/// Scope object that counts items of a known total and reports current/total as the
/// fraction of the counter's current phase.
/// Ownership: holds the counter without owning it. Makes no report of its own on
/// construction or `refresh`.
class QVMATH_API CPrgCntIntegerScope {
 public:
  /// No counter, total 0, current 0.
  CPrgCntIntegerScope();
  /// Counts up to `total` (negative totals count as 0) on `pc` (null: no reporting).
  CPrgCntIntegerScope(CProgressCounter* pc, int total);
  virtual ~CPrgCntIntegerScope();

  /// Restarts with another counter and total; current becomes 0. No report.
  void refresh(CProgressCounter* pc, int total);
  /// Restarts with another total; current becomes 0. No report.
  void refresh(int total);
  /// Restarts the count at 0. No report.
  void refresh();

  /// Counts one item (never beyond total) and reports `SetPosFloat(current / total)`, or
  /// `SetPosFloat(1.0)` when total is 0.
  /// @throws CUserIntrException when the report cancels.
  void increment();

  /// @return the number of items counted since the last refresh.
  int GetCurrent() const { return m_current; }
  /// @return the total (never negative).
  int GetTotal() const { return m_total; }

 private:
  CProgressCounter* m_pc;
  int m_total;
  int m_current;
};
