// SPDX-License-Identifier: MIT
// KvPCnt::CMultiPhaseManager: divides a progress counter's current range among named phases
// in proportion to their weights; CMultiPhaseManagerSingleSubPhase runs one phase in a scope.
#pragma once

#include <qvmath/platform/export.h>

#include <memory>
#include <string>

class CProgressCounter;

namespace KvPCnt {

class CMultiPhaseManagerSingleSubPhase;

/// Divides the current phase of a progress counter among named phases of unequal cost.
///
/// Register every phase first with its weight; phase k then covers the fractions
/// [start_k, start_k + length_k] of the counter's current phase, length_k = weight_k / (sum
/// of positive weights), laid out in registration order. A phase registered with a weight
/// <= 0 gets no share: starting it runs no sub-phase. `StartPhase(name)` opens the phase
/// as a sub-phase of the counter (closing a running one without reporting);
/// `FinishPhase` reports the end of whichever phase runs.
///
/// Registering a name again appends a new phase that takes the name; the earlier phase keeps
/// its share but can no longer be started.
///
/// Ownership: the counter stays the caller's and must outlive the manager; the manager owns
/// its phase table and the running sub-phase. Not copyable.
/// Thread safety: no lock of its own; use one manager from one thread.
class QVMATH_API CMultiPhaseManager {
 public:
  /// A manager over `counter`; null disables everything (starting and finishing phases
  /// then do nothing).
  explicit CMultiPhaseManager(CProgressCounter* counter);
  CMultiPhaseManager(const CMultiPhaseManager&) = delete;
  CMultiPhaseManager& operator=(const CMultiPhaseManager&) = delete;
  /// Closes a running phase without reporting its end (a destructor must not throw, and a
  /// cancellation swallowed here would be lost), then frees the phase table.
  virtual ~CMultiPhaseManager();

  /// Appends the phase `name` with `weight` (<= 0: a phase without a share of progress),
  /// maps the name to it and recomputes the layout of all phases.
  void RegisterPhase(const std::string& name, double weight);
  /// @return the number of registered phases (re-registered names count again).
  int GetRegisteredPhaseNumber() const;

  /// Closes the running phase without reporting, then opens phase `name` as a sub-phase of
  /// the counter (fractions, visible). An unknown name or a phase without a share leaves no
  /// phase running. Nothing without a counter.
  /// @throws CUserIntrException when the phase's first report cancels (no phase runs then).
  void StartPhase(const std::string& name);
  /// Finishes the running phase, reporting its end, whatever its name: `name` is not looked
  /// at (kept so: callers name the phase they believe runs). Nothing when none runs.
  /// @throws CUserIntrException when the report cancels (the phase is closed all the same).
  void FinishPhase(const std::string& name);
  /// Finishes the running phase as `FinishPhase`.
  /// @throws CUserIntrException as `FinishPhase`.
  void FinishLastPhase();

 private:
  friend class CMultiPhaseManagerSingleSubPhase;
  class Impl;
  std::unique_ptr<Impl> m_impl;
};

/// Scope object that starts a named phase of a `CMultiPhaseManager` and finishes it once:
/// by `release()`, or else in its destructor.
///
/// The destructor never throws: when an exception is passing it closes the phase without
/// reporting; otherwise it finishes it with a report, and a cancellation requested by that
/// last report is not rethrown (the counter keeps its stop flag). Call `release()` to
/// receive such a cancellation.
class QVMATH_API CMultiPhaseManagerSingleSubPhase {
 public:
  /// Starts phase `name` of `manager` (null: inert).
  /// @throws CUserIntrException as `CMultiPhaseManager::StartPhase`.
  CMultiPhaseManagerSingleSubPhase(CMultiPhaseManager* manager, const std::string& name);
  CMultiPhaseManagerSingleSubPhase(const CMultiPhaseManagerSingleSubPhase&) = delete;
  CMultiPhaseManagerSingleSubPhase& operator=(const CMultiPhaseManagerSingleSubPhase&) = delete;
  ~CMultiPhaseManagerSingleSubPhase();

  /// Finishes the phase (reporting its end) the first time; later calls do nothing.
  /// @throws CUserIntrException as `CMultiPhaseManager::FinishPhase`.
  void release();

 private:
  CMultiPhaseManager* m_manager;
  std::string m_name;
  bool m_released;
  int m_uncaught;
};

}  // namespace KvPCnt
