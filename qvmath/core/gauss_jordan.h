// SPDX-License-Identifier: MIT
// Gauss–Jordan elimination with full pivoting: inverse and solutions of a small dense
// system in place.
#pragma once

#include <qvmath/platform/export.h>

namespace REmath {

/// Solves a·x = b for the m right-hand sides in the columns of b by Gauss–Jordan
/// elimination with full pivoting, in place: on success a holds a⁻¹ and b the solutions.
/// Conventions: a[i][j] and b[i][j] are row i, column j (arrays of row pointers: n rows of
/// n elements in a, n rows of m elements in b). The pivot is the element of largest
/// magnitude among the rows and columns not yet used; among equal magnitudes the last one
/// met in row-major order wins. The column interchanges are undone on a at the end.
/// @return 1 on success;
///         −1 when n > 50 or m > 50 (the pivot bookkeeping holds 50 entries) or n or m is
///            negative, and when a row of a shares memory with a row of b (aliased
///            arguments); a and b are then untouched;
///         −1 when a pivot is exactly zero (singular);
///          0 when a pivot position would be used twice (singular): this happens when no
///            remaining candidate compares with zero, i.e. every candidate is NaN;
///          0 when a or b holds a NaN or an infinity (a and b untouched), and when the
///            inverse or a solution overflows to a non-finite value (a and b transformed).
///         On 0 and on the singular −1, a and b are partly transformed.
QVMATH_API int gaussj(double** a, int n, double** b, int m);

}  // namespace REmath
