// SPDX-License-Identifier: MIT
// Internal glue to LAPACK and BLAS (OpenBLAS or the reference libraries): the Fortran
// symbols the library calls, declared with gfortran's calling convention, and thin
// wrappers taking values. Not installed; never included from a public header.
//
// Convention: every argument by reference; each CHARACTER argument adds a hidden length
// argument (size_t, gfortran 8 and later) after all the others, in order. LOGICAL arrays
// are arrays of int. All matrices are column-major.
#pragma once

#include <cstddef>

extern "C" {
void dgetrf_(const int* m, const int* n, double* a, const int* lda, int* ipiv, int* info);
void sgetrf_(const int* m, const int* n, float* a, const int* lda, int* ipiv, int* info);
void dgetrs_(const char* trans, const int* n, const int* nrhs, const double* a, const int* lda,
             const int* ipiv, double* b, const int* ldb, int* info, std::size_t trans_len);
void sgetrs_(const char* trans, const int* n, const int* nrhs, const float* a, const int* lda,
             const int* ipiv, float* b, const int* ldb, int* info, std::size_t trans_len);
void dgetri_(const int* n, double* a, const int* lda, const int* ipiv, double* work,
             const int* lwork, int* info);
void dggevx_(const char* balanc, const char* jobvl, const char* jobvr, const char* sense,
             const int* n, double* a, const int* lda, double* b, const int* ldb, double* alphar,
             double* alphai, double* beta, double* vl, const int* ldvl, double* vr, const int* ldvr,
             int* ilo, int* ihi, double* lscale, double* rscale, double* abnrm, double* bbnrm,
             double* rconde, double* rcondv, double* work, const int* lwork, int* iwork, int* bwork,
             int* info, std::size_t balanc_len, std::size_t jobvl_len, std::size_t jobvr_len,
             std::size_t sense_len);
void dsyev_(const char* jobz, const char* uplo, const int* n, double* a, const int* lda, double* w,
            double* work, const int* lwork, int* info, std::size_t jobz_len, std::size_t uplo_len);

double ddot_(const int* n, const double* x, const int* incx, const double* y, const int* incy);
void daxpy_(const int* n, const double* alpha, const double* x, const int* incx, double* y,
            const int* incy);
void dcopy_(const int* n, const double* x, const int* incx, double* y, const int* incy);
void dscal_(const int* n, const double* alpha, double* x, const int* incx);
}

namespace REmath {
namespace detail {
namespace lapack {

// LU factorisation with partial pivoting of the m × n matrix a (leading dimension lda).
// @return LAPACK's info: 0 success, i > 0 when U(i, i) is exactly zero, < 0 bad argument.
inline int getrf(int m, int n, double* a, int lda, int* ipiv) {
  int info = 0;
  dgetrf_(&m, &n, a, &lda, ipiv, &info);
  return info;
}
inline int getrf(int m, int n, float* a, int lda, int* ipiv) {
  int info = 0;
  sgetrf_(&m, &n, a, &lda, ipiv, &info);
  return info;
}

// Solves A·X = B with the factors of getrf ("N": no transpose); B is n × nrhs.
inline int getrs(int n, int nrhs, const double* a, int lda, const int* ipiv, double* b, int ldb) {
  int info = 0;
  const char trans = 'N';
  dgetrs_(&trans, &n, &nrhs, a, &lda, ipiv, b, &ldb, &info, 1);
  return info;
}
inline int getrs(int n, int nrhs, const float* a, int lda, const int* ipiv, float* b, int ldb) {
  int info = 0;
  const char trans = 'N';
  sgetrs_(&trans, &n, &nrhs, a, &lda, ipiv, b, &ldb, &info, 1);
  return info;
}

// Inverse from the factors of getrf; work holds lwork doubles (lwork >= n).
inline int getri(int n, double* a, int lda, const int* ipiv, double* work, int lwork) {
  int info = 0;
  dgetri_(&n, a, &lda, ipiv, work, &lwork, &info);
  return info;
}

// BLAS level 1 on double vectors with unit strides.
inline double dot(int n, const double* x, const double* y) {
  const int one = 1;
  return ddot_(&n, x, &one, y, &one);
}
inline void axpy(int n, double alpha, const double* x, double* y) {
  const int one = 1;
  daxpy_(&n, &alpha, x, &one, y, &one);
}
inline void copy(int n, const double* x, double* y) {
  const int one = 1;
  dcopy_(&n, x, &one, y, &one);
}
inline void scal(int n, double alpha, double* x) {
  const int one = 1;
  dscal_(&n, &alpha, x, &one);
}

}  // namespace lapack
}  // namespace detail
}  // namespace REmath
