// SPDX-License-Identifier: MIT
// The reweighting loop, the quickselect median, the scale with its floor and the weights.
#include <qvmath/analysis/robust_regression_solver.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

IRegressionAnalysisTask::~IRegressionAnalysisTask() = default;

namespace {

// The element of rank k of a[0..n) in sorted order, by Hoare's selection (a is reordered).
// The values are finite, so the comparisons form a strict weak order, and the pivot is a
// value of the current range, which stops both inner scans inside it.
double SelectRank(double* a, std::ptrdiff_t n, std::ptrdiff_t k) {
  std::ptrdiff_t lo = 0, hi = n - 1;
  while (lo < hi) {
    // Median of three as the pivot: sorted and reverse-sorted residuals stay linear.
    const double x = a[lo], y = a[lo + (hi - lo) / 2], z = a[hi];
    const double p = std::max(std::min(x, y), std::min(std::max(x, y), z));
    std::ptrdiff_t i = lo, j = hi;
    while (i <= j) {
      while (a[i] < p) ++i;
      while (a[j] > p) --j;
      if (i <= j) std::swap(a[i++], a[j--]);
    }
    // Now a[lo..j] <= p <= a[i..hi], and every element strictly between equals p.
    if (k <= j) {
      hi = j;
    } else if (k >= i) {
      lo = i;
    } else {
      break;
    }
  }
  return a[k];
}

}  // namespace

CRobustRegressionSolver::CRobustRegressionSolver(IRegressionAnalysisTask& task) : m_task(task) {}

CRobustRegressionSolver::~CRobustRegressionSolver() = default;

void CRobustRegressionSolver::updateVariance() {
  m_work = m_residuals;
  const double median =
      SelectRank(m_work.data(), std::ptrdiff_t(m_work.size()), std::ptrdiff_t(m_work.size() / 2));
  const double sigma = median * 1.4826;
  if (m_scaleFloor <= 0) m_scaleFloor = sigma;
  m_scale = sigma >= m_scaleFloor ? sigma : m_scaleFloor;
}

void CRobustRegressionSolver::calculateSuppWeights() {
  m_nSupported = 0;
  for (std::size_t i = 0; i < m_residuals.size(); ++i) {
    const double r = m_residuals[i];
    if (r < 2 * m_scale) {
      const double t = r / m_scale;
      const double b = 1 + t * t;
      m_weights[i] = 1 / (b * b);
      ++m_nSupported;
    } else {
      m_weights[i] = 0;
    }
  }
}

int CRobustRegressionSolver::solveRegression() {
  const int n = m_task.GetObservationCount();
  m_scale = 0;
  m_scaleFloor = 0;
  m_nSupported = 0;
  if (n <= 0) {
    m_residuals.clear();
    m_weights.clear();
    return kNoObservations;
  }
  m_residuals.assign(std::size_t(n), 0.0);
  m_work.reserve(std::size_t(n));
  m_weights.assign(std::size_t(n), 1.0);
  m_nSupported = n;
  std::vector<double> previous(static_cast<std::size_t>(n));
  for (int round = 0; round < kMaxRounds; ++round) {
    if (!m_task.SolveWeightedLeastSquares(m_weights.data())) return kSolveFailed;
    m_task.GetResiduals(m_residuals.data());
    for (double& r : m_residuals) {
      r = std::fabs(r);
      if (!std::isfinite(r)) return kBadResidual;
    }
    const double previousScale = m_scale;
    previous = m_weights;
    updateVariance();
    calculateSuppWeights();
    if (m_scale == 0) return kZeroScale;
    double change = 0;
    for (std::size_t i = 0; i < previous.size(); ++i) {
      change = std::max(change, std::fabs(m_weights[i] - previous[i]));
    }
    if (change <= kTolerance && std::fabs(m_scale - previousScale) <= kTolerance * m_scale) {
      return kConverged;
    }
  }
  return kRoundLimit;
}
