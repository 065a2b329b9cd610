// SPDX-License-Identifier: MIT
// Robust regression: fits despite 30% gross outliers; scale and weight rules; statuses.

#include <qvmath/analysis/robust_regression_solver.h>

#include <Eigen/Dense>
#include <cmath>

#include "test_util.h"

namespace {

using Solver = CRobustRegressionSolver;

// y ≈ Σⱼ θⱼ·xⱼ over rows of regressors X, solved by weighted normal equations (LDLT).
class LinearTask : public IRegressionAnalysisTask {
 public:
  LinearTask(Eigen::MatrixXd X, Eigen::VectorXd y) : m_X(std::move(X)), m_y(std::move(y)) {}
  int GetObservationCount() const override { return int(m_y.size()); }
  bool SolveWeightedLeastSquares(const double* w) override {
    const Eigen::Map<const Eigen::VectorXd> W(w, m_y.size());
    const Eigen::MatrixXd A = m_X.transpose() * W.asDiagonal() * m_X;
    Eigen::LDLT<Eigen::MatrixXd> ldlt(A);
    if (ldlt.info() != Eigen::Success || ldlt.rcond() < 1e-12) return false;
    theta = ldlt.solve(m_X.transpose() * W.asDiagonal() * m_y);
    return true;
  }
  void GetResiduals(double* r) const override {
    Eigen::Map<Eigen::VectorXd>(r, m_y.size()) = m_X * theta - m_y;
  }
  Eigen::VectorXd theta;

 private:
  Eigen::MatrixXd m_X;
  Eigen::VectorXd m_y;
};

TEST(RobustRegression, Properties_RecoversLineAndPlaneDespiteGrossOutliers) {
  qvtest::TestRng rng(5150);
  SCOPED_TRACE(rng.Trace());
  for (const Eigen::VectorXd& truth : {Eigen::VectorXd(Eigen::Vector2d(2.0, -1.0)),
                                       Eigen::VectorXd(Eigen::Vector3d(0.5, -3.0, 7.0))}) {
    const int n = 300, dims = int(truth.size());
    Eigen::MatrixXd X(n, dims);
    Eigen::VectorXd y(n);
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j + 1 < dims; ++j) X(i, j) = rng.Uniform(-10, 10);
      X(i, dims - 1) = 1;
      y(i) = X.row(i).dot(truth) + rng.Uniform(-0.01, 0.01);
      if (i % 10 < 3) y(i) += rng.Uniform(200, 1000) * (i % 20 < 10 ? 1 : -1);  // 30% gross
    }
    LinearTask task(X, y);
    Solver solver(task);
    ASSERT_EQ(solver.solveRegression(), Solver::kConverged);
    EXPECT_LT((task.theta - truth).norm(), 5e-3) << truth.transpose();
    // The scale floor (the first, contaminated estimate) is still far below the outliers.
    for (int i = 0; i < n; ++i) {
      EXPECT_EQ(solver.suppWeights()[std::size_t(i)] == 0, i % 10 < 3) << i;
    }
    EXPECT_EQ(solver.GetSupportedCount(), 210);
  }
}

// Reports a scripted list of residuals per round (the last one repeats).
class ScriptedTask : public IRegressionAnalysisTask {
 public:
  explicit ScriptedTask(std::vector<std::vector<double>> rounds) : m_rounds(std::move(rounds)) {}
  int GetObservationCount() const override { return int(m_rounds[0].size()); }
  bool SolveWeightedLeastSquares(const double*) override {
    ++m_solves;
    return m_solves <= m_failAfter;
  }
  void GetResiduals(double* r) const override {
    const auto& v = m_rounds[std::min(std::size_t(m_solves), m_rounds.size()) - 1];
    std::copy(v.begin(), v.end(), r);
  }
  int m_failAfter = 1 << 30;

 private:
  std::vector<std::vector<double>> m_rounds;
  int m_solves = 0;
};

TEST(RobustRegression, Regions_ScaleMedianFloorAndWeights) {
  const double s = 1.4826;
  const auto W = [](double r, double scale) {
    return 1 / std::pow(1 + (r / scale) * (r / scale), 2);
  };
  const double w3 = W(1, s);
  struct Case {
    std::vector<std::vector<double>> rounds;
    int status;
    double scale;
    std::vector<double> weights;
  } cases[] = {
      // Residuals 10 ≥ 2s are dropped; signs do not matter.
      {{{1, -1, 1, 10}}, Solver::kConverged, s, {w3, w3, w3, 0}},
      // Even count: the upper middle value 3, not 2.5; exactly 2s is rejected.
      {{{3, 1, 2, 2 * 3 * s}},
       Solver::kConverged,
       3 * s,
       {W(3, 3 * s), W(1, 3 * s), W(2, 3 * s), 0}},
      // The scale keeps its first estimate as a floor.
      {{{2, 2, 2, 2}, {1, 1, 1, 1}}, Solver::kConverged, 2 * s, {}},
      // More than half exact: zero scale, every weight 0.
      {{{0, 0, 0, 5}}, Solver::kZeroScale, 0, {0, 0, 0, 0}},
      {{{1, NAN, 1}}, Solver::kBadResidual, 0, {}},
  };
  for (const Case& c : cases) {
    ScriptedTask task(c.rounds);
    Solver solver(task);
    EXPECT_EQ(solver.solveRegression(), c.status);
    EXPECT_NEAR(solver.GetScale(), c.scale, 1e-15);
    for (std::size_t i = 0; i < c.weights.size(); ++i) {
      EXPECT_NEAR(solver.suppWeights()[i], c.weights[i], 1e-15) << i;
    }
  }
  ScriptedTask failing({{1, 2, 3}});
  failing.m_failAfter = 0;
  EXPECT_EQ(Solver(failing).solveRegression(), Solver::kSolveFailed);
}

}  // namespace
