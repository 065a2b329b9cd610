// SPDX-License-Identifier: MIT
// Test helpers of the dense solvers: square matrices addressed through row pointers (the
// a[i][j] convention of the classical routines) with an Eigen view for the checks, random
// test matrices, and LAPACK's symmetric eigen-solver as the reference spectrum.
#pragma once

#include <qvmath/core/detail/lapack.h>

#include <Eigen/Dense>
#include <cstddef>
#include <vector>

#include "test_util.h"

namespace qvtest {

/// A rows × cols matrix in one row-major block with an array of row pointers.
template <class T>
class RowMat {
 public:
  using EigenView = Eigen::Map<Eigen::Matrix<T, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>>;
  explicit RowMat(int rows, int cols = -1)
      : m_rows(rows),
        m_cols(cols < 0 ? rows : cols),
        m_data(std::size_t(rows) * m_cols),
        m_ptrs(rows) {
    for (int i = 0; i < rows; ++i) m_ptrs[i] = m_data.data() + std::size_t(i) * m_cols;
  }
  RowMat(const RowMat& o) : RowMat(o.m_rows, o.m_cols) { m_data = o.m_data; }
  RowMat& operator=(const RowMat&) = delete;
  T** rows() { return m_ptrs.data(); }
  T& operator()(int i, int j) { return m_ptrs[i][j]; }
  T operator()(int i, int j) const { return m_ptrs[i][j]; }
  int n() const { return m_rows; }
  const std::vector<T>& data() const { return m_data; }
  /// The matrix in double, for residual checks.
  Eigen::MatrixXd Double() const {
    return EigenView(const_cast<T*>(m_data.data()), m_rows, m_cols).template cast<double>();
  }

 private:
  int m_rows, m_cols;
  std::vector<T> m_data;
  std::vector<T*> m_ptrs;
};

/// A symmetric n × n matrix with entries uniform in [-scale, scale].
template <class T>
RowMat<T> RandomSymmetric(TestRng& rng, int n, double scale = 1.0) {
  RowMat<T> a(n);
  for (int i = 0; i < n; ++i)
    for (int j = 0; j <= i; ++j) a(i, j) = a(j, i) = T(rng.Uniform(-scale, scale));
  return a;
}

/// An n × cols matrix with entries in [-1, 1] plus `diag` on the diagonal (a large diag
/// makes it strictly diagonally dominant, hence well conditioned).
inline RowMat<double> RandomGeneral(TestRng& rng, int n, int cols, double diag = 0.0) {
  RowMat<double> a(n, cols);
  for (int i = 0; i < n; ++i)
    for (int j = 0; j < cols; ++j) a(i, j) = rng.Uniform(-1.0, 1.0) + (i == j ? diag : 0.0);
  return a;
}

/// The ascending eigenvalues of the symmetric matrix a, by LAPACK dsyev in double.
template <class T>
std::vector<double> ReferenceSpectrum(const RowMat<T>& a) {
  const int n = a.n();
  Eigen::MatrixXd col = a.Double();
  std::vector<double> w(n), work(std::size_t(64) * n + 64);
  const int lwork = int(work.size());
  int info = 0;
  const char jobz = 'N', uplo = 'L';
  dsyev_(&jobz, &uplo, &n, col.data(), &n, w.data(), work.data(), &lwork, &info, 1, 1);
  EXPECT_EQ(info, 0);
  return w;
}

}  // namespace qvtest
