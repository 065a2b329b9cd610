// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/core/gauss_jordan.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "core/dense_solver_test_util.h"
#include "test_util.h"

using qvtest::Eps;
using qvtest::RowMat;
using qvtest::TestRng;
using REmath::gaussj;

TEST(GaussJordanTest, Properties_InverseAndSolutionsOfRandomSystems) {
  // Diagonally dominant matrices are well conditioned: the backward-stable elimination
  // leaves residuals of a few n·ε·‖A‖·‖X‖; k = 8.
  TestRng rng(5150);
  SCOPED_TRACE(rng.Trace());
  for (int n : {1, 2, 3, 7, 16, 50}) {
    for (int m : {0, 1, 3, 50}) {
      const RowMat<double> a0 = qvtest::RandomGeneral(rng, n, n, 0.5 * n + 1.0);
      const RowMat<double> b0 = qvtest::RandomGeneral(rng, n, m);
      RowMat<double> a = a0, b = b0;
      ASSERT_EQ(gaussj(a.rows(), n, b.rows(), m), 1) << "n = " << n << ", m = " << m;
      const Eigen::MatrixXd A = a0.Double(), Ainv = a.Double(), X = b.Double();
      const double tol = 8 * n * Eps<double>() * A.norm() * Ainv.norm();
      EXPECT_LE((A * Ainv - Eigen::MatrixXd::Identity(n, n)).norm(), tol) << "n = " << n;
      EXPECT_LE((A * X - b0.Double()).norm(), tol * (1 + X.norm())) << "n = " << n;
    }
  }
}

TEST(GaussJordanTest, Properties_PivotingOnPermutedMatrixIsExact) {
  // A scaled permutation matrix forces every pivot off the diagonal, so the row swaps and
  // the final column unscrambling are all exercised; with power-of-two entries every
  // operation is exact and the inverse D⁻¹·Pᵀ comes back bit for bit.
  const int n = 6;
  const int perm[n] = {3, 0, 5, 1, 4, 2};
  const double scale[n] = {2.0, -0.5, 4.0, 8.0, -1.0, 0.25};
  RowMat<double> a(n), b(n, 1);
  for (int i = 0; i < n; ++i) {
    a(i, perm[i]) = scale[i];
    b(i, 0) = double(i + 1);
  }
  ASSERT_EQ(gaussj(a.rows(), n, b.rows(), 1), 1);
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j) EXPECT_EQ(a(perm[i], j), j == i ? 1.0 / scale[i] : 0.0);
    EXPECT_EQ(b(perm[i], 0), double(i + 1) / scale[i]);
  }
}

TEST(GaussJordanTest, Quirks_LaterElementWinsTiesAndStateAfterZeroPivot) {
  // [[2, 2], [1, 1]] is singular. The tie between a(0,0) and a(0,1) goes to the later one,
  // so the first pivot is (0, 1): rows 0 and 1 swap, row 1 becomes [1, 0.5], row 0 is
  // eliminated to [0, −0.5]; the second pass meets the exact zero a(0, 0) and returns −1.
  // (Taking the first of equal elements would leave [[0.5, 1], [−0.5, 0]] instead.)
  RowMat<double> a(2), b(2, 1);
  a(0, 0) = a(0, 1) = 2.0;
  a(1, 0) = a(1, 1) = 1.0;
  b(0, 0) = 1.0;
  EXPECT_EQ(gaussj(a.rows(), 2, b.rows(), 1), -1);
  EXPECT_EQ(a.data(), (std::vector<double>{0.0, -0.5, 1.0, 0.5}));
  EXPECT_EQ(b.data(), (std::vector<double>{-0.5, 0.5}));  // swapped, scaled, eliminated alike
}

TEST(GaussJordanTest, Degenerate_SizeLimitAndAllNaN) {
  for (int n : {51, 50}) {
    const int m = n == 51 ? 1 : 51;
    RowMat<double> a(n), b(n, m);
    for (int i = 0; i < n; ++i) a(i, i) = 3.0;
    const std::vector<double> a0 = a.data(), b0 = b.data();
    EXPECT_EQ(gaussj(a.rows(), n, b.rows(), m), -1) << "n = " << n << ", m = " << m;
    EXPECT_TRUE(a.data() == a0 && b.data() == b0);
  }
  EXPECT_EQ(gaussj(nullptr, -1, nullptr, 0), -1);
  EXPECT_EQ(gaussj(nullptr, 0, nullptr, 0), 1);  // the empty system is solved
  // Every candidate NaN: no pivot can be chosen, reported as a pivot used twice.
  RowMat<double> a(2), b(2, 1);
  for (int i = 0; i < 2; ++i)
    for (int j = 0; j < 2; ++j) a(i, j) = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(gaussj(a.rows(), 2, b.rows(), 1), 0);
}

// Infinite input used to report success; a and b sharing rows used to be eliminated into
// each other.
TEST(GaussJordanTest, Regression_NonFiniteAndAliasedInputRefused) {
  const double inf = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  struct Case {
    double a00, b0;
    int expected;
    bool untouched;
  } cases[] = {{inf, 1, 0, true}, {nan, 1, 0, true}, {2, -inf, 0, true}, {1e-310, 1e10, 0, false}};
  for (const Case& c : cases) {
    RowMat<double> a(2), b(2, 1);
    a(0, 0) = c.a00, a(1, 1) = 1, b(0, 0) = c.b0, b(1, 0) = 1;
    const RowMat<double> a0(a), b0(b);
    EXPECT_EQ(gaussj(a.rows(), 2, b.rows(), 1), c.expected) << c.a00 << " " << c.b0;
    EXPECT_TRUE(!c.untouched ||
                (std::memcmp(a.data().data(), a0.data().data(), 4 * sizeof(double)) == 0 &&
                 std::memcmp(b.data().data(), b0.data().data(), 2 * sizeof(double)) == 0));
  }
  RowMat<double> a(2);
  a(0, 0) = 2, a(1, 1) = 4;
  const RowMat<double> a0(a);
  EXPECT_TRUE(gaussj(a.rows(), 2, a.rows(), 2) == -1 && a.data() == a0.data());
  RowMat<double> b(2);
  double* shared[2] = {b.rows()[0], a.rows()[1]};
  EXPECT_EQ(gaussj(a.rows(), 2, shared, 2), -1);
}
