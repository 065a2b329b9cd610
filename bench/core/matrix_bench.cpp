// SPDX-License-Identifier: MIT
// Matrix<double> product and matrix-vector product beside Eigen on identical inputs.
// Counters: max_abs_diff against Eigen's result (a different summation order, so about
// n·eps) and stated_order_mismatches, the elements that differ in any bit from the literal
// loop of the documented order (must be 0).
#include <benchmark/benchmark.h>
#include <qvmath/core/matrix.h>

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>

namespace {

using REmath::Matrix;
using REmath::Vector;

Matrix<double> RandomMatrix(int rows, int cols, unsigned seed) {
  std::mt19937_64 rng(seed);
  std::uniform_real_distribution<double> u(-1, 1);
  Matrix<double> m(rows, cols);
  for (int j = 0; j < cols; ++j)
    for (int i = 0; i < rows; ++i) m(i, j) = u(rng);
  return m;
}

Eigen::MatrixXd ToEigen(const Matrix<double>& m) {
  return Eigen::Map<const Eigen::MatrixXd>(m.memory(), m.rows(), m.cols());
}

// Elements of C that differ in any bit from the documented loop order.
double StatedOrderMismatches(const Matrix<double>& A, const Matrix<double>& B,
                             const Matrix<double>& C) {
  const int m = A.rows(), K = A.cols(), n = B.cols();
  int bad = 0;
  for (int i = m - 1; i >= 0; --i)
    for (int j = n - 1; j >= 0; --j) {
      double c = 0;
      for (int k = K - 1; k >= 0; --k)
        if (A(i, k) != 0) c += A(i, k) * B(k, j);
      bad += std::memcmp(&c, &C(i, j), sizeof c) != 0;
    }
  return bad;
}

void BM_Product_QVmath(benchmark::State& st) {
  const int n = int(st.range(0));
  const Matrix<double> A = RandomMatrix(n, n, 1), B = RandomMatrix(n, n, 2);
  for (auto _ : st) {
    Matrix<double> C = A * B;
    benchmark::DoNotOptimize(C.memory());
  }
  const Matrix<double> C = A * B;
  const Eigen::MatrixXd E = ToEigen(A) * ToEigen(B);
  st.counters["max_abs_diff"] = (ToEigen(C) - E).cwiseAbs().maxCoeff();
  st.counters["stated_order_mismatches"] = StatedOrderMismatches(A, B, C);
  st.SetItemsProcessed(st.iterations() * std::int64_t(n) * n * n);
}

void BM_Product_Eigen(benchmark::State& st) {
  const int n = int(st.range(0));
  const Eigen::MatrixXd A = ToEigen(RandomMatrix(n, n, 1)), B = ToEigen(RandomMatrix(n, n, 2));
  for (auto _ : st) {
    Eigen::MatrixXd C = A * B;
    benchmark::DoNotOptimize(C.data());
  }
  st.SetItemsProcessed(st.iterations() * std::int64_t(n) * n * n);
}

void BM_MatVec_QVmath(benchmark::State& st) {
  const int n = int(st.range(0));
  const Matrix<double> A = RandomMatrix(n, n, 3), x = RandomMatrix(n, 1, 4);
  const Vector<double> v(x.memory(), n);
  for (auto _ : st) {
    Vector<double> r = A * v;
    benchmark::DoNotOptimize(r.memory());
  }
  const Vector<double> r = A * v;
  const Eigen::VectorXd e = ToEigen(A) * ToEigen(x);
  double err = 0;
  for (int i = 0; i < n; ++i) err = std::max(err, std::fabs(r[i] - e[i]));
  st.counters["max_abs_diff"] = err;
  st.SetItemsProcessed(st.iterations() * std::int64_t(n) * n);
}

void BM_MatVec_Eigen(benchmark::State& st) {
  const int n = int(st.range(0));
  const Eigen::MatrixXd A = ToEigen(RandomMatrix(n, n, 3));
  const Eigen::VectorXd x = ToEigen(RandomMatrix(n, 1, 4));
  for (auto _ : st) {
    Eigen::VectorXd r = A * x;
    benchmark::DoNotOptimize(r.data());
  }
  st.SetItemsProcessed(st.iterations() * std::int64_t(n) * n);
}

}  // namespace

BENCHMARK(BM_Product_QVmath)->Arg(32)->Arg(128)->Arg(512);
BENCHMARK(BM_Product_Eigen)->Arg(32)->Arg(128)->Arg(512);
BENCHMARK(BM_MatVec_QVmath)->Arg(32)->Arg(128)->Arg(512);
BENCHMARK(BM_MatVec_Eigen)->Arg(32)->Arg(128)->Arg(512);

BENCHMARK_MAIN();
