// SPDX-License-Identifier: MIT
#include <qvmath/core/gauss_jordan.h>

#include <cmath>
#include <functional>
#include <utility>

namespace REmath {

namespace {

bool RowsFinite(double** rows, int count, int length) {
  for (int i = 0; i < count; ++i)
    for (int j = 0; j < length; ++j)
      if (!std::isfinite(rows[i][j])) return false;
  return true;
}

// True when a row of a and a row of b share memory: the elimination would then write the
// right-hand sides into the matrix it is still reading.
bool RowsOverlap(double** a, int n, double** b, int m) {
  const std::less<const double*> before;
  for (int i = 0; i < n; ++i)
    for (int j = 0; j < n; ++j)
      if (before(a[i], b[j] + m) && before(b[j], a[i] + n)) return true;
  return false;
}

}  // namespace

int gaussj(double** a, int n, double** b, int m) {
  constexpr int kMaxOrder = 50;
  if (n > kMaxOrder || m > kMaxOrder || n < 0 || m < 0) return -1;
  if (m > 0 && RowsOverlap(a, n, b, m)) return -1;
  // Infinities and NaNs make every later pivot and product meaningless (inf - inf):
  // refused before anything is touched.
  if (!RowsFinite(a, n, n) || !RowsFinite(b, n, m)) return 0;
  int indxc[kMaxOrder];
  int indxr[kMaxOrder];
  int ipiv[kMaxOrder];  // how often each column has served as pivot column
  for (int j = 0; j < n; ++j) ipiv[j] = 0;

  for (int i = 0; i < n; ++i) {
    double big = 0.0;
    int irow = -1;
    int icol = -1;
    for (int j = 0; j < n; ++j) {
      if (ipiv[j] == 1) continue;
      for (int k = 0; k < n; ++k) {
        // >=: a later element of equal magnitude replaces an earlier one.
        if (ipiv[k] == 0 && std::abs(a[j][k]) >= big) {
          big = std::abs(a[j][k]);
          irow = j;
          icol = k;
        }
      }
    }
    // Every non-NaN candidate satisfies |x| >= 0, so nothing is chosen only when all
    // candidates are NaN. The classical routine then keeps the previous pivot position,
    // counts its column a second time and reports the double use as singular on the next
    // search; the count can exceed 1 in no other way, so report it here, at once.
    if (icol < 0) return 0;
    ++ipiv[icol];
    // Bring the pivot onto the diagonal by a row interchange; columns are relabelled
    // instead (indxc) and put back after the elimination.
    if (irow != icol) {
      for (int l = 0; l < n; ++l) std::swap(a[irow][l], a[icol][l]);
      for (int l = 0; l < m; ++l) std::swap(b[irow][l], b[icol][l]);
    }
    indxr[i] = irow;
    indxc[i] = icol;
    if (a[icol][icol] == 0.0) return -1;
    const double pivinv = 1.0 / a[icol][icol];
    a[icol][icol] = 1.0;
    for (int l = 0; l < n; ++l) a[icol][l] *= pivinv;
    for (int l = 0; l < m; ++l) b[icol][l] *= pivinv;
    for (int ll = 0; ll < n; ++ll) {
      if (ll == icol) continue;
      const double dum = a[ll][icol];
      a[ll][icol] = 0.0;
      for (int l = 0; l < n; ++l) a[ll][l] -= a[icol][l] * dum;
      for (int l = 0; l < m; ++l) b[ll][l] -= b[icol][l] * dum;
    }
  }
  // The row interchanges of a permute the columns of the inverse: undo them in reverse.
  for (int l = n - 1; l >= 0; --l) {
    if (indxr[l] == indxc[l]) continue;
    for (int k = 0; k < n; ++k) std::swap(a[k][indxr[l]], a[k][indxc[l]]);
  }
  // A nearly singular matrix can overflow the inverse or the solutions.
  return RowsFinite(a, n, n) && RowsFinite(b, n, m) ? 1 : 0;
}

}  // namespace REmath
