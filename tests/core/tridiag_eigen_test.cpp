// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <qvmath/core/tridiag_eigen.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "core/dense_solver_test_util.h"
#include "test_util.h"

using qvtest::Eps;
using qvtest::RowMat;

namespace {

void Tred2(float** a, int n, float* d, float* e) { REmath::tred2(a, n, d, e); }
void Tred2(double** a, int n, double* d, double* e) { REmath::tred2_d(a, n, d, e); }
int Tqli(float* d, float* e, int n, float** z) { return REmath::tqli(d, e, n, z); }
int Tqli(double* d, double* e, int n, double** z) { return REmath::tqli_d(d, e, n, z); }

// tred2 + tqli on a copy of a.
template <class T>
struct Decomposition {
  explicit Decomposition(const RowMat<T>& a) : z(a), d(a.n()), e(a.n()) {
    Tred2(z.rows(), a.n(), d.data(), e.data());
    status = Tqli(d.data(), e.data(), a.n(), z.rows());
  }
  RowMat<T> z;
  std::vector<T> d, e;
  int status;
};

// A·Z = Z·diag(d), ZᵀZ = I, and the spectrum of LAPACK dsyev (in double). Householder + QL
// is backward stable: errors are O(n·ε·‖A‖); k = 8 covers the constants of both stages.
template <class T>
void ExpectValidDecomposition(const RowMat<T>& a, const Decomposition<T>& dec) {
  const int n = a.n();
  const Eigen::MatrixXd A = a.Double(), Z = dec.z.Double();
  const Eigen::VectorXd d =
      Eigen::Map<const Eigen::Matrix<T, -1, 1>>(dec.d.data(), n).template cast<double>();
  const double normA = A.norm(), tol = 8.0 * n * Eps<T>();
  ASSERT_EQ(dec.status, 1);
  EXPECT_LE((A * Z - Z * d.asDiagonal()).norm(), tol * normA);
  EXPECT_LE((Z.transpose() * Z - Eigen::MatrixXd::Identity(n, n)).norm(), tol);
  std::vector<double> mine(d.data(), d.data() + n);
  std::sort(mine.begin(), mine.end());
  const std::vector<double> ref = qvtest::ReferenceSpectrum(a);
  for (int k = 0; k < n; ++k) EXPECT_NEAR(mine[k], ref[k], tol * normA) << "eigenvalue " << k;
}

}  // namespace

template <class T>
class TridiagEigenTest : public ::testing::Test {};
using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(TridiagEigenTest, RealTypes);

TYPED_TEST(TridiagEigenTest, Properties_RandomSymmetricMatchLapack) {
  using T = TypeParam;
  qvtest::TestRng rng(20240301);
  SCOPED_TRACE(rng.Trace());
  for (int n = 2; n <= 40; ++n) {
    const RowMat<T> a = qvtest::RandomSymmetric<T>(rng, n, 10.0);
    ExpectValidDecomposition(a, Decomposition<T>(a));
  }
}

TYPED_TEST(TridiagEigenTest, Properties_PowerOfTwoScalingIsExactLowerTriangleOnly) {
  // Every step is homogeneous in the scale of A and convergence is tested relatively, so
  // scaling by 2^p scales the eigenvalues by exactly 2^p and leaves Q bit for bit. The
  // scales reach where a naive hypot would overflow or underflow.
  using T = TypeParam;
  const int big = std::is_same<T, float>::value ? 70 : 600;
  qvtest::TestRng rng(4242);
  SCOPED_TRACE(rng.Trace());
  for (int n : {3, 6, 17}) {
    const RowMat<T> a = qvtest::RandomSymmetric<T>(rng, n);
    const Decomposition<T> ref(a);
    for (int p : {-big, big}) {
      RowMat<T> s = a;
      for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) s(i, j) = std::ldexp(a(i, j), p);
      const Decomposition<T> dec(s);
      ASSERT_EQ(dec.status, 1) << "scale 2^" << p;
      for (int k = 0; k < n; ++k) EXPECT_EQ(dec.d[k], std::ldexp(ref.d[k], p)) << "2^" << p;
      EXPECT_EQ(dec.z.data(), ref.z.data()) << "scale 2^" << p;
    }
    // Only the lower triangle is read.
    RowMat<T> poisoned = a;
    for (int i = 0; i < n; ++i)
      for (int j = i + 1; j < n; ++j) poisoned(i, j) = std::numeric_limits<T>::quiet_NaN();
    const Decomposition<T> dec(poisoned);
    EXPECT_TRUE(dec.d == ref.d && dec.z.data() == ref.z.data());
  }
}

TYPED_TEST(TridiagEigenTest, Degenerate_DiagonalRepeatedAndTinyInputs) {
  using T = TypeParam;
  // e all zero: every e[m] is negligible, so d and z come back unchanged, in input order.
  std::vector<T> d = {T(3), T(-1), T(2), T(0)}, e(4, T(0));
  RowMat<T> z(4);
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) z(i, j) = T(i * 10 + j);  // not orthogonal on purpose
  const std::vector<T> d0 = d, z0 = z.data();
  EXPECT_EQ(Tqli(d.data(), e.data(), 4, z.rows()), 1);
  EXPECT_TRUE(d == d0 && z.data() == z0);
  // c·I: every row is already reduced (zero scale), so Q = I and d = c exactly.
  RowMat<T> c(5);
  for (int i = 0; i < 5; ++i) c(i, i) = T(2.5);
  const Decomposition<T> dc(c);
  EXPECT_EQ(dc.d, std::vector<T>(5, T(2.5)));
  for (int i = 0; i < 5; ++i)
    for (int j = 0; j < 5; ++j) EXPECT_EQ(dc.z(i, j), T(i == j ? 1 : 0));
  // Order 1: d = a, z = 1. Order 0: nothing is touched (null pointers are fine).
  RowMat<T> one(1);
  one(0, 0) = T(-7);
  const Decomposition<T> d1(one);
  EXPECT_TRUE(d1.d[0] == T(-7) && d1.z(0, 0) == T(1));
  Tred2(static_cast<T**>(nullptr), 0, static_cast<T*>(nullptr), static_cast<T*>(nullptr));
  EXPECT_EQ(Tqli(static_cast<T*>(nullptr), nullptr, 0, static_cast<T**>(nullptr)), 1);
  // A NaN on the diagonal never converges: 0 after the iteration limit, in bounded time.
  std::vector<T> dn = {T(1), std::numeric_limits<T>::quiet_NaN(), T(3)}, en(3, T(1));
  RowMat<T> zn(3);
  EXPECT_EQ(Tqli(dn.data(), en.data(), 3, zn.rows()), 0);
}
