// SPDX-License-Identifier: MIT
// Settings of the min-max optimizer: gain tolerance, iteration and line-search limits, the
// step shrink factor and the relative difference step of its gradients.
#pragma once

#include <qvmath/platform/export.h>

namespace REmath {

/// Settings of `CMinMaxOptimizer`. The defaults (set by the constructor and again by
/// `SetDefault`) make the optimizer a cheap local refinement: at most 4 iterations of at
/// most 3 step trials each. Values are taken as given, unchecked; see `CMinMaxOptimizer`
/// for how each one is used.
class QVMATH_API CMinMaxParams {
 public:
  /// Parameters with the defaults listed at `SetDefault`.
  CMinMaxParams();

  /// Restores the defaults: Tolerance 1e-5, MaxIter 4, MaxGradientMoveAttempts 3,
  /// GradientScale 0.5, GradCalcRelDelta 1e-5.
  void SetDefault();

  /// Smallest gain of F = minᵢ fᵢ that counts as progress.
  double GetTolerance() const { return m_tolerance; }
  /// Sets the value `GetTolerance` returns.
  void SetTolerance(double tolerance) { m_tolerance = tolerance; }
  /// Largest number of outer iterations (gradient moves); below 1 Run only evaluates F.
  int GetMaxIter() const { return m_maxIter; }
  /// Sets the value `GetMaxIter` returns.
  void SetMaxIter(int maxIter) { m_maxIter = maxIter; }
  /// Step trials per iteration before the iteration gives up.
  int GetMaxGradientMoveAttempts() const { return m_maxGradientMoveAttempts; }
  /// Sets the value `GetMaxGradientMoveAttempts` returns.
  void SetMaxGradientMoveAttempts(int attempts) { m_maxGradientMoveAttempts = attempts; }
  /// Factor by which a rejected step is shrunk.
  double GetGradientScale() const { return m_gradientScale; }
  /// Sets the value `GetGradientScale` returns.
  void SetGradientScale(double scale) { m_gradientScale = scale; }
  /// Relative difference step of the forward-difference gradients (relative to the squared
  /// box diagonal, see `CMinMaxOptimizer`).
  double GetGradCalcRelDelta() const { return m_gradCalcRelDelta; }
  /// Sets the value `GetGradCalcRelDelta` returns.
  void SetGradCalcRelDelta(double relDelta) { m_gradCalcRelDelta = relDelta; }

 private:
  double m_tolerance;
  int m_maxIter;
  int m_maxGradientMoveAttempts;
  double m_gradientScale;
  double m_gradCalcRelDelta;
};

}  // namespace REmath
