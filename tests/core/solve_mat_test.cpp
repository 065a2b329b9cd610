// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/core/solve_mat.h>

#include <Eigen/Dense>
#include <cmath>
#include <limits>

#include "test_util.h"

using qvtest::Eps;
using REmath::Matrix;

namespace {

// Entries in [-1, 1] plus diag on the diagonal. With diag = n/2 + 1 the matrix is
// diagonally dominant: cond(A) is small, so a backward-stable LU gives
// ‖A·X − B‖ <= c·n·ε·‖A‖·‖X‖ with a modest c.
template <class T>
Matrix<T> Random(qvtest::TestRng& rng, int rows, int cols, double diag = 0.0) {
  Matrix<T> A(rows, cols);
  for (int j = 0; j < cols; ++j)
    for (int i = 0; i < rows; ++i) A(i, j) = T(rng.Uniform(-1, 1) + (i == j ? diag : 0.0));
  return A;
}

// The matrix in double, column-major as stored, for residual checks.
template <class T>
Eigen::MatrixXd Double(const Matrix<T>& m) {
  return Eigen::Map<const Eigen::Matrix<T, Eigen::Dynamic, Eigen::Dynamic>>(m.memory(), m.rows(),
                                                                            m.cols())
      .template cast<double>();
}

}  // namespace

template <class T>
class SolveMatTest : public ::testing::Test {};
using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(SolveMatTest, RealTypes);

TYPED_TEST(SolveMatTest, Properties_ResidualOfRandomWellConditionedSystems) {
  using T = TypeParam;
  qvtest::TestRng rng(2718);
  SCOPED_TRACE(rng.Trace());
  for (int n : {1, 2, 9, 64, 130}) {
    for (int nrhs : {1, 3}) {
      const Matrix<T> A0 = Random<T>(rng, n, n, 0.5 * n + 1);
      const Matrix<T> B = Random<T>(rng, n, nrhs);
      Matrix<T> A(A0), X;
      ASSERT_TRUE(REmath::solveMat(A, B, X) && X.rows() == n && X.cols() == nrhs) << n;
      // k = 8: LU growth is tiny for dominant matrices.
      EXPECT_LE((Double(A0) * Double(X) - Double(B)).norm(),
                8 * n * Eps<T>() * Double(A0).norm() * Double(X).norm())
          << "n = " << n << ", nrhs = " << nrhs;
      // The multipliers of L replace the sub-diagonal (a 1 × 1 A is its own factor).
      EXPECT_TRUE(n == 1 || !(A == A0)) << "A is overwritten by its LU factors";
    }
  }
}

TYPED_TEST(SolveMatTest, Degenerate_SingularAndMisshapenInputs) {
  using T = TypeParam;
  // Singular: dgetrf reports a zero pivot; false, X holds B.
  Matrix<T> A(3, 3), B(3, 2), X;
  for (int i = 0; i < 3; ++i) A(i, 0) = A(i, 1) = T(i + 1);  // equal columns
  A(0, 2) = T(1);
  B.reset(T(2));
  EXPECT_TRUE(!REmath::solveMat(A, B, X) && X == B);
  // Not square, or B of the wrong height: the dimension fault, X untouched.
  Matrix<T> wide(2, 3), tall(3, 1), R(2, 1), Y(1, 1);
  Y(0, 0) = T(42);
  EXPECT_THROWS_TEXT(REmath::solveMat(wide, R, Y), "MatrixSolveDimError");
  Matrix<T> sq(2, 2);
  EXPECT_THROWS_TEXT(REmath::solveMat(sq, tall, Y), "MatrixSolveDimError");
  EXPECT_EQ(Y(0, 0), T(42));
  // No right-hand sides, and the empty system: nothing to solve.
  qvtest::TestRng rng(1);
  Matrix<T> D = Random<T>(rng, 4, 4, 0.5 * 4 + 1), none(4, 0);
  EXPECT_TRUE(REmath::solveMat(D, none, Y) && Y.cols() == 0);
  Matrix<T> e0(0, 0), eb(0, 0);
  EXPECT_TRUE(REmath::solveMat(e0, eb, Y));
  // inverseMat: singular is false; not square is the dimension fault; empty is solved.
  Matrix<double> S(2, 2), keep(1, 1);
  S(0, 0) = 1, S(0, 1) = 2, S(1, 0) = 2, S(1, 1) = 4;
  keep(0, 0) = 5.0;
  EXPECT_THROWS_TEXT(REmath::inverseMat(Matrix<double>(2, 3), keep), "MatrixSolveDimError");
  EXPECT_TRUE(keep(0, 0) == 5.0 && !REmath::inverseMat(S, keep));
  EXPECT_TRUE(REmath::inverseMat(Matrix<double>(0, 0), keep) && keep.rows() == 0);
}

TEST(InverseMatTest, Properties_InverseOfRandomWellConditionedMatrices) {
  qvtest::TestRng rng(161803);
  SCOPED_TRACE(rng.Trace());
  for (int n : {1, 3, 17, 100}) {
    const Matrix<double> A = Random<double>(rng, n, n, 0.5 * n + 1);
    Matrix<double> Ainv;
    ASSERT_TRUE(REmath::inverseMat(A, Ainv));
    const Eigen::MatrixXd I = Eigen::MatrixXd::Identity(n, n);
    const double tol = 8 * n * Eps<double>() * Double(A).norm() * Double(Ainv).norm();
    EXPECT_LE((Double(A) * Double(Ainv) - I).norm(), tol) << "A·A⁻¹, n = " << n;
    // In place (Ainv is A) gives the same bits as into a separate matrix.
    Matrix<double> same(A);
    ASSERT_TRUE(REmath::inverseMat(same, same));
    EXPECT_TRUE(same == Ainv);
  }
}

// X aliasing A used to reshape A before the factorisation read it (heap corruption).
TYPED_TEST(SolveMatTest, Regression_AliasedArguments) {
  using T = TypeParam;
  Matrix<T> A(3, 3), B(3, 1);
  for (int i = 0; i < 3; ++i) A(i, i) = T(2), B(i, 0) = T(i + 1);
  ASSERT_TRUE(REmath::solveMat(A, B, A) && A.rows() == 3 && A.cols() == 1);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(A(i, 0), T(i + 1) / T(2));
  Matrix<T> C(2, 2);
  C(0, 0) = T(4), C(1, 1) = T(8), C(0, 1) = T(1);
  Matrix<T> expected(2, 2), scratch(C);
  expected(0, 0) = T(1), expected(1, 1) = T(1);
  EXPECT_TRUE(REmath::solveMat(scratch, C, C));  // X is B: C becomes the identity
  EXPECT_TRUE(C == expected);
}

// NaN or infinite input, or an overflowing solution, used to report success.
TYPED_TEST(SolveMatTest, Regression_NonFiniteInputOrSolutionIsFailure) {
  using T = TypeParam;
  const T inf = std::numeric_limits<T>::infinity(), nan = std::numeric_limits<T>::quiet_NaN();
  const T small = std::numeric_limits<T>::min(), big = std::numeric_limits<T>::max();
  // (a, b) of the 1 × 1 system a·x = b; the last one overflows in the solution.
  const T cases[][2] = {{nan, 1}, {inf, 1}, {1, inf}, {1, nan}, {small, big}};
  for (const auto& c : cases) {
    Matrix<T> A(1, 1), B(1, 1), X;
    A(0, 0) = c[0];
    B(0, 0) = c[1];
    EXPECT_FALSE(REmath::solveMat(A, B, X)) << c[0] << " " << c[1];
  }
  Matrix<double> A(1, 1), Ainv;
  for (double a : {std::numeric_limits<double>::quiet_NaN(), 1e-310}) {  // 1/1e-310 overflows
    A(0, 0) = a;
    EXPECT_FALSE(REmath::inverseMat(A, Ainv)) << a;
  }
}
