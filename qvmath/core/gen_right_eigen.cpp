// SPDX-License-Identifier: MIT
#include <qvmath/core/detail/lapack.h>
#include <qvmath/core/gen_right_eigen.h>

#include <climits>
#include <cmath>
#include <cstddef>
#include <vector>

namespace REmath {

bool gen_right_eigen(int n, const double* const* A, const double* const* B, int& count,
                     double** vectors, double* values) {
  count = 0;
  if (n < 1) return false;
  const std::size_t N = static_cast<std::size_t>(n);
  // dggevx with SENSE = "N" asks for max(1, 6n) doubles of workspace; n(3n + 13) + 17 is
  // the library's long-standing, more generous size and is kept.
  const long long lworkWide = static_cast<long long>(n) * (3LL * n + 13) + 17;
  if (lworkWide > INT_MAX) return false;  // LAPACK cannot address such a workspace
  const int lwork = static_cast<int>(lworkWide);
  // One block: a, b (n² each), vr (n²), alphar, alphai, beta, lscale, rscale, rconde,
  // rcondv (n each), vl (1, not referenced) and the workspace.
  std::vector<double> mem(3 * N * N + 7 * N + 1 + static_cast<std::size_t>(lwork));
  double* const a = mem.data();
  double* const b = a + N * N;
  double* const vr = b + N * N;
  double* const alphar = vr + N * N;
  double* const alphai = alphar + N;
  double* const beta = alphai + N;
  double* const lscale = beta + N;
  double* const rscale = lscale + N;
  double* const rconde = rscale + N;
  double* const rcondv = rconde + N;
  double* const vl = rcondv + N;
  double* const work = vl + 1;
  std::vector<int> iwork(N + 6);
  std::vector<int> bwork(N);
  for (std::size_t j = 0; j < N; ++j) {
    for (std::size_t i = 0; i < N; ++i) {
      a[j * N + i] = A[j][i];
      b[j * N + i] = B[j][i];
    }
  }

  const char balanc = 'B', jobvl = 'N', jobvr = 'V', sense = 'N';
  const int ldvl = 1;
  int ilo = 0, ihi = 0, info = 0;
  double abnrm = 0.0, bbnrm = 0.0;
  dggevx_(&balanc, &jobvl, &jobvr, &sense, &n, a, &n, b, &n, alphar, alphai, beta, vl, &ldvl, vr,
          &n, &ilo, &ihi, lscale, rscale, &abnrm, &bbnrm, rconde, rcondv, work, &lwork,
          iwork.data(), bwork.data(), &info, 1, 1, 1, 1);
  if (info != 0) return false;

  for (int j = 0; j < n; ++j) {
    // Exactly zero imaginary part: LAPACK stores a complex pair with alphai ≠ 0 in both.
    if (alphai[j] != 0.0) continue;
    const double absBeta = std::abs(beta[j]);
    if (absBeta < 1e-10) continue;                          // infinite eigenvalue
    if (!(std::abs(alphar[j]) < 1e20 * absBeta)) continue;  // too large to be finite
    values[count] = alphar[j] / beta[j];
    const double* const col = vr + static_cast<std::size_t>(j) * N;
    for (std::size_t i = 0; i < N; ++i) vectors[count][i] = col[i];
    ++count;
  }
  return true;
}

}  // namespace REmath
