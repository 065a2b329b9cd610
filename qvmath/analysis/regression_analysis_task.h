// SPDX-License-Identifier: MIT
// IRegressionAnalysisTask: the model a robust regression fits, supplied by the caller.
#pragma once

#include <qvmath/platform/export.h>

/// A regression problem for `CRobustRegressionSolver`: a fixed set of observations, a
/// weighted least-squares solve, and the residual of every observation at the current
/// solution. The task holds the unknowns; the solver only passes weights and reads
/// residuals. Virtual slots, in order: the destructor, `GetObservationCount`,
/// `SolveWeightedLeastSquares`, `GetResiduals`.
class QVMATH_API IRegressionAnalysisTask {
 public:
  virtual ~IRegressionAnalysisTask();
  /// The number of observations n; constant while a solver runs.
  virtual int GetObservationCount() const = 0;
  /// Solves min Σᵢ weights[i]·rᵢ(θ)² for the unknowns θ and keeps θ as the current
  /// solution. weights has n entries in [0, 1]; a zero weight leaves observation i out.
  /// @return false when the weighted problem has no unique solution (too few observations
  ///         with nonzero weight, a singular system); the solver then stops.
  virtual bool SolveWeightedLeastSquares(const double* weights) = 0;
  /// Writes the residual rᵢ of every observation at the current solution into
  /// residuals[0..n) (any sign; the solver uses |rᵢ|).
  virtual void GetResiduals(double* residuals) const = 0;
};
