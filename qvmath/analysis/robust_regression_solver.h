// SPDX-License-Identifier: MIT
// CRobustRegressionSolver: iteratively reweighted least squares with a median-based scale
// and support weights that drop gross outliers.
#pragma once

#include <qvmath/analysis/regression_analysis_task.h>
#include <qvmath/platform/export.h>

#include <vector>

/// Robust fit of a caller's regression task by iterative reweighting. Each round solves the
/// task with the current support weights, takes the absolute residuals rᵢ, updates the
/// scale s and recomputes the weights:
/// - scale: σ = 1.4826 · median(r) (the normal-consistent median absolute deviation; the
///   median is the element of rank ⌊n/2⌋ of the sorted residuals, found by quickselect, so
///   for an even n it is the upper middle value, not an average). The first σ of a run
///   becomes the floor s₀ and s = max(σ, s₀): the scale never falls below its first
///   estimate, so the weights cannot collapse onto a few points.
/// - weights: wᵢ = 1/(1 + (rᵢ/s)²)² when rᵢ < 2s, else exactly 0 (a residual of exactly
///   2s is rejected). With s = 0 every weight is 0.
/// Ownership: the solver keeps a reference to the task, which must outlive it.
/// Thread safety: one solver and its task belong to one thread at a time.
class QVMATH_API CRobustRegressionSolver {
 public:
  /// Status codes of `solveRegression`.
  static constexpr int kConverged = 0;        ///< weights and scale settled
  static constexpr int kRoundLimit = 1;       ///< kMaxRounds rounds ran without settling
  static constexpr int kZeroScale = 2;        ///< median residual 0: at least half the
                                              ///< observations fit exactly; all weights 0
  static constexpr int kNoObservations = -1;  ///< the task has no observations
  static constexpr int kSolveFailed = -2;     ///< the task's weighted solve returned false
  static constexpr int kBadResidual = -3;     ///< the task reported a non-finite residual

  /// The largest number of solve rounds of one run.
  static constexpr int kMaxRounds = 100;
  /// A run has settled when no weight changed by more than this and the scale changed by
  /// at most this fraction of itself between two consecutive rounds.
  static constexpr double kTolerance = 1e-9;

  /// A solver over `task` (not copied, not owned).
  explicit CRobustRegressionSolver(IRegressionAnalysisTask& task);
  CRobustRegressionSolver(const CRobustRegressionSolver&) = delete;
  CRobustRegressionSolver& operator=(const CRobustRegressionSolver&) = delete;
  ~CRobustRegressionSolver();

  /// Runs the reweighting loop from unit weights and a fresh scale floor: solve with the
  /// weights, residuals, scale, weights; repeated until the weights and scale settle
  /// (kTolerance) or kMaxRounds rounds have run.
  /// @return kConverged, kRoundLimit or kZeroScale with the task holding the solution of
  ///         the last solve and `suppWeights` the weights computed from its residuals;
  ///         kNoObservations, kSolveFailed or kBadResidual on failure (the task then
  ///         holds whatever its last solve left).
  int solveRegression();

  /// The support weights of the last round, one per observation (empty before a run).
  const std::vector<double>& suppWeights() const { return m_weights; }
  /// The scale s of the last round (0 before a run).
  double GetScale() const { return m_scale; }
  /// The number of nonzero support weights of the last round.
  int GetSupportedCount() const { return m_nSupported; }

 private:
  void updateVariance();
  void calculateSuppWeights();

  IRegressionAnalysisTask& m_task;
  double m_scale = 0;
  double m_scaleFloor = 0;  // <= 0 until the first scale of a run sets it
  std::vector<double> m_residuals;
  std::vector<double> m_work;
  std::vector<double> m_weights;
  int m_nSupported = 0;
};
