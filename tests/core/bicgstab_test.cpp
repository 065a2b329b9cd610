// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/core/bicgstab.h>

#include <Eigen/Dense>
#include <cmath>
#include <stdexcept>
#include <vector>

#include "test_util.h"

using REmath::bicgstab;

namespace {

// A dense operator behind the callback, counting its calls.
struct DenseOp {
  Eigen::MatrixXd A;
  int calls = 0;
  int throwAfter = -1;  // throw on this call (0-based); −1 never
};

void DenseMatvec(void* ctx, const double* in, double* out) {
  auto* op = static_cast<DenseOp*>(ctx);
  if (op->calls++ == op->throwAfter) throw std::runtime_error("operator failed");
  const Eigen::Index n = op->A.rows();
  Eigen::Map<Eigen::VectorXd>(out, n) = op->A * Eigen::Map<const Eigen::VectorXd>(in, n);
}

void IdentityMatvec(void*, const double* in, double* out) {
  for (int i = 0; i < 4; ++i) out[i] = in[i];
}

// Nonsymmetric, strictly diagonally dominant: BiCGSTAB converges and the system is well
// conditioned, so the dense solution is a sharp oracle.
Eigen::MatrixXd DominantMatrix(qvtest::TestRng& rng, int n) {
  Eigen::MatrixXd A(n, n);
  for (int i = 0; i < n; ++i)
    for (int j = 0; j < n; ++j) A(i, j) = rng.Uniform(-1.0, 1.0);
  for (int i = 0; i < n; ++i) A(i, i) += (rng.Uniform(0, 1) < 0.5 ? -1.0 : 1.0) * (n + 2.0);
  return A;
}

}  // namespace

TEST(BicgstabTest, Properties_MatchesDenseSolveOnDominantSystems) {
  qvtest::TestRng rng(1234567);
  SCOPED_TRACE(rng.Trace());
  for (int n : {1, 2, 5, 40, 150}) {
    DenseOp op{DominantMatrix(rng, n)};
    Eigen::VectorXd b(n), x(n);
    for (int i = 0; i < n; ++i) b[i] = rng.Uniform(-3, 3), x[i] = rng.Uniform(-1, 1);
    const double tol = 1e-12;
    const int k = bicgstab(n, DenseMatvec, &op, b.data(), x.data(), tol);
    ASSERT_GE(k, 1) << "n = " << n;
    EXPECT_EQ(op.calls, 2 * k + 1);  // one for the first residual, two per iteration
    const Eigen::VectorXd ref = op.A.partialPivLu().solve(b);
    // The loop stops on the recursive residual ‖r‖ <= tol·‖b‖; the true residual agrees
    // up to rounding, and ‖x − x*‖ <= ‖A⁻¹‖·‖r‖ with ‖A⁻¹‖ <= 1 for this dominance.
    EXPECT_LE((op.A * x - b).norm(), 10 * tol * b.norm()) << "n = " << n;
    EXPECT_LE((x - ref).norm(), 10 * tol * b.norm()) << "n = " << n;
  }
}

// The identity operator, case by case: from x = 0, α = 1 gives x = b and w = 0, ω is
// forced to 0, and the loop ends on the zero residual before the non-finite β is used (1
// iteration, also with tol = 0). A starting guess that solves the system, or b = x = 0,
// has r̂·r̂ < 1e-40: a breakdown (−1), not 0 iterations. A guess within tol: 0 iterations.
TEST(BicgstabTest, Quirks_IdentityAndExactGuess) {
  const struct {
    double b[4], x0[4], tol;
    int result;
  } cases[] = {{{1, -2, 0.25, 3}, {0, 0, 0, 0}, 1e-8, 1},
               {{1, -2, 0.25, 3}, {0, 0, 0, 0}, 0.0, 1},
               {{1, -2, 0.25, 3}, {1, -2, 0.25, 3}, 1e-8, -1},
               {{0, 0, 0, 0}, {0, 0, 0, 0}, 1e-8, -1},
               {{1, -2, 0.25, 3}, {1, -2, 0.25, 3 + 1e-9}, 1e-6, 0}};
  for (const auto& c : cases) {
    double x[4] = {c.x0[0], c.x0[1], c.x0[2], c.x0[3]};
    EXPECT_EQ(bicgstab(4, IdentityMatvec, nullptr, c.b, x, c.tol), c.result) << c.tol;
    for (int i = 0; i < 4; ++i) EXPECT_EQ(x[i], c.result == 1 ? c.b[i] : c.x0[i]);
  }
  EXPECT_EQ(bicgstab(0, IdentityMatvec, nullptr, nullptr, nullptr, 1e-8), 0);
}

TEST(BicgstabTest, Degenerate_BreakdownCases) {
  // 90° rotation: r̂·A·r̂ = 0 in the first iteration → −1, x keeps the starting guess.
  DenseOp rot{Eigen::MatrixXd(2, 2)};
  rot.A << 0, -1, 1, 0;
  const double b2[2] = {1.0, 0.0};
  double x2[2] = {0.0, 0.0};
  EXPECT_EQ(bicgstab(2, DenseMatvec, &rot, b2, x2, 1e-10), -1);
  EXPECT_TRUE(x2[0] == 0.0 && x2[1] == 0.0);

  // A = e₁e₁ᵀ + K (K skew) with b = (1, 1, 0), x = 0 (all exact in binary): α = 2 and the
  // working residual s = (0, 0, −2) satisfies s·A·s = 0, so ω is forced to 0 while the
  // residual is not zero. The next β = 0·((2/0)/2) is NaN; instead of iterating on with
  // NaNs the routine reports a breakdown, x holding that iteration's iterate x − α·p.
  DenseOp skew{Eigen::MatrixXd(3, 3)};
  skew.A << 1, -0.5, 0, 0.5, 0, 1, 0, -1, 0;
  const double b3[3] = {1.0, 1.0, 0.0};
  double x3[3] = {0.0, 0.0, 0.0};
  EXPECT_EQ(bicgstab(3, DenseMatvec, &skew, b3, x3, 1e-10), -1);
  EXPECT_TRUE(skew.calls == 3 && x3[0] == 2.0 && x3[1] == 2.0 && x3[2] == 0.0);
}

TEST(BicgstabTest, Degenerate_ThrowingOperatorLeavesGuessAlone) {
  // The exception passes through; the work vectors are freed (the sanitizer build checks
  // for leaks) and x is not written.
  qvtest::TestRng rng(3);
  DenseOp op{DominantMatrix(rng, 10)};
  op.throwAfter = 4;
  std::vector<double> b(10, 1.0), x(10, 0.5);
  EXPECT_THROW(bicgstab(10, DenseMatvec, &op, b.data(), x.data(), 1e-14), std::runtime_error);
  for (double v : x) EXPECT_EQ(v, 0.5);
}
