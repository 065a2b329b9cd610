// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/core/gen_right_eigen.h>

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>
#include <vector>

#include "test_util.h"

using Eigen::MatrixXd;

namespace {

// Output of gen_right_eigen with its column-pointer plumbing.
struct Pencil {
  Pencil(const MatrixXd& a, const MatrixXd& b)
      : A(a), B(b), vecStore(a.size(), -99.0), values(a.rows(), -99.0) {
    const int n = int(A.rows());
    for (int j = 0; j < n; ++j) {
      acols.push_back(A.data() + j * n);
      bcols.push_back(B.data() + j * n);
      vecs.push_back(vecStore.data() + j * n);
    }
    ok = REmath::gen_right_eigen(n, acols.data(), bcols.data(), count, vecs.data(), values.data());
  }
  // max over kept pairs of ‖A·v − λ·B·v‖ / ((‖A‖ + |λ|·‖B‖)·‖v‖).
  double WorstRelativeResidual() const {
    double worst = 0.0;
    for (int k = 0; k < count; ++k) {
      const Eigen::Map<const Eigen::VectorXd> v(vecs[k], A.rows());
      const double scale = (A.norm() + std::abs(values[k]) * B.norm()) * v.norm();
      worst = std::max(worst, (A * v - values[k] * (B * v)).norm() / scale);
    }
    return worst;
  }
  std::vector<double> SortedValues() const {
    std::vector<double> v(values.begin(), values.begin() + count);
    return std::sort(v.begin(), v.end()), v;
  }

  MatrixXd A, B;
  std::vector<double> vecStore, values;
  std::vector<const double*> acols, bcols;
  std::vector<double*> vecs;
  int count = -1;
  bool ok = false;
};

MatrixXd RandomMatrix(qvtest::TestRng& rng, int n) {
  MatrixXd m(n, n);
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < n; ++i) m(i, j) = rng.Uniform(-1, 1) + (i == j ? 2.0 : 0.0);
  return m;
}

}  // namespace

TEST(GenRightEigenTest, Properties_KnownSpectrumDropsComplexAndInfinite) {
  // A = P·Λa·Q and B = P·Λb·Q share the eigenvectors Q⁻¹·e_i. Λa/Λb has the real
  // eigenvalues −1.5, 0.25, 4, a complex pair 1 ± 2i (a rotation block over I) and an
  // infinite one (1 over 0): only the three real ones may come back.
  qvtest::TestRng rng(4711);
  SCOPED_TRACE(rng.Trace());
  const int n = 6;
  MatrixXd La = MatrixXd::Zero(n, n), Lb = MatrixXd::Zero(n, n);
  const double real[3] = {-1.5, 0.25, 4.0};
  for (int i = 0; i < 3; ++i) La(i, i) = real[i], Lb(i, i) = 1.0;
  La(3, 3) = La(4, 4) = 1.0;
  La(3, 4) = -2.0, La(4, 3) = 2.0;
  Lb(3, 3) = Lb(4, 4) = 1.0;
  La(5, 5) = 1.0;  // Lb(5, 5) = 0: singular B, infinite eigenvalue
  for (int trial = 0; trial < 10; ++trial) {
    const MatrixXd P = RandomMatrix(rng, n), Q = RandomMatrix(rng, n);
    const Pencil pen(P * La * Q, P * Lb * Q);
    ASSERT_TRUE(pen.ok);
    ASSERT_EQ(pen.count, 3) << "trial " << trial;
    const std::vector<double> got = pen.SortedValues();
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(got[i], real[i], 1e-9) << "trial " << trial;
    EXPECT_LE(pen.WorstRelativeResidual(), 1e-12);
    // Columns past count are untouched.
    for (int k = 3; k < n; ++k) EXPECT_EQ(pen.vecs[k][0], -99.0);
  }
}

TEST(GenRightEigenTest, Degenerate_KeepRulesOnDiagonalPencils) {
  // diag(3, 5, 1e12, 4) against diag(1, 0, 1e-9, 2): 5/0 is infinite (beta = 0) and
  // 1e12/1e-9 = 1e21 exceeds the bound 1e20·|beta|; 3 and 2 stay, with unit-axis vectors.
  MatrixXd A = MatrixXd::Zero(4, 4), B = MatrixXd::Zero(4, 4);
  A.diagonal() << 3, 5, 1e12, 4;
  B.diagonal() << 1, 0, 1e-9, 2;
  const Pencil pen(A, B);
  ASSERT_TRUE(pen.ok);
  ASSERT_EQ(pen.count, 2);
  EXPECT_EQ(pen.SortedValues(), (std::vector<double>{2.0, 3.0}));
  for (int k = 0; k < 2; ++k) {
    const int axis = pen.values[k] == 3.0 ? 0 : 3;
    for (int i = 0; i < 4; ++i) EXPECT_EQ(std::abs(pen.vecs[k][i]), i == axis ? 1.0 : 0.0);
  }
  // A pencil with no finite real eigenvalue at all still succeeds, with count 0.
  MatrixXd R(2, 2), I = MatrixXd::Identity(2, 2);
  R << 0, -1, 1, 0;
  const Pencil rot(R, I);
  EXPECT_TRUE(rot.ok && rot.count == 0);
  // Order below 1, or a workspace LAPACK cannot address: false, count 0, nothing read.
  for (int n : {0, 30000}) {
    int count = 7;
    EXPECT_FALSE(REmath::gen_right_eigen(n, nullptr, nullptr, count, nullptr, nullptr));
    EXPECT_EQ(count, 0);
  }
}
